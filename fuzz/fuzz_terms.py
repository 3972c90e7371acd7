#!/usr/bin/env python3
"""Mutates term files and holds the generator of the dictionaries to its promise: for any bytes it
either ends with TermError or gives modules whose every row is one sound Lua string.

Usage: fuzz_terms.py --corpus DIR [--findings DIR] [--seconds N | --runs N] [--seed N]

The corpus holds usage*.xml and auxiliary*.xml, each the English file of its family. A round takes one
of each for all languages, spoils one language's file, sometimes all of them alike, and generates. A
finding leaves the two files in the folder of findings and ends with 1.
"""

import argparse
import pathlib
import random
import re
import sys
import time
import traceback

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "scripts"))
sys.dont_write_bytecode = True

import generate_terms  # noqa: E402

KINDS = dict(zip(("usage", "auxiliary"), (name for _, name in generate_terms.FAMILIES)))
ROW = re.compile(r'   k(?:UsageType|AuxTerm)[A-Z0-9][A-Za-z0-9]* = "(?:[^"\\\x00-\x1f\x7f-\x9f]|\\["\\])*",')

FRAGMENTS = [
    b"<", b">", b"&", b'"', b"'", b"/>", b"</terms>", b"</term>", b"<term>", b'<term key="kUsageTypeA">',
    b'<term key="">', b'<term key="kUsageType">', b' key="kUsageTypeA"', b' xml:space="default"', b"<!--",
    b"-->", b"<![CDATA[", b"]]>", b"<?x y?>", b"<!DOCTYPE terms>", b'<!DOCTYPE terms [<!ENTITY a "b">]>',
    b"&a;", b"&amp;", b"&lt;", b"&quot;", b"&#0;", b"&#9;", b"&#10;", b"&#13;", b"&#127;", b"&#xD800;",
    b"&#xFFFE;", b"&#x110000;", b"&#99999999999;", b'<?xml version="1.0" encoding="utf-16"?>',
    b'<?xml version="1.1"?>', b' encoding="shift_jis"', b' encoding="latin-1"', b' standalone="yes"',
    b"\x00", b"\x7f", b"\xc2\x85", b"\xff\xfe", b"\xef\xbb\xbf", b"\xed\xa0\x80", b"\xc0\x80",
    b"\xe2\x80\xa8", b"\xf0\x9f\x94\x8c", b"\\", b"\\n", b"]]", b"\r", b"\r\n", b"\n", b"\t", b" ",
]  # fmt: skip


class MemoryPath:
    """As much of a path as the generator asks for, over files that are only in memory."""

    def __init__(self, files, name="terms"):
        self.files = files
        self.name = name

    def __truediv__(self, part):
        return MemoryPath(self.files, f"{self.name}/{part}")

    def __str__(self):
        return self.name

    def read_bytes(self):
        return self.files[self.name]


def mutate(data, others, chance):
    data = bytearray(data)
    for _ in range(chance.choice((1, 1, 1, 2, 4, 8))):
        at = chance.randrange(len(data) + 1)
        end = min(len(data), at + chance.choice((1, 2, 4, 16, 64, 256)))
        kind = chance.randrange(8)
        if kind == 0 and at < len(data):
            data[at] ^= 1 << chance.randrange(8)
        elif kind == 1:
            del data[at:end]
        elif kind == 2:
            data[at:at] = data[at:end]
        elif kind == 3:
            data[at:end] = chance.choice(FRAGMENTS)
        elif kind == 4:
            other = chance.choice(others)
            data[at:end] = other[at : at + 64]
        elif kind == 5:
            lines = data.splitlines(keepends=True)
            chance.shuffle(lines)
            data = bytearray(b"".join(lines))
        elif kind == 6:  # into a text, which leaves the file sound more often
            at = data.find(b">", at) + 1
            data[at:at] = chance.choice(FRAGMENTS)
        else:
            data[at:at] = chance.choice(FRAGMENTS)
    return bytes(data)


def check_modules(modules):
    for language, text in modules.items():
        table = text.split(f"usageTypes_{language}_table = {{\n", 1)[1].split("\n}\n\nfunction", 1)[0]
        for row in filter(None, table.split("\n")):
            assert ROW.fullmatch(row), f"{language}: not a row of Lua: {row!r}"
        text.encode("utf-8")


def files_of(sources):
    """The term files of all languages, made of the English ones."""
    return {
        f"terms/{language}/{KINDS[kind]}": data.replace(b'language="eng"', f'language="{language}"'.encode())
        for kind, data in sources.items()
        for language in generate_terms.LANGUAGES
    }


def accepts(files):
    """Whether the generator took the files; any failure but its own is passed on."""
    try:
        modules = generate_terms.generate(MemoryPath(files))
    except generate_terms.TermError:
        return False
    check_modules(modules)
    return True


def run_round(seeds, chance):
    """Spoils and generates once. Returns the files, and what went wrong or None."""
    sources = {kind: chance.choice(seeds[kind]) for kind in KINDS}
    spoiled = chance.choice(list(KINDS))
    others = seeds["usage"] + seeds["auxiliary"]
    if chance.random() < 0.3:
        sources[spoiled] = mutate(sources[spoiled], others, chance)
        files = files_of(sources)
    else:
        files = files_of(sources)
        name = f"terms/{chance.choice(generate_terms.LANGUAGES)}/{KINDS[spoiled]}"
        files[name] = mutate(files[name], others, chance)
    try:
        accepts(files)
    except Exception:  # whatever it is, it is the finding
        return files, traceback.format_exc()
    return files, None


def keep_finding(folder, files, trace):
    for name, data in files.items():
        path = pathlib.Path(folder) / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
    print(f"{trace}\nThe term files are in {folder}", file=sys.stderr)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("--corpus", type=pathlib.Path, required=True)
    parser.add_argument("--findings", type=pathlib.Path, default=pathlib.Path("findings"))
    parser.add_argument("--seconds", type=float, default=20)
    parser.add_argument("--runs", type=int)
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1 << 32))
    options = parser.parse_args()
    print(f"seed: {options.seed}")

    seeds = {kind: [file.read_bytes() for file in sorted(options.corpus.glob(f"{kind}*.xml"))] for kind in KINDS}
    for usage in seeds["usage"]:
        for auxiliary in seeds["auxiliary"]:
            if not accepts(files_of({"usage": usage, "auxiliary": auxiliary})):
                sys.exit("a seed is refused as it stands")

    chance = random.Random(options.seed)
    end = time.monotonic() + options.seconds
    runs = 0
    while runs < options.runs if options.runs else time.monotonic() < end:
        runs += 1
        files, trace = run_round(seeds, chance)
        if trace:
            keep_finding(options.findings / f"terms-{options.seed}-{runs}", files, trace)
            return 1
    print(f"stat::number_of_executed_units: {runs}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
