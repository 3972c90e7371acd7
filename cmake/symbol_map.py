"""symbol_map.py NM DLL OUTPUT: writes which function is where in a DLL that has its symbols still.

One line for each: the distance from where the DLL is loaded, and the name.
"""

import pathlib
import re
import struct
import subprocess
import sys


def image_base(dll):
    """Where the DLL would like to lie, as its optional header tells."""
    content = pathlib.Path(dll).read_bytes()
    header = struct.unpack_from("<I", content, 0x3C)[0]
    return struct.unpack_from("<Q", content, header + 24 + 24)[0]


def main(nm, dll, output):
    base = image_base(dll)
    told = subprocess.run([nm, "--demangle", "--numeric-sort", "--defined-only", dll], capture_output=True, text=True,
                          check=True).stdout
    lines = {(int(place, 16) - base, name) for place, name in re.findall(r"^(\w+) [tT] ([^.].*)$", told, re.M)}
    if not lines:
        sys.exit(f"{dll} has no symbols")
    pathlib.Path(output).write_text("".join(f"{place:08x} {name}\n" for place, name in sorted(lines)), encoding="utf-8")


if __name__ == "__main__":
    main(*sys.argv[1:])
