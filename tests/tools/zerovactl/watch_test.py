"""Changes, loss and return, as "watch" tells them."""

import json
import signal
import threading
import unittest

import bench


class Watch(bench.Case):
   def test_tells_each_change(self):
      with bench.remote_service() as service:
         with bench.start("watch", "--interval", "10ms", "--json", "--host", service.host) as watch:
            first = json.loads(watch.stdout.readline())
            bench.run("reset", "device", "scanner2", "--host", service.host)
            second = json.loads(watch.stdout.readline())
            watch.send_signal(signal.SIGINT)
            watch.communicate(timeout=bench.SOON)
      self.assertRegex(first["time"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$")
      self.assertGreater(second["change"], first["change"])
      self.assertEqual(watch.returncode, 130)

   def test_tells_loss_and_return(self):
      number = iter((7, None, 1))
      mutex = threading.Lock()

      def script(connection):
         while True:
            method, _ = bench.receive_call(connection)
            with mutex:
               answer = next(number) if method == "getSystemChangeNumber" else 0
            if answer is None:
               connection.shutdown(2)
               return
            result = b"\x08\x00\x00" + answer.to_bytes(4, "big") if method != "version" else b""
            connection.sendall(bench.reply(method, result))
      with bench.Peer(script) as peer:
         with bench.start("watch", "--interval", "10ms", "--count", "3", "--host", peer.host, "--json") as watch:
            self.assertEqual(watch.wait(bench.SOON), 0)
            events = [json.loads(line) for line in watch.stdout]
      for event in events:
         del event["time"]
      self.assertEqual(events, [{"change": 7}, {"lost": -52024}, {"back": True, "change": 1}])

   def test_ends_with_a_status_of_its_own_for_each_request(self):
      for request, status in ((signal.SIGINT, 130), (signal.SIGTERM, 143), (signal.SIGHUP, 129)):
         with self.subTest(request), bench.remote_service() as service:
            with bench.start("watch", "--host", service.host) as watch:
               watch.stdout.readline()
               watch.send_signal(request)
               self.assertEqual(watch.wait(bench.SOON), status)

   def test_tells_people_the_time_of_day(self):
      with bench.remote_service() as service:
         seen = bench.run("watch", "--count", "1", "--host", service.host)
      self.assertRegex(seen.out, r"\A\d\d:\d\d:\d\d\.\d{3}  change \d+\n\Z")

   def test_ends_with_its_input_where_that_is_a_pipe(self):
      with bench.remote_service() as service:
         self.assertEqual(bench.run("watch", "--host", service.host).status, 0)

   def test_service_that_is_not_there_at_first_is_status_3(self):
      with bench.Peer(lambda connection: connection.close()) as peer:
         self.assertEqual(bench.run("watch", "--host", peer.host).status, 3)


if __name__ == "__main__":
   unittest.main()
