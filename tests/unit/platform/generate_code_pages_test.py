#!/usr/bin/env python3
"""The generator of the code page tables: the same everywhere, or no table at all."""

import pathlib
import sys
import tempfile
import unittest
from unittest import mock

sys.path.insert(0, str(pathlib.Path(__file__).parents[3] / "platform" / "posix"))
import generate_code_pages as generator  # noqa: E402


def western(**changes):
    return generator.PAGES[0]._replace(**changes)


class GenerateCodePages(unittest.TestCase):
    def test_two_runs_give_the_same_text(self):
        self.assertEqual(generator.source_text(), generator.source_text())

    def test_a_table_that_is_not_the_recorded_one_ends_the_build_and_writes_nothing(self):
        with tempfile.TemporaryDirectory() as folder:
            output = pathlib.Path(folder) / "tables.cpp"
            with mock.patch.object(generator, "PAGES", (western(digest="0" * 64),)):
                with self.assertRaisesRegex(SystemExit, "another code page 1252 than the recorded one"):
                    generator.main(str(output))
            self.assertFalse(output.exists())

    def test_a_page_that_iconv_does_not_know_ends_the_build(self):
        with mock.patch.object(generator, "PAGES", (western(number=1),)):
            with self.assertRaisesRegex(generator.TableError, "does not know CP1$"):
                generator.source_text()

    def test_a_correction_of_what_iconv_maps_is_refused(self):
        with mock.patch.object(generator, "PAGES", (western(corrections={b"\x80": 0x80}),)):
            with self.assertRaisesRegex(generator.TableError, "maps 80 of code page 1252"):
                generator.source_text()

    def test_runs_go_on_where_the_one_before_ended_and_leave_the_delete_out(self):
        self.assertEqual(generator.runs(0xE000, "A17E-A180 A2A1"),
                         {b"\xA1\x7E": 0xE000, b"\xA1\x80": 0xE001, b"\xA2\xA1": 0xE002})


if __name__ == "__main__":
    unittest.main()
