"""Looks at the built library and the utility for the protections that they are built with, and for how they bind.

    hardening_test.py LIBRARY UTILITY CHECKED     CHECKED is 1 when the build has the checked C functions
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


def check_library(library, checked):
    segments = read_elf("--program-headers", library)
    dynamic = read_elf("--dynamic", library)
    symbols = read_elf("--dyn-syms", library)
    expect("GNU_RELRO" in segments, "no read-only relocations")
    stack = next(line for line in segments.splitlines() if "GNU_STACK" in line)
    expect(" RWE " not in stack, "the stack is executable")
    expect("TEXTREL" not in dynamic, "the code is relocated")
    expect("BIND_NOW" not in dynamic and "NOW" not in dynamic, "all functions are bound at the start")
    expect("__stack_chk_fail" in symbols, "no guard on the stack")
    expect(("_chk@" in symbols) == checked, "the checked C functions are " + ("missing" if checked else "there"))


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


def main():
    library, utility, checked = sys.argv[1:]
    check_library(library, checked == "1")
    check_binding(library, utility)
    print("\n".join(problems) or "hardened, and bound as it should be")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
