# SPDX-License-Identifier: Apache-2.0
"""Runs every ```console block of a page with cram; what the page shows must be what happens.

    console_blocks_test.py PAGE BUILD_FOLDER

All blocks of a page are one session in a folder of its own, in which the files of SETUP exist. A line "$ ..." is a
command, the lines that follow its output. Seconds of a load differ from run to run, and may be any.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

DOCS = pathlib.Path(__file__).resolve().parent.parent.parent / "docs"
SETUP = """\
  $ kvn_bitgen 2v3000fg676-4 -o design.bit
  $ kvn_bitgen 2v3000fg676-4 -o design.rbt
  $ kvn_bitgen 2v3000fg676-4 -o changed.bit --defect flipped-bit
  $ kvn_bitgen v300pq240-5 -o old.bit
  $ kvn_bitgen 2v40cs144-4 -o small.bit
  $ MWVIRTUAL_TRACE=run.jsonl kvn list mwc4a:0 >list.txt 2>&1
  $ mkdir journals && cp "$DOCS/journals/rack.journal" rack.journal && cp rack.journal journals
  $ kvn_example_journals . run
"""
BLOCK = re.compile(r"^```console\n(.*?)^```", flags=re.MULTILINE | re.DOTALL)
SECONDS = re.compile(r"\d+\.\d+ s$")


def expected(line):
    """A line of output as cram compares it."""
    if SECONDS.search(line):
        return "  " + SECONDS.sub(r"\\d+\\.\\d+ s", re.escape(line[:SECONDS.search(line).start()]) + "0.0 s") + " (re)"
    return "  " + line


def cram_text(page):
    blocks = BLOCK.findall(page.read_text(encoding="utf-8"))
    lines = []
    for block in blocks:
        for line in block.splitlines():
            lines.append("  " + line if line.startswith("$ ") else expected(line))
    return blocks, SETUP + "\n".join(lines) + "\n"


def main(page, build):
    blocks, text = cram_text(pathlib.Path(page))
    if not blocks:
        print(f"{page}: no console block", file=sys.stderr)
        return 1
    with tempfile.TemporaryDirectory() as folder:
        session = pathlib.Path(folder) / (pathlib.Path(page).stem + ".t")
        session.write_text(text, encoding="utf-8")
        environment = {name: value for name, value in os.environ.items()
                       if not name.startswith(("KVN_", "MWAPI", "MWVIRTUAL_"))}
        environment["PATH"] = f"{pathlib.Path(build).resolve()}/bin:" + environment["PATH"]
        environment["KVN_MWAPI"] = "virtual"
        environment["DOCS"] = str(DOCS)
        return subprocess.run([sys.executable, "-m", "cram", "--preserve-env", str(session)], env=environment,
                              cwd=folder, check=False).returncode


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
