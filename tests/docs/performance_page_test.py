"""Each row of a benchmark that the page of costs names is one that the benchmark tells."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = ROOT / "docs" / "performance.md"

# A program, and the begin of a row or a part of it; in a table or in brackets.
ROW = re.compile(r"`(bench_\w+)`: ([^|)\n]+?) *[|)]")


class RowsOfThePage(unittest.TestCase):
   def setUp(self):
      self.page = PAGE.read_text(encoding="utf-8")

   def test_every_row_is_one_of_its_program(self):
      rows = ROW.findall(self.page)
      self.assertGreater(len(rows), 15)
      for program, row in rows:
         with self.subTest(program=program, row=row):
            source = (ROOT / "bench" / f"{program}.cpp").read_text(encoding="utf-8")
            self.assertTrue(row in source, "tells no such row")

   def test_every_program_is_one_of_the_benchmarks(self):
      for program in set(re.findall(r"\bbench_[a-z_]+\b", self.page)):
         with self.subTest(program):
            self.assertTrue((ROOT / "bench" / f"{program}.cpp").is_file())

   def test_every_advice_names_the_row_that_shows_it(self):
      section = self.page.split("## What makes a program fast\n")[1].split("\n## ")[0]
      advice = [line for line in section.splitlines() if line.startswith("| ")][1:]
      self.assertGreater(len(advice), 4)
      for line in advice:
         with self.subTest(line):
            self.assertRegex(line, ROW)


if __name__ == "__main__":
   unittest.main()
