#!/usr/bin/env python3
"""Writes what every sequence of the code pages becomes, as constant data for the library.

Usage: generate_code_pages.py OUTPUT.cpp

The source is the iconv of the machine that builds, corrected where it differs from Windows; the layout
is that of platform/posix/code_page_tables.h. A machine whose iconv gives another table than the recorded
one ends the build: what a text becomes must not depend on where the library was built.
"""

import ctypes
import hashlib
import sys
import typing

SINGLES = range(0x80, 0x100)
LEADS = range(0x81, 0xFF)
TRAILS = range(0x40, 0xFF)
DELETE = 0x7F  # no page has it as a trail byte
REFUSED = 0  # no sequence but the byte 0 becomes the unit 0


class TableError(Exception):
    """Why there is no table, in one sentence."""


def block(leads, trails, first_unit):
    """Consecutive units for each trail byte of each lead byte."""
    sequences = [bytes([lead, trail]) for lead in leads for trail in trails if trail != DELETE]
    return {sequence: first_unit + i for i, sequence in enumerate(sequences)}


def runs(first_unit, text):
    """Consecutive units for runs of pairs, each written FIRST-LAST within one row, or FIRST alone."""
    units = {}
    for run in text.split():
        first, _, last = run.partition("-")
        last = last or first
        lead = int(first[:2], 16)
        trails = range(int(first[2:], 16), int(last[2:], 16) + 1)
        units.update(block([lead], trails, first_unit + len(units)))
    return units


class Page(typing.NamedTuple):
    number: int
    has_pairs: bool
    # What Windows maps and iconv does not.
    corrections: dict
    # The SHA-256 of its units: 16 bits each, little-endian, 0 for a refusal; of the bytes 80 to FF,
    # then, if there are pairs, of the lead bytes 81 to FE with the trail bytes 40 to FE each.
    digest: str


PAGES = (
    # Bytes without a character are controls.
    Page(1252, False, {bytes([b]): b for b in (0x81, 0x8D, 0x8F, 0x90, 0x9D)}, "39e614a5dcfd75bcf60c3dfc267ae4978537c690967df83aeebd94a8ef826f4a"),
    Page(932, True, {b"\x80": 0x80}, "b34d220514a1561a664bd303f7da09fe46016fe1a4e2ded694a216697340d448"),
    # The rows in the private use area are those of user-defined characters.
    Page(949, True, {
        b"\x80": 0x80,
        **block([0xC9], range(0xA1, 0xFF), 0xE000),
        **block([0xFE], range(0xA1, 0xFF), 0xE05E),
    }, "0eeb16d3d04cf6eed0a54895a99972c1a4d3f39957a5adb5ec3460945091affa"),
    # Behind the user-defined characters come the places that were empty when the page was made.
    Page(936, True, {
        **block(range(0xAA, 0xB0), range(0xA1, 0xFF), 0xE000),
        **block(range(0xF8, 0xFF), range(0xA1, 0xFF), 0xE234),
        **block(range(0xA1, 0xA8), range(0x40, 0xA1), 0xE4C6),
        **runs(0xE766, """
            A2AB-A2B0 A2E3-A2E4 A2EF-A2F0 A2FD-A2FE A4F4-A4FE A5F7-A5FE A6B9-A6C0 A6D9-A6DF A6EC-A6ED
            A6F3 A6F6-A6FE A7C2-A7D0 A7F2-A7FE A896-A8A0 A8BC A8BF A8C1-A8C4 A8EA-A8FE A958 A95B
            A95D-A95F A989-A995 A997-A9A3 A9F0-A9FE D7FA-D7FE FE50-FE7E FE80-FEA0"""),
    }, "b23c4ffb52c47caf5e63a58361f43c405b732600cae88209f559a500f7f8a799"),
)


class Converter:
    """The system's, from one page to UTF-16."""

    def __init__(self, page):
        try:
            library = ctypes.CDLL(None)
            self._iconv = library.iconv
            open_converter = library.iconv_open
        except (OSError, AttributeError) as failure:
            raise TableError(f"this system's C library has no iconv: {failure}") from failure
        open_converter.restype = ctypes.c_void_p
        self._iconv.restype = ctypes.c_size_t
        self._handle = ctypes.c_void_p(open_converter(b"UTF-16LE", b"CP%d" % page))
        if self._handle.value in (None, ctypes.c_void_p(-1).value):
            raise TableError(f"this system's iconv does not know CP{page}")

    def unit(self, sequence):
        """The unit that sequence becomes, alone and in one step."""
        self._iconv(self._handle, None, None, None, None)
        source = ctypes.create_string_buffer(sequence, len(sequence))
        target = ctypes.create_string_buffer(2)
        source_at, target_at = ctypes.c_void_p(ctypes.addressof(source)), ctypes.c_void_p(ctypes.addressof(target))
        source_left, target_left = ctypes.c_size_t(len(source)), ctypes.c_size_t(len(target))
        result = self._iconv(self._handle, ctypes.byref(source_at), ctypes.byref(source_left),
                             ctypes.byref(target_at), ctypes.byref(target_left))
        if result != 0 or source_left.value or target_left.value:
            return REFUSED
        return int.from_bytes(target.raw, "little")


def units_of(page):
    """The units of the single bytes and, row by row, those of the pairs."""
    converter = Converter(page.number)

    def unit(sequence):
        found = converter.unit(sequence)
        if sequence not in page.corrections:
            return found
        if found != REFUSED:
            raise TableError(f"iconv maps {sequence.hex()} of code page {page.number}, which is to be corrected")
        return page.corrections[sequence]

    singles = [unit(bytes([byte])) for byte in SINGLES]
    rows = []
    for lead in LEADS if page.has_pairs else ():
        # A byte that is a character leads nothing.
        is_lead = singles[lead - SINGLES.start] == REFUSED
        rows.append([unit(bytes([lead, trail])) if is_lead else REFUSED for trail in TRAILS])
    return singles, rows


def check_record(page, singles, rows):
    units = singles + [unit for row in rows for unit in row]
    digest = hashlib.sha256(b"".join(unit.to_bytes(2, "little") for unit in units)).hexdigest()
    if digest != page.digest:
        raise TableError(f"this system's iconv gives another code page {page.number} than the recorded one ({digest})")


def initialiser(units):
    lines = [units[i:i + 16] for i in range(0, len(units), 16)]
    return "{" + ",\n".join(",".join(map(str, line)) for line in lines) + "}"


def source_text():
    parts = ["// Made by platform/posix/generate_code_pages.py.\n"
             '#include "platform/posix/code_page_tables.h"\n\nnamespace platform {\n']
    for page in PAGES:
        singles, rows = units_of(page)
        check_record(page, singles, rows)
        if rows:
            table = ",\n".join(initialiser(row) for row in rows)
            parts.append(f"const DoubleByteTable kTable{page.number} = {{{initialiser(singles)},\n{{{table}}}}};\n")
        else:
            parts.append(f"const SingleByteTable kTable{page.number} = {{{initialiser(singles)}}};\n")
    parts.append("} // namespace platform\n")
    return "\n".join(parts)


def main(path):
    try:
        text = source_text()
    except TableError as failure:
        sys.exit(f"generate_code_pages.py: {failure}")
    with open(path, "w", encoding="ascii") as output:
        output.write(text)


if __name__ == "__main__":
    main(sys.argv[1])
