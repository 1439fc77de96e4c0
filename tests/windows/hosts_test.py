# SPDX-License-Identifier: Apache-2.0
"""Runs the hosts of tests/windows/outside with the unpacked package.

    hosts_test.py PREFIX HOSTS EMULATOR...
"""
import pathlib
import sys
import tempfile
import unittest

from wine import Wine

PREFIX = pathlib.Path(sys.argv[1])
HOSTS = pathlib.Path(sys.argv[2])
EMULATOR = sys.argv[3:]


class Hosts(unittest.TestCase):
    def run_host(self, name, *search, **variables):
        with tempfile.TemporaryDirectory() as folder:
            return Wine(EMULATOR, PREFIX / "bin", *search).run(HOSTS / f"{name}.exe", folder=folder, **variables)

    def test_a_program_that_exports_the_functions_is_asked_first(self):
        done = self.run_host("defining_host", HOSTS / "platform")
        self.assertEqual(done.stdout, b"Error 9201. Cannot open KSB device on board \"mwc4a 6\" (the host's code 41).\r\n")
        self.assertEqual(done.returncode, 0)

    def test_mwapi_dll_serves_a_program_without_the_functions(self):
        done = self.run_host("bare_host", HOSTS / "platform")
        self.assertEqual(done.stdout, b"Error 9201. Cannot open KSB device on board \"mwc4a 6\" (the host's code 41).\r\n")
        self.assertEqual(done.returncode, 0)

    def test_without_either_a_run_ends_with_error_9201_that_names_the_library(self):
        done = self.run_host("bare_host")
        self.assertRegex(done.stdout.decode(), r'^Error 9201\. Cannot open KSB device on board "mwc4a 6" \(.*mwapi\.dll')
        self.assertEqual(done.returncode, 1)

    def test_the_c_interface_opens_the_virtual_carriers(self):
        done = self.run_host("c_interface_host")
        self.assertEqual((done.returncode, done.stderr), (0, b""))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
