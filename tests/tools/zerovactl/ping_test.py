"""The opening of a session, step by step: which step fails, why, and what to do."""

import json
import os
import re
import signal
import socket
import subprocess
import time
import unittest

import bench


def masked(text: str) -> str:
   """Without the numbers that no test can know."""
   return re.sub(r"\d+\.\d\d?(?= ms|  m)", "N", text)


class Remote(bench.Case):
   def test_goes_through_all_steps(self):
      with bench.remote_service() as service:
         seen = bench.run("ping", "--host", service.host, "--count", "5")
      port = re.search(r"Zerova -> (\d+)", seen.out).group(1)
      place = f"{service.host}:{port}"
      self.assertEqual((seen.status, masked(seen.out), seen.err), (0, f"""\
library          libzerovaapi.so.1 (1.0.0)
name             {service.host} -> {service.host}
{f"locator          {service.host}:3580":51}answers in N ms
port             Trevanta/Zerova -> {port}
{f"connection       {place}":51}open in N ms
version          1.0 accepted                      N ms
round trips      5 of 5, min N  median N  max N ms
ready
""", ""))

   def failing(self, host):
      begin = time.monotonic()
      seen = bench.run("ping", "--host", host)
      self.assertLess(time.monotonic() - begin, bench.SOON / 2)
      self.assertEqual((seen.status, seen.err), (3, ""))
      return seen.out.splitlines()[-2:]

   def test_unknown_host(self):
      self.assertEqual(self.failing("no.such.host.invalid"), [
         "name             no.such.host.invalid              no address   FAILED: unknown host",
         "hint             correct the name, or give the host's IPv4 address"])

   def test_no_locator(self):
      with bench.own_listener(4000) as other:
         host = other.getsockname()[0]
         self.assertEqual(self.failing(host), [
            f"{f'locator          {host}:3580':51}no connection   FAILED: Connection refused",
            "hint             start the locator on that host, or open port 3580 in the firewall between"])

   def test_locator_that_says_nothing(self):
      with bench.Peer(locator=False) as peer:
         seen = self.failing(peer.host)
      self.assertRegex(seen[0], r"connected, no answer in 5\.\d s   FAILED: Connection timed out$")
      self.assertEqual(seen[1], "hint             something else may listen on 3580; "
                                "the library itself would wait 65 s here")

   def test_locator_that_trickles_is_not_waited_for_longer(self):
      with bench.Peer(locator="trickles") as peer:
         self.assertRegex(self.failing(peer.host)[0], r"connected, no answer in 5\.\d s   FAILED")

   def test_locator_that_is_none(self):
      with bench.Peer(locator="web server") as peer:
         self.assertEqual(self.failing(peer.host), [
            f"{f'locator          {peer.host}:3580':51}connected   FAILED: the connection was closed",
            "hint             something else may listen on 3580, or the locator does not know the service"])

   def test_version_that_is_refused(self):
      script = bench.answering({"version": bench.refusal(-89318, "too old")})
      with bench.Peer(script) as peer:
         self.assertEqual(self.failing(peer.host), [
            'version          1.0                               refused   FAILED: '
            '{code: -89318, description: "too old"}',
            "hint             update the service, or install the library that belongs to it"])

   def test_service_that_speaks_something_else(self):
      with bench.Peer(lambda connection: connection.sendall(b"HTTP/1.0 400 Bad Request\r\n\r\n")) as peer:
         self.assertEqual(self.failing(peer.host)[0],
                          "version          1.0                               no answer   FAILED: "
                          "it answers, but not in the service's protocol")


