# SPDX-License-Identifier: Apache-2.0
"""Measures the goals of docs/performance.md on this machine, prints their table and writes their plot.

    performance.py PROGRAM FOLDER PLOT [ROUNDS]

PROGRAM is kvn_whole_runs, FOLDER takes the files (about 1 GB), PLOT is the SVG file to write. Every ratio of times
is the median of the ratios of single rounds.
"""

import dataclasses
import html
import os
import pathlib
import platform
import re
import shutil
import statistics
import subprocess
import sys

import goals
import measure

DEFAULT_ROUNDS = 25
GROWTH_ROUNDS = 15


@dataclasses.dataclass
class Row:
    """A goal, and what was measured."""

    number: int
    name: str
    most: float
    figure: float
    processor: float = None  # the same by processor time, if times are compared
    unit: str = ""

    def kept(self):
        return self.figure <= self.most


TITLES = {
    "rbt-to-mcb": "RBT to MCB", "bit-to-mcb": "BIT to MCB", "mcb-to-rbt": "MCB to RBT",
    "load-rbt": "load RBT", "load-rbt-compressed": "load RBT, compressed",
    "load-bit": "load BIT", "load-bit-compressed": "load BIT, compressed",
    "load-mcb": "load MCB", "load-mcb-compressed": "load MCB, compressed",
}
PEERS = {"wc-rbt": "`wc -l`", "cp-rbt": "`cp` of the RBT file", "cp-bit": "`cp` of the BIT file",
         "lz4-rbt": "`lz4 -1`"}
GOAL_OF_PEER = {("rbt-to-mcb", "wc-rbt"): 1, ("rbt-to-mcb", "cp-rbt"): 1, ("rbt-to-mcb", "lz4-rbt"): 2,
                ("bit-to-mcb", "cp-bit"): 3, ("mcb-to-rbt", "cp-rbt"): 4}


def ratio(times, operation, other):
    """The medians of the rounds' ratios, by the wall clock and by processor time."""
    return [statistics.median(a / b for a, b in zip(times[clock][operation], times[clock][other]))
            for clock in ("wall", "processor")]


def compare(times, operation, other, number, name, most):
    wall, processor = ratio(times, operation, other)
    return Row(number, name, most, wall, processor, "x")


def times_rows(driver, rounds):
    times = driver.time(rounds)
    for (operation, peer), most in goals.AGAINST_PEERS.items():
        yield compare(times, operation, peer, GOAL_OF_PEER[operation, peer],
                      f"{TITLES[operation]} against {PEERS[peer]}", most)
    for operation, most in goals.AGAINST_FLOORS.items():
        yield compare(times, operation, f"floor-{operation}", 6, f"{TITLES[operation]}, against its floor", most)


def other_kinds_rows(folder, program, rounds):
    for kind in goals.OTHER_KINDS:
        times = measure.Driver(program, folder / kind).make(kind, goals.LARGEST_DEVICE_BITS).time(rounds)
        for (operation, peer), most in goals.ANY_DATA.items():
            yield compare(times, operation, peer, 5, f"{TITLES[operation]} against {PEERS[peer]}, {kind}", most)


def counted_rows(small, medium, largest):
    for operation in measure.LOADS:
        fault = measure.call_fault(largest, operation)
        yield Row(7, f"{TITLES[operation]}: data calls that should not be there, or be larger", 0,
                  0 if fault is None else 1, unit="calls")
    for operation, most in goals.INSTRUCTIONS_PER_BYTE.items():
        figure = measure.instructions_per_byte(small, medium, operation)
        yield Row(8, f"{TITLES[operation]}: instructions per configuration byte", most, figure)
    for operation in measure.OPERATIONS:
        blocks = largest.blocks_moved(operation)
        yield Row(9, f"{TITLES[operation]}: system calls for {blocks:.0f} x 64 KiB",
                  goals.SYSTEM_CALLS + goals.SYSTEM_CALLS_PER_BLOCK * blocks, largest.system_calls(operation),
                  unit="calls")


def memory_rows(small, largest):
    for operation in measure.OPERATIONS:
        most = goals.CONVERTING_MEMORY if operation in measure.CONVERSIONS else goals.LOADING_MEMORY
        for driver, size in ((small, "1 Mbit"), (largest, "34 Mbit")):
            yield Row(10, f"{TITLES[operation]}: heap and stack at {size}", most / 1024,
                      driver.peak_memory(operation) / 1024, unit="KiB")


