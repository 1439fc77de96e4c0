# SPDX-License-Identifier: Apache-2.0
"""Hosts for tests: an sshd on a loopback port for each, with keys of its own.

    with SshHosts(folder, ["bench1", "bench2"], programs) as hosts:
        subprocess.run(["ssh", "bench1", "kvn list"], env={**os.environ, "PATH": hosts.path})

Nobody answers behind bench9. Each host has a name, a folder in which its commands start, and virtual carriers of its
own. The commands of this side are those of the system with a configuration of their own; files of the user are neither
read nor written. Needs user namespaces, in which each host has its name.
"""
import os
import pathlib
import shlex
import shutil
import socket
import subprocess

SFTP_SERVER = "/usr/lib/openssh/sftp-server"
SERVER = """\
ListenAddress 127.0.0.1
Port {port}
HostKey {keys}/host
AuthorizedKeysFile {keys}/user.pub
PidFile none
StrictModes no
UsePAM no
PasswordAuthentication no
# Without it bash would read the user's .bashrc, which may print something.
SetEnv SHLVL=1
Subsystem sftp {sftp}
ForceCommand {command}
"""
CLIENT = """\
Host {name}
    Port {port}
    HostName 127.0.0.1
    IdentityFile {keys}/user
    IdentitiesOnly yes
    UserKnownHostsFile {keys}/known_hosts
    BatchMode yes
    LogLevel ERROR
"""
NOBODY = """\
Host bench9
    Port 9
    HostName 127.0.0.1
    LogLevel ERROR
"""
COMMAND = """\
#!/bin/sh
cd {folder} || exit
export PATH={programs}:/usr/bin:/bin KVN_MWAPI=virtual MWVIRTUAL_STATE={folder}/state
exec unshare --user --map-root-user --uts sh -c 'hostname {name} && eval "$1"' sh "$SSH_ORIGINAL_COMMAND"
"""
OWN_COMMAND = """\
#!/bin/sh
exec {program} -F {config} "$@"
"""


def make_folder_of_sshd():
    """An sshd that root starts demands it, and where services are not started nobody has made it."""
    if os.geteuid() == 0:
        os.makedirs("/run/sshd", mode=0o755, exist_ok=True)


class SshHosts:
    """Hosts from their start to their end."""

    def __init__(self, folder, names, programs):
        """folder: for keys, hosts and logs; programs: the folder of kvn on each host."""
        self.folder = pathlib.Path(folder).resolve()
        self.programs = pathlib.Path(programs).resolve()
        self.names = names
        self.servers = []

    @property
    def path(self):
        """PATH for the commands of this side."""
        return f"{self.folder / 'bin'}:{self.programs}:{os.environ['PATH']}"

    def of(self, name):
        """The folder of a host."""
        return self.folder / "hosts" / name

    def __enter__(self):
        make_folder_of_sshd()
        (self.folder / "bin").mkdir(parents=True)
        for key in ("host", "user"):
            subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", self.folder / key], check=True)
        config = self.folder / "ssh_config"
        for program in ("ssh", "scp"):
            self.write_program(self.folder / "bin" / program,
                               OWN_COMMAND.format(program=shutil.which(program), config=shlex.quote(str(config))))
        try:
            config.write_text(NOBODY + "".join(self.start(name) for name in self.names), encoding="utf-8")
        except BaseException:
            self.stop()
            raise
        return self

    def __exit__(self, *_):
        self.stop()

    def stop(self):
        """Ends what was started."""
        for server in self.servers:
            server.terminate()
            server.wait()
        self.servers.clear()

    def start(self, name):
        """Starts a host. Returns how ssh reaches it."""
        (self.of(name) / "state").mkdir(parents=True)
        command = self.folder / f"{name}.sh"
        self.write_program(command, COMMAND.format(name=name, folder=shlex.quote(str(self.of(name))),
                                                   programs=shlex.quote(str(self.programs))))
        for _ in range(10):  # somebody may take the port before the server does
            port = free_port()
            settings = self.folder / f"{name}.conf"
            settings.write_text(SERVER.format(port=port, keys=self.folder, sftp=SFTP_SERVER, command=command),
                                encoding="utf-8")
            server = subprocess.Popen(["/usr/sbin/sshd", "-D", "-e", "-f", settings], stdin=subprocess.DEVNULL,
                                      stderr=subprocess.PIPE, text=True)
            said = list(until_listening(server.stderr))
            if said and "listening" in said[-1]:
                self.servers.append(server)
                self.note_key(port)
                return CLIENT.format(name=name, port=port, keys=self.folder)
            server.wait()
        raise RuntimeError("sshd does not start: " + "".join(said))

    def note_key(self, port):
        """Lets ssh know a host."""
        with (self.folder / "known_hosts").open("a", encoding="utf-8") as known:
            known.write(f"[127.0.0.1]:{port} {(self.folder / 'host.pub').read_text(encoding='utf-8')}")

    @staticmethod
    def write_program(path, text):
        """A script that can be run."""
        path.write_text(text, encoding="utf-8")
        path.chmod(0o755)


def until_listening(lines):
    """What a server says, up to the line that says that it listens."""
    for line in lines:
        yield line
        if "listening" in line:
            return


def free_port():
    """A port that nobody listens on now."""
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]
