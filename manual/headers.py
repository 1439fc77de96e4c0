# SPDX-License-Identifier: Apache-2.0
"""Writes a page for each public header: its introduction as it stands there, and its declarations with the
descriptions that Doxygen has read. A function without a description is an error."""
import html
import re
import subprocess
import textwrap
import xml.etree.ElementTree as ElementTree

# mwapi.h has plain comments: it is C, and read by people only. The filter shows them to Doxygen as documentation.
DOXYFILE = """\
INPUT = {inputs}
OUTPUT_DIRECTORY = {output}
GENERATE_XML = YES
GENERATE_HTML = NO
GENERATE_LATEX = NO
XML_PROGRAMLISTING = NO
EXTRACT_ALL = YES
MARKDOWN_SUPPORT = NO
AUTOLINK_SUPPORT = NO
MACRO_EXPANSION = YES
EXPAND_ONLY_PREDEF = YES
PREDEFINED = KVN_API= KVN_FPGA_API= __cplusplus
TYPEDEF_HIDES_STRUCT = YES
FILTER_PATTERNS = *mwapi.h="sed '/^#ifndef/,$s,^/[*] ,/** ,'"
QUIET = YES
WARN_IF_UNDOCUMENTED = NO
WARN_IF_INCOMPLETE_DOC = NO
WARN_NO_PARAMDOC = NO
"""


class Problem(Exception):
    """What a header lacks."""


class Item:
    """A declaration of a header: where it is, how it reads, what is said of it."""

    def __init__(self, kind, name, line):
        self.kind, self.name, self.line = kind, name, line
        self.code = ""
        self.text = ""
        self.arguments = []  # name, description
        self.result = ""
        self.throws = []
        self.rows = []  # name, type or value, description: members, values

    def is_described(self):
        return bool(self.text or self.result or self.arguments or self.throws)


def plain(element):
    """The words of an element, in one paragraph."""
    if element is None:
        return ""
    dashes = {"ndash": "--", "mdash": "---"}  # Doxygen makes dashes of the hyphens of options
    for dash in element.iter():
        dash.text = dashes.get(dash.tag, dash.text)
    return re.sub(r"\s+", " ", "".join(element.itertext())).strip()


def describe(item, member):
    """Reads the descriptions of a member of Doxygen's into an item."""
    paragraphs = []
    for para in member.findall("briefdescription/para") + member.findall("detaileddescription/para"):
        for parameter in para.findall("parameterlist"):
            for entry in parameter.findall("parameteritem"):
                pair = (plain(entry.find("parameternamelist")), plain(entry.find("parameterdescription")))
                (item.throws if parameter.get("kind") == "exception" else item.arguments).append(pair)
            para.remove(parameter)
        for section in para.findall("simplesect"):
            if section.get("kind") == "return":
                item.result = plain(section)
            para.remove(section)
        if words := plain(para):
            paragraphs.append(words)
    item.text = "\n\n".join(paragraphs)


def line_of(element):
    return int(element.find("location").get("line"))


def declaration(source, line):
    """The declaration that begins in a line of a header, without the words for the linker."""
    lines = []
    for text in source.splitlines()[line - 1:]:
        lines.append(text)
        if ";" in text:
            break
    code = textwrap.dedent("\n".join(lines))
    marker = re.match(r"KVN_API ", code)
    return code if not marker else "\n".join(
        [lines[0].removeprefix("KVN_API ")] + [text.removeprefix(" " * 8) for text in lines[1:]])


def member_item(member, source):
    """The item of a memberdef of Doxygen; None for what readers need not know."""
    kind, name = member.get("kind"), member.findtext("name")
    item = Item(kind, name, line_of(member))
    describe(item, member)
    if kind == "function":
        if re.match(r"~|operator", name) or "delete" in member.findtext("argsstring"):
            return None
        item.code = declaration(source, item.line)
    elif kind == "define":
        item.code = f"#define {name} {plain(member.find('initializer'))}"
        if not item.text:
            return None
    elif kind == "typedef":
        item.code = plain(member.find("definition")) + ";"
    elif kind == "enum":
        for value in member.findall("enumvalue"):
            words = Item("value", value.findtext("name"), 0)
            describe(words, value)
            item.rows.append((words.name, plain(value.find("initializer")).removeprefix("= "), words.text))
    else:
        return None
    return item


def structure_item(compound):
    """The item of a structure, with its members."""
    item = Item("struct", compound.findtext("compoundname"), line_of(compound))
    describe(item, compound)
    for member in compound.iter("memberdef"):
        words = Item("member", member.findtext("name"), 0)
        describe(words, member)
        kind = plain(member.find("type")).replace(" *", "*")
        item.rows.append((words.name, kind + plain(member.find("argsstring")), words.text))
    return item


def items_of(name, source, folder):
    """The declarations of a header, in its order."""
    items = []
    for path in folder.glob("*.xml"):
        if path.name in ("index.xml",):
            continue
        for compound in ElementTree.parse(path).getroot().iter("compounddef"):
            location = compound.find("location")
            if location is None or not location.get("file", "").endswith("/" + name):
                continue
            if compound.get("kind") == "struct":
                items.append(structure_item(compound))
            elif compound.get("kind") in ("file", "class"):
                members = [member_item(member, source) for member in compound.iter("memberdef")
                           if member.get("prot") in (None, "public")]
                items += [item for item in members if item is not None]
    items.sort(key=lambda item: item.line)
    structures = {item.name for item in items if item.kind == "struct"}
    return [item for item in items if not (item.kind == "typedef" and item.name in structures)]


