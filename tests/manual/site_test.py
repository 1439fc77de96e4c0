# SPDX-License-Identifier: Apache-2.0
"""Reads the site that KVN_MANUAL/site holds: its links, what it loads, and what the search finds.

A page loads what its elements name without being asked: scripts, style sheets, pictures, frames, fonts.
"""
import html.parser
import json
import os
import pathlib
import re
import unittest
import urllib.parse

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SITE = pathlib.Path(os.environ["KVN_MANUAL"]).resolve() / "site"
LOADING = {("script", "src"), ("img", "src"), ("img", "srcset"), ("iframe", "src"), ("link", "href"), ("source", "src"),
           ("video", "src"), ("audio", "src"), ("object", "data"), ("embed", "src"), ("use", "href"), ("image", "href")}
ELSEWHERE = re.compile(r"^(?:[a-z]+:)?//", re.IGNORECASE)


class Page(html.parser.HTMLParser):
    """The links, the loaded files and the anchors of a page."""

    def __init__(self, path):
        super().__init__()
        self.links, self.loaded, self.anchors = [], [], set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("id", "name") and value:
                self.anchors.add(value)
            if tag == "a" and name == "href":
                self.links.append(value or "")
            if (tag, name) in LOADING:
                self.loaded.append(value or "")
            if name == "style":
                self.loaded += re.findall(r"url\(['\"]?([^'\")]+)", value or "")


class Site(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.pages = {path: Page(path) for path in sorted(SITE.rglob("*.html")) if path.name != "404.html"}

    def place(self, page, target):
        """File and anchor that a link of a page leads to."""
        address, _, anchor = target.partition("#")
        path = (page.parent / urllib.parse.unquote(address)).resolve() if address else page
        return path, urllib.parse.unquote(anchor)

    def test_the_site_has_its_pages(self):
        self.assertGreater(len(self.pages), 60)

    def test_every_link_leads_to_a_file_and_an_anchor(self):
        lost, followed = [], 0
        for page, content in self.pages.items():
            for target in content.links + content.loaded:
                if re.match(r"[a-z]+:", target):
                    continue
                followed += 1
                path, anchor = self.place(page, target)
                here = page.relative_to(SITE)
                if not path.is_file() or not path.is_relative_to(SITE):
                    lost.append(f"{here}: {target}")
                elif anchor and path in self.pages and anchor not in self.pages[path].anchors:
                    lost.append(f"{here}: {target} (no such heading)")
        self.assertEqual(lost, [])
        self.assertGreater(followed, 5000)

    def test_no_page_loads_anything_from_elsewhere(self):
        foreign = [f"{page.relative_to(SITE)}: {target}" for page, content in self.pages.items()
                   for target in content.loaded if ELSEWHERE.match(target)]
        self.assertEqual(foreign, [])

    def test_no_style_sheet_loads_anything_from_elsewhere(self):
        foreign = []
        for path in SITE.rglob("*.css"):
            text = path.read_text(encoding="utf-8")
            for target in re.findall(r"(?:url\(|@import\s+)['\"]?([^'\")\s;]+)", text):
                if ELSEWHERE.match(target):
                    foreign.append(f"{path.relative_to(SITE)}: {target}")
        self.assertEqual(foreign, [])

    def test_every_picture_of_a_page_has_a_title(self):
        for page in self.pages:
            text = page.read_text(encoding="utf-8")
            for drawing in re.findall(r'<figure class="picture">.*?</figure>', text, flags=re.DOTALL):
                self.assertRegex(drawing, r"<title[^>]*>[^<]+</title>", page.name)

    def test_each_error_has_a_place_in_the_index_of_the_search(self):
        numbers = set(re.findall(r"^\| (\d{4}) \|", (ROOT / "docs" / "errors.md").read_text(encoding="utf-8"),
                                 flags=re.MULTILINE))
        index = json.loads((SITE / "search" / "search_index.json").read_text(encoding="utf-8"))
        places = {entry["location"]: entry["title"] for entry in index["docs"]}
        for number in numbers:
            self.assertEqual(places.get(f"errors.html#error-{number}"), f"Error {number}")
        self.assertGreater(len(numbers), 200)

    def test_the_index_is_there_as_a_script_for_pages_that_are_opened_as_files(self):
        script = (SITE / "search" / "search_index.js").read_text(encoding="utf-8")
        index = (SITE / "search" / "search_index.json").read_text(encoding="utf-8")
        self.assertEqual(script, f"window.searchIndexOfManual = {index};\n")

    def test_each_public_name_stands_in_the_page_of_its_header(self):
        for header, name in (("include/kvn.h", "kvn"), ("include/kvn_fpga.h", "kvn_fpga"), ("platform/mwapi.h", "mwapi")):
            source = (ROOT / header).read_text(encoding="utf-8")
            source = re.sub(r"//.*|/\*.*?\*/", "", source, flags=re.DOTALL if header.endswith("mwapi.h") else 0)
            page = (SITE / "headers" / f"{name}.html").read_text(encoding="utf-8")
            names = set(re.findall(r"\b(kvn_\w+|KVN_\w+|Mw\w+|MW_\w+)\b", source))
            names -= {"KVN_H", "KVN_API", "KVN_FPGA_H", "KVN_FPGA_API", "kvn_fpga_imp"}
            self.assertEqual({name for name in names if name not in page}, set(), header)


if __name__ == "__main__":
    unittest.main()
