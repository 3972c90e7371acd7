"""What the tests of zerovactl share: the program, services to ask, a terminal to run it in."""

import os
import pathlib
import pty
import random
import re
import select
import signal
import socket
import subprocess
import tempfile
import threading
import time
import unittest

BUILD = pathlib.Path(os.environ["ZEROVA_BUILD"])
# What starts programs of another system; there they lie beside the library.
EMULATOR = os.environ.get("ZEROVA_EMULATOR", "").split()
PROGRAM = BUILD / ("zerovactl.exe" if EMULATOR else "tools/zerovactl/zerovactl")
SIMULATOR = BUILD / ("zerova-simulator.exe" if EMULATOR else "tools/simulator/zerova-simulator")
COMMAND = [*EMULATOR, str(PROGRAM)]
LABORATORY = pathlib.Path(__file__).resolve().parents[3] / "examples" / "benches" / "laboratory.toml"
ENDPOINTS = pathlib.Path(os.environ["ZEROVA_ENDPOINTS"])
SETTINGS = pathlib.Path(os.environ["ZEROVA_SETTINGS"])
TEXTS = BUILD / "texts" / "generated"
SOON = 30  # seconds: what takes longer hangs


def environment(**more: str) -> dict[str, str]:
   """A user with English, UTF-8 and a terminal that knows colours."""
   kept = {name: value for name, value in os.environ.items() if not name.startswith("LC_")}
   kept.pop("LANG", None)
   kept.pop("NO_COLOR", None)
   return {**kept, "LC_ALL": "C.UTF-8", "TERM": "xterm", "TZ": "UTC", **more}


class Outcome:
   """What a run of the program has left."""

   def __init__(self, status: int, out: str, err: str):
      self.status = status
      self.out = out
      self.err = err

   def all(self) -> tuple[int, str, str]:
      return self.status, self.out, self.err


def run(*arguments: str, stdin: str = "", **more: str) -> Outcome:
   done = subprocess.run([*COMMAND, *arguments], input=stdin.encode(), capture_output=True,
                         env=environment(**more), timeout=SOON, check=False)
   return Outcome(done.returncode, done.stdout.decode(errors="backslashreplace"),
                  done.stderr.decode(errors="backslashreplace"))


def start(*arguments: str, **more) -> subprocess.Popen:
   """The program, to be read from while it runs. Its input is a pipe that stays open."""
   return subprocess.Popen([*COMMAND, *arguments], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                           stderr=subprocess.PIPE, text=True, env=environment(), **more)


def start_command(program: pathlib.Path, *arguments: str) -> subprocess.Popen:
   """Another program of the tests, for the system that the tool is for. Its input stays open."""
   return subprocess.Popen([*EMULATOR, program, *arguments], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                           text=True, env=environment())


def run_in_terminal(*arguments: str, **more: str) -> tuple[int, bytes]:
   """All bytes that a terminal gets that is the standard output and error of a run."""
   master, slave = pty.openpty()
   process = subprocess.Popen([*COMMAND, *arguments], stdin=subprocess.DEVNULL, stdout=slave,
                              stderr=slave, env=environment(**more))
   os.close(slave)
   seen = b""
   while select.select([master], [], [], SOON)[0]:
      try:
         part = os.read(master, 65536)
      except OSError:  # as Linux tells that nobody has the other end any more
         break
      if not part:
         break
      seen += part
   os.close(master)
   return process.wait(SOON), seen.replace(b"\r\n", b"\n")


