"""Installing from a build: what is put where, works there and elsewhere, and goes again.

install_test.py BUILD LAUNCHER [CLASS...]: a build of the library, and a compiler cache to build a parent
project with, or nothing.
"""

import json
import os
import pathlib
import re
import shutil
import sys
import tempfile
import unittest

from consumers import Installation, must, only, run

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(sys.argv[1])
LAUNCHER = sys.argv[2]


def tree(folder):
    return sorted(str(path.relative_to(folder)) for path in folder.rglob("*"))


class Scratch(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.scratch = pathlib.Path(folder.name)
        self.prefix = self.scratch / "prefix"

    def install(self, *options):
        return must("cmake", "--install", BUILD, "--prefix", self.prefix, *options)


class Install(Scratch):
    def setUp(self):
        super().setUp()
        self.install()

    def test_everything_is_where_the_system_expects_it(self):
        library = only(self.prefix.glob("lib/**/libzerovaapi.so.1"))
        self.assertEqual(os.readlink(library.with_name("libzerovaapi.so")), "libzerovaapi.so.1")
        self.assertRegex(os.readlink(library), r"^libzerovaapi\.so\.1\.\d+\.\d+$")
        self.assertEqual(tree(self.prefix / "include"),
                         ["lorvex_translator.h", "quelerr_status.h", "zerovaapi.h", "zerovaapi.hpp"])
        documents = self.prefix / "share/doc/zerovaapi"
        for path in (self.prefix / "share/man/man7/zerovaapi.7",
                     self.prefix / "share/man/man3/zerovaapi_calculateRoute.3", documents / "README.md", documents / "CHANGELOG.md",
                     documents / "docs/status-codes.md", documents / "examples/quick_start.c",
                     documents / "third-party.md", self.prefix / "lib/tmpfiles.d/zerovaapi.conf"):
            self.assertTrue(path.is_file(), path)

    def test_a_prefix_that_was_moved_works(self):
        moved = self.prefix.rename(self.scratch / "moved")
        Installation(moved, self.scratch).check()

    def test_the_folders_of_the_build_are_known_to_pkg_config(self):
        installation = Installation(self.prefix, self.scratch)
        cache = (BUILD / "CMakeCache.txt").read_text(encoding="utf-8")
        for variable, setting in (("endpointdir", "ZEROVA_ENDPOINT_DIR"), ("registrydir", "ZEROVA_REGISTRY_DIR")):
            self.assertIn(f"{setting}:STRING={installation.variable(variable)}\n", cache)

    def test_another_major_version_is_not_found(self):
        project = self.scratch / "other"
        project.mkdir()
        for version, fits in (("1", True), ("1.0", True), ("2", False), ("0.9", False), ("1.9", False)):
            with self.subTest(version):
                (project / "CMakeLists.txt").write_text(
                    "cmake_minimum_required(VERSION 3.16)\nproject(other LANGUAGES C)\n"
                    f"find_package(zerovaapi {version} REQUIRED)\n", encoding="utf-8")
                status, output = run("cmake", "-S", project, "-B", project / f"build-{version}",
                                     f"-DCMAKE_PREFIX_PATH={self.prefix}")
                self.assertEqual(status == 0, fits, output)

    def test_the_manual_page_has_the_rules_of_the_header(self):
        page = (self.prefix / "share/man/man7/zerovaapi.7").read_text(encoding="utf-8")
        header = (self.prefix / "include/zerovaapi.h").read_text(encoding="utf-8")
        comment = header[:header.index("*/")]
        self.assertEqual(page.count("\n.IP "), max(n for n in range(1, 30) if f" *  {n}. " in comment))
        self.assertIn("Every release function takes null", " ".join(page.split()))

    def test_installed_examples_find_their_files_from_anywhere(self):
        moved = self.prefix.rename(self.scratch / "moved")
        program = only(moved.glob("lib/**/describe_error"))
        texts = Installation(moved, self.scratch).variable("textsdir")
        output = must("env", "-C", "/", program, "--errors", f"{texts}/zerova", "--aux", texts, "--language", "german",
                      "-89168")
        self.assertIn("Routingdienst", output)
        output = must("env", "-C", "/", program, f"@{moved}/share/doc/zerovaapi/examples/refused_route.json")
        self.assertIn("matrix1", output)

    def test_installed_sources_of_examples_build(self):
        sources = self.prefix / "share/doc/zerovaapi/examples"
        must("cmake", "-S", sources, "-B", self.scratch / "examples", f"-DCMAKE_PREFIX_PATH={self.prefix}")
        must("cmake", "--build", self.scratch / "examples")
        must(self.scratch / "examples/describe_error", "--help")


class Components(Scratch):
    def installed(self, component):
        self.prefix = self.scratch / component
        self.install("--component", component)
        return {path for path in tree(self.prefix) if not (self.prefix / path).is_dir()}

    def test_each_file_is_of_one_component(self):
        runtime, development, doc, tools = map(self.installed, ("runtime", "development", "doc", "tools"))
        self.prefix = self.scratch / "all"
        self.install()
        everything = {path for path in tree(self.prefix) if not (self.prefix / path).is_dir()}
        self.assertEqual(runtime | development | doc | tools, everything)
        self.assertEqual(len(runtime) + len(development) + len(doc) + len(tools), len(everything))
        self.assertTrue(all(not path.endswith((".so", ".h", ".pc", ".cmake")) for path in runtime), runtime)
        self.assertTrue(all(path.startswith("share/doc/") for path in doc), doc)
        self.assertIn("bin/zerova-simulator", tools)


class Uninstall(Scratch):
    def uninstall(self):
        return run("cmake", "--build", BUILD, "--target", "uninstall")

    def test_nothing_is_left(self):
        self.scratch.joinpath("prefix").mkdir()
        self.install()
        self.install()
        status, output = self.uninstall()
        self.assertEqual((status, tree(self.prefix)), (0, []), output)

    def test_what_is_of_others_is_left(self):
        others = ["lib/other", "share/doc/zerovaapi/note", "share/man/man1"]
        self.prefix.joinpath("lib").mkdir(parents=True)
        self.prefix.joinpath("share/man/man1").mkdir(parents=True)
        self.prefix.joinpath("lib/other").touch()
        self.install()
        self.prefix.joinpath("share/doc/zerovaapi/note").touch()
        status, output = self.uninstall()
        self.assertEqual((status, tree(self.prefix)), (0, sorted(
            others + ["lib", "share", "share/doc", "share/doc/zerovaapi", "share/man"])), output)

    def test_without_an_installation_it_says_so(self):
        self.install()
        self.uninstall()
        status, output = self.uninstall()
        self.assertNotEqual(status, 0)
        self.assertIn("is installed", output)


class Refused(Scratch):
    def refusal(self, prefix, *launcher):
        status, output = run(*launcher, "cmake", "--install", BUILD, "--prefix", prefix)
        self.assertNotEqual(status, 0, output)
        return " ".join(output.split())

    def test_a_prefix_without_permission_is_told(self):
        self.prefix.mkdir()
        self.prefix.chmod(0o555)
        # The superuser may write anywhere unless that right is taken from him.
        launcher = ["setpriv", "--bounding-set=-dac_override,-dac_read_search"] if os.geteuid() == 0 else []
        for prefix in (self.prefix, self.prefix / "below"):
            self.assertIn(f"Nothing can be written into {self.prefix}:", self.refusal(prefix, *launcher))
        self.assertEqual(tree(self.prefix), [])

    def test_a_file_in_the_place_of_the_prefix_is_told(self):
        self.prefix.touch()
        self.assertIn(f"{self.prefix} is a file in the place of a folder", self.refusal(self.prefix))

    def test_a_build_of_some_targets_is_told_before_anything_is_written(self):
        for made in ("third-party.md", "man/made", "texts/generated/zerova/English/zerova.err", "examples/quick_start"):
            with self.subTest(made):
                file = BUILD / made
                aside = file.rename(file.with_name("aside"))
                try:
                    self.assertIn(f"{file} has not been built yet", self.refusal(self.prefix))
                finally:
                    aside.rename(file)
                self.assertFalse(self.prefix.exists())

    def test_endpoints_that_anybody_may_write_to_are_told(self):
        cache = (BUILD / "CMakeCache.txt").read_text(encoding="utf-8")
        folder = re.search("^ZEROVA_ENDPOINT_DIR:[A-Z]+=/(.*)$", cache, re.M).group(1)
        endpoints = self.scratch / folder
        endpoints.mkdir(parents=True)
        endpoints.chmod(0o777)
        launcher = ["env", f"DESTDIR={self.scratch}"]
        self.assertIn(f"Anybody may write to {endpoints} ", self.refusal("/prefix", *launcher))
        self.assertFalse((self.scratch / "prefix/include").exists())
        endpoints.chmod(0o755)
        must(*launcher, "cmake", "--install", BUILD, "--prefix", "/prefix")


class MissingDependency(Scratch):
    """On a machine that has the commands of the list and nothing else."""

    COMMANDS = ("ar", "as", "bash", "c++", "cc", "cmp", "cmake", "dirname", "find", "ld", "ninja", "nm", "objcopy", "objdump",
                "ranlib", "readelf", "realpath", "sha256sum", "sh", "strip", "wc")

    def configure(self, *options, lacking=()):
        tools = self.scratch / "tools"
        tools.mkdir()
        for command in set(self.COMMANDS) - set(lacking):
            (tools / command).symlink_to(shutil.which(command))
        status, output = run("cmake", "-S", ROOT, "-B", self.scratch / "build", "-G", "Ninja",
                             "-DCMAKE_FIND_USE_CMAKE_SYSTEM_PATH=OFF", f"-DPython3_EXECUTABLE={sys.executable}",
                             *options, PATH=str(tools))
        self.assertNotEqual(status, 0, output)
        return " ".join(output.split())

    def test_a_machine_without_compilers_is_told(self):
        self.assertIn("apt-get install g++", self.configure(lacking=["cc", "c++"]))

    def test_the_package_of_missing_headers_is_named(self):
        self.assertIn("apt-get install libboost-dev",
                      self.configure(f"-DZEROVA_DEPENDENCIES={ROOT}/build/dependencies"))

    def test_the_package_of_a_missing_program_is_named(self):
        self.assertIn("apt-get install thrift-compiler",
                      self.configure(f"-DZEROVA_DEPENDENCIES={ROOT}/build/dependencies", "-DBOOST_HEADERS=/usr/include"))

    def test_sources_that_were_not_fetched_are_told(self):
        self.assertIn("run ./dev setup", self.configure(f"-DZEROVA_DEPENDENCIES={self.scratch}/none"))


class Parent(Scratch):
    def configure(self, *options):
        build = self.scratch / "build"
        queries = build / ".cmake/api/v1/query"
        queries.mkdir(parents=True)
        queries.joinpath("codemodel-v2").touch()
        must("cmake", "-S", ROOT / "tests/packaging/parent", "-B", build, "-G", "Ninja",
             f"-DLIBRARY_SOURCES={ROOT}", *options)
        return build

    def targets(self, build):
        model = only(build.glob(".cmake/api/v1/reply/codemodel-v2-*.json"))
        configuration = json.loads(model.read_text(encoding="utf-8"))["configurations"][0]
        return {target["name"] for target in configuration["targets"]}

    def test_it_gets_the_library_and_nothing_forced_on_it(self):
        build = self.configure("-DBY_FETCH=ON")
        targets = self.targets(build)
        self.assertIn("zerovaapi", targets)
        self.assertEqual([name for name in targets if "test" in name or "simulator" in name or name == "uninstall"], [])
        cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
        self.assertIn("CMAKE_BUILD_TYPE:STRING=\n", cache)
        self.assertIn("Total Tests: 0", must("ctest", "--test-dir", build, "-N"))
        must("cmake", "--install", build, "--prefix", self.prefix)
        self.assertFalse(self.prefix.exists())

    def test_it_installs_the_library_if_it_asks_for_it(self):
        build = self.configure("-DZEROVA_INSTALL=ON")
        self.assertIn("zerovaapi.h", (build / "zerovaapi/cmake_install.cmake").read_text(encoding="utf-8"))

    def test_its_program_runs_on_a_library_that_it_built(self):
        launcher = [f"-DCMAKE_{language}_COMPILER_LAUNCHER={LAUNCHER}" for language in ("C", "CXX")] if LAUNCHER else []
        build = self.configure("-DCMAKE_BUILD_TYPE=RelWithDebInfo", *launcher)
        must("cmake", "--build", build, CCACHE_BASEDIR=str(ROOT), CCACHE_NOHASHDIR="true")
        self.assertTrue(must(build / "parent").startswith("0 "))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
