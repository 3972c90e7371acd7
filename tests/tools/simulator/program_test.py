"""What zerova-simulator promises as a program.

program_test.py BUILD_DIR
"""

import json
import os
import pathlib
import re
import select
import signal
import socket
import subprocess
import sys
import tempfile
import typing
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]
BUILD = pathlib.Path(sys.argv[1])
PROGRAM = BUILD / "tools/simulator/zerova-simulator"
CLIENT = BUILD / "examples/quick_start"
ZEROVACTL = BUILD / "tools/zerovactl/zerovactl"
WITHOUT_NAMESPACES = BUILD / "tests/tools/support/without_namespaces"
BENCH = ROOT / "examples/benches/trigger_bench.toml"
SAID = "zerova-simulator: "


IS_DEBUG = b"\0\0\0\x14\x80\1\0\1\0\0\0\7isDebug" + bytes(5)


def processor_time(process: int) -> float:
    """In seconds."""
    fields = pathlib.Path(f"/proc/{process}/stat").read_text(encoding="utf-8").rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Outcome(typing.NamedTuple):
    status: int
    out: str
    err: str


def run(*arguments: object, before: typing.Sequence[object] = (), env: typing.Optional[dict] = None) -> Outcome:
    words = [str(word) for word in (*before, PROGRAM, *arguments)]
    done = subprocess.run(words, stdin=subprocess.DEVNULL, capture_output=True, timeout=60, env=env, check=False)
    return Outcome(done.returncode, done.stdout.decode(errors="replace"), done.stderr.decode(errors="replace"))


