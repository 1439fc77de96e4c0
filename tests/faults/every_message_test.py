# SPDX-License-Identifier: Apache-2.0
"""Runs the tests and demands that they provoke every numbered error text of the sources, and that each test has
the numbers that it provokes in its name, so that `ctest -R NUMBER` runs the tests of that number.

    every_message_test.py SCRIPT PROGRAM...     SCRIPT lists the texts, each PROGRAM notes those that it provokes
"""
import os
import pathlib
import subprocess
import sys
import tempfile


def noted(program, folder):
    """The pairs of test and text that a program notes; None when it fails."""
    seen_file = pathlib.Path(folder) / "seen"
    seen_file.write_text("", encoding="utf-8")
    environment = {**os.environ, "KVN_SEEN_ERRORS": str(seen_file)}
    run = subprocess.run([program, "--gtest_brief=1"], cwd=folder, env=environment, capture_output=True, text=True,
                         stdin=subprocess.DEVNULL)
    if run.returncode != 0:
        print(f"{program} failed:\n{run.stdout[-2000:]}{run.stderr[-2000:]}")
        return None
    return {tuple(line.split("\t", 1)) for line in seen_file.read_text(encoding="utf-8").splitlines()}


def main():
    script, *programs = sys.argv[1:]
    listed = subprocess.check_output([sys.executable, "-B", script, "--list"], text=True).splitlines()
    texts = {fields[1]: fields[0] for fields in (line.split("\t") for line in listed)}
    seen = set()
    with tempfile.TemporaryDirectory() as folder:
        for program in programs:
            pairs = noted(program, folder)
            if pairs is None:
                return 1
            seen |= pairs
    # Messages of the tests' own do not count.
    provoked = [(test, text) for test, text in seen if text in texts]
    missing = sorted((number, text) for text, number in texts.items() if text not in {text for _, text in provoked})
    for number, text in missing:
        print(f"provoked by no test: {number} \"{text}\"")
    print(f"{len(texts) - len(missing)} of {len(texts)} error texts are provoked")

    unnamed = sorted((test, texts[text]) for test, text in provoked if texts[text] not in test)
    for test, number in unnamed:
        print(f"{test} provokes {number}, which is not in its name")
    return 1 if missing or unnamed or not texts else 0


if __name__ == "__main__":
    sys.exit(main())
