"""The consumers of an installed library: each is built as its user would, and run."""

import os
import pathlib
import shutil
import subprocess

FOLDER = pathlib.Path(__file__).resolve().parent / "consumer"
STRICT = ["-std=c99", "-Wall", "-Wextra", "-Wpedantic", "-Werror"]
STRICT_CXX = ["-std=c++17", *STRICT[1:], "-Wconversion", "-Wsign-conversion", "-Wshadow"]


def run(*command, **variables):
    """Runs a command; returns its exit status and both of its streams."""
    environment = {**os.environ, "LC_ALL": "C", **variables}
    outcome = subprocess.run([str(word) for word in command], env=environment, text=True, errors="replace",
                             stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    return outcome.returncode, outcome.stdout


def must(*command, **variables):
    status, output = run(*command, **variables)
    if status != 0:
        raise AssertionError(f"{' '.join(map(str, command))} ended with {status}:\n{output}")
    return output


def only(paths):
    found = list(paths)
    if len(found) != 1:
        raise AssertionError(f"{found} where one was expected")
    return found[0]


class Installation:
    """A prefix that holds the library, and a folder for what is built on it."""

    def __init__(self, prefix, scratch):
        self.prefix = pathlib.Path(prefix)
        self.scratch = pathlib.Path(scratch)
        self.library = only(self.prefix.glob("lib/**/libzerovaapi.so.1"))
        self.pkgconfig = only(self.prefix.glob("lib/**/pkgconfig/zerovaapi.pc")).parent

    def variable(self, name):
        return must("pkg-config", f"--variable={name}", "zerovaapi", PKG_CONFIG_PATH=str(self.pkgconfig)).strip()

    def _program(self, name):
        folder = self.scratch / name
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        return folder / "consumer"

    def by_pkg_config(self):
        program = self._program("by_pkg_config")
        flags = must("pkg-config", "--cflags", "--libs", "zerovaapi", PKG_CONFIG_PATH=str(self.pkgconfig)).split()
        must("cc", *STRICT, FOLDER / "consumer.c", *flags, "-o", program)
        return program

    def by_cmake(self):
        program = self._program("by_cmake")
        must("cmake", "-S", FOLDER, "-B", program.parent, f"-DCMAKE_PREFIX_PATH={self.prefix}")
        must("cmake", "--build", program.parent)
        return program

    def by_compiler(self):
        program = self._program("by_compiler")
        must("cc", *STRICT, FOLDER / "consumer.c", f"-I{self.prefix}/include", f"-L{self.library.parent}", "-lzerovaapi",
             "-o", program)
        return program

    def in_cxx(self):
        program = self._program("in_cxx")
        flags = must("pkg-config", "--cflags", "--libs", "zerovaapi", PKG_CONFIG_PATH=str(self.pkgconfig)).split()
        must("c++", *STRICT_CXX, FOLDER / "consumer.cpp", *flags, "-o", program)
        return program

    def check(self):
        """Builds and runs all, each with this library and no other."""
        for program in (self.by_pkg_config(), self.by_cmake(), self.by_compiler(), self.in_cxx()):
            path = {"LD_LIBRARY_PATH": str(self.library.parent)}
            loaded = must("ldd", program, **path)
            if os.path.realpath(self.library) not in [os.path.realpath(word) for word in loaded.split()]:
                raise AssertionError(f"{program} loads another library:\n{loaded}")
            output = must(program, **path)
            if not output.startswith("0 ") or "consumer" not in output:
                raise AssertionError(f"{program} printed {output}")
        only((pathlib.Path(self.variable("textsdir")) / "zerova").glob("German/*.err"))
