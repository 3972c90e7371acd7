"""check_dll.py DLL LIST OBJDUMP: holds the DLL to its exports, imports and size, and to what memory a thread has for it."""

import pathlib
import re
import struct
import subprocess
import sys

SYSTEM = {"ADVAPI32.dll", "KERNEL32.dll", "msvcrt.dll", "SHELL32.dll", "WS2_32.dll"}
MOST_BYTES = 2_000_000

# They take and give names in the system's code page, in which not every file has one.
NARROW = {"GetModuleFileNameA", "LoadLibraryA", "FindFirstFileA", "SHGetFolderPathA", "fopen", "freopen", "remove", "rename"}


def unclaimed_thread_bytes(dll):
    """How many at the end of the threads' memory the system does not set aside, though they are linked in."""
    data = pathlib.Path(dll).read_bytes()
    optional = struct.unpack_from("<I", data, 0x3C)[0] + 24
    count, head_size = struct.unpack_from("<H12xH", data, optional - 18)
    base = struct.unpack_from("<Q", data, optional + 24)[0]
    directory = struct.unpack_from("<I", data, optional + 112 + 9 * 8)[0]
    section_of = {}
    told_end = 0
    for i in range(count):
        name, size, address, _, at = struct.unpack_from("<8s4I", data, optional + head_size + i * 40)
        section_of[name.rstrip(b"\0")] = address + size
        if address <= directory < address + size:
            told_end = struct.unpack_from("<Q", data, at + directory - address + 8)[0] - base
    return section_of[b".tls"] - told_end


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
    if unclaimed_thread_bytes(dll) > 16:  # the word that marks the end lies behind it
        yield f"{unclaimed_thread_bytes(dll)} bytes of a thread's own memory are beyond what the system gives it"
    if ".rsrc" not in subprocess.run([objdump, "-h", dll], capture_output=True, text=True, check=True).stdout:
        yield "no resource tells the version"


dll, listed, objdump = sys.argv[1:]
found = list(faults(dll, pathlib.Path(listed).read_text(encoding="utf-8").split(), objdump))
print("\n".join(found) or f"{dll} is as it should be")
sys.exit(bool(found))
