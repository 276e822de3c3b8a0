#!/usr/bin/env python3
"""Names every file of samples/ and compares with what tools/samples/expected.py says of each:

    tests/tools/samples_test.py VESTO
"""
import collections
import json
import os
import subprocess
import sys
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
SAMPLES = os.path.join(ROOT, "samples")
sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(ROOT, "tools", "samples"))
from expected import EXPECTED, LOCKED, NOTHING  # noqa: E402  (found through the path above)

VESTO = os.path.abspath(sys.argv.pop(1))


class Samples(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        paths = [os.path.join(SAMPLES, name) for name in sorted(os.listdir(SAMPLES))]
        done = subprocess.run([VESTO, "name", "--json", "--locale", "fr_FR", *paths], capture_output=True, check=False,
                              stdin=subprocess.DEVNULL)
        cls.records = {os.path.basename(record["path"]): record for record in map(json.loads, done.stdout.decode().splitlines())}
        cls.errors = done.stderr.decode(errors="replace")

    def test_each_is_named_after_what_it_says(self):
        self.assertEqual(sorted(self.records), sorted(EXPECTED), self.errors)
        for name, expected in EXPECTED.items():
            record = self.records[name]
            with self.subTest(name):
                if expected == LOCKED:
                    self.assertEqual((record["outcome"], record.get("error")), ("error", "locked"))
                elif expected == NOTHING:
                    self.assertEqual(record["outcome"], "nothing", record)
                else:
                    self.assertEqual(record["outcome"], "proposal", record)
                    self.assertEqual(record["proposal"]["summary"]["kind"], expected[0])
                    self.assertIn(expected[1], record["proposal"]["title"])

    def test_three_at_least_of_every_kind_and_of_every_format(self):
        formats = collections.Counter(os.path.splitext(name)[1].lower().replace(".tiff", ".tif") for name in EXPECTED)
        for extension in ("pdf doc docx odt rtf txt md html json csv xls xlsx ods ppt pptx odp epub webarchive eml heic tif gif webp bmp png".split()):
            self.assertGreaterEqual(formats["." + extension], 3, extension)
        kinds = collections.Counter(expected[0] for expected in EXPECTED.values())
        for kind in "pdf document spreadsheet presentation ebook email screenshot photo image audio video".split():
            self.assertGreaterEqual(kinds[kind], 3, kind)


if __name__ == "__main__":
    unittest.main()
