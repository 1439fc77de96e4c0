# SPDX-License-Identifier: Apache-2.0
"""Loads that report: by callback, by iteration, eight at once; and how they are stopped."""
import asyncio
import concurrent.futures
import os
import signal
import threading

import kvn
import pytest


@pytest.fixture
def slow_module(virtual_rack):
    """A module on a bus so slow that a load which is not stopped takes minutes."""
    virtual_rack.board("mwc4a:0", bytes_per_second=10_000)
    return virtual_rack.add("mwc4a:0/1", "2v3000fg676-4")


def test_a_callback_is_given_every_report(kvn_module, session, design):
    reports = []
    record = session.load(design, kvn_module.name, progress=reports.append, mode="plain")
    assert [report.bytes for report in reports] == sorted(report.bytes for report in reports)
    assert len(reports) > 300 and all(isinstance(report, kvn.Progress) and report.is_running for report in reports)
    assert reports[-1].total == record.wire_bytes
    assert reports[-1].fraction == reports[-1].bytes / record.wire_bytes > 0.99
    last = session.progress()
    assert (last.bytes, last.total, last.is_running, last.fraction) == (record.wire_bytes, record.wire_bytes, False, 1)


def test_the_step_is_the_callers(kvn_module, session, design):
    reports = []
    session.load(design, kvn_module.name, progress=reports.append, mode="plain", progress_step=500_000)
    assert len(reports) < 10


def test_an_exception_in_a_callback_cancels_the_load_and_is_raised_after_it(slow_module, session, design):
    raised = ValueError("enough")
    calls = []

    def callback(progress):
        calls.append(progress)
        if progress.bytes > 5000:
            raise raised

    with pytest.raises(ValueError) as caught:
        session.load(design, slow_module.name, progress=callback, mode="plain")
    assert caught.value is raised
    assert caught.value.__notes__ == ["mwc4a:0/1 is interrupted"]
    assert session.last_record.verdict is kvn.Verdict.CANCELLED
    assert calls[-1].bytes > 5000, "nothing is reported after it"
    assert slow_module.contents().state == "part of its data"
    assert session.identify(slow_module.name).failure is None, "the session goes on"


def test_an_exception_at_the_first_report_ends_the_load(slow_module, session, design):
    with pytest.raises(ZeroDivisionError):
        session.load(design, slow_module.name, progress=lambda progress: 1 // 0, mode="plain")
    assert session.last_record.verdict is kvn.Verdict.CANCELLED


def test_a_callback_may_cancel(slow_module, session, design):
    with pytest.raises(kvn.CancelledError) as caught:
        session.load(design, slow_module.name, progress=lambda progress: session.cancel(), mode="plain")
    assert caught.value.record.state is kvn.ModuleState.INTERRUPTED
    assert caught.value.kind == "cancelled"


@pytest.mark.parametrize("with_callback", [True, False])
def test_ctrl_c_cancels_the_load(slow_module, session, design, with_callback):
    def interrupt():
        while not session.progress().is_running:
            pass
        os.kill(os.getpid(), signal.SIGINT)

    thread = threading.Thread(target=interrupt)
    thread.start()
    with pytest.raises(KeyboardInterrupt):
        session.load(design, slow_module.name, mode="plain", progress=(lambda progress: None) if with_callback else None)
    thread.join()
    assert session.last_record.verdict is kvn.Verdict.CANCELLED


def test_iteration_gives_every_report_and_the_record(kvn_module, session, design):
    with session.loading(design, kvn_module.name, mode="plain") as load:
        reports = list(load)
        assert list(load) == [], "it is over"
        record = load.result()
    assert len(reports) > 300 and reports[-1].total == record.wire_bytes
    assert record is session.last_record and record.verdict is kvn.Verdict.CONFIGURED


def test_the_result_can_be_had_without_iteration(kvn_module, session, design):
    with session.loading(design, kvn_module.name) as load:
        assert load.result().verdict is kvn.Verdict.CONFIGURED
        load.cancel()
        assert load.result().verdict is kvn.Verdict.CONFIGURED, "it was over"


def test_leaving_the_iteration_cancels_the_load(slow_module, session, design):
    with session.loading(design, slow_module.name, mode="plain") as load:
        for _ in load:
            break
    with pytest.raises(kvn.CancelledError) as caught:
        load.result()
    assert caught.value.record.state is kvn.ModuleState.INTERRUPTED


def test_a_load_that_is_cancelled_before_it_has_begun_ends_at_its_first_report():
    begun = threading.Event()
    cancelling = []

    def load(report):
        begun.wait()
        report(kvn.Progress(0, None, 0, None, None, True))
        raise kvn.CancelledError("cancelled")

    def cancel():
        if not begun.is_set():
            raise kvn.UsageError("no load is running")
        cancelling.append(threading.current_thread().name)

    with kvn.Loading(load, cancel) as loading:
        loading.cancel()
        begun.set()
        with pytest.raises(kvn.CancelledError):
            loading.result()
    assert cancelling == ["kvn load"]


def test_an_exception_in_the_iteration_cancels_the_load(slow_module, session, design):
    with pytest.raises(ValueError), session.loading(design, slow_module.name, mode="plain") as load:
        for _ in load:
            raise ValueError
    with pytest.raises(kvn.CancelledError):
        load.result()


def test_the_error_of_a_load_is_raised_by_its_result(kvn_module, session, damaged):
    with session.loading(damaged, kvn_module.name) as load:
        assert list(load) == []
        with pytest.raises(kvn.DamagedError) as caught:
            load.result()
    assert caught.value.record.verdict is kvn.Verdict.NOT_TRIED


def test_eight_loads_run_at_once(virtual_rack, design):
    modules = [virtual_rack.add(f"mwc4a:{board}/1", "2v3000fg676-4") for board in range(8)]
    together = threading.Barrier(8)

    def load(module):
        met = []

        def wait_for_the_others(progress):
            if not met:
                met.append(together.wait())

        with kvn.Session() as session:
            return session.load(design, module.name, progress=wait_for_the_others)

    async def load_all():
        asyncio.get_running_loop().set_default_executor(concurrent.futures.ThreadPoolExecutor(8))
        return await asyncio.gather(*(asyncio.to_thread(load, module) for module in modules))

    records = asyncio.run(load_all())
    assert [record.module for record in records] == [module.name for module in modules]
    assert {record.verdict for record in records} == {kvn.Verdict.CONFIGURED}
    assert all(module.contents().runs for module in modules)
