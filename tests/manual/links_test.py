# SPDX-License-Identifier: Apache-2.0
"""Lets linkchecker follow the links of the site that KVN_MANUAL/site holds. Started by root it reads as nobody, so that it
gets a copy that everybody may read."""
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SITE = pathlib.Path(os.environ["KVN_MANUAL"]).resolve() / "site"


class Links(unittest.TestCase):
    def test_linkchecker_finds_nothing_wrong(self):
        with tempfile.TemporaryDirectory() as folder:
            os.chmod(folder, 0o755)
            copy = shutil.copytree(SITE, pathlib.Path(folder) / "site")
            run = subprocess.run(["linkchecker", "--config", str(ROOT / "manual" / "linkcheckerrc"), "--no-status",
                                  "--no-warnings", str(copy / "index.html")],
                                 capture_output=True, text=True, check=False)
        summary = re.search(r"(\d+) URLs checked\. 0 warnings found\. 0 errors found\.", run.stdout)
        self.assertIsNotNone(summary, run.stdout + run.stderr)
        self.assertGreater(int(summary[1]), len(list(SITE.rglob("*.html"))))
        self.assertEqual(run.returncode, 0)


if __name__ == "__main__":
    unittest.main()
