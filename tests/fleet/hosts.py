# SPDX-License-Identifier: Apache-2.0
"""Hosts of a line on this computer: each an sshd on a loopback address of its own, with a rack and a user folder."""
import getpass
import os
import pathlib
import shutil
import socket
import subprocess
import sys
import time

import processes

TESTS = pathlib.Path(__file__).resolve().parent.parent
sys.path += [str(TESTS / "run_soak"), str(TESTS / "support")]
from ssh_hosts import make_folder_of_sshd  # noqa: E402 # pylint: disable=wrong-import-position
from workplace import Workplace, checked  # noqa: E402 # pylint: disable=wrong-import-position

MARK = "KVN_FLEET_HOST"
SSHD = shutil.which("sshd", path="/usr/sbin:/usr/local/sbin:" + os.environ.get("PATH", ""))


class Host:
    """One host. Its rack and what the carriers' FPGAs hold are those of its workplace."""

    def __init__(self, programs, bitstreams, folder, number):
        self.number = number
        self.name = f"line-{number:02}"
        self.board_type = f"line{number:02}"  # all hosts here have one name, so their modules differ by this
        self.address = f"127.0.1.{number}"
        self.workplace = Workplace(programs, bitstreams, pathlib.Path(folder) / self.name)
        self.home = self.workplace.path("home")
        self.home.mkdir()
        self.program = programs.kvn
        self.options = []
        self.hangs = []   # lines for the faulty provider
        self.extra = {}   # further variables of every login
        self.plan = None
        self.rack = None
        self.port = 0
        self.sshd = None
        self.before = {}  # what the FPGAs held when this part of the proof began

    def make_key(self):
        checked(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-C", self.name, "-f", self.workplace.path("host_key")])

    def known_host(self):
        kind, key = self.workplace.path("host_key.pub").read_text("ascii").split()[:2]
        return f"[{self.address}]:{self.port} {kind} {key}\n"

    def choose_port(self):
        with socket.socket() as probe:
            probe.bind((self.address, 0))
            self.port = probe.getsockname()[1]

    def variables(self):
        """The environment of every login."""
        own = {name: value for name, value in self.workplace.environment().items()
               if name.startswith(("KVN_", "MWVIRTUAL_"))}
        return {**own, "KVN_MWAPI": self.workplace.programs.provider, "HOME": str(self.home), MARK: self.mark, **self.extra}

    @property
    def mark(self):
        return f"{os.getpid()}-{self.name}"

    def start(self, authorized):
        """@param authorized the file of the controller's public key"""
        make_folder_of_sshd()
        variables = " ".join(f'"{name}={value}"' for name, value in self.variables().items())
        self.workplace.write("sshd_config", f"""Port {self.port}
ListenAddress {self.address}
HostKey {self.workplace.path("host_key")}
AuthorizedKeysFile {authorized}
PidFile none
StrictModes no
UsePAM no
PasswordAuthentication no
KbdInteractiveAuthentication no
PermitRootLogin prohibit-password
PrintMotd no
MaxStartups 100
MaxSessions 100
Subsystem sftp internal-sftp
SetEnv {variables}
""")
        with open(self.workplace.path("sshd.log"), "ab") as log:
            self.sshd = subprocess.Popen(  # pylint: disable=consider-using-with
                [SSHD, "-D", "-e", "-f", self.workplace.path("sshd_config")], stdin=subprocess.DEVNULL, stdout=log,
                stderr=log, preexec_fn=processes.end_with_parent)
        while True:
            if self.sshd.poll() is not None:
                raise RuntimeError(f"sshd of {self.name} has ended: " +
                                   self.workplace.path("sshd.log").read_text("utf-8", "replace"))
            try:
                socket.create_connection((self.address, self.port)).close()
                return
            except ConnectionRefusedError:
                time.sleep(0.01)

    def processes(self):
        """sshd with its sessions, and all that a login has started, also what has lost its session."""
        below = processes.descendants(os.getpid())
        found = [process for process in below if processes.has_variable(process, f"{MARK}={self.mark}")]
        if self.sshd is not None:
            found += [self.sshd.pid] + processes.descendants(self.sshd.pid)
        return sorted(set(found))

    def sessions(self):
        return [process for process in processes.descendants(self.sshd.pid)
                if processes.words_of(process)[:1] and processes.words_of(process)[0].startswith("sshd")]

    def runs(self):
        """Processes of kvn run and of its workers."""
        found = {"run": [], "worker": []}
        for process in self.processes():
            words = processes.words_of(process)
            if len(words) > 1 and pathlib.Path(words[0]).name == "kvn" and words[1] in found:
                found[words[1]].append(process)
        return found

    def stop(self):
        """As if the power had failed."""
        processes.end(self.processes)
        if self.sshd is not None:
            self.sshd.wait()
            self.sshd = None

    def begin(self):
        """From now on loads are counted."""
        self.before = self.workplace.carriers()
        for path in self.workplace.path("wire").iterdir():
            path.unlink()

    def journals(self):
        return sorted((self.home / "state/journals").glob("*.journal"))

    def inventory(self):
        return {"ansible_host": self.address, "ansible_port": self.port, "ansible_user": getpass.getuser(),
                "plan": str(self.workplace.path(self.plan)), "kvn_options": self.options}


class Fleet:
    """All hosts, and the folder of the controller."""

    def __init__(self, programs, bitstreams, folder, count):
        self.folder = pathlib.Path(folder)
        self.hosts = [Host(programs, bitstreams, folder, number + 1) for number in range(count)]
        checked(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-C", "controller", "-f", self.folder / "key"])
        for host in self.hosts:
            host.make_key()
            host.choose_port()
        (self.folder / "known_hosts").write_text("".join(host.known_host() for host in self.hosts), encoding="ascii")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        """Ends what was started, in the order in which nothing new begins."""
        for host in self.hosts:
            host.stop()
        processes.end(lambda: processes.descendants(os.getpid()))
        processes.reap()

    def start(self, hosts=None):
        for host in self.hosts if hosts is None else hosts:
            host.start(self.folder / "key.pub")
