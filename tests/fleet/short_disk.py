#!/usr/bin/python3 -B
# SPDX-License-Identifier: Apache-2.0
"""kvn on a host whose disk is full from some line of a run's events on: SHORT_DISK_LINES. KVN names the program.

The limit is that of the run's own process, so that the journal finds no room, and the carriers do.
"""
import os
import pathlib
import subprocess
import sys

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "run_soak"))
from workplace import limit_files  # noqa: E402 # pylint: disable=wrong-import-position


def main():
    words = [os.environ["KVN_FLEET_PROGRAM"], *sys.argv[1:]]
    if sys.argv[1] != "run" or "--dry-run" in sys.argv:
        os.execv(words[0], words)
    after = int(os.environ["KVN_FLEET_FULL_AFTER"])
    with subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE) as process:
        for count, line in enumerate(process.stdout, 1):
            sys.stdout.buffer.write(line)
            sys.stdout.buffer.flush()
            if count == after:
                limit_files(process.pid, 0)
    return process.returncode


if __name__ == "__main__":
    sys.exit(main())
