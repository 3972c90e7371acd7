#!/usr/bin/env python3
"""Turns the term files of all languages into the Lua dictionaries that the library embeds.

Usage: generate_terms.py TERMS_DIR OUTPUT_DIR

TERMS_DIR holds one folder for each language, each with usageTypes.terms.dict.xml and
auxiliaryTerms.terms.dict.xml; OUTPUT_DIR receives commonTerms_<language>.lua for each. All languages
must hold the same keys in the same order; English is the one that the others are held against. Any fault
ends the run with one line that names file, line and key, and nothing is written.
"""

import pathlib
import re
import sys
import unicodedata
import xml.parsers.expat

LANGUAGES = ("eng", "jpn", "kor", "chs", "fra", "deu")
FAMILIES = (
    ("kUsageType", "usageTypes.terms.dict.xml"),
    ("kAuxTerm", "auxiliaryTerms.terms.dict.xml"),
)

MODULE = """\
-- Generated from {sources}.
-- Change the texts there: what is changed here is lost with the next build.

usageTypes_{lng} = {{}}

usageTypes_{lng}.encoding = "utf-8"

local usageTypes_{lng}_table = {{
{rows}
}}

function usageTypes_{lng}.getString(usageType)
   return usageTypes_{lng}_table[usageType]
end

function usageTypes_{lng}.tprint(tbl, indent)
   if not indent then indent = 0 end
   for k, v in pairs(tbl) do
      local heading = string.rep("  ", indent) .. tostring(k) .. ": "
      if type(v) == "table" then
         print(heading)
         tprint(v, indent + 1)
      else
         print(heading .. tostring(v))
      end
   end
end

return usageTypes_{lng}
"""


class TermError(Exception):
    """A fault of a term file, told as file:line: what."""

    def __init__(self, file, line, what):
        super().__init__(f"{file}:{line}: {what}")


class Term:
    def __init__(self, key, line):
        self.key = key
        self.line = line
        self.text = ""


class TermFileParser:
    """Reads one term file. Its only failure is TermError."""

    def __init__(self, file, language, family):
        self.file = file
        self.language = language
        self.family = family
        self.key_form = re.compile(rf"{family}[A-Z0-9][A-Za-z0-9]*\Z")
        self.terms = []
        self.lines_by_key = {}
        self.open_term = None
        self.depth = 0
        self.xml = xml.parsers.expat.ParserCreate()
        self.xml.buffer_text = True
        self.xml.XmlDeclHandler = self.declaration
        self.xml.StartDoctypeDeclHandler = self.doctype
        self.xml.StartElementHandler = self.start
        self.xml.EndElementHandler = self.end
        self.xml.CharacterDataHandler = self.characters

    def parse(self, data):
        try:
            data.decode("utf-8")
        except UnicodeDecodeError as error:
            line = data.count(b"\n", 0, error.start) + 1
            raise TermError(self.file, line, "not UTF-8") from error
        try:
            self.xml.Parse(data, True)
        except xml.parsers.expat.ExpatError as error:
            what = xml.parsers.expat.ErrorString(error.code)
            raise TermError(self.file, error.lineno, f"not well-formed XML: {what}") from error
        return self.terms

    def fail(self, what, line=None):
        raise TermError(self.file, line or self.xml.CurrentLineNumber, what)

    def declaration(self, _version, encoding, _standalone):
        if encoding is not None and encoding.lower() != "utf-8":
            self.fail(f"encoding is {encoding}, not UTF-8")

    def doctype(self, *_):
        self.fail("a document type is not allowed")

    def start(self, name, attributes):
        self.depth += 1
        if self.depth == 1:
            expected = {"language": self.language, "family": self.family, "xml:space": "preserve"}
            if name != "terms" or attributes != expected:
                self.fail(f"the first element must be <terms> with {expected}")
        elif self.depth == 2 and name == "term" and set(attributes) == {"key"}:
            self.open_term = self.new_term(attributes["key"])
        else:
            self.fail(f"unexpected element <{name}>")

    def new_term(self, key):
        line = self.xml.CurrentLineNumber
        if not self.key_form.match(key):
            self.fail(f"key {key}: not a name of the family {self.family}")
        if key in self.lines_by_key:
            self.fail(f"key {key}: stands in line {self.lines_by_key[key]} already")
        self.lines_by_key[key] = line
        return Term(key, line)

    def end(self, _name):
        self.depth -= 1
        if self.open_term:
            self.check_text(self.open_term)
            self.terms.append(self.open_term)
            self.open_term = None

    def characters(self, data):
        if self.open_term:
            self.open_term.text += data
        elif data.strip():
            self.fail(f"text outside a term: {data.strip()[:40]}")

    def check_text(self, term):
        for character in term.text:
            if unicodedata.category(character) == "Cc" or character in "\ufeff\ufffe\uffff":
                self.fail(
                    f"key {term.key}: the text holds U+{ord(character):04X}, which the module's "
                    "string cannot carry",
                    term.line,
                )


def require_same_keys(reference, terms, file):
    """Holds terms against the English ones, which are known to be free of doubles."""
    expected = [term.key for term in reference]
    known = set(expected)
    present = {term.key for term in terms}
    last_line = terms[-1].line if terms else 1
    for term in terms:
        if term.key not in known:
            raise TermError(file, term.line, f"key {term.key}: English does not have it")
    for key in expected:
        if key not in present:
            raise TermError(file, last_line, f"key {key}: missing")
    for key, term in zip(expected, terms):
        if key != term.key:
            raise TermError(file, term.line, f"key {term.key}: out of order, {key} comes here")


def lua_string(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def module_text(language, terms):
    rows = "\n".join(f"   {term.key} = {lua_string(term.text)}," for term in terms)
    sources = " and ".join(f"{language}/{name}" for _, name in FAMILIES)
    return MODULE.format(lng=language, sources=sources, rows=rows)


def read_file(path):
    try:
        return path.read_bytes()
    except OSError as error:
        raise TermError(path, 1, error.strerror) from error


def generate(terms_dir):
    """Returns the module text of every language."""
    reference = {}
    modules = {}
    for language in LANGUAGES:
        rows = []
        for family, name in FAMILIES:
            path = terms_dir / language / name
            terms = TermFileParser(path, language, family).parse(read_file(path))
            require_same_keys(reference.setdefault(family, terms), terms, path)
            rows += terms
        modules[language] = module_text(language, rows)
    return modules


def main(arguments):
    if len(arguments) != 2:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    terms_dir, output_dir = map(pathlib.Path, arguments)
    try:
        modules = generate(terms_dir)
    except TermError as error:
        print(error, file=sys.stderr)
        return 1
    output_dir.mkdir(parents=True, exist_ok=True)
    for language, text in modules.items():
        (output_dir / f"commonTerms_{language}.lua").write_text(text, encoding="utf-8", newline="\n")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
