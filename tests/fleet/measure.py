# SPDX-License-Identifier: Apache-2.0
"""Runs a command and counts the processor time of all its processes, also of those that it leaves behind.

    measure.py FILE COMMAND...

FILE gets seconds, processor seconds and the memory of the largest process as JSON. What the command leaves, such as the ssh that keeps a connection, is
ended: only then its time is known.
"""
import json
import os
import resource
import signal
import subprocess
import sys
import time

import processes


def main():
    processes.adopt_orphans()
    begun = time.monotonic()
    status = subprocess.call(sys.argv[2:])
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
                   "megabytes": used.ru_maxrss // 1024}, file)
    os.replace(sys.argv[1] + ".part", sys.argv[1])
    return status if status >= 0 else 128 - status


if __name__ == "__main__":
    sys.exit(main())
