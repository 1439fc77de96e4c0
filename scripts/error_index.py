#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Holds docs/errors.md against the numbered messages of the sources.

    scripts/error_index.py --check            compare; exit 1 and name every difference
    scripts/error_index.py --check --tests    further demand that a test names every number
    scripts/error_index.py --list             print number and text of every message, with its place

Causes and remedies are written by hand in docs/errors.md; this script reads the page and never changes it.
"""
import argparse
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs" / "errors.md"

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
ROW = re.compile(r"^\|\s*(\d{4})\s*\|\s*`([^`]*)`\s*\|([^|]*)\|([^|]*)\|\s*$")
ESCAPES = {r"\"": '"', r"\'": "'", r"\\": "\\", r"\n": "\n", r"\t": "\t"}


def unescape(literal):
    """What a string literal stands for."""
    return re.sub(r"\\.", lambda match: ESCAPES.get(match.group(), match.group()), literal[1:-1])


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


def rows_of_page(page, problems):
    """(number, text) of every row of the page's tables, with its line."""
    rows = {}
    for line, content in enumerate(page.read_text(encoding="utf-8").splitlines(), 1):
        place = f"{page.name}:{line}"
        if not re.match(r"^\|\s*\d{4}", content):
            continue
        row = ROW.match(content)
        if row is None:
            problems.append(f"{place}: the row is not | number | `text` | cause | remedy |")
            continue
        key = (int(row[1]), row[2])
        if key in rows:
            problems.append(f"{place}: {key[0]} stands in line {rows[key]} already")
        rows[key] = line
        if not row[3].strip() or not row[4].strip():
            problems.append(f"{place}: {key[0]} has no cause or no remedy")
    return rows


def compare(sources, rows, page, problems):
    for number, text in sorted(sources.keys() - rows.keys()):
        places = ", ".join(sources[number, text])
        problems.append(f"{page.name} lacks {number} \"{text}\" ({places})")
    for number, text in sorted(rows.keys() - sources.keys()):
        line = rows[number, text]
        problems.append(f"{page.name}:{line}: the sources have no {number} \"{text}\"")


def numbers_without_test(sources):
    """The numbers that no test names. The reference model and the shared helpers assert nothing."""
    named = set()
    for path in (ROOT / "tests").rglob("*"):
        folder = path.relative_to(ROOT / "tests").parts[0]
        if folder not in ("reference", "support") and path.suffix in (".cpp", ".h", ".txt"):
            named.update(re.findall(r"(?<!\d)9\d{3}(?!\d)", path.read_text(encoding="utf-8")))
    return sorted({number for number, _ in sources if str(number) not in named})


def main():
    parser = argparse.ArgumentParser(description="Holds docs/errors.md against the messages of the sources.")
    parser.add_argument("--check", action="store_true", help="name every difference; exit 1 if there is one")
    parser.add_argument("--tests", action="store_true", help="a number that no test names is a difference too")
    parser.add_argument("--list", action="store_true", help="print the messages of the sources")
    parser.add_argument("--page", type=pathlib.Path, default=PAGE, help="another page to hold them against")
    arguments = parser.parse_args()
    if not (arguments.check or arguments.list):
        parser.error("nothing to do: --check or --list")

    sources = messages_of_sources()
    if arguments.list:
        for (number, text), places in sorted(sources.items()):
            print(f"{number}\t{text}\t{' '.join(places)}")
    if not arguments.check:
        return 0

    problems = []
    compare(sources, rows_of_page(arguments.page, problems), arguments.page, problems)
    untested = numbers_without_test(sources)
    if untested:
        missing = f"named by no test: {' '.join(map(str, untested))}"
        if arguments.tests:
            problems.append(missing)
        else:
            print(missing)
    for problem in problems:
        print(problem, file=sys.stderr)
    print(f"{len(sources)} messages, {len(problems)} differences")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
