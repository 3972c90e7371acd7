"""examples/by_hand.py, the binding that the chapter on other languages shows: it keeps the contract of resize.

by_hand_test.py LIBRARY SIMULATOR: the built ones.
"""

import ctypes
import os
import pathlib
import re
import subprocess
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
EXAMPLE = ROOT / "examples" / "by_hand.py"
LABORATORY = ROOT / "examples" / "benches" / "laboratory.toml"
LIBRARY, SIMULATOR = sys.argv[1:3]
os.environ["ZEROVAAPI"] = LIBRARY
sys.path.insert(0, str(EXAMPLE.parent))
import by_hand  # noqa: E402


class Chapter(unittest.TestCase):
   def test_it_shows_the_program_as_it_is(self):
      page = (ROOT / "docs" / "other-languages.md").read_text(encoding="utf-8")
      shown = re.search(r"<!-- examples/by_hand.py -->\n```python\n(.*?)```", page, re.S)[1]
      self.assertEqual(shown, EXAMPLE.read_text(encoding="utf-8"))

   def test_layout_of_the_record_is_the_one_that_it_tells(self):
      page = (ROOT / "docs" / "other-languages.md").read_text(encoding="utf-8")
      told = re.findall(r"^\| (\d+) \| `(\w+)` \|", page, re.M)
      self.assertEqual(told, [(str(getattr(by_hand.Status, name).offset), name) for name, _ in by_hand.Status._fields_])
      self.assertIn(f"It is {ctypes.sizeof(by_hand.Status)} bytes long", page)


class Resize(unittest.TestCase):
   def setUp(self):
      self.status = by_hand.Status(0, 0, by_hand.resize, None)

   def resize(self, wanted):
      return by_hand.resize(ctypes.pointer(self.status), wanted)

   def buffer(self):
      return ctypes.string_at(self.status.json, self.status.capacity)

   def test_first_buffer_is_an_empty_object_with_the_sentinel(self):
      self.assertTrue(self.resize(4))
      self.assertEqual(self.buffer(), b"{}" + bytes(509) + b"J")

   def test_text_stays_when_the_buffer_grows(self):
      self.resize(4)
      ctypes.memmove(self.status.json, b'{"a":1}', 8)
      self.assertTrue(self.resize(1022))
      self.assertEqual(self.buffer(), b'{"a":1}' + bytes(1024 - 8) + b"J")

   def test_nothing_shrinks_but_to_nothing(self):
      self.resize(1000)
      before = self.status.json
      self.assertTrue(self.resize(10))
      self.assertEqual((self.status.json, self.status.capacity), (before, 1024))
      self.assertTrue(self.resize(0))
      self.assertEqual((self.status.json, self.status.capacity, by_hand.buffers), (None, 0, {}))

   def test_too_much_is_refused_and_changes_nothing(self):
      self.assertFalse(self.resize(0x80000000))
      self.assertEqual((self.status.json, self.status.capacity), (None, 0))


class Program(unittest.TestCase):
   def run_on(self, *hosts):
      return subprocess.run([sys.executable, "-B", EXAMPLE, *hosts], capture_output=True, text=True, check=False)

   def test_it_lists_the_devices_and_shows_the_refusal(self):
      with subprocess.Popen([SIMULATOR, LABORATORY, "--no-local", "--tcp", "own"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                            text=True) as service:
         address = re.search(r"tcp ([\d.]+):", service.stdout.readline())[1]
         told = self.run_on(address)
         service.stdin.close()
      self.assertEqual((told.returncode, told.stderr), (0, ""))
      self.assertEqual(told.stdout.splitlines()[:5], ["matrix1", "scanner2", "timer1", "digitizer3", "lamp4"])
      self.assertIn("refused: -89302 {", told.stdout)

   def test_without_a_service_it_says_so(self):
      told = self.run_on("127.255.255.253")
      self.assertEqual((told.returncode, told.stdout), (1, ""))
      self.assertTrue(told.stderr.startswith('no session: -89168 {"error_constant"'), told.stderr)


if __name__ == "__main__":
   unittest.main(argv=sys.argv[:1])
