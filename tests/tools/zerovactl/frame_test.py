"""What holds for every command: exit statuses, time-outs, terminals, files that are full."""

import json
import os
import pathlib
import signal
import subprocess
import time
import unittest

import bench

HOSTILE = "bad\x1b[31m\x07\u0085name\u202e"


def hostile_service() -> bench.Peer:
   return bench.Peer(bench.answering({"getRoutableDevices": bench.texts(HOSTILE, "Gerät")}))


class WrongUse(bench.Case):
   def test_each_is_a_sentence_and_status_2(self):
      for arguments, sentence in (
            ((), "which command? --help lists them"),
            (("devices", "--nope"), "The following argument was not expected: --nope; --help tells more"),
            (("devcies",), '"devcies" is no command; did you mean "devices"?'),
            (("uri", "chek", "/a/b"), '"chek" is no command of uri; did you mean "check"?'),
            (("frobnicate",), '"frobnicate" is no command; --help lists them'),
            (("devices", "--hots", "x"), '"--hots" is no option of devices; did you mean "--host"?'),
            (("terminals", "timer1", "--atributes", "Name"),
             '"--atributes" is no option of terminals; did you mean "--attributes"?'),
            (("terminals",), "DEVICE is required; --help tells more"),
            (("devices", "--lang", "xx"), '--lang knows en, fr, de, ja, ko and zh, not "xx"'),
            (("devices", "--host", "a", "--immediate"), "--host and --immediate contradict each other: "
             "the endpoint for immediate routes is of this machine alone"),
            (("reset", "device", "d", "--initiate", "--complete"), "--initiate and --complete contradict each "
             "other; without either the reset is initiated and completed"),
            (("watch", "--interval", "soon"), '--interval: "soon" is no time such as 500ms; --help tells more'),
            (("trace",), "trace wants one of --listen NAME, --read FILE and -- COMMAND"),
            (("trace", "--listen", "x"), "trace wants --to NAME, the service to which calls are handed on"),
            (("trace", "--read", "x", "--to", "y"),
             "--read shows what was recorded: --to and --record do not belong to it")):
         with self.subTest(arguments):
            self.assertEqual(bench.run(*arguments).all(), (2, "", f"zerovactl: {sentence}\n"))


class Help(bench.Case):
   def test_goes_to_standard_output_with_examples(self):
      for command in ("ping", "devices", "terminals", "route", "release", "uri check", "uri compare",
                      "reset terminal", "reset device", "watch", "explain", "settings", "settings check", "trace"):
         with self.subTest(command):
            seen = bench.run(*command.split(), "--help")
            self.assertEqual((seen.status, seen.err), (0, ""))
            self.assertIn(f"\n  zerovactl {command.split()[0]}", seen.out)

   def test_version_names_the_library_and_the_folders(self):
      self.assertEqual(bench.run("--version").all(), (
         0, f"zerovactl 1.0.0, libzerovaapi 1.0.0 ({bench.BUILD}/libzerovaapi.so.1), "
            f"endpoints {bench.ENDPOINTS}, settings {bench.SETTINGS}\n", ""))


