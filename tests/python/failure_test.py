"""What a service can do to a program, each as an exception of its kind."""

import gc
import pickle
import threading
import unittest
import warnings

from services import PATIENCE, Peer, Simulator, answer, python, refusal, texts
from zerovaapi import (BusyError, ClosedError, ConnectionLost, InternalError, OutOfMemory, ServiceError, Session,
                       TextError, Unreachable, UsageError)


def refusing(code, text):
   return Peer(lambda method: refusal(method, code, text))


class Refusals(unittest.TestCase):
   def refused(self, code, text, kind=ServiceError):
      with refusing(code, text), Session() as session, self.assertRaises(kind) as caught:
         session.calculate("/a/b", "/c/d")
      return caught.exception

   def test_have_code_text_and_details(self):
      error = self.refused(-77, b'{"error_constant":"kTaken","ticket":7}')
      self.assertEqual((error.code, error.constant, error.details["ticket"]), (-77, "kTaken", 7))
      self.assertIn("calculate was refused by the service of this machine (-77): {", str(error))

   def test_with_warnings_are_failures(self):
      self.assertEqual(self.refused(5, b"{}").code, 5)

   def test_with_any_text_are_one_exception_without_details(self):
      for text in (b"", b"no JSON", b"[1]", b"\xff\xfe", b'{"a":', b"{}" * 2, b'{"a":NaN}', b"9" * 6000,
                   b'{"a":' * 100000, b'{"n":' + b"9" * 6000 + b"}"):
         with self.subTest(text[:20]):
            error = self.refused(-77, text)
            self.assertEqual((error.code, error.raw, error.details, error.constant), (-77, text, {}, ""))
            self.assertTrue(str(error).isprintable())

   def test_tell_a_text_as_it_came(self):
      error = self.refused(-77, b"Gr\xc3\xb6\xc3\x9fe \xff")
      self.assertEqual((error.text, error.raw), ("Größe \\xff", b"Gr\xc3\xb6\xc3\x9fe \xff"))

   def test_keep_a_text_of_megabytes(self):
      text = b'{"a":"' + b"x" * 5000000 + b'"}'
      error = self.refused(-77, text)
      self.assertEqual(error.raw, text)
      self.assertLess(len(str(error)), 1000)

   def test_leave_the_session_working(self):
      replies = iter([lambda method: refusal(method, -77, b"x" * 100000), lambda method: texts(method, b"dev1")])
      with Peer(lambda method: next(replies)(method)), Session() as session:
         with self.assertRaises(ServiceError):
            session.devices()
         self.assertEqual(session.devices(), ["dev1"])

   def test_without_a_code_are_told_where_a_result_is_missing(self):
      self.assertEqual(self.refused_devices(0, b"{}").code, 0)

   def refused_devices(self, code, text):
      with refusing(code, text), Session() as session, self.assertRaises(ServiceError) as caught:
         session.devices()
      return caught.exception

   def test_with_codes_of_the_library_are_of_their_kind(self):
      for code, kind in ((-52000, OutOfMemory), (-52003, InternalError), (-52024, ConnectionLost)):
         self.assertEqual(self.refused(code, b"", kind).code, code)

   def test_outlive_a_process(self):
      error = pickle.loads(pickle.dumps(self.refused(-77, b'{"ticket":7}')))
      self.assertEqual((type(error), error.code, error.details), (ServiceError, -77, {"ticket": 7}))


class Texts(unittest.TestCase):
   def test_of_a_service_that_are_no_utf8_are_told(self):
      with Peer(lambda method: texts(method, b"good", b"\xff")), Session() as session:
         with self.assertRaisesRegex(TextError, "the name of a device has come from the service as b'\\\\xff'"):
            session.devices()
         self.assertFalse(session.closed)


