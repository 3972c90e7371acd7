"""What the texts of the six dictionaries must hold to, whoever edits the term files."""

import json
import pathlib
import re
import sys
import unicodedata
import unittest

HERE = pathlib.Path(__file__).resolve().parent
SCRIPTS = HERE.parents[2] / "scripts"
GLOSSARY = HERE.parents[2] / "docs" / "glossary.md"
sys.path.insert(0, str(SCRIPTS))
sys.dont_write_bytecode = True

import generate_terms  # noqa: E402

EMPTY_KEYS = {
    "kUsageTypeBlankLine",
    "kUsageTypeEmptyString",
    "kUsageTypeHiddenDebugData",
    "kUsageTypeFlagDigitsOfPrecision",
}

# Fragments that are glued to what stands before them.
GLUED_BEFORE = {"kAuxTermTo", "kAuxTermInStepsOf", "kAuxTermOrDEPRECATED"}

GLOSSARY_LANGUAGES = {
    "English": "eng",
    "German": "deu",
    "French": "fra",
    "Japanese": "jpn",
    "Korean": "kor",
    "Chinese": "chs",
}

# Fullwidth and ideographic punctuation that a language writes; elsewhere it is a slip.
WIDE_PUNCTUATION = {"chs": set("：，。、；？！（）“”《》…"), "jpn": set("、。・「」（）〜～？！…")}


def read(language):
    terms = []
    for family, name in generate_terms.FAMILIES:
        path = SCRIPTS / "terms" / language / name
        terms += generate_terms.TermFileParser(path, language, family).parse(path.read_bytes())
    return {term.key: term.text for term in terms}


def sample_terms():
    """{key: {language: text}} of the texts whose wording is fixed."""
    return json.loads((HERE / "sample_terms.json").read_text(encoding="utf-8"))


def ruled_out_words():
    """[(language, word, the word that stands in its place)], from the glossary."""
    section = GLOSSARY.read_text(encoding="utf-8").split("\n## Words that no text uses\n")[1]
    table = section.split("\n## ")[0].split("|---|---|---|---|\n")[1]
    rows = [line.strip("| ").split(" | ") for line in table.splitlines() if line]
    return [(GLOSSARY_LANGUAGES[language], word, instead) for language, word, instead, _ in rows]


def has_word(language, word, text):
    """Whether a word of the text begins with this one, or, where blanks do not part words, holds it."""
    start = r"\b" if language in ("eng", "fra", "deu") else ""
    return re.search(start + re.escape(word), text, re.IGNORECASE) is not None


def same_as_english():
    """{(language, key)} of texts that are rightly the English ones; the file gives a reason for each."""
    rows = (HERE / "same_as_english.tsv").read_text(encoding="utf-8").splitlines()
    allowed = {}
    for row in rows:
        language, key, reason = row.split("\t")
        allowed[language, key] = reason
    return allowed