class Sessions(bench.Case):
   def test_no_session_is_status_3_and_says_how_to_find_the_cause(self):
      with bench.Peer(lambda connection: connection.close()) as peer:
         seen = bench.run("devices", "--host", peer.host)
      self.assertEqual((seen.status, seen.out), (3, ""))
      self.assertRegex(seen.err, r"\Azerovactl: The routing service could not be reached\. .* \(-89168\)\n")
      self.assertRegex(seen.err, rf'\n   "zerovactl ping --host {peer.host}" tells which step fails\n\Z')

   def test_session_that_breaks_is_status_4(self):
      def script(connection):
         bench.receive_call(connection)
         connection.sendall(bench.reply("version"))
         bench.receive_call(connection)
         connection.close()
      with bench.Peer(script) as peer:
         seen = bench.run("devices", "--host", peer.host)
      self.assertEqual((seen.status, seen.out), (4, ""))
      self.assertIn("(-52024)\n   No more data to read.\n", seen.err)

   def test_hung_service_ends_the_command_in_time(self):
      for answered in (0, 1):
         def script(connection, count=answered):
            for _ in range(count):
               connection.sendall(bench.reply(bench.receive_call(connection)[0]))
            connection.recv(4096)
            connection.recv(4096)
         with self.subTest(answered), bench.Peer(script) as peer:
            seen = bench.run("devices", "--host", peer.host, "--timeout", "0.5")
            self.assertEqual(seen.all(), (124, "", "zerovactl: not done within 0.5 s (--timeout)\n"))

   def test_locator_that_is_silent_ends_the_command_in_time(self):
      with bench.Peer(locator=False) as peer:
         self.assertEqual(bench.run("devices", "--host", peer.host, "--timeout", "0.5").status, 124)

   def test_reader_that_does_not_read_ends_the_command_in_time(self):
      many = bench.texts(*(f"device{i}" for i in range(50000)))
      with bench.Peer(bench.answering({"getRoutableDevices": many})) as peer:
         with bench.start("devices", "--host", peer.host, "--timeout", "0.5") as process:
            self.assertEqual(process.wait(bench.SOON), 124)


   def test_standard_error_that_nobody_reads_ends_the_command_in_time(self):
      reader, writer = os.pipe()
      os.set_blocking(writer, False)
      while True:
         try:
            os.write(writer, bytes(65536))
         except BlockingIOError:
            break
      os.set_blocking(writer, True)
      self.addCleanup(os.close, reader)
      with bench.Peer(lambda connection: connection.close()) as peer:
         done = subprocess.run([*bench.COMMAND, "explain", "@/no/such", "--timeout", "0.5"], stderr=writer,
                               stdout=subprocess.PIPE, env=bench.environment(), timeout=bench.SOON, check=False)
      os.close(writer)
      self.assertEqual((done.returncode, done.stdout), (124, b""))


class Document(bench.Case):
   """With --json a failure is one document, too; the sentence for people goes to standard error."""

   def failure(self, *arguments):
      seen = bench.run(*arguments, "--json")
      document = json.loads(seen.out)
      self.assertEqual(list(document), ["failure"])
      self.assertEqual(seen.out.count("\n"), 1)
      self.assertEqual(document["failure"]["status"], seen.status)
      self.assertEqual(seen.err, "zerovactl: " + document["failure"]["text"] + "\n")
      return document["failure"]

   def test_of_wrong_use_is_one(self):
      self.assertEqual(self.failure("devcies")["status"], 2)
      self.assertEqual(self.failure("release")["status"], 2)

   def test_of_a_refusal_has_its_code(self):
      refusing = bench.answering({"getRoutableDevices": bench.refusal(-89301, "{}")})
      with bench.Peer(refusing) as peer:
         failure = self.failure("devices", "--host", peer.host)
      self.assertEqual((failure["status"], failure["code"]), (1, -89301))

   def test_of_no_session_has_its_code(self):
      with bench.Peer(lambda connection: connection.close()) as peer:
         failure = self.failure("devices", "--host", peer.host)
      self.assertEqual((failure["status"], failure["code"]), (3, -89168))

   def test_of_a_file_that_cannot_be_read_is_one(self):
      self.assertEqual(self.failure("explain", "-89168", "@/no/such")["status"], 1)

   def test_of_time_that_ran_out_is_one(self):
      with bench.Peer(locator=False) as peer:
         self.assertEqual(self.failure("devices", "--host", peer.host, "--timeout", "0.5")["status"], 124)


