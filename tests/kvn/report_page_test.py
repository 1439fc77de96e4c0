# SPDX-License-Identifier: Apache-2.0
"""Looks at the HTML reports of kvn in a browser without a window: sorting, filters, policy, contrast.

    report_page_test.py KVN EXAMPLE_JOURNALS
"""
import functools
import http.server
import pathlib
import subprocess
import sys
import tempfile
import threading
import unittest

import html5lib
from selenium import webdriver
from selenium.webdriver.common.by import By
from selenium.webdriver.chrome.service import Service

KVN, EXAMPLE_JOURNALS = sys.argv[1:3]

# The contrast of every element that has a text of its own with what is painted behind it.
CONTRASTS = """
const channels = colour => {
  const parts = colour.match(/[\\d.]+/g).map(Number);
  return parts.length === 3 ? [...parts, 1] : parts;
};
const luminance = ([r, g, b]) => [r, g, b].map(part => part / 255)
  .map(part => part <= 0.04045 ? part / 12.92 : ((part + 0.055) / 1.055) ** 2.4)
  .reduce((sum, part, index) => sum + part * [0.2126, 0.7152, 0.0722][index], 0);
const behind = element => {
  for (let at = element; at; at = at.parentElement) {
    const colour = channels(getComputedStyle(at).backgroundColor);
    if (colour[3] === 1) return colour;
  }
  return [255, 255, 255];
};
const poor = [];
for (const element of document.querySelectorAll("body *")) {
  if (element.closest("svg, script, option") || ![...element.childNodes].some(node => node.nodeType === 3 && node.data.trim()))
    continue;
  const [light, dark] = [luminance(channels(getComputedStyle(element).color)), luminance(behind(element))]
    .sort((a, b) => b - a);
  const contrast = (light + 0.05) / (dark + 0.05);
  if (contrast < 4.5) poor.push(element.outerHTML.slice(0, 80) + " " + contrast.toFixed(2));
}
return poor;
"""


class Requests(http.server.SimpleHTTPRequestHandler):
    """Serves the folder, and notes what is asked for."""

    asked = []

    def do_GET(self):
        self.asked.append(self.path)
        super().do_GET()

    def end_headers(self):
        # Or the browser may show a page once more without asking for it.
        self.send_header("Cache-Control", "no-store")
        super().end_headers()

    def log_message(self, *_):
        pass


def start_browser(**preferences):
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu", "--window-size=1400,1000",
                     "--disable-component-update", "--disable-background-networking", "--no-first-run"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    options.add_experimental_option("prefs", preferences)
    return webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))


def make_page(folder, name, *kind):
    journals = folder / name
    journals.mkdir()
    subprocess.run([EXAMPLE_JOURNALS, journals, *kind], check=True)
    page = folder / f"{name}.html"
    subprocess.run([KVN, "report", *sorted(journals.glob("*.journal")), "--html", page], check=True, capture_output=True)
    return page


