"""The program of Windows, under an emulator: pipes, the registry, texts, and how it ends."""

import json
import re
import subprocess
import unittest

import bench

PIPE = r"\\.\pipe\com.zerova"
STATUS = ('{"component":"c","translator_info":{"ordered_data":[{"type":"usage","usage":"kUsageTypeDevice",'
          '"value":"Gerät"}]}}')


class PipeOwner:
   """A process that does something to the service's pipe, until the end of the block."""

   def __init__(self, what: str):
      self.what = what

   def __enter__(self) -> "PipeOwner":
      self.process = bench.start_command(bench.BUILD / "zerovactl_pipe_owner.exe", self.what)
      assert self.process.stdout.readline().strip() == "ready"
      return self

   def __exit__(self, *_):
      self.process.communicate(timeout=bench.SOON)


class Ping(bench.Case):
   def last_two(self, *arguments):
      seen = bench.run("ping", *arguments)
      self.assertEqual((seen.status, seen.err), (3, ""))
      return seen.out.splitlines()[-2:]

   def test_goes_through_all_steps(self):
      with bench.Simulator():
         seen = bench.run("ping", "--count", "3")
      self.assertEqual((seen.status, seen.err), (0, ""))
      lines = seen.out.splitlines()
      self.assertEqual(lines[0], r"library          zerovaapi.dll (1.0.0), endpoints in \\.\pipe")
      self.assertEqual(lines[1], f"endpoint         {PIPE}               there, a pipe")
      self.assertEqual([line[:17].strip() for line in lines],
                       ["library", "endpoint", "connection", "version", "round trips", "ready"])

   def test_pipe_that_is_not_there(self):
      step, hint = self.last_two()
      self.assertRegex(step, rf"^endpoint         {re.escape(PIPE)} +not there   FAILED: .+")
      self.assertEqual(hint, "hint             start the service; if it runs, see its log")

   def test_pipe_that_is_busy(self):
      with PipeOwner("busy"):
         step, hint = self.last_two()
      self.assertEqual(step, f"connection       {PIPE}               no room for 3.0 s   "
                             "FAILED: the service takes no connections")
      self.assertEqual(hint, "hint             it hangs or is overloaded; end it and start it again")

   def test_pipe_that_says_nothing(self):
      with PipeOwner("silent"):
         step, hint = self.last_two()
      self.assertRegex(step, r"^version          1\.0 {31}no answer in 5\.\d s   FAILED: (?!failure).+")
      self.assertEqual(hint, "hint             the service is stopped or hangs; the library itself would wait "
                             "without end")

   def test_service_of_another_machine(self):
      with bench.remote_service() as service:
         seen = bench.run("ping", "--host", service.host)
      self.assertEqual((seen.status, seen.out.splitlines()[-1]), (0, "ready"))

   def test_host_on_which_nobody_listens(self):
      with bench.own_listener(4000) as other:
         host = other.getsockname()[0]
         self.assertRegex(self.last_two("--host", host)[0], rf"^locator          {host}:3580 +no connection   FAILED: .+")

   def test_unknown_host(self):
      self.assertRegex(self.last_two("--host", "no.such.host.invalid")[0], "no address   FAILED: unknown host$")

   def test_as_a_document(self):
      seen = bench.run("ping", "--json")
      self.assertEqual((seen.status, json.loads(seen.out)["ready"]), (3, False))
      self.assertEqual(bench.run("ping", "--quiet").all(), (5, "", ""))


