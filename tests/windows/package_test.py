# SPDX-License-Identifier: Apache-2.0
"""Looks through the unpacked package, and uses its programs where nothing else is.

    package_test.py PREFIX RUN_IN_WINE
"""
import pathlib
import sys
import tempfile
import unittest

from wine import Wine

PREFIX = pathlib.Path(sys.argv[1])
RUN_IN_WINE = sys.argv[2]

EXPECTED = """
bin/KVN_FPGA.exe bin/kvn.exe bin/kvn_bitgen.exe bin/kvn_rack.exe
bin/kvn_fpga.dll bin/kvn.dll
include/kvn.h include/kvn_fpga.h include/kvn_fpga/mwapi.h include/mwvirtual.h include/virtual_carrier.h
lib/kvn.lib lib/libkvn.dll.a lib/libkvn_fpga.dll.a
lib/cmake/kvn/kvnConfig.cmake lib/cmake/kvn_fpga/kvn_fpgaConfig.cmake lib/cmake/mwvirtual/mwvirtualConfig.cmake
share/doc/kvn_fpga/LICENSE share/doc/kvn_fpga/README.md share/doc/kvn_fpga/html/index.html
share/doc/kvn_fpga/html/windows.html share/doc/kvn_fpga/examples/csharp-loader/Kvn.cs
share/kvn_fpga/schema
""".split()


class Package(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = pathlib.Path(temporary.name)
        self.wine = Wine([RUN_IN_WINE, self.folder / "wine"], PREFIX / "bin")

    def run_program(self, name, *arguments, **variables):
        return self.wine.run(PREFIX / "bin" / f"{name}.exe", *arguments, folder=self.folder, **variables)

    def test_holds_what_users_need(self):
        missing = [name for name in EXPECTED if not (PREFIX / name).exists()]
        self.assertEqual(missing, [])

    def test_programs_need_only_the_system(self):
        """Run-time libraries of the compiler would be missing in this folder of Wine's."""
        for name, text in (("KVN_FPGA", b"KVN_FPGA version"), ("kvn", b"kvn "), ("kvn_bitgen", b"kvn_bitgen "),
                           ("kvn_rack", b"kvn_rack ")):
            done = self.run_program(name, "--version")
            self.assertEqual((done.returncode, done.stdout[:len(text)]), (0, text), done.stderr)

    def test_a_bitstream_is_made_converted_and_loaded(self):
        for command, words in (("kvn_bitgen", ["2v3000fg676-4", "-o", "design.rbt"]),
                               ("KVN_FPGA", ["-u", "-c", "-fdesign.rbt"])):
            done = self.run_program(command, *words)
            self.assertEqual(done.returncode, 0, done)
        for file in ("design.rbt", "design.mcb"):
            done = self.run_program("KVN_FPGA", "-u", "-v", "-dmwc4a", "-b0", "-s1", f"-f{file}", KVN_MWAPI="virtual")
            self.assertTrue(done.stdout.endswith(b"Configuration was successful.\n"), done)
            self.assertEqual(done.returncode, 0)
        done = self.run_program("kvn", "load", "design.rbt", "mwc4a:0/1", KVN_MWAPI="virtual")
        self.assertEqual(done.returncode, 0, done)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
