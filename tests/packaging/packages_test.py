"""The packages: what is in them, installed with the package manager, used, and removed.

packages_test.py PACKAGES AGAIN: the folders of two builds of one commit.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

from consumers import Installation, must, only, run

ROOT = pathlib.Path(__file__).resolve().parents[2]
PACKAGES = pathlib.Path(sys.argv[1])
AGAIN = pathlib.Path(sys.argv[2])
NAMES = ("libzerovaapi1", "libzerovaapi-dev", "libzerovaapi-doc", "zerovaapi-tools")
PYTHON = "python3-zerovaapi"
RUNTIME = ("libc6", "libgcc-s1", "libstdc++6")
# What the build has linked in, or reads, is nobody's to install.
OWN = re.compile(r"thrift|lua|cjson|boost|python")


def package(name):
    return only(PACKAGES.glob(f"{name}_*.deb"))


def fields(name):
    return dict(line.split(": ", 1) for line in must("dpkg-deb", "-f", package(name)).splitlines() if ": " in line)


def tree(folder):
    paths = (str(path.relative_to(folder)) for path in folder.rglob("*"))
    return sorted(path for path in paths if not path.startswith("var/lib/dpkg"))


# What the interpreter's own do with a package when it is installed and removed; these know of another root.
SCRIPTS_OF_PYTHON = {
    "py3compile": '/usr/bin/python3 -m compileall -q "$DPKG_ROOT/usr/lib/python3/dist-packages"',
    "py3clean": 'find "$DPKG_ROOT/usr/lib/python3/dist-packages" -depth -name __pycache__ -exec rm -r {} +'}

USE_OF_PYTHON = """
import importlib.metadata, zerovaapi
print(zerovaapi.LIBRARY_PATH, importlib.metadata.version("zerovaapi"))
print(zerovaapi.Translator().describe(-89168, "de"))
"""


def made_for_linux(folder):
    return sorted(path.name for path in folder.iterdir() if path.suffix not in (".log", ".zip"))


class Build(unittest.TestCase):
    def test_two_builds_of_one_commit_are_equal(self):
        built = made_for_linux(PACKAGES)
        self.assertEqual(built, made_for_linux(AGAIN))
        self.assertGreaterEqual(len(built), 4)
        for name in built:
            self.assertEqual((PACKAGES / name).read_bytes(), (AGAIN / name).read_bytes(), name)

    def test_the_version_is_that_of_the_build(self):
        version = re.search(r"project\(zerovaapi VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text(encoding="utf-8"))[1]
        for name in (*NAMES, PYTHON):
            self.assertEqual(fields(name)["Version"], version)
        self.assertIn(f"zerovaapi-{version}-linux-", only(PACKAGES.glob("*.tar.gz")).name)
        self.assertIn(f"zerovaapi-{version}-py3-none-manylinux_", only(PACKAGES.glob("*.whl")).name)

    def test_lintian_has_nothing_to_say(self):
        status, output = run("lintian", "--allow-root", "--display-info", "--display-experimental", "--pedantic",
                             "--fail-on", "error,warning,info,pedantic,experimental", *map(package, (*NAMES, PYTHON)))
        self.assertEqual((status, re.findall(r"^[EWIPX]: .*", output, re.M)), (0, []), output)

    def test_the_exports_are_known_to_the_package_manager(self):
        symbols = subprocess.run(["dpkg-deb", "--ctrl-tarfile", package("libzerovaapi1")], capture_output=True, check=True)
        listed = subprocess.run(["tar", "-xO", "./symbols"], input=symbols.stdout, capture_output=True, check=True).stdout
        names = set(re.findall(r"^ (\w+)@ZEROVAAPI_1 ", listed.decode(), re.M)) - {"ZEROVAAPI_1"}
        exports = (ROOT / "source/zerovaapi/exports.txt").read_text(encoding="utf-8").split()
        self.assertEqual((names, len(names)), (set(exports), 59))

    def test_the_missing_licence_is_told(self):
        for name in (*NAMES, PYTHON):
            with tempfile.TemporaryDirectory() as folder:
                must("dpkg-deb", "-x", package(name), folder)
                text = (pathlib.Path(folder) / f"usr/share/doc/{name}/copyright").read_text(encoding="utf-8")
                self.assertIn("The owner of zerovaapi has not chosen a licence.", text)


class Dependencies(unittest.TestCase):
    def test_the_runtime_alone_is_needed(self):
        needed = {name: {re.match(r"\s*(\S+)", part)[1] for part in fields(name).get("Depends", "").split(",") if part}
                  for name in NAMES}
        self.assertEqual(needed, {"libzerovaapi1": set(RUNTIME), "libzerovaapi-dev": {"libzerovaapi1"},
                                  "libzerovaapi-doc": set(), "zerovaapi-tools": {"libzerovaapi1", *RUNTIME}})

    def test_of_python_are_the_library_and_the_interpreter(self):
        version = fields(PYTHON)["Version"]
        self.assertEqual(fields(PYTHON)["Depends"], f"libzerovaapi1 (>= {version}), python3:any")

    def test_a_bare_system_gets_nothing_of_the_builds_own(self):
        output = must("apt-get", "--simulate", "-o", "Dir::State::status=/dev/null", "-o", "APT::Install-Recommends=false",
                      "install", *(package(name).resolve() for name in NAMES))
        installed = re.findall(r"^Inst (\S+)", output, re.M)
        self.assertLessEqual(set(RUNTIME) | set(NAMES), set(installed))
        self.assertEqual([name for name in installed if OWN.search(name)], [])


class Root(unittest.TestCase):
    """A root folder in which the package manager knows of the runtime and of nothing else."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.scratch = pathlib.Path(folder.name)
        self.root = self.scratch / "root"
        database = self.root / "var/lib/dpkg"
        for name in ("info", "updates", "triggers"):
            database.joinpath(name).mkdir(parents=True)
        self.root.joinpath("run").mkdir()
        self.add_runtime(*RUNTIME)
        self.fresh = tree(self.root)
        self.scratch.joinpath("bin").mkdir()
        for name, text in SCRIPTS_OF_PYTHON.items():
            script = self.scratch / "bin" / name
            script.write_text(f"#!/bin/sh\n{text}\n", encoding="utf-8")
            script.chmod(0o755)

    def add_runtime(self, *names):
        """Has the package manager take these packages for installed, in the versions of this machine."""
        with open(self.root / "var/lib/dpkg/status", "a", encoding="utf-8") as status:
            status.write(must(
                "dpkg-query", "-W", "-f=Package: ${Package}\nStatus: install ok installed\nArchitecture: ${Architecture}\n"
                "Multi-Arch: ${Multi-Arch}\nVersion: ${Version}\nMaintainer: nobody\nDescription: runtime\n\n", *names))

    def dpkg(self, *arguments):
        # Scripts run outside of the root, in which there is no shell.
        return run(*([] if os.geteuid() == 0 else ["fakeroot"]), "dpkg", f"--root={self.root}",
                   "--force-script-chrootless", "--force-not-root", *arguments,
                   PATH=f"{self.scratch}/bin:{os.environ['PATH']}")

    def must_dpkg(self, *arguments):
        status, output = self.dpkg(*arguments)
        self.assertEqual(status, 0, output)

    def install(self):
        self.must_dpkg("--install", *map(package, NAMES))

    def make_folders(self):
        run("systemd-tmpfiles", f"--root={self.root}", "--create")

    def test_consumers_build_and_run(self):
        self.install()
        Installation(self.root / "usr", self.scratch).check()

    def test_the_simulator_runs(self):
        self.install()
        must(self.root / "usr/bin/zerova-simulator", "check",
             self.root / "usr/share/doc/libzerovaapi-dev/examples/benches/trigger_bench.toml")

    def test_the_library_is_held_to_its_promises(self):
        self.install()
        library = only(self.root.glob("usr/lib/*/libzerovaapi.so.1"))
        check = [sys.executable, "-B", ROOT / "tests/exports/check_library.py"]
        must(*check, "exports", library, ROOT / "source/zerovaapi/exports.txt")
        must(*check, "needs", library)

    def test_the_folder_of_the_endpoints_is_made(self):
        self.install()
        found = (self.root / "run/zerova").stat()
        self.assertEqual(oct(found.st_mode), "0o40755")
        self.assertEqual((found.st_uid, found.st_gid), (os.geteuid(), os.getegid()))

    def test_a_service_may_bring_a_file_of_its_own_for_the_folder(self):
        self.install()
        self.root.joinpath("usr/lib/tmpfiles.d/zerova.conf").write_text("d /run/zerova 0711 - - -\n", encoding="utf-8")
        self.make_folders()
        self.assertEqual(oct((self.root / "run/zerova").stat().st_mode), "0o40711")
        self.must_dpkg("--purge", *NAMES)
        self.assertTrue((self.root / "run/zerova").is_dir())

    def test_removing_leaves_nothing(self):
        self.install()
        self.assertNotEqual(tree(self.root), self.fresh)
        self.must_dpkg("--purge", *NAMES)
        self.assertEqual(tree(self.root), self.fresh)

    def test_removing_leaves_a_service_that_listens_alone(self):
        self.install()
        self.root.joinpath("run/zerova/com.zerova").touch()
        self.must_dpkg("--purge", *NAMES)
        self.assertTrue((self.root / "run/zerova/com.zerova").exists())

    def test_python_uses_the_library_of_the_system(self):
        self.install()
        self.add_runtime("python3")
        self.must_dpkg("--install", package(PYTHON))
        environment = {"PYTHONPATH": str(self.root / "usr/lib/python3/dist-packages"), "PYTHONDONTWRITEBYTECODE": "1",
                       "LD_LIBRARY_PATH": str(only(self.root.glob("usr/lib/*/libzerovaapi.so.1")).parent)}
        output = must("/usr/bin/python3", "-W", "error", "-c", USE_OF_PYTHON, **environment).split(maxsplit=2)
        self.assertEqual(output[0], os.path.realpath(only(self.root.glob("usr/lib/*/libzerovaapi.so.1"))))
        self.assertEqual(output[1], fields(PYTHON)["Version"])
        self.assertRegex(output[2], "Dienst")
        self.must_dpkg("--purge", PYTHON, *NAMES)
        self.assertEqual(tree(self.root), self.fresh)

    def test_a_package_cut_short_is_told_and_leaves_nothing(self):
        whole = package("libzerovaapi1").read_bytes()
        for length in (0, 60, 1000, len(whole) // 2, len(whole) - 1000):
            with self.subTest(length):
                cut = self.scratch / "cut.deb"
                cut.write_bytes(whole[:length])
                status, output = self.dpkg("--install", cut)
                self.assertNotEqual(status, 0)
                self.assertRegex(output, r"dpkg(-deb)?: error")
                self.assertEqual(tree(self.root), self.fresh)


class Tarball(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.scratch = pathlib.Path(folder.name)
        self.tarball = only(PACKAGES.glob("*.tar.gz"))

    def test_consumers_build_and_run_wherever_it_is_unpacked(self):
        must("tar", "-C", self.scratch, "-xf", self.tarball)
        Installation(only(self.scratch.iterdir()), self.scratch / "built").check()

    def test_a_tarball_cut_short_is_told(self):
        cut = self.scratch / "cut.tar.gz"
        cut.write_bytes(self.tarball.read_bytes()[:-1000])
        status, output = run("tar", "-C", self.scratch, "-xf", cut)
        self.assertNotEqual(status, 0)
        self.assertIn("unexpected end of file", output)


class Wheel(unittest.TestCase):
    def test_works_in_an_environment_without_the_network(self):
        with tempfile.TemporaryDirectory() as folder:
            must(sys.executable, "-m", "venv", folder)
            must(f"{folder}/bin/pip", "--disable-pip-version-check", "install", "--no-index",
                 only(PACKAGES.glob("*.whl")))
            path, _, sentence = must(f"{folder}/bin/python", "-I", "-W", "error", "-c", USE_OF_PYTHON).split(maxsplit=2)
            self.assertIn(pathlib.Path(folder).resolve(), pathlib.Path(path).resolve().parents)
            self.assertRegex(sentence, "Dienst")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
