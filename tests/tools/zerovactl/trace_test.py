"""What passes between a client and a service, unchanged and told."""

import json
import re
import signal
import socket
import subprocess
import unittest

import bench


def masked(out: str) -> str:
   out = re.sub(r"(?m)^\d\d:\d\d:\d\d\.\d{3}  ", "TIME  ", out)
   return re.sub(r"\d+\.\d\d ms$", "N ms", out, flags=re.M)


class Relay:
   """A trace at a host of its own, until the end of the block."""

   def __init__(self, to, *arguments):
      self.to = to
      self.arguments = arguments

   def __enter__(self):
      while True:
         with bench.own_listener() as free:
            self.host = free.getsockname()[0]
         self.process = bench.start("trace", "--listen", self.host, "--to", self.to, *self.arguments)
         self.place = self.process.stderr.readline()
         if "listening" in self.place:
            return self

   def __exit__(self, *_):
      if self.process.poll() is None:
         self.end()

   def end(self):
      self.process.send_signal(signal.SIGINT)
      out, err = self.process.communicate(timeout=bench.SOON)
      return out, err


class Host(bench.Case):
   def test_of_its_own_is_told(self):
      with bench.remote_service() as service, Relay(service.host) as relay:
         self.assertRegex(relay.place, rf"^zerovactl: listening at {relay.host}:\d+, locator {relay.host}:3580, "
                                       rf"handing on to {service.host}; Ctrl-C ends it\n$")
         relay.end()
         self.assertEqual(relay.process.returncode, 130)

   def test_tells_calls_answers_and_refusals(self):
      with bench.remote_service() as service, Relay(service.host) as relay:
         bench.run("route", "/timer1/pulse", "/digitizer3/start", "--host", relay.host, "--constraint", "Line=no")
         bench.run("uri", "check", "/timer1/pulse", "--host", relay.host)
         out, _ = relay.end()
      lines = masked(out).splitlines()
      self.assertEqual(lines[:2], ["TIME  #1  opened", 'TIME  #1  version("1.0")  N ms'])
      self.assertTrue(lines[2].startswith('TIME  #1  calculateRoute("/timer1/pulse", "/digitizer3/start", '
                                          '{constraints: {Line: "no"}})  REFUSED -89310 {"error_constant"'), lines[2])
      self.assertEqual(lines[3:], ["TIME  #1  closed", "TIME  #2  opened", 'TIME  #2  version("1.0")  N ms',
                                   'TIME  #2  validateTerminalURI("/timer1/pulse") = true  N ms',
                                   "TIME  #2  closed"])

   def test_tells_json_lines(self):
      with bench.remote_service() as service, Relay(service.host, "--json") as relay:
         bench.run("terminals", "timer1", "--host", relay.host)
         out, _ = relay.end()
      events = [json.loads(line) for line in out.splitlines()]
      self.assertEqual([event["event"] for event in events], ["opened", "call", "call", "closed"])
      self.assertEqual(events[2]["method"], "getTerminalNamesAndAttributesForDevice")
      self.assertEqual(events[2]["arguments"], {"dev_name": "timer1", "attribute_names": ["Name"]})
      self.assertEqual(events[2]["answer"][0], {"Name": "/timer1/pulse"})
      self.assertGreaterEqual(events[2]["ms"], 0)

   def test_hands_every_byte_on_as_it_is(self):
      sent = bytes(range(256)) * 3000
      got = []

      def script(connection):
         received = b""
         while len(received) < len(sent):
            received += connection.recv(65536)
         got.append(received)
         connection.sendall(received[::-1])
         connection.shutdown(socket.SHUT_WR)
      with bench.Peer(script) as peer, Relay(peer.host) as relay:
         port = int(re.search(rf"{relay.host}:(\d+),", relay.place).group(1))
         with socket.create_connection((relay.host, port)) as client:
            client.sendall(sent)
            back = b""
            while part := client.recv(65536):
               back += part
         out, _ = relay.end()
      self.assertEqual(got, [sent])
      self.assertEqual(back, sent[::-1])
      self.assertRegex(out, r"#1  the client sends what is no frame \(length \d+\); the bytes of that side are "
                            r"handed on and not decoded any more\n")

   def test_call_without_an_answer_is_told_when_the_connection_ends(self):
      def script(connection):
         bench.receive_call(connection)
         connection.close()
      with bench.Peer(script) as peer, Relay(peer.host) as relay:
         bench.run("devices", "--host", relay.host, "--timeout", "1")
         out, _ = relay.end()
      self.assertIn('TIME  #1  version("1.0")  no answer\nTIME  #1  closed\n', masked(out))

   def test_service_that_cannot_be_reached_is_told(self):
      with Relay("127.0.0.1:1") as relay:
         bench.run("devices", "--host", relay.host, "--timeout", "1")
         out, _ = relay.end()
      self.assertIn("TIME  #1  the service cannot be reached: 127.0.0.1:1: Connection refused\n", masked(out))

   def test_place_that_is_taken_is_told(self):
      with bench.own_listener() as taken:
         host = taken.getsockname()[0]
         seen = bench.run("trace", "--listen", host, "--to", "127.0.0.1:1")
      self.assertEqual(seen.all(), (1, "", f"zerovactl: cannot listen at {host}:3580: Address already in use\n"))

   def test_reader_that_goes_away_does_not_end_the_calls(self):
      with bench.remote_service() as service, Relay(service.host) as relay:
         relay.process.stdout.close()
         for _ in range(2):
            self.assertEqual(bench.run("uri", "check", "/timer1/pulse", "--host", relay.host).status, 0)
         relay.process.send_signal(signal.SIGINT)
         self.assertEqual(relay.process.wait(bench.SOON), 130)


