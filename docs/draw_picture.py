"""Draws a picture of boxes in columns and rows.

Usage: draw_picture.py PICTURE.txt PICTURE.svg

The lines of a picture's text, in any order but for the first two, and gap before what it holds for:
   columns WIDTH...                    how wide each is
   rows COUNT
   box NAME COLUMN ROWS TITLE | LINE   ROWS is 2 or 1-3
   frame COLUMN ROWS TITLE             around the boxes there
   arrow FROM TO ROW LABEL             between boxes of neighbouring columns
   gap WIDTH                           between columns, in place of 130
   cells ROW CELL ; CELL ...           side by side; a CELL is WIDTH TITLE | LINE
   # for those who read the text
"""

import html
import pathlib
import sys

GAP = 130  # between columns: room for the label of an arrow
ROW, SPACE = 84, 22
MARGIN, TOP = 24, 44
LINE = 18

HEAD = """<svg xmlns="http://www.w3.org/2000/svg" width="{0}" height="{1}" viewBox="0 0 {0} {1}" role="img">
<title>{2}</title>
<style>
text {{ font: 13px sans-serif; text-anchor: middle; fill: #1f2933 }}
.title {{ font-weight: bold; font-size: 14px }}
.label {{ font-size: 12px; fill: #52606d }}
rect {{ fill: #ffffff; stroke: #52606d; rx: 6px }}
.ground {{ fill: #f5f7fa; stroke: none }}
.frame {{ fill: #dceefb; stroke: #2186eb; stroke-dasharray: 5 4 }}
.arrow {{ stroke: #52606d; stroke-width: 1.5; marker-end: url(#tip) }}
</style>
<defs><marker id="tip" markerWidth="9" markerHeight="8" refX="8" refY="4" orient="auto">
<path d="M0 0 L9 4 L0 8 z" fill="#52606d"/></marker></defs>
<rect class="ground" width="{0}" height="{1}"/>"""


class Fault(Exception):
   """What is wrong with the text of a picture."""


class Picture:
   def __init__(self):
      self.columns, self.rows, self.gap, self.widest = [], 0, GAP, 0
      self.boxes = {}
      self.back, self.front = [], []

   def columns_line(self, words):
      self.columns = [int(word) for word in words.split()]

   def gap_line(self, words):
      self.gap = int(words)

   def rows_line(self, words):
      self.rows = int(words)

   def place(self, column, rows):
      """Left, top, width and height."""
      first, _, last = rows.partition("-")
      first, last, column = int(first), int(last or first), int(column)
      if not (1 <= first <= last <= self.rows and 1 <= column <= len(self.columns)):
         raise ValueError
      left = MARGIN + sum(self.columns[:column - 1]) + self.gap * (column - 1)
      height = (last - first + 1) * (ROW + SPACE) - SPACE
      return left, TOP + (first - 1) * (ROW + SPACE), self.columns[column - 1], height

   def frame_line(self, words):
      column, rows, title = words.split(maxsplit=2)
      left, top, width, height = self.place(column, rows)
      self.back.append(f'<rect class="frame" x="{left - 12}" y="{top - 28}" '
                       f'width="{width + 24}" height="{height + 40}"/>')
      self.back.append(text(left + width / 2, top - 9, "title", title))

   def box_line(self, words):
      name, column, rows, said = words.split(maxsplit=3)
      left, top, width, height = self.boxes[name] = self.place(column, rows)
      self.filled(left, top, width, height, said)

   def filled(self, left, top, width, height, said):
      self.front.append(f'<rect x="{left}" y="{top}" width="{width}" height="{height}"/>')
      lines = [line.strip() for line in said.split("|")]
      y = top + height / 2 - (len(lines) - 1) * LINE / 2 + 5
      for number, line in enumerate(lines):
         self.front.append(text(left + width / 2, y + number * LINE, "label" if number else "title", line))

   def cells_line(self, words):
      row, said = words.split(maxsplit=1)
      left, top, _, height = self.place("1", row)
      for cell in said.split(";"):
         width, inside = cell.split(maxsplit=1)
         self.filled(left, top, int(width), height, inside)
         left += int(width)
      self.widest = max(self.widest, left + MARGIN)

   def arrow_line(self, words):
      source, target, row, label = words.split(maxsplit=3)
      (from_left, _, from_width, _), (to_left, _, to_width, _) = self.boxes[source], self.boxes[target]
      begin, end = from_left + from_width + 2, to_left - 2
      if from_left > to_left:
         begin, end = from_left - 2, to_left + to_width + 2
      y = self.place("1", row)[1] + ROW / 2
      self.front.append(f'<line class="arrow" x1="{begin}" y1="{y:g}" x2="{end}" y2="{y:g}"/>')
      self.front.append(text((begin + end) / 2, y - 7, "label", label))

   def svg(self, title):
      width = max(self.widest, 2 * MARGIN + sum(self.columns) + self.gap * (len(self.columns) - 1))
      height = TOP + self.rows * (ROW + SPACE) - SPACE + MARGIN
      return "\n".join([HEAD.format(width, height, html.escape(title)), *self.back, *self.front, "</svg>\n"])


def text(x, y, kind, words):
   return f'<text class="{kind}" x="{x:g}" y="{y:g}">{html.escape(words)}</text>'


def draw(source):
   picture, title = Picture(), ""
   for number, line in enumerate(source.splitlines(), 1):
      word, _, rest = line.partition(" ")
      if not line.strip():
         continue
      if word == "#":
         title = title or rest.partition(".")[0]
         continue
      try:
         getattr(picture, word + "_line")(rest)
      except (AttributeError, KeyError, ValueError):
         raise Fault(f"line {number} cannot be drawn: {line}") from None
   return picture.svg(title)


def main(arguments):
   if len(arguments) != 2:
      print(__doc__, file=sys.stderr)
      return 2
   source, target = map(pathlib.Path, arguments)
   try:
      target.write_text(draw(source.read_text(encoding="utf-8")), encoding="utf-8")
   except (Fault, OSError, UnicodeDecodeError) as fault:
      print(f"{source}: {fault}", file=sys.stderr)
      return 1
   return 0


if __name__ == "__main__":
   sys.exit(main(sys.argv[1:]))
