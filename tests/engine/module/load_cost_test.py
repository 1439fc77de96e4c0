# SPDX-License-Identifier: Apache-2.0
"""Checks what the engine adds to a load: instructions while the data are sent, against the library alone.

    load_cost_test.py PROGRAM PROVIDER FOLDER
"""

import os
import pathlib
import re
import subprocess
import sys

MOST = 1.05
STEP = "kvn_fpga_imp::load_selected_file()"


def instructions(*command):
    run = subprocess.run(["valgrind", "--tool=callgrind", f"--toggle-collect={STEP}",
                          "--callgrind-out-file=/dev/null", *map(str, command)],
                         check=True, capture_output=True, text=True)
    return int(re.search(r"Collected : (\d+)", run.stderr).group(1))


def main(program, provider, folder):
    folder = pathlib.Path(folder)
    subprocess.run([program, "make", folder], check=True)
    os.environ["MWVIRTUAL_RACK"] = str(folder / "rack.toml")
    kept = True
    for name in ("design.rbt", "design.bit", "design.mcb"):
        for mode in ("plain", "compressed"):
            library, engine = (instructions(program, way, provider, folder / name, mode)
                               for way in ("library", "engine"))
            kept = kept and library < engine <= MOST * library
            print(f"{name} {mode}: {library} by the library, {engine} by the engine, "
                  f"{engine / library:.4f}, at most {MOST:.2f}")
    return 0 if kept else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
