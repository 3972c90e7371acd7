"""The table of status codes lists what the sources write, and nothing else."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDERS = ("include", "lorvex", "lorvexlua", "platform", "quelerr", "scripts", "source", "torvik",
           "transport")
SUFFIXES = {".h", ".c", ".cpp", ".lua"}

CODE = re.compile(r"-(?:5[0-9]{4}|89168)\b")
CONSTANT = re.compile(
   r"\b(?:nTamrixS100::tStatus::\w+|zerova::errors::kError\w+|tamrixerr_\w+)")


def sources():
   for folder in FOLDERS:
      for file in sorted((ROOT / folder).rglob("*")):
         if file.suffix in SUFFIXES:
            yield file.read_text(encoding="utf-8")


def found_in_sources(pattern):
   return {match for text in sources() for match in pattern.findall(text)}


def table():
   lines = (ROOT / "docs" / "status-codes.md").read_text(encoding="utf-8").splitlines()
   return [line.split("|") for line in lines if line.startswith("| -")]


class StatusCodes(unittest.TestCase):
   def test_every_code_of_the_sources_is_in_the_table(self):
      listed = [row[1].strip() for row in table()]
      self.assertEqual(sorted(listed, reverse=True), sorted(found_in_sources(CODE), reverse=True))

   def test_every_constant_of_the_sources_is_in_the_table(self):
      listed = {name for row in table() for name in CONSTANT.findall(row[2])}
      self.assertEqual(listed, found_in_sources(CONSTANT))

   def test_each_code_has_one_row_that_says_when(self):
      rows = table()
      self.assertEqual(len({row[1] for row in rows}), len(rows))
      for row in rows:
         self.assertTrue(row[3].strip() or row[4].strip(), row[1])


if __name__ == "__main__":
   unittest.main()
