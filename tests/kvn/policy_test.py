# SPDX-License-Identifier: Apache-2.0
"""Runs kvn on a host with a policy: in a namespace of its own, in which /etc is another folder.

    policy_test.py KVN KVN_BITGEN
"""
import hashlib
import os
import pathlib
import shlex
import subprocess
import sys
import tempfile
import unittest

KVN, BITGEN = (str(pathlib.Path(program).resolve()) for program in sys.argv[1:3])


class PolicyOfTheHost(unittest.TestCase):
    def setUp(self):
        self.temporary = tempfile.TemporaryDirectory()
        self.addCleanup(self.temporary.cleanup)
        self.folder = pathlib.Path(self.temporary.name)
        self.etc = self.folder / "etc"
        self.etc.mkdir()
        subprocess.run([BITGEN, "2v3000fg676-4", "-o", "design.bit"], cwd=self.folder, check=True)

    def set_policy(self, text, mode=0o644):
        (self.etc / "kvn.toml").write_text(text, encoding="utf-8")
        (self.etc / "kvn.toml").chmod(mode)

    def on_the_host(self, *arguments):
        """Root in the namespace is the user who runs the test: the policy belongs to root there."""
        return ["unshare", "--user", "--map-root-user", "--mount", "sh", "-c",
                'mount --bind "$1" /etc && shift && exec "$@"', "sh", str(self.etc), *arguments]

    def run_in_folder(self, command, **variables):
        environment = {name: value for name, value in os.environ.items()
                       if not name.startswith(("KVN_", "MWAPI", "MWVIRTUAL_"))}
        return subprocess.run(command, cwd=self.folder, env=environment | variables, text=True,
                              stdin=subprocess.DEVNULL, capture_output=True, check=False)

    def load(self, **variables):
        return self.run_in_folder(self.on_the_host(KVN, "load", "design.bit", "mwc4a:0/1", "--provider", "virtual"),
                                  **variables)

    def load_from_elsewhere(self):
        """Only the worker meets the policy; the words lead to it as ssh would, and kvn's name follows them."""
        programs = self.folder / "programs"
        programs.mkdir()
        (programs / "kvn").symlink_to(KVN)
        way = self.folder / "way"
        way.write_text("#!/bin/sh\nexec " + shlex.join(self.on_the_host()) + ' "$@"\n', encoding="utf-8")
        way.chmod(0o755)
        return self.run_in_folder([KVN, "load", "design.bit", "mwc4a:0/1", "--provider", "virtual", "--via", str(way)],
                                  PATH=f"{programs}:{os.environ['PATH']}")

    def run_plan(self, *options):
        (self.folder / "plan.toml").write_text('[[module]]\nmodule = "mwc4a:0/1"\nfile = "design.bit"\n',
                                               encoding="utf-8")
        return self.run_in_folder(self.on_the_host(KVN, "run", "plan.toml", "--provider", "virtual", *options))

    def test_without_a_policy_files_are_loaded(self):
        self.assertEqual(self.load().returncode, 0)
        self.set_policy("require_manifest = false\n")
        self.assertEqual(self.load().returncode, 0)

    def test_a_required_manifest_stops_a_load_without_one(self):
        self.set_policy("require_manifest = true\n")
        refused = self.load()
        self.assertEqual(refused.returncode, 10)
        self.assertEqual(refused.stderr, "kvn: /etc/kvn.toml demands a manifest, which kvn load does not take\n"
                                         "try: load by kvn run, with --manifest\n")

    def test_it_holds_for_loads_from_another_host(self):
        self.set_policy("require_manifest = true\n")
        refused = self.load_from_elsewhere()
        self.assertEqual(refused.returncode, 10)
        self.assertTrue(refused.stderr.endswith(
            f"kvn: behind {self.folder}/way: /etc/kvn.toml demands a manifest, which kvn worker does not take\n"
            "try: load by kvn run, with --manifest\n"), refused.stderr)

    def test_another_host_without_a_policy_loads(self):
        self.assertEqual(self.load_from_elsewhere().returncode, 0)

    def test_the_workers_of_a_run_load_what_it_has_compared(self):
        self.set_policy("require_manifest = true\n")
        digest = hashlib.sha256((self.folder / "design.bit").read_bytes()).hexdigest()
        (self.folder / "files.sha256").write_text(f"{digest}  design.bit\n", encoding="utf-8")
        self.assertEqual(self.run_plan().returncode, 10)
        self.assertEqual(self.run_plan("--manifest", "files.sha256").returncode, 0)

    def test_no_variable_undoes_it(self):
        self.set_policy("require_manifest = true\n")
        other = str(self.folder / "none.toml")
        for name in ("KVN_POLICY", "KVN_CONFIG", "XDG_CONFIG_HOME", "HOME"):
            self.assertEqual(self.load(**{name: other}).returncode, 10)

    def test_a_policy_that_others_can_write_is_status_2(self):
        self.set_policy("require_manifest = false\n", 0o666)
        refused = self.load()
        self.assertEqual(refused.returncode, 2)
        self.assertIn("kvn: /etc/kvn.toml: the policy cannot be read: others than its owner can write it\n",
                      refused.stderr)

    def test_a_mistake_in_it_is_status_2(self):
        self.set_policy("require_manifset = true\n")
        self.assertEqual(self.load().returncode, 2)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