class CtrlC(bench.Case):
   @staticmethod
   def is_in_use(host):
      seen = bench.run("terminals", "timer1", "--attributes", "Name,InUse", "--json", "--host", host)
      return {"Name": "/timer1/osc", "InUse": True} in json.loads(seen.out)["terminals"]

   def test_destroys_a_held_route(self):
      with bench.remote_service() as service, bench.start(
            "route", "/timer1/osc", "/digitizer3/refclk", "--program", "--hold", "--host", service.host) as held:
         self.assertEqual(held.stderr.readline(), "zerovactl: held; Ctrl-C ends it\n")
         self.assertTrue(self.is_in_use(service.host))
         held.send_signal(signal.SIGINT)
         out, err = held.communicate(timeout=bench.SOON)
         self.assertEqual((held.returncode, err), (130, ""))
         self.assertRegex(out.splitlines()[-1], r"^route \d+ destroyed$")
         self.assertFalse(self.is_in_use(service.host))


class Writing(bench.Case):
   def test_standard_output_that_is_closed_is_told_and_no_connection_takes_its_place(self):
      with bench.remote_service() as service:
         done = subprocess.run(["bash", "-c", 'exec "$@" >&-', "bash", *bench.COMMAND, "watch", "--count", "1",
                                "--host", service.host], stderr=subprocess.PIPE, env=bench.environment(), text=True,
                               timeout=bench.SOON, check=False)
      self.assertEqual((done.returncode, done.stderr),
                       (1, "zerovactl: standard output cannot be written: Bad file descriptor\n"))

   def test_one_cell_that_is_endless_does_not_widen_the_others(self):
      def container(*names):
         def attribute(name):
            return b"\x08\x00\x01\x00\x00\x00\x01\x0b\x00\x02" + bench.text(name) + b"\0"
         maps = b"".join(b"\x0b\x0c\x00\x00\x00\x01" + bench.text("Name") + attribute(name) for name in names)
         return b"\x0f\x00\x00\x0d" + len(names).to_bytes(4, "big") + maps
      method = "getTerminalNamesAndAttributesForDevice"
      with bench.Peer(bench.answering({method: container("a", "x" * 100000, "b")})) as peer:
         seen = bench.run("terminals", "d", "--host", peer.host, "--attributes", "Name,Kind")
      self.assertEqual((seen.status, seen.err), (0, ""))
      self.assertEqual(seen.out, "Name  Kind\na     -\n" + "x" * 100000 + " -\nb     -\n")

   def test_full_disk_is_told(self):
      with hostile_service() as peer, open("/dev/full", "w", encoding="utf-8") as full:
         done = subprocess.run([bench.PROGRAM, "devices", "--host", peer.host], stdout=full,
                               stderr=subprocess.PIPE, env=bench.environment(), text=True,
                               timeout=bench.SOON, check=False)
      self.assertEqual((done.returncode, done.stderr),
                       (1, "zerovactl: standard output cannot be written: No space left on device\n"))

   def test_closed_pipe_ends_quietly(self):
      with hostile_service() as peer:
         with bench.start("devices", "--host", peer.host) as process:
            process.stdout.close()
            self.assertEqual((process.wait(bench.SOON), process.stderr.read()), (0, ""))

   def test_control_bytes_of_a_service_are_shown_escaped(self):
      with hostile_service() as peer:
         self.assertEqual(bench.run("devices", "--host", peer.host).out,
                          "bad\\x1B[31m\\x07\\u{85}name\\u{202E}\nGerät\n")


