"""The dependencies' sources are fetched whole or not at all, and a build without them says what to do.

fetch_test.py CMAKE: the build program. The package manager is a stand-in that has two small packages; no
command of the system is there but those that fetching needs.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
FETCH = ROOT / "cmake" / "dependencies" / "fetch"

COMMANDS = ("bash", "basename", "cat", "cmp", "cp", "dirname", "find", "flock", "grep", "id", "mkdir", "mv", "realpath",
            "rm", "sed", "sha256sum", "sleep", "sort", "tail", "touch", "wc", "xargs")

# What each stand-in notes of its call, in one line, is how a test knows what was asked.
NOTE = '#!/bin/bash\nmachine=${0%/*}/..\necho "${0##*/} $*" >>"$machine/calls"\n'

APT_CACHE = NOTE + 'cat "$machine/offers/${!#}" 2>/dev/null\n'

APT_GET = NOTE + """
wanted=${!#} # update, or name=revision
if [ "$wanted" = update ]; then
   [ ! -e "$machine/no_network" ]
   exit
fi
while [ -e "$machine/slow" ]; do sleep 0.01; done
name=${wanted%%=*}
version=${wanted#*=}
folder=$name-${version%-*}
mkdir "$folder" && echo "the code of $wanted" >"$folder/code.c" || exit
[ ! -e "$machine/broken_$name" ] || exit 100
echo "the terms of $wanted" >"$folder/LICENSE"
touch "${name}_$version.dsc" "${name}_$version.orig.tar.gz" "${name}_$version.orig.tar.gz.asc"
"""

INSTEAD = "; without the sources, build on the system's libraries: cmake -DZEROVA_SYSTEM_LIBRARIES=ON\n"


class Machine:
   """A machine with a package manager that serves the packages `one` 1.0 and `two` 2.5.1."""

   def __init__(self, folder):
      self.folder = folder
      for name in ("bin", "offers", "script"):
         (folder / name).mkdir()
      for command in COMMANDS:
         (folder / "bin" / command).symlink_to(shutil.which(command))
      for command, text in {"apt-get": APT_GET, "apt-cache": APT_CACHE, "dpkg-source": NOTE}.items():
         self.command(command, text)
      shutil.copy(FETCH, folder / "script")
      self.packages("one 1.0\ntwo 2.5.1\n")
      self.offer("one", "1.0-1")
      self.offer("two", "2.5.1-3")

   def command(self, name, text):
      path = self.folder / "bin" / name
      path.unlink(missing_ok=True)
      path.write_text(text, encoding="utf-8")
      path.chmod(0o755)

   def packages(self, text):
      (self.folder / "script" / "packages.txt").write_text(text, encoding="utf-8")

   def offer(self, name, *revisions):
      text = "".join(f"Package: {name}\nVersion: {revision}\n\n" for revision in revisions)
      (self.folder / "offers" / name).write_text(text, encoding="utf-8")

   def have(self, state):
      (self.folder / state).touch()

   def have_no_longer(self, state):
      (self.folder / state).unlink()

   def start(self, *arguments):
      return subprocess.Popen(
         [self.folder / "script" / "fetch", *arguments], env={"PATH": str(self.folder / "bin")},
         stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

   def run(self, *arguments):
      return finish(self.start(*arguments))

   def is_whole(self, target):
      code, output, errors = self.run("--check", target)
      if output or errors:
         raise AssertionError(f"a check prints nothing: {output}{errors}")
      return code == 0

   def calls(self, of):
      noted = self.folder / "calls"
      lines = noted.read_text(encoding="utf-8").splitlines() if noted.exists() else []
      return [line for line in lines if of in line]

   def wait_for_calls(self, of, count):
      end = time.monotonic() + 30
      while len(self.calls(of)) < count:
         if time.monotonic() > end:
            raise AssertionError(f"{len(self.calls(of))} calls of {of}, not {count}")
         time.sleep(0.01)


def finish(process):
   output, errors = process.communicate(timeout=60)
   return process.returncode, output, errors


def files(target):
   return {str(file.relative_to(target)): file.read_text(encoding="utf-8")
           for file in sorted(target.rglob("*")) if file.is_file()}


WHOLE = {
   "one/LICENSE": "the terms of one=1.0-1\n",
   "one/code.c": "the code of one=1.0-1\n",
   "two/LICENSE": "the terms of two=2.5.1-3\n",
   "two/code.c": "the code of two=2.5.1-3\n",
}
FETCHED = (0, "", "")


class Fetch(unittest.TestCase):
   def setUp(self):
      folder = tempfile.TemporaryDirectory()
      self.addCleanup(folder.cleanup)
      self.folder = pathlib.Path(folder.name).resolve()
      self.machine = Machine(self.folder)
      self.target = self.folder / "build" / "dependencies"

   def assert_whole(self, target=None):
      self.assertEqual(files((target or self.target) / "sources"), WHOLE)
      self.assertTrue(self.machine.is_whole(target or self.target))

   def assert_fetched_anew(self):
      self.assertFalse(self.machine.is_whole(self.target))
      self.assertEqual(self.machine.run(self.target), FETCHED)
      self.assert_whole()

   def assert_refused(self, sentence):
      code, output, errors = self.machine.run(self.target)
      self.assertEqual((code, output, errors), (1, "", sentence + INSTEAD))
      self.assertFalse(self.machine.is_whole(self.target))

   def log(self):
      return self.target / "apt" / "log"

   # What is fetched

   def test_sources_are_put_into_the_folder(self):
      self.assertEqual(self.machine.run(self.target), FETCHED)
      self.assert_whole()

   def test_whole_sources_are_left_alone(self):
      self.machine.run(self.target)
      asked = self.machine.calls("apt-")
      self.assertEqual(self.machine.run(self.target), FETCHED)
      self.assertEqual(self.machine.calls("apt-"), asked)

   def test_the_newest_revision_of_the_version_is_taken(self):
      self.machine.offer("one", "1.0-2", "1.0.1-1", "1.0-10", "1.0-9", "1.00-1", "11.0-1", "0.9-1")
      self.assertEqual(self.machine.run(self.target), FETCHED)
      self.assertEqual(files(self.target / "sources")["one/code.c"], "the code of one=1.0-10\n")

   def test_the_lists_of_the_machine_are_left_alone(self):
      self.machine.run(self.target)
      asked = self.machine.calls("apt-")
      self.assertGreater(len(asked), 0)
      for call in asked:
         self.assertIn(f" -o Dir::State::lists={self.target}/apt/lists ", call)
         self.assertIn(f" -o Dir::Etc::sourceparts={self.target}/apt/sources.list.d ", call)
         self.assertIn(f" -o Dir::Cache={self.target}/apt ", call)
         self.assertIn(" -o Dir::Etc::sourcelist=/dev/null ", call)

   # What cannot be fetched

   def test_a_machine_without_network_says_what_is_missing(self):
      self.machine.have("no_network")
      self.machine.offer("one")
      self.assert_refused(f"No source package one 1.0 is to be had (see {self.log()})")

   def test_a_machine_without_source_packages_says_what_is_missing(self):
      (self.folder / "offers" / "two").unlink()
      self.assert_refused(f"No source package two 2.5.1 is to be had (see {self.log()})")

   def test_a_machine_with_another_version_says_what_is_missing(self):
      self.machine.offer("two", "2.5.10-1", "2.5-1")
      self.assert_refused(f"No source package two 2.5.1 is to be had (see {self.log()})")

   def test_a_source_package_that_breaks_off_is_told(self):
      self.machine.have("broken_two")
      self.assert_refused(f"The source package two 2.5.1-3 cannot be fetched or verified (see {self.log()})")

   def test_a_machine_that_cannot_unpack_says_what_is_missing(self):
      (self.folder / "bin" / "dpkg-source").unlink()
      self.assert_refused("The package dpkg-dev, which unpacks sources, is missing")

   def test_a_machine_without_the_package_manager_says_what_is_missing(self):
      (self.folder / "bin" / "apt-get").unlink()
      (self.folder / "bin" / "apt-cache").unlink()
      self.assert_refused(f"No source package one 1.0 is to be had (see {self.log()})")

   def test_lists_that_cannot_be_renewed_are_no_failure_when_the_packages_come(self):
      self.machine.have("no_network")
      self.assertEqual(self.machine.run(self.target), FETCHED)
      self.assert_whole()

   # What is there and not whole

   def test_half_unpacked_sources_are_fetched_anew(self):
      self.machine.have("broken_two")
      self.machine.run(self.target)
      self.assertIn("two-2.5.1/code.c", files(self.target / "sources"))
      self.machine.have_no_longer("broken_two")
      self.assert_fetched_anew()

   def test_a_failed_renewal_leaves_nothing_that_passes_for_whole(self):
      self.machine.run(self.target)
      (self.target / "sources" / "one" / "code.c").unlink()
      self.machine.have("broken_two")
      self.machine.run(self.target)
      self.machine.have_no_longer("broken_two")
      self.assert_fetched_anew()

   def test_a_changed_file_is_fetched_anew(self):
      self.machine.run(self.target)
      with (self.target / "sources" / "one" / "code.c").open("a", encoding="utf-8") as file:
         file.write("a change\n")
      self.assert_fetched_anew()

   def test_a_missing_file_is_fetched_anew(self):
      self.machine.run(self.target)
      (self.target / "sources" / "two" / "LICENSE").unlink()
      self.assert_fetched_anew()

   def test_a_missing_folder_is_fetched_anew(self):
      self.machine.run(self.target)
      shutil.rmtree(self.target / "sources")
      self.assert_fetched_anew()

   def test_an_added_file_is_taken_away(self):
      self.machine.run(self.target)
      (self.target / "sources" / "one" / "string.h").write_text("in front of the system's\n", encoding="utf-8")
      self.assert_fetched_anew()

   def test_missing_and_empty_checksums_are_made_anew(self):
      self.machine.run(self.target)
      (self.target / "checksums").unlink()
      self.assert_fetched_anew()
      (self.target / "checksums").write_text("", encoding="utf-8")
      self.assert_fetched_anew()

   def test_another_list_of_packages_is_fetched_anew(self):
      self.machine.packages("one 0.9\ntwo 2.5.1\n")
      self.machine.offer("one", "0.9-1")
      self.machine.run(self.target)
      self.machine.packages("one 1.0\ntwo 2.5.1\n")
      self.machine.offer("one", "1.0-1")
      self.assert_fetched_anew()

   def test_a_folder_that_is_not_there_is_not_whole(self):
      self.assertFalse(self.machine.is_whole(self.target))
      self.assertFalse(self.target.exists())

   # Two at once

   def test_two_at_once_fetch_once(self):
      self.machine.command("flock", NOTE + f'exec {shutil.which("flock")} "$@"\n')
      self.machine.have("slow")
      first = self.machine.start(self.target)
      self.machine.wait_for_calls(" source ", 1)
      second = self.machine.start(self.target)
      self.machine.wait_for_calls("flock", 2)
      self.machine.have_no_longer("slow")
      self.assertEqual((finish(first), finish(second)), (FETCHED, FETCHED))
      self.assert_whole()
      self.assertEqual(len(self.machine.calls(" source ")), 2)

   def test_two_at_once_in_two_folders_do_not_meet(self):
      other = self.folder / "other"
      self.machine.have("slow")
      first = self.machine.start(self.target)
      second = self.machine.start(other)
      self.machine.wait_for_calls(" source ", 2)
      self.machine.have_no_longer("slow")
      self.assertEqual((finish(first), finish(second)), (FETCHED, FETCHED))
      self.assert_whole()
      self.assert_whole(other)


class BuildWithoutSources(unittest.TestCase):
   def configure(self, sources):
      with tempfile.TemporaryDirectory() as build:
         result = subprocess.run(
            [CMAKE, "-S", ROOT, "-B", build, f"-DZEROVA_DEPENDENCIES={sources}"],
            capture_output=True, text=True, check=False)
      return result.returncode, " ".join(result.stderr.split())

   def test_says_in_one_sentence_what_to_run(self):
      with tempfile.TemporaryDirectory() as sources:
         code, errors = self.configure(sources)
         self.assertEqual(code, 1)
         self.assertEqual(errors.count("CMake Error"), 1, errors)
         self.assertIn(
            f"The sources of the dependencies are missing or not whole in {sources}: run ./dev setup, "
            "or build on the system's libraries with -DZEROVA_SYSTEM_LIBRARIES=ON.", errors)
         self.assertEqual(os.listdir(sources), [])


if __name__ == "__main__":
   CMAKE = sys.argv.pop(1)
   unittest.main()
