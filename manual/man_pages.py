# SPDX-License-Identifier: Apache-2.0
"""Writes the manual pages from the pages of the manual, by pandoc."""
import pathlib
import re
import subprocess

import pages

HERE = pages.ROOT / "manual"
DATE = "2006-02-17"
BLOCK = re.compile(r"(^```.*?^```\n?)", re.MULTILINE | re.DOTALL)
USER, CALLS, FILES = "User commands", "Library calls", "File formats"
CHAPTERS = {1: USER, 3: CALLS, 5: FILES}

# Name, chapter, source (a page; after # the heading of a part of it), one line, and further sections: heading, page, and
# "body" for all of that page instead of its first table.
ENVIRONMENT = ("Environment", "environment.md", "")
PAGES = [
    ("KVN_FPGA", 1, "command-line.md", "load and convert bitstreams for KAVRIN-FPGA and KAVRIN-IO modules",
     [ENVIRONMENT]),
    ("kvn", 1, "kvn/index.md", "list and load KAVRIN-FPGA and KAVRIN-IO modules; inspect, convert and compare files",
     [("Exit status", "exit-status.md", ""), ENVIRONMENT]),
    ("kvn_bitgen", 1, "bitgen.md", "write example bitstreams, good and damaged ones", []),
    ("kvn_rack", 1, "virtual-carrier.md#kvn_rack", "show what the modules of virtual boards hold", []),
    ("kvn_fpga", 3, "headers/kvn_fpga.md", "load and convert bitstreams from a C++ program", []),
    ("kvn", 3, "c-interface.md", "list and load modules, inspect and convert bitstream files from a C program",
     [("Reference", "headers/kvn.md", "body")]),
    ("kvn-plan", 5, "plans.md", "plans: which file belongs in which module", []),
    ("kvn-con", 5, "formats/con.md", "configuration description files", []),
    ("kvn-mcb", 5, "formats/mcb.md", "run-coded bitstream files", []),
    ("kvn-journal", 5, "journal.md", "journals: what a run leaves", []),
]
ELSEWHERE = {"command-line.md": "KVN_FPGA(1)", "bitgen.md": "kvn_bitgen(1)", "virtual-carrier.md": "kvn_rack(1)",
             "kvn/index.md": "kvn(1)", "c-interface.md": "kvn(3)",
             "headers/kvn_fpga.md": "kvn_fpga(3)", "headers/kvn.md": "kvn(3)", "plans.md": "kvn-plan(5)",
             "formats/con.md": "kvn-con(5)", "formats/mcb.md": "kvn-mcb(5)", "journal.md": "kvn-journal(5)"}
SYNOPSES = {"kvn/index.md": "**kvn** *COMMAND* [*ARGUMENTS*]\n\n**kvn** [*COMMAND*] **\\--help**\n\n"
                            "**kvn** **\\--version**",
            "bitgen.md": "**kvn_bitgen** *DEVICE* **-o** *FILE* \\[*options*\\]\n\n**kvn_bitgen** **\\--list**",
            "virtual-carrier.md#kvn_rack": "**kvn_rack** *FOLDER* \\[**\\--power-cycle**\\] \\[**\\--json**\\]",
            "headers/kvn_fpga.md": "**#include <kvn_fpga.h>**\n\nLink with *-lkvn_fpga*.",
            "c-interface.md": "**#include <kvn.h>**\n\nLink with *-lkvn*."}
COMMON = ("Options that several commands share, the names of boards and modules, the exit statuses and the environment "
          "are described in **kvn**(1).")


def outside_blocks(text, change):
    return "".join(part if part.startswith("```") else change(part) for part in BLOCK.split(text))


def body_of(text):
    """A page without its title and its pictures."""
    text = re.sub(r'<figure class="picture">.*?</figure>\n+', "", text, flags=re.DOTALL)
    return re.sub(r"\A# .*\n", "", text).strip() + "\n"


def with_headings(text, deeper=False):
    """The headings of a page as a manual page has them: the first level in capitals."""
    def raised(match):
        level, words = len(match[1]), re.sub(r"\s*\{:.*?\}", "", match[2])
        if level == 2 and not deeper:
            return "# " + re.sub(r"[`*]", "", words).upper()
        return "## " + words
    return outside_blocks(text, lambda part: re.sub(r"^(##+) (.*)$", raised, part, flags=re.MULTILINE))


def table_rows(text):
    """The rows of the first table of a page: lists of cells."""
    rows = re.search(r"(?:^\|.*\n)+", text, flags=re.MULTILINE)[0].splitlines()
    return [[cell.strip() for cell in re.split(r"(?<!\\)\|", row)[1:-1]] for row in rows[2:]]


def further_section(heading, text, part):
    """A section out of another page: all of it, or its first table without the last column."""
    if part == "body":
        return f"# {heading.upper()}\n\n{with_headings(body_of(text), deeper=True)}"
    lines = []
    for row in table_rows(text):
        words = row[1] if heading == "Exit status" else f"{row[2]} (read by {row[1]})"
        lines.append(f"{row[0]}\n\n:   {words}\n")
    return f"# {heading.upper()}\n\n" + "\n".join(lines)


