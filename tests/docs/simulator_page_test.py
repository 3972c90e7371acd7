"""docs/simulator.md: its tables hold the codes and the numbers of the sources."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SIMULATOR = ROOT / "tools" / "simulator"
PAGE = (ROOT / "docs" / "simulator.md").read_text(encoding="utf-8")


class SimulatorPage(unittest.TestCase):
   def test_every_refusal_is_in_the_table(self):
      source = (SIMULATOR / "error_codes.h").read_text(encoding="utf-8")
      written = re.findall(r'\{(-\d+),\s*"zerova::errors::(\w+)"\}', source)
      self.assertGreater(len(written), 10)
      self.assertEqual(re.findall(r"^\| (-\d+) \| `(\w+)` \| \S", PAGE, re.M), written)

   def test_every_number_of_an_attribute_is_in_the_table(self):
      source = (SIMULATOR / "attributes.cpp").read_text(encoding="utf-8")
      numbers = source[source.index("kNumbers[]"):]
      written = [(int(number, 16), name) for name, number in re.findall(r'\{"(\w+)", (0x\w+)\}', numbers)]
      self.assertGreater(len(written), 10)
      listed = [(int(number, 16), name) for number, name in re.findall(r"^\| `(0x\w{8})` \| `(\w+)` \|$", PAGE, re.M)]
      self.assertEqual(listed, written)

   def test_every_option_is_told_on_the_page_and_in_the_manual(self):
      sources = "".join((SIMULATOR / name).read_text(encoding="utf-8") for name in ("main.cpp", "posix/serving.cpp"))
      options = re.findall(r'add_(?:option|flag)\(\s*"(--[a-z-]+)"', sources)
      self.assertGreater(len(options), 12)
      manual = (ROOT / "docs" / "man" / "zerova-simulator.1").read_text(encoding="utf-8").replace("\\-", "-")
      for option in options:
         with self.subTest(option):
            self.assertRegex(PAGE, rf"{option}\b")
            self.assertRegex(manual, rf"{option}\b")


if __name__ == "__main__":
   unittest.main()
