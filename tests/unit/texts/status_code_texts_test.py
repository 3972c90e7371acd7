"""What the texts of the library's own status codes must hold to, whoever edits them."""

import pathlib
import re
import sys
import unicodedata
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]
SOURCE = ROOT / "texts" / "status_codes.txt"
GLOSSARY = ROOT / "docs" / "glossary.md"
sys.path.insert(0, str(ROOT / "texts"))
sys.dont_write_bytecode = True

import generate_texts  # noqa: E402

# Name of each language in the glossary.
COLUMNS = {
    "English": "English",
    "French": "French",
    "German": "German",
    "Japanese": "Japanese",
    "Korean": "Korean",
    "ChineseS": "Chinese",
}

# Fullwidth and ideographic punctuation that a language writes; elsewhere it is a slip.
WIDE_PUNCTUATION = {"ChineseS": set("：，。、；？！（）“”"), "Japanese": set("、。「」")}

# What is not translated: names in the code, and numbers.
NAMES = re.compile(r"[A-Za-z]+_\w+|\$_\w+|\b[a-z]+[A-Z]\w+|\bTRV\w+|\bjson1\b|[0-9]+|UTF-8|TCP|JSON")


def section(heading):
    """The table rows of a section of the glossary, as lists of cells."""
    text = GLOSSARY.read_text(encoding="utf-8").split(f"\n## {heading}\n")[1].split("\n## ")[0]
    rows = [line.strip("|").split("|") for line in text.splitlines() if line.startswith("|")]
    return [[cell.strip() for cell in row] for row in rows]


def ruled_out_words():
    """[(language, word)] that no text uses."""
    folders = {column: language for language, column in COLUMNS.items()}
    return [(folders[row[0]], row[1]) for row in section("Words that no text uses")[2:]]


def terms():
    """{English term: {language: [words for it]}}, of the terms that have one row and stand for themselves."""
    found = {}
    for heading in ("Terms", "Companions of these terms", "Words of the descriptions of status codes"):
        header, _, *rows = section(heading)
        names = [column.split(" ")[0] for column in header]
        for row in rows:
            cells = dict(zip(names, row))
            if "," in cells["English"]:
                continue
            english = cells["English"].split(" (")[0]
            words = {language: [alternative.strip() for alternative in cells[column].split(";")]
                     for language, column in COLUMNS.items() if language != "English"}
            found.setdefault(english, []).append(words)
    return {english: rows[0] for english, rows in found.items() if len(rows) == 1}


def has_english(term, text):
    return re.search(rf"\b{re.escape(term)}(?:s|es)?\b", text, re.IGNORECASE) is not None


def has_word(word, text):
    """Whether all parts of a word are in the text, in whatever form; parts like "de" aside."""
    parts = [part for part in word.lower().split(" ") if len(part) > 3 or not part.isascii()]
    return all(part in text.lower() for part in parts or [word.lower()])


