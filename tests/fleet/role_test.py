# SPDX-License-Identifier: Apache-2.0
"""The role kvn on this host, with files in a folder of the test."""
import json
import os
import pathlib
import subprocess

import pytest

COLLECTION = pathlib.Path(__file__).resolve().parent.parent.parent / "integrations/ansible"


class Place:
    """@param packages one that every Debian has, so that nothing is installed"""

    def __init__(self, folder):
        self.folder = folder
        collections = folder / "collections/ansible_collections/kavrin"
        collections.mkdir(parents=True)
        (collections / "fpga").symlink_to(COLLECTION)
        (folder / "libmwapi.so").write_bytes(b"the board maker's library")
        self.provider = folder / "lib/kvn_fpga/libmwapi.so"
        self.environment = folder / "environment"
        variables = {"kvn_packages": ["coreutils"], "kvn_provider": str(self.provider),
                     "kvn_provider_file": str(folder / "libmwapi.so"), "kvn_environment_file": str(self.environment)}
        play = {"name": "Install", "hosts": "all", "gather_facts": True, "gather_subset": ["!all", "pkg_mgr"], "roles": [
            {"role": "kavrin.fpga.kvn", **variables}]}
        (folder / "install.yml").write_text(json.dumps([play]), encoding="utf-8")

    def run(self, *options):
        """@return the number of changes"""
        environment = {**os.environ, "ANSIBLE_COLLECTIONS_PATH": str(self.folder / "collections"), "LC_ALL": "C.UTF-8",
                       "HOME": str(self.folder), "ANSIBLE_NOCOLOR": "1"}
        outcome = subprocess.run(
            ["ansible-playbook", "-i", "localhost,", "-c", "local", "-e", "ansible_python_interpreter=/usr/bin/python3",
             "install.yml", *options], cwd=self.folder, env=environment, capture_output=True, text=True, check=False)
        assert outcome.returncode == 0, outcome.stdout + outcome.stderr
        return int(outcome.stdout.rsplit("changed=", 1)[1].split()[0])


@pytest.fixture(name="place")
def place_for_the_role(tmp_path):
    return Place(tmp_path)


def test_the_role_brings_the_provider_and_sets_the_variable_once(place):
    place.environment.write_text("LANG=C\nKVN_MWAPI=/old\n", encoding="ascii")
    assert place.run("--check") > 0
    assert not place.provider.exists()
    assert place.environment.read_text("ascii") == "LANG=C\nKVN_MWAPI=/old\n"
    assert place.run() == 3
    assert place.provider.read_bytes() == b"the board maker's library"
    assert place.environment.read_text("ascii") == f"LANG=C\nKVN_MWAPI={place.provider}\n"
    assert place.run() == 0
    assert place.run("--check") == 0
