"""The package for Windows: what is in it, that it can be made again, and what a user builds on it.

windows_test.py PACKAGES AGAIN WINE: two folders of packaging/build-windows, and the program that runs
programs of Windows.
"""

import pathlib
import shutil
import sys
import tempfile
import unittest
import zipfile

from consumers import FOLDER, STRICT, must, only

ROOT = pathlib.Path(__file__).resolve().parents[2]
PACKAGES, AGAIN, WINE = map(pathlib.Path, sys.argv[1:4])
COMPILER = "x86_64-w64-mingw32-gcc-posix"


class Package(unittest.TestCase):
    def test_a_second_build_gives_the_same_bytes(self):
        first, second = (only(folder.glob("*.zip")) for folder in (PACKAGES, AGAIN))
        self.assertEqual(first.name, second.name)
        self.assertEqual(first.read_bytes(), second.read_bytes())


class Unpacked(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.scratch = pathlib.Path(folder.name)
        with zipfile.ZipFile(only(PACKAGES.glob("*.zip"))) as archive:
            archive.extractall(self.scratch)
        self.prefix = only(self.scratch.iterdir())

    def run_program(self, program):
        """What the program prints with the library beside it, where it looks for it."""
        shutil.copy(self.prefix / "bin/zerovaapi.dll", program.parent)
        return must(WINE, program)

    def assert_works(self, program):
        output = self.run_program(program)
        self.assertTrue(output.startswith("0 ") and "consumer" in output, output)

    def test_everything_is_in_it(self):
        documents = self.prefix / "share/doc/zerovaapi"
        headers = sorted(path.name for path in (ROOT / "include").iterdir() if path.suffix in (".h", ".hpp"))
        self.assertEqual(sorted(path.name for path in (self.prefix / "include").iterdir()), headers)
        for path in ("lib/libzerovaapi.dll.a", "lib/zerovaapi.lib", "share/zerovaapi/texts/zerova/German/zerova.err"):
            self.assertTrue((self.prefix / path).is_file(), path)
        for path in ("README.md", "docs/windows.md", "examples/quick_start.c", "third-party.md",
                     "third-party-runtime.txt", "third-party-compiler.txt", "third-party-cli11.txt",
                     "third-party-json.txt", "third-party-toml.txt"):
            self.assertTrue((documents / path).is_file(), path)
        self.assertRegex((documents / "zerovaapi.map").read_text(encoding="utf-8"),
                         r"(?m)^[0-9a-f]{8} zerovaapi_createSession$")

    def test_the_library_is_held_to_its_promises(self):
        must(sys.executable, "-B", ROOT / "tests/windows/check_dll.py", self.prefix / "bin/zerovaapi.dll",
             ROOT / "source/zerovaapi/exports.txt", "x86_64-w64-mingw32-objdump")

    def test_the_tools_need_nothing_but_the_zip(self):
        tool = self.prefix / "bin/zerovactl.exe"
        self.assertRegex(must(WINE, tool, "--version"), r"^zerovactl [0-9.]+, libzerovaapi [0-9.]+ \(.*zerovaapi\.dll\)")
        self.assertIn("routing service", must(WINE, tool, "explain", "-89168", "--lang", "en"))
        self.assertNotIn(str(ROOT).encode(), tool.read_bytes())
        simulator = self.prefix / "bin/zerova-simulator.exe"
        self.assertRegex(must(WINE, simulator, "--version"), r"^zerova-simulator [0-9.]+")
        self.assertIn("5 devices", must(WINE, simulator, "check", ROOT / "examples/benches/laboratory.toml"))
        self.assertNotIn(str(ROOT).encode(), simulator.read_bytes())

    def test_a_project_of_cmake_finds_it(self):
        build = self.scratch / "by_cmake"
        must("cmake", "-S", FOLDER, "-B", build, f"-DCMAKE_TOOLCHAIN_FILE={ROOT}/cmake/windows.cmake",
             f"-Dzerovaapi_DIR={self.prefix}/lib/cmake/zerovaapi")
        must("cmake", "--build", build)
        self.assert_works(build / "consumer.exe")

    def test_a_command_line_is_enough(self):
        program = self.scratch / "by_compiler/consumer.exe"
        program.parent.mkdir()
        must(COMPILER, *STRICT, FOLDER / "consumer.c", f"-I{self.prefix}/include", f"-L{self.prefix}/lib", "-lzerovaapi",
             "-o", program)
        self.assert_works(program)

    def test_other_compilers_are_given_the_import_library_of_their_linkers(self):
        # As far as a project of theirs goes on this system: the compiler is tried with nothing to link.
        project = self.scratch / "other"
        project.mkdir()
        project.joinpath("CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.16)\nproject(other LANGUAGES C)\nfind_package(zerovaapi 1 REQUIRED)\n"
            "file(GENERATE OUTPUT library.txt CONTENT \"$<TARGET_LINKER_FILE:zerovaapi::zerovaapi>\")\n", encoding="utf-8")
        must("cmake", "-S", project, "-B", project / "build", "-DCMAKE_SYSTEM_NAME=Windows",
             "-DCMAKE_C_COMPILER=clang", "-DCMAKE_C_COMPILER_TARGET=x86_64-pc-windows-msvc",
             "-DCMAKE_C_COMPILER_WORKS=ON", f"-Dzerovaapi_DIR={self.prefix}/lib/cmake/zerovaapi")
        self.assertEqual((project / "build/library.txt").read_text(encoding="utf-8"),
                         str(self.prefix / "lib/zerovaapi.lib"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