class Record(bench.Case):
   def record(self):
      file = self.folder() / "bench.trace"
      with bench.remote_service() as service, Relay(service.host, "--record", str(file)) as relay:
         bench.run("uri", "check", "/timer1/pulse", "--host", relay.host)
         out, _ = relay.end()
      return file, out

   def test_tells_the_same_when_it_is_read_again(self):
      file, out = self.record()
      self.assertEqual(bench.run("trace", "--read", str(file)).all(), (0, out, ""))

   def test_that_is_cut_off_is_shown_up_to_there(self):
      file, out = self.record()
      file.write_bytes(file.read_bytes()[:-5])
      self.assertEqual(bench.run("trace", "--read", str(file)).all(), (
         1, "".join(out.splitlines(True)[:-1]),
         f"zerovactl: {file} ends in the middle of an event; what stands before it has been shown\n"))

   def test_that_cannot_be_read_to_its_end_is_shown_up_to_there(self):
      file, out = self.record()
      self.assertEqual(bench.run("trace", "--read", str(file), **bench.failing_read(file)).all(), (
         1, out, f"zerovactl: {file}: Input/output error; what stands before it has been shown\n"))

   def test_that_is_none_is_refused(self):
      file = self.folder() / "x"
      file.write_bytes(b"hello")
      self.assertEqual(bench.run("trace", "--read", str(file)).all(),
                       (1, "", f'zerovactl: {file} is no record of "zerovactl trace"\n'))
      self.assertEqual(bench.run("trace", "--read", "/no/such").all(),
                       (1, "", "zerovactl: /no/such: No such file or directory\n"))

   def told_of_a_reply(self, result):
      """What is told of a call that a service answered so."""
      def event(kind, content=b""):
         return bytes(8) + (1).to_bytes(4, "big") + bytes([kind]) + len(content).to_bytes(4, "big") + content
      call = bench.reply("isDebug").replace(b"\x00\x02\x00", b"\x00\x01\x00")
      file = self.folder() / "bench.trace"
      reply = bench.reply("isDebug", result)
      parts = [reply[at:at + 65536] for at in range(0, len(reply), 65536)]
      file.write_bytes(b"zerovactl trace 1\n" + event(2, call) + b"".join(event(3, part) for part in parts))
      seen = bench.run("trace", "--read", str(file))
      self.assertEqual((seen.status, seen.err), (0, ""))
      return seen.out

   def test_of_a_refusal_without_a_status_is_shown(self):
      number = b"\x08\x00\x01" + (7).to_bytes(4, "big")
      self.assertEqual(self.told_of_a_reply(number), "00:00:00.000  #1  isDebug()  REFUSED without a code   0.00 ms\n")

   def test_of_a_refusal_whose_code_is_no_text_either_is_shown(self):
      status = b"\x0c\x00\x01\x0b\x00\x01\x00\x00\x00\x01\xff\x00"
      self.assertEqual(self.told_of_a_reply(status), '00:00:00.000  #1  isDebug()  REFUSED "\ufffd"   0.00 ms\n')

   def test_of_a_map_of_a_great_many_keys_is_shown_soon(self):
      count = 400000
      entries = b"".join(bench.text(str(number)) + b"\0\0\0\1" for number in range(count))
      answer = b"\x0d\x00\x00\x0b\x08" + count.to_bytes(4, "big") + entries
      self.assertIn("isDebug() = {0: 1, 1: 1, 2: 1,", self.told_of_a_reply(answer))

   def test_of_a_key_that_comes_again_shows_the_last_value(self):
      answer = (b"\x0d\x00\x00\x0b\x08\0\0\0\3" + bench.text("a") + b"\0\0\0\1" + bench.text("b") + b"\0\0\0\2" +
                bench.text("a") + b"\0\0\0\3")
      self.assertIn("isDebug() = {a: 3, b: 2}", self.told_of_a_reply(answer))

   def test_of_a_structure_of_too_many_members_is_told(self):
      answer = b"".join(b"\x03" + number.to_bytes(2, "big") + b"\0" for number in range(300))
      self.assertIn("answer: a structure has too many members", self.told_of_a_reply(answer))

   def test_on_a_full_disk_is_told_and_the_calls_go_on(self):
      seen = bench.run("trace", "--listen", "127.0.0.1:0", "--to", "x", "--record", "/dev/full")
      self.assertEqual(seen.status, 2)
      with bench.remote_service() as service:
         with bench.own_listener() as free:
            host = free.getsockname()[0]
         seen = bench.run("trace", "--listen", host, "--to", service.host, "--record", "/dev/full")
      self.assertEqual(seen.all(), (1, "", "zerovactl: /dev/full cannot be written: No space left on device\n"))


