# SPDX-License-Identifier: Apache-2.0
"""Runs the console blocks of docs/many-hosts-recipes.md against hosts behind sshd on this machine.

    recipes_test.py BUILD_FOLDER
"""
import os
import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
import console_blocks_test
from ssh_hosts import SshHosts

PAGE = console_blocks_test.DOCS / "many-hosts-recipes.md"


def main(build):
    programs = pathlib.Path(build).resolve() / "bin"
    with tempfile.TemporaryDirectory() as folder:
        with SshHosts(pathlib.Path(folder) / "ssh", ["bench1", "bench2", "bench3"], programs) as hosts:
            os.environ["PATH"] = hosts.path
            return console_blocks_test.main(PAGE, build)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