class LostConnections(unittest.TestCase):
   def test_are_told_and_had_again(self):
      replies = iter([lambda method: answer(method), lambda method: None, lambda method: texts(method, b"dev1")])
      with Peer(lambda method: next(replies)(method)), Session() as session:
         route = session.route(7)
         route.reserve()
         with self.assertRaisesRegex(ConnectionLost, "the connection with the service of this machine is lost") as caught:
            session.devices()
         self.assertIs(caught.exception.reconnect(), session)
         self.assertEqual(session.devices(), ["dev1"])
         with self.assertRaisesRegex(ClosedError, "ended with the connection"):
            route.reserve()

   def test_that_are_met_at_the_end_of_a_route_do_not_hide_what_went_wrong(self):
      with Peer(lambda method: None), Session() as session, self.assertRaises(KeyError):
         with session.route(7):
            raise KeyError("first")

   def test_from_another_process_cannot_be_had_again(self):
      with Peer(lambda method: None), Session() as session, self.assertRaises(ConnectionLost) as caught:
         session.devices()
      error = pickle.loads(pickle.dumps(caught.exception))
      self.assertEqual((error.code, str(error)), (-52024, str(caught.exception)))
      with self.assertRaisesRegex(UsageError, "another process"):
         error.reconnect()

   def test_that_cannot_be_had_again_leave_the_session_closed(self):
      with Peer(lambda method: None):
         session = Session()
         with self.assertRaises(ConnectionLost) as caught:
            session.devices()
      with self.assertRaises(Unreachable):
         caught.exception.reconnect()
      self.assertTrue(session.closed)
      with Simulator():
         self.assertTrue(session.reconnect().devices())
         session.close()


class Threads(unittest.TestCase):
   def test_in_one_session_are_told(self):
      with Peer(lambda method: Peer.WAIT) as peer, Session() as session:
         results = []
         other = threading.Thread(target=lambda: results.append(session.devices()))
         other.start()
         self.assertTrue(peer.begun.wait(PATIENCE))
         for use in (session.devices, session.close, session.reconnect, session.__exit__):
            with self.assertRaisesRegex(BusyError, "another thread"):
               use(*[None] * 3) if use == session.__exit__ else use()
         peer.let_go()
         other.join(PATIENCE)
         self.assertEqual(results, [["late"]])

   def test_in_one_session_do_not_hide_what_went_wrong_in_its_block(self):
      with Peer(lambda method: Peer.WAIT) as peer:
         with self.assertRaises(KeyError):
            with Session() as session:
               other = threading.Thread(target=session.devices)
               other.start()
               self.assertTrue(peer.begun.wait(PATIENCE))
               raise KeyError("first")
         self.assertFalse(session.closed)
         peer.let_go()
         other.join(PATIENCE)
         session.close()

   def test_run_while_another_waits(self):
      # The waiting thread would hold the interpreter's lock, and this one not come so far as to let it go.
      with Peer(lambda method: Peer.WAIT) as peer, Session() as session:
         other = threading.Thread(target=session.devices)
         other.start()
         self.assertTrue(peer.begun.wait(PATIENCE))
         self.assertTrue(other.is_alive())
         peer.let_go()
         other.join(PATIENCE)
         self.assertFalse(other.is_alive())


class Openings(unittest.TestCase):
   def test_without_a_service_are_unreachable(self):
      with self.assertRaisesRegex(Unreachable, "^the service of this machine cannot be reached by .*/libzerovaapi.so.*; "
                                  'the chapter "When a session does not open"') as caught:
         Session()
      self.assertEqual(caught.exception.code, -89168)
      with warnings.catch_warnings():
         warnings.simplefilter("error")
         del caught
         gc.collect()


class Callbacks(unittest.TestCase):
   def test_that_raise_end_the_call_with_what_they_raised(self):
      program = """
import zerovaapi, zerovaapi._status as status
def fail(record, capacity):
   raise KeyError("from the callback")
session = zerovaapi.Session()
status._resize_record = fail
try:
   session.devices()
except KeyError as error:
   print(error)
session.close()
"""
      with refusing(-77, b"x" * 100000):
         self.assertEqual(python(program), (0, "'from the callback'\n", ""))

   def test_without_memory_lose_the_text_alone(self):
      program = """
import zerovaapi, zerovaapi._status as status
def fail(record, capacity):
   raise MemoryError
session = zerovaapi.Session()
status._resize_record = fail
try:
   session.devices()
except zerovaapi.ServiceError as error:
   print(error.code, error.details)
session.close()
"""
      with refusing(-77, b"x" * 100000):
         self.assertEqual(python(program), (0, "-77 {}\n", ""))


class Interpreters(unittest.TestCase):
   def test_that_end_with_a_session_open_end_well(self):
      with Simulator():
         status, output, errors = python("import zerovaapi; session = zerovaapi.Session(); print(len(session.devices()))",
                                         options=["-Xdev"])
      self.assertEqual((status, output), (0, "5\n"))
      self.assertIn("ResourceWarning: <Session with the service of this machine> was not closed", errors)


if __name__ == "__main__":
   unittest.main()
