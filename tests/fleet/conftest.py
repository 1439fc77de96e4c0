# SPDX-License-Identifier: Apache-2.0
"""One host, reached over ssh and by the connection `local`, and one playbook on it whose tasks the tests judge."""
import json
import os
import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import processes  # noqa: E402 # pylint: disable=wrong-import-position
from controller import Controller  # noqa: E402 # pylint: disable=wrong-import-position
from hosts import Fleet  # noqa: E402 # pylint: disable=wrong-import-position
import workplace as workplaces  # noqa: E402 # pylint: disable=wrong-import-position

DEVICE, OTHER = "2v40cs144-4", "v50bg256-4"


def programs():
    return workplaces.Programs(*(os.environ[name] for name in ("KVN_TEST_PROGRAM", "KVN_TEST_RACK", "KVN_TEST_BITGEN",
                                                              "KVN_TEST_PROVIDER")))


class Bench:
    """The host with its files, and a playbook that grows task by task."""

    def __init__(self, fleet, connection):
        self.fleet = fleet
        self.host = fleet.hosts[0]
        self.place = self.host.workplace
        self.connection = connection
        self.board = f"{self.host.board_type}:0"
        self.slow = f"{self.host.board_type}:1"
        self.files = fleet.folder / "files"
        self.files.mkdir()
        self.folder = str(self.host.home / "state")
        self.tasks = []

    def furnish(self):
        """Two modules on a quick board, the second of which refuses its load, and two on a slow one."""
        modules = [workplaces.Module((self.host.board_type, board), board, slot, DEVICE, "none", 3)
                   for board in (0, 1) for slot in (1, 2, 3)]
        modules[1].faults = ['kind = "wrong-status"\nstatus = 2']
        modules[2].device = OTHER
        quick = workplaces.Rack({modules[0].bus: None}, modules[:3])
        slow = workplaces.Rack({modules[3].bus: None}, modules[3:], bytes_per_second=40000)
        self.place.write("rack.toml", quick.text() + slow.text())
        self.place.write_faults([])
        self.host.plan = "camera.toml"
        for seed in (1, 2):
            self.file(f"design{seed}.bit").write_bytes(self.bitstream(seed).read_bytes())
        self.plan("camera.toml", ("0/1", "design1.bit"))

    def bitstream(self, seed, extension="bit"):
        return self.place.bitstreams.get(DEVICE, seed, extension)

    def file(self, name):
        path = self.files / name
        path.parent.mkdir(parents=True, exist_ok=True)
        return path

    def plan(self, name, *modules):
        """@param modules slots such as "0/1", and files"""
        text = "".join(f'[[module]]\nmodule = "{self.host.board_type}:{slot}"\nfile = "{file}"\n' for slot, file in modules)
        self.file(name).write_text(text, encoding="utf-8")

    def program(self, name, text):
        """A program on the host."""
        path = self.file(name)
        path.write_text("#!/bin/sh\n" + text, encoding="utf-8")
        path.chmod(0o755)
        return str(path)

    def task(self, name, module="kvn_run", keywords=None, **arguments):
        arguments.setdefault("program", self.place.programs.kvn)
        if module == "kvn_run":
            arguments.setdefault("folder", self.folder)
        if "plan" in arguments and "/" not in arguments["plan"]:
            arguments["plan"] = str(self.files / arguments["plan"])
        self.tasks.append({"name": name, f"kavrin.fpga.{module}": arguments, "ignore_errors": True, **(keywords or {})})

    def play(self, controller):
        environment = self.host.variables() if self.connection == "local" else {}
        play = {"name": "Tasks", "hosts": "line", "gather_facts": False, "environment": environment, "tasks": self.tasks}
        if self.connection == "local":
            play["connection"] = "local"
        (controller.folder / "tasks.yml").write_text(json.dumps([play]), encoding="utf-8")
        return controller.run("ansible-playbook", "tasks.yml")


@pytest.fixture(scope="module", params=["ssh", "local"])
def bench(request, tmp_path_factory):
    """The host after all tasks, with their results by name."""
    processes.adopt_orphans()
    folder = tmp_path_factory.mktemp(request.param)
    pool = folder / "bitstreams"
    pool.mkdir()
    made = programs()
    with Fleet(made, workplaces.Bitstreams(made, pool), folder, 1) as fleet:
        bench = Bench(fleet, request.param)
        bench.furnish()
        fleet.start()
        bench.controller = Controller(fleet)
        request.module.add_tasks(bench)
        bench.output = bench.play(bench.controller)
        bench.results = {line["name"]: {**line["result"], "failed": line["outcome"] == "failed"}
                         for line in bench.output.lines}
        missing = [task["name"] for task in bench.tasks if task["name"] not in bench.results]
        assert not missing, f"{missing}\n{bench.output.output}"
        yield bench
