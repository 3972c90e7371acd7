"""docs/testing.md: its tables of the stand-in service hold the codes and the numbers of the sources."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
STANDIN = ROOT / "tests" / "service" / "standin"
PAGE = (ROOT / "docs" / "testing.md").read_text(encoding="utf-8")


class StandInPage(unittest.TestCase):
   def test_every_refusal_is_in_the_table(self):
      source = (STANDIN / "refusal.h").read_text(encoding="utf-8")
      written = re.findall(r'\{(-\d+),\s*"zerova::errors::(\w+)"\}', source)
      self.assertGreater(len(written), 10)
      self.assertEqual(re.findall(r"^\| (-\d+) \| `(\w+)` \| \S", PAGE, re.M), written)

   def test_every_number_of_an_attribute_is_in_the_table(self):
      source = (STANDIN / "inventory.cpp").read_text(encoding="utf-8")
      numbers = source[source.index("kNumbers[]"):]
      written = [(int(number, 16), name) for name, number in re.findall(r'\{"(\w+)", (0x\w+)\}', numbers)]
      self.assertGreater(len(written), 10)
      listed = [(int(number, 16), name) for number, name in re.findall(r"^\| `(0x\w{8})` \| `(\w+)` \|$", PAGE, re.M)]
      self.assertEqual(listed, written)


if __name__ == "__main__":
   unittest.main()
