"""The package against the simulator: every function of the library in its Python form."""

import ctypes
import gc
import os
import re
import unittest
import warnings

import zerovaapi
from services import ROOT, Simulator, python
from zerovaapi import (ClosedError, Lifetime, RangeError, RouteAttributes, ServiceError, Session, State, TextError,
                       Unsupported, UsageError)

FROM, TO = "/timer1/pulse", "/digitizer3/start"


class ServiceTest(unittest.TestCase):
   @classmethod
   def setUpClass(cls):
      cls.service = Simulator().__enter__()
      cls.addClassCleanup(cls.service.__exit__)

   def session(self, **options):
      session = Session(**options)
      self.addCleanup(session.close)
      return session


class Sessions(ServiceTest):
   def test_are_had_at_every_endpoint(self):
      for options in ({}, {"immediate": True}, {"host": self.service.host}):
         with self.subTest(options), Session(**options) as session:
            self.assertIn("matrix1", session.devices())

   def test_that_are_closed_are_told(self):
      with Session() as session:
         route = session.calculate(FROM, TO)
      self.assertTrue(session.closed)
      session.close()
      for use in (session.devices, route.reserve, session.__enter__):
         with self.assertRaisesRegex(ClosedError, "closed"):
            use()

   def test_that_are_closed_live_again_by_reconnecting(self):
      session = self.session()
      session.close()
      self.assertIs(session.reconnect(), session)
      self.assertFalse(session.closed)
      self.assertTrue(session.devices())

   def test_of_nowhere_are_wrong_use(self):
      for options, message in (({"host": ""}, "empty"), ({"host": "h", "immediate": True}, "exclude")):
         with self.assertRaisesRegex(UsageError, message):
            Session(**options)

   def test_that_are_collected_open_warn(self):
      session = Session()
      with self.assertWarnsRegex(ResourceWarning, "Session with the service of this machine.* was not closed"):
         del session
         gc.collect()

   def test_that_are_closed_do_not_warn(self):
      with warnings.catch_warnings():
         warnings.simplefilter("error")
         with Session() as session:
            session.devices()
         del session
         gc.collect()

   def test_may_be_dropped_by_a_forked_child_and_go_on(self):
      session = self.session()
      child = os.fork()
      if child == 0:
         status = 1
         try:
            warnings.simplefilter("error")
            del session
            gc.collect()
            with Session() as own:
               status = 0 if own.devices() else 2
         finally:
            os._exit(status)
      self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]), 0)
      self.assertIn("matrix1", session.devices())

   def test_may_be_handed_over_to_a_forked_child(self):
      session = self.session()
      child = os.fork()
      if child == 0:
         status = 1
         try:
            status = 0 if "matrix1" in session.devices() else 2
         finally:
            os._exit(status)
      self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]), 0)
      self.assertIn("matrix1", session.devices())


