#!/usr/bin/env python3
"""Each safeguard's text stands once in its file, so that it can be taken away: code that moves takes its entry along."""

import pathlib
import unittest

from safeguards import SAFEGUARDS

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent


class Safeguards(unittest.TestCase):
    def test_stand(self):
        self.assertGreater(len(SAFEGUARDS), 0)
        for guard in SAFEGUARDS:
            with self.subTest(guard.what):
                text = (ROOT / guard.file).read_text(encoding="utf-8")
                self.assertEqual(text.count(guard.text), 1, f"{guard.file} has not once: {guard.text}")
                self.assertNotEqual(guard.text, guard.without)


if __name__ == "__main__":
    unittest.main()
