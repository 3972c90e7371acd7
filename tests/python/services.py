"""The services that the tests of the Python package talk to, and interpreters of their own."""

import contextlib
import os
import pathlib
import re
import socket
import struct
import subprocess
import sys
import tempfile
import threading

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ["ZEROVA_TEST_BUILD"])
LIBRARY = BUILD / "libzerovaapi.so"
PATIENCE = 60


class Simulator:
   """The simulator with the bench of the laboratory, on the local endpoints of the build and on an address of its own."""

   def __enter__(self):
      program = BUILD / "tools/simulator/zerova-simulator"
      bench = ROOT / "examples/benches/laboratory.toml"
      self._process = subprocess.Popen([program, bench, "--tcp", "own"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                       text=True)
      ready = self._process.stdout.readline()
      found = re.search(r"tcp ([0-9.]+):", ready)
      if not found:
         raise RuntimeError(f"the service is not ready: {ready!r}")
      self.host = found[1]
      return self

   def end(self):
      self._process.stdin.close()
      self._process.stdout.close()
      self._process.wait(PATIENCE)

   def __exit__(self, *_):
      if self._process.returncode is None:
         self.end()


def _text(value):
   return struct.pack(">i", len(value)) + value


def answer(method, fields=b""):
   return struct.pack(">I", 0x80010002) + _text(method) + struct.pack(">i", 0) + fields + b"\0"


def refusal(method, code, text):
   """What a service sends that refuses a call."""
   status = b"\x08" + struct.pack(">hi", 1, code) + b"\x0b" + struct.pack(">h", 2) + _text(text) + b"\0"
   return answer(method, b"\x0c" + struct.pack(">h", 1) + status)


def texts(method, *values):
   """What a service sends that answers with a list of texts."""
   return answer(method, b"\x0f" + struct.pack(">h", 0) + b"\x0b" + struct.pack(">i", len(values))
                 + b"".join(map(_text, values)))


class Peer:
   """A local service that takes every version, and answers each other call as it is told.

   reply: takes the method and gives the message, None to close the connection, or WAIT to leave the
   caller waiting until let_go, and give it late then. version does so for the versions. begun is set once a call has come
   that waits, or any that is no version; ended counts the connections that have ended.
   """

   WAIT = object()

   def __init__(self, reply, version=answer, late=lambda method: texts(method, b"late")):
      self._reply = reply
      self._late = late
      self._version = version
      self._gate = threading.Event()
      self._connections = []
      self.begun = threading.Event()
      self.ended = threading.Semaphore(0)

   def __enter__(self):
      folder = BUILD / "run"
      self._made_folder = not folder.exists()
      folder.mkdir(exist_ok=True)
      self._path = folder / "com.zerova"
      self._path.unlink(missing_ok=True)
      self._listener = socket.socket(socket.AF_UNIX)
      self._listener.bind(str(self._path))
      self._listener.listen()
      threading.Thread(target=self._accept, daemon=True).start()
      return self

   def let_go(self):
      self._gate.set()

   def __exit__(self, *_):
      self.let_go()
      self._path.unlink()
      self._listener.shutdown(socket.SHUT_RDWR)
      self._listener.close()
      if self._made_folder:
         # Who serves there meanwhile keeps it.
         with contextlib.suppress(OSError):
            self._path.parent.rmdir()

   def _accept(self):
      while True:
         try:
            connection, _ = self._listener.accept()
         except OSError:
            return
         threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

   def _serve(self, connection):
      try:
         with connection, connection.makefile("rb") as requests:
            self._answer(connection, requests)
      except OSError:
         pass  # the caller has gone
      self.ended.release()

   def _answer(self, connection, requests):
      while head := requests.read(4):
         message = requests.read(struct.unpack(">I", head)[0])
         length, = struct.unpack_from(">i", message, 4)
         method = message[8:8 + length]
         is_version = method == b"version"
         reply = (self._version if is_version else self._reply)(method)
         if reply is self.WAIT or not is_version:
            self.begun.set()
         if reply is self.WAIT:
            self._gate.wait(PATIENCE)
            reply = answer(method) if is_version else self._late(method)
         if reply is None:
            return
         connection.sendall(struct.pack(">I", len(reply)) + reply)


def python(program, *arguments, library=LIBRARY, options=(), **variables):
   """Runs a program in an interpreter of its own; gives its exit status, output and errors."""
   environment = {**os.environ, "ZEROVAAPI_LIBRARY": str(library), **variables}
   outcome = subprocess.run([sys.executable, "-B", *options, "-c", program, *map(str, arguments)], env=environment,
                            text=True, capture_output=True, stdin=subprocess.DEVNULL, timeout=PATIENCE, check=False)
   return outcome.returncode, outcome.stdout, outcome.stderr


def scratch(test, add_cleanup=None):
   """A folder that goes with the test."""
   folder = tempfile.TemporaryDirectory()
   (add_cleanup or test.addCleanup)(folder.cleanup)
   return pathlib.Path(folder.name)