class Dictionaries(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.texts = {language: read(language) for language in generate_terms.LANGUAGES}

    def faults(self, is_fault, languages=generate_terms.LANGUAGES):
        return [
            (language, key, text)
            for language in languages
            for key, text in self.texts[language].items()
            if is_fault(language, key, text)
        ]

    def test_all_languages_hold_579_keys_in_one_order(self):
        english = list(self.texts["eng"])
        self.assertEqual(sum(key.startswith("kUsageType") for key in english), 445)
        self.assertEqual(sum(key.startswith("kAuxTerm") for key in english), 134)
        for language, texts in self.texts.items():
            self.assertEqual(list(texts), english, language)

    def test_keys_that_services_send_stand_first_in_their_family(self):
        contract = (HERE / "contract_keys.txt").read_text(encoding="utf-8").split()
        for family, count in (("kUsageType", 427), ("kAuxTerm", 65)):
            expected = [key for key in contract if key.startswith(family)]
            present = [key for key in self.texts["eng"] if key.startswith(family)]
            self.assertEqual(len(expected), count)
            self.assertEqual(present[:count], expected)

    def test_sample_texts_are_exact(self):
        samples = sample_terms()
        self.assertEqual(len(samples), 23)
        for key, texts in samples.items():
            for language, text in texts.items():
                self.assertEqual(self.texts[language][key], text, (language, key))

    def test_four_texts_are_empty_in_every_language(self):
        for language, texts in self.texts.items():
            self.assertEqual({key for key, text in texts.items() if not text}, EMPTY_KEYS, language)

    def test_three_keys_are_out_of_use_and_still_have_a_text(self):
        deprecated = [key for key in self.texts["eng"] if key.endswith("DEPRECATED")]
        self.assertEqual(len(deprecated), 3)
        for key in deprecated:
            for language, texts in self.texts.items():
                self.assertTrue(texts[key].strip(), (language, key))

    def test_no_text_has_leading_spaces_unless_it_is_glued(self):
        self.assertEqual(
            self.faults(lambda _, key, text: text[:1].isspace() and key not in GLUED_BEFORE), [])

    def test_usage_labels_have_no_trailing_spaces(self):
        self.assertEqual(
            self.faults(lambda _, key, text: key.startswith("kUsageType") and text[-1:].isspace()), [])

    def test_no_text_has_doubled_spaces_or_control_characters(self):
        self.assertEqual(
            self.faults(lambda _, __, text: "  " in text
                        or any(unicodedata.category(c) in ("Cc", "Cf") for c in text)), [])

    def test_blank_is_the_only_space(self):
        self.assertEqual(
            self.faults(lambda _, __, text: any(c.isspace() and c != " " for c in text)), [])

    def test_texts_are_in_composed_form(self):
        self.assertEqual(
            self.faults(lambda _, __, text: unicodedata.normalize("NFC", text) != text), [])

    def test_english_is_plain_ascii(self):
        self.assertEqual(self.faults(lambda _, __, text: not text.isascii(), ["eng"]), [])

    def test_english_labels_begin_and_end_with_a_capital(self):
        fixed = sample_terms()

        def is_fault(_, key, text):
            if not key.startswith("kUsageType") or not text or key in fixed:
                return False
            words = [word.strip("()") for word in text.split()]
            return words[0][0].islower() or words[-1][0].islower()
        self.assertEqual(self.faults(is_fault, ["eng"]), [])

    def test_words_that_the_glossary_rules_out_occur_in_no_text(self):
        fixed = sample_terms()
        self.assertEqual(
            [(language, key, word, text)
             for language, word, _ in ruled_out_words()
             for key, text in self.texts[language].items()
             if key not in fixed and has_word(language, word, text)], [])

    def test_words_that_stand_in_their_place_are_used(self):
        self.assertEqual(
            [(language, word)
             for language, _, word in ruled_out_words()
             if not any(has_word(language, word, text) for text in self.texts[language].values())], [])

    def test_no_translation_is_left_in_english(self):
        allowed = same_as_english()
        english = self.texts["eng"]
        others = [language for language in generate_terms.LANGUAGES if language != "eng"]
        self.assertEqual(
            self.faults(lambda language, key, text: text and text == english[key]
                        and (language, key) not in allowed, others), [])

    def test_every_exception_from_translation_is_used_and_has_a_reason(self):
        for (language, key), reason in same_as_english().items():
            self.assertTrue(reason.strip(), (language, key))
            self.assertEqual(self.texts[language][key], self.texts["eng"][key], (language, key))

    def test_wide_punctuation_stands_only_where_the_language_uses_it(self):
        def is_fault(language, _, text):
            allowed = WIDE_PUNCTUATION.get(language, set())
            return any(
                unicodedata.category(c).startswith("P")
                and unicodedata.east_asian_width(c) in ("F", "W")
                and c not in allowed
                for c in text
            )
        self.assertEqual(self.faults(is_fault), [])

    def test_no_letters_or_digits_are_fullwidth_and_no_kana_halfwidth(self):
        self.assertEqual(
            self.faults(lambda _, __, text: any(
                unicodedata.category(c)[0] in "LN"
                and unicodedata.east_asian_width(c) in ("F", "H") for c in text)), [])

    def test_french_sets_a_blank_before_the_colon(self):
        self.assertEqual(
            self.faults(lambda _, key, text: re.search(r"[^ ]:(?!\S)", text)
                        and key != "kAuxTermColonSpaceSeparator", ["fra"]), [])

    def test_heading_fragments_end_in_a_colon_in_every_language(self):
        self.assertEqual(
            self.faults(lambda _, key, text: key.startswith("kAuxTerm") and key.endswith("Header")
                        and text.rstrip()[-1:] not in (":", "：")), [])


if __name__ == "__main__":
    unittest.main()
