# SPDX-License-Identifier: Apache-2.0
"""Converts the examples of docs/formats with the utility, whose output must equal the pages."""
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

FORMATS = pathlib.Path(__file__).resolve().parent.parent.parent / "docs" / "formats"
UTILITY = os.environ["KVN_FPGA"]
DUMP_LINE = re.compile(r"^([0-9a-f]{8})  ((?:[0-9a-f]{2} {1,2})+)")
TIMESTAMP = slice(263, 518)


def blocks(page):
    """The blocks of code of a page."""
    text = (FORMATS / page).read_text(encoding="utf-8")
    return re.findall(r"^```\n(.*?)^```", text, flags=re.MULTILINE | re.DOTALL)


def from_dump(block):
    """The bytes of a hex dump from its first offset on, with that offset; * repeats the line before."""
    first, content, line = None, b"", b""
    for text in block.splitlines():
        match = DUMP_LINE.match(text)
        if match is None:
            continue
        offset = int(match[1], 16)
        first = offset if first is None else first
        while first + len(content) < offset:
            content += line
        line = bytes.fromhex(match[2])
        content += line
    return first, content


def from_text(block):
    return block.replace("<TAB>", "\t").encode()


class Examples(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def convert(self, switch, name, content, output):
        """The output of a conversion of that content."""
        (self.folder / name).write_bytes(content)
        run = subprocess.run([UTILITY, "-u", switch, f"-f{name}"], cwd=self.folder, capture_output=True, check=False)
        self.assertEqual((run.returncode, run.stderr), (0, b""))
        return (self.folder / output).read_bytes()

    def test_the_mcb_file_is_what_the_rbt_file_gives(self):
        first_of_page, expected = from_dump(blocks("mcb.md")[0])
        self.assertEqual((first_of_page, len(expected)), (0, 544))
        self.assertEqual(self.convert("-c", "example.rbt", from_text(blocks("rbt.md")[0]), "example.mcb"), expected)

    def test_the_second_rbt_file_is_what_the_mcb_file_gives(self):
        _, mcb = from_dump(blocks("mcb.md")[0])
        self.assertEqual(self.convert("-r", "example.mcb", mcb, "example.rbt"), from_text(blocks("rbt.md")[1]))

    def test_of_the_bit_file_only_the_timestamp_differs(self):
        _, bit = from_dump(blocks("bit.md")[0])
        _, expected = from_dump(blocks("mcb.md")[0])
        offset, part = from_dump(blocks("mcb.md")[1])
        expected = bytearray(expected)
        expected[TIMESTAMP] = bytes(255)
        expected[offset:offset + len(part)] = part
        mcb = self.convert("-c", "example.bit", bit, "example.mcb")
        self.assertEqual(mcb, expected)
        rbt = self.convert("-r", "example.mcb", mcb, "example.rbt")
        self.assertIn(from_text(blocks("rbt.md")[2]), rbt)


if __name__ == "__main__":
    unittest.main()
