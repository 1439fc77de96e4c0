# SPDX-License-Identifier: Apache-2.0
"""Compares the pages with the public headers: every function is described, and every name that a page quotes exists."""
import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
HEADERS = {"kvn.h": ROOT / "include" / "kvn.h", "kvn_fpga.h": ROOT / "include" / "kvn_fpga.h",
           "mwapi.h": ROOT / "platform" / "mwapi.h"}
QUOTED = re.compile(r"`(kvn_[a-z_]+|Mw[A-Z]\w+|KVN_[A-Z_]+)(?:\(.*?\))?`")
SUFFIXES = ("", ".h", ".c", ".cpp", ".cs", ".rs", ".py", ".txt", ".cmake", ".in")
BLOCK = re.compile(r"^```.*?^```", re.MULTILINE | re.DOTALL)


def read(path):
    return path.read_text(encoding="utf-8")


def pages():
    yield from ROOT.glob("*.md")
    yield from (ROOT / "docs").rglob("*.md")


def sources_of_the_tree():
    """What is no page: sources, scripts and parts of the build."""
    yield ROOT / "CMakeLists.txt"
    for folder in ROOT.iterdir():
        if folder.is_dir() and not folder.name.startswith((".", "build", "docs", "manual")):
            yield from (path for path in folder.rglob("*")
                        if path.is_file() and path.suffix in SUFFIXES and path.name != "names_test.py")


class Names(unittest.TestCase):
    def test_each_function_of_the_c_interface_is_described_above_its_declaration(self):
        source = read(HEADERS["kvn.h"])
        functions = re.findall(r"^((?:.*\n)?)(?:KVN_API )[^;]*?\b(kvn_\w+)\(", source, flags=re.MULTILINE)
        self.assertGreater(len(functions), 30)
        for line_before, name in functions:
            self.assertTrue(line_before.startswith("///"), name)

    def test_each_function_of_the_c_interface_stands_in_its_page(self):
        page = read(ROOT / "docs" / "c-interface.md")
        names = re.findall(r"^KVN_API [^;]*?\b(kvn_\w+)\(", read(HEADERS["kvn.h"]), flags=re.MULTILINE)
        self.assertEqual([name for name in names if f"`{name}`" not in page], [])

    def test_each_method_of_the_class_stands_in_its_page(self):
        page = read(ROOT / "docs" / "embed-cpp.md")
        names = set(re.findall(r"\b(kvn_fpga_\w+)\(", read(HEADERS["kvn_fpga.h"])))
        self.assertEqual({name for name in names if f"`{name}`" not in page}, set())

    def test_each_name_that_a_page_quotes_exists(self):
        sources = "\n".join(path.read_text(encoding="utf-8", errors="replace") for path in sources_of_the_tree())
        unknown = [f"{page.relative_to(ROOT)}: {name}" for page in sorted(pages())
                   for name in QUOTED.findall(BLOCK.sub("", read(page))) if name not in sources]
        self.assertEqual(unknown, [])


if __name__ == "__main__":
    unittest.main()
