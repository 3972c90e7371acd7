"""What an installation of the component runtime puts under the folder of the texts.

Usage: installed_texts_test.py CMAKE BUILD_DIR TEXTS_DIR
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

TEXTS = pathlib.Path(__file__).resolve().parents[3] / "texts"
sys.path.insert(0, str(TEXTS))
sys.dont_write_bytecode = True

import generate_texts  # noqa: E402

CMAKE, BUILD_DIR, TEXTS_DIR = sys.argv[1:]


class InstalledTexts(unittest.TestCase):
    def test_files_are_those_of_the_source_and_no_others(self):
        with tempfile.TemporaryDirectory() as prefix:
            subprocess.run([CMAKE, "--install", BUILD_DIR, "--component", "runtime", "--prefix", prefix],
                           check=True, stdout=subprocess.DEVNULL)
            root = pathlib.Path(prefix, TEXTS_DIR)
            present = {str(path.relative_to(root)): path.read_bytes()
                       for path in root.rglob("*") if path.is_file()}
        expected = {f"zerova/{language}/zerova.err": data
                    for language, data in generate_texts.generate(TEXTS / "status_codes.txt").items()}
        self.assertEqual(present, expected)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
