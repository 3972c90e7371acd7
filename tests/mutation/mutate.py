#!/usr/bin/env python3
"""Puts faults into a copy of the library, one at a time, and tells which of them the suite catches.

Usage: mutate.py SEED COUNT [NUMBER...]

Draws faults by the seed until COUNT have been tried; NUMBERs try these of the drawn ones alone. One
that does not compile, one that is listed in equivalent.json and one of which the compiler makes the
same code is drawn again. Everything happens in build/mutate, in a copy of the tree. Ends with 1 when
fewer than 95 of a hundred were caught.
"""

import argparse
import collections
import ctypes
import hashlib
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import time

import faults

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]
WORK = ROOT / "build/mutate"
TREE = WORK / "tree"

SOURCES = re.compile(
    r"(quelerr|platform/posix|transport|source/zerovaapi|torvik|lorvex|lorvexlua)/[^/]*\.(cpp|h)|scripts/[^/]*\.lua"
)
GOAL = 0.95
# The code of the library; what is linked in is compiled with headers of ours in front.
OBJECTS = ("zerovaapi_objects", "zerova_interface", "zerova_thrift", "zerova_lua")
# A test program's limit, beyond which a fault has made it hang: generous, since others share the machine.
LIMIT_SECONDS = 60
LIMIT_FACTOR = 5

# What most likely sees a fault of a folder, tried first; everything else follows, the quickest first.
LIKELY = {
    "quelerr": ["unit_quelerr", "exports_client", "unit_torvik", "unit_lorvex", "exports_lua_translator"],
    "platform/posix": [
        *("unit_platform_files", "unit_platform_code_page", "unit_platform_socket", "unit_torvik"),
        *("unit_transport", "unit_zerovaapi", "exports_local"),
    ],
    "transport": ["unit_transport", "unit_zerovaapi", "exports_local", "exports_client"],
    "source/zerovaapi": ["unit_zerovaapi", "exports_client", "exports_service", "exports_local"],
    "torvik": ["unit_torvik", "unit_torvik_value_size", "unit_lorvexluautils"],
    "lorvex": ["unit_lorvex", "unit_lorvex_error_files", "unit_lorvex_mbs", "unit_lorvex_scan_integer"],
    "lorvexlua": ["unit_lorvexlua", "unit_lorvexluautils", "exports_lua_translator"],
    "scripts": ["unit_lorvexlua", "exports_lua_translator", "exports_lua_translator_installed"],
}
# They look at texts of the tree and never at what the library does.
NO_TEST_OF_THE_LIBRARY = re.compile(
    r"^(docs\.|dependencies\.|unit_(bench|fuzz|scripts|mutation)\.|exports\.(.*Compiles|InterfaceIs|Checks))|GenerateCodePages"
)


def run(command, limit=None, **options):
    """The exit code, or None for one that took longer than the limit, and the output."""
    process = subprocess.Popen(
        command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True, **options
    )
    try:
        output, _ = process.communicate(timeout=limit)
        return process.returncode, output.decode(errors="replace")
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        output, _ = process.communicate()
        return None, output.decode(errors="replace")


def copy_tree():
    """Makes the copy like the tree; a file that is the same keeps its time."""
    listed = subprocess.check_output(["git", "ls-files", "-co", "--exclude-standard", "-z"], cwd=ROOT)
    wanted = {name for name in listed.decode().split("\0") if name and (ROOT / name).is_file()}
    for path in [path for path in TREE.rglob("*") if path.is_file() and TREE / "build" not in path.parents]:
        if str(path.relative_to(TREE)) not in wanted:
            path.unlink()
    for name in wanted:
        target = TREE / name
        if not target.is_file() or target.read_bytes() != (ROOT / name).read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, target)


class Lua:
    """Whether the interpreter can compile a script."""

    def __init__(self):
        self.library = ctypes.CDLL("liblua5.1.so.0")
        self.library.luaL_newstate.restype = ctypes.c_void_p

    def compiles(self, text):
        state = ctypes.c_void_p(self.library.luaL_newstate())
        code = self.library.luaL_loadstring(state, text.encode())
        self.library.lua_close(state)
        return code == 0


