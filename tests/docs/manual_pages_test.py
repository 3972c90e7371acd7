"""Each function and each guide has a manual page that the system's reader takes without a word.

manual_pages_test.py PAGES: the folder of the build that has them.
"""

import os
import pathlib
import re
import subprocess
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "docs" / "man"), str(ROOT / "docs" / "book")]
import contents  # noqa: E402
import markdown_page  # noqa: E402
import public_headers  # noqa: E402

PAGES = pathlib.Path(sys.argv[1])
EXPORTS = (ROOT / "source" / "zerovaapi" / "exports.txt").read_text(encoding="utf-8").split()
READER = {**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "100", "MANPAGER": "cat"}


def shown(section, name):
   page = PAGES / f"man{section}" / f"{name}.{section}"
   read = subprocess.run(["man", "-l", page], env=READER, capture_output=True, text=True, check=True)
   return re.sub(r"\s+", " ", re.sub(".\b", "", read.stdout).replace("‐ ", "-"))


class Functions(unittest.TestCase):
   def test_every_export_has_a_page_and_nothing_else_has(self):
      self.assertEqual(sorted(page.stem for page in (PAGES / "man3").iterdir()), sorted(EXPORTS))

   def test_every_page_says_all_that_a_caller_asks(self):
      for function in public_headers.functions(ROOT / "include"):
         page = (PAGES / "man3" / f"{function.name}.3").read_text(encoding="utf-8")
         sections = re.findall(r"^\.SH (.+)\n(?!\.SH)", page, re.M)
         with self.subTest(function.name):
            self.assertEqual([section for section in sections if section != "NOTES"],
                             ["NAME", "SYNOPSIS", "DESCRIPTION", "RETURN VALUE", "OWNERSHIP", "CODES", "THREADS", "SEE ALSO"])

   def test_what_a_comment_says_is_on_the_page(self):
      page = shown(3, "zerovaapi_getRouteInfo")
      for words in ("reads the devices and terminals that a route uses", "int32_t ticket,",
                    "It outlives the session", "releases it with zerovaapi_DeviceContainer_destroy.",
                    "-52024 the connection or the protocol failed", "One thread at a time for a session"):
         self.assertIn(words, page)


class Guides(unittest.TestCase):
   def test_every_guide_has_a_page(self):
      guides = {f"zerovaapi-{guide.stem}" for guide in contents.guides(ROOT / "docs")}
      self.assertGreater(len(guides), 5)
      self.assertEqual({page.stem for page in (PAGES / "man7").iterdir()}, guides | {"zerovaapi"})

   def test_page_shows_what_the_document_says(self):
      page = shown(7, "zerovaapi-settings")
      for words in ("$_commonAppDataDir always /var/lib\\Trevanta", "echo '/opt/trevanta/shared' >",
                    "A folder is a key, a regular file is a value."):
         self.assertIn(words, page)


class Reader(unittest.TestCase):
   def test_it_has_nothing_to_say_of_any_page(self):
      pages = sorted(PAGES.glob("man?/*.?"))
      self.assertGreater(len(pages), len(EXPORTS))
      read = subprocess.run(["man", "--warnings", "-l", *pages], env=READER, stdout=subprocess.DEVNULL,
                            stderr=subprocess.PIPE, text=True, check=False)
      self.assertEqual((read.returncode, read.stderr), (0, ""))


class Converter(unittest.TestCase):
   def page(self, document):
      return markdown_page.page("# Title\n\n" + document, "name", "1")

   def test_characters_that_mean_something_to_the_reader_are_shown(self):
      self.assertIn(r"\&.so a\eb \- \(aqc\(aq", self.page(".so a\\b - 'c'"))

   def test_marks_become_fonts_and_links_their_words(self):
      self.assertIn(r"\fBcode\fP, \fIstress\fP, words", self.page("`code`, **stress**, [words](else.md#there)"))

   def test_row_names_the_columns_behind_its_first_cell(self):
      self.assertIn(".TP\na\nOne: b\n.br\nTwo: c\n", self.page("| | One | Two |\n|---|---|---|\n| a | b | c |\n"))

   def test_block_stays_as_it_is_written(self):
      self.assertIn(".nf\n  two\n\\&\n\\&.three\n.fi", self.page("```sh\n  two\n\n.three\n```\n"))

   def test_comment_is_left_out(self):
      self.assertNotIn("hidden", self.page("<!-- hidden -->\nshown"))


if __name__ == "__main__":
   unittest.main(argv=sys.argv[:1])
