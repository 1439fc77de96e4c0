# SPDX-License-Identifier: Apache-2.0
"""Compares what programs list in their help with their pages: every option stands in both.

`kvn COMMAND --help` is compared with docs/kvn/COMMAND.md. Options that several commands share are described once, in
docs/kvn/index.md.
"""
import functools
import os
import pathlib
import re
import subprocess
import unittest

DOCS = pathlib.Path(__file__).resolve().parent.parent.parent / "docs"
PAGES = DOCS / "kvn"
PROGRAM = os.environ["KVN"]
BLOCK = re.compile(r"^```.*?^```", re.MULTILINE | re.DOTALL)
SPAN = re.compile(r"`([^`\n]+)`")
OPTION = re.compile(r"(?<![\w-])--[a-z][a-z-]*")


@functools.cache
def help_of(*command):
    return subprocess.run([PROGRAM, *command, "--help"], capture_output=True, text=True, check=True).stdout


def commands(*command):
    """The commands that the help of the program, or of a command of several parts, lists."""
    listed = help_of(*command).partition("Subcommands:")[2].partition("\n\n")[0]
    return re.findall(r"^  ([a-z]+) ", listed, flags=re.MULTILINE)


def options_of(*command):
    """The options that begin a line of the help of a command, or of one of its parts."""
    options = set(re.findall(r"^  (?:-\w,)?(--[a-z][a-z-]*)", help_of(*command), flags=re.MULTILINE))
    return options.union(*(options_of(*command, part) for part in commands(*command)))


def read(name):
    return BLOCK.sub("", (PAGES / f"{name}.md").read_text(encoding="utf-8"))


def stated(name):
    """The options that a page names as those of its command: title and spans of code that name no other program."""
    text = read(name)
    options = set(OPTION.findall(text.splitlines()[0]))
    for span in SPAN.findall(text):
        other = re.match(r"(?!kvn COMMAND )(?:kvn ([a-z]+)|\w[\w-]*) ", span)
        if not other or other[1] == name:
            options.update(OPTION.findall(span))
    return options


class Help(unittest.TestCase):
    def test_each_command_has_a_page_and_a_row_in_the_overview(self):
        overview = read("index")
        pages = {path.stem for path in PAGES.glob("*.md")} - {"index"}
        self.assertEqual(set(commands()) - pages, set())
        for page in pages:  # also those of commands that the program's help leaves out
            self.assertIn("Usage: kvn " + page, help_of(page))
        for command in commands():
            self.assertIn(f"| [`kvn {command}`]({command}.md) |", overview)

    def test_each_option_of_a_command_is_described(self):
        shared = stated("index")
        for command in commands():
            self.assertEqual(options_of(command) - stated(command) - shared, set(), command)

    def test_each_option_of_a_page_exists(self):
        shared = stated("index")
        for command in commands():
            self.assertEqual(stated(command) - options_of(command) - shared, set(), command)

    def test_each_shared_option_exists_in_some_command(self):
        known = set().union(*(options_of(command) for command in commands())) | {"--version"}
        self.assertEqual(stated("index") - known, set())

    def test_options_of_other_commands_are_named_rightly(self):
        for page in sorted(PAGES.parent.rglob("*.md")):
            text = BLOCK.sub("", page.read_text(encoding="utf-8"))
            for span in SPAN.findall(text):
                command = re.match(r"kvn ([a-z]+) ", span)
                if command and command[1] in commands():
                    unknown = set(OPTION.findall(span)) - options_of(command[1])
                    self.assertEqual(unknown, set(), f"{page.name}: {span}")


class OtherPrograms(unittest.TestCase):
    def help_of(self, variable):
        return subprocess.run([os.environ[variable], "--help"], input="\n" * 4, capture_output=True, text=True,
                              check=True).stdout

    def rows(self, page, heading=""):
        """The code in the first cells of a page's tables, from a heading on."""
        text = (DOCS / page).read_text(encoding="utf-8").partition(heading)[2] if heading else (DOCS / page).read_text(
            encoding="utf-8")
        for row in re.findall(r"^\| (`[^|]*) \|", text, flags=re.MULTILINE):
            yield from SPAN.findall(row)

    def test_the_page_of_the_utility_has_the_options_of_its_help(self):
        listed = re.findall(r"^(-[a-z](?:<\w+>)?) ", self.help_of("KVN_FPGA"), flags=re.MULTILINE)
        described = [span for span in self.rows("command-line.md") if re.fullmatch(r"-[a-z](?:<\w+>)?", span)]
        self.assertEqual(sorted(described), sorted(listed + ["-h"]))  # -h is the program's own, the help the library's
        self.assertEqual(len(listed), 10)

    def test_the_page_of_the_generator_has_its_options_and_defects(self):
        text = self.help_of("KVN_BITGEN")
        described = set(self.rows("bitgen.md"))
        options = set(OPTION.findall(text)) - {"--help"}
        self.assertEqual({span for span in described if span.startswith("--")}, options)
        defects = set(re.search(r"--defect TEXT:\{(.*?)\}", text)[1].split(","))
        self.assertEqual({span for span in described if not span.startswith("-")}, defects)

    def test_the_section_of_kvn_rack_has_its_options(self):
        described = {span for span in self.rows("virtual-carrier.md", "### kvn_rack") if span.startswith("--")}
        self.assertEqual(described, set(OPTION.findall(self.help_of("KVN_RACK"))))


if __name__ == "__main__":
    unittest.main()
