"""Turns one of our documents into the text of a manual page.

It knows what the documents use: headings, paragraphs, lists, tables, fenced and indented blocks, and of marks inside a
line those of code, stress and links. A picture is left out, and so are comments.
"""

import re
from typing import Callable, Iterator, List

ITEM = re.compile(r"(-|\d+\.) +")
INLINE = re.compile(r"`([^`]+)`|\*\*([^*]+)\*\*|(!?)\[([^\]]*)\]\(([^)]*)\)")


def escaped(text: str) -> str:
   """A line that shows each character as it is."""
   text = text.replace("\\", r"\e").replace("-", r"\-").replace("'", r"\(aq").replace("`", r"\(ga")
   text = text.replace("^", r"\(ha").replace("~", r"\(ti").replace("─", "-")
   return r"\&" + text if text[:1] == "." else text


def inline(text: str) -> str:
   """A line with its marks as fonts. Of a link the words stay."""
   shown, end = [], 0
   for mark in INLINE.finditer(text):
      shown.append(escaped(text[end:mark.start()]))
      end = mark.end()
      if mark[1] is not None:
         shown.append(rf"\fB{escaped(mark[1])}\fP")
      elif mark[2] is not None:
         shown.append(rf"\fI{escaped(mark[2].replace('`', ''))}\fP")
      elif not mark[3]:
         shown.append(inline(mark[4]))
   line = "".join(shown) + escaped(text[end:])
   return line[2:] if line.startswith(r"\&") and shown and shown[0] else line


def as_written(lines: List[str]) -> Iterator[str]:
   yield ".PP"
   yield ".in +4n"
   yield ".nf"
   for line in lines:
      yield escaped(line) or r"\&"
   yield ".fi"
   yield ".in"


def cells(row: str) -> List[str]:
   row = row.replace(r"\|", "\0")
   return [cell.strip().replace("\0", "|") for cell in row.strip().strip("|").split("|")]


def table(lines: List[str]) -> Iterator[str]:
   """A row becomes an item with its first cell as the name."""
   titles = cells(lines[0])
   for row in lines[2:]:
      first, *others = cells(row)
      yield ".TP"
      yield inline(first) or r"\&"
      told = [(title, cell) for title, cell in zip(titles[1:], others) if cell]
      for number, (title, cell) in enumerate(told):
         if number:
            yield ".br"
         yield (f"{escaped(title)}: " if title and len(others) > 1 else "") + inline(cell)
      if not told:
         yield r"\&"


def body(document: str) -> Iterator[str]:
   """The lines of the page behind its title."""
   lines = re.sub(r"<!--.*?-->\n?", "", document, flags=re.S).splitlines()[1:]
   at = 0

   def run_of(belongs: Callable[[str], bool]) -> List[str]:
      nonlocal at
      begin = at
      while at < len(lines) and belongs(lines[at]):
         at += 1
      return lines[begin:at]

   def is_text(line: str) -> bool:
      return bool(line) and not line.startswith(("#", "|", "```")) and not ITEM.match(line)

   while at < len(lines):
      line = lines[at]
      if not line.strip():
         at += 1
      elif line.startswith("#"):
         level, heading = line.split(" ", 1)
         yield f'.{"SH" if level == "##" else "SS"} "{inline(heading)}"'
         at += 1
      elif line.startswith("```"):
         at += 1
         yield from as_written(run_of(lambda line: not line.startswith("```")))
         at += 1
      elif line.startswith("|"):
         yield from table(run_of(lambda line: line.startswith("|")))
      elif line.startswith("    "):
         yield from as_written([line[4:] for line in run_of(lambda line: line.startswith("    "))])
      elif mark := ITEM.match(line):
         text = [line[mark.end():]]
         at += 1
         text += run_of(lambda line: line.startswith("  ") or is_text(line))
         yield rf".IP {escaped(mark[1]) if mark[1] != '-' else chr(92) + '(bu'} 3"
         yield inline(" ".join(part.strip() for part in text))
      else:
         words = inline(" ".join(run_of(is_text)))
         if words:
            yield ".PP"
            yield words


def page(document: str, name: str, version: str) -> str:
   title = document.splitlines()[0].lstrip("# ")
   text = [rf'.TH {name.upper()} 7 "" "zerovaapi {version}" "Signal routing"', ".SH NAME",
           rf"{escaped(name)} \- {escaped(title)}"]
   pages = list(body(document))
   if not pages[0].startswith(".SH"):
      text.append(".SH DESCRIPTION")
      pages = pages[1:] if pages[0] == ".PP" else pages
   return "\n".join([*text, *pages, ".SH SEE ALSO", ".BR zerovaapi (7)", ""])