class Program(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def write(self, name: str, text: str) -> pathlib.Path:
        (self.folder / name).write_text(text, encoding="utf-8")
        return self.folder / name

    def start(self, *arguments: object, env: typing.Optional[dict] = None, limit: int = 0,
              pass_fds: typing.Sequence[int] = ()) -> subprocess.Popen:
        """limit: the most descriptors that it may have, if that is not 0. It gets those of pass_fds, and we lose them."""
        before = ["prlimit", f"--nofile={limit}"] if limit else []
        words = [str(word) for word in (*before, PROGRAM, BENCH, "--endpoint-dir", self.folder / "run", *arguments)]
        process = subprocess.Popen(words, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=env,
                                   pass_fds=pass_fds)
        for descriptor in pass_fds:
            os.close(descriptor)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        assert process.stdout
        self.assertEqual(process.stdout.readline().decode(), f"ready  local {self.folder / 'run'}\n")
        return process


class Use(Program):
    def expect_wrong_use(self, sentence: str, *arguments: object) -> None:
        self.assertEqual(run(*arguments), Outcome(2, "", f"{SAID}{sentence}\n"))

    def test_options_that_contradict_each_other_are_told(self) -> None:
        self.expect_wrong_use("which bench? --help tells how to name a file")
        self.expect_wrong_use("no command stands behind --", BENCH, "--")
        self.expect_wrong_use("check serves nothing, so no command can be run", "check", BENCH, "--", "true")
        self.expect_wrong_use("--watch needs --draw", BENCH, "--watch")
        self.expect_wrong_use("--replay and --draw exclude each other", BENCH, "--replay", "a", "--draw", "b.dot")
        self.expect_wrong_use("--no-local and --endpoint-dir exclude each other", BENCH, "--no-local",
                              "--endpoint-dir", "x")
        self.expect_wrong_use("with --no-local and without --tcp nothing would be served", BENCH, "--no-local")
        self.expect_wrong_use("--stay is for serving without a command, which ends with the command", BENCH, "--stay",
                              "--", "true")
        self.expect_wrong_use("--draw writes FILE.dot or FILE.svg; the name must end with one of the two", BENCH,
                              "--draw", "bench.png")

    def test_an_unknown_option_is_wrong_use(self) -> None:
        outcome = run(BENCH, "--nothing")
        self.assertEqual((outcome.status, outcome.out), (2, ""))
        self.assertIn("--nothing", outcome.err)

    def test_help_has_examples(self) -> None:
        outcome = run("--help")
        self.assertEqual((outcome.status, outcome.err), (0, ""))
        self.assertIn("zerova-simulator bench.toml -- ./driver_test", outcome.out)

    def test_an_address_that_others_can_reach_is_refused(self) -> None:
        self.assertEqual(run(BENCH, "--no-local", "--tcp", "192.0.2.1").status, 3)


    def test_a_full_disk_is_told(self) -> None:
        with open("/dev/full", "wb") as full:
            done = subprocess.run([str(PROGRAM), "check", str(BENCH)], stdout=full, stderr=subprocess.PIPE, timeout=60,
                                  check=False)
        self.assertEqual((done.returncode, done.stderr.decode()),
                         (4, f"{SAID}standard output cannot be written to: No space left on device\n"))

    def test_a_ready_line_that_cannot_be_written_is_told_at_once(self) -> None:
        with open("/dev/full", "wb") as full:
            done = subprocess.run([str(PROGRAM), str(BENCH), "--endpoint-dir", str(self.folder / "run"), "--stay"],
                                  stdin=subprocess.DEVNULL, stdout=full, stderr=subprocess.PIPE, timeout=60, check=False)
        self.assertEqual((done.returncode, done.stderr.decode()),
                         (4, f"{SAID}standard output cannot be written to: No space left on device\n"))

    def test_nothing_of_its_own_takes_the_place_of_a_closed_stream(self) -> None:
        log = self.folder / "calls.jsonl"
        words = f"exec {PROGRAM} {BENCH} --endpoint-dir {self.folder}/run --stay --log {log} <&- >&-"
        done = subprocess.run(["sh", "-c", words], stderr=subprocess.PIPE, timeout=60, check=False)
        self.assertEqual((done.returncode, done.stderr.decode()),
                         (4, f"{SAID}standard output cannot be written to: Bad file descriptor\n"))
        self.assertEqual(log.read_bytes(), b"")

    def test_a_closed_input_ends_it(self) -> None:
        words = f"exec {PROGRAM} {BENCH} --endpoint-dir {self.folder}/run <&-"
        done = subprocess.run(["sh", "-c", words], capture_output=True, timeout=60, check=False)
        self.assertEqual((done.returncode, done.stderr), (0, b""))


class Check(Program):
    def test_a_good_file_is_summed_up(self) -> None:
        outcome = run("check", BENCH)
        self.assertEqual(outcome, Outcome(0, f"{BENCH}: 3 devices, 9 terminals, 3 lines, 1 rule, 0 faults\n", ""))

    def test_every_mistake_is_told_with_its_place(self) -> None:
        bad = self.write("bad.toml", 'zerova_topology = 1\n[[line]]\nname = "l"\nkind = "k"\njoins = ["a"]\n[[lime]]\n')
        outcome = run("check", bad)
        self.assertEqual(outcome.status, 5)
        self.assertEqual(outcome.out.splitlines(), [
            f"{bad}:5:10: line 'l' joins the device 'a', which the file does not have",
            f"{bad}:6:3: the file has no key 'lime'; is 'line' meant?"])
        self.assertEqual(outcome.err, f"{SAID}{bad}: 2 mistakes\n")

    def test_a_bad_file_is_not_served(self) -> None:
        bad = self.write("bad.toml", "zerova_topology = 1\nnothing = 2\n")
        outcome = run(bad, "--", "true")
        self.assertEqual((outcome.status, outcome.out), (2, ""))
        self.assertIn(f"{bad}:2:1: the file has no key 'nothing'", outcome.err)

    def test_a_missing_file_is_told(self) -> None:
        outcome = run(self.folder / "none.toml")
        self.assertEqual(outcome.status, 2)
        self.assertIn(f"{self.folder}/none.toml: cannot be read: No such file or directory", outcome.err)


class Command(Program):
    def test_finds_the_service_where_the_library_looks(self) -> None:
        outcome = run(BENCH, "--", CLIENT)
        self.assertEqual(outcome, Outcome(0, "/matrix1/ch0 and /matrix1/ch1 are connected by route 1001\n", ""))

    def test_several_run_side_by_side(self) -> None:
        words = [str(PROGRAM), str(BENCH), "--", str(CLIENT)]
        running = [subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL) for _ in range(8)]
        self.assertEqual([process.wait(60) for process in running], [0] * 8)

    def test_exit_status_is_passed_on(self) -> None:
        self.assertEqual(run(BENCH, "--", "sh", "-c", "exit 7"), Outcome(7, "", ""))
        self.assertEqual(run(BENCH, "--", "sh", "-c", "kill -9 $$").status, 128 + 9)

    def test_a_missing_command_is_told(self) -> None:
        self.assertEqual(run(BENCH, "--", "/no/command"),
                         Outcome(127, "", f"{SAID}/no/command: No such file or directory\n"))

    def test_input_and_output_are_the_commands(self) -> None:
        done = subprocess.run([str(PROGRAM), str(BENCH), "--", "cat"], input=b"text", capture_output=True, timeout=60,
                              check=False)
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"text", b""))

    def test_the_plan_of_faults_reaches_it(self) -> None:
        outcome = run(BENCH, "--fault", 'method = "reserveRoute", error = { code = -89307 }', "--", CLIENT)
        self.assertEqual((outcome.status, outcome.err), (1, "not connected: -89307 {}\n"))

    def test_a_wrong_fault_is_told(self) -> None:
        outcome = run(BENCH, "--fault", 'method = "reserve", drop = true', "--", "true")
        self.assertEqual(outcome.status, 2)
        self.assertIn("--fault: the service has no method 'reserve'", outcome.err)

    def test_without_namespaces_it_is_offered_a_host(self) -> None:
        outcome = run(BENCH, "--", "sh", "-c", "echo $ZEROVA_SIMULATOR_HOST; exit 4", before=[WITHOUT_NAMESPACES])
        host = outcome.out.strip()
        self.assertEqual(outcome.status, 4)
        self.assertRegex(host, r"^127\.\d+\.\d+\.\d+$")
        self.assertEqual(outcome.err, f"{SAID}this system gives out no namespaces (unshare: Operation not permitted), so "
                                      f"the command finds no local endpoint; open sessions to the host {host}, which is "
                                      "in ZEROVA_SIMULATOR_HOST\n")

    def test_the_offered_host_has_the_service_and_its_locator(self) -> None:
        script = ("import os, socket; s = socket.create_connection((os.environ['ZEROVA_SIMULATOR_HOST'], 3580)); "
                  "s.sendall(b'GET Trevanta%2FZerova HTTP/1.0\\r\\n\\r\\n'); text = s.makefile().read(); "
                  "port = int(text.split('Mapping=')[1]); "
                  "socket.create_connection((os.environ['ZEROVA_SIMULATOR_HOST'], port)); print('found')")
        outcome = run(BENCH, "--", sys.executable, "-c", script, before=[WITHOUT_NAMESPACES])
        self.assertEqual((outcome.status, outcome.out), (0, "found\n"), outcome.err)

    def test_leaves_nothing_in_the_temporary_folder(self) -> None:
        befores: typing.List[typing.List[object]] = [[], [WITHOUT_NAMESPACES]]
        for before in befores:
            outcome = run(BENCH, "--", "true", before=before, env={**os.environ, "TMPDIR": str(self.folder)})
            self.assertEqual((outcome.status, list(self.folder.iterdir())), (0, []))

    def test_is_told_to_end_with_the_simulator(self) -> None:
        words = [str(PROGRAM), str(BENCH), "--", "sh", "-c", "echo up; exec sleep 600"]
        process = subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        assert process.stdout
        self.assertEqual(process.stdout.readline(), b"up\n")
        process.terminate()
        self.assertEqual(process.wait(60), 128 + signal.SIGTERM)
        process.stdout.close()