class Routes(ServiceTest):
   def test_go_through_their_states_and_end(self):
      session = self.session()
      with session.calculate(FROM, TO) as route:
         route.reserve()
         route.program()
         self.assertTrue(self.in_use(session))
         self.assertEqual([device.name for device in route.devices()], ["timer1", "digitizer3"])
         self.assertEqual(route.show(), "[]")
      self.assertFalse(self.in_use(session))
      with self.assertRaisesRegex(ClosedError, "ended"):
         route.reserve()

   def in_use(self, session):
      return next(each for each in session.terminals("digitizer3", ["Name", "InUse"]) if each["Name"] == TO)["InUse"]

   def test_that_were_taken_back_by_a_reset_end(self):
      session = self.session()
      with session.calculate(FROM, TO, RouteAttributes(target_state=State.PROGRAMMED)):
         session.reset_terminal(TO, "disconnect")

   def test_that_have_ended_name_the_method_that_was_called(self):
      with Session() as session:
         first, second = session.calculate(FROM, TO), session.calculate(FROM, TO, RouteAttributes(
            target_state=State.PROGRAMMED))
         first.end()
         for use, name in ((first.end, "end"), (first.destroy, "destroy"), (first.reserve, "reserve")):
            with self.assertRaisesRegex(ClosedError, f"^{name}: the route has ended"):
               use()
      for use, name in ((second.end, "end"), (second.destroy, "destroy"), (session.devices, "devices")):
         with self.assertRaisesRegex(ClosedError, f"^{name}: the session is closed"):
            use()

   def test_whose_end_is_refused_name_it(self):
      session = self.session()
      route = session.calculate(FROM, TO, RouteAttributes(target_state=State.PROGRAMMED))
      session.reset_terminal(TO, "disconnect")
      session.route(route.ticket).destroy()
      with self.assertRaisesRegex(ServiceError, "^end was refused"):
         route.end()

   def test_that_are_given_up_live_on(self):
      session = self.session()
      with session.calculate(FROM, TO) as route:
         ticket = route.give_up()
      session.route(ticket).destroy()

   def test_that_end_keep_the_failure_of_their_block(self):
      session = self.session()
      with self.assertRaises(KeyError):
         with session.calculate(FROM, TO) as route:
            session.route(route.ticket).destroy()
            raise KeyError("what went wrong first")

   def test_that_cannot_be_ended_are_told(self):
      session = self.session()
      with self.assertRaises(ServiceError):
         with session.calculate(FROM, TO) as route:
            session.route(route.ticket).destroy()

   def test_are_made_as_they_are_wished(self):
      session = self.session()
      wish = RouteAttributes(
         constraints={"Line": "trigger_line1"}, source_constraints={"IsSource": True},
         destination_constraints={"Kind": "trigger"}, optional_modifiers={"Nobody": "knows"},
         required_modifiers={"Invert": True}, destination_required_modifiers={}, lifetime=Lifetime.SESSION,
         target_state=State.RESERVED, force_multi_device_route=True, owner="Größe")
      with session.calculate(FROM, TO, wish) as route:
         names = ["Name", "Owner", "IsSource"]
         found = [terminal for device in route.devices(names) for terminal in device.terminals]
         self.assertIn("/timer1/trigger_line1", [terminal["Name"] for terminal in found])
         owned = [terminal for terminal in session.terminals("digitizer3", names) if "Owner" in terminal]
         self.assertEqual({terminal["Owner"] for terminal in owned}, {"Größe"})
         self.assertEqual(dict(owned[0]), {name: owned[0][name] for name in names})

   def test_outlive_their_block_if_they_are_immediate(self):
      session = self.session(immediate=True)
      with session.calculate(FROM, TO, RouteAttributes(lifetime=Lifetime.IMMEDIATE)):
         pass
      session.destroy_immediate_route(FROM, TO)
      with self.assertRaises(ServiceError):
         session.destroy_immediate_route(FROM, TO)


class Terminals(ServiceTest):
   def test_give_strings_and_booleans_by_name(self):
      terminals = self.session().terminals("matrix1", ["Name", "Kind", "IsLine", "Owner"])
      self.assertEqual(dict(terminals[0]), {"Name": "/matrix1/ch0", "Kind": "analog", "IsLine": False})
      self.assertEqual(terminals[0].get("Owner", "nobody"), "nobody")
      with self.assertRaises(KeyError):
         terminals[0]["Owner"]

   def test_have_attributes_that_were_not_named(self):
      terminal = self.session().terminals("matrix1")[0]
      self.assertEqual((terminal["Kind"], terminal["IsLine"], len(terminal)), ("analog", False, 0))

   def test_are_asked_for_names_of_any_length(self):
      self.assertIsNone(self.session().terminals("matrix1")[0].get("x" * 100000))

   def test_outlive_their_session(self):
      with Session() as session, session.calculate(FROM, TO) as route:
         terminal = route.devices(["Name"])[0].terminals[0]
      gc.collect()
      self.assertEqual(dict(terminal), {"Name": FROM})


