#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes docs/errors.md and docs/exit-status.md from the catalogue of errors, and holds both against the sources.

    scripts/error_index.py --check            compare; exit 1 and name every difference
    scripts/error_index.py --check --tests    further demand that a test names every number
    scripts/error_index.py --write            write the two pages
    scripts/error_index.py --list             print number and text of every message, with its place

The texts stand in src/; engine/errors/catalogue.cpp repeats them and adds class, meaning, state and remedy.
"""
import argparse
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
CATALOGUE = ROOT / "engine" / "errors" / "catalogue.cpp"
HEADER = ROOT / "engine" / "errors" / "catalogue.h"

# Comments and literals, so that a quotation mark in the one does not begin the other.
TOKEN = re.compile(
    r'(?P<comment>//[^\n]*|/\*.*?\*/)'
    r'|(?P<text>"(?:\\.|[^"\\\n])*")'
    r"|'(?:\\.|[^'\\\n])'",
    re.DOTALL,
)
NUMBERED = re.compile(r"Error (\d{4})[.:]")
# Message{9120, "Error 9121. ..."}: the number that is returned stands in front of the text.
RETURNED = re.compile(r"\{\s*(\d{4})\s*,\s*$")
LITERAL = r'"(?:\\.|[^"\\\n])*"'
ENTRY = re.compile(r"\{(\d{4}),\s*(\w+),\s*State::(\w+),\s*Topic::(\w+),\s*(%s),\s*(%s),\s*(%s)\}"
                   % (LITERAL, LITERAL, LITERAL))
SECTION = re.compile(r"\{(%s),\s*(\w+_errors)\}" % LITERAL)
TOPIC = re.compile(r"\{Topic::(\w+),\s*(%s),\s*(%s),\s*(%s)\}" % (LITERAL, LITERAL, LITERAL))
VERDICT = re.compile(r"\{(\d+),\s*(%s),\s*(%s)\}" % (LITERAL, LITERAL))
ESCAPES = {r"\"": '"', r"\'": "'", r"\\": "\\", r"\n": "\n", r"\t": "\t"}

ERRORS_HEAD = """# Error numbers

Every run returns 0 or the number of its first error; `kvn_fpga_getlasterr` returns the text, and the utility prints it
to standard error. The library itself never prints an error.