class Command(bench.Case):
   def test_finds_an_endpoint_that_is_the_tools(self):
      with bench.Simulator():
         seen = bench.run("trace", "--", str(bench.PROGRAM), "uri", "check", "/x/y")
      self.assertEqual((seen.status, seen.err), (5, ""))
      self.assertEqual(sorted(masked(seen.out).splitlines()), sorted([
         "TIME  #1  opened", 'TIME  #1  version("1.0")  N ms', '/x/y  not valid',
         'TIME  #1  validateTerminalURI("/x/y") = false  N ms', "TIME  #1  closed"]))

   def test_leaves_the_endpoint_of_others_alone(self):
      with bench.Simulator() as service:
         inside = subprocess.run([bench.PROGRAM, "trace", "--to", service.host, "--", "ls", bench.ENDPOINTS],
                                 capture_output=True, text=True, env=bench.environment(), check=True)
         self.assertEqual(inside.stdout, "com.zerova\ncom.zerova.immediate\n")
         self.assertEqual(bench.run("uri", "check", "/timer1/pulse").status, 0)

   def test_where_namespaces_are_refused_is_told_of_the_way_over_tcp(self):
      without = bench.BUILD / "tests" / "tools" / "support" / "without_namespaces"
      done = subprocess.run([without, bench.PROGRAM, "trace", "--", "true"], capture_output=True, text=True,
                            env=bench.environment(), timeout=bench.SOON, check=False)
      self.assertEqual((done.returncode, done.stdout), (1, ""))
      self.assertIn("zerovactl trace --listen 127.0.0.9 --to HOST, and have the command go to the host 127.0.0.9\n",
                    done.stderr)

   def test_that_cannot_be_started_is_told(self):
      seen = bench.run("trace", "--", "/no/such/program")
      self.assertEqual((seen.status, seen.out), (127, ""))
      self.assertIn("/no/such/program", seen.err)


