# SPDX-License-Identifier: Apache-2.0
"""Spoils a copy of the catalogue of errors, or of a page, in one place at a time; the check must name each place."""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
CATALOGUE = ROOT / "engine" / "errors" / "catalogue.cpp"
ROW = re.compile(r'    \{9027, usage, State::untouched, Topic::none,\n'
                 r'     "(Error 9027\. [^"]*)",\n     "([^"]*)",\n     "([^"]*)"\},\n')


def check(catalogue=None, spoil_page=None):
    """The exit status of the check of a catalogue and of the pages beside it, and what it says."""
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        copy = folder / "catalogue.cpp"
        copy.write_text(catalogue or CATALOGUE.read_text(encoding="utf-8"), encoding="utf-8")
        for page in ("errors.md", "exit-status.md"):
            shutil.copy(ROOT / "docs" / page, folder / page)
            if spoil_page:
                text = (folder / page).read_text(encoding="utf-8")
                (folder / page).write_text(spoil_page(text), encoding="utf-8")
        run = subprocess.run(
            [sys.executable, "-B", ROOT / "scripts" / "error_index.py", "--check", "--catalogue", copy,
             "--pages", folder],
            capture_output=True, text=True, check=False,
        )
        return run.returncode, run.stderr


class ErrorIndex(unittest.TestCase):
    def setUp(self):
        self.source = CATALOGUE.read_text(encoding="utf-8")
        self.row = ROW.search(self.source)
        self.line = self.source.count("\n", 0, self.row.start()) + 1

    def expect_differences(self, catalogue, *differences):
        status, said = check(catalogue)
        self.assertEqual(status, 1)
        self.assertEqual(said.splitlines(), list(differences))

    def replaced(self, old, new):
        self.assertIn(old, self.row[0])
        return self.source.replace(self.row[0], self.row[0].replace(old, new))

    def test_catalogue_and_pages_as_they_are_have_no_difference(self):
        self.assertEqual(check(), (0, ""))

    def test_a_missing_entry_is_named_with_its_place_in_the_sources(self):
        status, said = check(self.source.replace(self.row[0], ""))
        self.assertEqual(status, 1)
        self.assertRegex(said, r'^catalogue\.cpp lacks 9027 "Error 9027\. .*" \(src/run/con_file\.cpp:\d+\)\n$')

    def test_another_text_is_named_on_both_sides(self):
        status, said = check(self.replaced("modules were configured.", "module was configured."))
        self.assertEqual(status, 1)
        self.assertIn('catalogue.cpp lacks 9027 "Error 9027. No KAVRIN-FPGA or KAVRIN-IO modules were', said)
        self.assertIn(f'catalogue.cpp:{self.line}: the sources have no 9027 "Error 9027. No', said)

    def test_another_number_than_the_returned_one_is_named(self):
        status, said = check(re.sub(r'\{9120, (.*?)"Error 9121', r'{9121, \1"Error 9121', self.source))
        self.assertEqual(status, 1)
        self.assertIn('lacks 9120 "Error 9121. Failed to find bit size of RBT %s."', said)
        self.assertIn('the sources have no 9121 "Error 9121.', said)

    def test_an_entry_of_no_message_is_named(self):
        invented = '    {9999, usage, State::untouched, Topic::none, "Error 9999. Invented.", "a", "b"},\n'
        self.expect_differences(
            self.source.replace(self.row[0], invented + self.row[0]),
            f'catalogue.cpp:{self.line}: the sources have no 9999 "Error 9999. Invented."',
        )

    def test_an_entry_twice_is_named(self):
        self.expect_differences(
            self.source.replace(self.row[0], self.row[0] * 2),
            f"catalogue.cpp:{self.line + 4}: 9027 stands in line {self.line} already",
        )

    def test_an_entry_without_a_remedy_is_named(self):
        self.expect_differences(
            self.replaced(f'"{self.row[3]}"', '""'),
            f"catalogue.cpp:{self.line}: 9027 has no meaning or no remedy",
        )

    def test_a_number_of_two_classes_is_named(self):
        status, said = check(self.source.replace('{9120, damaged', '{9120, bus', 1))
        self.assertEqual(status, 1)
        self.assertRegex(said, r"catalogue\.cpp:\d+: 9120 is of two classes\n")

    def test_a_row_that_cannot_be_read_is_counted(self):
        status, said = check(self.replaced("Topic::none,", ""))
        self.assertEqual(status, 1)
        self.assertIn("catalogue.cpp: 1 of 219 rows are not {number, class,", said)

    def test_a_page_that_differs_is_named_with_the_first_line(self):
        status, said = check(spoil_page=lambda text: text.replace("9027", "9028"))
        self.assertEqual(status, 1)
        self.assertRegex(said, r"^errors\.md:\d+: differs from the catalogue; scripts/error_index\.py --write writes "
                               r"it\nexit-status\.md:\d+: differs")


if __name__ == "__main__":
    unittest.main()
