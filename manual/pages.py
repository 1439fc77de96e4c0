# SPDX-License-Identifier: Apache-2.0
"""Collects the pages of the manual in one folder: those of docs/ and of the top folder, and those that are written from
headers, schemas and examples. Links between them are made to fit their new places."""
import html
import os
import pathlib
import re
import shutil

import headers
import schemas

ROOT = pathlib.Path(__file__).resolve().parent.parent
TOP_PAGES = {"README.md": "index.md", "CHANGELOG.md": "changes.md", "CONTRIBUTING.md": "contributing.md",
             "SECURITY.md": "security.md"}
HEADERS = {"include/kvn_fpga.h": "headers/kvn_fpga.md", "include/kvn.h": "headers/kvn.md",
           "platform/mwapi.h": "headers/mwapi.md"}
# A command or a header, but not in a link or in a heading.
NAME = re.compile(r"(?<!\[)(?<!`)(?<!# )`(?:kvn ([a-z]+)(?: [^`\n]*)?|(kvn|kvn_fpga|mwapi)\.h)`(?![^\[\n]*\]\()")
LINK = re.compile(r"(!?\[[^\]]*\])\(([^)\s]+)\)")
FILE_LINK = re.compile(r"\[[\w/.-]+\.md\]\(([^)\s]+)\)")
PICTURE = re.compile(r"^!\[([^\]]*)\]\((\S+\.svg)\)$", re.MULTILINE)
ERROR_ROW = re.compile(r"^\| (\d{4}) \| (.*?) \| (.*) \| (.*) \| (\d+) \| (.*) \|$", re.MULTILINE)
HOME_HAS_NO_LISTS = "---\nhide: [navigation, toc]\n---\n"
LANGUAGES = {".cpp": "cpp", ".h": "cpp", ".c": "c", ".py": "python", ".rs": "rust", ".cs": "csharp", ".toml": "toml",
             ".txt": "cmake", ".yml": "yaml", ".json": "json", ".sh": "sh"}


class Problem(Exception):
    """What the author of a page has to change."""


def place_of(path):
    """Where a file of the tree, by its path from the top, is in the manual; None if it is not part of it."""
    if path in TOP_PAGES:
        return TOP_PAGES[path]
    if path in HEADERS:
        return HEADERS[path]
    if path == "LICENSE":
        return "licence.txt"
    if path.startswith("docs/"):
        return path.removeprefix("docs/")
    if path.startswith("schema/"):
        return path
    if path.startswith("examples/"):
        return "/".join(path.split("/")[:2]) + ".md"
    return None


def outside_blocks(text, change):
    """The text with `change` applied to what is not in a block of code."""
    parts = re.split(r"(^```.*?^```)", text, flags=re.MULTILINE | re.DOTALL)
    return "".join(part if part.startswith("```") else change(part) for part in parts)


def with_links(text, source, place):
    """The text of the page `source` (path from the top) with the links that fit its `place` in the manual."""
    def moved(match):
        words, target = match.groups()
        name, hash_sign, anchor = target.partition("#")
        if not name or re.match(r"[a-z]+:", target):
            return match[0]
        path = os.path.normpath(os.path.join(os.path.dirname(source), name))
        goal = place_of(path)
        if goal is None or not (ROOT / path).exists():
            raise Problem(f"{source}: the link to {target} has no place in the manual")
        if (ROOT / path).is_dir() and not goal.endswith(".md"):
            goal += "/index.md"
        return f"{words}({os.path.relpath(goal, os.path.dirname(place))}{hash_sign}{anchor})"
    return outside_blocks(text, lambda part: LINK.sub(moved, part))


def with_names(text, place):
    """The text with a link at the first mention of each command and header that has a page, unless it is this one."""
    seen = {place}

    def linked(match):
        command, header = match.groups()
        if header:
            goal = f"headers/{header}.md"
        else:
            goal = f"kvn/{command}.md"
            if not (ROOT / "docs" / goal).exists():
                return match[0]
        if goal in seen:
            return match[0]
        seen.add(goal)
        return f"[{match[0]}]({os.path.relpath(goal, os.path.dirname(place))})"
    return outside_blocks(text, lambda part: NAME.sub(linked, part))