The texts are exactly those of the sources, including misspellings, because programs compare them. `%s`, `%d` and the
like are filled with the values of the run. A text that ends in `(%s)` closes with the platform's own words for the
failure. One text states another number than the one returned: 9121, under
[Loading an RBT file](#loading-an-rbt-file). 9113 has two texts.

The last columns give the [exit status](exit-status.md) of the programs and the state in which the error leaves the
module. `scripts/error_index.py` writes this page from the catalogue in `engine/errors/`.
"""

STATUS_HEAD = """# Exit statuses

The programs exit with one of these statuses. Each error number of the library belongs to exactly one of them;
[errors.md](errors.md) gives meaning and remedy of each number. A program that dies by a signal has the status that the
system gives it: 128 plus the signal, as a shell shows it.
"""

STATE_HEAD = """
## What an error leaves in the module

| State | Meaning |
|---|---|
"""


def unescape(literal):
    """What a string literal stands for."""
    return re.sub(r"\\.", lambda match: ESCAPES.get(match.group(), match.group()), literal[1:-1])


class Entry:
    def __init__(self, match, line):
        self.number, self.line = int(match[1]), line
        self.status, self.state, self.topic = match[2], match[3], match[4]
        self.text, self.meaning, self.remedy = (unescape(match[field]) for field in (5, 6, 7))


class Catalogue:
    """What the catalogue's source holds."""

    def __init__(self, path):
        self.path = path
        source = path.read_text(encoding="utf-8")
        arrays = dict(re.findall(r"ErrorEntry (\w+)\[\] = \{\n(.*?)\n\};", source, re.DOTALL))
        at = {name: source.index(f"ErrorEntry {name}[]") for name in arrays}
        self.sections = []
        for title, name in SECTION.findall(source):
            begin = source.index("\n", at[name]) + 1
            lines = source.count("\n", 0, begin) + 1
            body = arrays[name]
            entries = [Entry(m, lines + body.count("\n", 0, m.start())) for m in ENTRY.finditer(body)]
            self.sections.append((unescape(title), entries))
        self.topics = [(m[1], *(unescape(m[field]) for field in (2, 3, 4))) for m in TOPIC.finditer(source)]
        verdicts = re.search(r"verdict_entries\[\] = \{\n(.*?)\n\};", source, re.DOTALL)[1]
        self.verdicts = [(m[1], unescape(m[2]), unescape(m[3])) for m in VERDICT.finditer(verdicts)]
        about = re.search(r"about_statuses\(\)\n\{\n(.*?)\n\}", source, re.DOTALL)[1]
        self.about_statuses = "".join(unescape(literal) for literal in re.findall(LITERAL, about))
        self.rows = sum(len(re.findall(r"^    \{\d{4},", body, re.MULTILINE)) for body in arrays.values())
        header = HEADER.read_text(encoding="utf-8")
        self.statuses = {name: int(value) for name, value in re.findall(r"^    (\w+) = (\d+),", header, re.MULTILINE)}
        meanings = re.search(r"status_meanings = \{\n(.*?)\n\};", source, re.DOTALL)[1]
        self.meanings = [unescape(literal) for literal in re.findall(LITERAL, meanings)]
        states = re.search(r"state_words\[\] = \{\n(.*?)\n\};", source, re.DOTALL)[1]
        self.states = [tuple(map(unescape, pair)) for pair in re.findall(r"\{(%s), (%s)\}" % (LITERAL, LITERAL), states)]

    def entries(self):
        return [entry for _, entries in self.sections for entry in entries]

    def place(self, entry):
        return f"{self.path.name}:{entry.line}"


def messages_of_sources():
    """(number, text) of every numbered message, with the places where it stands."""
    found = {}
    for path in sorted((ROOT / "src").rglob("*")):
        if path.suffix not in (".cpp", ".h"):
            continue
        source = path.read_text(encoding="utf-8")
        for token in TOKEN.finditer(source):
            if token["text"] is None:
                continue
            text = unescape(token["text"])
            stated = NUMBERED.match(text)
            if stated is None:
                continue
            returned = RETURNED.search(source, 0, token.start())
            number = int(returned[1] if returned else stated[1])
            line = source.count("\n", 0, token.start()) + 1
            found.setdefault((number, text), []).append(f"{path.relative_to(ROOT)}:{line}")
    return found


def compare_with_sources(catalogue, sources, problems):
    """Every message of the sources is an entry, and the other way round."""
    known = {}
    for entry in catalogue.entries():
        key = (entry.number, entry.text)
        if key in known:
            problems.append(f"{catalogue.place(entry)}: {entry.number} stands in line {known[key].line} already")
        known[key] = entry
    for number, text in sorted(sources.keys() - known.keys()):
        problems.append(f"{catalogue.path.name} lacks {number} \"{text}\" ({', '.join(sources[number, text])})")
    for number, text in sorted(known.keys() - sources.keys()):
        place = catalogue.place(known[number, text])
        problems.append(f"{place}: the sources have no {number} \"{text}\"")


def check_entries(catalogue, problems):
    """Every row can be read, belongs to one class, and says what to do."""
    classes = {}
    entries = catalogue.entries()
    if len(entries) != catalogue.rows:
        problems.append(f"{catalogue.path.name}: {catalogue.rows - len(entries)} of {catalogue.rows} rows are not "
                        "{number, class, state, topic, text, meaning, remedy}, or stand in no section")
    for entry in entries:
        place = catalogue.place(entry)
        if entry.status not in catalogue.statuses:
            problems.append(f"{place}: {entry.number} has no class of that name: {entry.status}")
        if classes.setdefault(entry.number, entry.status) != entry.status:
            problems.append(f"{place}: {entry.number} is of two classes")
        if not entry.meaning or not (entry.remedy or entry.topic != "none"):
            problems.append(f"{place}: {entry.number} has no meaning or no remedy")


def link_of(title):
    return "#" + re.sub(r"[^a-z0-9 -]", "", title.lower()).replace(" ", "-")


def remedy_of(entry, catalogue):
    titles = {topic: title for topic, title, _, _ in catalogue.topics}
    general = f"[{titles[entry.topic]}]({link_of(titles[entry.topic])})." if entry.topic in titles else ""
    return " ".join(part for part in (general, entry.remedy) if part)


def errors_page(catalogue):
    parts = [ERRORS_HEAD, "\n## General remedies\n"]
    for _, title, causes, remedy in catalogue.topics:
        parts.append(f"\n### {title}\n\n{causes}\n\n{remedy}\n")
    for title, entries in catalogue.sections:
        parts.append(f"\n## {title}\n\n| Number | Text | Meaning | Remedy | Status | Module |\n|---|---|---|---|--:|---|\n")
        for entry in entries:
            parts.append(f"| {entry.number} | `{entry.text}` | {entry.meaning} | {remedy_of(entry, catalogue)} | "
                         f"{catalogue.statuses[entry.status]} | {entry.state} |\n")
    parts.append(f"\n## Statuses of a load\n\n{catalogue.about_statuses}\n\n| Status | Meaning | Remedy |\n|--:|---|---|\n")
    parts += [f"| {status} | {meaning} | {remedy} |\n" for status, meaning, remedy in catalogue.verdicts]
    return "".join(parts)


def status_page(catalogue):
    numbers = {}
    for entry in catalogue.entries():
        numbers.setdefault(entry.status, set()).add(entry.number)
    parts = [STATUS_HEAD, "\n| Status | Meaning | Error numbers |\n|--:|---|---|\n"]
    for name, value in catalogue.statuses.items():
        listed = " ".join(map(str, sorted(numbers.get(name, ()))))
        parts.append(f"| {value} | {catalogue.meanings[value]} | {listed} |\n")
    parts.append(STATE_HEAD)
    parts += [f"| {state} | {meaning} |\n" for state, meaning in catalogue.states]
    parts.append("\n`scripts/error_index.py` writes this page from the catalogue in `engine/errors/`.\n")
    return "".join(parts)


def compare_page(folder, name, text, problems):
    lines = (folder / name).read_text(encoding="utf-8").splitlines()
    wanted = text.splitlines()
    for at, (line, want) in enumerate(zip(lines + [None] * len(wanted), wanted + [None] * len(lines)), 1):
        if line != want:
            problems.append(f"{name}:{at}: differs from the catalogue; scripts/error_index.py --write writes it")
            return


def numbers_without_test(sources):
    """The numbers that no test names. The reference model and the shared helpers assert nothing."""
    named = set()
    for path in (ROOT / "tests").rglob("*"):
        folder = path.relative_to(ROOT / "tests").parts[0]
        if folder not in ("reference", "support") and path.suffix in (".cpp", ".h", ".txt"):
            named.update(re.findall(r"(?<!\d)9\d{3}(?!\d)", path.read_text(encoding="utf-8")))
    return sorted({number for number, _ in sources if str(number) not in named})


def main():
    parser = argparse.ArgumentParser(description="Keeps the pages of errors, the catalogue and the sources alike.")
    parser.add_argument("--check", action="store_true", help="name every difference; exit 1 if there is one")
    parser.add_argument("--tests", action="store_true", help="a number that no test names is a difference too")
    parser.add_argument("--write", action="store_true", help="write the pages")
    parser.add_argument("--list", action="store_true", help="print the messages of the sources")
    parser.add_argument("--catalogue", type=pathlib.Path, default=CATALOGUE, help="another catalogue to look at")
    parser.add_argument("--pages", type=pathlib.Path, default=ROOT / "docs", help="another folder of the pages")
    arguments = parser.parse_args()
    if not (arguments.check or arguments.list or arguments.write):
        parser.error("nothing to do: --check, --write or --list")

    sources = messages_of_sources()
    if arguments.list:
        for (number, text), places in sorted(sources.items()):
            print(f"{number}\t{text}\t{' '.join(places)}")
    if not (arguments.check or arguments.write):
        return 0

    problems = []
    catalogue = Catalogue(arguments.catalogue)
    compare_with_sources(catalogue, sources, problems)
    check_entries(catalogue, problems)
    if not problems:
        for name, page in (("errors.md", errors_page), ("exit-status.md", status_page)):
            if arguments.write:
                (arguments.pages / name).write_text(page(catalogue), encoding="utf-8")
            compare_page(arguments.pages, name, page(catalogue), problems)
    untested = numbers_without_test(sources) if arguments.tests else []
    if untested:
        problems.append(f"named by no test: {' '.join(map(str, untested))}")
    for problem in problems:
        print(problem, file=sys.stderr)
    print(f"{len(sources)} messages, {len(problems)} differences")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
