# SPDX-License-Identifier: Apache-2.0
"""Runs the console blocks of a page with cram; what the page shows must be what happens.

    page_session.py PAGE [SECTION]

The blocks of a page, or of one of its sections, are one session in a folder with the files of SETUP. A block of code
whose first line is a comment with a name ("# load.py") is that file. Installed files are used, in KVN_PREFIX.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "docs"))
from console_blocks_test import expected  # noqa: E402

SETUP = """\
  $ kvn_bitgen 2v3000fg676-4 -o design.bit
  $ kvn_bitgen 2v3000fg676-4 -o damaged.bit --defect flipped-bit
  $ cp -r $PREFIX/share/doc/kvn_fpga/examples .
"""
BLOCK = re.compile(r"^```(\w+)\n(.*?)^```", flags=re.MULTILINE | re.DOTALL)
FILE_NAME = re.compile(r"# (\w+\.\w+)\n")


def section_of(text, title):
    """The text from a heading of the second level to the next one."""
    match = re.search(rf"^## {re.escape(title)}\n(.*?)(?=^## |\Z)", text, flags=re.MULTILINE | re.DOTALL)
    if match is None:
        raise SystemExit(f"no section {title}")
    return match[1]


def commands(block):
    return ["  " + line if line.startswith(("$ ", "> ")) else expected(line) for line in block.splitlines()]


def file_of(block):
    """The command that writes a block of code to its file; nothing for a block without a name."""
    name = FILE_NAME.match(block)
    if name is None:
        return []
    return [f"  $ cat > {name[1]} <<'END OF FILE'", *(f"  > {line}" for line in block.splitlines()), "  > END OF FILE"]


def main(page, section=""):
    text = pathlib.Path(page).read_text(encoding="utf-8")
    blocks = BLOCK.findall(section_of(text, section) if section else text)
    if not any(kind == "console" for kind, _ in blocks):
        print(f"{page}: no console block", file=sys.stderr)
        return 1
    nameless = [block for kind, block in blocks if kind == "py" and not file_of(block)]
    if nameless:
        print(f"{page}: a block of Python without a file's name:\n{nameless[0]}", file=sys.stderr)
        return 1
    lines = [line for kind, block in blocks for line in (commands(block) if kind == "console" else file_of(block))]
    prefix = os.environ["KVN_PREFIX"]
    with tempfile.TemporaryDirectory() as folder:
        session = pathlib.Path(folder) / (pathlib.Path(page).stem + ".t")
        session.write_text(SETUP + "\n".join(lines) + "\n", encoding="utf-8")
        environment = {name: value for name, value in os.environ.items()
                       if not name.startswith(("KVN_", "MWAPI", "MWVIRTUAL_"))}
        environment |= {
            "PATH": f"{prefix}/bin:/usr/bin:/bin",
            "PREFIX": prefix,
            "LD_LIBRARY_PATH": f"{prefix}/lib",
            "CMAKE_PREFIX_PATH": prefix,
            "PKG_CONFIG_PATH": f"{prefix}/lib/pkgconfig",
            "PYTHONDONTWRITEBYTECODE": "1",
            "KVN_MWAPI": "virtual",
        }
        return subprocess.run([sys.executable, "-m", "cram", "--preserve-env", str(session)], env=environment,
                              cwd=folder, check=False).returncode


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
