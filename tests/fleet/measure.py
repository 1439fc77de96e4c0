# SPDX-License-Identifier: Apache-2.0
"""Runs a command and counts the processor time of all its processes, also of those that it leaves behind.

    measure.py FILE COMMAND...

FILE gets seconds, processor seconds of all processes and of the command's own one, and the memory of the largest, as JSON.
What the command leaves, such as the ssh that keeps a connection, is ended: only then its time is known.
"""
import json
import os
import resource
import signal
import subprocess
import sys
import time

import processes


def processor_seconds(process):
    """What a process has used by itself so far; 0 when it has ended."""
    try:
        with open(f"/proc/{process}/stat", encoding="latin-1") as file:
            words = file.read().rsplit(")", 1)[1].split()
    except OSError:
        return 0.0
    return (int(words[11]) + int(words[12])) / os.sysconf("SC_CLK_TCK")


def main():
    processes.adopt_orphans()
    begun = time.monotonic()
    command = subprocess.Popen(sys.argv[2:])  # pylint: disable=consider-using-with
    own = 0.0
    while command.poll() is None:
        own = processor_seconds(command.pid) or own
        time.sleep(0.02)
    status = command.returncode
    seconds = time.monotonic() - begun
    processes.end(lambda: processes.descendants(os.getpid()), signal.SIGTERM)
    while True:
        try:
            os.wait()
        except ChildProcessError:
            break
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    with open(sys.argv[1] + ".part", "w", encoding="ascii") as file:
        json.dump({"seconds": seconds, "processor": used.ru_utime + used.ru_stime,
                   "main": own,
                   "megabytes": used.ru_maxrss // 1024}, file)
    os.replace(sys.argv[1] + ".part", sys.argv[1])
    return status if status >= 0 else 128 - status


if __name__ == "__main__":
    sys.exit(main())
