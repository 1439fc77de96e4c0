# SPDX-License-Identifier: Apache-2.0
"""What the tests of the driver share: a folder with bitstreams, virtual boards, and targets."""
import os
import subprocess

import pytest
from labgrid import Target

import kvn_labgrid

PROGRAMS = os.environ["KVN_PROGRAMS"]


@pytest.fixture(autouse=True)
def bench(tmp_path, monkeypatch):
    """A folder of its own with two bitstreams, in which the built-in rack is what kvn reaches."""
    for name in list(os.environ):
        if name.startswith(("MWAPI", "MWVIRTUAL_")) or name == "KVN_MWAPI":
            monkeypatch.delenv(name)
    monkeypatch.setenv("PATH", PROGRAMS + ":" + os.environ["PATH"])
    monkeypatch.chdir(tmp_path)
    subprocess.run(["kvn_bitgen", "2v3000fg676-4", "-o", "design.bit"], check=True)
    subprocess.run(["kvn_bitgen", "v300pq240-5", "-o", "old.bit"], check=True)
    return tmp_path


def activated(resource, **members):
    """A driver of a target that has this resource alone."""
    target = Target("main")
    resource(target, name=None, **members)
    driver = kvn_labgrid.KvnModuleDriver(target, name=None)
    target.activate(driver)
    return driver