class Serving(Program):
    def test_ends_with_its_input_and_leaves_nothing(self) -> None:
        process = self.start()
        self.assertEqual(sorted(os.listdir(self.folder / "run")), ["com.zerova", "com.zerova.immediate"])
        assert process.stdin
        process.stdin.close()
        self.assertEqual(process.wait(60), 0)
        self.assertFalse((self.folder / "run").exists())
        process.stdin = None

    def test_ends_on_signals_and_leaves_nothing(self) -> None:
        for number, status in ((signal.SIGTERM, 0), (signal.SIGHUP, 0), (signal.SIGINT, 130)):
            process = self.start()
            process.send_signal(number)
            self.assertEqual(process.wait(60), status)
            self.assertFalse((self.folder / "run").exists())

    def test_a_second_one_is_refused_with_a_sentence(self) -> None:
        self.start()
        outcome = run(BENCH, "--endpoint-dir", self.folder / "run")
        self.assertEqual(outcome, Outcome(3, "", f"{SAID}another process serves the endpoint "
                                                 f"{self.folder}/run/com.zerova\n"))

    def test_one_that_is_refused_an_endpoint_leaves_nothing(self) -> None:
        with socket.create_server(("127.0.0.1", 0)) as taken:
            port = taken.getsockname()[1]
            outcome = run(BENCH, "--endpoint-dir", self.folder / "run", "--tcp", "127.0.0.1", "--port", port)
        self.assertEqual(outcome, Outcome(3, "", f"{SAID}cannot listen at 127.0.0.1:{port}: Address already in use\n"))
        self.assertFalse((self.folder / "run").exists())

    def test_what_a_killed_one_left_is_replaced(self) -> None:
        first = self.start()
        first.kill()
        first.wait(60)
        self.start()

    def test_ready_line_goes_to_the_descriptor(self) -> None:
        reading, writing = os.pipe()
        words = [str(PROGRAM), str(BENCH), "--endpoint-dir", str(self.folder / "run"), "--ready-fd", str(writing)]
        done = subprocess.run(words, stdin=subprocess.DEVNULL, capture_output=True, timeout=60, pass_fds=[writing],
                              check=False)
        os.close(writing)
        with os.fdopen(reading) as lines:
            self.assertEqual(lines.read(), f"ready  local {self.folder / 'run'}\n")
        self.assertEqual((done.returncode, done.stdout), (0, b""))

    def test_the_command_does_not_hold_the_descriptor(self) -> None:
        reading, writing = os.pipe()
        words = [str(PROGRAM), str(BENCH), "--ready-fd", str(writing), "--", "test", "!", "-e",
                 f"/proc/self/fd/{writing}"]
        done = subprocess.run(words, stdin=subprocess.DEVNULL, timeout=60, pass_fds=[writing], check=False)
        os.close(writing)
        with os.fdopen(reading) as lines:
            self.assertTrue(lines.read().startswith("ready  local "))
        self.assertEqual(done.returncode, 0)

    def test_a_closed_descriptor_is_told(self) -> None:
        outcome = run(BENCH, "--endpoint-dir", self.folder / "run", "--ready-fd", 900)
        self.assertEqual(outcome, Outcome(2, "", f"{SAID}--ready-fd 900 cannot be written to: Bad file descriptor\n"))

    def test_a_closed_descriptor_is_told_before_a_file_has_its_number(self) -> None:
        log = self.folder / "calls.jsonl"
        outcome = run(BENCH, "--endpoint-dir", self.folder / "run", "--log", log, "--ready-fd", 4)
        self.assertEqual(outcome, Outcome(2, "", f"{SAID}--ready-fd 4 cannot be written to: Bad file descriptor\n"))
        self.assertFalse(log.exists())

    def test_what_is_no_protocol_is_no_business_of_the_users(self) -> None:
        process = self.start()
        for sent in (b"\xff" * 64, b"GET / HTTP/1.0\r\n\r\n", b"\0\0\0\x04\x80\x02\0\1"):
            with socket.socket(socket.AF_UNIX) as client:
                client.connect(str(self.folder / "run/com.zerova"))
                client.sendall(sent)
                self.assertEqual(client.recv(1), b"")
        self.assertEqual(process.communicate(timeout=60), (b"", b""))

    def test_who_waits_for_the_last_descriptor_costs_no_time_and_gets_it(self) -> None:
        inherited = [os.open("/dev/null", os.O_RDONLY) for _ in range(45)]
        process = self.start(limit=80, pass_fds=inherited)
        clients = []
        while len(clients) < 40:
            client = socket.socket(socket.AF_UNIX)
            self.addCleanup(client.close)
            client.connect(str(self.folder / "run/com.zerova"))
            client.sendall(IS_DEBUG)
            if not select.select([client], [], [], 2)[0]:
                break
            self.assertEqual(len(client.recv(100)), 28)
            clients.append(client)
        self.assertTrue(0 < len(clients) < 40, len(clients))
        before = processor_time(process.pid)
        self.assertEqual(select.select([client], [], [], 1)[0], [])
        self.assertLess(processor_time(process.pid) - before, 0.3)
        clients[0].close()
        self.assertEqual(select.select([client], [], [], 60)[0], [client])
        self.assertEqual(len(client.recv(100)), 28)

    def test_a_folder_that_may_not_be_written_to_is_told(self) -> None:
        before = ["setpriv", "--reuid", "65534", "--clear-groups"] if os.geteuid() == 0 else []
        outcome = run(BENCH, "--endpoint-dir", "/usr/zerova", before=before)
        self.assertEqual(outcome.status, 3)
        self.assertIn("cannot make the folder /usr/zerova for local endpoints (Permission denied)", outcome.err)


