"""What the generator of the dictionaries must refuse, and what its modules must look like."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = pathlib.Path(__file__).resolve().parents[3] / "scripts"
sys.path.insert(0, str(SCRIPTS))
sys.dont_write_bytecode = True

import generate_terms  # noqa: E402


def term_file(language, family, terms):
    rows = "\n".join(f'  <term key="{key}">{text}</term>' for key, text in terms)
    return (
        '<?xml version="1.0" encoding="UTF-8"?>\n'
        f'<terms language="{language}" family="{family}" xml:space="preserve">\n{rows}\n</terms>\n'
    )


class TermTree:
    """A small, sound set of term files that a test then spoils."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        for language in generate_terms.LANGUAGES:
            (self.folder / language).mkdir()
            self.write(language, "kUsageType", [("kUsageTypeA", "a " + language), ("kUsageTypeB", "")])
            self.write(language, "kAuxTerm", [("kAuxTermTo", " to ")])

    def path(self, language, family):
        return self.folder / language / dict(generate_terms.FAMILIES)[family]

    def write(self, language, family, terms):
        self.path(language, family).write_text(term_file(language, family, terms), encoding="utf-8")


class GenerateTerms(unittest.TestCase):
    def setUp(self):
        self.temporary = tempfile.TemporaryDirectory()
        self.addCleanup(self.temporary.cleanup)
        self.tree = TermTree(self.temporary.name)

    def assertRefused(self, language, family, *parts):
        with self.assertRaises(generate_terms.TermError) as caught:
            generate_terms.generate(self.tree.folder)
        for part in (str(self.tree.path(language, family)), *parts):
            self.assertIn(part, str(caught.exception))

    def refuse_terms(self, terms, *parts, language="deu", family="kUsageType"):
        self.tree.write(language, family, terms)
        self.assertRefused(language, family, *parts)

    def refuse_bytes(self, data, *parts):
        self.tree.path("deu", "kUsageType").write_bytes(data)
        self.assertRefused("deu", "kUsageType", *parts)

    def test_modules_hold_usage_rows_first_and_name_their_sources(self):
        text = generate_terms.generate(self.tree.folder)["fra"]
        self.assertTrue(text.startswith("-- Generated from fra/usageTypes.terms.dict.xml and "
                                        "fra/auxiliaryTerms.terms.dict.xml.\n"))
        rows = [line.strip() for line in text.splitlines() if line.startswith("   k")]
        self.assertEqual(
            rows, ['kUsageTypeA = "a fra",', 'kUsageTypeB = "",', 'kAuxTermTo = " to ",'])

    def test_quotes_and_backslashes_are_escaped_for_lua(self):
        self.tree.write("deu", "kAuxTerm", [("kAuxTermTo", 'a"b\\c &amp; &lt;d&gt;')])
        self.assertIn('kAuxTermTo = "a\\"b\\\\c & <d>",',
                      generate_terms.generate(self.tree.folder)["deu"])

    def test_missing_key_is_refused(self):
        self.refuse_terms([("kUsageTypeA", "x")], ":3: ", "kUsageTypeB: missing")

    def test_additional_key_is_refused(self):
        self.refuse_terms([("kUsageTypeA", "x"), ("kUsageTypeB", ""), ("kUsageTypeC", "")],
                          ":5: ", "kUsageTypeC: English does not have it")

    def test_double_key_is_refused(self):
        self.refuse_terms([("kUsageTypeA", "x"), ("kUsageTypeA", "y")],
                          ":4: ", "kUsageTypeA: stands in line 3 already")

    def test_double_key_in_english_is_refused(self):
        self.refuse_terms([("kUsageTypeA", "x"), ("kUsageTypeA", "y")], ":4: ", "kUsageTypeA",
                          language="eng")

    def test_keys_out_of_order_are_refused(self):
        self.refuse_terms([("kUsageTypeB", ""), ("kUsageTypeA", "x")],
                          ":3: ", "kUsageTypeB: out of order, kUsageTypeA comes here")

    def test_key_of_another_family_is_refused(self):
        self.refuse_terms([("kAuxTermTo", "x"), ("kUsageTypeB", "")], ":3: ", "kAuxTermTo")

    def test_xml_that_is_not_well_formed_is_refused(self):
        self.refuse_bytes(b'<terms language="deu" family="kUsageType" xml:space="preserve">\n<term>',
                          ":2: ")
        self.refuse_bytes(b"", ":1: ", "not well-formed XML")

    def test_other_encodings_are_refused(self):
        good = term_file("deu", "kUsageType", [("kUsageTypeA", "\u00e4"), ("kUsageTypeB", "")])
        self.refuse_bytes(good.encode("latin-1"), ":3: ", "not UTF-8")
        self.refuse_bytes(good.replace("UTF-8", "ISO-8859-1").encode(), ":1: ", "ISO-8859-1")

    def test_control_characters_are_refused(self):
        for text in ("a\tb", "a\nb", "a&#x85;b", "a\ufeffb"):
            with self.subTest(text=text):
                self.refuse_terms([("kUsageTypeA", text), ("kUsageTypeB", "")],
                                  ":3: ", "kUsageTypeA", "cannot carry")

    def test_foreign_markup_is_refused(self):
        for text, what in (("<b>x</b>", "<b>"), ("</term>stray<term key='kUsageTypeZ'>", "stray")):
            with self.subTest(text=text):
                self.refuse_terms([("kUsageTypeA", text), ("kUsageTypeB", "")], ":3: ", what)

    def test_document_type_is_refused(self):
        self.refuse_bytes(b'<!DOCTYPE terms [<!ENTITY a "b">]><terms/>', ":1: ", "document type")

    def test_wrong_language_or_family_is_refused(self):
        self.refuse_bytes(
            term_file("fra", "kUsageType", [("kUsageTypeA", "")]).encode(), ":2: ", "deu")

    def test_absent_file_is_refused(self):
        self.tree.path("deu", "kUsageType").unlink()
        self.assertRefused("deu", "kUsageType", "No such file")

    def run_command(self, output):
        return subprocess.run(
            [sys.executable, "-B", SCRIPTS / "generate_terms.py", self.tree.folder, output],
            capture_output=True, text=True, check=False)

    def test_command_writes_one_module_for_each_language(self):
        with tempfile.TemporaryDirectory() as output:
            result = self.run_command(output)
            self.assertEqual((result.returncode, result.stderr), (0, ""))
            self.assertEqual(sorted(path.name for path in pathlib.Path(output).iterdir()),
                             sorted(f"commonTerms_{lng}.lua" for lng in generate_terms.LANGUAGES))

    def test_command_fails_with_one_line_and_writes_nothing(self):
        self.tree.write("kor", "kUsageType", [("kUsageTypeA", "x")])
        with tempfile.TemporaryDirectory() as output:
            result = self.run_command(output)
            self.assertEqual(result.returncode, 1)
            self.assertEqual(len(result.stderr.splitlines()), 1)
            self.assertEqual(list(pathlib.Path(output).iterdir()), [])


if __name__ == "__main__":
    unittest.main()