class LeftBehind(bench.Case):
   """Folders and sockets of a trace are gone with it, however it ends."""

   def trace_in(self, folder, *arguments):
      env = bench.environment(TMPDIR=str(folder))
      return subprocess.Popen([bench.PROGRAM, "trace", *arguments], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env=env)

   def test_nothing_by_a_command_that_was_asked_to_end(self):
      for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
         folder = self.folder()
         with self.subTest(number), self.trace_in(folder, "--", "sh", "-c", "echo on; exec sleep 600") as trace:
            self.assertEqual(trace.stdout.readline(), "on\n")
            self.assertNotEqual(list(folder.iterdir()), [])
            trace.send_signal(number)
            self.assertEqual(trace.wait(bench.SOON), 128 + signal.SIGTERM)
            self.assertEqual(list(folder.iterdir()), [])

   def test_nothing_by_a_command_that_must_be_asked_twice(self):
      folder = self.folder()
      stubborn = "trap 'echo asked' TERM; echo on; while :; do sleep 0.05; done"
      with self.trace_in(folder, "--", "sh", "-c", stubborn) as trace:
         self.assertEqual(trace.stdout.readline(), "on\n")
         trace.send_signal(signal.SIGTERM)
         self.assertEqual(trace.stdout.readline(), "asked\n")
         trace.send_signal(signal.SIGTERM)
         self.assertEqual(trace.wait(bench.SOON), 128 + signal.SIGKILL)
         self.assertEqual(list(folder.iterdir()), [])

   def test_nothing_by_signals_while_it_starts(self):
      folder = self.folder()
      seen_folder = 0
      for _ in range(40):
         with self.trace_in(folder, "--", "sleep", "600") as trace:
            seen_folder += bench.wait_for(lambda: list(folder.iterdir()))
            trace.send_signal(signal.SIGTERM)
            trace.wait(bench.SOON)
            self.assertEqual(list(folder.iterdir()), [])
      self.assertEqual(seen_folder, 40)

   def test_nothing_by_a_time_that_runs_out(self):
      folder = self.folder()
      with self.trace_in(folder, "--timeout", "0.3", "--", "sleep", "600") as trace:
         self.assertEqual(trace.wait(bench.SOON), 124)
      self.assertEqual(list(folder.iterdir()), [])
      place = self.folder() / "traced"
      with self.trace_in(folder, "--timeout", "0.3", "--listen", str(place), "--to", "127.0.0.1:1") as trace:
         self.assertEqual(trace.wait(bench.SOON), 124)
      self.assertFalse(place.exists())


class Local(bench.Case):
   def test_endpoint_stands_beside_the_services(self):
      with bench.Simulator():
         place = bench.ENDPOINTS / "com.zerova.traced"
         with bench.start("trace", "--listen", "com.zerova.traced", "--to", "com.zerova") as process:
            self.assertIn(f"listening at {place}, ", process.stderr.readline())
            with socket.socket(socket.AF_UNIX) as client:
               client.connect(str(place))
               client.sendall(bench.reply("isDebug").replace(b"\x00\x02\x00", b"\x00\x01\x00"))
               self.assertGreater(len(client.recv(100)), 10)
            process.stdin.close()
            self.assertEqual(process.wait(bench.SOON), 0)
            self.assertIn("isDebug() = false", process.stdout.read())
         self.assertFalse(place.exists())


if __name__ == "__main__":
   unittest.main()
