"""The fuzzer of the term files finds what it is there for, and nothing in the generator as it is."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path.insert(0, str(ROOT / "fuzz"))
sys.dont_write_bytecode = True

import fuzz_terms  # noqa: E402
import generate_terms  # noqa: E402

CORPUS = ROOT / "fuzz" / "corpus" / "terms"


class FuzzTerms(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.findings = pathlib.Path(temporary.name)

    def run_fuzzer(self, *arguments):
        command = [sys.executable, "-B", ROOT / "fuzz" / "fuzz_terms.py", "--corpus", CORPUS]
        command += ["--findings", self.findings, *arguments]
        return subprocess.run(command, capture_output=True, text=True, check=False)

    def test_finds_nothing_in_the_generator(self):
        run = self.run_fuzzer("--runs", "500", "--seed", "1")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertIn("seed: 1\n", run.stdout)
        self.assertIn("number_of_executed_units: 500", run.stdout)
        self.assertEqual(list(self.findings.iterdir()), [])

    def test_reaches_files_that_are_taken_and_files_that_are_refused(self):
        seeds = {kind: [file.read_bytes() for file in CORPUS.glob(f"{kind}*.xml")] for kind in fuzz_terms.KINDS}
        chance = fuzz_terms.random.Random(1)
        taken = [fuzz_terms.accepts(fuzz_terms.run_round(seeds, chance)[0]) for _ in range(300)]
        self.assertGreater(taken.count(True), 5)
        self.assertGreater(taken.count(False), 100)

    def test_a_text_that_would_leave_its_string_is_a_finding(self):
        files = fuzz_terms.files_of({kind: (CORPUS / file).read_bytes() for kind, file in SOUND.items()})
        unescaped = generate_terms.lua_string
        self.addCleanup(setattr, generate_terms, "lua_string", unescaped)
        generate_terms.lua_string = lambda text: f'"{text}"'
        with self.assertRaisesRegex(AssertionError, "not a row of Lua"):
            fuzz_terms.accepts(files)

    def test_a_failure_of_another_kind_is_kept_with_its_files(self):
        def fail(_path):
            raise ValueError("of another kind")

        self.addCleanup(setattr, generate_terms, "read_file", generate_terms.read_file)
        generate_terms.read_file = fail
        seeds = {kind: [(CORPUS / file).read_bytes()] for kind, file in SOUND.items()}
        files, trace = fuzz_terms.run_round(seeds, fuzz_terms.random.Random(1))
        self.assertIn("of another kind", trace)
        self.assertEqual(len(files), 2 * len(generate_terms.LANGUAGES))


SOUND = {"usage": "usage_markup.xml", "auxiliary": "auxiliary_words.xml"}

if __name__ == "__main__":
    unittest.main()
