# SPDX-License-Identifier: Apache-2.0
"""The driver for a module of this host."""
import pytest
from conftest import activated
from labgrid.binding import StateError
from labgrid.target import Target

import kvn
import kvn_labgrid


def module(name="mwc4a:0/1", **members):
    return activated(kvn_labgrid.KvnModule, module=name, provider="virtual", **members)


def test_loads_and_returns_the_record():
    record = module().load("design.bit")
    assert record.verdict == kvn.Verdict.CONFIGURED
    assert record.module == "mwc4a:0/1"
    assert record.file == "design.bit"
    assert record.provider.simulated


def test_says_what_a_module_is():
    assert module().identify().device == "2v3000fg676-4"
    assert module("mwc4a:0/2").identify().device == "v300pq240-5"


def test_a_refusal_is_the_error_of_its_class_with_the_record():
    with pytest.raises(kvn.WrongDeviceError) as caught:
        module().load("old.bit")
    assert caught.value.what == ("old.bit is for a v300pq240 (by its header); the module in mwc4a:0/1 has a "
                                 "2v3000fg676-4 (by its own word)")
    assert caught.value.remedy == "use the bitstream that was made for the module's device"
    assert caught.value.record.verdict == kvn.Verdict.NOT_TRIED
    assert caught.value.number is None


def test_error_9201_has_its_number():
    with pytest.raises(kvn.NoModuleError) as caught:
        module("mwc4a:3/1").load("design.bit")
    assert caught.value.number == 9201
    assert caught.value.what.startswith("Error 9201. ")
    with pytest.raises(kvn.NoModuleError) as caught:
        module("mwc4a:3/1").identify()
    assert caught.value.number == 9201


def test_a_file_that_is_missing_is_a_failure_without_a_record():
    with pytest.raises(kvn.FileError) as caught:
        module().load("none.bit")
    assert caught.value.record is None


def test_a_rack_is_passed_on(bench):
    (bench / "my rack.toml").write_text('[[board]]\ntype = "mwc4a"\nnumber = 7\n\n[[board.slot]]\nnumber = 1\n'
                                        'kind = "fpga"\nmodel = 4\nversion = 2\ndevice = "2v3000fg676-4"\n',
                                        encoding="utf-8")
    driver = module("mwc4a:7/1", rack="my rack.toml")
    assert driver.identify().device == "2v3000fg676-4"
    assert driver.load("design.bit").verdict == kvn.Verdict.CONFIGURED


def test_a_program_that_is_not_kvn_is_an_error(bench, monkeypatch):
    (bench / "kvn").write_text("#!/bin/sh\necho 'this is no kvn' >&2\nexit 3\n", encoding="utf-8")
    (bench / "kvn").chmod(0o755)
    monkeypatch.setenv("PATH", f"{bench}:/usr/bin:/bin")
    with pytest.raises(kvn.NoModuleError) as caught:
        module().identify()
    assert caught.value.why == "this is no kvn"
    assert caught.value.remedy == "kvn --version"


def test_a_driver_that_is_not_active_does_nothing():
    target = Target("main")
    kvn_labgrid.KvnModule(target, name=None, module="mwc4a:0/1", provider="virtual")
    driver = kvn_labgrid.KvnModuleDriver(target, name=None)
    with pytest.raises(StateError):
        driver.load("design.bit")