class Test:
    """A program of GoogleTest, whole, or another command that CTest knows."""

    def __init__(self, name, command, folder):
        self.name, self.command, self.folder = name, command, folder
        self.is_program = False
        self.seconds = 0.0

    def run(self, *options):
        limit = LIMIT_SECONDS + LIMIT_FACTOR * self.seconds
        return run([*self.command, *options], limit, cwd=self.folder)

    def failure(self):
        """None, or what was seen: the name of the test that failed, again when run alone."""
        if not self.is_program:
            code, _ = self.run()
            return None if code == 0 else self.name
        code, output = self.run("--gtest_fail_fast")
        if code == 0:
            return None
        if code is None:
            return f"{self.name}, by time-out"
        named = re.findall(r"\[  FAILED  \] ([^\s.]+\.[^\s,]+)(?:,| \()", output)
        named = named or re.findall(r"\[ RUN      \] (\S+)", output)[-1:]
        if not named:
            return f"{self.name}, which did not start"
        # One that fails by chance, on a busy machine, must not count.
        return f"{self.name} {named[0]}" if self.run(f"--gtest_filter={named[0]}")[0] != 0 else None


class Suite:
    """The tests of the copy, as one preset builds them."""

    def __init__(self, preset):
        self.preset = preset
        self.folder = TREE / "build" / preset
        self.tests = {}
        self.proved = set()

    def configure(self):
        dependencies = f"-DZEROVA_DEPENDENCIES={ROOT}/build/dependencies"
        command = ["cmake", "--preset", self.preset, "--log-level=WARNING", dependencies]
        subprocess.run(command, cwd=TREE, check=True, stdout=subprocess.DEVNULL)

    def build(self, *targets):
        selected = ["--target", *targets] if targets else []
        return run(["cmake", "--build", "--preset", self.preset, "-j1", *selected], cwd=TREE)[0] == 0

    def list_tests(self):
        command = ["ctest", "--preset", self.preset, "--show-only=json-v1"]
        for test in json.loads(subprocess.check_output(command, cwd=TREE))["tests"]:
            name, command = test["name"], test["command"]
            folder = next(p["value"] for p in test["properties"] if p["name"] == "WORKING_DIRECTORY")
            if any(word.startswith("--gtest_filter=") for word in command):
                program = pathlib.Path(command[0]).name
                self.tests.setdefault(program, Test(program, command[:1], folder)).is_program = True
            elif not NO_TEST_OF_THE_LIBRARY.search(name):
                self.tests[name] = Test(name, command, folder)

    def take_programs_of(self, other):
        """Without building them all, as CTest would need."""
        for test in other.tests.values():
            if test.is_program:
                paths = [text.replace(str(other.folder), str(self.folder)) for text in (*test.command, test.folder)]
                self.tests[test.name] = Test(test.name, paths[:1], paths[1])
                self.tests[test.name].is_program = True

    def build_of(self, test):
        return self.build(*([test.name] if test.is_program else []))

    def prove(self, tests):
        """That they pass without a fault, so that a failure tells something. Each is tried once."""
        for test in tests:
            if test.name in self.proved:
                continue
            if not self.build_of(test):
                sys.exit(f"mutate: without a fault {test.name} does not build")
            start = time.monotonic()
            failure = test.failure()
            test.seconds = time.monotonic() - start
            if failure:
                sys.exit(f"mutate: without a fault fails {failure} ({self.preset})")
            self.proved.add(test.name)

    def objects(self):
        folders = [folder for target in OBJECTS for folder in self.folder.rglob(f"CMakeFiles/{target}.dir")]
        return {path: path.stat().st_mtime_ns for folder in folders for path in folder.rglob("*.o")}

    def likely(self, path):
        return [self.tests[name] for name in LIKELY[str(pathlib.Path(path).parent)] if name in self.tests]

    def others(self, path):
        rest = [test for test in self.tests.values() if test not in self.likely(path)]
        return sorted(rest, key=lambda test: (not test.is_program, test.seconds))


def code_of(path):
    stripped = WORK / "stripped.o"
    subprocess.run(["objcopy", "--strip-debug", path, stripped], check=True)
    return hashlib.sha256(stripped.read_bytes()).digest()


