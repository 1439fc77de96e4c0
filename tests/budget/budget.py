# SPDX-License-Identifier: Apache-2.0
"""Checks what one operation costs against its budgets: counts, so that a loaded machine changes nothing.

    budget.py make PROGRAM FOLDER              makes the files
    budget.py check PROGRAM FOLDER OPERATION   measures, prints each figure with its budget, fails above one
    budget.py check-way PROGRAM FOLDER OPERATION PROVIDER
                                               the same for a load whose calls go through a provider, as the utility's
    budget.py check-kvn KVN KVN_FPGA BITGEN PROVIDER FORMAT MODE
                                               compares a load by kvn with one by KVN_FPGA; MODE is plain or compressed
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

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


RACK = """[[board]]
type = "mwc4a"
number = 0
[[board.slot]]
number = 1
kind = "fpga"
model = 4
device = "{device}"
compression = "query"
"""


class Program:
    """Loads by a program, into the module of a provider that only counts, or into a virtual one."""

    def __init__(self, provider, mode, command):
        self.command = command
        self.environment = {name: value for name, value in os.environ.items() if not name.startswith("KVN_")}
        self.environment["KVN_MWAPI"] = provider
        if mode == "compressed":
            self.environment["KVN_COUNTING_COMPRESSED"] = ""

    def run(self, folder, file, device, *wrapper):
        words = [*wrapper, *(word.format(file=file, name=pathlib.Path(file).stem) for word in self.command)]
        rack = pathlib.Path(folder) / f"{device}.toml"
        rack.write_text(RACK.format(device=device), encoding="utf-8")
        environment = {**self.environment, "KVN_COUNTING_DEVICE": device, "MWVIRTUAL_RACK": str(rack)}
        subprocess.run(words, cwd=folder, env=environment, check=True, capture_output=True)

    def load_instructions(self, folder, file, device):
        """The instructions from the beginning of the last message, which is that of the load, to the end."""
        figures = pathlib.Path(folder) / "callgrind.out"
        self.run(folder, file, device, "valgrind", "--tool=callgrind", "--zero-before=MwKSBStartSendMessageEx",
                 f"--callgrind-out-file={figures}")
        return int(re.findall(r"^(?:summary|totals): (\d+)", figures.read_text(encoding="utf-8"), re.MULTILINE)[-1])

    def slope(self, folder, files, bytes_more):
        """Instructions for each byte by which the second file is larger."""
        small, large = (self.load_instructions(folder, file, device) for file, device in zip(files, DEVICES))
        return (large - small) / bytes_more

    def resident(self, folder, file, device):
        """What is resident at the end, in KiB: the process's own memory, and all with the pages of files."""
        note = pathlib.Path(folder) / "memory"
        self.environment["KVN_COUNTING_MEMORY"] = str(note)
        self.run(folder, file, device)
        kinds = dict(re.findall(r"^(\w+):\s*(\d+) kB$", note.read_text(encoding="utf-8"), re.MULTILINE))
        return int(kinds["RssAnon"]) + int(kinds["RssShmem"]), int(kinds["VmHWM"])

    def memory(self, folder, file, device):
        """Heap and stack at their highest together, in bytes."""
        snapshots = pathlib.Path(folder) / "massif.out"
        self.run(folder, file, device, "valgrind", *measure.MASSIF, f"--massif-out-file={snapshots}")
        return measure.peak_of(snapshots)


DEVICES = ("2v40cs144-4", "2v250fg456-4")


def stream_bits(bitgen, device):
    """The size of a device's configuration."""
    lines = measure.run([bitgen, "--list"]).stdout.splitlines()
    return next(int(line.split("\t")[2]) for line in lines if re.match(line.split("\t")[0] + "[a-z]", device))


def commands(kvn, kvn_fpga, mode):
    plain = ["-n"] if mode == "plain" else []
    return ([kvn_fpga, "-u", *plain, "-dmwc4a", "-b0", "-s1", "-f{name}"],
            [kvn, "load", "{file}", "mwc4a:0/1", "--progress", "none", f"--{mode}"])


def check_kvn(kvn, kvn_fpga, bitgen, provider, form, mode):
    counting = [Program(provider, mode, command) for command in commands(kvn, kvn_fpga, mode)]
    virtual = [Program("virtual", mode, command) for command in commands(kvn, kvn_fpga, mode)]
    files = [f"{device}.{form}" for device in DEVICES]
    more = (stream_bits(bitgen, DEVICES[1]) - stream_bits(bitgen, DEVICES[0])) / 8
    with tempfile.TemporaryDirectory() as folder:
        for file, device in zip(files, DEVICES):
            measure.run([bitgen, device, "-o", f"{folder}/{file}", "--fill", "random"])
        alone = [program.slope(folder, files, more) for program in counting]
        whole = [program.slope(folder, files, more) for program in virtual]
        memory = [program.memory(folder, files[1], DEVICES[1]) / 1024 for program in counting]
        resident = [program.resident(folder, files[1], DEVICES[1]) for program in counting]
    print(f"instructions per configuration byte: {alone[0]:.2f} by KVN_FPGA, {alone[1]:.2f} by kvn; "
          f"with virtual carriers {whole[0]:.2f} and {whole[1]:.2f}")
    print(f"heap and stack in KiB: {memory[0]:.0f} by KVN_FPGA, {memory[1]:.0f} by kvn")
    # Which pages of programs and libraries are mapped depends on what the system has cached.
    print(f"resident in KiB with the pages of programs and libraries: {resident[0][1]} by KVN_FPGA, "
          f"{resident[1][1]} by kvn")
    budget = Budget()
    budget.limit("instructions with virtual carriers against KVN_FPGA", whole[1] / whole[0], goals.KVN_LOAD)
    # Frames of random bits are sent as pairs of two bytes each.
    sent = 2 if mode == "compressed" else 1
    budget.limit("instructions per byte sent beyond KVN_FPGA", (alone[1] - alone[0]) / sent, goals.KVN_LOAD_BYTE)
    budget.limit("KiB of heap and stack beyond KVN_FPGA", memory[1] - memory[0], goals.KVN_LOAD_MEMORY)
    budget.limit("KiB of its own resident beyond KVN_FPGA", resident[1][0] - resident[0][0], goals.KVN_LOAD_RESIDENT)
    return budget.kept


def main(words):
    if len(words) == 3 and words[0] == "make":
        make(*words[1:])
        return 0
    if len(words) == 4 and words[0] == "check":
        return 0 if check(*words[1:]) else 1
    if len(words) == 5 and words[0] == "check-way":
        return 0 if check_way(*words[1:]) else 1
    if len(words) == 7 and words[0] == "check-kvn":
        return 0 if check_kvn(*words[1:]) else 1
    print(__doc__, file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