class Local(bench.Case):
   endpoint = bench.ENDPOINTS / "com.zerova"

   def failing(self):
      seen = bench.run("ping")
      self.assertEqual((seen.status, seen.err), (3, ""))
      return seen.out.splitlines()[-2:]

   def at_endpoint(self):
      bench.ENDPOINTS.mkdir(exist_ok=True)
      self.addCleanup(lambda: self.endpoint.unlink(missing_ok=True))
      return self.endpoint

   def listener(self):
      listener = socket.socket(socket.AF_UNIX)
      listener.bind(str(self.at_endpoint()))
      self.addCleanup(listener.close)
      return listener

   def test_goes_through_all_steps(self):
      with bench.Simulator():
         seen = bench.run("ping")
      self.assertEqual((seen.status, seen.err), (0, ""))
      self.assertEqual(masked(seen.out).splitlines()[0],
                       f"library          libzerovaapi.so.1 (1.0.0), endpoints in {bench.ENDPOINTS}")
      self.assertEqual([line[:17].strip() for line in seen.out.splitlines()],
                       ["library", "endpoint", "permission", "connection", "version", "round trips", "ready"])

   def test_goes_to_the_endpoint_for_immediate_routes(self):
      with bench.Simulator():
         self.assertIn("com.zerova.immediate", bench.run("ping", "--immediate").out)

   def test_as_a_document_names_the_step_that_fails_and_what_to_do(self):
      self.at_endpoint()
      seen = bench.run("ping", "--json")
      document = json.loads(seen.out)
      self.assertEqual((seen.status, document["ready"]), (3, False))
      self.assertEqual(document["steps"][-1], {
         "step": "endpoint", "subject": str(self.endpoint), "result": "not there",
         "failure": "No such file or directory", "hint": "start the service; if it runs, see its log"})

   def test_quiet_answers_with_its_status_alone(self):
      self.at_endpoint()
      self.assertEqual(bench.run("ping", "--quiet").all(), (5, "", ""))
      self.endpoint.unlink(missing_ok=True)
      with bench.Simulator():
         self.assertEqual(bench.run("ping", "--quiet").all(), (0, "", ""))

   def test_no_folder(self):
      away = bench.ENDPOINTS.with_name("run.away")
      if bench.ENDPOINTS.exists():
         bench.ENDPOINTS.rename(away)
         self.addCleanup(away.rename, bench.ENDPOINTS)
      self.assertEqual(self.failing(), [
         f"endpoint         {self.endpoint}   no such folder   FAILED: No such file or directory",
         "hint             start the service; if it runs, it listens in another folder"])

   def test_plain_file_in_its_place(self):
      self.at_endpoint().touch()
      self.assertEqual(self.failing(), [
         f"endpoint         {self.endpoint}   there, a regular file   FAILED: no socket",
         "hint             remove it, and start the service again"])

   def test_stale_socket(self):
      self.listener()
      self.assertEqual(self.failing(), [
         f"connection       {self.endpoint}   nobody listens   FAILED: Connection refused",
         "hint             the service ended and left its socket; start it again"])

   def test_service_that_takes_no_connections(self):
      listener = self.listener()
      listener.listen(0)
      with socket.socket(socket.AF_UNIX) as first:
         first.connect(str(self.endpoint))
         self.assertEqual(self.failing(), [
            f"connection       {self.endpoint}   no room for 3.0 s   FAILED: the service takes no connections",
            "hint             it is stopped, hangs or is overloaded: kill -CONT PID lets a stopped one go on"])

   def as_another_account(self):
      """What ping says to an account that is neither the endpoint's owner nor in its group."""
      account = os.geteuid() or 65534
      other = {"user": account, "group": account, "extra_groups": []} if os.geteuid() == 0 else {}
      done = subprocess.run([bench.PROGRAM, "ping"], capture_output=True, text=True, env=bench.environment(),
                            timeout=bench.SOON, check=False, **other)
      self.assertEqual((done.returncode, done.stderr), (3, ""))
      return account, done.stdout.splitlines()[-2:]

   def test_account_without_permission(self):
      self.listener().listen()
      self.endpoint.chmod(0o444)
      account, seen = self.as_another_account()
      self.assertEqual(seen, [
         f"permission       uid {account} may not write   FAILED: Permission denied (EACCES)",
         "hint             the service's installation decides who may: by a group or by mode 0666 of the socket"])

   def test_silent_service(self):
      self.listener().listen()
      seen = self.failing()
      self.assertRegex(seen[0], r"^version          1\.0 {31}no answer in 5\.\d s   FAILED: Connection timed out$")
      self.assertEqual(seen[1], "hint             the service is stopped or hangs; "
                                "the library itself would wait without end")

   def test_stopped_service(self):
      with bench.Simulator() as service:
         service.process.send_signal(signal.SIGSTOP)
         self.assertIn("no answer in 5.", self.failing()[0])


if __name__ == "__main__":
   unittest.main()
