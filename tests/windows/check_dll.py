"""check_dll.py DLL LIST OBJDUMP: holds the DLL to its exports, to what it may import, and to its size."""

import pathlib
import re
import struct
import subprocess
import sys

SYSTEM = {"ADVAPI32.dll", "KERNEL32.dll", "msvcrt.dll", "SHELL32.dll", "WS2_32.dll"}
MOST_BYTES = 2_000_000

# They take and give names in the system's code page, in which not every file has one.
NARROW = {"GetModuleFileNameA", "LoadLibraryA", "FindFirstFileA", "SHGetFolderPathA", "fopen", "freopen", "remove", "rename"}


# What stands in the section of threads' own variables and is none: the mark of their end, and a gap
# that it is aligned by.
MARK_BYTES = 16


def bytes_of_threads(image):
    """Of the section of threads' own variables, and of what the system sets aside for each thread."""
    head = struct.unpack_from("<I", image, 0x3C)[0]
    sections, size = struct.unpack_from("<H12xH", image, head + 6)
    optional = head + 24
    base = struct.unpack_from("<Q", image, optional + 24)[0]
    directory = struct.unpack_from("<I", image, optional + 112 + 9 * 8)[0]
    for at in range(optional + size, optional + size + sections * 40, 40):
        name, length, address, _, place = struct.unpack_from("<8s4I", image, at)
        if address <= directory < address + length:
            begin, end = struct.unpack_from("<QQ", image, place + directory - address)
        if name.rstrip(b"\0") == b".tls":
            section, start = length, base + address
    return section, end - start if begin == start else 0


def faults(dll, names, objdump):
    told = subprocess.run([objdump, "-p", dll], capture_output=True, text=True, check=True).stdout
    table = told.partition("[Ordinal/Name Pointer] Table")[2].partition("\n\n")[0]
    exported = re.findall(r"^\s*\[\s*\d+\] (\S+)$", table, re.M)
    if sorted(exported) != sorted(names):
        yield f"exported and not in the list: {sorted(set(exported) - set(names))}"
        yield f"in the list and not once exported: {[n for n in names if exported.count(n) != 1]}"
    imported = set(re.findall(r"DLL Name: (\S+)", told))
    if not imported or imported - SYSTEM:
        yield f"imported: {sorted(imported)}, of which the system has {sorted(SYSTEM)}"
    called = set(re.findall(r"^\s+[0-9a-f]+\s+\d+\s+(\w+)$", told, re.M))
    if "CreateFileA" not in called or called & NARROW:
        yield f"called, of {len(called)} functions: {sorted(called & NARROW)}"
    size = pathlib.Path(dll).stat().st_size
    if size >= MOST_BYTES:
        yield f"{size} bytes are {MOST_BYTES} or more"
    section, set_aside = bytes_of_threads(pathlib.Path(dll).read_bytes())
    if section - set_aside > MARK_BYTES or set_aside < section // 2:
        yield f"of {section} bytes of threads' own variables, {set_aside} are set aside for a thread"
    if ".rsrc" not in subprocess.run([objdump, "-h", dll], capture_output=True, text=True, check=True).stdout:
        yield "no resource tells the version"


dll, listed, objdump = sys.argv[1:]
found = list(faults(dll, pathlib.Path(listed).read_text(encoding="utf-8").split(), objdump))
print("\n".join(found) or f"{dll} is as it should be")
sys.exit(bool(found))
