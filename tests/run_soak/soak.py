# SPDX-License-Identifier: Apache-2.0
"""Many runs of plans on virtual racks, with faults, deaths and exchanged files; each is compared with the carriers.

    soak.py PART --build FOLDER [--cases N] [--seed N] [--only N] [--jobs N] [--keep FOLDER]

PART is truth, kills or swaps. Equal seeds make equal cases; --only repeats one. A case that does not fit is kept.
"""
import argparse
import collections
import concurrent.futures
import pathlib
import shutil
import sys
import tempfile
import time
import traceback

import workplace as workplaces
from kills import Kill
from swaps import Swap
from truth import Truth

PARTS = {"truth": Truth, "kills": Kill, "swaps": Swap}


def run_case(part, programs, bitstreams, folder, seed, index):
    """@return what does not fit, and facts of the case"""
    place = pathlib.Path(folder) / f"{part}-{seed}-{index}"
    if place.exists():
        shutil.rmtree(place)
    try:
        found, facts = PARTS[part](seed, index).run(workplaces.Workplace(programs, bitstreams, place))
    except Exception:  # pylint: disable=broad-except
        found, facts = [traceback.format_exc()], collections.Counter()
    if not found:
        shutil.rmtree(place)
    return index, found, facts


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("part", choices=PARTS)
    for program in ("kvn", "rack", "bitgen", "provider"):
        parser.add_argument(f"--{program}", required=True)
    parser.add_argument("--cases", type=int, default=10)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only", type=int)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--keep", help="folder for cases that do not fit")
    return parser.parse_args()


def main():
    given = arguments()
    programs = workplaces.Programs(*(str(pathlib.Path(path).resolve()) for path in
                                     (given.kvn, given.rack, given.bitgen, given.provider)))
    folder = pathlib.Path(given.keep or tempfile.mkdtemp(prefix="kvn-soak-")).resolve()
    pool = folder / "bitstreams"
    pool.mkdir(parents=True, exist_ok=True)
    bitstreams = workplaces.Bitstreams(programs, pool)
    cases = [given.only] if given.only is not None else range(given.cases)
    begun = time.monotonic()
    wrong, facts = 0, collections.Counter()
    with concurrent.futures.ThreadPoolExecutor(given.jobs) as executor:
        waiting = [executor.submit(run_case, given.part, programs, bitstreams, folder, given.seed, index)
                   for index in cases]
        for done in concurrent.futures.as_completed(waiting):
            index, found, of_case = done.result()
            facts.update(of_case)
            wrong += bool(found)
            for difference in found:
                print(f"case {index}: {difference}", flush=True)
            if found:
                print(f"case {index}: kept; repeat it by {given.part} --seed {given.seed} --only {index}", flush=True)
    for name, number in sorted(facts.items()):
        print(f"{name:32} {number:7}")
    print(f"{given.part}: {len(cases)} cases of seed {given.seed} in {time.monotonic() - begun:.0f} s, "
          f"{wrong} that do not fit")
    if not wrong and not given.keep:
        shutil.rmtree(folder)
    elif wrong:
        print(f"kept in {folder}")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
