# SPDX-License-Identifier: Apache-2.0
"""Checks what one operation costs against its budgets: counts, so that a loaded machine changes nothing.

    budget.py make PROGRAM FOLDER              makes the files
    budget.py check PROGRAM FOLDER OPERATION   measures, prints each figure with its budget, fails above one
    budget.py check-way PROGRAM FOLDER OPERATION PROVIDER
                                               the same for a load whose calls go through a provider, as the utility's
"""

import pathlib
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "bench"))

import goals  # pylint: disable=wrong-import-position
import measure  # pylint: disable=wrong-import-position

# Heap and stack may differ so much between a small and a medium file and still count as the same.
SAME_MEMORY = 1024


class Budget:
    """Figures with their most, and whether any is above it."""

    def __init__(self):
        self.kept = True

    def limit(self, what, figure, most):
        self.note(figure <= most, f"{what}: {figure:.2f}, at most {most:.2f}")

    def note(self, good, text):
        self.kept = self.kept and good
        print(("ok       " if good else "EXCEEDED ") + text)


def drivers(program, folder):
    return [measure.Driver(program, pathlib.Path(folder) / size) for size in ("small", "medium")]


def make(program, folder):
    for driver, bits in zip(drivers(program, folder), (goals.SMALL_BITS, goals.MEDIUM_BITS)):
        driver.make("mix", bits)


def check(program, folder, operation):
    small, medium = drivers(program, folder)
    budget = Budget()
    budget.limit("instructions per configuration byte",
                 measure.instructions_per_byte(small, medium, operation),
                 goals.INSTRUCTIONS_PER_BYTE[operation])
    budget.limit("system calls", medium.system_calls(operation),
                 goals.SYSTEM_CALLS + goals.SYSTEM_CALLS_PER_BLOCK * medium.blocks_moved(operation))
    if operation in measure.LOADS:
        for name, driver in (("small", small), ("medium", medium)):
            fault = measure.call_fault(driver, operation)
            budget.note(fault is None, f"data calls, {name} file: {fault or 'as many as there are pieces'}")

    memory = [driver.peak_memory(operation) for driver in (small, medium)]
    most = goals.CONVERTING_MEMORY if operation in measure.CONVERSIONS else goals.LOADING_MEMORY
    budget.limit("heap and stack in KiB", max(memory) / 1024, most / 1024)
    budget.limit("bytes more for a larger file", memory[1] - memory[0], SAME_MEMORY)
    return budget.kept


def check_way(program, folder, operation, provider):
    linked = drivers(program, folder)
    loaded = [driver.through(provider) for driver in linked]
    figures = [measure.instructions_per_byte(*ways, operation) for ways in (linked, loaded)]
    print(f"instructions per configuration byte: {figures[0]:.2f} linked, {figures[1]:.2f} through a provider")
    budget = Budget()
    budget.limit("instructions through a provider against linked", figures[1] / figures[0], goals.THROUGH_PROVIDER)
    return budget.kept


def main(words):
    if len(words) == 3 and words[0] == "make":
        make(*words[1:])
        return 0
    if len(words) == 4 and words[0] == "check":
        return 0 if check(*words[1:]) else 1
    if len(words) == 5 and words[0] == "check-way":
        return 0 if check_way(*words[1:]) else 1
    print(__doc__, file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
