"""docs/when-a-session-does-not-open.md: each row is held by a test, and its cells are whole."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = ROOT / "docs" / "when-a-session-does-not-open.md"
TESTS = [ROOT / "tests" / "exports" / name
         for name in ("posix/local_opening_test.cpp", "posix/remote_commands_test.cpp", "remote_opening_test.cpp")]


def rows():
   """The rows of the tables of causes."""
   found = []
   of_causes = False
   for line in PAGE.read_text(encoding="utf-8").splitlines():
      cells = [cell.strip() for cell in line.strip("|").split("|")]
      if not line.startswith("|"):
         of_causes = False
      elif cells[0] == "Cause":
         of_causes = True
      elif of_causes and not line.startswith("|--"):
         found.append(cells)
   return found


class OpeningPage(unittest.TestCase):
   def test_every_cause_is_made_by_a_test(self):
      tests = "".join(file.read_text(encoding="utf-8") for file in TESTS)
      made = set(re.findall(r'"([^"\n]+)"', tests))
      self.assertGreater(len(rows()), 15)
      for row in rows():
         with self.subTest(row[0]):
            self.assertIn(row[0], made)

   def test_every_row_names_a_cure(self):
      for row in rows():
         with self.subTest(row[0]):
            self.assertTrue(all(row))
            self.assertTrue(row[-1].endswith("."))


if __name__ == "__main__":
   unittest.main()
