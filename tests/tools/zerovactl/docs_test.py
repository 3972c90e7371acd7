"""The page and the manual page: they have what the program has."""

import pathlib
import re
import shutil
import subprocess
import unittest

import bench

ROOT = pathlib.Path(__file__).resolve().parents[3]
PAGE = (ROOT / "docs" / "zerovactl.md").read_text(encoding="utf-8")
MANUAL = (ROOT / "docs" / "man" / "zerovactl.1").read_text(encoding="utf-8").replace("\\-", "-")
COMPLETION = (ROOT / "tools" / "zerovactl" / "completion.bash").read_text(encoding="utf-8")
COMMANDS = ["ping", "devices", "terminals", "route", "release", "uri check", "uri compare", "reset terminal",
            "reset device", "watch", "explain", "settings", "settings check", "trace"]


def options_of(command: str) -> set[str]:
   text = bench.run(*command.split(), "--help").out
   return set(re.findall(r"^  (?:-\w,)?(--[a-z-]+)", text, re.M)) - {"--help"}


class Docs(bench.Case):
   def test_all_commands_are_in_them(self):
      listed = re.findall(r"^  ([a-z]+) ", bench.run("--help").out.split("Subcommands:")[1], re.M)
      self.assertEqual(listed, list(dict.fromkeys(command.split()[0] for command in COMMANDS)))
      for command in COMMANDS:
         with self.subTest(command):
            self.assertIn(f"`{command}", PAGE)
            self.assertIn(command, MANUAL)

   def test_all_options_are_in_the_manual_and_the_completion(self):
      for command in ["", *COMMANDS]:
         options = options_of(command)
         self.assertTrue(options or command)
         for option in options:
            with self.subTest(f"{command} {option}"):
               self.assertRegex(MANUAL, rf"(?<![\w-]){option}(?![\w-])")
               self.assertRegex(COMPLETION, rf"(?<![\w-]){option}(?![\w-])")

   def test_all_exit_statuses_are_in_them(self):
      header = (ROOT / "tools" / "zerovactl" / "exit_status.h").read_text(encoding="utf-8")
      for number in re.findall(r"= (\d+)", header):
         with self.subTest(number):
            self.assertRegex(PAGE, rf"(?m)^\| {number} \|")
            self.assertRegex(MANUAL, rf"(?m)^\.B {number}$")

   def test_manual_page_is_well_formed(self):
      man = shutil.which("man")
      self.assertIsNotNone(man, "install man-db")
      done = subprocess.run([man, "--warnings", "-l", ROOT / "docs" / "man" / "zerovactl.1"], capture_output=True,
                            text=True, env=bench.environment(MAN_KEEP_FORMATTING="0"), check=True)
      self.assertEqual(done.stderr, "")
      self.assertIn("tell each change of terminal information", done.stdout)


if __name__ == "__main__":
   unittest.main()
