"""The wheel: made of an installed library, installed into an environment of its own, and used there."""

import os
import pathlib
import re
import subprocess
import sys
import unittest
import zipfile

from services import BUILD, ROOT, Simulator, scratch

sys.path.insert(0, str(ROOT / "tests/exports"))
import check_library  # noqa: E402  pylint: disable=wrong-import-position

BACKEND = ROOT / "python/build_backend.py"
USE = """
import zerovaapi
with zerovaapi.Session() as session:
   print(zerovaapi.LIBRARY_PATH, len(session.devices()))
print(zerovaapi.Translator().describe(-89168, "de"))
"""


def must(*command, **variables):
   environment = {name: value for name, value in os.environ.items() if not name.startswith(("PYTHON", "ZEROVA"))}
   outcome = subprocess.run([str(word) for word in command], env={**environment, **variables}, capture_output=True,
                            text=True, check=False)
   if outcome.returncode != 0:
      raise AssertionError(f"{command} ended with {outcome.returncode}:\n{outcome.stdout}{outcome.stderr}")
   return outcome.stdout


class Wheel(unittest.TestCase):
   @classmethod
   def setUpClass(cls):
      cls.scratch = scratch(cls, cls.addClassCleanup)
      cls.prefix = cls.scratch / "prefix"
      must("cmake", "--install", BUILD, "--strip", "--component", "runtime", "--prefix", cls.prefix)
      cls.wheel = cls.make("wheels", cls.prefix)
      must(sys.executable, "-m", "venv", cls.scratch / "environment")

   @classmethod
   def make(cls, folder, *prefix, **variables):
      name = must(sys.executable, "-B", BACKEND, cls.scratch / folder, *prefix, **variables).strip()
      return cls.scratch / folder / name

   def environment(self, wheel):
      """An interpreter that has the wheel, which was installed without a network, and nothing else."""
      folder = self.scratch / "environment/bin"
      must(folder / "pip", "--disable-pip-version-check", "install", "--no-index", "--force-reinstall", wheel)
      return folder / "python"

   def test_works_in_an_environment_without_anything_else(self):
      python = self.environment(self.wheel)
      with Simulator():
         path, devices, sentence = must(python, "-I", "-W", "error", "-c", USE).split(maxsplit=2)
      self.assertEqual(pathlib.Path(path).relative_to(python.parents[1]).name, "libzerovaapi.so.1")
      self.assertEqual(devices, "5")
      self.assertRegex(sentence, "Dienst")

   def test_without_a_library_uses_the_one_that_is_named(self):
      wheel = self.make("pure")
      self.assertTrue(wheel.name.endswith("-py3-none-any.whl"))
      python = self.environment(wheel)
      with Simulator():
         named = str(BUILD / "libzerovaapi.so")
         self.assertEqual(must(python, "-c", USE, ZEROVAAPI_LIBRARY=named).split()[:2], [named, "5"])

   def test_is_what_the_tools_of_the_language_make_too(self):
      made = scratch(self)
      must(self.scratch / "environment/bin/pip", "--disable-pip-version-check", "wheel", "--no-index", "--no-deps",
           "--wheel-dir", made, "--config-settings", f"prefix={self.prefix}", ROOT / "python", PYTHONDONTWRITEBYTECODE="1")
      self.assertEqual((made / self.wheel.name).read_bytes(), self.wheel.read_bytes())

   def test_says_which_linux_it_needs(self):
      needed = check_library.versions(str(BUILD / "libzerovaapi.so"))
      glibc = max(tuple(map(int, name[6:].split("."))) for _, name in needed.values() if name.startswith("GLIBC_"))
      self.assertIn(f"-py3-none-manylinux_{glibc[0]}_{glibc[1]}_{os.uname().machine}.whl", self.wheel.name)

   def test_has_the_same_bytes_whenever_it_is_made(self):
      for date in ({}, {"SOURCE_DATE_EPOCH": "1700000000"}):
         first, second = (self.make(folder, self.prefix, **date).read_bytes() for folder in ("first", "second"))
         self.assertEqual(first, second)

   def test_lists_what_it_holds(self):
      with zipfile.ZipFile(self.wheel) as wheel:
         names = wheel.namelist()
         record = next(name for name in names if name.endswith("/RECORD"))
         listed = [line.split(",")[0] for line in wheel.read(record).decode().splitlines()]
      self.assertEqual(listed, names)
      self.assertLessEqual({"zerovaapi/py.typed", "zerovaapi/third-party.md", "zerovaapi/libzerovaapi.so.1",
                            "zerovaapi/texts/zerova/German/zerova.err"}, set(names))

   def test_is_not_made_of_a_prefix_without_a_library(self):
      with self.assertRaisesRegex(AssertionError, "holds libzerovaapi.so.1 0 times"):
         self.make("none", scratch(self))

   def test_has_the_version_of_the_library(self):
      version = re.search(r"project\(zerovaapi VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text(encoding="utf-8"))[1]
      self.assertTrue(self.wheel.name.startswith(f"zerovaapi-{version}-"))


if __name__ == "__main__":
   unittest.main()