class Refusals(unittest.TestCase):
    def test_each_label_has_words_in_all_languages(self) -> None:
        sources = "".join(path.read_text() for path in (ROOT / "tools/simulator").glob("*.cpp"))
        labels = set(re.findall(r'"(kUsageType\w+)"', sources))
        self.assertGreater(len(labels), 10)
        dictionaries = sorted((ROOT / "scripts/terms").glob("*/usageTypes.terms.dict.xml"))
        self.assertEqual(len(dictionaries), 6)
        for dictionary in dictionaries:
            words = set(re.findall(r'<term key="(\w+)">[^<]', dictionary.read_text(encoding="utf-8")))
            self.assertEqual(labels - words, set(), dictionary)


class Log(Program):
    def test_is_played_again(self) -> None:
        log = self.folder / "calls.jsonl"
        self.assertEqual(run(BENCH, "--log", log, "--", CLIENT).status, 0)
        methods = [json.loads(line).get("method") for line in log.read_text().splitlines()]
        self.assertEqual(methods, [None, "version", "calculateRoute", "reserveRoute", "programRoute", None])
        self.assertEqual(run(BENCH, "--replay", log), Outcome(0, "4 calls, 0 differences\n", ""))

    def test_differences_are_told(self) -> None:
        log = self.folder / "calls.jsonl"
        run(BENCH, "--log", log, "--", CLIENT)
        outcome = run(ROOT / "examples/benches/two_chassis.toml", "--replay", log)
        self.assertEqual(outcome.status, 5)
        self.assertEqual(outcome.out.splitlines()[0], f"{log}:3: calculateRoute gave 0, and gives -89301 now")

    def test_that_cannot_be_read_is_told(self) -> None:
        self.assertEqual(run(BENCH, "--replay", self.folder),
                         Outcome(2, "", f"{SAID}{self.folder}: cannot be read to its end\n"))

    def test_a_full_disk_is_told_and_the_command_goes_on(self) -> None:
        outcome = run(BENCH, "--log", "/dev/full", "--", CLIENT)
        self.assertEqual(outcome.status, 0)
        self.assertEqual(outcome.err, f"{SAID}cannot write /dev/full: No space left on device; calls are no longer "
                                      "logged\n")


