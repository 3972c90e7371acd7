"""Holds a header against the list of exports, each of which it must reach, and against the table of classes of its page,
which must name all that a program may use.

Usage: reach_test.py EXPORTS.txt HEADER PAGE
"""

import pathlib
import re
import sys
from typing import Iterator, List, Tuple

# What the header does itself, as the function's comment tells it: an iterator is an index.
INLINE = {"zerovaapi_TerminalIterator_next"}


def members(kind: str, name: str, body: str) -> Iterator[str]:
   """What a class shows of itself, but for how it is made, compared, converted and printed."""
   if kind.startswith("enum"):
      yield from re.findall(r"^   (\w+)", body, re.M)
      return
   shown = kind == "struct"
   for line in body.splitlines():
      if re.fullmatch(r"\w+:", line):
         shown = line == "public:"
      if not shown or not re.match(r"   \w", line) or re.match(r" +(friend|template)\b", line) or "operator" in line:
         continue
      found = (re.match(r" +(?:class|struct|using) (\w+)", line) or re.search(r"\b(\w+)\(", line)
               or re.search(r"\b(\w+)(?: = .*)?;$", line))
      if found and found[1] != name:
         yield found[1]


def rows(page: str) -> Iterator[Tuple[List[str], List[str]]]:
   """The classes of each row, which are those of the row before where it names none, and the members."""
   table = page[page.index("| Class | Members |"):].partition("\n\n")[0]
   classes: List[str] = []
   for row in table.splitlines()[2:]:
      _, first, second = row.split("|")[:3]
      classes = re.findall(r"`(\w+)`", first) or classes
      yield classes, re.findall(r"`(\w+)`", second)


exports, header, page = (pathlib.Path(name).read_text(encoding="utf-8") for name in sys.argv[1:])
code = re.sub(r"//[^\n]*", "", header)
failures = [f"{name} is not reached" for name in exports.split()
            if name not in INLINE and not re.search(rf"\b{name}\b", code)]

public = re.sub(r"^namespace detail \{$.*?^\} // namespace detail$", "", header, flags=re.M | re.S)
classes = re.findall(r"^(enum class|class|struct) (\w+)[^;\n]*\n\{\n(.*?)^\};$", public, re.M | re.S)
constants = re.findall(r"^inline constexpr \w+ (\w+) =", public, re.M)
table = list(rows(page))
used = [(name, member) for kind, name, body in classes for member in dict.fromkeys(members(kind, name, body))]
named = {(name, member) for names, listed in table for name in names for member in listed}
failures += [f"the page does not name {name}::{member}" for name, member in used if (name, member) not in named]
failures += [f"the page does not name the class {name}" for _, name, _ in classes if name not in dict(named)]
failures += [f"the page does not name {name}" for name in constants if f"`{name}`" not in page]
failures += [f"the page names {name}::{member}, which there is not" for name, member in sorted(named - set(used))]

print("\n".join(failures) or f"all {len(exports.split())} are reached, and {len(used)} members are named")
sys.exit(bool(failures) or len(exports.split()) != 59 or len(classes) < 20 or len(used) < 90)
