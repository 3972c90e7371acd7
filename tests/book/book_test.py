"""The book is whole: every link of it leads somewhere, every export and every code is in it, and it needs no network.

book_test.py FOLDER: the HTML that ./dev docs has made.
"""

import html.parser
import pathlib
import re
import sys
import unittest
import urllib.parse

ROOT = pathlib.Path(__file__).resolve().parents[2]
BOOK = pathlib.Path(sys.argv[1]).resolve()
EXPORTS = (ROOT / "source" / "zerovaapi" / "exports.txt").read_text(encoding="utf-8").split()


class Page(html.parser.HTMLParser):
   def __init__(self, file):
      super().__init__()
      self.ids, self.links, self.loaded, self.text = set(), [], [], ""
      self.feed(file.read_text(encoding="utf-8"))

   def handle_starttag(self, tag, attrs):
      given = dict(attrs)
      self.ids |= {given[name] for name in ("id", "name") if name in given}
      if tag == "a" and given.get("href"):
         self.links.append(given["href"])
      self.loaded += [given[name] for name in ("src", "href") if tag in ("script", "img", "link") and given.get(name)]

   def handle_data(self, data):
      self.text += data


PAGES = {file: Page(file) for file in sorted(BOOK.rglob("*.html"))}


def is_elsewhere(link):
   return bool(urllib.parse.urlsplit(link).scheme)


class Book(unittest.TestCase):
   def test_every_chapter_is_a_page(self):
      for document in (ROOT / "docs").glob("*.md"):
         self.assertIn(BOOK / "docs" / f"{document.stem}.html", PAGES)

   def test_every_link_leads_somewhere(self):
      seen = 0
      for file, page in PAGES.items():
         for link in page.links + page.loaded:
            if is_elsewhere(link):
               continue
            path, _, anchor = link.partition("#")
            led_to = (file.parent / urllib.parse.unquote(path.partition("?")[0])).resolve() if path else file
            seen += 1
            with self.subTest(f"{file.relative_to(BOOK)}: {link}"):
               self.assertTrue(led_to.is_file(), led_to)
               if anchor and led_to in PAGES:
                  self.assertIn(urllib.parse.unquote(anchor), PAGES[led_to].ids)
      self.assertGreater(seen, 1000)

   def test_nothing_is_loaded_from_elsewhere(self):
      for file, page in PAGES.items():
         with self.subTest(file.name):
            self.assertEqual([link for link in page.loaded if is_elsewhere(link) and not link.startswith("data:")], [])

   def test_search_knows_the_functions(self):
      index = (BOOK / "searchindex.js").read_text(encoding="utf-8").lower()
      for name in EXPORTS:
         self.assertIn(name.lower(), index)


class Functions(unittest.TestCase):
   page = (BOOK / "docs" / "functions.html").read_text(encoding="utf-8").replace("<wbr>", "")

   def test_every_export_has_a_row_with_its_thread_rule(self):
      rows = [[re.sub(r"<[^>]+>", "", cell).strip() for cell in re.findall(r"<td.*?</td>", row, re.S)]
              for row in re.findall(r"<tr.*?</tr>", self.page, re.S)]
      rules = {cells[0]: cells[2] for cells in rows if len(cells) == 3 and cells[0] in EXPORTS}
      self.assertEqual(sorted(rules), sorted(EXPORTS))
      self.assertTrue(all("thread" in rule for rule in rules.values()), rules)
      self.assertEqual(rules["zerovaapi_reserveRoute"], "one thread at a time for a session")

   def test_every_export_has_a_section_of_its_own(self):
      self.assertEqual(sorted(re.findall(r"<h3>(\w+)<", self.page)), sorted(EXPORTS))


class PythonPackage(unittest.TestCase):
   page = (BOOK / "docs" / "python-package.html").read_text(encoding="utf-8").replace("<wbr>", "")

   def test_every_class_of_it_has_a_section_of_its_own(self):
      exported = (ROOT / "python" / "zerovaapi" / "__init__.py").read_text(encoding="utf-8")
      names = set(re.findall(r'"(\w+)"', exported.partition("__all__")[2])) - {"LIBRARY_PATH", "Value"}
      self.assertGreater(len(names), 20)
      self.assertEqual(set(re.findall(r"<h2>(\w+)<", self.page)), names)

   def test_methods_have_their_types(self):
      words = re.sub(r"<[^>]+>", "", self.page)
      self.assertIn("calculate(source: str, destination: str, wish: Optional[RouteAttributes]", re.sub(r"\s+", " ", words)
                    .replace("( ", "("))


class Codes(unittest.TestCase):
   def test_every_code_of_the_table_is_in_the_book(self):
      table = (ROOT / "docs" / "status-codes.md").read_text(encoding="utf-8")
      codes = re.findall(r"^\| (-\d+) \|", table, re.M)
      self.assertGreater(len(codes), 8)
      shown = PAGES[BOOK / "docs" / "status-codes.html"].text
      for code in codes:
         self.assertIn(code, shown)


if __name__ == "__main__":
   unittest.main(argv=sys.argv[:1])
