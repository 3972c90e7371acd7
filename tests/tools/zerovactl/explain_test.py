"""Codes and status JSONs in words, and what the translator sees on this machine."""

import json
import shutil
import unittest

import bench

STATUS = ('{"component":"c","line":42,"translator_info":{"ordered_data":[{"type":"header","usage":"Conflict"},'
          '{"type":"usage","usage":"kUsageTypeDevice","value":"dev1"}]},"ticket":7}')
GERMAN = """\
Conflict
Gerät  dev1
Details
   Component           c
   Line                42
   rest_of_input_json  {"ticket":7}
"""
ENTRY = '<?xml version="1.0"?>\n<tvdocument>\n<tverror code="{}">\n{}\n</tverror>\n</tvdocument>\n'


class Machine(bench.Case):
   """Writes settings, and takes them back."""

   def setUp(self):
      self.shared = self.folder()
      self.views = [bench.SETTINGS.with_name(bench.SETTINGS.name + end) for end in ("", "32")]

   def publish(self, view, key, name, value):
      folder = self.views[view] / "SOFTWARE" / "Trevanta" / key
      existed = [part for part in (folder, *folder.parents) if part.exists()]
      folder.mkdir(parents=True, exist_ok=True)
      made = [part for part in (folder, *folder.parents) if part not in existed]
      if made:
         self.addCleanup(shutil.rmtree, made[-1])
      file = folder / name
      file.write_text(value + "\n", encoding="utf-8")
      self.addCleanup(lambda: file.unlink(missing_ok=True))
      return file

   def publish_shared(self):
      return self.publish(1, "Common/Installer", "TRVSHAREDDIR", str(self.shared))

   def write(self, name, code, words, encoding="cp1252"):
      file = self.shared / name
      file.parent.mkdir(parents=True, exist_ok=True)
      file.write_text(ENTRY.format(code, words), encoding=encoding)
      return file


class Explain(Machine):
   def test_error_in_the_middle_of_a_file_is_no_end(self):
      file = self.folder() / "status.json"
      file.write_text(STATUS, encoding="utf-8")
      self.assertEqual(bench.run("explain", f"@{file}", **bench.failing_read(file)).all(),
                       (1, "", f"zerovactl: {file}: Input/output error\n"))

   def test_input_without_end_is_refused(self):
      self.assertEqual(bench.run("explain", "@/dev/zero").all(),
                       (1, "", "zerovactl: this is no status JSON (longer than 65536 bytes)\n"))

   def test_code_is_told_in_each_language(self):
      for language, word in (("en", "routing service"), ("fr", "service"), ("de", "Dienst"), ("ja", "サービス"),
                             ("ko", "서비스"), ("zh", "服务")):
         with self.subTest(language):
            seen = bench.run("explain", "-89168", "--lang", language)
            self.assertEqual((seen.status, seen.err, seen.out.splitlines()[0]), (0, "", "-89168"))
            self.assertIn(word, seen.out)

   def test_language_is_that_of_the_locale(self):
      self.assertEqual(bench.run("explain", "-89168", LC_ALL="de_DE.UTF-8").out,
                       bench.run("explain", "-89168", "--lang", "de").out)

   def test_unknown_code_tells_where_it_was_searched(self):
      self.publish_shared()
      self.write("Errors/English/a.err", -1, "one")
      seen = bench.run("explain", "-89305", "--lang", "de")
      self.assertEqual(seen.all(), (0, f"""\
-89305
   Error description not found
   searched   {self.shared}/Auxerrors/zerova/German  missing
              {self.shared}/Auxerrors/zerova/English  missing
              {self.shared}/Errors/German  missing
              {self.shared}/Errors/English  1 file
              {self.shared}/Errors  0 files
              {bench.TEXTS}/zerova/German  1 file
              {bench.TEXTS}/zerova/English  1 file
              {bench.TEXTS}/zerova  0 files
""", ""))

   def test_text_of_the_machine_comes_before_the_librarys(self):
      self.publish_shared()
      self.write("Errors/German/a.err", -89168, "Grüße")
      self.assertEqual(bench.run("explain", "-89168", "--lang", "de").out, "-89168\n   Grüße\n")
      self.assertEqual(bench.run("explain", "0xFFFEA3B0", "--lang", "de").out, "-89168\n   Grüße\n")

   def test_status_json_is_read_as_a_person_reads_it(self):
      file = self.folder() / "failure.json"
      file.write_text(STATUS, encoding="utf-8")
      for what, stdin in ((STATUS, ""), (f"@{file}", ""), ("-", STATUS)):
         with self.subTest(what):
            self.assertEqual(bench.run("explain", what, "--lang", "de", stdin=stdin).all(), (0, GERMAN, ""))

   def test_several_are_one_document(self):
      seen = json.loads(bench.run("explain", "--json", "--lang", "en", "-89168", STATUS).out)["explained"]
      self.assertEqual(seen[0]["code"], -89168)
      self.assertEqual(seen[1]["rows"], [{"type": "header", "values": ["Conflict"]},
                                         {"type": "usage", "key": "Device", "values": ["dev1"]}])

   def test_what_is_neither_is_told(self):
      self.assertEqual(bench.run("explain", "foo").all(), (
         2, "", 'zerovactl: "foo" is no status code and no status JSON; @FILE names a file\n'))
      self.assertEqual(bench.run("explain", "@/no/such").all(),
                       (1, "", "zerovactl: /no/such: No such file or directory\n"))
      self.assertEqual(bench.run("explain", "-").all(), (2, "", "zerovactl: standard input is empty\n"))
      seen = bench.run("explain", "{bad")
      self.assertEqual((seen.status, seen.out), (1, ""))
      self.assertRegex(seen.err, r"\Azerovactl: this is no status JSON \(status -52003: .*\)\n\Z")

   def test_text_that_is_too_long_is_refused(self):
      self.assertEqual(bench.run("explain", "-", stdin='{"a":"' + "b" * 70000 + '"}').all(),
                       (1, "", "zerovactl: this is no status JSON (longer than 65536 bytes)\n"))


