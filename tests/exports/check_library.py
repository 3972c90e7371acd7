"""Holds a built library to what it may export and what it may need.

check_library.py exports LIBRARY LIST: exactly the names in LIST, under the one version node.
check_library.py needs LIBRARY: the runtime of C and C++, no newer than the oldest that we support.
check_library.py load LIBRARY: no more work for the loader, and no more memory written to, than there must be.
"""

import os
import pathlib
import re
import subprocess
import sys

NODE = "ZEROVAAPI_1"

LIBRARIES = {"libc.so.6", "libm.so.6", "libstdc++.so.6", "libgcc_s.so.1"}
LOADER = re.compile(r"ld-linux[\w-]*\.so\.\d+")

# The newest that may be needed. The last two came with the C++ library's.
NEWEST = {"GLIBC": (2, 34), "GLIBCXX": (3, 4, 30), "CXXABI": (1, 3, 13), "GCC": (12, 0, 0)}

# The compiler's start-up code asks whether somebody has them, and goes without.
OPTIONAL = {"_ITM_deregisterTMCloneTable", "_ITM_registerTMCloneTable", "__gmon_start__"}

# A little above what gcc and clang make of it, optimised and not. Most relocations are those of virtual
# tables; those by name cost the look-up. What can be written to is, since relocations lie on all its pages.
MOST = {"relocations": 2050, "relocations by name": 480, "initialisers": 4, "bytes that can be written to": 6 * 4096}

# Number, value, size, type, binding, visibility, section, name, version and its number.
SYMBOL = re.compile(
   r"\s*[1-9]\d*: [0-9a-f]+ +\S+ (\S+) +(\S+) +\S+ +(\S+) ([^@\s]+)(?:(@@?)([^\s]+))?(?: \((\d+)\))?$")


def readelf(option, library):
   result = subprocess.run(
      ["readelf", "--wide", option, library], env={**os.environ, "LC_ALL": "C"},
      capture_output=True, text=True, check=True)
   return result.stdout.splitlines()


def symbols(library):
   lines = readelf("--dyn-syms", library)
   found = [match for match in map(SYMBOL.match, lines) if match]
   # The one without a name comes first and is nobody's.
   announced = re.search(r"contains (\d+) entr", "\n".join(lines))
   if not announced or int(announced[1]) != len(found) + 1:
      raise ValueError(f"the symbol table of {library} cannot be read")
   return [match.groups() for match in found]


def faults_of_exports(library, names):
   exported = []
   for kind, binding, section, name, mark, version, _ in symbols(library):
      if section == "UND":
         continue
      # The version node is an absolute symbol that names itself; no function is absolute.
      if section == "ABS" and name == NODE:
         continue
      exported.append(name)
      if name not in names:
         yield f"{name} is exported and not in the list"
      if (mark, version) != ("@@", NODE):
         yield f"{name} is exported under {version or 'no version'}, not {NODE}"
      if (kind, binding) != ("FUNC", "GLOBAL"):
         yield f"{name} is exported as {binding} {kind}"
   for name in names:
      if exported.count(name) != 1:
         yield f"{name} is in the list and {exported.count(name)} times exported"


def versions(library):
   """The versions that are needed: number, and with it the file and the name."""
   needed, file = {}, None
   for line in readelf("--version-info", library):
      if named := re.search(r"Version: 1  File: (\S+)", line):
         file = named[1]
      elif version := re.search(r"Name: (\S+)  Flags: .*  Version: (\d+)$", line):
         needed[version[2]] = (file, version[1])
   return needed


def is_too_new(version):
   family, _, number = version.partition("_")
   if family not in NEWEST or not re.fullmatch(r"\d+(\.\d+)*", number):
      return True
   return tuple(map(int, number.split("."))) > NEWEST[family]


def is_allowed(file):
   return file in LIBRARIES or LOADER.fullmatch(file)


def faults_of_needs(library):
   for line in readelf("--dynamic", library):
      needed = re.search(r"\(NEEDED\)\s+Shared library: \[(.+)\]", line)
      if needed and not is_allowed(needed[1]):
         yield f"{needed[1]} is needed"
   known = versions(library)
   for file, version in known.values():
      if is_too_new(version):
         yield f"{version} of {file} is needed"
   for _, binding, section, name, _, _, number in symbols(library):
      if section != "UND" or (binding == "WEAK" and not number and name in OPTIONAL):
         continue
      if not number:
         yield f"{name} is of no library"
      elif not is_allowed(known[number][0]):
         yield f"{name} is of {known[number][0]}"


def work_of_load(library):
   fields = [line.split() for line in readelf("--relocs", library)]
   relocations = [line for line in fields if len(line) > 2 and line[2].startswith("R_")]
   # Offset, information, type; then the addend, or the value and the name of a symbol before it.
   by_name = [line for line in relocations if len(line) > 4]
   initialisers = re.search(r"\(INIT_ARRAYSZ\)\s+(\d+) \(bytes\)", "\n".join(readelf("--dynamic", library)))
   segments = re.findall(r"^ +LOAD( +0x[0-9a-f]+){4} 0x([0-9a-f]+) RW", "\n".join(readelf("--segments", library)), re.M)
   return {
      "relocations": len(relocations),
      "relocations by name": len(by_name),
      "initialisers": int(initialisers[1]) // 8 if initialisers else 0,
      "bytes that can be written to": sum(int(size, 16) for _, size in segments),
   }


def faults_of_load(library):
   for what, count in work_of_load(library).items():
      if count > MOST[what]:
         yield f"{count} {what}, and not at most {MOST[what]}"


def main(what, library, *listed):
   if what == "exports":
      names = pathlib.Path(listed[0]).read_text(encoding="utf-8").split()
      faults = list(faults_of_exports(library, names))
   elif what == "load":
      print(", ".join(f"{count} {named}" for named, count in work_of_load(library).items()))
      faults = list(faults_of_load(library))
   else:
      faults = list(faults_of_needs(library))
   print("\n".join(faults) or f"{library} keeps to its {what}")
   return bool(faults)


if __name__ == "__main__":
   sys.exit(main(*sys.argv[1:]))
