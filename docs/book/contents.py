"""The order of the chapters: contents.txt lists them by part, and marks the guides with an asterisk."""

import pathlib
from typing import List, Tuple

CONTENTS = pathlib.Path(__file__).with_name("contents.txt")

Part = Tuple[str, List[pathlib.Path]]


def parts(docs: pathlib.Path) -> List[Part]:
   """The chapters that are there. One that nobody has given a place stands at the end."""
   found: List[Part] = []
   for line in CONTENTS.read_text(encoding="utf-8").splitlines():
      if line.startswith("# "):
         found.append((line[2:], []))
      elif line:
         found[-1][1].append((docs / line.lstrip("* ")).resolve())
   placed = {chapter for _, chapters in found for chapter in chapters}
   found[-1][1].extend(sorted(chapter for chapter in docs.resolve().glob("*.md") if chapter not in placed))
   return [(title, [chapter for chapter in chapters if chapter.is_file()]) for title, chapters in found]


def guides(docs: pathlib.Path) -> List[pathlib.Path]:
   lines = CONTENTS.read_text(encoding="utf-8").splitlines()
   chapters = [docs / line[2:] for line in lines if line.startswith("* ")]
   return [chapter for chapter in chapters if chapter.is_file()]
