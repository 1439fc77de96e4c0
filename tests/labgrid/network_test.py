# SPDX-License-Identifier: Apache-2.0
"""The driver for a module of another host, which ssh reaches."""
import pytest
from conftest import PROGRAMS, activated
from labgrid.util.ssh import sshmanager
from ssh_hosts import SshHosts

import kvn
import kvn_labgrid


@pytest.fixture
def driver(tmp_path, monkeypatch):
    with SshHosts(tmp_path / "ssh", ["bench1"], PROGRAMS) as hosts:
        monkeypatch.setenv("PATH", hosts.path)
        yield activated(kvn_labgrid.NetworkKvnModule, host="bench1", module="mwc4a:0/1")
        sshmanager.close_all()


def test_loads_a_file_of_this_host_into_a_module_of_another(driver):
    record = driver.load("design.bit")
    assert record.verdict == kvn.Verdict.CONFIGURED
    assert record.host == "bench1"


def test_says_what_a_module_of_another_host_is(driver):
    assert driver.identify().device == "2v3000fg676-4"


def test_a_refusal_is_the_error_of_its_class(driver):
    with pytest.raises(kvn.WrongDeviceError) as caught:
        driver.load("old.bit")
    assert caught.value.record.verdict == kvn.Verdict.NOT_TRIED
