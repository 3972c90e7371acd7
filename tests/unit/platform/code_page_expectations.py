#!/usr/bin/env python3
"""Writes what Windows makes of every sequence of one and of two bytes in each code page.

The source is Python's own codecs, which share nothing with the system's iconv, and below it the list of
what Windows does otherwise when it is told to refuse invalid characters.

Output, for the pages in the order of PAGES: a record for each of the 256 single bytes, then one for
each of the 65536 pairs. A record is three 16-bit little-endian numbers: how many UTF-16 units the
sequence becomes (0: it is refused) and the units.
"""
import struct
import sys


def without_delete(first, last):
    return [trail for trail in range(first, last + 1) if trail != 0x7F]


def user_defined(leads, trails, first_unit):
    sequences = [bytes([lead, trail]) for lead in leads for trail in trails]
    return {sequence: first_unit + i for i, sequence in enumerate(sequences)}


def added_later():
    """The places of 936 that were empty when the page was made, each run with its first unit."""
    runs = """
        A2AB-B0 E766  A2E3-E4 E76C  A2EF-F0 E76E  A2FD-FE E770  A4F4-FE E772  A5F7-FE E77D  A6B9-C0 E785
        A6D9-DF E78D  A6EC-ED E794  A6F3-F3 E796  A6F6-FE E797  A7C2-D0 E7A0  A7F2-FE E7AF  A896-A0 E7BC
        A8BC-BC E7C7  A8BF-BF E7C8  A8C1-C4 E7C9  A8EA-FE E7CD  A958-58 E7E2  A95B-5B E7E3  A95D-5F E7E4
        A989-95 E7E7  A997-A3 E7F4  A9F0-FE E801  D7FA-FE E810  FE50-7E E815  FE80-A0 E844""".split()
    units = {}
    for run, first_unit in zip(runs[::2], runs[1::2]):
        lead, first, last = (int(digits, 16) for digits in (run[:2], run[2:4], run[5:]))
        units.update(user_defined([lead], range(first, last + 1), int(first_unit, 16)))
    return units


# Page, Python's codec, and what Windows does otherwise: None for a refusal.
PAGES = [
    (1252, "cp1252", {bytes([b]): b for b in (0x81, 0x8D, 0x8F, 0x90, 0x9D)}),
    # Windows has these four bytes in the private use area, and refuses single bytes from there.
    (932, "cp932", {bytes([b]): None for b in (0xA0, 0xFD, 0xFE, 0xFF)}),
    (949, "cp949", {
        b"\x80": 0x80,
        **user_defined([0xC9], without_delete(0xA1, 0xFE), 0xE000),
        **user_defined([0xFE], without_delete(0xA1, 0xFE), 0xE000 + 94),
    }),
    (936, "gbk", {
        b"\x80": 0x20AC,
        **user_defined(range(0xAA, 0xB0), without_delete(0xA1, 0xFE), 0xE000),
        **user_defined(range(0xF8, 0xFF), without_delete(0xA1, 0xFE), 0xE000 + 6 * 94),
        **user_defined(range(0xA1, 0xA8), without_delete(0x40, 0xA0), 0xE000 + 13 * 94),
        **added_later(),
    }),
]


def codec_unit(codec, sequence):
    try:
        text = sequence.decode(codec)
    except UnicodeDecodeError:
        return None
    return ord(text) if len(text) == 1 else None


def unit(codec, differences, sequence):
    if sequence in differences:
        return differences[sequence]
    return codec_unit(codec, sequence)


def record(units):
    padded = (list(units) + [0, 0])[:2]
    return struct.pack("<3H", len(units), *padded)


def main(path):
    with open(path, "wb") as output:
        for _, codec, differences in PAGES:
            singles = [unit(codec, differences, bytes([b])) for b in range(256)]
            for value in singles:
                output.write(record([] if value is None else [value]))
            for first in range(256):
                for second in range(256):
                    if singles[first] is None:
                        value = unit(codec, differences, bytes([first, second]))
                        units = [] if value is None else [value]
                    elif singles[second] is None:
                        units = []
                    else:
                        units = [singles[first], singles[second]]
                    output.write(record(units))


if __name__ == "__main__":
    main(sys.argv[1])