class WrongUse(ServiceTest):
   def test_of_texts_is_told_and_sends_nothing(self):
      session = self.session()
      for text, message in (("a\0b", "source holds a NUL character, at position 1"),
                            ("a\ud800", "source holds a lone surrogate, .* at position 1")):
         with self.assertRaisesRegex(TextError, message):
            session.calculate(text, TO)
      for call in (lambda: session.terminals(b"matrix1"), lambda: session.terminals("matrix1", "Name"),
                   lambda: session.terminals("matrix1", [1])):
         with self.assertRaises(TypeError):
            call()

   def test_of_numbers_is_told(self):
      session = self.session()
      for call in (lambda: session.route(2**31), lambda: session.has_changed(-2**31 - 1)):
         with self.assertRaisesRegex(RangeError, "no number of 32 bits"):
            call()
      for call in (lambda: session.route("7"), lambda: session.route(True)):
         with self.assertRaises(TypeError):
            call()

   def test_of_what_is_said_of_a_ticket_is_told(self):
      session = self.session()
      for said, kind, message in (
            ({"state": "reserved"}, TypeError, "state must be a State, not str"),
            ({"state": 3}, RangeError, "state is 3, which is none of State.CALCULATED"),
            ({"lifetime": "immediate"}, TypeError, "lifetime must be a Lifetime, not str")):
         with self.subTest(said), self.assertRaisesRegex(kind, message):
            session.route(7, **said)

   def test_of_attributes_is_told_by_their_constructor(self):
      for wish, kind, message in (
            ({"constraints": {"Line": 7}}, TypeError, "constraints\\['Line'\\] must be a str or a bool, not int"),
            ({"constraints": {7: "Line"}}, TypeError, "a name in constraints must be a str"),
            ({"constraints": {"a\0": True}}, TextError, "a name in constraints holds a NUL"),
            ({"required_modifiers": ["Invert"]}, TypeError, "required_modifiers must be a mapping"),
            ({"lifetime": 2}, RangeError, "Lifetime.SESSION, Lifetime.IMMEDIATE"),
            ({"lifetime": "SESSION"}, TypeError, "lifetime must be a Lifetime, not str"),
            ({"target_state": -1}, RangeError, "none of State"),
            ({"target_state": True}, TypeError, "target_state must be a State, not bool"),
            ({"force_multi_device_route": 1}, TypeError, "must be a bool"),
            ({"owner": 7}, TypeError, "owner must be a str"),
            ({"owner": "\udfff"}, TextError, "owner holds a lone surrogate")):
         with self.subTest(wish), self.assertRaisesRegex(kind, message):
            RouteAttributes(**wish)

   def test_of_attributes_that_were_changed_later_is_told(self):
      session = self.session()
      constraints = {"Line": "trigger_line1"}
      wish = RouteAttributes(constraints=constraints)
      constraints["Line"] = 7
      with self.assertRaisesRegex(TypeError, "must be a str or a bool"):
         session.calculate(FROM, TO, wish)
      self.assertTrue(session.devices())

   def test_of_a_mapping_for_a_wish_is_told(self):
      session = self.session()
      for wish in ({"Line": "trigger_line1"}, {}, "Line"):
         with self.subTest(wish), self.assertRaisesRegex(TypeError, "wish must be a RouteAttributes, not"):
            session.calculate(FROM, TO, wish)


class EveryFunction(ServiceTest):
   def test_has_a_python_form(self):
      # Whatever an object of the package calls is seen by a library that notes it.
      outcome, output, errors = python(NOTING_TOUR, ROOT / "python/zerovaapi", self.service.host, FROM, TO)
      self.assertEqual((outcome, errors), (0, ""), errors)
      exports = (ROOT / "source/zerovaapi/exports.txt").read_text(encoding="utf-8").split()
      self.assertEqual(sorted(output.split()), sorted(exports))
      self.assertEqual(len(exports), 59)

   def test_is_declared_with_the_parameters_of_the_header(self):
      header = "".join((ROOT / "include" / name).read_text(encoding="utf-8")
                       for name in ("zerovaapi.h", "lorvex_translator.h"))
      for name, (result, arguments) in zerovaapi._library.SIGNATURES.items():
         with self.subTest(name):
            self.assertEqual(declared(header, name), [in_c(kind) for kind in [result, *arguments]])

   def test_that_is_retired_says_so(self):
      with self.assertRaisesRegex(Unsupported, "retired"):
         self.session().destroy_all_immediate_routes()


def declared(header, name):
   """The kinds of the result and the parameters of a function: how many bits, or a pointer."""
   before, _, behind = header.partition(f"{name}(")
   while before.count("/*") != before.count("*/"):
      text, _, behind = behind.partition(f"{name}(")
      before += text
   result = before.rpartition("EXPORT")[2].replace("QUELERR_CALL", "").strip()
   parameters = [each.strip().rpartition("*" if "*" in each else " ") for each in behind.partition(")")[0].split(",")]
   return [kind_of(result), *(kind_of(front + mark) for front, mark, _ in parameters)]


def kind_of(text):
   plain = text.strip()
   return {"void": "nothing", "int32_t": "int32", "bool": "bool", "zerovaapi_Iterator": "uint64"}.get(plain, "pointer")


def in_c(kind):
   return {None: "nothing", ctypes.c_int32: "int32", ctypes.c_bool: "bool", ctypes.c_uint64: "uint64"}.get(
      kind, "pointer")


