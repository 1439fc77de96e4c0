# SPDX-License-Identifier: Apache-2.0
"""The pytest plugin, as the tests of an application use it."""
import hashlib
import json
import os
import subprocess

import kvn
import pytest
from kvn.virtual import VirtualRack


def test_a_rack_takes_three_lines_of_a_test(pytester, design):
    pytester.makepyfile(
        f"""
        import kvn

        def configure(module):  # the application
            with kvn.Session() as session:
                return session.load({str(design)!r}, module).verdict

        def test_application(virtual_rack):
            module = virtual_rack.add("mwc4a:0/1", "2v3000fg676-4")
            assert configure(module.name) == "configured"
            assert module.contents().runs

        def test_module(kvn_module):
            assert kvn_module.contents().state == "empty"
            assert configure(str(kvn_module)) == "configured"
        """
    )
    pytester.runpytest_subprocess().assert_outcomes(passed=2)


def test_fixtures_describe_themselves(pytester):
    pytester.runpytest_subprocess("--fixtures").stdout.fnmatch_lines(
        ["virtual_rack -- *kvn/pytest_plugin.py*", "*An empty rack of virtual carriers*", "kvn_module -- *", "*"]
    )


def test_the_plugin_needs_no_library_until_it_is_used(pytester, monkeypatch):
    monkeypatch.setenv("KVN_LIBRARY", "/nowhere/libkvn.so.0")
    pytester.makepyfile("def test_other(): pass\ndef test_rack(virtual_rack): pass")
    pytester.runpytest_subprocess().assert_outcomes(passed=1, errors=1)


def test_each_test_has_a_rack_of_its_own(virtual_rack, session):
    assert [slot.kind for slot in session.list("mwc4a", 0)[0].slots] == [kvn.SlotKind.EMPTY] * 4
    virtual_rack.add("mwc8x:3/2", "2v40cs144-4")
    assert session.identify("mwc8x:3/2").identity.device == "2v40cs144-4"
    with pytest.raises(kvn.NoModuleError):
        session.list("mwc4a", 0)


@pytest.mark.parametrize("kvn_device", ["2v40cs144-4", "2vp30ff896-6"])
def test_the_device_of_the_module_is_the_tests(kvn_module, kvn_device, session):
    assert session.identify(kvn_module.name).identity.device == kvn_module.device == kvn_device


def test_contents_are_what_the_module_received(kvn_module, session, design):
    before = kvn_module.contents()
    assert (before.state, before.runs, before.loads, before.configuration) == ("empty", False, 0, b"")
    record = session.load(design, kvn_module.name)
    contents = kvn_module.contents()
    assert (contents.state, contents.runs, contents.loads, contents.compressed) == ("running", True, 1, True)
    assert (contents.verdict, contents.digest) == (5, record.digest)
    assert hashlib.sha256(contents.configuration.rstrip(b"\xff")).hexdigest() == record.digest
    assert len(contents.configuration) == contents.size > 1_000_000
    assert session.load(design, kvn_module.name, mode="plain").attempts == 1
    assert (kvn_module.contents().loads, kvn_module.contents().compressed) == (2, False)


def test_modules_keep_what_they_hold_when_the_rack_grows(kvn_module, virtual_rack, session, design):
    session.load(design, kvn_module.name)
    other = virtual_rack.add("mwc4a:0/2", "2v40cs144-4")
    assert kvn_module.contents().runs and not other.contents().runs


def test_other_programs_see_the_same_rack(kvn_module, prefix, design):
    kvn_tool = prefix / "bin" / "kvn"
    run = subprocess.run([kvn_tool, "load", design, kvn_module.name, "--json"], capture_output=True, check=True)
    assert kvn_module.contents().digest == json.loads(run.stdout)["digest"]


def test_boards_faults_and_calls(virtual_rack, session):
    virtual_rack.board("mwc4a:0", info_word=7, faults=[{"kind": "flip-byte", "after": 9}])
    virtual_rack.board("mwc4a:1", reached_over=["mwc4a 0"])
    virtual_rack.add("mwc4a:1/2", kind="io", device="2s200fg456-5", compression="record")
    assert session.list("mwc4a", 0)[0].info_word == 7
    assert session.identify("mwc4a:0/1.2").identity.type_name == "KAVRIN-IO"
    virtual_rack.fail_call(function="MwOpenS", call=1, code=0x77, text='a "loose" cable')
    with pytest.raises(kvn.NoModuleError) as caught:
        session.list("mwc4a", 0)
    assert '(a "loose" cable)' in caught.value.what


def test_a_described_rack_takes_the_place_of_the_one_before(virtual_rack, session):
    virtual_rack.describe('[[board]]\ntype = "mwc4a"\nnumber = 5\n')
    assert session.list("mwc4a", 5)[0].board == "mwc4a:5"


@pytest.mark.parametrize(
    ("change", "what"),
    [
        (lambda rack: rack.add("mwc4a:0", "2v40cs144-4"), '"mwc4a:0" is no name of a module'),
        (lambda rack: rack.add("mwc4a:0/5", "2v40cs144-4"), '"mwc4a:0/5" is no name of a module'),
        (lambda rack: rack.board("mwc4a"), '"mwc4a" is no name of a board'),
        (lambda rack: rack.board("mwc4a:0", latency=3), 'rack.toml:4: unknown key "latency" in a board'),
    ],
)
def test_a_mistake_is_a_usage_error(virtual_rack, session, change, what):
    with pytest.raises(kvn.UsageError) as caught:
        change(virtual_rack)
    assert caught.value.what.startswith(what)
    assert session.list("mwc4a", 0)[0].failure is None, "the rack before stays"


def test_the_environment_is_restored(monkeypatch):
    monkeypatch.setenv("MWVIRTUAL_STATE", "/before")
    monkeypatch.delenv("KVN_MWAPI", raising=False)
    with VirtualRack() as rack:
        assert os.environ["KVN_MWAPI"] == "virtual" and os.environ["MWVIRTUAL_RACK"] == str(rack.file)
        assert rack.file.exists()
    assert os.environ["MWVIRTUAL_STATE"] == "/before"
    assert "KVN_MWAPI" not in os.environ and not rack.file.exists()
