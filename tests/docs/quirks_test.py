# SPDX-License-Identifier: Apache-2.0
"""Compares docs/quirks.md with the sources and the tests, and references in comments with docs/decisions."""
import collections
import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
ROW = re.compile(r"^\| .+ \| `(src/\S+)` \| (`.+`) \|$")
TEST = re.compile(r"^TEST(?:_F|_P)?\((\w+), (\w+)\)", re.MULTILINE)


def sources():
    for path in sorted((ROOT / "src").rglob("*")):
        if path.suffix in (".cpp", ".h"):
            yield str(path.relative_to(ROOT)), path.read_text(encoding="utf-8")


class Quirks(unittest.TestCase):
    def setUp(self):
        page = (ROOT / "docs" / "quirks.md").read_text(encoding="utf-8")
        table = [line for line in page.splitlines() if line.startswith("| ")][1:]
        self.rows = [ROW.match(line) for line in table]
        self.assertNotIn(None, self.rows, "a row is not | what | `file` | `test` |")

    def test_each_required_comment_has_its_row(self):
        rows = collections.Counter(row[1] for row in self.rows)
        comments = {name: text.count("Required:") for name, text in sources() if "Required:" in text}
        self.assertEqual(dict(rows), comments)

    def test_each_test_that_is_named_exists(self):
        tests = set()
        for path in (ROOT / "tests").rglob("*_test.cpp"):
            tests.update(TEST.findall(path.read_text(encoding="utf-8")))
        named = {tuple(name.split(".")) for row in self.rows for name in re.findall(r"`(.+?)`", row[2])}
        self.assertEqual(named - tests, set())


class Decisions(unittest.TestCase):
    def test_each_choice_comment_names_a_page_that_exists(self):
        for name, text in sources():
            comments = re.sub(r"\n\s*//+", " ", text)
            for choice in re.findall(r"Choice:[^\n]*", comments):
                page = re.search(r"\((docs/decisions/\S+\.md)\)", choice)
                self.assertIsNotNone(page, f"{name}: {choice}")
                self.assertTrue((ROOT / page[1]).is_file(), f"{name}: {page[1]}")

    def test_each_page_stands_in_the_index_under_its_title(self):
        folder = ROOT / "docs" / "decisions"
        index = (folder / "index.md").read_text(encoding="utf-8")
        for page in sorted(folder.glob("0*.md")):
            title = page.read_text(encoding="utf-8").splitlines()[0].removeprefix("# ")
            self.assertIn(f"- [{title}]({page.name})\n", index)


if __name__ == "__main__":
    unittest.main()
