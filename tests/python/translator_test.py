"""Failures in words."""

import threading
import unittest

from services import BUILD, scratch
from zerovaapi import (ClosedError, Environment, InternalError, Language, RangeError, ServiceError, TextError,
                       Translator)

REFUSAL = (b'{"component":"c","line":42,"translator_info":{"ordered_data":[{"type":"usage","usage":"kUsageTypeDevice",'
           b'"value":"dev1"},{"type":"elaboration","usage":"Try another."},'
           b'{"type":"usage","usage":"kUsageTypeDevice","value":["a","b"]}]},"ticket":7}')


class Descriptions(unittest.TestCase):
   @classmethod
   def setUpClass(cls):
      cls.translator = Translator()
      cls.addClassCleanup(cls.translator.close)

   def test_of_codes_are_sentences_in_each_language(self):
      sentences = {self.translator.describe(-89168, language) for language in Language}
      self.assertEqual(len(sentences), 6)
      self.assertEqual(self.translator.describe(-89168, "de"), self.translator.describe(-89168, Language.GERMAN))
      self.assertEqual(self.translator.describe(-89168 + 2**32), self.translator.describe(-89168))

   def test_of_failures_have_sentence_and_rows(self):
      described = self.translator.describe(ServiceError("refused", -89168, REFUSAL), "de_DE.UTF-8")
      self.assertEqual([(row.kind, row.heading, row.values) for row in described.rows],
                       [("usage", "Gerät", ("dev1",)), ("elaboration", "", ("Try another.",)),
                        ("usage", "Gerät", ("a", "b"))])
      self.assertEqual(described, f"{described.sentence}\nGerät: dev1\nTry another.\nGerät: a, b")
      self.assertIn("Line: 42", map(str, described.debug_rows))
      self.assertEqual(described.sentence, self.translator.describe(-89168, "de"))
      self.assertIsNone(described.failure)

   def test_of_what_nobody_knows_say_so(self):
      self.assertEqual(self.translator.describe(-77), "Error description not found")
      self.assertEqual(self.translator.describe(ServiceError("", -77, REFUSAL)).splitlines()[0], "Device: dev1")

   def test_of_texts_that_cannot_be_read_tell_the_code(self):
      for text in (b"no JSON", b"\xff", b"[]", b'{"a":' * 2000, b"{" + b" " * 70000 + b"}",
                   b'{"translator_info":{"ordered_data":[7]}}'):
         with self.subTest(text[:40]):
            described = self.translator.describe(ServiceError("", -89168, text), "en")
            self.assertEqual(described, self.translator.describe(-89168, "en"))
      self.assertIsInstance(self.translator.describe(ServiceError("", -77, b"no JSON")).failure, InternalError)

   def test_of_anything_else_are_wrong_use(self):
      for failure, language, kind in (
            (2**32, "en", RangeError), (-77, "xx", RangeError), (-77, "deu", RangeError), (-77, 6, RangeError),
            ("-77", "en", TypeError), (ClosedError("x"), "de", TypeError), (True, "en", TypeError), (-77, None, TypeError),
            (-77, True, TypeError)):
         with self.subTest((failure, language)), self.assertRaises(kind):
            self.translator.describe(failure, language)

   def test_are_had_by_the_name_of_a_language(self):
      for language in Language:
         with self.subTest(language):
            self.assertEqual(self.translator.describe(-89168, language.name.lower()),
                             self.translator.describe(-89168, language))
      self.assertEqual(self.translator.describe(-89168, "German"), self.translator.describe(-89168, "de"))

   def test_of_a_code_alone_have_no_rows(self):
      described = self.translator.describe(-77, "de")
      self.assertEqual((described, described.sentence, described.rows), ("Error description not found", "", ()))

   def test_are_had_by_many_threads_of_one_translator(self):
      wanted = [str(self.translator.describe(-89168, language)) for language in Language]
      found = []

      def describe():
         found.append([str(self.translator.describe(-89168, language)) for language in Language])

      threads = [threading.Thread(target=describe) for _ in range(8)]
      for thread in threads:
         thread.start()
      for thread in threads:
         thread.join()
      self.assertEqual(found, [wanted] * 8)


class Translators(unittest.TestCase):
   def test_use_the_texts_and_scripts_that_they_are_given(self):
      folder = scratch(self)
      (folder / "errors_eng.lua").write_text(
         'return {encoding = "utf-8", getString = function(code) return "Größe of " .. code end}', encoding="utf-8")
      with Translator(scripts=[str(folder)]) as translator:
         self.assertEqual(translator.describe(-5), "Größe of -5")

   def test_find_the_texts_of_a_library_that_has_none_of_its_own_beside_it(self):
      with Translator(texts=str(BUILD / "texts/generated")) as translator:
         self.assertTrue(translator.describe(-89168, "fr").sentence)

   def test_take_folders_of_any_name(self):
      for name in ('a"b', "Größe", "a'b", "new\nline"):
         folder = scratch(self) / name
         folder.mkdir()
         (folder / "errors_eng.lua").write_text(
            'return {encoding = "utf-8", getString = function() return "found" end}', encoding="utf-8")
         with self.subTest(name), Translator(scripts=[str(folder)]) as translator:
            self.assertEqual(translator.describe(-5), "found")

   def test_are_not_made_with_what_is_wrong(self):
      for options, kind in (({"driver": "a\0"}, TextError), ({"texts": "\ud800"}, TextError), ({"scripts": "a"}, TypeError),
                            ({"environment": 9}, RangeError), ({"environment": "tolm"}, TypeError),
                            ({"texts": 7}, TypeError), ({"texts": "/nonexistent"}, RangeError), ({"texts": ""}, RangeError)):
         with self.subTest(options), self.assertRaises(kind):
            Translator(**options)

   def test_tell_of_a_script_that_fails(self):
      folder = scratch(self)
      (folder / "errors_eng.lua").write_text('return {encoding = "utf-8", getString = function() error("x") end}',
                                             encoding="utf-8")
      with Translator(scripts=[str(folder)], environment=Environment.TOLM) as translator:
         with self.assertRaises(InternalError) as caught:
            translator.describe(-5)
      self.assertEqual(caught.exception.code, -52003)

   def test_that_are_closed_are_told(self):
      translator = Translator()
      translator.close()
      translator.close()
      self.assertTrue(translator.closed)
      for use in (lambda: translator.describe(-5), translator.__enter__):
         with self.assertRaises(ClosedError):
            use()


if __name__ == "__main__":
   unittest.main()
