#!/usr/bin/env python3
"""Turns the texts of the library's own status codes into the error description files of all languages.

Usage: generate_texts.py SOURCE OUTPUT_DIR

SOURCE holds the texts, in UTF-8; OUTPUT_DIR receives zerova/LANGUAGE/zerova.err for each language, in the
code page of that language. Every code must have a text in every language. Any fault ends the run with one
line that names file and line, and nothing is written.
"""

import pathlib
import re
import sys
import unicodedata

# All codes that the library writes itself, as docs/status-codes.md lists them.
CODES = (-52000, -52002, -52003, -52005, -52006, -52024, -52027, -52029, -89168)

# Folder of each language and its code page, under the name that Python has for it.
LANGUAGES = {
    "English": ("1252", "cp1252"),
    "French": ("1252", "cp1252"),
    "German": ("1252", "cp1252"),
    "Japanese": ("932", "cp932"),
    "Korean": ("949", "cp949"),
    "ChineseS": ("936", "gbk"),
}

# Folder and file, below the folder of all drivers' texts.
DRIVER = "zerova"
FILE_NAME = "zerova.err"

HEADING = re.compile(r"\[(-?[0-9]+) ([A-Za-z]+)\]\Z")

# What the reader of the files takes of a line in one piece.
LONGEST_LINE = 1023

FILE = """\
<?xml version="1.0"?>
<tvdocument>
<tvcomment>
What the status codes of the library mean. Code page {page}.
Generated: what is changed here is lost when the library is installed anew.
</tvcomment>
{entries}</tvdocument>
"""
ENTRY = '<tverror code="{code}">\n{text}\n</tverror>\n'


class TextError(Exception):
    """A fault of the source, told as file:line: what."""

    def __init__(self, file, line, what):
        super().__init__(f"{file}:{line}: {what}")


def named(character):
    return f"U+{ord(character):04X} ({unicodedata.name(character, 'without a name')})"


def in_code_page(text, codec):
    """Whether the text is one that the code page has, and not merely one that looks alike there."""
    try:
        return text.encode(codec).decode(codec) == text
    except UnicodeError:
        return False


class SourceParser:
    """Reads the source. Its only failure is TextError."""

    def __init__(self, file):
        self.file = file
        self.headings = {}  # line of the heading of each (code, language)
        self.texts = {}  # lines of the text of each
        self.key = None

    def parse(self, data):
        """Returns {(code, language): text}."""
        try:
            source = data.decode("utf-8")
        except UnicodeDecodeError as error:
            line = data.count(b"\n", 0, error.start) + 1
            raise TextError(self.file, line, "not UTF-8") from error
        if source.startswith("\ufeff"):
            self.fail(1, "a byte-order mark")
        lines = source.replace("\r\n", "\n").removesuffix("\n").split("\n")
        for number, line in enumerate(lines, 1):
            self.take(line, number)
        self.require_all(len(lines))
        return {key: "\n".join(text).strip("\n") for key, text in self.texts.items()}

    def fail(self, line, what):
        raise TextError(self.file, line, what)

    def take(self, line, number):
        if line.startswith("#"):
            return
        if line.startswith("["):
            self.begin(line, number)
        elif self.key:
            self.check(line, number)
            self.texts[self.key].append(line)
        elif line:
            self.fail(number, "text in front of the first heading")

    def begin(self, line, number):
        match = HEADING.match(line)
        if not match:
            self.fail(number, "a heading is [CODE LANGUAGE] and nothing else")
        code, language = int(match[1]), match[2]
        if code not in CODES:
            self.fail(number, f"{code} is no code of the library")
        if language not in LANGUAGES:
            self.fail(number, f"{language} is none of {', '.join(LANGUAGES)}")
        self.key = code, language
        if self.key in self.headings:
            self.fail(number, f"{code} has its {language} text in line {self.headings[self.key]} already")
        self.headings[self.key] = number
        self.texts[self.key] = []

    def check(self, line, number):
        language = self.key[1]
        page, codec = LANGUAGES[language]
        for character in line:
            # Private use stands for itself in some of the code pages, and for nothing to a reader.
            if unicodedata.category(character) in ("Cc", "Cf", "Cn", "Co", "Zl", "Zp"):
                self.fail(number, f"{named(character)} cannot be shown")
            if not in_code_page(character, codec):
                self.fail(number, f"code page {page} of {language} does not have {named(character)}")
        if line != line.strip():
            self.fail(number, "a line of text neither begins nor ends with a blank")
        if line.startswith("<"):
            self.fail(number, "a line of text does not begin with <, as a tag does")
        if len(line.encode(codec)) >= LONGEST_LINE:
            self.fail(number, f"a line of text has fewer than {LONGEST_LINE} bytes")

    def require_all(self, last_line):
        for key, text in self.texts.items():
            if not any(text):
                self.fail(self.headings[key], f"the {key[1]} text of {key[0]} is empty")
        for code in CODES:
            lines = [line for key, line in self.headings.items() if key[0] == code]
            if not lines:
                self.fail(last_line, f"{code} has no text")
            for language in LANGUAGES:
                if (code, language) not in self.texts:
                    self.fail(lines[0], f"{code} has no {language} text")


def generate(source):
    """Returns the bytes of the file of every language."""
    try:
        data = source.read_bytes()
    except OSError as error:
        raise TextError(source, 1, error.strerror) from error
    texts = SourceParser(source).parse(data)
    files = {}
    for language, (page, codec) in LANGUAGES.items():
        entries = "".join(ENTRY.format(code=code, text=texts[code, language]) for code in CODES)
        files[language] = FILE.format(page=page, entries=entries).encode(codec)
    return files


def main(arguments):
    if len(arguments) != 2:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    source, output_dir = map(pathlib.Path, arguments)
    try:
        for language, data in generate(source).items():
            path = output_dir / DRIVER / language / FILE_NAME
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(data)
    except TextError as error:
        print(error, file=sys.stderr)
        return 1
    except OSError as error:
        print(f"{error.filename}: {error.strerror}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
