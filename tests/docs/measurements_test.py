# SPDX-License-Identifier: Apache-2.0
"""Gives scripts/measurements.py the output of runs; only their own section of the page may change."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent

COVERAGE = """\
support_tests
TOTAL                                       100      99    99%   src/run/help.cpp
lines: 99.0% (99 out of 100)
functions: 100.0% (7 out of 7)
branches: 95.5% (21 out of 22)
"""
MUTATION = """\
survived  src/run/help.cpp:3: == becomes !=
90 changes possible, 4 excused; 20 tried: 1 do not compile, 18 noticed, 1 survived: 94.7 % of 19 noticed
       18 by run_tests
"""
FAULTS = """\
[ RUN      ] Runs/FaultMatrix.EveryTransfer/rbt
plain RBT: 5 faults (5 so far)
[       OK ] Runs/FaultMatrix.EveryTransfer/rbt (1 ms)
[ RUN      ] Runs/FaultMatrix.EveryTransfer/bit
plain BIT: 6 faults (11 so far)
[       OK ] Runs/FaultMatrix.EveryTransfer/bit (1 ms)
[ RUN      ] Streams/MemoryRuns.Fail/con
con: 3 allocations
"""


class Measurements(unittest.TestCase):
    def setUp(self):
        self.page = (ROOT / "docs" / "measurements.md").read_text(encoding="utf-8")

    def write(self, section, output):
        """The exit status, and the page afterwards."""
        with tempfile.TemporaryDirectory() as folder:
            copy = pathlib.Path(folder) / "measurements.md"
            copy.write_text(self.page, encoding="utf-8")
            run = subprocess.run([sys.executable, ROOT / "scripts" / "measurements.py", section, "--page", copy],
                                 input=output, capture_output=True, text=True, check=False)
            self.assertEqual(run.stdout, output)
            return run.returncode, copy.read_text(encoding="utf-8")

    def expect_section(self, section, output, figures):
        before, rest = self.page.split(f"<!-- {section}: written by scripts/measurements.py -->\n")
        after = rest.split(f"<!-- end of {section} -->\n")[1]
        self.assertEqual(self.write(section, output), (0, (
            f"{before}<!-- {section}: written by scripts/measurements.py -->\n\n{figures}\n\n"
            f"<!-- end of {section} -->\n{after}")))

    def test_a_finished_table_is_kept_whole(self):
        for section in ("speed", "fuzz"):
            self.expect_section(section, "\n| a |\n|---|\n| 1 |\n", "| a |\n|---|\n| 1 |")

    def test_of_coverage_the_summary_is_kept(self):
        summary = "\n".join(COVERAGE.splitlines()[2:])
        self.expect_section("coverage", COVERAGE, f"```\n{summary}\n```")

    def test_of_mutation_the_count_is_kept(self):
        self.expect_section("mutation", MUTATION, f"```\n{MUTATION.splitlines()[1]}\n```")

    def test_faults_are_added_up_for_each_test(self):
        self.expect_section("faults", FAULTS, "| Test | Faults |\n|---|--:|\n| `FaultMatrix.EveryTransfer` | 11 |\n"
                                              "| `MemoryRuns.Fail` | 3 |")

    def test_output_without_figures_leaves_the_page_alone(self):
        for section in ("speed", "faults", "fuzz", "coverage", "mutation"):
            self.assertEqual(self.write(section, "\n"), (1, self.page))


if __name__ == "__main__":
    unittest.main()