class Terminal(bench.Case):
   def test_gets_colours_byte_by_byte(self):
      with bench.remote_service() as service:
         status, seen = bench.run_in_terminal("ping", "--host", service.host)
      self.assertEqual(status, 0)
      self.assertTrue(seen.endswith(b"\x1b[32mready\x1b[0m\n"), seen)

   def test_gets_no_colours_with_no_color_or_when_it_knows_none(self):
      with bench.remote_service() as service:
         for name, value in (("NO_COLOR", "1"), ("TERM", "dumb")):
            with self.subTest(name):
               _, seen = bench.run_in_terminal("ping", "--host", service.host, **{name: value})
               self.assertTrue(seen.endswith(b"\nready\n"), seen)

   def test_has_progress_taken_away_before_a_failure_is_told(self):
      with bench.remote_service() as service:
         status, seen = bench.run_in_terminal("terminals", "nope", "--host", service.host)
      self.assertEqual(status, 1)
      self.assertIn(b"\r\x1b[Kasking for the terminals of nope\r\x1b[Kzerovactl: ", seen)

   def test_that_takes_nothing_back_gets_no_progress(self):
      with bench.remote_service() as service:
         _, seen = bench.run_in_terminal("ping", "--count", "2", "--host", service.host, TERM="dumb")
      self.assertNotIn(b"\x1b", seen)
      self.assertNotIn(b"\r", seen)

   def test_that_is_not_utf8_gets_ascii_and_a_sentence(self):
      with hostile_service() as peer:
         status, seen = bench.run_in_terminal("devices", "--host", peer.host, LC_ALL="C")
      self.assertEqual((status, seen.decode("ascii")), (0, "\r\x1b[Kasking for the devices\r\x1b[K" """\
zerovactl: this terminal shows ANSI_X3.4-1968 and not UTF-8; characters beyond ASCII come as \\u{NUMBER}
bad\\x1B[31m\\x07\\u{85}name\\u{202E}
Ger\\u{E4}t
"""))

   def test_shows_progress_and_takes_it_away(self):
      with bench.remote_service() as service:
         _, seen = bench.run_in_terminal("ping", "--count", "2", "--host", service.host)
      self.assertIn(b"\r\x1b[Kround trip 2 of 2\r\x1b[Kround trips", seen)


class Completion(bench.Case):
   def complete(self, *words, program=bench.PROGRAM):
      script = pathlib.Path(__file__).resolve().parents[3] / "tools" / "zerovactl" / "completion.bash"
      ask = (f'source "{script}"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _zerovactl; '
             'printf "%s\\n" "${COMPREPLY[@]}"')
      done = subprocess.run(["bash", "-c", ask, "bash", str(program), *words], capture_output=True,
                            text=True, env=bench.environment(), timeout=bench.SOON, check=True)
      return done.stdout.split()

   def test_knows_the_commands(self):
      self.assertEqual(self.complete("re"), ["release", "reset"])
      self.assertEqual(self.complete("uri", ""), ["check", "compare"])

   def test_knows_every_option_that_help_lists(self):
      for command in ("ping", "devices", "terminals", "route", "release", "watch", "explain", "settings", "trace"):
         options = set(bench.run(command, "--help").out.replace(",", " ").split())
         listed = {word for word in options if word.startswith("--") and len(word) > 2 and "=" not in word}
         with self.subTest(command):
            self.assertLessEqual(listed, set(self.complete(command, "--")))
            self.assertLessEqual({"--json", "--timeout"}, set(self.complete(command, "--")))

   def test_knows_the_devices_of_the_service(self):
      with bench.remote_service() as service:
         self.assertEqual(self.complete("--host", service.host, "terminals", "t"), ["timer1"])
         self.assertEqual(self.complete("reset", "device", "--host", service.host, "sc"), ["scanner2"])

   def test_does_not_run_what_stands_in_the_name_of_a_device(self):
      folder = self.folder()
      program = folder / "zerovactl"
      program.write_text(f"#!/bin/sh\necho '$(touch${{IFS}}{folder}/run)'\n", encoding="utf-8")
      program.chmod(0o755)
      for words in (["terminals", ""], ["release", "--device", ""]):
         found = self.complete(*words, program=program)
         self.assertEqual([name.replace("\\", "") for name in found], [f"$(touch${{IFS}}{folder}/run)"])
      self.assertFalse((folder / "run").exists())

   def test_does_not_hang_on_a_service_that_does(self):
      with bench.Peer(lambda connection: connection.recv(1) and connection.recv(1 << 20)) as peer:
         begin = time.monotonic()
         self.assertEqual(self.complete("--host", peer.host, "terminals", ""), [])
         self.assertLess(time.monotonic() - begin, bench.SOON / 2)


if __name__ == "__main__":
   unittest.main()
