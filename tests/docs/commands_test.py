"""What the documents tell people to type: each block of commands says whether it is run, and what can be run works.

commands_test.py [DOCUMENT...] [TEST...]: in all documents, or in those that are named, such as docs/settings.md.

The words behind the language of a fenced block say what becomes of it:
   run              it is run
   run background   it serves until the end of the document, and has printed a line before the next block is run
   root             it is run, and may change the system
   elsewhere        another test runs it, in a place of its own making
   never            it is not: it takes long, or needs a place-holder filled in
A comment "file NAME" before a block of another language has that file written before the next commands are run; one
"shows TEXT" before a block of commands wants that text in what they print, wherever.

All is run in a copy of the system that vanishes: an overlay in memory over the root and over the checkout. The cache of
the compiler alone is the real one.
"""

import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCUMENTS = [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]
CHOSEN = [ROOT / name for name in sys.argv[1:] if name.endswith(".md")] or DOCUMENTS

FENCED = re.compile(r"(?:^<!-- (?P<mark>[^>\n]+) -->\n)?^```(?P<info>[^\n`]*)\n(?P<text>.*?)^```$", re.M | re.S)
SHELLS = ("sh", "bash", "console", "shell")
FATES = ("run", "run background", "root", "elsewhere", "never")

HOME = os.environ.get("HOME", "/root")
CACHE = os.environ.get("CCACHE_DIR", f"{HOME}/.cache/ccache")
ENVIRONMENT = {
   "LC_ALL": "C.UTF-8", "HOME": HOME, "DEBIAN_FRONTEND": "noninteractive",
   "APT_CONFIG": "/tmp/apt.conf", # asks nothing, and leaves alone what is there
   "PATH": "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin",
   "CMAKE_C_COMPILER_LAUNCHER": "ccache", "CMAKE_CXX_COMPILER_LAUNCHER": "ccache", "CCACHE_BASEDIR": str(ROOT),
   "CCACHE_NOHASHDIR": "true", "CCACHE_DIR": CACHE, "CCACHE_SLOPPINESS": "pch_defines,time_macros",
   "CMAKE_BUILD_PARALLEL_LEVEL": os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", str(os.cpu_count()))}

COPY = """
set -e
mount --make-rprivate /
mount -t tmpfs none {scratch}
cd {scratch}
mkdir upper work root tree tree-work
mount -t overlay none -o lowerdir=/,upperdir=upper,workdir=work root
mount -t tmpfs none root/tmp
mkdir -p root{tree}
mount -t overlay none -o lowerdir={tree},upperdir=tree,workdir=tree-work root{tree}
for folder in proc dev sys; do mount --rbind /$folder root/$folder; done
if [ -d {cache} ]; then mkdir -p root{cache}; mount --bind {cache} root{cache}; fi
printf 'APT::Get::Assume-Yes "true";\nAPT::Get::Upgrade "false";\n' > root/tmp/apt.conf
exec chroot root env -i -C {tree} {environment} bash -euo pipefail -s
"""


def blocks(document):
   """Line, mark, language, fate and text of each fenced block."""
   text = document.read_text(encoding="utf-8")
   for block in FENCED.finditer(text):
      language, _, fate = block["info"].partition(" ")
      yield text.count("\n", 0, block.start("info")) + 1, block["mark"] or "", language, fate, block["text"]


def script(document):
   """What is done for a document, in the shell."""
   lines = []
   for number, mark, language, fate, text in blocks(document):
      if mark.startswith("file "):
         file = shlex.quote(mark[len("file "):])
         lines.append(f'mkdir -p "$(dirname {file})"; printf %s {shlex.quote(text)} > {file}')
      elif language in SHELLS and fate == "run background":
         lines.append(f"echo '== line {number}, in the background'")
         lines.append(f"coproc SERVES {{ exec {text.splitlines()[0].partition('  #')[0]}; }}")
         lines.append('read -r ready <&"${SERVES[0]}"; echo "$ready"; input=${SERVES[1]}')
      elif language in SHELLS and fate in ("run", "root"):
         lines.append(f"echo '== line {number}'")
         lines.append(f"bash -euo pipefail -c {shlex.quote(text)} </dev/null 2>&1 | tee /tmp/shown")
         if mark.startswith("shows "):
            lines.append(f"grep -qF -e {shlex.quote(mark[len('shows '):])} /tmp/shown")
   lines.append('if [ -n "${input:-}" ]; then exec {input}>&-; wait; fi')
   return "\n".join(lines) + "\n"


class Marks(unittest.TestCase):
   def test_every_block_of_commands_says_what_becomes_of_it(self):
      for document in CHOSEN:
         for number, _, language, fate, _ in blocks(document):
            if language in SHELLS:
               with self.subTest(f"{document.relative_to(ROOT)}:{number}"):
                  self.assertIn(fate, FATES, "behind ```sh belongs one of run, run background, root, elsewhere and never")

   def test_no_commands_hide_in_an_indented_block(self):
      for document in CHOSEN:
         if document.name in ("third-party.md", "windows.md"):
            continue
         outside = FENCED.sub("", document.read_text(encoding="utf-8"))
         with self.subTest(document.name):
            self.assertEqual(re.findall(r"^    (?:\./dev|cmake|cc|apt|build/|cd) .*$", outside, re.M), [])


class Programs(unittest.TestCase):
   def test_every_block_in_c_compiles_as_it_stands(self):
      for document in CHOSEN:
         for number, _, language, _, text in blocks(document):
            if language != "c":
               continue
            with self.subTest(f"{document.relative_to(ROOT)}:{number}"):
               compiled = subprocess.run(
                  ["cc", "-std=c99", "-Wall", "-Wextra", "-Werror", "-Wno-missing-prototypes", "-fsyntax-only",
                   f"-I{ROOT / 'include'}", '-DTEXTS=""', "-xc", "-"],
                  input=text, capture_output=True, text=True, check=False)
               self.assertEqual(compiled.returncode, 0, compiled.stderr)


class Commands(unittest.TestCase):
   def test_every_block_that_is_to_be_run_works(self):
      for document in CHOSEN:
         commands = script(document)
         if "== line" not in commands:
            continue
         name = str(document.relative_to(ROOT))
         with self.subTest(name), tempfile.TemporaryDirectory() as scratch:
            copy = COPY.format(scratch=scratch, tree=ROOT, cache=CACHE,
                               environment=" ".join(f"{key}={shlex.quote(value)}" for key, value in ENVIRONMENT.items()))
            rights = [] if os.geteuid() == 0 else ["--map-root-user"]
            done = subprocess.run(["unshare", *rights, "--mount", "bash", "-c", copy], input=commands, text=True,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=1200, check=False)
            self.assertEqual(done.returncode, 0, "\n" + done.stdout[-4000:])


if __name__ == "__main__":
   unittest.main(argv=sys.argv[:1] + [name for name in sys.argv[1:] if not name.endswith(".md")])