class Picture(Program):
    def test_is_drawn_by_graphviz(self) -> None:
        picture = self.folder / "bench.svg"
        self.assertEqual(run(BENCH, "--draw", picture), Outcome(0, "", ""))
        self.assertIn("trigger_line0", picture.read_text())
        self.assertEqual(os.listdir(self.folder), ["bench.svg"])

    def test_without_graphviz_is_its_text_and_a_sentence(self) -> None:
        outcome = run(BENCH, "--draw", self.folder / "bench.svg", env={"PATH": "/nowhere"})
        text = self.folder / "bench.dot"
        self.assertEqual(outcome, Outcome(0, "", f"{SAID}Graphviz is not installed (package graphviz), so {text} has the "
                                                 "text that it would draw\n"))
        self.assertTrue(text.read_text().startswith("digraph bench {"))

    def graphviz(self, script: str) -> dict:
        """An environment in which Graphviz is a script of ours; $2 begins with -o."""
        program = self.write("dot", f"#!/bin/sh\n{script}\n")
        program.chmod(0o755)
        return {**os.environ, "PATH": f"{self.folder}:{os.environ['PATH']}"}

    def test_that_graphviz_does_not_draw_is_a_failure_that_leaves_the_text(self) -> None:
        outcome = run(BENCH, "--draw", self.folder / "bench.svg", env=self.graphviz("exit 3"))
        text = self.folder / "bench.dot"
        self.assertEqual(outcome, Outcome(4, "", f"{SAID}Graphviz failed; {text} has the text that it should have "
                                                 "drawn\n"))
        self.assertTrue(text.read_text().startswith("digraph bench {"))

    def test_that_graphviz_cannot_be_started_for_is_a_failure_that_leaves_the_text(self) -> None:
        env = self.graphviz("exit 0")
        (pathlib.Path(env["PATH"].split(":")[0]) / "dot").chmod(0o644)
        outcome = run(BENCH, "--draw", self.folder / "bench.svg", env={"PATH": env["PATH"].split(":")[0]})
        text = self.folder / "bench.dot"
        self.assertEqual(outcome, Outcome(4, "", f"{SAID}Graphviz failed (cannot start dot: Permission denied); {text} has "
                                                 "the text that it should have drawn\n"))
        self.assertTrue(text.exists())
        self.assertEqual(list(self.folder.glob("*.new")), [])

    def test_is_drawn_by_a_program_that_can_be_told_to_end(self) -> None:
        seen = self.folder / "seen"
        env = self.graphviz(f"grep SigBlk /proc/self/status > {seen}; echo '<svg/>' > \"${{2#-o}}\"")
        outcome = run(BENCH, "--draw", self.folder / "bench.svg", "--watch", "--", "true", env=env)
        self.assertEqual((outcome.status, outcome.err), (0, ""))
        self.assertEqual(seen.read_text().split(), ["SigBlk:", "0" * 16])

    def test_that_takes_too_long_does_not_hold_up_the_end(self) -> None:
        begun = self.folder / "begun"
        os.mkfifo(begun)
        process = self.start("--draw", self.folder / "bench.svg", "--watch",
                             env=self.graphviz(f"echo > {begun}; exec sleep 600"))
        begun.read_text()
        process.terminate()
        self.assertEqual(process.wait(60), 0)
        assert process.stderr
        self.assertIn("Graphviz took too long and was ended", process.stderr.read().decode())

    def test_has_the_routes_that_stand(self) -> None:
        picture = self.folder / "bench.dot"
        outcome = run(BENCH, "--draw", picture, "--watch", "--", ZEROVACTL, "route", "/matrix1/ch0", "/matrix1/ch1",
                      "--immediate", "--reserve")
        self.assertEqual(outcome.status, 0, outcome.err)
        routes = [line for line in picture.read_text().splitlines() if "1001" in line]
        self.assertEqual(len(routes), 1)
        self.assertIn("device0:t0 -> device0:t1", routes[0])
        self.assertIn("style=dashed", routes[0])

    def test_that_cannot_be_put_in_its_place_is_told(self) -> None:
        (self.folder / "bench.svg").mkdir()
        outcome = run(BENCH, "--draw", self.folder / "bench.svg")
        self.assertEqual(outcome, Outcome(4, "", f"{SAID}cannot write {self.folder}/bench.svg: Is a directory\n"))
        self.assertEqual(os.listdir(self.folder), ["bench.svg"])

    def test_follows_the_bench_when_watched(self) -> None:
        picture = self.folder / "bench.dot"
        outcome = run(BENCH, "--draw", picture, "--watch", "--", CLIENT)
        self.assertEqual(outcome.status, 0)
        self.assertTrue(picture.read_text().startswith("digraph bench {"))

    def test_a_folder_that_is_not_there_is_told(self) -> None:
        outcome = run(BENCH, "--draw", self.folder / "none/bench.dot")
        self.assertEqual(outcome, Outcome(4, "", f"{SAID}cannot write {self.folder}/none/bench.dot.new: No such file or "
                                                 "directory\n"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[2:])