def introduction(source):
    """The comment at the head of a header, as Markdown: lines that stand out become headings."""
    lines = source.splitlines()[1:]
    if lines[0].startswith("/*"):
        end = next(i for i, line in enumerate(lines) if line.endswith("*/"))
        block = [re.sub(r"^(/\*| \*/?) ?", "", line) for line in lines[:end + 1]]
    else:
        end = next(i for i, line in enumerate(lines) if not line.startswith("//"))
        block = [line[3:] for line in lines[:end]]
    text = []
    for i, line in enumerate(block):
        if line and not line.startswith(" ") and i + 1 < len(block) and block[i + 1].startswith("  "):
            text += ["", f"## {line}", ""]
        else:
            text.append(line.strip())
    return "\n".join(text)


class Page:
    """The page of a header."""

    def __init__(self, name, source, items):
        self.name, self.source, self.items = name, source, items
        self.written = set()
        self.names = {item.name for item in items} | {row[0] for item in items if item.kind == "enum"
                                                      for row in item.rows}
        self.anchors = {item.name for item in items if item.kind != "define"}

    def words(self, text):
        """A text with its names as code, those of declarations as links."""
        def known(match):
            name, call = match.groups()
            if name in self.anchors:
                return f"[`{name}{call}`](#{name.lower()})"
            return f"`{name}{call}`" if name in self.names else match[0]
        text = re.sub(r"\bdocs/([\w-]+\.md)", r"[\1](../\1)", text)
        parts = re.split(r"(`[^`]*`)", text)
        return "".join(part if part.startswith("`") else
                       re.sub(r"(?<![\w/.\[])((?:kvn|KVN|Mw|MW)_?\w+)(?![\w.]*\w)((?:\(\))?)", known,
                              html.escape(part, quote=False).replace("|", "&#124;").replace("*", "&#42;"))
                       for part in parts)

    def groups(self):
        """Declarations that share a description: those without one follow the one that has it on the next line."""
        group = []
        for item in self.items:
            if item.kind == "function" and not item.is_described() and group and group[-1].kind == "function":
                group.append(item)
                continue
            if group:
                yield group
            group = [item]
        if group:
            yield group

    def introduction(self):
        """What stands at the head of the header; links and headings stay as they are."""
        lines = introduction(self.source).splitlines()
        return "\n".join(line if line.startswith("#") else self.words(line) for line in lines)

    def table(self, heads, rows):
        lines = [f"| {' | '.join(heads)} |", "|---" * len(heads) + "|"]
        lines += [f"| {' | '.join(cells)} |" for cells in rows]
        return "\n".join(lines) + "\n"

    def entry(self, group):
        first = group[0]
        again = first.name in self.written
        self.written.add(first.name)
        names = ", ".join(item.name for item in group)
        parts = [f"### {names} {{: #{first.name.lower()}{'-again' * again} }}"]
        codes = [item.code for item in group if item.code]
        if codes:
            parts.append("```cpp\n" + "\n".join(codes) + "\n```")
        if first.text:
            parts.append(self.words(first.text))
        if first.arguments:
            parts.append(self.table(("Argument", "Meaning"),
                                    [(f"`{name}`", self.words(text)) for name, text in first.arguments]))
        if first.result:
            parts.append("**Returns** " + self.words(first.result))
        parts += [f"**Throws** `{name}` {self.words(text)}" for name, text in first.throws]
        if first.kind == "enum":
            parts.append(self.table(("Value", "", "Meaning"),
                                    [(f"`{name}`", value, self.words(text)) for name, value, text in first.rows]))
        if first.kind == "struct":
            parts.append(self.table(("Member", "Type", "Meaning"),
                                    [(f"`{name}`", f"`{kind}`", self.words(text)) for name, kind, text in first.rows]))
        return "\n\n".join(parts) + "\n"

    def constants(self):
        rows = [(f"`{item.name}`", f"`{item.code.split(' ', 2)[2]}`", self.words(item.text))
                for item in self.items if item.kind == "define"]
        return "## Constants\n\n" + self.table(("Name", "Value", "Meaning"), rows) if rows else ""

    def sections(self):
        """Line and title of the headings between the declarations."""
        for number, line in enumerate(self.source.splitlines(), 1):
            if match := re.fullmatch(r"// ([A-Z][\w ,]*)\.", line):
                yield number, match[1]

    def check(self):
        for group in self.groups():
            first = group[0]
            if first.kind == "function" and not first.is_described():
                raise Problem(f"{self.name}: {first.name} has no description")

    def markdown(self):
        self.check()
        parts = [f"# {self.name}\n", self.introduction(), "", self.constants()]
        sections = list(self.sections())
        parts.append("## Types\n" if sections else "## Declarations\n")
        for group in self.groups():
            if group[0].kind == "define":
                continue
            while sections and sections[0][0] < group[0].line:
                parts.append(f"## {sections.pop(0)[1]}\n")
            parts.append(self.entry(group))
        return "\n".join(parts)


def pages(root, paths, folder):
    """The pages of the headers, by path from the top."""
    folder.mkdir(parents=True, exist_ok=True)
    doxyfile = DOXYFILE.format(inputs=" ".join(f'"{root / path}"' for path in paths), output=f'"{folder}"')
    subprocess.run(["doxygen", "-"], input=doxyfile, text=True, check=True)
    result = {}
    for path in paths:
        name = path.rpartition("/")[2]
        source = (root / path).read_text(encoding="utf-8")
        result[path] = Page(name, source, items_of(name, source, folder / "xml")).markdown()
    return result
