"""What a service is asked: devices, terminals, routes, URIs, resets."""

import json
import signal
import unittest

import bench


class Asking(bench.Case):
   @classmethod
   def setUpClass(cls):
      cls.service = bench.remote_service().__enter__()

   @classmethod
   def tearDownClass(cls):
      cls.service.__exit__()

   def ask(self, *arguments):
      return bench.run(*arguments, "--host", self.service.host)

   def test_devices_are_listed_one_in_a_line(self):
      self.assertEqual(self.ask("devices").all(),
                       (0, "matrix1\nscanner2\ntimer1\ndigitizer3\nlamp4\n", ""))

   def test_devices_come_as_one_document(self):
      self.assertEqual(self.ask("devices", "--json").all(),
                       (0, '{"devices":["matrix1","scanner2","timer1","digitizer3","lamp4"]}\n', ""))

   def test_terminals_show_a_dash_for_an_attribute_that_is_not_there(self):
      self.assertEqual(self.ask("terminals", "timer1", "--attributes", "Name,Kind,IsSource,Owner").all(), (0, """\
Name                   Kind     IsSource  Owner
/timer1/pulse          trigger  yes       -
/timer1/osc            clock    yes       -
/timer1/gate           trigger  no        -
/timer1/sync           clock    no        -
/timer1/trigger_line0  trigger  no        -
/timer1/trigger_line1  trigger  no        -
/timer1/clock_line0    clock    no        -
""", ""))

   def test_terminals_as_a_document_have_null_for_an_attribute_that_is_not_there(self):
      seen = json.loads(self.ask("terminals", "timer1", "--attributes", "Name,IsSource,Owner", "--json").out)
      self.assertEqual(seen["device"], "timer1")
      self.assertEqual(seen["terminals"][0], {"Name": "/timer1/pulse", "IsSource": True, "Owner": None})

   def test_terminals_of_an_unknown_device_are_refused_in_the_users_language(self):
      self.assertEqual(self.ask("terminals", "nope", "--lang", "de").all(), (1, "", """\
zerovactl: zerova::errors::kErrorUnknownDevice (-89301)
   Gerät           nope
   Mögliche Werte  matrix1, scanner2, timer1, digitizer3, lamp4
"""))

   def test_route_shows_its_way(self):
      seen = self.ask("route", "/timer1/pulse", "/digitizer3/start", "--constraint", "Line=trigger_line1")
      self.assertRegex(seen.out, r"\A" + r"""route \d+  calculated  /timer1/pulse -> /digitizer3/start
   timer1       pulse, trigger_line1
   digitizer3   trigger_line1, start
""" + r"\Z")
      self.assertEqual((seen.status, seen.err), (0, ""))

   def test_route_as_a_document_has_its_way(self):
      seen = json.loads(self.ask("route", "/timer1/pulse", "/digitizer3/start", "--json").out)
      self.assertEqual(seen["state"], "calculated")
      self.assertEqual(seen["way"][1], {"device": "digitizer3",
                                        "terminals": ["/digitizer3/trigger_line0", "/digitizer3/start"]})

   def test_route_that_is_not_possible_is_refused(self):
      self.assertEqual(self.ask("route", "/timer1/pulse", "/digitizer3/input0").all(), (1, "", """\
zerovactl: zerova::errors::kErrorRouteNotPossible (-89306)
   Source Terminal       /timer1/pulse
   Destination Terminal  /digitizer3/input0
"""))

   def test_reserved_route_that_would_end_with_the_command_is_wrong_use(self):
      self.assertEqual(self.ask("route", "/timer1/pulse", "/digitizer3/start", "--reserve").all(), (2, "", """\
zerovactl: a route of this session ends with this command; add --hold, or --immediate to leave it standing
"""))

   def test_constraint_without_a_sign_is_wrong_use(self):
      self.assertEqual(self.ask("route", "/a/b", "/c/d", "--constraint", "Line").all(),
                       (2, "", 'zerovactl: "Line" is not NAME=VALUE\n'))

   def test_held_route_is_destroyed_when_the_input_is_closed(self):
      with bench.start("route", "/timer1/osc", "/digitizer3/refclk", "--reserve", "--hold",
                       "--host", self.service.host) as held:
         self.assertEqual(held.stderr.readline(), "zerovactl: held; Ctrl-C ends it\n")
         out, _ = held.communicate(timeout=bench.SOON)
      self.assertEqual(held.returncode, 0)
      self.assertRegex(out.splitlines()[-1], r"^route \d+ destroyed$")

   def test_held_route_that_is_lost_with_its_service_is_told_and_status_4(self):
      for end in (signal.SIGKILL, signal.SIGTERM):
         with self.subTest(end), bench.remote_service() as service:
            with bench.start("route", "/timer1/osc", "/digitizer3/refclk", "--program", "--hold",
                             "--host", service.host) as held:
               self.assertEqual(held.stderr.readline(), "zerovactl: held; Ctrl-C ends it\n")
               service.process.send_signal(end)
               self.assertEqual(held.wait(bench.SOON), 4)  # its input stays open
               out, err = held.communicate()
            self.assertRegex(out, r"\Aroute \d+  programmed  [^\n]+\n(   [^\n]+\n)+\Z")
            self.assertRegex(err, r"\Azerovactl: route \d+ is lost with its session\n   .+ \(-52024\)\n")

   def test_immediate_route_stands_until_it_is_released(self):
      ends = ("/matrix1/ch0", "/matrix1/ch1")
      made = self.ask("route", *ends, "--immediate", "--program")
      self.assertRegex(made.out, r"\Aimmediate route \d+  programmed  /matrix1/ch0 -> /matrix1/ch1\n"
                                 r"   matrix1   ch0, ch1\n\Z")
      self.assertEqual(self.ask("release", "--between", *ends).all(),
                       (0, "released /matrix1/ch0 -> /matrix1/ch1\n", ""))
      self.assertEqual(self.ask("release", "--between", *ends).status, 1)

   def test_release_takes_one_way_alone(self):
      expected = (2, "", "zerovactl: release wants one of --device, --from, --to and --between\n")
      self.assertEqual(self.ask("release").all(), expected)
      self.assertEqual(self.ask("release", "--from", "/a/b", "--to", "/c/d").all(), expected)

   def test_release_names_what_was_released(self):
      self.assertEqual(self.ask("release", "--device", "matrix1").out, "released all immediate routes on matrix1\n")
      self.assertEqual(self.ask("release", "--from", "/matrix1/ch0", "--json").out,
                       '{"released":{"from":"/matrix1/ch0"}}\n')

   def test_uri_check_answers_no_with_its_status(self):
      self.assertEqual(self.ask("uri", "check", "/timer1/pulse").all(), (0, "/timer1/pulse  valid\n", ""))
      self.assertEqual(self.ask("uri", "check", "/x/y").all(), (5, "/x/y  not valid\n", ""))

   def test_uri_compare_answers_no_with_its_status(self):
      self.assertEqual(self.ask("uri", "compare", "/clock/pulse", "/timer1/pulse").all(), (0, "one terminal\n", ""))
      self.assertEqual(self.ask("uri", "compare", "/timer1/osc", "/timer1/pulse", "--json").all(),
                       (5, '{"uris":["/timer1/osc","/timer1/pulse"],"equal":false}\n', ""))

   def test_reset_of_a_terminal_is_silent(self):
      self.assertEqual(self.ask("reset", "terminal", "/matrix1/ch1", "--type", "disconnect").all(), (0, "", ""))
      self.assertEqual(self.ask("reset", "terminal", "/matrix1/ch1", "--type", "blast").status, 1)

   def test_reset_of_a_device_can_be_made_whole_or_completed_alone(self):
      self.assertEqual(self.ask("reset", "device", "scanner2").all(), (0, "", ""))
      self.assertEqual(self.ask("reset", "device", "scanner2", "--complete").all(),
                       (1, "", "zerovactl: zerova::errors::kErrorNoResetInitiated (-89314)\n   Device  scanner2\n"))


if __name__ == "__main__":
   unittest.main()