class Settings(Machine):
   def test_of_a_file_that_cannot_be_read_to_its_end_is_told(self):
      file = self.write("German/a.err", -1, "words")
      seen = bench.run("settings", "check", str(file.parent), **bench.failing_read(file))
      self.assertEqual((seen.status, seen.out), (5, f"a.err: cannot be read: {file}: Input/output error\n"))

   def test_of_a_machine_without_any_are_told(self):
      seen = bench.run("settings", TMPDIR="/tmp")
      self.assertEqual((seen.status, seen.err), (0, ""))
      self.assertIn(f"not set  {' ' * 200}"[:8].strip(), seen.out)
      place = f"{self.views[1]}/SOFTWARE/Trevanta/Common/Installer/TRVSHAREDDIR"
      self.assertRegex(seen.out.splitlines()[0], rf"^TRVSHAREDDIR       not set +{place}$")

   def test_show_value_and_place_and_folders(self):
      file = self.publish_shared()
      variable = self.publish(1, "Lorvex/plugins/dorvex_zerova", "scripts", "/opt/scripts")
      self.write("Errors/English/a.err", -1, "one")
      seen = bench.run("settings").out.splitlines()
      self.assertRegex(seen[0], rf"^TRVSHAREDDIR       {self.shared} +{file}$")
      self.assertRegex(seen[4], rf"^scripts            /opt/scripts +{variable}$")
      self.assertRegex(seen[5], rf"^Errors             {self.shared}/Errors +there; English 1 file, French MISSING, "
                                "German MISSING, Japanese MISSING, Korean MISSING, ChineseS MISSING$")
      self.assertRegex(seen[6], rf"^Auxerrors          {self.shared}/Auxerrors/zerova +MISSING$")

   def test_as_a_document(self):
      self.publish_shared()
      seen = json.loads(bench.run("settings", "--json").out)
      self.assertEqual(seen["TRVSHAREDDIR"]["value"], str(self.shared))
      self.assertEqual(seen["TRVSHAREDDIR64"]["problem"], "not set")
      self.assertEqual(seen["texts"]["own texts"]["languages"]["German"], 1)


