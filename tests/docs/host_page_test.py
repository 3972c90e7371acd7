"""docs/host.md: each line names tests, and the tests are there."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = ROOT / "docs" / "host.md"
HOSTS_PART = "the host's part"

IN_CPP = re.compile(r"^TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)", re.M)
IN_CMAKE = re.compile(r"add_test\(NAME ([\w.]+)")


def tests_of_the_tree():
   names = set()
   for file in (ROOT / "tests").rglob("*.cpp"):
      names |= {".".join(found) for found in IN_CPP.findall(file.read_text(encoding="utf-8"))}
   for file in (ROOT / "tests").rglob("CMakeLists.txt"):
      names |= set(IN_CMAKE.findall(file.read_text(encoding="utf-8")))
   return names


def lines():
   """The cells of each line of the tables: what is promised, and by what it is held."""
   rows = [line for line in PAGE.read_text(encoding="utf-8").splitlines() if line.startswith("| ")]
   cells = [[cell.strip() for cell in row.strip("|").split("|")] for row in rows]
   return [row for row in cells if row != ["", "Held by"]]


class HostPage(unittest.TestCase):
   def test_every_line_says_by_what_it_is_held(self):
      self.assertGreater(len(lines()), 20)
      for row in lines():
         with self.subTest(row[0]):
            self.assertEqual(len(row), 2)
            self.assertTrue(row[1] == HOSTS_PART or re.fullmatch(r"(`[\w.]+`(, |$))+", row[1]))

   def test_every_test_that_is_named_is_there(self):
      there = tests_of_the_tree()
      for row in lines():
         for name in re.findall(r"`([^`]+)`", row[-1]):
            with self.subTest(name):
               self.assertIn(name, there)


if __name__ == "__main__":
   unittest.main()
