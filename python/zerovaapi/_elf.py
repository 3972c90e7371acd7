"""Reads the SONAME of a shared library, without loading it."""

from __future__ import annotations

import os
import struct
import sys
from typing import Dict, List, Tuple

_PT_LOAD, _PT_DYNAMIC = 1, 2
_DT_NULL, _DT_STRTAB, _DT_SONAME = 0, 5, 14
_HEADER = 64
_ORDER = "<" if sys.byteorder == "little" else ">"


class NoSharedLibrary(ValueError):
   """The file is not a shared library for this kind of machine."""


def _dynamic(entries: bytes) -> Dict[int, int]:
   found: Dict[int, int] = {}
   for tag, value in struct.iter_unpack(_ORDER + "qQ", entries[: len(entries) // 16 * 16]):
      if tag == _DT_NULL:
         break
      found.setdefault(tag, value)
   return found


def soname(path: str) -> str:
   """The SONAME; empty if the library has none."""
   if os.path.exists(path) and not os.path.isfile(path):
      raise NoSharedLibrary("it is no regular file")
   with open(path, "rb") as file:

      whole = os.fstat(file.fileno()).st_size

      def read(offset: int, size: int) -> bytes:
         if offset + size > whole:
            raise NoSharedLibrary("it is cut short")
         file.seek(offset)
         return file.read(size)

      identification = file.read(_HEADER)
      if len(identification) < _HEADER or identification[:4] != b"\x7fELF":
         raise NoSharedLibrary("it is no shared library")
      if identification[4] != 2 or identification[5] != (1 if sys.byteorder == "little" else 2):
         raise NoSharedLibrary("it is for another kind of machine")
      table, size, count = struct.unpack_from(_ORDER + "Q14xHH", identification, 32)
      if size < 56:
         raise NoSharedLibrary("it has no program headers")
      loads: List[Tuple[int, int, int]] = []
      dynamic: Dict[int, int] = {}
      for index in range(count):
         kind, _, offset, address, _, length = struct.unpack_from(
            _ORDER + "IIQQQQ", read(table + index * size, size))
         if kind == _PT_LOAD:
            # The loader would map what is not there, and the process end on the first touch.
            if offset + length > whole:
               raise NoSharedLibrary("it is cut short")
            loads.append((address, offset, length))
         elif kind == _PT_DYNAMIC:
            dynamic = _dynamic(read(offset, min(length, 1 << 16)))
      if not dynamic:
         raise NoSharedLibrary("it is no shared library")
      if _DT_SONAME not in dynamic or _DT_STRTAB not in dynamic:
         return ""
      wanted = dynamic[_DT_STRTAB] + dynamic[_DT_SONAME]
      for address, offset, length in loads:
         if address <= wanted < address + length:
            place = offset + wanted - address
            return read(place, min(256, whole - place)).split(b"\0")[0].decode("utf-8", "replace")
      raise NoSharedLibrary("its names cannot be found")
