"""The notices are the ones of what is linked in: no library goes without, and none is named in vain.

notices_test.py LIBRARY COMPILED DEPENDENCIES NOTICES: the library with its symbols, a list of the source
files that the build compiles for it, the folder of the dependencies' sources, and the page of the build.
"""

import collections
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "cmake" / "dependencies"))

import notices  # noqa: E402

# The compiler puts its start-up code at both ends. The linker's own symbols stand behind a file
# without a name.
COMPILERS = ("crtstuff.c", "crtstuff.c", "")


def linked_files(library):
   """The names, without folders, that the compiler noted for what has become part of the library."""
   table = subprocess.run(
      ["readelf", "--wide", "--symbols", library], env={**os.environ, "LC_ALL": "C"},
      capture_output=True, text=True, check=True).stdout
   return re.findall(r" FILE +LOCAL +DEFAULT +ABS ?(.*)$", table, re.M)


def named_packages(page):
   return set(re.findall(r"^Source package: `(.+)`$", page, re.M))


def package_of(source, sources):
   """The package that a file is of, or nothing if it is ours."""
   return source.relative_to(sources).parts[0] if source.is_relative_to(sources) else None


def faults(linked, compiled, sources, packages):
   owners = collections.defaultdict(list)
   for source in compiled:
      owners[source.name].append(package_of(source, sources))
   unknown = collections.Counter(linked)
   unknown.subtract(COMPILERS)
   unknown.subtract({name: len(files) for name, files in owners.items()})
   found = [f"{name} is of nobody" for name, count in unknown.items() if count > 0]
   # Of a name that two have, it cannot be said whose file it is: both would count as linked in.
   found += [f"{name} is a file of {' and '.join(sorted(str(owner or 'ours') for owner in set(files)))}"
             for name, files in owners.items() if len(set(files)) > 1]
   present = {owner for name in linked for owner in owners[name]} - {None}
   found += [f"{package} has no notice" for package in present - packages]
   found += [f"{package} has a notice and is not linked in" for package in packages - present]
   return sorted(found)


class Notices(unittest.TestCase):
   def test_the_page_is_what_the_sources_give(self):
      shown = (ROOT / "docs" / "third-party.md").read_text(encoding="utf-8")
      with tempfile.TemporaryDirectory() as folder:
         output = pathlib.Path(folder) / "page"
         notices.main(SOURCES, output)
         self.assertEqual(shown, output.read_text(encoding="utf-8"), "to be replaced by the build's third-party.md")
      self.assertEqual(shown, PAGE.read_text(encoding="utf-8"))

   def test_the_page_has_the_terms_of_each_package_word_for_word(self):
      page = PAGE.read_text(encoding="utf-8").split()
      for package, (_, files) in notices.LIBRARIES.items():
         for file in files:
            terms = (SOURCES / package / file).read_text(encoding="utf-8").split()
            starts = (start for start, word in enumerate(page) if word == terms[0])
            self.assertTrue(any(page[start:start + len(terms)] == terms for start in starts), f"{package}/{file}")

   def test_every_file_that_is_linked_in_is_ours_or_of_a_package_with_a_notice(self):
      compiled = [pathlib.Path(line) for line in COMPILED.read_text(encoding="utf-8").splitlines()]
      packages = named_packages(PAGE.read_text(encoding="utf-8"))
      self.assertEqual(faults(linked_files(LIBRARY), compiled, SOURCES, packages), [])


class ComparisonOfNotices(unittest.TestCase):
   sources = pathlib.Path("/fetched")
   compiled = [pathlib.Path("/own/a.cpp"), pathlib.Path("/fetched/one/src/b.c"), pathlib.Path("/fetched/two/c.c")]
   linked = ["crtstuff.c", "a.cpp", "b.c", "c.c", "crtstuff.c", ""]

   def faults(self, linked=(), compiled=(), packages=("one", "two")):
      return faults([*self.linked, *linked], [*self.compiled, *compiled], self.sources, set(packages))

   def test_nothing_is_found_where_all_agree(self):
      self.assertEqual(self.faults(), [])

   def test_a_file_that_the_build_does_not_compile(self):
      self.assertEqual(self.faults(linked=["d.c"]), ["d.c is of nobody"])

   def test_a_second_file_of_a_name(self):
      self.assertEqual(self.faults(linked=["b.c"]), ["b.c is of nobody"])

   def test_a_name_that_two_have(self):
      self.assertEqual(self.faults(compiled=[pathlib.Path("/own/b.c")]), ["b.c is a file of one and ours"])

   def test_a_package_without_a_notice(self):
      self.assertEqual(self.faults(packages=["one"]), ["two has no notice"])

   def test_a_notice_of_what_is_not_linked_in(self):
      self.assertEqual(self.faults(packages=["one", "three", "two"]), ["three has a notice and is not linked in"])

   def test_a_package_of_which_nothing_is_linked_in(self):
      self.linked = ["a.cpp", "b.c"]
      self.assertEqual(self.faults(), ["two has a notice and is not linked in"])


if __name__ == "__main__":
   LIBRARY = sys.argv[1]
   COMPILED, SOURCES, PAGE = map(pathlib.Path, sys.argv[2:5])
   unittest.main(argv=sys.argv[:1])