class Check(Machine):
   def check(self, folder=None):
      return bench.run("settings", "check", str(folder or self.shared))

   def all_languages(self):
      for language in ("ChineseS", "English", "French", "German", "Japanese", "Korean"):
         (self.shared / language).mkdir()

   def test_own_texts_have_no_mistake(self):
      self.assertEqual(self.check(bench.TEXTS / "zerova").all(),
                       (0, "", "zerovactl: 6 files checked, nothing is wrong\n"))

   def test_finds_texts_in_the_wrong_encoding(self):
      self.all_languages()
      self.write("German/plant.err", -1, "Das Gerät fehlt", "utf-8")
      (self.shared / "Japanese/plant.err").write_bytes(ENTRY.format(-1, "X").encode().replace(b"X", b"a\xe8\x21b"))
      self.write("Korean/plant.err", -1, "장치", "utf-8")
      self.assertEqual(self.check().all(), (5, """\
German/plant.err:4:5: not in code page 1252 as meant? "GerÃ¤t" looks like UTF-8 (iconv -f UTF-8 -t CP1252)
Japanese/plant.err:4:2: bytes E8 21 are no character of code page 932; the whole text is refused (-52027)
Korean/plant.err:4:1: not in code page 949 as meant? bytes EC 9E A5 looks like UTF-8 (iconv -f UTF-8 -t CP949)
""", "zerovactl: 3 files checked, 3 findings\n"))

   def test_finds_files_that_are_not_read(self):
      self.all_languages()
      self.write("English/b.err", -1, "one", "utf-8-sig")
      self.write("English/c.ERR", -1, "one")
      self.write("English/d.xml", -1, "one")
      (self.shared / "English/e.err").write_text("hello\n", encoding="ascii")
      (self.shared / "English/f.err").write_text('<?xml version="1.0"?>\n<wrong>\n', encoding="ascii")
      self.assertEqual(self.check().all(), (5, """\
English/b.err:1: byte-order mark: the file is skipped
English/c.ERR: not read: the name must end in .err or .txt in lower case
English/d.xml: not read: the name must end in .err or .txt
English/e.err:1: the file is skipped: it does not begin with <?xml version="1.0"
English/f.err:2: the file is skipped: line 2 does not begin with <tvdocument>
""", "zerovactl: 5 files checked, 5 findings\n"))

   def test_finds_entries_that_do_not_count(self):
      self.all_languages()
      (self.shared / "English/a.err").write_text("""<?xml version="1.0"?>
<tvdocument>
<tverror code="-5">
five
</tverror>
<tverror code="-5">
five again
</tverror>
<tverror code="x">
none
</tverror>
<tverror code="-6">
</tverror>
<tverror code="-7">
seven
""", encoding="ascii")
      self.assertEqual(self.check().all(), (5, """\
English/a.err:6: the code -5 stands in English/a.err:3 already; one of the two counts
English/a.err:9:16: no number: a search that comes here fails (-52006)
English/a.err:12: this entry has no text: it counts as none
English/a.err:14: this entry has no </tverror>: a search that comes here fails (-52006)
""", "zerovactl: 1 files checked, 4 findings\n"))

   def test_folder_of_drivers_is_checked_driver_by_driver(self):
      self.write("driver1/English/a.err", -1, "one")
      seen = self.check()
      self.assertEqual(seen.status, 5)
      self.assertIn("driver1/German: missing: for this language the folder above is not searched\n", seen.out)

   def test_as_a_document(self):
      self.all_languages()
      self.write("English/b.err", -1, "one", "utf-8-sig")
      self.assertEqual(json.loads(bench.run("settings", "check", "--json", str(self.shared)).out),
                       {"folder": str(self.shared), "files": 1,
                        "findings": [{"file": "English/b.err", "text": "byte-order mark: the file is skipped",
                                      "line": 1}]})

   def test_folder_that_is_not_there_is_told(self):
      self.assertEqual(self.check("/no/such").all(),
                       (1, "", "zerovactl: /no/such: No such file or directory\n"))


if __name__ == "__main__":
   unittest.main()
