# SPDX-License-Identifier: Apache-2.0
"""Follows every relative link of the pages: the file must exist, and so must the heading after a #.

The pages are those of this tree, or those below the folder that KVN_INSTALLED_PAGES names.
"""
import os
import pathlib
import re
import unittest

INSTALLED = os.environ.get("KVN_INSTALLED_PAGES")
ROOT = pathlib.Path(INSTALLED or pathlib.Path(__file__).parent.parent.parent).resolve()
LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)\)")


def pages():
    if INSTALLED:
        yield from ROOT.rglob("*.md")
        return
    yield from ROOT.glob("*.md")
    yield from (ROOT / "docs").rglob("*.md")


def prose(page):
    """The page without blocks and spans of code, where brackets are not links."""
    text = re.sub(r"^```.*?^```", "", page.read_text(encoding="utf-8"), flags=re.MULTILINE | re.DOTALL)
    return re.sub(r"`[^`\n]*`", "", text)


def anchors(page):
    """The link targets of a page's headings."""
    text = re.sub(r"^```.*?^```", "", page.read_text(encoding="utf-8"), flags=re.MULTILINE | re.DOTALL)
    for heading in re.findall(r"^#+ (.*)$", text, flags=re.MULTILINE):
        yield re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


class Links(unittest.TestCase):
    def test_every_link_leads_somewhere(self):
        broken = []
        followed = 0
        for page in sorted(pages()):
            for target in LINK.findall(prose(page)):
                if re.match(r"[a-z]+:", target):
                    continue
                followed += 1
                name, _, anchor = target.partition("#")
                file = (page.parent / name) if name else page
                if not file.resolve().is_relative_to(ROOT) or not file.exists() or (anchor and anchor not in anchors(file)):
                    broken.append(f"{page.relative_to(ROOT)}: {target}")
        self.assertEqual(broken, [])
        self.assertGreater(followed, 100)


if __name__ == "__main__":
    unittest.main()