class ReportPage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        make_page(cls.folder, "rack", "rack")
        make_page(cls.folder, "hostile", "hostile")
        make_page(cls.folder, "large", "large", "400")
        cls.server = http.server.ThreadingHTTPServer(
            ("127.0.0.1", 0), functools.partial(Requests, directory=str(cls.folder)))
        threading.Thread(target=cls.server.serve_forever, daemon=True).start()
        cls.addClassCleanup(cls.server.server_close)
        cls.addClassCleanup(cls.server.shutdown)
        cls.browser = start_browser()
        cls.addClassCleanup(cls.browser.quit)

    def open(self, name, browser=None):
        browser = browser or self.browser
        Requests.asked.clear()
        browser.get_log("browser")
        browser.get(f"http://127.0.0.1:{self.server.server_port}/{name}.html")
        return browser

    def rows(self, column):
        """The texts of a column in the rows that are shown, from top to bottom."""
        return self.browser.execute_script(
            "return [...document.querySelectorAll('.records tbody tr')].filter(row => !row.hidden)"
            ".map(row => row.cells[arguments[0]].firstChild).map(node => node ? node.data : '')", column)

    def press(self, head):
        self.browser.execute_script(
            "[...document.querySelectorAll('.records thead button')].find(b => b.textContent === arguments[0]).click()",
            head)

    def shown(self):
        return self.browser.find_element(By.CSS_SELECTOR, ".tools output").text

    def test_nothing_but_the_page_is_asked_for_and_the_console_stays_empty(self):
        for name in ("rack", "hostile", "large"):
            browser = self.open(name)
            self.assertEqual(browser.get_log("browser"), [], name)
            self.assertEqual(Requests.asked, [f"/{name}.html"])
            self.assertEqual(browser.execute_script("return performance.getEntriesByType('resource').length"), 0)

    def test_hostile_texts_are_shown_and_not_executed(self):
        browser = self.open("hostile")
        self.assertTrue(browser.title.startswith("0 of 1 configured: plan</script>"))
        self.assertEqual(len(browser.find_elements(By.TAG_NAME, "img")), 0)
        self.assertEqual(len(browser.find_elements(By.TAG_NAME, "script")), 1)
        self.assertIn("'\"&\\x1B[31m\\u{202E}]]>-->", browser.find_element(By.CSS_SELECTOR, ".records td:last-child").text)

    def test_a_column_sorts_up_and_down(self):
        self.open("rack")
        self.press("Seconds")
        ascending = [float(text) for text in self.rows(8) if text]
        self.assertEqual(ascending, sorted(ascending))
        self.press("Seconds")
        descending = [float(text) for text in self.rows(8) if text]
        self.assertEqual(descending, sorted(ascending, reverse=True))
        self.press("Module")
        modules = self.rows(0)
        self.assertLess(modules.index("mwc4a:2/1"), modules.index("mwc4a:10/1"))
        heads = self.browser.find_elements(By.CSS_SELECTOR, "th[aria-sort]")
        self.assertEqual([(head.text, head.get_attribute("aria-sort")) for head in heads], [("Module", "ascending")])

    def test_a_text_filters_and_every_word_of_it_counts(self):
        self.open("rack")
        search = self.browser.find_element(By.CSS_SELECTOR, ".tools input[type=search]")
        search.send_keys("bench-8")
        self.assertEqual(self.shown(), "4 of 66 shown")
        search.send_keys(" CANCELLED")
        self.assertEqual(self.shown(), "1 of 66 shown")
        self.assertEqual(self.rows(0), ["mwpci:0/1.4"])

    def test_a_box_filters_one_verdict_and_a_link_brings_its_module_back(self):
        self.open("rack")
        self.assertEqual(self.shown(), "66 shown")
        self.browser.find_element(By.CSS_SELECTOR, ".tools input[value=configured]").click()
        self.assertEqual(set(self.rows(1)), {"refused", "failed", "timed out", "cancelled", "not tried"})
        self.browser.find_element(By.CSS_SELECTOR, ".rack a.c").click()
        self.assertEqual(self.shown(), "66 shown")

    def test_the_page_is_complete_without_scripts(self):
        with_scripts = set(self.open("rack").find_element(By.TAG_NAME, "main").text.split())
        browser = start_browser(**{"profile.managed_default_content_settings.javascript": 2})
        self.addCleanup(browser.quit)
        self.open("rack", browser)
        self.assertEqual(browser.get_log("browser"), [])
        self.assertEqual(len(browser.find_elements(By.CSS_SELECTOR, ".tools, button")), 0)
        self.assertEqual(len(browser.find_elements(By.CSS_SELECTOR, ".records tbody tr")), 66)
        tools = set(self.browser.find_element(By.CSS_SELECTOR, ".tools").text.split())
        self.assertLessEqual(with_scripts - tools, set(browser.find_element(By.TAG_NAME, "main").text.split()))

    def test_the_page_is_complete_without_styles(self):
        self.open("rack")
        self.browser.execute_script("document.querySelector('style').remove()")
        words = self.browser.find_element(By.TAG_NAME, "main").text
        for verdict in ("configured", "refused", "failed", "timed out", "cancelled", "not tried"):
            self.assertIn(verdict, words)
        self.assertEqual(len(self.rows(0)), 66)
        self.assertIn("simulated", words)

    def test_texts_have_contrast_in_light_dark_and_print(self):
        for features in ({"prefers-color-scheme": "light"}, {"prefers-color-scheme": "dark"}):
            for media in ("screen", "print"):
                self.open("rack").execute_cdp_cmd("Emulation.setEmulatedMedia", {
                    "media": media, "features": [{"name": name, "value": value} for name, value in features.items()]})
                self.assertEqual(self.browser.execute_script(CONTRASTS), [], f"{features} {media}")
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "", "features": []})

    def test_nothing_is_wider_than_a_phone(self):
        for name in ("rack", "large", "hostile"):
            self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                         {"width": 360, "height": 740, "deviceScaleFactor": 1, "mobile": True})
            self.addCleanup(self.browser.execute_cdp_cmd, "Emulation.clearDeviceMetricsOverride", {})
            self.open(name)
            self.assertEqual(self.browser.execute_script("return document.documentElement.scrollWidth"), 360, name)

    def test_tables_and_sections_are_named(self):
        self.open("rack")
        self.assertEqual(self.browser.execute_script("return document.documentElement.lang"), "en")
        self.assertEqual(self.browser.execute_script("return document.querySelectorAll('th:not([scope])').length"), 0)
        self.assertEqual(len(self.browser.find_elements(By.TAG_NAME, "h1")), 1)
        levels = self.browser.execute_script("return [...document.querySelectorAll('h1,h2,h3,h4')].map(h => +h.tagName[1])")
        self.assertTrue(all(after <= before + 1 for before, after in zip(levels, levels[1:])), levels)
        self.assertEqual(self.browser.execute_script(
            "return [...document.querySelectorAll('[aria-labelledby]')].filter(e => !document.getElementById("
            "e.getAttribute('aria-labelledby'))).length"), 0)
        self.assertEqual(self.browser.execute_script(
            "return [...document.querySelectorAll('a[href^=\"#\"]')].filter(a => !document.getElementById("
            "a.getAttribute('href').slice(1))).length"), 0)
        self.assertEqual(self.browser.execute_script(
            "return document.querySelectorAll('[id]').length - new Set([...document.querySelectorAll('[id]')]"
            ".map(e => e.id)).size"), 0)

    def test_the_markup_is_html(self):
        for name in ("rack", "hostile", "large"):
            html5lib.HTMLParser(strict=True).parse((self.folder / f"{name}.html").read_text(encoding="utf-8"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