def growth_rows(medium, largest, huge):
    """The cost of a bit beyond the largest device, relative to that below it."""
    sizes = (medium, largest, huge)
    times = [{operation: [] for operation in measure.OPERATIONS} for _ in sizes]
    for _ in range(GROWTH_ROUNDS):
        for driver, collected in zip(sizes, times):
            for operation, milliseconds in driver.time_alone(1, measure.OPERATIONS)["wall"].items():
                collected[operation] += milliseconds
    data = [driver.configuration_bytes() for driver in sizes]
    for operation in measure.OPERATIONS:
        cost = [statistics.median(collected[operation]) for collected in times]
        below = (cost[1] - cost[0]) / (data[1] - data[0])
        beyond = (cost[2] - cost[1]) / (data[2] - data[1])
        yield Row(11, f"{TITLES[operation]}: a bit from 34 to 343 Mbit against one from 10 to 34 Mbit",
                  goals.GROWTH, beyond / below, unit="x")


def number_text(value):
    return f"{value:.0f}" if value >= 100 or value == int(value) else f"{value:.2f}"


def table(rows):
    lines = ["| # | what | at most | figure | by processor time | kept |", "|--:|---|--:|--:|--:|---|"]
    for row in rows:
        processor = "" if row.processor is None else f"{row.processor:.2f} x"
        unit = f" {row.unit}" if row.unit else ""
        lines.append(f"| {row.number} | {row.name} | {number_text(row.most)}{unit} | {number_text(row.figure)}{unit} "
                     f"| {processor} | {'yes' if row.kept() else '**no**'} |")
    return "\n".join(lines)


def first_line(command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.splitlines()[0]


def machine(loads):
    model = re.search(r"model name\s*:\s*(.*)", pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8"))
    name = model.group(1).strip() if model else platform.machine()
    return (f"{name}, {os.cpu_count()} cores, {platform.system()} {platform.release()}, "
            f"{first_line(['c++', '--version'])}; load average {loads[0]:.1f} before and {loads[1]:.1f} after.")


BAR_HEIGHT = 14
ROW_HEIGHT = 20
LABEL_WIDTH = 470
GOAL_WIDTH = 300
CHART_WIDTH = LABEL_WIDTH + 2 * GOAL_WIDTH


def plot(rows):
    """Each figure as a fraction of its goal, as an SVG picture."""
    rows = [row for row in rows if row.most > 0]
    height = ROW_HEIGHT * (len(rows) + 2)
    goal_line = LABEL_WIDTH + GOAL_WIDTH
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{CHART_WIDTH}" height="{height}" '
             f'viewBox="0 0 {CHART_WIDTH} {height}" font-family="sans-serif" font-size="12">',
             "<title>What was measured, as a part of its goal</title>",
             f'<rect width="{CHART_WIDTH}" height="{height}" fill="white"/>',
             f'<text x="{goal_line}" y="14" text-anchor="middle">goal</text>']
    for index, row in enumerate(rows):
        top = ROW_HEIGHT * (index + 1)
        part = row.figure / row.most
        width = min(max(part, 0) * GOAL_WIDTH, 2 * GOAL_WIDTH - 60)
        colour = "#4a90c2" if row.kept() else "#d9663d"
        label = html.escape(f"{row.number}  {row.name}".replace("`", ""))
        parts += [f'<text x="{LABEL_WIDTH - 8}" y="{top + 12}" text-anchor="end">{label}</text>',
                  f'<rect x="{LABEL_WIDTH}" y="{top + 2}" width="{width:.1f}" height="{BAR_HEIGHT}" fill="{colour}"/>',
                  f'<text x="{LABEL_WIDTH + width + 5:.1f}" y="{top + 13}">{part * 100:.0f} %</text>']
    parts += [f'<line x1="{goal_line}" y1="{ROW_HEIGHT}" x2="{goal_line}" y2="{height - ROW_HEIGHT}" '
              'stroke="black" stroke-dasharray="4 3"/>', "</svg>"]
    return "\n".join(parts) + "\n"


def measure_all(program, folder, rounds):
    small, medium, largest, huge = [
        measure.Driver(program, folder / str(bits)).make("mix", bits)
        for bits in (goals.SMALL_BITS, goals.MEDIUM_BITS, goals.LARGEST_DEVICE_BITS, goals.HUGE_BITS)]
    rows = [*times_rows(largest, rounds), *other_kinds_rows(folder, program, rounds),
            *counted_rows(small, medium, largest), *memory_rows(small, largest), *growth_rows(medium, largest, huge)]
    return sorted(rows, key=lambda row: row.number)


def main(words):
    if len(words) not in (3, 4):
        print(__doc__, file=sys.stderr)
        return 2
    program, folder, picture = (pathlib.Path(word) for word in words[:3])
    rounds = int(words[3]) if len(words) == 4 else DEFAULT_ROUNDS
    load_before = os.getloadavg()[0]
    try:
        rows = measure_all(program, folder, rounds)
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    print(f"{machine((load_before, os.getloadavg()[0]))} {rounds} rounds.\n\n{table(rows)}")
    picture.write_text(plot(rows), encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