# Puts one that notes what is called in the place of the library, before the modules that use it are imported.
NOTING_TOUR = """
import gc, sys, types
gc.disable()  # what is released, is released at once
called = set()

class Noted:
   def __init__(self, name, function):
      self.name, self.function, self.restype = name, function, function.restype
   def __call__(self, *arguments):
      called.add(self.name)
      return self.function(*arguments)

class Noting:
   def __init__(self, library):
      self.library = library
   def __getattr__(self, name):
      noted = Noted(name, getattr(self.library, name))
      setattr(self, name, noted)
      return noted

package = types.ModuleType("zerovaapi")
package.__path__ = [sys.argv[1]]
sys.modules["zerovaapi"] = package
import zerovaapi._library as loaded
loaded.library = Noting(loaded.library)
for handle, name in loaded._RELEASED_BY.items():
   handle._release = staticmethod(getattr(loaded.library, name))
del sys.modules["zerovaapi"]
import zerovaapi
from zerovaapi import *
host, start, end = sys.argv[2:]
everything = dict(constraints={"Line": "trigger_line1", "SingleDevice": False}, source_constraints={"IsSource": True},
                  destination_constraints={"Kind": "trigger"}, optional_modifiers={"Filter": "none", "Other": True},
                  required_modifiers={"Invert": True}, destination_required_modifiers={}, owner="me",
                  lifetime=Lifetime.SESSION, target_state=State.RESERVED, force_multi_device_route=True)
with Session(host=host) as session, Session() as local:
   assert session.devices() == local.devices()
   before = session.change_number()
   with session.calculate(start, end, RouteAttributes(**everything)) as route:
      route.program()
      [dict(terminal) for device in route.devices(["Name", "IsLine"]) for terminal in device.terminals]
      route.show()
   assert session.has_changed(before)
   [dict(terminal) for terminal in session.terminals("matrix1", ["Name", "IsLine"])]
   assert session.is_terminal(start) and not session.is_terminal("/timer1/nothing")
   assert session.is_same_terminal(start, start)
   assert not session.is_debug()
   session.reset_terminal(end, "disconnect")
   with session.calculate_reset(end, "disconnect") as reset:
      reset.reserve()
      reset.program()
   session.begin_device_reset("matrix1")
   session.complete_device_reset("matrix1")
   try:
      session.destroy_all_immediate_routes()
   except Unsupported as error:
      Translator().describe(error, "fr")
with Session(immediate=True) as session:
   def again():
      return session.calculate(start, end, RouteAttributes(lifetime=Lifetime.IMMEDIATE))
   again(); session.destroy_immediate_route(start, end)
   again(); session.destroy_immediate_routes_on_device("timer1")
   again(); session.destroy_immediate_routes_from(start)
   again(); session.destroy_immediate_routes_to(end)
print(*sorted(called))
"""


class Page(ServiceTest):
   page = (ROOT / "docs/python.md").read_text(encoding="utf-8")

   def test_has_programs_that_run(self):
      programs = re.findall(r"```python\n(.*?)```", self.page, re.S)
      self.assertGreaterEqual(len(programs), 2)
      for program in programs:
         with self.subTest(program[:200]):
            self.assertEqual(python(program)[::2], (0, ""))

   def test_tells_of_everything_that_is_public(self):
      for name in zerovaapi.__all__:
         self.assertTrue(re.search(rf"\b{name}\b", self.page), name)
      for kind in (zerovaapi.Session, zerovaapi.Route, zerovaapi.RouteAttributes, zerovaapi.Lifetime, zerovaapi.State,
                   zerovaapi.Translator, zerovaapi.Description, zerovaapi.Row, zerovaapi.Device, zerovaapi.StatusError):
         for name in (*vars(kind), *getattr(kind, "__annotations__", ())):
            if not name.startswith("_"):
               self.assertTrue(re.search(rf"\b{name}\b", self.page), (kind, name))


class Examples(ServiceTest):
   def test_run(self):
      for example in sorted((ROOT / "python/examples").glob("*.py")):
         with self.subTest(example.name):
            status, output, errors = python(f"import runpy; runpy.run_path({str(example)!r})", options=["-Xdev"])
            self.assertEqual((status, errors), (0, ""))
            self.assertIn("['timer1', 'digitizer3']", output)
            self.assertIn("Gerät: matrix1", output)


if __name__ == "__main__":
   unittest.main()