class Texts(bench.Case):
   def test_explanation_is_utf8(self):
      seen = bench.run("explain", "-89168", "--lang", "ja")
      self.assertEqual((seen.status, seen.err), (0, ""))
      self.assertIn("サービス", seen.out)

   def test_command_line_is_taken_whatever_its_letters(self):
      seen = bench.run("explain", STATUS)
      self.assertEqual((seen.status, seen.err), (0, ""))
      self.assertIn("Device  Gerät\n", seen.out)

   def test_file_and_input_are_utf8(self):
      file = self.folder() / "Störung 失敗.json"
      file.write_text(STATUS, encoding="utf-8")
      for seen in (bench.run("explain", f"@{file}"), bench.run("explain", "-", stdin=STATUS)):
         self.assertEqual((seen.status, seen.err), (0, ""))
         self.assertIn("Device  Gerät\n", seen.out)

   def test_simulator_takes_files_of_any_name(self):
      file = self.folder() / "Prüfstand 測定.toml"
      file.write_bytes(bench.LABORATORY.read_bytes())
      picture = file.with_suffix(".dot")
      done = subprocess.run([*bench.EMULATOR, bench.SIMULATOR, file, "--draw", picture], capture_output=True,
                            env=bench.environment(), timeout=bench.SOON, check=False)
      self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"", b""))
      self.assertTrue(picture.read_text(encoding="utf-8").startswith("digraph bench {"))
      self.assertEqual(sorted(path.name for path in file.parent.iterdir()), sorted([file.name, picture.name]))

   def test_lines_end_as_everywhere(self):
      self.assertNotIn("\r", bench.run("explain", "-89168").out)

   def test_check_of_files_finds_what_is_wrong(self):
      folder = self.folder() / "Größe" / "German"
      folder.mkdir(parents=True)
      (folder / "d.ERR").write_bytes(b"")
      seen = bench.run("settings", "check", str(folder))
      self.assertEqual((seen.status, seen.out),
                       (5, "d.ERR: not read: the name must end in .err or .txt in lower case\n"))


class Frame(bench.Case):
   def test_version_names_the_library_and_the_places(self):
      seen = bench.run("--version")
      self.assertEqual((seen.status, seen.err), (0, ""))
      self.assertRegex(seen.out, r"^zerovactl 1\.0\.0, libzerovaapi 1\.0\.0 \([A-Z]:\\.*\\zerovaapi\.dll\), "
                                 r"endpoints \\\\\.\\pipe, settings HKEY_LOCAL_MACHINE\n$")

   def test_settings_tell_their_places_in_the_registry(self):
      seen = bench.run("settings")
      self.assertEqual((seen.status, seen.err), (0, ""))
      self.assertRegex(seen.out, r"(?m)^TRVSHAREDDIR64 +not set +HKEY_LOCAL_MACHINE\\SOFTWARE\\Trevanta\\Common\\"
                                 r"Installer\\TRVSHAREDDIR64$")
      self.assertRegex(seen.out, r"(?m)^own texts +\S.*; English \d+ files?, ")

   def test_wrong_use_is_a_sentence_and_status_2(self):
      self.assertEqual(bench.run("devcies").all(),
                       (2, "", 'zerovactl: "devcies" is no command; did you mean "devices"?\n'))

   def test_traces_are_of_the_other_system_but_can_be_read(self):
      self.assertIn("(Linux alone)", bench.run("trace", "--help").out)
      sentence = "zerovactl: traces are made on Linux alone; --read shows one that was recorded there\n"
      self.assertEqual(bench.run("trace", "--listen", "x", "--to", "y").all(), (2, "", sentence))
      self.assertEqual(bench.run("trace", "--", "x").all(), (2, "", sentence))
      file = self.folder() / "bench.trace"
      file.write_bytes(b"zerovactl trace 1\n" + bytes(8) + b"\0\0\0\1\1\0\0\0\0")
      seen = bench.run("trace", "--read", str(file))
      self.assertEqual((seen.status, seen.err), (0, ""))
      self.assertRegex(seen.out, r"^\d\d:00:00\.000  #1  opened\n$")

   def test_service_that_hangs_ends_the_command_in_time(self):
      with PipeOwner("silent"):
         self.assertEqual(bench.run("devices", "--timeout", "0.5").all(),
                          (124, "", "zerovactl: not done within 0.5 s (--timeout)\n"))

   def test_watch_ends_with_its_input(self):
      with bench.remote_service() as service:
         self.assertEqual(bench.run("watch", "--host", service.host).status, 0)


if __name__ == "__main__":
   unittest.main()
