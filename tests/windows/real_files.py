# SPDX-License-Identifier: Apache-2.0
"""Compares what the programs write for real bitstreams with what Linux's programs write.

    real_files.py LINUX_BIN WINDOWS_BIN BITSTREAMS EMULATOR...
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

from wine import Wine

LOAD = ["-u", "-n", "-v", "-dmwc4a", "-b0", "-s1"]
# What holds times, and is no result.
TIMES = re.compile(rb'"(converted|at|begin|end|seconds\w*)": ?("[^"]*"|[0-9.]+)')


def commands(name):
    """What is run in turn with a file: programs with their words."""
    stem = name.rsplit(".", 1)[0]
    yield "KVN_FPGA", ["-u", "-n", "-c", f"-f{name}"]
    yield "KVN_FPGA", [*LOAD, f"-f{name}"]
    yield "KVN_FPGA", [*LOAD, "-c", f"-f{name}"]
    yield "kvn", ["info", name, "--json"]
    yield "kvn", ["check", name]
    yield "kvn", ["digest", name]
    for form in ("rbt", "bit", "mcb"):
        yield "kvn", ["convert", name, "-o", f"{stem}-again.{form}"]
    yield "kvn", ["load", name, "mwc4a:0/1"]


def outcome_of(start, source):
    """All that the commands print and return for a file, and the files that they leave."""
    with tempfile.TemporaryDirectory() as folder:
        name = pathlib.Path(folder) / source.name
        shutil.copy(source, name)
        results = []
        for program, words in commands(source.name):
            done = start(program, words, folder)
            results.append((program, words, done.returncode, TIMES.sub(b"", done.stdout), TIMES.sub(b"", done.stderr)))
        files = {path.name: path.read_bytes() for path in sorted(pathlib.Path(folder).iterdir())}
        return results, files


def main(linux, windows, bitstreams, *emulator):
    wine = Wine(emulator, pathlib.Path(windows).resolve())
    environment = {name: value for name, value in os.environ.items()
                   if not name.startswith(("KVN_", "MWAPI", "MWVIRTUAL_"))} | {"KVN_MWAPI": "virtual"}

    def on_linux(program, words, folder):
        return subprocess.run([pathlib.Path(linux).resolve() / program, *words], cwd=folder, env=environment, check=False,
                              stdin=subprocess.DEVNULL, capture_output=True)

    def on_windows(program, words, folder):
        return wine.run(pathlib.Path(windows).resolve() / f"{program}.exe", *words, folder=folder, KVN_MWAPI="virtual")

    sources = [path for path in sorted(pathlib.Path(bitstreams).iterdir()) if re.search(r"\.(bit|rbt)", path.name)]
    different = 0
    for source in sources:
        (there, files_there), (here, files_here) = outcome_of(on_linux, source), outcome_of(on_windows, source)
        for one, other in zip(there, here):
            if one != other:
                different += 1
                print(f"{source.name}: {one[0]} {' '.join(one[1])}\n  Linux:   {one[2:]}\n  Windows: {other[2:]}")
        for name in sorted(files_there.keys() | files_here.keys()):
            if files_there.get(name) != files_here.get(name):
                different += 1
                print(f"{source.name}: {name} differs")
    print(f"{len(sources)} real bitstreams compared, {different} differences")
    return 1 if different or not sources else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