class StatusCodeTexts(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.texts = generate_texts.SourceParser(SOURCE).parse(SOURCE.read_bytes())

    def faults(self, is_fault, languages=tuple(COLUMNS)):
        return [(code, language, text) for (code, language), text in self.texts.items()
                if language in languages and is_fault(language, text)]

    def test_texts_are_those_of_the_codes_in_the_table_in_every_language(self):
        table = (ROOT / "docs" / "status-codes.md").read_text(encoding="utf-8")
        codes = [int(code) for code in re.findall(r"^\| (-[0-9]+) \|", table, re.MULTILINE)]
        self.assertEqual(list(generate_texts.CODES), codes)
        self.assertEqual(set(self.texts), {(code, language) for code in codes for language in COLUMNS})

    def test_codes_and_languages_stand_in_one_order(self):
        self.assertEqual(list(self.texts), [(code, language) for code in generate_texts.CODES
                                            for language in generate_texts.LANGUAGES])

    def test_languages_are_those_of_the_library(self):
        source = (ROOT / "lorvex" / "languages.cpp").read_text(encoding="utf-8")
        self.assertEqual(re.findall(r'\{"([A-Za-z]+)", +([0-9]+)\}', source),
                         [(name, page) for name, (page, _) in generate_texts.LANGUAGES.items()])

    def test_files_decode_strictly_to_the_texts(self):
        pages = {"1252": "cp1252", "932": "cp932", "949": "cp949", "936": "gbk"}
        for language, data in generate_texts.generate(SOURCE).items():
            page = re.search(rb"Code page ([0-9]+)\.", data)[1].decode()
            entries = re.findall(r'<tverror code="(-[0-9]+)">\n(.*?)\n</tverror>\n',
                                 data.decode(pages[page], errors="strict"), re.DOTALL)
            self.assertEqual([(int(code), text) for code, text in entries],
                             [(code, self.texts[code, language]) for code in generate_texts.CODES])

    def test_text_says_what_happened_and_then_what_to_do(self):
        for key, text in self.texts.items():
            happened, blank, *advice = text.split("\n")
            self.assertTrue(happened, key)
            self.assertEqual(blank, "", key)
            self.assertTrue(advice and all(advice), key)
            self.assertEqual(len(advice), self.texts[key[0], "English"].count("\n") - 1, key)

    def test_every_line_is_a_sentence(self):
        self.assertEqual(self.faults(lambda language, text: any(
            line and line[-1] != ("。" if language in ("Japanese", "ChineseS") else ".")
            for line in text.split("\n"))), [])

    def test_names_and_numbers_are_those_of_the_english_text(self):
        for (code, language), text in self.texts.items():
            self.assertEqual(sorted(NAMES.findall(re.sub(r"[^\x21-\x7e]", " ", text))),
                             sorted(NAMES.findall(self.texts[code, "English"])), (code, language))

    def test_words_are_those_of_the_glossary(self):
        used = set()
        faults = []
        for code in generate_texts.CODES:
            for term, words in terms().items():
                if not has_english(term, self.texts[code, "English"]):
                    continue
                used.add(term)
                faults += [(code, language, term, alternatives)
                           for language, alternatives in words.items()
                           if not any(has_word(word, self.texts[code, language]) for word in alternatives)]
        self.assertEqual(faults, [])
        self.assertGreaterEqual(used, {"session", "terminal", "routing service", "status JSON"})

    def test_words_that_the_glossary_rules_out_occur_in_no_text(self):
        for language, word in ruled_out_words():
            start = r"\b" if generate_texts.LANGUAGES[language][0] == "1252" else ""
            pattern = re.compile(start + re.escape(word), re.IGNORECASE)
            self.assertEqual(self.faults(lambda _, text: pattern.search(text), [language]), [], word)

    def test_english_is_plain_ascii(self):
        self.assertEqual(self.faults(lambda _, text: not text.isascii(), ["English"]), [])

    def test_blank_is_the_only_space_and_stands_alone(self):
        self.assertEqual(self.faults(lambda _, text: "  " in text or any(
            character.isspace() and character not in " \n" for character in text)), [])

    def test_wide_punctuation_stands_only_where_the_language_uses_it(self):
        self.assertEqual(self.faults(lambda language, text: any(
            unicodedata.category(character).startswith("P")
            and unicodedata.east_asian_width(character) in ("F", "W")
            and character not in WIDE_PUNCTUATION.get(language, ()) for character in text)), [])

    def test_japanese_and_chinese_set_no_blanks(self):
        self.assertEqual(self.faults(lambda _, text: " " in text, ["Japanese", "ChineseS"]), [])

    def test_french_sets_a_blank_before_tall_punctuation(self):
        self.assertEqual(self.faults(lambda _, text: re.search(r"[^ ][:;?!]", text), ["French"]), [])

    def test_french_apostrophe_is_the_straight_one(self):
        self.assertEqual(self.faults(lambda _, text: "\u2019" in text, ["French"]), [])

    def test_korean_is_in_the_formal_style(self):
        self.assertEqual(self.faults(lambda _, text: any(
            not line.endswith(("니다.", "십시오.")) for line in text.split("\n") if line), ["Korean"]), [])


if __name__ == "__main__":
    unittest.main()
