# SPDX-License-Identifier: Apache-2.0
"""Reads the JUnit reports of kvn as a test system does, and validates them against the installed schema.

    junit_report_test.py KVN EXAMPLE_JOURNALS SCHEMA
"""
import pathlib
import subprocess
import sys
import tempfile
import unittest

import junitparser
from lxml import etree

KVN, EXAMPLE_JOURNALS, SCHEMA = sys.argv[1:4]


class JUnitReport(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.schema = etree.XMLSchema(etree.parse(SCHEMA))

    def report(self, *kind):
        subprocess.run([EXAMPLE_JOURNALS, self.folder, *kind], check=True)
        file = self.folder / "report.xml"
        subprocess.run([KVN, "report", *sorted(self.folder.glob("*.journal")), "--junit", file],
                       check=True, capture_output=True)
        return file

    def validated(self, file):
        self.schema.assertValid(etree.parse(str(file)))
        return junitparser.JUnitXml.fromfile(str(file))

    def test_a_rack_is_read_with_its_counts(self):
        suites = self.validated(self.report("rack"))
        self.assertEqual((suites.tests, suites.failures, suites.errors, suites.skipped), (66, 4, 3, 0))
        self.assertEqual([suite.name for suite in suites], ["modules of bench-7", "modules of bench-8"])
        self.assertEqual([suite.hostname for suite in suites], ["bench-7", "bench-8"])
        for suite in suites:
            results = [case.result[0] for case in suite if case.result]
            self.assertEqual(suite.tests, len(list(suite)))
            self.assertEqual(suite.failures, sum(isinstance(result, junitparser.Failure) for result in results))
            self.assertEqual(suite.errors, sum(isinstance(result, junitparser.Error) for result in results))

    def test_no_name_is_there_twice(self):
        names = [case.name for suite in self.validated(self.report("rack")) for case in suite]
        self.assertEqual(len(names), len(set(names)))
        self.assertIn("bench-7 mwc4a:6/1 recorder", names)

    def test_versions_are_properties_of_the_suite(self):
        suite = next(iter(self.validated(self.report("rack"))))
        properties = [(given.name, given.value) for given in suite.properties()]
        self.assertIn(("plan", "rack.con"), properties)
        self.assertIn(("tool", "kvn 1.0.0"), properties)
        self.assertIn(("provider", "virtual"), properties)

    def test_hostile_texts_stay_texts(self):
        suites = self.validated(self.report("hostile"))
        case = next(iter(next(iter(suites))))
        self.assertEqual((suites.tests, suites.failures), (1, 1))
        self.assertIn(r"'\"&\x1B[31m\u{202E}]]>-->".replace('\\"', '"'), case.result[0].message)

    def test_the_schema_refuses_a_name_that_is_there_twice(self):
        tree = etree.parse(str(self.report("rack")))
        cases = tree.findall(".//testcase")
        cases[1].set("name", cases[0].get("name"))
        self.assertFalse(self.schema.validate(tree))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
