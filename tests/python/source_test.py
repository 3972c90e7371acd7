"""The package's own text: what language it is in, and how it is typed."""

import ast
import os
import subprocess
import sys
import unittest

from services import ROOT, scratch

PACKAGE = ROOT / "python/zerovaapi"
OLDEST = (3, 9)


def sources():
   return sorted((ROOT / "python").rglob("*.py"))


class Source(unittest.TestCase):
   def test_is_of_the_oldest_language_that_is_promised(self):
      self.assertGreater(len(sources()), 10)
      for source in sources():
         ast.parse(source.read_text(encoding="utf-8"), str(source), feature_version=OLDEST)

   def test_needs_no_other_package(self):
      for source in PACKAGE.glob("*.py"):
         for node in ast.walk(ast.parse(source.read_text(encoding="utf-8"))):
            names = ([alias.name for alias in node.names] if isinstance(node, ast.Import) else
                     [node.module] if isinstance(node, ast.ImportFrom) and node.level == 0 else [])
            for name in names:
               self.assertIn(name.partition(".")[0], sys.stdlib_module_names, source)

   def test_is_typed_without_a_gap(self):
      self.assertTrue((PACKAGE / "py.typed").is_file())
      outcome = self.mypy(*sources())
      self.assertEqual(outcome.returncode, 0, outcome.stdout)

   def test_tells_a_checker_of_a_wrong_use(self):
      use = scratch(self) / "use.py"
      use.write_text("import zerovaapi\nzerovaapi.Session(hosts='a').devices() + 1\n", encoding="utf-8")
      outcome = self.mypy(use, MYPYPATH=str(ROOT / "python"))
      self.assertRegex(outcome.stdout, r'(?s)Unexpected keyword argument "hosts".*"__add__" of "list"')

   def mypy(self, *files, **variables):
      command = [os.environ["MYPY"], "--strict", f"--python-version={OLDEST[0]}.{OLDEST[1]}",
                 f"--cache-dir={scratch(self)}", *files]
      return subprocess.run(command, env={**os.environ, **variables}, capture_output=True, text=True, check=False)


if __name__ == "__main__":
   unittest.main()
