# SPDX-License-Identifier: Apache-2.0
"""Many hosts on this computer, each an sshd with virtual carriers of its own, loaded by the playbooks of the example.

    fleet.py [proof|kills|cost] [--hosts N] [--buses N] [--modules N] [--full] [--seed N] [--kills N] [--keep FOLDER]
             --kvn FILE --rack FILE --bitgen FILE --provider FILE

proof: planted faults; the rehearsal names those that can be known, every record is what the carrier holds. kills:
sessions, hosts, workers and the controller are killed at random moments. cost: processor time beside a bare command
over the same hosts. Equal seeds make equal cases. What does not fit is printed, and the folder is kept.
"""
import argparse
import pathlib
import shutil
import signal
import sys
import tempfile
import traceback

import processes
from hosts import Fleet  # noqa: F401 # brings the modules of tests/run_soak
import workplace as workplaces
from cost import Cost
from kills import Kills
from proof import Proof

PARTS = {"proof": Proof, "kills": Kills, "cost": Cost}
FULL = {"hosts": 16, "buses": 16, "modules": 4}


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("part", nargs="?", choices=PARTS, default="proof")
    for program in ("kvn", "rack", "bitgen", "provider"):
        parser.add_argument(f"--{program}", required=True)
    parser.add_argument("--hosts", type=int, default=4)
    parser.add_argument("--buses", type=int, default=2)
    parser.add_argument("--modules", type=int, default=2)
    parser.add_argument("--full", action="store_true", help="16 hosts, 16 buses each, 4 modules each")
    parser.add_argument("--kills", type=int, default=5)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--keep", help="a new folder for all files")
    given = parser.parse_args()
    if given.full:
        vars(given).update(FULL)
    return given


def main():
    given = arguments()
    programs = workplaces.Programs(*(str(pathlib.Path(path).resolve()) for path in
                                     (given.kvn, given.rack, given.bitgen, given.provider)))
    processes.adopt_orphans()
    # The end of a test's time comes as a signal: then, too, nothing stays.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    folder = pathlib.Path(given.keep or tempfile.mkdtemp(prefix="kvn-fleet-", dir="/tmp")).resolve()
    pool = folder / "bitstreams"
    pool.mkdir(parents=True)
    try:
        found, facts = PARTS[given.part](programs, workplaces.Bitstreams(programs, pool), folder, given).run()
    except Exception:  # pylint: disable=broad-except
        found, facts = [traceback.format_exc()], {}
    for difference in found:
        print(difference)
    for name, value in facts.items():
        print(f"{name:40} {value:>10}")
    print(f"{given.part}: seed {given.seed}, {len(found)} differences")
    if found:
        print(f"kept in {folder}")
    elif not given.keep:
        shutil.rmtree(folder)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