def with_pictures(text, folder):
    """The text with its own pictures in the page itself, where they follow its colours."""
    def drawn(match):
        path = folder / match[2]
        drawing = path.read_text(encoding="utf-8")
        if "var(--ink)" not in drawing:
            return match[0]
        drawing = re.sub(r"<style>.*?</style>\n?|<!--.*?-->\n?|<\?xml.*?\?>\n?", "", drawing, flags=re.DOTALL)
        return (f'<figure class="picture">\n{drawing.strip()}\n'
                f"<figcaption>{html.escape(match[1])}</figcaption>\n</figure>")
    return PICTURE.sub(drawn, text)


def with_error_headings(text):
    """The page of errors with a heading for each number, so that the search finds it and links can name it."""
    seen = set()

    def entry(match):
        number, words, meaning, remedy, status, state = match.groups()
        anchor = f"error-{number}" if number not in seen else f"error-{number}-again"
        seen.add(number)
        return (f"### Error {number} {{: #{anchor} }}\n\n{words}\n\n{meaning}\n\n**What to do:** {remedy}\n\n"
                f"Exit status {status}; the module: {state}.\n")
    text = re.sub(r"^\| Number \| Text \| Meaning .*\n\|[-|: ]+\n", "", text, flags=re.MULTILINE)
    text, count = ERROR_ROW.subn(entry, text)
    if count < 200:
        raise Problem(f"docs/errors.md: only {count} rows of errors were recognised")
    return text


def example_page(folder):
    """A page with the files of an example."""
    lines = [f"# {folder.name}\n"]
    for path in sorted(folder.rglob("*")):
        if path.is_file() and path.suffix in LANGUAGES:
            lines.append(f"## {path.relative_to(folder)}\n\n```{LANGUAGES[path.suffix]}\n"
                         f"{path.read_text(encoding='utf-8').rstrip()}\n```\n")
    return "\n".join(lines)


def write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")


def title_of(path):
    """How a page is called in lists and in links."""
    if path.parent.name == "kvn" and path.stem != "index":
        return f"kvn {path.stem}"
    return re.search(r"^# (.*)$", path.read_text(encoding="utf-8"), flags=re.MULTILINE)[1].replace("`", "")


def name_links_by_titles(folder):
    """Changes links whose words are the name of a file: readers of the manual see no files."""
    for path in folder.rglob("*.md"):
        def titled(match, here=path.parent):
            page = here / match[1].partition("#")[0]
            return f"[{title_of(page)}]({match[1]})"
        text = path.read_text(encoding="utf-8")
        write(path, outside_blocks(text, lambda part, titled=titled: FILE_LINK.sub(titled, part)))


def page_sources():
    """Path from the top, and place, of every page that is written by hand."""
    for path in sorted((ROOT / "docs").rglob("*.md")):
        source = str(path.relative_to(ROOT))
        yield source, place_of(source)
    for source, place in TOP_PAGES.items():
        if source != "README.md":
            yield source, place


def collect(folder, doxygen_folder):
    """Writes all pages, and the files that they show or link, into a new folder."""
    if folder.exists():
        shutil.rmtree(folder)
    for source, place in page_sources():
        text = (ROOT / source).read_text(encoding="utf-8")
        if source == "docs/errors.md":
            text = with_error_headings(text)
        text = with_names(with_links(text, source, place), place)
        if place == "index.md":
            text = HOME_HAS_NO_LISTS + text
        write(folder / place, with_pictures(text, (ROOT / source).parent))
    for path in (ROOT / "docs").rglob("*"):
        if path.is_file() and path.suffix != ".md":
            target = folder / path.relative_to(ROOT / "docs")
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(path, target)
    shutil.copyfile(ROOT / "LICENSE", folder / "licence.txt")
    shutil.copytree(ROOT / "schema", folder / "schema")
    write(folder / "schemas.md", schemas.page(ROOT / "schema"))
    for example in sorted((ROOT / "examples").iterdir()):
        if example.is_dir():
            write(folder / "examples" / f"{example.name}.md", example_page(example))
    for source, text in headers.pages(ROOT, list(HEADERS), doxygen_folder).items():
        write(folder / HEADERS[source], text)
    name_links_by_titles(folder)
