"""docs/wire.md: the library sends the bytes of the page, and takes those that a service sends on it.

wire_page_test.py LIBRARY: the built one.
"""

import contextlib
import ctypes
import itertools
import os
import pathlib
import re
import socket
import struct
import sys
import threading
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
os.environ["ZEROVAAPI"] = sys.argv[1]
sys.path.insert(0, str(ROOT / "examples"))
import by_hand  # noqa: E402

PAGE = (ROOT / "docs" / "wire.md").read_text(encoding="utf-8")
LOCATOR = 3580


def messages():
   """The bytes of each block that is marked, by what the mark says."""
   found = {}
   for mark, block in re.findall(r"<!-- ((?:sent|received) [^>\n]+) -->\n```text\n(.*?)```", PAGE, re.S):
      rows = [re.match(r"((?:[0-9a-f]{2} )*[0-9a-f]{2})(?:  |$)", line) for line in block.splitlines()]
      found[mark] = bytes.fromhex(" ".join(row[1] for row in rows))
   return found


MESSAGES = messages()


def own_listeners():
   """A locator and a service at an address that nobody else has."""
   for number in itertools.count(os.getpid()):
      address = f"127.{200 + number % 50}.{number // 50 % 250}.{1 + number % 250}"
      listeners = [socket.socket(), socket.socket()]
      try:
         for listener, port in zip(listeners, (LOCATOR, 0)):
            listener.bind((address, port))
            listener.listen()
         return address, listeners
      except OSError:
         for listener in listeners:
            listener.close()


def received(connection, count):
   data = b""
   while len(data) < count:
      piece = connection.recv(count - len(data))
      if not piece:
         raise EOFError
      data += piece
   return data


class Service:
   """Gives its replies in turn, and keeps what it was asked."""

   def __init__(self, replies):
      self.frames, self.replies = [], replies
      self.address, self.listeners = own_listeners()
      self.threads = [threading.Thread(target=work, daemon=True) for work in (self.locate, self.serve)]

   def locate(self):
      connection, _ = self.listeners[0].accept()
      with connection:
         self.asked = b""
         while not self.asked.endswith(b"\r\n\r\n"):
            self.asked += received(connection, 1)
         connection.sendall(b"HTTP/1.0 200 OK\r\n\r\nPort=%d\r\n" % self.listeners[1].getsockname()[1])

   def serve(self):
      connection, _ = self.listeners[1].accept()
      with connection, contextlib.suppress(EOFError):
         for reply in self.replies:
            length = received(connection, 4)
            self.frames.append(length + received(connection, struct.unpack(">i", length)[0]))
            connection.sendall(reply)

   def __enter__(self):
      for thread in self.threads:
         thread.start()
      return self

   def __exit__(self, *_):
      for thread in self.threads:
         thread.join(30)
      for listener in self.listeners:
         listener.close()


def declared(name, result, *arguments):
   return by_hand.declare(by_hand.library, "zerovaapi_" + name, result, *arguments)


HANDLE, TEXT, STATUS = ctypes.c_void_p, ctypes.c_char_p, ctypes.POINTER(by_hand.Status)
new_attributes = declared("RouteAttributes_new", HANDLE, STATUS)
destroy_attributes = declared("RouteAttributes_destroy", None, HANDLE)
set_target = declared("RouteAttributes_setCalculationTargetState", None, HANDLE, ctypes.c_int32, STATUS)
constraints = declared("RouteAttributes_getConstraints", HANDLE, HANDLE)
set_text = declared("RouteConstraints_setStringConstraint", None, HANDLE, TEXT, TEXT, STATUS)


class Wire(unittest.TestCase):
   def exchanged(self, reply):
      """A session in which the route of the page is asked for. What was sent, the result, the status."""
      status = by_hand.Status(0, 0, by_hand.resize, None)
      with Service([MESSAGES["received version"], MESSAGES[reply]]) as service:
         session = by_hand.create_remote(service.address.encode(), status)
         self.assertTrue(session, by_hand.failure(status))
         wish = new_attributes(status)
         set_target(wish, 1, status)
         set_text(constraints(wish), b"Line", b"analog_line0", status)
         ticket = by_hand.calculate(session, b"/matrix1/ch0", b"/matrix1/ch1", wish, status)
         destroy_attributes(wish)
         by_hand.destroy(session)
      told = by_hand.failure(status)
      by_hand.resize(ctypes.pointer(status), 0)
      return service, ticket, told

   def test_every_frame_of_the_page_says_its_own_length(self):
      self.assertEqual(len(MESSAGES), 6)
      for mark, frame in MESSAGES.items():
         with self.subTest(mark):
            self.assertEqual(struct.unpack(">i", frame[:4])[0], len(frame) - 4)

   def test_library_sends_the_calls_of_the_page_and_takes_the_result(self):
      service, ticket, told = self.exchanged("received ticket 4711")
      self.assertEqual(service.frames, [MESSAGES["sent version"], MESSAGES["sent calculateRoute"]])
      self.assertEqual((ticket, told), (4711, "0 "))

   def test_refusal_of_the_page_reaches_the_caller(self):
      _, ticket, told = self.exchanged("received refusal -89307")
      self.assertEqual((ticket, told), (0, '-89307 {"why":"busy"}'))

   def test_exception_of_the_page_reaches_the_caller(self):
      _, ticket, told = self.exchanged("received exception -52024")
      self.assertEqual(ticket, 0)
      self.assertTrue(told.startswith("-52024 {"), told)
      self.assertIn("no such method", told)

   def test_locator_is_asked_as_the_page_says(self):
      service, _, _ = self.exchanged("received ticket 4711")
      line = re.search(r"```text\n(GET .*)\n```", PAGE)[1]
      self.assertEqual(service.asked, line.encode() + b"\r\n\r\n")


if __name__ == "__main__":
   unittest.main(argv=sys.argv[:1])
