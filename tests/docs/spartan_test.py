# SPDX-License-Identifier: Apache-2.0
"""Checks docs/formats/spartan.md on virtual modules: its table, and files lengthened with its program."""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

PAGE = pathlib.Path(__file__).resolve().parent.parent.parent / "docs" / "formats" / "spartan.md"
UTILITY = os.environ["KVN_FPGA"]
GENERATOR = os.environ["KVN_BITGEN"]
DEVICES = {"Spartan": (1, "s10pc84-4"), "Spartan-XL": (2, "s20xlvq100-4")}
SLOT = """
[[board.slot]]
number = {}
kind = "fpga"
model = 4
version = 1
device = "{}"
compression = "query"
"""
PLAIN, COMPRESSED = ["-n"], []


class Spartan(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        rack = '[[board]]\ntype = "mwc4a"\nnumber = 0\n' + "".join(SLOT.format(*d) for d in DEVICES.values())
        (self.folder / "rack.toml").write_text(rack, encoding="utf-8")
        self.page = PAGE.read_text(encoding="utf-8")

    def run_utility(self, *arguments):
        """The number of the error, or None."""
        environment = {**os.environ, "KVN_MWAPI": "virtual", "MWVIRTUAL_RACK": "rack.toml"}
        run = subprocess.run([UTILITY, "-u", *arguments], cwd=self.folder, env=environment,
                             capture_output=True, text=True, check=False)
        error = re.search(r"Error (\d{4})", run.stderr)
        self.assertEqual(run.returncode != 0, error is not None, run.stderr)
        return int(error[1]) if error else None

    def load(self, family, name, mode):
        return self.run_utility("-dmwc4a", "-b0", f"-s{DEVICES[family][0]}", f"-f{name}", *mode)

    def generate(self, family, name, *options):
        subprocess.run([GENERATOR, DEVICES[family][1], "-o", name, *options], cwd=self.folder, check=True)

    def stated(self, row):
        """The error numbers of a row of the page's first table; None where the device starts or -c works."""
        cells = re.search(rf"^\| {re.escape(row)} \|(.*)\|$", self.page, flags=re.MULTILINE)[1].split("|")
        return [int(number[0]) if (number := re.findall(r"\d{4}", cell)) else None for cell in cells]

    def test_the_table_of_files_as_the_tools_make_them(self):
        for family in DEVICES:
            self.generate(family, "tool.rbt", "--frame-lines")
            self.generate(family, "tool.bit")
            for kind in ("RBT", "BIT"):
                name = f"tool.{kind.lower()}"
                found = [self.load(family, name, PLAIN), self.load(family, name, COMPRESSED),
                         self.run_utility("-c", f"-f{name}")]
                self.assertEqual(found, self.stated(f"{family}, {kind}"), name)

    def test_the_rows_of_converted_files(self):
        self.generate("Spartan", "tool.bit")
        self.assertIsNone(self.run_utility("-c", "-ftool.bit"))
        found = [self.load("Spartan", "tool.mcb", PLAIN), self.load("Spartan", "tool.mcb", COMPRESSED), None]
        self.assertEqual(found, self.stated("Spartan, the MCB file made of it"))
        self.assertIsNone(self.run_utility("-r", "-ftool.mcb"))
        found = [self.load("Spartan", "tool.rbt", PLAIN), self.load("Spartan", "tool.rbt", COMPRESSED),
                 self.run_utility("-c", "-ftool.rbt")]
        self.assertEqual(found, self.stated("Spartan, the RBT file made of that"))

    def test_a_lengthened_file_starts_both_families_in_every_form_and_mode(self):
        program = re.search(r"^```python\n(.*?)^```", self.page, flags=re.MULTILINE | re.DOTALL)[1]
        for family in DEVICES:
            self.generate(family, "tool.bit")
            subprocess.run([sys.executable, "-c", program, "tool.bit", "long.bit"], cwd=self.folder, check=True)
            self.assertIsNone(self.run_utility("-c", "-flong.bit"))
            self.assertIsNone(self.run_utility("-r", "-flong.mcb"))
            for name in ("long.bit", "long.mcb", "long.rbt"):
                for mode in (PLAIN, COMPRESSED):
                    self.assertIsNone(self.load(family, name, mode), f"{family} {name} {mode}")


if __name__ == "__main__":
    unittest.main()
