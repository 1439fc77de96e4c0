# SPDX-License-Identifier: Apache-2.0
"""Reads the manual pages that KVN_MANUAL/man holds, as man does."""
import os
import pathlib
import re
import subprocess
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
MAN = pathlib.Path(os.environ["KVN_MANUAL"]).resolve() / "man"
# What is as wide as it is: a long line of an example in a table.
HARMLESS = re.compile(r"cannot adjust line|can't break line")


def shown(path):
    """The page as a reader sees it, and the warnings."""
    run = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", str(path)], capture_output=True, text=True, check=True,
                         env={**os.environ, "MANWIDTH": "100", "LC_ALL": "C.UTF-8"})
    warnings = [line for line in run.stderr.splitlines() if not HARMLESS.search(line)]
    return run.stdout, warnings


class ManualPages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.pages = {path.name: shown(path) for path in sorted(MAN.glob("man?/*"))}

    def test_programs_commands_libraries_and_formats_have_their_pages(self):
        expected = {"KVN_FPGA.1", "kvn.1", "kvn_bitgen.1", "kvn_rack.1", "kvn_fpga.3", "kvn.3", "kvn-con.5", "kvn-mcb.5"}
        expected |= {f"kvn-{path.stem}.1" for path in (ROOT / "docs" / "kvn").glob("*.md") if path.stem != "index"}
        expected |= {f"kvn-{name}.5" for source, name in (("plans", "plan"), ("journal", "journal"))
                     if (ROOT / "docs" / f"{source}.md").exists()}
        self.assertEqual(set(self.pages), expected)

    def test_they_are_shown_without_warnings(self):
        self.assertEqual({name: warnings for name, (_, warnings) in self.pages.items() if warnings}, {})

    def test_each_has_a_line_for_the_index_of_manual_pages(self):
        for path in MAN.glob("man?/*"):
            run = subprocess.run(["lexgrog", str(path)], capture_output=True, text=True, check=False)
            self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
            self.assertRegex(run.stdout, rf'"{path.stem} - [A-Za-z-][^"|]{{10,100}}"')

    def test_none_shows_what_only_a_page_in_a_browser_can_have(self):
        for name, (text, _) in self.pages.items():
            self.assertNotRegex(text, r"\]\(|<!--|\{:|title: ", name)
            words = " ".join(text.split())
            for picture in (ROOT / "docs" / "pictures").glob("*.svg"):
                title = re.search(r"<title[^>]*>(.*?)</title>", picture.read_text(encoding="utf-8"))[1]
                self.assertNotIn(title, words, name)

    def test_the_options_of_the_utility_are_explained_where_they_begin_a_line(self):
        text, _ = self.pages["KVN_FPGA.1"]
        for option in ("-f<File>", "-c", "-r", "-d<device>", "-b<no>", "-s<no>", "-t<no>", "-n", "-u", "-v", "--version"):
            self.assertRegex(text, rf"(?m)^       {re.escape(option)}(?:\s|$)", option)

    def test_the_pages_of_programs_name_each_exit_status_and_variable(self):
        for name, statuses in (("KVN_FPGA.1", range(9)), ("kvn.1", range(13))):
            text, _ = self.pages[name]
            for status in statuses:
                self.assertRegex(text, rf"(?m)^       {status} ", f"{name}: {status}")
            for variable in ("KVN_MWAPI", "MWAPIKSB", "MWAPIJTAG", "MWVIRTUAL_RACK"):
                self.assertRegex(text, rf"(?m)^       {variable}$", f"{name}: {variable}")


if __name__ == "__main__":
    unittest.main()
