# SPDX-License-Identifier: Apache-2.0
"""Runs the programs with names and paths as Windows has them.

    programs_test.py BIN EMULATOR...
"""
import hashlib
import json
import pathlib
import re
import sys
import tempfile
import unittest

from wine import Wine, windows_path

BIN = pathlib.Path(sys.argv[1])
EMULATOR = sys.argv[2:]


class Programs(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = pathlib.Path(temporary.name)
        self.wine = Wine(EMULATOR)

    def run_program(self, name, *arguments, status=0, **variables):
        variables = {"KVN_MWAPI": "virtual", "KVN_LOCK_FOLDER": windows_path(self.folder)} | variables
        done = self.wine.run(BIN / f"{name}.exe", *arguments, folder=self.folder, **variables)
        self.assertEqual(done.returncode, status, (done.stdout, done.stderr))
        return done

    def test_names_hold_blanks_letters_of_any_language_backslashes_and_drives(self):
        folder = self.folder / "a folder" / "grün 測試"
        folder.mkdir(parents=True)
        for name in ("a folder\\grün 測試\\design one.bit", windows_path(folder / "design two.rbt")):
            self.run_program("kvn_bitgen", "2v3000fg676-4", "-o", name)
            loaded = self.run_program("kvn", "load", name, "mwc4a:0/1", "--json")
            self.assertIn(json.dumps(name, ensure_ascii=False).encode(), loaded.stdout)
            self.run_program("KVN_FPGA", "-u", "-n", "-dmwc4a", "-b0", "-s1", f"-f{name}")
        self.assertEqual(sorted(path.name for path in folder.iterdir()), ["design one.bit", "design two.rbt"])

    def test_slashes_and_backslashes_divide_paths(self):
        (self.folder / "boards.v2" / "a").mkdir(parents=True)
        self.run_program("kvn_bitgen", "2v3000fg676-4", "-o", "boards.v2/a\\design.bit")
        for name in ("boards.v2/a/design", "boards.v2\\a\\design", ".\\boards.v2/a\\design"):
            self.run_program("kvn", "load", f"{name}.bit", "mwc4a:0/1")
            self.run_program("KVN_FPGA", "-u", "-n", "-dmwc4a", "-b0", "-s1", f"-f{name}.bit")
            self.run_program("KVN_FPGA", "-u", "-c", f"-f{name}.bit")
            self.run_program("KVN_FPGA", "-u", "-n", "-dmwc4a", "-b0", "-s1", f"-f{name}.mcb")
            self.run_program("KVN_FPGA", "-u", "-n", "-dmwc4a", "-b0", "-s1", f"-f{name}")
        self.assertEqual(sorted(path.name for path in (self.folder / "boards.v2" / "a").iterdir()), ["design.bit", "design.mcb"])

    def test_a_manifest_says_what_it_approves_under_a_name_behind_a_backslash(self):
        (self.folder / "boards").mkdir()
        self.run_program("kvn_bitgen", "2v3000fg676-4", "-o", "boards\\design.bit")
        (self.folder / "plan.toml").write_text("[[module]]\nmodule = \"mwc4a:0/1\"\nfile = 'boards\\design.bit'\n",
                                               encoding="utf-8")
        words = ("run", "plan.toml", "--manifest", "manifest", "--progress", "none", "--journal")
        digest = hashlib.sha256((self.folder / "boards" / "design.bit").read_bytes()).hexdigest()
        (self.folder / "manifest").write_text(f"{digest}  design.bit\n", encoding="utf-8")
        self.run_program("kvn", *words, "approved.journal")
        for name in ("design.bit", "others\\design.bit", "others/design.bit"):
            (self.folder / "manifest").write_text(f"{'0' * 64}  {name}\n", encoding="utf-8")
            done = self.run_program("kvn", *words, f"{len(name)}.journal", status=10)
            self.assertIn(b"; approved under this name is " + b"0" * 64, done.stdout + done.stderr)

    def test_a_folder_of_the_policy_that_a_user_has_made_stops_loads(self):
        wine = Wine([EMULATOR[0], self.folder / "wine"])
        variables = {"KVN_MWAPI": "virtual", "KVN_LOCK_FOLDER": windows_path(self.folder)}
        self.run_program("kvn_bitgen", "2v3000fg676-4", "-o", "design.bit")
        words = (BIN / "kvn.exe", "load", "design.bit", "mwc4a:0/1")
        self.assertEqual(wine.run(*words, folder=self.folder, **variables).returncode, 0)
        (self.folder / "wine" / "drive_c" / "ProgramData" / "kvn").mkdir()
        done = wine.run(*words, folder=self.folder, **variables)
        self.assertRegex(done.stderr.decode(), r"kvn: C:\\ProgramData\\kvn\\kvn.toml: the folder of the policy cannot be trusted: "
                                               r"it belongs to user .+, not to the administrators\n")
        self.assertEqual((done.returncode, done.stdout), (2, b""))

    def test_a_suggested_command_can_be_copied(self):
        (self.folder / "my boards").mkdir()
        self.run_program("kvn_bitgen", "2v3000fg676-4", "-o", "my boards\\design.bit")
        done = self.run_program("kvn", "load", "my boards\\design.bit", status=2)
        self.assertIn(b'try: kvn load "my boards\\design.bit" mwc4a:0/1\n', done.stderr)
        suggested = re.search(rb"try: kvn (.*)\n", done.stderr).group(1).decode()
        (self.folder / "copied.cmd").write_text(f"@{windows_path(BIN / 'kvn.exe')} {suggested}\n", encoding="utf-8")
        copied = self.wine.run("cmd.exe", "/c", "copied.cmd", folder=self.folder, KVN_MWAPI="virtual")
        self.assertEqual(copied.returncode, 0, copied)

    def test_paths_may_be_longer_than_260_characters(self):
        folder = self.folder.joinpath(*["x" * 60] * 6)
        folder.mkdir(parents=True)
        name = windows_path(folder / "design.bit")
        self.assertGreater(len(name), 260)
        self.run_program("kvn_bitgen", "2v3000fg676-4", "-o", name)
        self.run_program("kvn", "check", name)
        self.run_program("kvn", "load", name, "mwc4a:0/1")

    def test_output_has_no_carriage_returns(self):
        self.run_program("kvn_bitgen", "2v3000fg676-4", "-o", "design.rbt")
        for program, words in (("kvn", ["info", "design.rbt"]), ("kvn", ["--help"]), ("KVN_FPGA", ["--help"]),
                               ("kvn_bitgen", ["--list"]), ("kvn_rack", ["--help"])):
            self.assertNotIn(b"\r\n", self.run_program(program, *words).stdout)
        self.assertNotIn(b"\r", (self.folder / "design.rbt").read_bytes())

    def test_files_with_cr_lf_and_ctrl_z_are_read_as_on_other_systems(self):
        self.run_program("kvn_bitgen", "2v3000fg676-4", "-o", "design.rbt")
        text = (self.folder / "design.rbt").read_bytes()
        (self.folder / "dos.rbt").write_bytes(text.replace(b"\n", b"\r\n"))
        done = self.run_program("KVN_FPGA", "-u", "-n", "-dmwc4a", "-b0", "-s1", "-fdos.rbt", status=4)
        self.assertTrue(done.stderr.endswith(b"\nError 9101. Invalid first line in RBT file dos.rbt.\n"), done.stderr)
        # It counts as a zero, and does not end the file.
        zero = text.index(b"0", text.index(b"Bits:") + 100)
        (self.folder / "odd.rbt").write_bytes(text[:zero] + b"\x1a" + text[zero + 1:])
        self.run_program("KVN_FPGA", "-u", "-n", "-dmwc4a", "-b0", "-s1", "-fodd.rbt")

    def test_a_plan_is_run_by_workers_and_kept_in_a_journal(self):
        self.run_program("kvn_bitgen", "2v3000fg676-4", "-o", "design.bit")
        (self.folder / "plan.toml").write_text('[[module]]\nmodule = "mwc4a:0/1"\nfile = "design.bit"\n', encoding="utf-8")
        self.run_program("kvn", "run", "plan.toml", "--journal", "run.journal")
        shown = self.run_program("kvn", "journal", "show", "run.journal")
        self.assertIn(b"mwc4a:0/1", shown.stdout)
        self.assertNotIn(b"\r", (self.folder / "run.journal").read_bytes())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
