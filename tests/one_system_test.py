#!/usr/bin/env python3
"""The comparison of tests with the record finds what it is there to find."""

import contextlib
import io
import tempfile
import unittest
from pathlib import Path

from one_system import Check, RecordError, read_record

SOURCE = "TEST(Suite, Runs)\n{\n}\nTEST_P(\n   Suite, Waits)\n{\n}\n"


class Comparison(unittest.TestCase):
   def setUp(self) -> None:
      folder = tempfile.TemporaryDirectory()
      self.addCleanup(folder.cleanup)
      self.tests = Path(folder.name) / "tests"
      self.built = Path(folder.name) / "built"
      self.built.mkdir()
      (self.tests / "area").mkdir(parents=True)
      (self.tests / "area" / "some_test.cpp").write_text(SOURCE, encoding="utf-8")
      self.pairs = [("program", "area/some_test.cpp")]

   def faults(self, record: str, system: str = "windows") -> list[str]:
      (self.tests / "one_system.txt").write_text(record, encoding="utf-8")
      self.told = io.StringIO()
      with contextlib.redirect_stdout(self.told):
         return Check(self.tests, system, self.pairs, self.built).run()

   def test_whole_suite_needs_no_record(self) -> None:
      self.assertEqual(self.faults(""), [])

   def test_source_that_nobody_compiles_is_found(self) -> None:
      self.pairs = []
      self.assertEqual(self.faults(""),
                       ["area/some_test.cpp: does not run here, and the record does not say why"])

   def test_source_of_the_other_system_is_told_with_its_reason_and_its_tests(self) -> None:
      self.pairs = []
      self.assertEqual(self.faults("linux: it forks\n   area/some_test.cpp\n"), [])
      self.assertEqual(self.told.getvalue(), "not on windows: area/some_test.cpp: it forks\n"
                                             "   Suite.Runs\n   Suite.Waits\n")

   def test_source_of_this_system_has_to_run(self) -> None:
      record = "linux: it forks\n   area/\n"
      self.assertEqual(self.faults(record, "linux"), [])
      self.pairs = []
      self.assertEqual(len(self.faults(record, "linux")), 1)

   def test_source_that_runs_on_both_is_no_longer_of_one(self) -> None:
      self.assertEqual(self.faults("linux: it forks\n   area/some_test.cpp\n"),
                       ["area/some_test.cpp: runs here, though the record gives it to the other system"])

   def test_record_of_what_is_gone_is_found(self) -> None:
      self.assertEqual(self.faults("linux: it forks\n   area/other_test.cpp\n   program Suite.Ran\n"), [
         "area/other_test.cpp: is in the record, and no such tests are there",
         "program Suite.Ran: is in the record, and no such test is there"])

   def test_single_test_is_told_with_its_reason(self) -> None:
      self.assertEqual(self.faults("linux: it forks\n   program All/Suite.Waits/*\n"), [])
      self.assertEqual(self.told.getvalue(), "not on windows: program All/Suite.Waits/*: it forks\n")

   def test_script_runs_where_ctest_has_it(self) -> None:
      (self.tests / "area" / "other_test.py").write_text("", encoding="utf-8")
      self.assertEqual(self.faults("both: as ever\n"),
                       ["area/other_test.py: does not run here, and the record does not say why"])
      (self.built / "CTestTestfile.cmake").write_text(
         'add_test([=[area.other]=] "python3" "/x/area/other_test.py")\n', encoding="utf-8")
      self.assertEqual(self.faults(""),
                       ["area.other: CTest runs it, and the record does not say on which systems"])
      self.assertEqual(self.faults("both: as ever\n   ctest area.*\n"), [])

   def test_test_of_ctest_that_is_gone_is_found(self) -> None:
      self.assertEqual(self.faults("both: as ever\n   ctest area.*\nlinux: it forks\n   ctest forks\n"),
                       ["area.*: is in the record for this system, and CTest has no such test"])

   def test_line_of_another_form_is_refused(self) -> None:
      for line in ("   area/\n", "mac: never\n", "linux: it forks\n  area/\n", "linux: a; b\n"):
         with self.assertRaises(RecordError, msg=line):
            list(read_record(line))


if __name__ == "__main__":
   unittest.main()
