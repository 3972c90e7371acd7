"""How the package finds the library, and what it says of a wrong one."""

import os
import pathlib
import shutil
import unittest

from services import BUILD, LIBRARY, ROOT, python, scratch

SHOW = "import zerovaapi; print(zerovaapi.LIBRARY_PATH)"
TELL = """
try:
   import zerovaapi
except ImportError as error:
   print(type(error).__name__, error, sep=": ")
"""


class LibraryTest(unittest.TestCase):
   def setUp(self):
      self.folder = scratch(self)

   def told(self, library, **variables):
      status, output, errors = python(TELL, library=library, **variables)
      self.assertEqual((status, errors, output.count("\n")), (0, "", 1), output)
      return output.strip()

   def changed(self, before, after, name="changed.so"):
      """A copy of the library with other bytes at one place."""
      whole = LIBRARY.read_bytes()
      self.assertIn(before, whole)
      changed = self.folder / name
      changed.write_bytes(whole.replace(before, after))
      return changed


class Finding(LibraryTest):
   def test_takes_the_file_that_is_named(self):
      self.assertEqual(python(SHOW), (0, f"{LIBRARY}\n", ""))

   def test_takes_the_systems_where_none_is_named(self):
      for named in ({"library": ""}, {"options": ["-E"], "library": "/nowhere"}):
         program = f"import sys; sys.path.insert(0, {str(ROOT / 'python')!r}); {SHOW}"
         self.assertEqual(python(program, LD_LIBRARY_PATH=str(BUILD), **named), (0, f"{LIBRARY.resolve()}\n", ""))

   def test_takes_the_packages_own_before_the_systems(self):
      shutil.copytree(ROOT / "python/zerovaapi", self.folder / "zerovaapi")
      own = shutil.copy(LIBRARY, self.folder / "zerovaapi/libzerovaapi.so.1")
      found = python(SHOW, library="", PYTHONPATH=str(self.folder), LD_LIBRARY_PATH=str(BUILD))
      self.assertEqual(found, (0, f"{own}\n", ""))

   def test_tells_of_a_system_without_one(self):
      self.assertRegex(self.told(""), "^LibraryNotFoundError: libzerovaapi.so.1 cannot be loaded: .*; install the library, "
                                      "or name its file in ZEROVAAPI_LIBRARY$")

   def test_tells_of_a_file_that_is_not_there(self):
      self.assertEqual(self.told("/nowhere/lib.so"), "LibraryNotFoundError: ZEROVAAPI_LIBRARY names /nowhere/lib.so, "
                                                     "which cannot be read: No such file or directory")


class WrongFile(LibraryTest):
   def test_that_is_no_library_is_told(self):
      whole = LIBRARY.read_bytes()
      for content, message in ((b"", "it is no shared library"), (b"text", "it is no shared library"),
                               (whole[:4096], "it is cut short"), (whole[:100000], "it is cut short"),
                               (whole[:4] + b"\1" + whole[5:], "it is for another kind of machine"),
                               (whole[:4] + b"\2\2" + whole[6:], "it is for another kind of machine")):
         file = self.folder / "wrong.so"
         file.write_bytes(content)
         self.assertEqual(self.told(file), f"LibraryMismatchError: ZEROVAAPI_LIBRARY names {file}, which is not "
                                           f"libzerovaapi.so.1: {message}")

   def test_that_is_no_file_is_told(self):
      os.mkfifo(self.folder / "fifo")
      for path in (self.folder, self.folder / "fifo", "/dev/zero"):
         self.assertIn("which is not libzerovaapi.so.1: it is no regular file", self.told(path))

   def test_that_is_another_library_is_told(self):
      maps = pathlib.Path("/proc/self/maps").read_text(encoding="utf-8").split()
      other = next(word for word in maps if os.path.basename(word) == "libc.so.6")
      self.assertEqual(self.told(other), f"LibraryMismatchError: ZEROVAAPI_LIBRARY names {other}, which is not "
                                         "libzerovaapi.so.1 but libc.so.6")

   def test_that_is_another_version_is_told(self):
      file = self.changed(b"\0libzerovaapi.so.1\0", b"\0libzerovaapi.so.2\0")
      self.assertEqual(self.told(file), f"LibraryMismatchError: ZEROVAAPI_LIBRARY names {file}, which is libzerovaapi.so.2: "
                                        "this package needs libzerovaapi.so.1")

   def test_that_the_system_has_is_told(self):
      self.changed(b"\0libzerovaapi.so.1\0", b"\0libzerovaapi.so.2\0", "libzerovaapi.so.1")
      self.assertIn("which is libzerovaapi.so.2", self.told("", LD_LIBRARY_PATH=str(self.folder)))

   def test_that_lacks_a_function_is_told(self):
      file = self.changed(b"\0zerovaapi_isDebug\0", b"\0zerovaapi_isDebuh\0")
      self.assertEqual(self.told(file), f"LibraryMismatchError: ZEROVAAPI_LIBRARY names {file}, which lacks "
                                        "zerovaapi_isDebug of the 59 functions: it is incomplete or older than this package")

   def test_with_a_byte_changed_anywhere_in_its_headers_ends_no_interpreter(self):
      program = """
import sys
from zerovaapi import _elf
with open(sys.argv[1], "rb") as whole, open(sys.argv[2], "wb+") as copy:
   copy.write(whole.read())
   for at in range(1024):
      whole.seek(at)
      for value in (b"\\0", b"\\1", b"\\x7F", b"\\xFF", whole.read(1)):
         copy.seek(at)
         copy.write(value)
         copy.flush()
         try:
            _elf.soname(sys.argv[2])
         except _elf.NoSharedLibrary:
            pass
"""
      self.assertEqual(python(program, LIBRARY, self.folder / "changed.so"), (0, "", ""))


if __name__ == "__main__":
   unittest.main()
