# SPDX-License-Identifier: Apache-2.0
"""Opens the site that KVN_MANUAL/site holds as files in headless Chromium: it searches, follows the reader's choice of
light or dark, fits a phone, and asks no other computer for anything."""
import json
import os
import pathlib
import unittest

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

SITE = pathlib.Path(os.environ["KVN_MANUAL"]).resolve() / "site"
LONGEST_WAIT = 60
PHONE = (390, 844)


class Browser(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        options = Options()
        options.binary_location = "/usr/bin/chromium"
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                         "--window-size=1400,1000"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"performance": "ALL", "browser": "ALL"})
        cls.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)

    @classmethod
    def tearDownClass(cls):
        cls.driver.quit()

    def open(self, page):
        self.driver.get((SITE / page).as_uri())

    def requests(self):
        """What the pages have asked for since the last call."""
        for entry in self.driver.get_log("performance"):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent":
                yield message["params"]["request"]["url"]

    def found(self, words):
        """Where the results of a search lead, from the top of the site."""
        field = self.driver.find_element(By.CSS_SELECTOR, "input.md-search__input")
        field.click()
        field.send_keys(words)
        WebDriverWait(self.driver, LONGEST_WAIT).until(
            lambda driver: driver.find_elements(By.CSS_SELECTOR, ".md-search-result__link"))
        links = self.driver.find_elements(By.CSS_SELECTOR, ".md-search-result__link")
        addresses = [link.get_attribute("href").removeprefix(SITE.as_uri() + "/") for link in links]
        return [address.partition("?")[0] + "#" + address.partition("#")[2] for address in addresses]

    def emulate(self, scheme):
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                    {"features": [{"name": "prefers-color-scheme", "value": scheme}]})

    def brightness(self, element, prop):
        value = self.driver.find_element(By.CSS_SELECTOR, element).value_of_css_property(prop)
        numbers = [float(part) for part in value[value.index("(") + 1:-1].split(",")[:3]]
        return sum(numbers) / 3

    def test_a_number_finds_its_error(self):
        self.open("kvn/load.html")
        self.assertIn("errors.html#error-9103", self.found("9103")[:3])

    def test_options_and_names_of_modules_are_found_as_they_are_typed(self):
        for words, place in (("--normalise", "kvn/convert.html#"), ("mwc4a:0/1.2", "kvn/index.html#"),
                             ("kvn_provider_open", "headers/kvn.html#kvn_provider_open")):
            self.open("index.html")
            self.assertIn(place, self.found(words), words)

    def test_no_request_leaves_the_files(self):
        list(self.requests())
        for page in ("index.html", "pictures.html", "errors.html", "headers/kvn.html", "measurements.html"):
            self.open(page)
        self.found("bus")
        asked = list(self.requests())
        self.assertGreater(len(asked), 20)
        self.assertEqual([address for address in asked if not address.startswith((SITE.as_uri(), "data:"))], [])

    def test_pages_report_no_error(self):
        self.driver.get_log("browser")
        self.open("pictures.html")
        self.found("rack")
        self.assertEqual([entry for entry in self.driver.get_log("browser") if entry["level"] == "SEVERE"], [])

    def test_the_colours_are_those_that_the_reader_prefers(self):
        self.addCleanup(self.emulate, "light")
        for scheme, is_light in (("light", True), ("dark", False)):
            self.emulate(scheme)
            self.driver.execute_script("localStorage.clear()")
            self.open("pictures.html")
            WebDriverWait(self.driver, LONGEST_WAIT).until(
                lambda driver: (self.brightness("body", "background-color") > 128) == is_light)
            self.assertEqual(self.brightness(".picture text", "fill") < 128, is_light)

    def test_pages_fit_a_phone(self):
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": PHONE[0], "height": PHONE[1], "deviceScaleFactor": 2, "mobile": True})
        self.addCleanup(self.driver.execute_cdp_cmd, "Emulation.clearDeviceMetricsOverride", {})
        for page in ("index.html", "start.html", "pictures.html", "errors.html", "kvn/info.html", "headers/kvn.html",
                     "formats/mcb.html", "measurements.html", "decisions/index.html"):
            self.open(page)
            width = self.driver.execute_script("return document.documentElement.scrollWidth")
            self.assertLessEqual(width, PHONE[0], page)


if __name__ == "__main__":
    unittest.main()