class Trial:
    """Tries faults: all on what likely sees them, and what is left then on the whole suite and on
    the likely tests under AddressSanitizer, which sees leaks and reads past an end."""

    def __init__(self, plain):
        self.plain = plain
        self.sanitized = Suite("asan")
        self.lua = Lua()
        self.codes = {path: code_of(path) for path in plain.objects()}

    def first_verdict(self, fault, text):
        """Its kind, which is "drawn again", "same code", "caught" or "left", and what caught it."""
        if fault.path.endswith(".lua") and not self.lua.compiles(fault.applied(text)):
            return "drawn again", ""
        likely = self.plain.likely(fault.path)
        self.plain.prove(likely)
        self.plain.build(*OBJECTS)  # what the fault before has left
        before = self.plain.objects()
        put(fault.path, fault.applied(text), is_fault=True)
        try:
            if not self.plain.build(*OBJECTS):
                return "drawn again", ""
            after = self.plain.objects()
            if all(code_of(path) == self.codes[path] for path in after if after[path] != before[path]):
                return "same code", ""
            return tried(self.plain, likely)
        finally:
            put(fault.path, text)

    def last_verdict(self, fault, text):
        sanitized = self.sanitized
        if not sanitized.tests:
            sanitized.configure()
            sanitized.take_programs_of(self.plain)
        for suite, tests in ((self.plain, self.plain.others(fault.path)), (sanitized, sanitized.likely(fault.path))):
            suite.prove(tests)
            put(fault.path, fault.applied(text), is_fault=True)
            try:
                kind, by = tried(suite, tests)
            finally:
                put(fault.path, text)
            if kind == "caught":
                return kind, by if suite is self.plain else f"{by} ({suite.preset})"
        return "SURVIVED", ""


def tried(suite, tests):
    for test in tests:
        if not suite.build_of(test):
            return "caught", f"the build of {test.name}"
        failure = test.failure()
        if failure:
            return "caught", failure
    return "left", ""


def put(name, text, is_fault=False):
    (TREE / name).write_text(text)
    # Nobody has a use for a fault's objects later.
    os.environ.pop("CCACHE_READONLY", None)
    if is_fault:
        os.environ["CCACHE_READONLY"] = "1"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("seed", type=int)
    parser.add_argument("count", type=int)
    parser.add_argument("numbers", type=int, nargs="*", help="of the drawn faults, those to try")
    arguments = parser.parse_args()

    os.nice(10)
    copy_tree()
    suite = Suite("test")
    suite.configure()
    if not suite.build():
        sys.exit("mutate: the tree does not build")
    suite.list_tests()

    texts = {}
    for path in TREE.rglob("*"):
        name = str(path.relative_to(TREE))
        if SOURCES.fullmatch(name):
            texts[name] = path.read_text()
    keys = ("file", "above", "before", "after", "operator")
    equivalent = {tuple(entry[key] for key in keys) for entry in json.loads((HERE / "equivalent.json").read_text())}

    trial = Trial(suite)
    kinds = collections.Counter()
    left = []

    def note(number, fault, kind, by):
        kinds[kind] += 1
        place = f"{number} {fault.path}:{fault.line} {fault.operator}"
        before, after = fault.shown(texts[fault.path])
        print(f"{place}: {before} -> {after}: {kind}{' by ' if by else ''}{by}", flush=True)

    for number, fault in enumerate(faults.drawn(texts, arguments.seed), 1):
        if kinds["caught"] + len(left) == (len(arguments.numbers) or arguments.count):
            break
        if arguments.numbers and number > max(arguments.numbers):
            break
        if arguments.numbers and number not in arguments.numbers:
            continue
        text = texts[fault.path]
        if (fault.path, fault.line_above(text), *fault.shown(text), fault.operator) in equivalent:
            kind, by = "equivalent", ""
        else:
            kind, by = trial.first_verdict(fault, text)
        if kind == "left":
            left.append((number, fault))
        note(number, fault, kind, by)
    for number, fault in left:
        note(number, fault, *trial.last_verdict(fault, texts[fault.path]))

    counted = kinds["caught"] + kinds["SURVIVED"]
    print(
        f"seed {arguments.seed}: {kinds['caught']} of {counted} caught; not counted: {kinds['equivalent']} listed as "
        f"equivalent, {kinds['same code']} with the same code; {kinds['drawn again']} did not compile"
    )
    sys.exit(0 if kinds["caught"] >= GOAL * counted else 1)


if __name__ == "__main__":
    main()
