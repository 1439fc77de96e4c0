# SPDX-License-Identifier: Apache-2.0
"""Measures whole runs of the library: what they send, their instructions, system calls and memory.

Everything here counts, so that the figures are the same whatever else the machine does.
"""

import json
import os
import pathlib
import re
import subprocess
import tempfile

CONVERSIONS = ["rbt-to-mcb", "bit-to-mcb", "mcb-to-rbt"]
LOADS = [f"load-{kind}{mode}" for kind in ("rbt", "bit", "mcb") for mode in ("", "-compressed")]
OPERATIONS = CONVERSIONS + LOADS

BLOCK_SIZE = 65536
PIECE_SIZE = 8
LOAD_HEADER_SIZE = 2
MCB_HEADER_SIZE = 522

# The public method that every operation goes through.
METHOD = "kvn_fpga::kvn_fpga_main(int, char**)"

INPUTS = {"rbt": "text.rbt", "bit": "binary.bit", "mcb": "runs.mcb"}
OUTPUTS = {"rbt-to-mcb": "text.mcb", "bit-to-mcb": "binary.mcb", "mcb-to-rbt": "runs.rbt"}


MASSIF = ["--tool=massif", "--stacks=yes", "--depth=1", "--peak-inaccuracy=0.0"]


class Driver:
    """The program kvn_whole_runs, with the files of one folder."""

    def __init__(self, program, folder):
        self.program = str(program)
        self.folder = pathlib.Path(folder)
        self.provider = None

    def make(self, kind, bits):
        self.folder.mkdir(parents=True, exist_ok=True)
        run([self.program, "make", kind, str(bits), str(self.folder)])
        os.sync()  # what is on its way to the disk would slow down what is measured next
        return self

    def run(self, operation):
        """What an operation sent to the platform: calls, bytes, calls of other than 8 bytes."""
        return json.loads(run(self._command(operation)).stdout)

    def time(self, rounds):
        """Milliseconds of the operations, their floors and their peers, "wall" and "processor"."""
        return json.loads(run([self.program, "time", str(rounds), str(self.folder)]).stdout)

    def time_alone(self, rounds, operations):
        command = [self.program, "time-alone", str(rounds), str(self.folder), *operations]
        return json.loads(run(command).stdout)

    def through(self, provider):
        """The same program and files; its loads go through a provider that is loaded at run time."""
        driver = Driver(self.program, self.folder)
        driver.provider = str(provider)
        return driver

    def instructions(self, operation):
        """The instructions from entering the public method to leaving it."""
        words = self._valgrind(operation, "--tool=callgrind", f"--toggle-collect={METHOD}",
                               "--callgrind-out-file=/dev/null")
        return int(re.search(r"Collected : (\d+)", words).group(1))

    def system_calls(self, operation):
        """The system calls of an operation, without those of starting a process."""
        return self._count_system_calls(*self._command(operation)) - self._count_system_calls(self.program, "start")

    @staticmethod
    def _count_system_calls(*command):
        # Valgrind tells each call that it hands on, and so needs no permission to trace a process.
        words = run(["valgrind", "--tool=none", "--trace-syscalls=yes", *command]).stderr
        return len(re.findall(r"^SYSCALL\[[^]]*\]\(\s*\d+\) sys_", words, re.MULTILINE))

    def peak_memory(self, operation):
        """Heap and stack of the whole process at their highest together, in bytes."""
        with tempfile.NamedTemporaryFile() as snapshots:
            self._valgrind(operation, *MASSIF, f"--massif-out-file={snapshots.name}")
            return peak_of(snapshots.name)

    def configuration_bytes(self):
        """The bytes that go to a device, as the MCB file states them."""
        header = (self.folder / INPUTS["mcb"]).read_bytes()[:MCB_HEADER_SIZE]
        return int.from_bytes(header[-4:], "little")

    def blocks_moved(self, operation):
        """How often 64 KiB an operation reads and writes."""
        names = [INPUTS[input_kind(operation)]]
        if operation in OUTPUTS:
            self.run(operation)
            names.append(OUTPUTS[operation])
        return sum((self.folder / name).stat().st_size for name in names) / BLOCK_SIZE

    def bytes_to_send(self, operation):
        """What a load sends behind its header: the configuration bytes, or the pairs of their runs."""
        if operation.endswith("-compressed"):
            return (self.folder / INPUTS["mcb"]).stat().st_size - MCB_HEADER_SIZE
        return self.configuration_bytes()

    def _command(self, operation):
        way = ["run"] if self.provider is None else ["run-through", self.provider]
        return [self.program, *way, operation, str(self.folder)]

    def _valgrind(self, operation, *options):
        return run(["valgrind", *options, *self._command(operation)]).stderr


def peak_of(snapshots):
    """Heap and stack at their highest together, in bytes, as MASSIF has written them."""
    text = pathlib.Path(snapshots).read_text(encoding="ascii")
    sizes = re.findall(r"mem_heap_B=(\d+)\nmem_heap_extra_B=(\d+)\nmem_stacks_B=(\d+)", text)
    return max(sum(map(int, parts)) for parts in sizes)


def input_kind(operation):
    return operation.removeprefix("load-")[:3]


def run(command):
    """Runs a command; when it fails, what it said is part of the exception."""
    result = subprocess.run(command, capture_output=True, text=True, errors="replace", check=False)
    if result.returncode != 0:
        raise RuntimeError(f"{' '.join(command)}: {result.stderr.strip()}")
    return result


def instructions_per_byte(small, large, operation):
    """The slope between two sizes: what starting a run costs is left out."""
    instructions = large.instructions(operation) - small.instructions(operation)
    return instructions / (large.configuration_bytes() - small.configuration_bytes())


def call_fault(driver, operation):
    """What is wrong with the data calls of a load, or None."""
    sent = driver.run(operation)
    size = sent["bytes"] - LOAD_HEADER_SIZE
    expected = driver.bytes_to_send(operation)
    if size != expected:
        return f"{size} bytes were sent, not {expected}"
    calls = sent["calls"] - 1
    pieces = -(-size // PIECE_SIZE)
    if calls != pieces:
        return f"{calls} data calls, not {pieces}"
    short_calls = sent["odd_calls"] - 1
    if short_calls != (1 if size % PIECE_SIZE else 0):
        return f"{short_calls} calls of other than 8 bytes"
    return None