class Simulator:
   """The simulator with the bench of the laboratory, until the end of the block; host is where its TCP endpoint is."""

   def __init__(self, *arguments: str):
      self.arguments = arguments
      self.host = ""

   def __enter__(self) -> "Simulator":
      self.process = subprocess.Popen([*EMULATOR, SIMULATOR, LABORATORY, "--tcp", "own", *self.arguments],
                                      stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
      ready = self.process.stdout.readline()
      self.host = re.search(r"tcp ([0-9.]+):", ready).group(1)
      return self

   def __exit__(self, *_):
      self.process.send_signal(signal.SIGCONT)
      self.process.terminate()
      self.process.communicate(timeout=SOON)


def remote_service() -> Simulator:
   return Simulator("--no-local")


def own_listener(port: int = 3580) -> socket.socket:
   """A listener at a port of a loopback address that nobody else has."""
   for _ in range(100):
      listener = socket.socket()
      listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
      host = f"127.{random.randint(100, 254)}.{random.randint(0, 254)}.{random.randint(1, 254)}"
      try:
         listener.bind((host, port))
      except OSError:
         listener.close()
         continue
      listener.listen(16)
      return listener
   raise RuntimeError("no loopback address is free")


class Peer:
   """A host whose locator names the port at which script(connection) serves.

   The locator may also be silent (False), a "web server", or one that "trickles".
   """

   def __init__(self, script=None, locator=True):
      self.script = script
      self.locator = own_listener()
      self.host = self.locator.getsockname()[0]
      self.answers = locator
      self.service = socket.socket()
      self.service.bind((self.host, 0))
      self.service.listen(16)
      self.kept: list[socket.socket] = []

   def __enter__(self) -> "Peer":
      for listener, work in ((self.locator, self._locate), (self.service, self._serve)):
         threading.Thread(target=self._accept, args=(listener, work), daemon=True).start()
      return self

   def __exit__(self, *_):
      for one in (self.locator, self.service, *self.kept):
         try:
            one.shutdown(socket.SHUT_RDWR)
         except OSError:
            pass
         one.close()

   def _accept(self, listener, work):
      while True:
         try:
            connection = listener.accept()[0]
         except OSError:
            return
         self.kept.append(connection)
         threading.Thread(target=self._quietly, args=(work, connection), daemon=True).start()

   @staticmethod
   def _quietly(work, connection):
      try:
         work(connection)
      except OSError:
         pass

   def _locate(self, connection):
      if self.answers == "trickles":
         while True:
            connection.sendall(b"x")
            time.sleep(0.1)
      if self.answers == "web server":
         connection.recv(4096)
         connection.sendall(b"HTTP/1.0 404 Not Found\r\n\r\n<p>No such page</p>\n")
         connection.shutdown(socket.SHUT_RDWR)
      elif self.answers:
         connection.recv(4096)
         connection.sendall(f"Port={self.service.getsockname()[1]}\r\n".encode())
         connection.shutdown(socket.SHUT_RDWR)

   def _serve(self, connection):
      if self.script:
         self.script(connection)


def receive_call(connection: socket.socket) -> tuple[str, bytes]:
   """The method of the next call, and its arguments as they came."""
   def exactly(size: int) -> bytes:
      data = b""
      while len(data) < size:
         part = connection.recv(size - len(data))
         if not part:
            raise ConnectionError("the client has gone")
         data += part
      return data
   payload = exactly(int.from_bytes(exactly(4), "big"))
   length = int.from_bytes(payload[4:8], "big")
   return payload[8:8 + length].decode(), payload[12 + length:]


def text(value: str) -> bytes:
   data = value.encode()
   return len(data).to_bytes(4, "big") + data


def reply(method: str, result: bytes = b"") -> bytes:
   """A frame with an answer; result: its members without the end."""
   payload = b"\x80\x01\x00\x02" + text(method) + bytes(4) + result + b"\0"
   return len(payload).to_bytes(4, "big") + payload


def answering(answers: dict[str, bytes]):
   """A script that answers each method with such a result, others with none."""
   def script(connection):
      while True:
         method, _ = receive_call(connection)
         connection.sendall(reply(method, answers.get(method, b"")))
   return script


def refusal(code: int, description: str) -> bytes:
   return (b"\x0c\x00\x01\x08\x00\x01" + code.to_bytes(4, "big", signed=True) +
           b"\x0b\x00\x02" + text(description) + b"\0")


def texts(*values: str) -> bytes:
   return b"\x0f\x00\x00\x0b" + len(values).to_bytes(4, "big") + b"".join(map(text, values))


class Case(unittest.TestCase):
   maxDiff = None

   def folder(self) -> pathlib.Path:
      made = tempfile.TemporaryDirectory()
      self.addCleanup(made.cleanup)
      return pathlib.Path(made.name)


def failing_read(file: pathlib.Path) -> dict[str, str]:
   """The environment of a program to which reading of the file fails behind its beginning."""
   library = BUILD / "tests" / "tools" / "support" / "libfailing_read.so"
   # A sanitizer in the program wants to be the first library, which it needs not be for this.
   return {"LD_PRELOAD": str(library), "FAILING_FILE": str(file), "ASAN_OPTIONS": "verify_asan_link_order=0"}


def wait_for(condition) -> bool:
   end = time.monotonic() + SOON
   while not condition():
      if time.monotonic() > end:
         return False
      time.sleep(0.01)
   return True
