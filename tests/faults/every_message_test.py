"""Runs the tests and demands that they provoke every numbered error text of the sources.

    every_message_test.py SCRIPT PROGRAM...     SCRIPT lists the texts, each PROGRAM notes those that it provokes
"""
import os
import pathlib
import subprocess
import sys
import tempfile


def main():
    script, *programs = sys.argv[1:]
    listed = subprocess.check_output([sys.executable, "-B", script, "--list"], text=True).splitlines()
    texts = {fields[1]: fields[0] for fields in (line.split("\t") for line in listed)}
    with tempfile.TemporaryDirectory() as folder:
        seen_file = pathlib.Path(folder) / "seen"
        for program in programs:
            environment = {**os.environ, "KVN_SEEN_ERRORS": str(seen_file)}
            run = subprocess.run([program, "--gtest_brief=1"], cwd=folder, env=environment, capture_output=True,
                                 text=True, stdin=subprocess.DEVNULL)
            if run.returncode != 0:
                print(f"{program} failed:\n{run.stdout[-2000:]}{run.stderr[-2000:]}")
                return 1
        seen = set(seen_file.read_text(encoding="utf-8").splitlines())
    # Messages of the tests' own do not count.
    missing = sorted((number, text) for text, number in texts.items() if text not in seen)
    for number, text in missing:
        print(f"provoked by no test: {number} \"{text}\"")
    print(f"{len(texts) - len(missing)} of {len(texts)} error texts are provoked")
    return 1 if missing or not texts else 0


if __name__ == "__main__":
    sys.exit(main())
