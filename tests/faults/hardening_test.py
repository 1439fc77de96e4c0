# SPDX-License-Identifier: Apache-2.0
"""Checks the protections of the built files, how they bind, and where they search for libraries.

    hardening_test.py CHECKED CMAKE BUILD LIBRARY UTILITY [OTHER...]

CHECKED is 1 when the library calls checked C functions. BUILD is the build folder, which CMAKE installs from.
"""
import os
import pathlib
import subprocess
import sys
import tempfile

problems = []


def expect(condition, words):
    if not condition:
        problems.append(words)


def read_elf(*arguments):
    return subprocess.check_output(["readelf", "--wide", *arguments], text=True)


def check_protections(file):
    name = pathlib.Path(file).name
    segments = read_elf("--program-headers", file)
    dynamic = read_elf("--dynamic", file)
    symbols = read_elf("--dyn-syms", file)
    expect("GNU_RELRO" in segments, f"{name}: no read-only relocations")
    stack = next(line for line in segments.splitlines() if "GNU_STACK" in line)
    expect(" RWE " not in stack, f"{name}: the stack is executable")
    expect("TEXTREL" not in dynamic, f"{name}: the code is relocated")
    expect("Type:                              DYN" in read_elf("--file-header", file), f"{name}: has a fixed address")
    expect("__stack_chk_fail" in symbols, f"{name}: no guard on the stack")


def check_library(library, checked):
    dynamic = read_elf("--dynamic", library)
    symbols = read_elf("--dyn-syms", library)
    expect(("_chk@" in symbols) == checked, "the checked C functions are " + ("missing" if checked else "there"))
    expect("BIND_NOW" not in dynamic and "NOW" not in dynamic, "all functions are bound at the start")


def load(library, **variables):
    """Loads the library into a host without any of the platform's functions."""
    program = f"import ctypes, os; ctypes.CDLL({library!r}, mode=os.RTLD_LAZY)"
    environment = {**os.environ, **variables}
    return subprocess.run([sys.executable, "-c", program], env=environment, capture_output=True, text=True)


def check_binding(library, utility):
    lazy = load(library)
    expect(lazy.returncode == 0, f"a host without the functions cannot load the library: {lazy.stderr}")
    early = load(library, LD_BIND_NOW="1")
    expect(early.returncode != 0 and "undefined symbol: Mw" in early.stderr,
           "a host without the functions can bind them at the start")
    # The utility has them all.
    with tempfile.TemporaryDirectory() as folder:
        header = "Xilinx ASCII Bitstream\na\nb\nc\nPart: 2v40cs144\nDate: d\nBits: 64\n"
        (pathlib.Path(folder) / "design.rbt").write_text(header + 2 * ("01" * 16 + "\n"), encoding="ascii")
        for arguments in (["--version"], ["-u", "-c", "-fdesign.rbt"]):
            run = subprocess.run([utility, *arguments], cwd=folder, env={**os.environ, "LD_BIND_NOW": "1"},
                                 capture_output=True, text=True)
            expect(run.returncode == 0, f"LD_BIND_NOW=1 {arguments}: {run.stderr}")
        # A load reaches the platform's functions through the utility's own.
        variables = {"LD_BIND_NOW": "1", "KVN_MWAPI": "virtual"}
        run = subprocess.run([utility, "-u", "-fdesign.mcb", "-dmwc4a", "-b9", "-s1"], cwd=folder,
                             env={**os.environ, **variables}, capture_output=True, text=True)
        expect("Error 9201." in run.stderr, f"a load with LD_BIND_NOW=1: {run.stderr}")


def is_elf(file):
    with open(file, "rb") as content:
        return content.read(4) == b"\x7fELF"


def check_search_paths(folder):
    """An empty or relative element makes the loader run libraries from the current folder."""
    files = [file for file in sorted(pathlib.Path(folder).rglob("*"))
             if file.is_file() and not file.is_symlink() and "CMakeFiles" not in file.parts and is_elf(file)]
    expect(files, f"{folder}: no programs or libraries")
    for file in files:
        for line in read_elf("--dynamic", file).splitlines():
            if "(RUNPATH)" in line or "(RPATH)" in line:
                path = line[line.index("[") + 1:line.rindex("]")]
                safe = all(element.startswith("/") or element.split("/")[0] == "$ORIGIN" for element in path.split(":"))
                expect(safe, f"{file}: searches the current folder: {path!r}")


def check_search_paths_installed(cmake, build):
    with tempfile.TemporaryDirectory() as prefix:
        subprocess.run([cmake, "--install", build, "--prefix", prefix], check=True, capture_output=True)
        check_search_paths(prefix)
        utility = next(pathlib.Path(prefix).rglob("bin/KVN_FPGA"))
        run = subprocess.run([utility, "--version"], capture_output=True, text=True)
        expect(run.returncode == 0, f"the installed utility does not find its library: {run.stderr}")


def main():
    checked, cmake, build, library, utility, *others = sys.argv[1:]
    for file in (library, utility, *others):
        check_protections(file)
    check_library(library, checked == "1")
    check_binding(library, utility)
    for folder in ("bin", "lib"):
        check_search_paths(pathlib.Path(build) / folder)
    check_search_paths_installed(cmake, build)
    print("\n".join(problems) or "hardened, and bound as it should be")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
