"""The pictures of the documents are drawn from their texts."""

import pathlib
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "docs"))
import draw_picture  # noqa: E402

BEGIN = "columns 100 100\nrows 2\nbox a 1 1-2 A\nbox b 2 1 B\n"


class Pictures(unittest.TestCase):
   def test_each_is_the_one_that_its_text_gives(self):
      texts = sorted((ROOT / "docs").glob("*.txt"))
      self.assertTrue(texts)
      for text in texts:
         with self.subTest(text.name):
            self.assertEqual(
               draw_picture.draw(text.read_text(encoding="utf-8")),
               text.with_suffix(".svg").read_text(encoding="utf-8"),
               "drawn anew by: cmake --build --preset test --target pictures")

   def test_line_that_cannot_be_drawn_is_named(self):
      for line in ("circle a 1 1 A", "box c 3 1 C", "box c 1 2-3 C", "arrow a c 1 to", "arrow a b 3 to", "box c",
                   "gap wide", "cells 3 9 A", "cells 1 A"):
         with self.subTest(line), self.assertRaisesRegex(draw_picture.Fault, f"^line 5 cannot be drawn: {line}$"):
            draw_picture.draw(BEGIN + line)

   def test_cells_stand_side_by_side_and_widen_the_picture(self):
      drawn = draw_picture.draw(BEGIN + "cells 2 200 A ; 300 B | below")
      self.assertIn('x="24" y="150" width="200"', drawn)
      self.assertIn('x="224" y="150" width="300"', drawn)
      self.assertIn('width="548"', drawn)

   def test_gap_is_as_wide_as_it_is_said(self):
      self.assertIn('x="424" ', draw_picture.draw("columns 100 100\nrows 1\ngap 300\nbox b 2 1 B\n"))

   def test_words_are_shown_as_they_are(self):
      self.assertIn(">A &lt;b&gt; &amp; c<", draw_picture.draw(BEGIN + "box c 2 2 A <b> & c"))


if __name__ == "__main__":
   unittest.main()