def in_line(title):
    """The synopsis of a command out of the title of its page."""
    def marked(match):
        word = match[0]
        return f"**{word}**" if word.startswith("-") or word.islower() else f"*{word}*"
    words = re.sub(r"-*[A-Za-z][\w.-]*", marked, title.replace("\\", ""))
    return words.replace("**--", "**\\--").replace("[", "\\[").replace("]", "\\]")


def synopsis(source, text):
    if source in SYNOPSES:
        return SYNOPSES[source]
    if source == "command-line.md":
        return "**KVN_FPGA** \\[*options*\\] \\[*configuration description file*\\]\n\n**KVN_FPGA** **-h** | **\\--help** " \
               "| **-?** | **\\--version**"
    if source.startswith("kvn/"):
        title = text.splitlines()[0].removeprefix("# ").replace("`", "")
        calls = title.replace(", kvn ", "\nkvn ").splitlines()
        return "\n\n".join(in_line(call) + (" \\[*options*\\]" if "[" not in call else "") for call in calls)
    return ""


def see_also(name, chapter, source, text):
    """The manual pages that a page links to."""
    folder = pathlib.PurePosixPath(source).parent
    found = {"kvn(1)", "KVN_FPGA(1)"}
    for target in re.findall(r"\]\(([^)#\s]+\.md)", text):
        place = str(pathlib.PurePosixPath(*pathlib.Path(pages.os.path.normpath(folder / target)).parts))
        if place in ELSEWHERE:
            found.add(ELSEWHERE[place])
        elif place.startswith("kvn/"):
            found.add(f"kvn-{pathlib.PurePosixPath(place).stem}(1)")
    found.discard(f"{name}({chapter})")
    return ", ".join("**{}**({})".format(*entry[:-1].split("(")) for entry in sorted(found, key=str.lower))


def page_text(folder, source):
    """A page, or the part of it below a heading of the third level, as a page of its own."""
    file, _, heading = source.partition("#")
    text = (folder / file).read_text(encoding="utf-8")
    if not heading:
        return text
    part = re.search(rf"^### {heading}\n(.*?)^##", text, flags=re.MULTILINE | re.DOTALL)
    return f"# {heading}\n{part[1]}"


def compose(name, chapter, source, line, further, folder, existing):
    """The Markdown of a manual page."""
    text = page_text(folder, source)
    version = "KVN_FPGA 2.7" if name in ("KVN_FPGA", "kvn_fpga", "kvn_bitgen", "kvn_rack") else "kvn 1.0"
    parts = [f'---\ntitle: {name.upper() if chapter == 1 else name}\nsection: "{chapter}"\n'
             f'header: {CHAPTERS[chapter]}\nfooter: {version}\ndate: "{DATE}"\n---\n',
             f"# NAME\n\n{name} - {line}\n"]
    if calls := synopsis(source, text):
        parts.append(f"# SYNOPSIS\n\n{calls}\n")
    body = body_of(text)
    if source == "command-line.md":
        body = BLOCK.sub("", body, count=1)
    parts.append("# DESCRIPTION\n\n" + with_headings(body))
    if name.startswith("kvn-") and chapter == 1:
        parts.append("# SHARED OPTIONS AND EXIT STATUS\n\n" + COMMON + "\n")
    for heading, other, part in further:
        parts.append(further_section(heading, (folder / other).read_text(encoding="utf-8"), part))
    also = [entry for entry in see_also(name, chapter, source, text).split(", ") if entry.replace("*", "") in existing]
    parts.append("# SEE ALSO\n\n" + ", ".join(also) + "\n")
    return "\n".join(parts)


def commands(folder):
    """The entries of PAGES for the commands of kvn."""
    index = (folder / "kvn" / "index.md").read_text(encoding="utf-8")
    for path in sorted((folder / "kvn").glob("*.md")):
        if path.stem == "index":
            continue
        row = re.search(rf"^\| \[`kvn {path.stem}`\]\([^)]*\) \| (.*) \|$", index, flags=re.MULTILINE)
        if row:
            line = row[1]
        else:
            first = re.search(r"\A# [^\n]*\n+(.*?[.:])(?:\s|$)", path.read_text(encoding="utf-8"), flags=re.DOTALL)[1]
            line = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", " ".join(first.split())).rstrip(".:")
            line = line[0].lower() + line[1:]
        yield f"kvn-{path.stem}", 1, f"kvn/{path.name}", line.replace("`", ""), []


def build(output):
    """Writes output/man/manN/NAME.N for every page whose source exists."""
    folder = output / "pages"
    entries = [entry for entry in PAGES + list(commands(folder)) if (folder / entry[2].partition("#")[0]).exists()]
    existing = {f"{entry[0]}({entry[1]})" for entry in entries}
    for name, chapter, source, line, further in entries:
        text = compose(name, chapter, source, line, further, folder, existing)
        target = output / "man" / f"man{chapter}" / f"{name}.{chapter}"
        target.parent.mkdir(parents=True, exist_ok=True)
        run = subprocess.run(["pandoc", "--from", "markdown-smart-tex_math_dollars-citations", "--to", "man",
                              "--standalone", "--lua-filter", str(HERE / "man.lua")],
                             input=text, text=True, capture_output=True, check=False)
        if run.returncode != 0 or run.stderr:
            raise pages.Problem(f"{source}: pandoc: {run.stderr.strip()}")
        target.write_text(run.stdout.replace(r"\f[C]", ""), encoding="utf-8")
