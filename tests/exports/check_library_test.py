"""check_library.py finds each fault that it is there for, in small libraries that have it."""

import os
import pathlib
import subprocess
import tempfile
import unittest

import check_library

COMPILER = os.environ.get("CC", "cc")
LIST = ["first", "second"]
GOOD = "int first(void) { return 1; } int second(void) { return 2; }\n"
MAP = "ZEROVAAPI_1 { global: first; second; local: *; };\n"


class CheckOfLibrary(unittest.TestCase):
   def setUp(self):
      folder = tempfile.TemporaryDirectory()
      self.addCleanup(folder.cleanup)
      self.folder = pathlib.Path(folder.name)

   def build(self, source, versions, *options, name="library.so"):
      library = self.folder / name
      (self.folder / "source.c").write_text(source, encoding="utf-8")
      (self.folder / "map").write_text(versions, encoding="utf-8")
      subprocess.run(
         [COMPILER, "-shared", "-fPIC", "-w", "-Wl,--version-script=map", "source.c", *options, "-o", library],
         cwd=self.folder, check=True)
      return library

   def bare(self, source, versions, *options, **name):
      """Without what the compiler would link by itself."""
      return self.build(source, versions, "-nostdlib", *options, **name)

   def needing(self, version, file):
      """A library that calls a function which another one has under that version."""
      other = self.bare("int other(void) { return 3; }", f"{version} {{ other; }};", f"-Wl,-soname,{file}", name=file)
      return self.bare("int other(void); int first(void) { return other(); }", MAP, other)

   def exports(self, library):
      return sorted(check_library.faults_of_exports(library, LIST))

   def needs(self, library):
      return sorted(check_library.faults_of_needs(library))

   def test_nothing_is_found_in_a_library_that_keeps_to_both(self):
      library = self.build("#include <stdio.h>\n" + GOOD + "int third(void) { return getchar(); }", MAP)
      self.assertEqual(self.exports(library), [])
      self.assertEqual(self.needs(library), [])

   def test_a_name_that_is_not_in_the_list(self):
      library = self.bare(GOOD + "int third(void) { return 3; }", "ZEROVAAPI_1 { *; };")
      self.assertEqual(self.exports(library), ["third is exported and not in the list"])

   def test_a_name_that_is_missing(self):
      library = self.bare("int first(void) { return 1; }", "ZEROVAAPI_1 { global: first; local: *; };")
      self.assertEqual(self.exports(library), ["second is in the list and 0 times exported"])

   def test_a_name_under_another_version(self):
      library = self.bare(GOOD, "ZEROVAAPI_1 { global: first; local: *; }; ZEROVAAPI_2 { second; };")
      self.assertIn("second is exported under ZEROVAAPI_2, not ZEROVAAPI_1", self.exports(library))

   def test_a_name_without_a_version(self):
      library = self.bare(GOOD, "{ global: first; second; local: *; };")
      self.assertEqual(self.exports(library), [
         "first is exported under no version, not ZEROVAAPI_1",
         "second is exported under no version, not ZEROVAAPI_1"])

   def test_a_name_that_is_weak(self):
      library = self.bare(GOOD.replace("int first", "__attribute__((weak)) int first"), MAP)
      self.assertEqual(self.exports(library), ["first is exported as WEAK FUNC"])

   def test_a_name_that_is_unique(self):
      unique = r'__asm__(".data\n.globl first\n.type first, @gnu_unique_object\nfirst: .long 0\n.text");'
      library = self.bare(GOOD.replace("int first(void) { return 1; }", unique), MAP)
      self.assertEqual(self.exports(library), ["first is exported as UNIQUE OBJECT"])

   def test_a_library_that_is_not_of_the_runtime(self):
      library = self.needing("OTHER_1", "libother.so.1")
      self.assertEqual(self.needs(library), [
         "OTHER_1 of libother.so.1 is needed", "libother.so.1 is needed", "other is of libother.so.1"])

   def test_a_symbol_that_whoever_has_it_may_give(self):
      library = self.bare("int other(void); int first(void) { return other(); }", MAP)
      self.assertEqual(self.needs(library), ["other is of no library"])

   def test_a_weak_symbol_that_is_not_the_compilers(self):
      library = self.bare("__attribute__((weak)) int other(void); int first(void) { return other && other(); }", MAP)
      self.assertEqual(self.needs(library), ["other is of no library"])

   def test_a_symbol_of_the_compilers_that_is_not_weak(self):
      library = self.bare("int __gmon_start__(void); int first(void) { return __gmon_start__(); }", MAP)
      self.assertEqual(self.needs(library), ["__gmon_start__ is of no library"])

   def test_versions_that_are_too_new(self):
      for version, file in [
            ("GLIBC_2.35", "libc.so.6"), ("GLIBC_2.100", "libm.so.6"), ("GLIBC_3", "libc.so.6"),
            ("GLIBC_2.34.1", "libc.so.6"), ("GLIBC_PRIVATE", "libc.so.6"), ("GLIBC_ABI_DT_RELR", "libc.so.6"),
            ("GLIBCXX_3.4.31", "libstdc++.so.6"), ("CXXABI_1.3.14", "libstdc++.so.6"),
            ("GCC_13.0.0", "libgcc_s.so.1"), ("OTHER_1", "libc.so.6")]:
         with self.subTest(version):
            self.assertEqual(self.needs(self.needing(version, file)), [f"{version} of {file} is needed"])

   def test_versions_that_are_old_enough(self):
      for version, file in [
            ("GLIBC_2.34", "libc.so.6"), ("GLIBC_2.9", "libc.so.6"), ("GLIBC_2.2.5", "ld-linux-x86-64.so.2"),
            ("GLIBCXX_3.4.30", "libstdc++.so.6"), ("GLIBCXX_3.4.9", "libstdc++.so.6"), ("GCC_3.0", "libgcc_s.so.1")]:
         with self.subTest(version):
            self.assertEqual(self.needs(self.needing(version, file)), [])

   def work(self, source, *options):
      return check_library.work_of_load(self.bare(source, MAP, *options))

   def test_each_pointer_is_a_relocation(self):
      without = self.work("int first(void) { return 1; }")
      self.assertEqual(without["relocations"], 0)
      table = self.work("static int x; int* const table[] = {&x, &x, &x}; void* first(void) { return (void*)table; }")
      self.assertEqual((table["relocations"], table["relocations by name"]), (3, 0))

   def test_each_function_of_another_library_is_a_relocation_by_name(self):
      called = self.work("int a(void); int b(void); int first(void) { return a() + b(); }")
      self.assertEqual((called["relocations"], called["relocations by name"]), (2, 2))

   def test_each_constructor_is_an_initialiser(self):
      constructor = "__attribute__((constructor)) static void {}(void) {{ __asm__(\"\"); }}"
      work = self.work("".join(map(constructor.format, "abc")))
      self.assertEqual(work["initialisers"], 3)

   def test_data_and_what_is_not_in_the_file_can_be_written_to(self):
      work = self.work("char data[3000] = {1}; char empty[5000]; char* first(void) { return data + empty[0]; }")
      self.assertGreaterEqual(work["bytes that can be written to"], 8000)
      self.assertLess(work["bytes that can be written to"], 9000)

   def test_more_work_at_load_than_there_must_be(self):
      library = self.bare(
         "static int x; int* const table[3000] = {[0 ... 2999] = &x}; void* first(void) { return (void*)table; }", MAP)
      self.assertEqual(list(check_library.faults_of_load(library)), ["3000 relocations, and not at most 2050"])

   def test_what_is_no_library_is_refused(self):
      (self.folder / "text").write_text("no library", encoding="utf-8")
      with self.assertRaises(subprocess.CalledProcessError):
         self.exports(self.folder / "text")


if __name__ == "__main__":
   unittest.main()
