"""Version, change log and the page on compatibility are of the library that was built."""

import pathlib
import re
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "exports"))
import check_library  # noqa: E402

VERSION, LIBRARY = sys.argv[1:3]
PAGE = (ROOT / "docs" / "compatibility.md").read_text(encoding="utf-8")


def said(what):
   """The words that the page marks as code in the row of a table, or the row's plain number."""
   row = re.search(rf"^\| {re.escape(what)} \| ([^|]+) \|", PAGE, re.M)[1]
   return re.findall(r"`([^`]+)`", row) or [row.strip()]


class ChangeLog(unittest.TestCase):
   def test_newest_entry_is_the_version_of_the_build(self):
      log = (ROOT / "CHANGELOG.md").read_text(encoding="utf-8")
      self.assertEqual(re.findall(r"^## (\S+)", log, re.M)[0], VERSION)


class Compatibility(unittest.TestCase):
   def test_soname_is_that_of_the_library_and_of_its_version(self):
      dynamic = "\n".join(check_library.readelf("--dynamic", LIBRARY))
      soname = re.search(r"\(SONAME\)\s+Library soname: \[(.+)\]", dynamic)[1]
      self.assertEqual(said("SONAME"), [soname])
      self.assertEqual(soname, f"libzerovaapi.so.{VERSION.split('.')[0]}")

   def test_library_is_named_after_the_version(self):
      self.assertEqual(pathlib.Path(LIBRARY).resolve().name, f"libzerovaapi.so.{VERSION}")

   def test_symbols_have_the_version_and_number_that_the_page_names(self):
      names = (ROOT / "source" / "zerovaapi" / "exports.txt").read_text(encoding="utf-8").split()
      self.assertEqual(said("Exported names"), [str(len(names))])
      self.assertEqual(said("Version of all symbols"), [check_library.NODE])

   def test_runtime_is_the_one_that_the_library_is_held_to(self):
      newest = {
         family: f"{family}_{'.'.join(map(str, number))}"
         for family, number in check_library.NEWEST.items()}
      self.assertEqual(said("glibc"), [newest["GLIBC"]])
      self.assertEqual(said("libstdc++"), [newest["GLIBCXX"], newest["CXXABI"]])
      self.assertEqual(said("libgcc_s"), [newest["GCC"]])

   def test_protocol_and_places_are_those_of_the_sources(self):
      api = (ROOT / "source" / "zerovaapi" / "api.cpp").read_text(encoding="utf-8")
      self.assertIn(f'kProtocolVersion = "{said("Version of the protocol")[0]}"', api)
      for name in said("Endpoints of this machine"):
         self.assertIn(f'"{name}"', api)
      locator = (ROOT / "transport" / "locator_client.h").read_text(encoding="utf-8")
      self.assertRegex(locator, rf"\b{said('Locator')[0]}\b")


if __name__ == "__main__":
   unittest.main(argv=sys.argv[:1])
