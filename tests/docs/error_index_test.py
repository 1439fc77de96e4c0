"""Damages a copy of docs/errors.md in one place at a time; the check must name each place."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
ROW = "| 9027 | `Error 9027. No KAVRIN-FPGA or KAVRIN-IO modules were configured.` |"


def check(page):
    """The exit status of the check of a page, and its report."""
    with tempfile.TemporaryDirectory() as folder:
        copy = pathlib.Path(folder) / "errors.md"
        copy.write_text(page, encoding="utf-8")
        run = subprocess.run(
            [sys.executable, ROOT / "scripts" / "error_index.py", "--check", "--page", copy],
            capture_output=True, text=True, check=False,
        )
        return run.returncode, run.stderr


class ErrorIndex(unittest.TestCase):
    def setUp(self):
        self.page = (ROOT / "docs" / "errors.md").read_text(encoding="utf-8")
        self.row = next(line for line in self.page.splitlines() if line.startswith(ROW))

    def expect_differences(self, page, *differences):
        status, said = check(page)
        self.assertEqual(status, 1)
        self.assertEqual(said.splitlines(), list(differences))

    def line_of_row(self):
        return self.page.splitlines().index(self.row) + 1

    def test_the_page_as_it_is_has_no_difference(self):
        self.assertEqual(check(self.page), (0, ""))

    def test_a_missing_row_is_named_with_its_place_in_the_sources(self):
        status, said = check(self.page.replace(self.row + "\n", ""))
        self.assertEqual(status, 1)
        self.assertRegex(said, r'^errors\.md lacks 9027 "Error 9027\. .*" \(src/run/con_file\.cpp:\d+\)\n$')

    def test_another_text_is_named_on_both_sides(self):
        status, said = check(self.page.replace("modules were configured.` |", "module was configured.` |"))
        self.assertEqual(status, 1)
        self.assertIn('errors.md lacks 9027 "Error 9027. No KAVRIN-FPGA or KAVRIN-IO modules were', said)
        self.assertIn(f'errors.md:{self.line_of_row()}: the sources have no 9027 "Error 9027. No', said)

    def test_another_number_than_the_returned_one_is_named(self):
        status, said = check(self.page.replace("| 9120 | `Error 9121.", "| 9121 | `Error 9121."))
        self.assertEqual(status, 1)
        self.assertIn('lacks 9120 "Error 9121. Failed to find bit size of RBT %s."', said)
        self.assertIn('the sources have no 9121 "Error 9121.', said)

    def test_a_row_of_no_message_is_named(self):
        invented = "| 9999 | `Error 9999. Invented.` | none | none |"
        line = self.line_of_row() + 1
        self.expect_differences(
            self.page.replace(self.row, self.row + "\n" + invented),
            f'errors.md:{line}: the sources have no 9999 "Error 9999. Invented."',
        )

    def test_a_row_twice_is_named(self):
        line = self.line_of_row()
        self.expect_differences(
            self.page.replace(self.row, self.row + "\n" + self.row),
            f"errors.md:{line + 1}: 9027 stands in line {line} already",
        )

    def test_a_row_without_a_remedy_is_named(self):
        bare = ROW + " a cause | |"
        self.expect_differences(
            self.page.replace(self.row, bare),
            f"errors.md:{self.line_of_row()}: 9027 has no cause or no remedy",
        )


if __name__ == "__main__":
    unittest.main()
