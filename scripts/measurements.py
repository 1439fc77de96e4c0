#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the figures of a run into docs/measurements.md, in place of those of the last one.

    scripts/performance                                   measures and writes the speed
    (build-dev/bin/fault_tests; build-dev/bin/memory_fault_tests) | scripts/measurements.py faults
    scripts/fuzz --table | scripts/measurements.py fuzz
    scripts/coverage | scripts/measurements.py coverage
    scripts/mutate --sample 200 | scripts/measurements.py mutation

Shows what it reads and keeps the figures of it. Leaves the page alone and exits with 1 when it finds none.
"""
import argparse
import collections
import pathlib
import re
import sys

PAGE = pathlib.Path(__file__).resolve().parent.parent / "docs" / "measurements.md"


def everything(output):
    """A table that is ready to be kept."""
    return output.strip()


def lines_that(pattern):
    """Keeps the lines that match, as they are."""
    def keep(output):
        lines = [line for line in output.splitlines() if re.search(pattern, line)]
        return "\n".join(["```", *lines, "```"]) if lines else ""
    return keep


def fault_table(output):
    """Adds up the faults that each test over all kinds of runs tried."""
    faults = collections.Counter()
    test = None
    for line in output.splitlines():
        if started := re.match(r"\[ RUN +\] \w+/(\w+\.\w+)/", line):
            test = started[1]
        elif tried := re.search(r": (\d+) (faults \(\d+ so far\)|allocations)$", line):
            faults[test] += int(tried[1])
    rows = [f"| `{name}` | {count} |" for name, count in sorted(faults.items())]
    return "\n".join(["| Test | Faults |", "|---|--:|", *rows]) if rows else ""


SECTIONS = {
    "speed": everything,
    "faults": fault_table,
    "fuzz": everything,
    "coverage": lines_that(r"^(coverage of|lines:|functions:|branches:) "),
    "mutation": lines_that(r"^\d+ changes possible, "),
}


def with_section(page, name, figures):
    """The page with other figures between the marks of a section."""
    begin, end = f"<!-- {name}: written by scripts/measurements.py -->\n", f"<!-- end of {name} -->\n"
    before, rest = page.split(begin)
    return f"{before}{begin}\n{figures}\n\n{end}{rest.split(end)[1]}"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("section", choices=SECTIONS)
    parser.add_argument("--page", type=pathlib.Path, default=PAGE, help="another page to write to")
    arguments = parser.parse_args()

    output = sys.stdin.read()
    print(output, end="")
    figures = SECTIONS[arguments.section](output)
    if not figures:
        print(f"measurements: no figures of {arguments.section} in what was read", file=sys.stderr)
        return 1
    page = arguments.page.read_text(encoding="utf-8")
    arguments.page.write_text(with_section(page, arguments.section, figures), encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
