#!/usr/bin/env python3
"""Compares the tests that a build has with all that the tree has, and with the record of those that
one system alone can run.

   one_system.py TESTS_FOLDER SYSTEM PAIRS BUILT_TESTS_FOLDER

SYSTEM is linux or windows. PAIRS names the programs of the build with their sources, a pair in a
line. Prints what does not run here, with the reason for each, and ends with 1 on a difference.
"""

import fnmatch
import re
import sys
from pathlib import Path
from typing import Iterator, NamedTuple

RECORD = "one_system.txt"
SYSTEMS = ("linux", "windows", "both", "neither")
TEST = re.compile(r"^(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\)", re.MULTILINE)
SCRIPTS = ("*_test.py", "*_test.sh")


class Entry(NamedTuple):
   system: str
   reason: str
   program: str  # "ctest": a name, or a pattern of names, that CTest knows; empty: a file or a folder
   what: str


class RecordError(Exception):
   pass


def read_record(text: str) -> Iterator[Entry]:
   system = reason = ""
   for line in text.splitlines():
      heading = re.fullmatch(r"(\w+): (.+)", line)
      entry = re.fullmatch(r"   (?:(\S+) )?(\S+)", line)
      if not line or line.startswith("#"):
         continue
      if re.search(r"[;\[\]]", line):
         raise RecordError(f"a character that the build cannot read: {line}")
      if heading and heading[1] in SYSTEMS:
         system, reason = heading[1], heading[2]
      elif entry and system:
         yield Entry(system, reason, entry[1] or "", entry[2])
      else:
         raise RecordError(f"neither a heading nor an entry: {line}")


def tests_in(source: Path) -> list[str]:
   if source.suffix not in (".cpp", ".c"):
      return []
   return [f"{suite}.{name}" for suite, name in TEST.findall(source.read_text(encoding="utf-8"))]


def test_files(folder: Path) -> Iterator[str]:
   """All that hold tests, by their names below the folder."""
   for source in sorted(folder.rglob("*.cpp")):
      if tests_in(source):
         yield source.relative_to(folder).as_posix()
   for pattern in SCRIPTS:
      for script in sorted(folder.rglob(pattern)):
         yield script.relative_to(folder).as_posix()


def names_of_ctest(built: Path) -> tuple[set[str], str]:
   """The tests that are no program of GoogleTest, which it finds by itself, and all commands."""
   text = "\n".join(file.read_text(encoding="utf-8") for file in sorted(built.rglob("CTestTestfile.cmake")))
   names = re.findall(r'^add_test\((?:\[=\[(.*?)\]=\]|"([^"]+)"|(\S+)) ', text, re.MULTILINE)
   return {"".join(name) for name in names}, text


def is_below(file: str, entry: str) -> bool:
   return file == entry or (entry.endswith("/") and file.startswith(entry))


def bare(test: str) -> str:
   """Without what a suite of parameters puts around it."""
   suite, _, name = test.partition(".")
   return suite.rpartition("/")[2] + "." + name.partition("/")[0]


class Check:
   def __init__(self, folder: Path, system: str, pairs: list[tuple[str, str]], built: Path) -> None:
      self.folder = folder
      self.system = system
      self.pairs = pairs
      self.built = built
      self.faults: list[str] = []
      self.entries = list(read_record((folder / RECORD).read_text(encoding="utf-8")))

   def run(self) -> list[str]:
      self.compare_files()
      self.compare_single_tests()
      self.compare_ctest()
      return self.faults

   def of_other(self, entry: Entry) -> bool:
      return entry.system not in (self.system, "both")

   def compare_files(self) -> None:
      commands = names_of_ctest(self.built)[1]
      here = {source for _, source in self.pairs}
      files = list(test_files(self.folder))
      entries = [entry for entry in self.entries if not entry.program]
      for file in files:
         runs = file in here or f"/{file}\"" in commands
         found = [entry for entry in entries if is_below(file, entry.what)]
         excused = any(self.of_other(entry) for entry in found)
         if runs == excused:
            self.faults.append(f"{file}: " + ("runs here, though the record gives it to the other system"
                                              if runs else "does not run here, and the record does not say why"))
         if len(found) > 1:
            self.faults.append(f"{file}: is in the record more than once")
         if not runs and found:
            tests = tests_in(self.folder / file)
            print(f"not on {self.system}: {file}: {found[0].reason}")
            for test in tests:
               print(f"   {test}")
      for entry in entries:
         if not any(is_below(file, entry.what) for file in files):
            self.faults.append(f"{entry.what}: is in the record, and no such tests are there")

   def compare_single_tests(self) -> None:
      for entry in self.entries:
         if entry.program in ("", "ctest"):
            continue
         sources = [source for program, source in self.pairs if program == entry.program]
         known = {test for source in sources for test in tests_in(self.folder / source)}
         if bare(entry.what) not in known:
            self.faults.append(f"{entry.program} {entry.what}: is in the record, and no such test is there")
         elif self.of_other(entry):
            print(f"not on {self.system}: {entry.program} {entry.what}: {entry.reason}")

   def compare_ctest(self) -> None:
      programs = {program for program, _ in self.pairs}
      names = {name for name in names_of_ctest(self.built)[0] if name not in programs}
      entries = [entry for entry in self.entries if entry.program == "ctest"]
      for name in sorted(names):
         if not any(fnmatch.fnmatchcase(name, e.what) for e in entries if not self.of_other(e)):
            self.faults.append(f"{name}: CTest runs it, and the record does not say on which systems")
      for entry in entries:
         if self.of_other(entry):
            print(f"not on {self.system}: {entry.what}: {entry.reason}")
         elif not fnmatch.filter(names, entry.what):
            self.faults.append(f"{entry.what}: is in the record for this system, and CTest has no such test")


def main() -> int:
   folder, system, pairs, built = sys.argv[1:]
   lines = Path(pairs).read_text(encoding="utf-8").splitlines()
   told = [tuple(line.split(" ", 1)) for line in lines if line]
   try:
      faults = Check(Path(folder), system, [(pair[0], pair[1]) for pair in told], Path(built)).run()
   except RecordError as error:
      faults = [str(error)]
   for fault in faults:
      print(f"{folder}/{RECORD}: {fault}", file=sys.stderr)
   return 1 if faults else 0


if __name__ == "__main__":
   sys.exit(main())
