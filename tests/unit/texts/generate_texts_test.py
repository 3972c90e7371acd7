"""What the generator of the error description files must refuse, and what its files must look like."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

TEXTS = pathlib.Path(__file__).resolve().parents[3] / "texts"
sys.path.insert(0, str(TEXTS))
sys.dont_write_bytecode = True

import generate_texts  # noqa: E402

# Three lines each: heading, text, blank line.
KEYS = [(code, language) for code in generate_texts.CODES for language in generate_texts.LANGUAGES]


def heading(code, language):
    return f"[{code} {language}]"


def line_of(code, language):
    """Line of a heading in the sound source."""
    return 3 * KEYS.index((code, language)) + 1


class GenerateTexts(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = pathlib.Path(temporary.name)
        self.source = self.folder / "source.txt"
        self.lines = []
        for key in KEYS:
            self.lines += [heading(*key), f"{key[0]} in {key[1]}.", ""]

    def write(self):
        self.source.write_text("\n".join(self.lines) + "\n", encoding="utf-8", newline="\n")

    def files(self):
        self.write()
        return generate_texts.generate(self.source)

    def put(self, code, language, *lines):
        """Puts these lines into the place of a text's one line; returns where they begin."""
        line = line_of(code, language) + 1
        self.lines[line - 1:line] = lines
        return line

    def assertRefused(self, line, what):
        with self.assertRaises(generate_texts.TextError) as caught:
            generate_texts.generate(self.source)
        self.assertEqual(str(caught.exception), f"{self.source}:{line}: {what}")

    def refuse(self, line, what):
        self.write()
        self.assertRefused(line, what)

    def refuse_text(self, text, what, language="English"):
        sound = self.lines.copy()
        self.refuse(self.put(-52003, language, text), what)
        self.lines = sound

    def test_file_of_a_language_holds_all_codes_in_the_form_that_the_reader_wants(self):
        lines = self.files()["German"].decode("ascii").split("\n")
        self.assertEqual(lines[:3], ['<?xml version="1.0"?>', "<tvdocument>", "<tvcomment>"])
        entries = lines[lines.index("</tvcomment>") + 1:]
        expected = []
        for code in generate_texts.CODES:
            expected += [f'<tverror code="{code}">', f"{code} in German.", "</tverror>"]
        self.assertEqual(entries, [*expected, "</tvdocument>", ""])

    def test_each_language_is_in_its_code_page(self):
        for language, text, expected in (
                ("French", "é", b"\xe9"),
                ("German", "„ü“", b"\x84\xfc\x93"),
                ("Japanese", "エラー", b"\x83\x47\x83\x89\x81\x5b"),
                ("Korean", "에러", b"\xbf\xa1\xb7\xaf"),
                ("ChineseS", "错误", b"\xb4\xed\xce\xf3")):
            self.put(-52003, language, text)
            self.assertIn(b'<tverror code="-52003">\n' + expected + b"\n</tverror>\n", self.files()[language])

    def test_blank_lines_stay_inside_a_text_and_go_around_it(self):
        self.put(-52003, "Korean", "", "a", "", "b", "", "")
        self.assertIn(b'<tverror code="-52003">\na\n\nb\n</tverror>\n', self.files()["Korean"])

    def test_lines_for_translators_are_shown_to_nobody(self):
        self.put(-52003, "Korean", "a", "# a note", "b")
        self.lines.insert(0, "# a note")
        self.assertIn(b'<tverror code="-52003">\na\nb\n</tverror>\n', self.files()["Korean"])

    def test_source_may_have_the_line_ends_of_windows(self):
        expected = self.files()
        self.source.write_bytes(self.source.read_bytes().replace(b"\n", b"\r\n"))
        self.assertEqual(generate_texts.generate(self.source), expected)

    def test_missing_language_is_refused(self):
        line = line_of(-52027, "Japanese")
        del self.lines[line - 1:line + 2]
        self.refuse(line_of(-52027, "English"), "-52027 has no Japanese text")

    def test_missing_code_is_refused(self):
        line = line_of(-52027, "English")
        del self.lines[line - 1:line_of(-52029, "English") - 1]
        self.refuse(len(self.lines), "-52027 has no text")

    def test_empty_source_is_refused(self):
        self.source.write_bytes(b"")
        self.assertRefused(1, "-52000 has no text")

    def test_empty_text_is_refused(self):
        self.put(-52027, "Korean", "", "# a note")
        self.refuse(line_of(-52027, "Korean"), "the Korean text of -52027 is empty")

    def test_double_text_is_refused(self):
        self.lines += [heading(-52000, "French"), "again"]
        self.refuse(len(self.lines) - 1,
                    f"-52000 has its French text in line {line_of(-52000, 'French')} already")

    def test_code_of_somebody_else_is_refused(self):
        self.lines += [heading(-52001, "English"), "a"]
        self.refuse(len(self.lines) - 1, "-52001 is no code of the library")

    def test_unknown_language_is_refused(self):
        self.lines += [heading(-52000, "Chinese"), "a"]
        self.refuse(len(self.lines) - 1,
                    "Chinese is none of English, French, German, Japanese, Korean, ChineseS")

    def test_malformed_heading_is_refused(self):
        for text in ("[-52000]", "[-52000 English", "[-52000 English] text", "[ -52000 English]", "[a]"):
            with self.subTest(text=text):
                self.refuse_text(text, "a heading is [CODE LANGUAGE] and nothing else")

    def test_text_in_front_of_the_first_heading_is_refused(self):
        self.lines.insert(0, "text")
        self.refuse(1, "text in front of the first heading")

    def test_character_that_the_code_page_does_not_have_is_refused(self):
        for language, character, page, name in (
                ("French", "ā", "1252", "U+0101 (LATIN SMALL LETTER A WITH MACRON)"),
                ("Japanese", "错", "932", "U+9519 (CJK UNIFIED IDEOGRAPH-9519)"),
                ("Korean", "é", "949", "U+00E9 (LATIN SMALL LETTER E WITH ACUTE)"),
                ("ChineseS", "에", "936", "U+C5D0 (HANGUL SYLLABLE E)"),
                ("German", "u\u0308", "1252", "U+0308 (COMBINING DIAERESIS)")):
            with self.subTest(character=character):
                self.refuse_text(f"a{character}", f"code page {page} of {language} does not have {name}",
                                 language)

    def test_character_that_only_looks_like_one_of_the_code_page_is_refused(self):
        self.refuse_text("\u301c", "code page 932 of Japanese does not have U+301C (WAVE DASH)", "Japanese")

    def test_characters_that_cannot_be_shown_are_refused(self):
        for character, name in (("\t", "U+0009 (without a name)"), ("\r", "U+000D (without a name)"),
                                ("\0", "U+0000 (without a name)"), ("\x85", "U+0085 (without a name)"),
                                ("\ufeff", "U+FEFF (ZERO WIDTH NO-BREAK SPACE)"),
                                ("\uf8f0", "U+F8F0 (without a name)")):
            with self.subTest(character=name):
                self.refuse_text(f"a{character}b", f"{name} cannot be shown", "Japanese")

    def test_other_encodings_are_refused(self):
        self.write()
        good = self.source.read_bytes()
        self.source.write_bytes(good.replace(b"-52000 in Japanese", "エラー".encode("cp932")))
        self.assertRefused(line_of(-52000, "Japanese") + 1, "not UTF-8")
        self.source.write_bytes(good.decode().encode("utf-16"))
        self.assertRefused(1, "not UTF-8")
        self.source.write_bytes(b"\xef\xbb\xbf" + good)
        self.assertRefused(1, "a byte-order mark")

    def test_line_that_the_reader_takes_for_a_tag_is_refused(self):
        self.refuse_text("</tverror>", "a line of text does not begin with <, as a tag does")

    def test_blanks_at_the_ends_of_a_line_are_refused(self):
        for text in (" a", "a ", " ", "a\u3000"):
            with self.subTest(text=text):
                self.refuse_text(text, "a line of text neither begins nor ends with a blank", "Japanese")

    def test_line_that_the_reader_would_break_is_refused(self):
        self.put(-52003, "Japanese", "あ" * 511)
        self.files()
        self.refuse_text("あ" * 512, "a line of text has fewer than 1023 bytes", "Japanese")

    def test_absent_source_is_refused(self):
        self.assertRefused(1, "No such file or directory")

    def run_command(self, output):
        return subprocess.run(
            [sys.executable, "-B", TEXTS / "generate_texts.py", self.source, output],
            capture_output=True, text=True, check=False)

    def test_command_writes_one_file_for_each_language(self):
        self.write()
        output = self.folder / "output"
        result = self.run_command(output)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(
            sorted(str(path.relative_to(output)) for path in output.rglob("*") if path.is_file()),
            sorted(f"zerova/{language}/zerova.err" for language in generate_texts.LANGUAGES))

    def test_command_fails_with_one_line_and_writes_nothing(self):
        self.lines.pop()
        self.lines.pop()
        self.write()
        output = self.folder / "output"
        result = self.run_command(output)
        self.assertEqual((result.returncode, len(result.stderr.splitlines())), (1, 1))
        self.assertFalse(output.exists())

    def test_output_that_cannot_be_written_is_told_in_one_line(self):
        self.write()
        output = self.folder / "output"
        output.write_bytes(b"")
        result = self.run_command(output)
        self.assertEqual((result.returncode, len(result.stderr.splitlines())), (1, 1))
        self.assertIn(str(output), result.stderr)

    def test_wrong_use_is_told(self):
        result = subprocess.run([sys.executable, "-B", TEXTS / "generate_texts.py"],
                                capture_output=True, text=True, check=False)
        self.assertEqual(result.returncode, 2)
        self.assertIn("Usage:", result.stderr)


if __name__ == "__main__":
    unittest.main()
