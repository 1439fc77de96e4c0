# SPDX-License-Identifier: Apache-2.0
"""The controller: the playbooks and settings of the example, on the hosts of the fleet."""
import json
import os
import pathlib
import shutil
import subprocess
import sys

SOURCES = pathlib.Path(__file__).resolve().parent.parent.parent
COLLECTION = SOURCES / "integrations/ansible"


class Play:
    """What a playbook said of each host."""

    def __init__(self, status, output, lines, figures):
        self.status, self.output, self.lines = status, output, lines
        self.seconds, self.processor_seconds = figures["seconds"], figures["processor"]
        self.main_seconds = figures["main"]  # of the command's own process
        self.megabytes = figures["megabytes"]  # of the largest process

    def of(self, host, task="kavrin.fpga.kvn_run"):
        """@return outcome (ok, failed, unreachable) and result; None if the task was not reached"""
        for line in self.lines:
            if line["host"] == host.name and line["task"] == task:
                return line["outcome"], line["result"]
        return None, None


class Controller:
    def __init__(self, fleet):
        self.fleet = fleet
        self.folder = fleet.folder / "controller"
        shutil.copytree(COLLECTION / "examples/line", self.folder)
        (self.folder / "inventory.yml").unlink()
        collections = fleet.folder / "collections/ansible_collections/kavrin"
        collections.mkdir(parents=True)
        (collections / "fpga").symlink_to(COLLECTION)
        self.plays = 0

    def write_inventory(self):
        """YAML, as JSON is."""
        common = f"-F none -o UserKnownHostsFile={self.fleet.folder}/known_hosts -o IdentitiesOnly=yes"
        hosts = {host.name: {**host.inventory(), "kvn_program": str(host.program)} for host in self.fleet.hosts}
        inventory = {"line": {"hosts": hosts, "vars": {
            "ansible_ssh_private_key_file": str(self.fleet.folder / "key"), "ansible_ssh_common_args": common,
            "kvn_folder": "~/state", "operator_name": "operator 7",
            "kvn_provider": self.fleet.hosts[0].workplace.programs.provider}}}
        (self.folder / "inventory.yml").write_text(json.dumps(inventory, indent=1), encoding="utf-8")

    def environment(self):
        kept = {name: value for name, value in os.environ.items()
                if not name.startswith(("ANSIBLE_", "KVN_", "MWAPI", "MWVIRTUAL_"))}
        kvn = pathlib.Path(self.fleet.hosts[0].workplace.programs.kvn).parent
        (self.fleet.folder / "home").mkdir(exist_ok=True)
        return {**kept, "PATH": f"{kvn}:{kept['PATH']}", "HOME": str(self.fleet.folder / "home"),
                "ANSIBLE_COLLECTIONS_PATH": str(self.fleet.folder / "collections"),
                "ANSIBLE_CALLBACK_PLUGINS": str(pathlib.Path(__file__).resolve().parent / "callback_plugins"),
                "ANSIBLE_CALLBACKS_ENABLED": "fleet_results", "ANSIBLE_NOCOLOR": "1",
                "ANSIBLE_SSH_CONTROL_PATH_DIR": str(self.fleet.folder / "cp"),
                "KVN_FLEET_RESULTS": str(self.folder / f"results-{self.plays}"), "LC_ALL": "C.UTF-8",
                "PYTHONDONTWRITEBYTECODE": "1"}

    def start(self, words):
        """Starts a command of Ansible in the controller's folder, in a process group of its own.

        measure.py is between, which counts the processor time of the command with all its ssh."""
        self.plays += 1
        self.write_inventory()
        output = open(self.folder / f"output-{self.plays}", "wb")  # pylint: disable=consider-using-with
        with output:
            return subprocess.Popen(
                [sys.executable, "-B", pathlib.Path(__file__).with_name("measure.py"),
                 self.folder / f"measured-{self.plays}", *map(str, words)], cwd=self.folder, env=self.environment(),
                stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT, start_new_session=True)

    def finish(self, process):
        status = process.wait()
        results, measured = self.folder / f"results-{self.plays}", self.folder / f"measured-{self.plays}"
        # A controller that was killed may have left part of a line.
        lines = [json.loads(line) for line in results.read_text("utf-8").split("\n")[:-1]] if results.exists() else []
        figures = {"seconds": 0, "processor": 0, "main": 0, "megabytes": 0}
        if measured.exists():
            figures = json.loads(measured.read_text("ascii"))
        output = (self.folder / f"output-{self.plays}").read_text("utf-8", "replace")
        return Play(status, output, lines, figures)

    def run(self, *words):
        return self.finish(self.start(words))

    def load_words(self, *options, **variables):
        given = {"batches": ["100%"], "most_failed": 100, **variables}
        return ["ansible-playbook", "load.yml", "-e", json.dumps(given), "-f", str(len(self.fleet.hosts)), *options]

    def load(self, *options, **variables):
        """The example's playbook, all hosts at once, whatever fails."""
        return self.run(*self.load_words(*options, **variables))

    def journals(self):
        return sorted((self.folder / "journals").glob("*.journal"))

    def report(self):
        """The merged report of all journals on the controller, as JSON."""
        kvn = self.fleet.hosts[0].workplace.programs.kvn
        outcome = subprocess.run([kvn, "report", *self.journals(), "--json", "-"], capture_output=True, check=False,
                                 stdin=subprocess.DEVNULL)
        return json.loads(outcome.stdout), outcome.returncode
