# SPDX-License-Identifier: Apache-2.0
"""Sessions, files and what they raise."""
import gc
import json
import os
import pickle
import threading

import kvn
import pytest
from kvn.errors import error_class

STATUSES = [status for status in kvn.Status if status is not kvn.Status.DONE]


@pytest.mark.parametrize("status", STATUSES)
def test_each_class_of_failures_has_an_exception(status):
    kind = error_class(status)
    assert issubclass(kind, kvn.KvnError) and kind.status is status
    assert kind.kind == status.name.lower().replace("_", " ")
    assert getattr(kvn, kind.__name__) is kind


def test_a_status_of_a_newer_library_is_internal():
    assert error_class(77) is kvn.InternalError


def test_an_exception_tells_what_why_and_remedy():
    error = kvn.FileError("no file", "it is gone", "make one", 9020)
    assert str(error) == "no file\nwhy: it is gone\ntry: make one"
    assert (error.what, error.why, error.remedy, error.number) == ("no file", "it is gone", "make one", 9020)
    assert (error.status, error.kind, error.record) == (kvn.Status.FILE, "file", None)
    assert str(kvn.FileError("no file")) == "no file"


def test_error_9201_has_its_number(virtual_rack, session):
    with pytest.raises(kvn.NoModuleError) as caught:
        session.list("mwc4a", 9)
    error = caught.value
    assert error.what == 'Error 9201. Cannot open KSB device on board "mwc4a 9" (the rack has no such board).'
    assert (error.number, error.kind) == (9201, "no module") and error.why and error.remedy


def test_a_load_that_is_refused_raises_with_the_record(kvn_module, session, damaged):
    with pytest.raises(kvn.DamagedError) as caught:
        session.load(damaged, kvn_module.name)
    record = caught.value.record
    assert (record.verdict, record.state, record.attempts) == (kvn.Verdict.NOT_TRIED, kvn.ModuleState.UNTOUCHED, 0)
    assert record.failure.kind == "damaged" and record.failure.what == caught.value.what
    assert session.last_record is record
    again = pickle.loads(pickle.dumps(caught.value))
    assert (type(again), str(again), again.record) == (kvn.DamagedError, str(caught.value), record)


def test_error_9366_is_the_modules_answer(virtual_rack, session, design):
    module = virtual_rack.add("mwc4a:0/1", "2v3000fg676-4", faults=[{"kind": "wrong-status", "status": 4}])
    with pytest.raises(kvn.RefusedError) as caught:
        session.load(design, module.name)
    assert (caught.value.number, caught.value.record.answer) == (9366, 4)
    assert caught.value.record.state is kvn.ModuleState.REFUSED


def test_options_reach_the_library(kvn_module, session, design):
    assert session.load(design, kvn_module.name, mode="plain").mode is kvn.Mode.PLAIN
    assert session.load(design, kvn_module.name, mode=kvn.Mode.SMALLEST, force=True).mode is kvn.Mode.COMPRESSED
    with pytest.raises(kvn.WrongDeviceError):
        session.load(design, kvn_module.name, device="2v40cs144-4")


@pytest.mark.parametrize(
    ("call", "what"),
    [
        (lambda session: session.list("mwc\0"), "board_type has a zero character"),
        (lambda session: session.open("a\0b"), "path has a zero character"),
        (lambda session: session.inspect("a\0b"), "file has a zero character"),
        (lambda session: session.list("mwc4a", 16), "board is 16"),
        (lambda session: session.check(b"", mode="fast"), 'mode is "fast"'),
        (lambda session: session.convert(b"", format="HEX"), 'format is "HEX"'),
        (lambda session: session.identify("x" * 5000), "module is longer than 4095 bytes"),
        (lambda session: session.cancel(), "no load is running in this session"),
    ],
)
def test_a_wrong_argument_is_a_usage_error(virtual_rack, session, call, what):
    with pytest.raises(kvn.UsageError) as caught:
        call(session)
    assert caught.value.what == what


def test_the_document_of_the_last_operation(virtual_rack, session):
    with pytest.raises(kvn.UsageError):
        session.result_json()
    session.list("mwc4a", 0)
    assert json.loads(session.result_json())["kvn"] == "boards"


def test_files_serve_several_sessions(session, design):
    with session.open(design) as file, kvn.Session() as other:
        assert (file.name, file.size) == (str(design), design.stat().st_size)
        assert session.digest(file) == other.digest(file) == session.digest(design)
        assert session.digest(session.from_bytes(design.read_bytes())) == session.digest(design)
    with pytest.raises(kvn.UsageError) as caught:
        session.digest(file)
    assert caught.value.what == "file is no open file"
    file.close()


def test_a_path_need_not_be_utf_8(session, design, tmp_path):
    path = os.fsdecode(os.fsencode(tmp_path) + b"/\xff.bit")
    os.link(design, path)
    with session.open(path) as file:
        assert file.name.endswith("/\N{REPLACEMENT CHARACTER}.bit")


def test_a_missing_file_is_named(session, tmp_path):
    with pytest.raises(kvn.FileError) as caught:
        session.open(tmp_path / "none.bit")
    assert caught.value.what == f"{tmp_path}/none.bit: No such file or directory"


def test_a_closed_session_refuses_calls(design):
    with kvn.Session() as session:
        pass
    session.close()
    for call in (lambda: session.digest(design), session.progress, session.cancel, lambda: session.list("mwc4a")):
        with pytest.raises(kvn.UsageError):
            call()


def test_handles_are_released_with_their_objects(design, monkeypatch):
    closed = []
    library = kvn._library.library()
    for name in ("kvn_close", "kvn_file_close"):
        function = getattr(library, name)
        monkeypatch.setattr(library, name, lambda handle, name=name, function=function: closed.append((name, function(handle))))
    session = kvn.Session()
    file = session.open(design)
    del session, file
    gc.collect()
    assert sorted(closed) == [("kvn_close", 0), ("kvn_file_close", 0)]


def test_a_process_has_one_provider(virtual_rack):
    with pytest.raises(kvn.UsageError):
        kvn.Session("replay:none.jsonl")


def test_a_call_that_meets_another_one_is_refused_and_changes_nothing(kvn_module, session, design):
    refused = []

    def call_again(progress):
        with pytest.raises(kvn.UsageError) as caught:
            session.digest(design)
        refused.append(caught.value.what)
        with pytest.raises(kvn.UsageError):
            session.close()
        assert session.progress().is_running

    assert session.load(design, kvn_module.name, progress=call_again).verdict is kvn.Verdict.CONFIGURED
    assert set(refused) == {"another call is running in this session"}
    assert not session.progress().is_running


def test_sessions_work_in_threads_of_their_own(design):
    digests = []

    def work():
        with kvn.Session() as session:
            digests.append(session.digest(design))

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len(digests) == 4 and len(set(digests)) == 1


def test_the_version_is_that_of_the_package():
    from importlib import metadata

    assert kvn.version() == metadata.version("kvn")
