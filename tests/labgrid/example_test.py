# SPDX-License-Identifier: Apache-2.0
"""The example of a bench, as it is installed, by labgrid's plugin for pytest."""
import pathlib
import shutil
import subprocess
import sys

EXAMPLE = pathlib.Path(__file__).resolve().parent.parent.parent / "integrations" / "labgrid"


def run_example(bench, *options):
    for file in EXAMPLE.iterdir():
        shutil.copy(file, bench)
    return subprocess.run([sys.executable, "-B", "-m", "pytest", "-q", "-p", "no:cacheprovider", "--lg-env",
                           "environment.yaml", *options, "test_module.py"], cwd=bench, capture_output=True, text=True,
                          check=False)


def test_the_bench_passes_its_tests(bench):
    done = run_example(bench)
    assert done.returncode == 0, done.stdout
    assert "2 passed" in done.stdout


def test_a_bench_with_the_wrong_file_fails_with_what_kvn_says(bench):
    shutil.copy(bench / "old.bit", bench / "design.bit")
    done = run_example(bench)
    assert done.returncode == 1
    assert "kvn.errors.WrongDeviceError: design.bit is for a v300pq240" in done.stdout.replace(f"{bench}/", "")
    assert "try: use the bitstream that was made for the module's device" in done.stdout
