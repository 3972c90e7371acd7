"""Ctrl-C in a program whose call waits for a service that does not answer. docs/python.md tells the same."""

import os
import signal
import subprocess
import sys
import unittest

from services import PATIENCE, Peer, refusal, texts

HEAD = """
import os, signal, threading, zerovaapi
"""

# The handler in C, which runs at once, tells through a pipe of the test's that the signal has come.
WAKE_UP = """
signal.set_wakeup_fd(os.open({!r}, os.O_WRONLY | os.O_NONBLOCK), warn_on_full_buffer=False)
"""


class Interrupted:
   """A program that has begun a call, to which one Ctrl-C has been sent."""

   def __init__(self, program, peer):
      self._process = subprocess.Popen([sys.executable, "-B", "-c", HEAD + program], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                       stderr=subprocess.PIPE, text=True)
      if not peer.begun.wait(PATIENCE):
         raise RuntimeError("the program does not call")
      self._process.send_signal(signal.SIGINT)

   def is_running(self):
      return self._process.poll() is None

   def end(self, text=""):
      output, errors = self._process.communicate(text, timeout=PATIENCE)
      return self._process.returncode, output, errors


class CtrlC(unittest.TestCase):
   def wake_up(self):
      """A line for a program, and the pipe through which it tells that a signal has come."""
      read, write = os.pipe()
      self.addCleanup(os.close, read)
      self.addCleanup(os.close, write)
      return WAKE_UP.format(f"/proc/{os.getpid()}/fd/{write}"), read

   def test_in_the_main_thread_is_heard_when_the_call_returns(self):
      wake_up, pipe = self.wake_up()
      program = wake_up + """
session = zerovaapi.Session()
try:
   session.devices()
except KeyboardInterrupt:
   print("interrupted", session.devices())
session.close()
"""
      replies = iter([lambda method: Peer.WAIT, lambda method: texts(method, b"next")])
      with Peer(lambda method: next(replies)(method)) as peer:
         interrupted = Interrupted(program, peer)
         self.assertEqual(os.read(pipe, 1), bytes([signal.SIGINT]))
         self.assertTrue(interrupted.is_running())
         peer.let_go()
         self.assertEqual(interrupted.end(), (0, "interrupted ['next']\n", ""))

   def test_in_a_call_of_a_daemon_thread_is_heard_at_once(self):
      program = """
session = zerovaapi.Session()
caller = threading.Thread(target=session.devices, daemon=True)
try:
   caller.start()
   caller.join()
except KeyboardInterrupt:
   print("interrupted")
"""
      with Peer(lambda method: Peer.WAIT) as peer:
         self.assertEqual(Interrupted(program, peer).end()[:2], (0, "interrupted\n"))

   def test_ends_a_program_that_has_left_it_to_the_system(self):
      program = """
signal.signal(signal.SIGINT, signal.SIG_DFL)
zerovaapi.Session().devices()
"""
      with Peer(lambda method: Peer.WAIT) as peer:
         self.assertEqual(Interrupted(program, peer).end(), (-signal.SIGINT, "", ""))

   def test_before_a_long_refusal_leaves_the_refusal(self):
      wake_up, pipe = self.wake_up()
      program = wake_up + """
session = zerovaapi.Session()
try:
   session.devices()
except zerovaapi.ServiceError as error:
   print(error.code, session.devices())
session.close()
"""
      replies = iter([lambda method: Peer.WAIT, lambda method: texts(method, b"next")])
      with Peer(lambda method: next(replies)(method), late=lambda method: refusal(method, -77, b"x" * 100000)) as peer:
         interrupted = Interrupted(program, peer)
         self.assertEqual(os.read(pipe, 1), bytes([signal.SIGINT]))
         peer.let_go()
         status, output, errors = interrupted.end()
         self.assertEqual((status, output), (0, "-77 ['next']\n"))
         self.assertIn("KeyboardInterrupt", errors)

   def test_loses_no_session_that_was_being_opened(self):
      wake_up, pipe = self.wake_up()
      program = wake_up + """
import gc
gc.disable()
try:
   zerovaapi.Session()
except KeyboardInterrupt:
   pass
input()
"""
      with Peer(texts, version=lambda method: Peer.WAIT) as peer:
         interrupted = Interrupted(program, peer)
         self.assertEqual(os.read(pipe, 1), bytes([signal.SIGINT]))
         peer.let_go()
         self.assertTrue(peer.ended.acquire(timeout=PATIENCE))
         self.assertTrue(interrupted.is_running())
         self.assertEqual(interrupted.end("\n"), (0, "", ""))


if __name__ == "__main__":
   unittest.main()
