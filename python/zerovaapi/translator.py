"""Failures in words."""

from __future__ import annotations

import ctypes
import json
import os
import threading
from ctypes import c_char
from enum import IntEnum
from types import TracebackType
from typing import Any, Dict, List, Optional, Sequence, Tuple, Type, Union

from ._library import PATH, AllocString, TranslatorHandle, library
from ._status import Status
from ._text import encode
from .errors import ClosedError, InternalError, MEMORY_FULL, OutOfMemory, RangeError, StatusError

_NOT_FOUND = "Error description not found"

# The time for a description can grow with the square of the text, which is a service's.
_LONGEST = 64 * 1024


class Language(IntEnum):
   """A language of descriptions."""

   ENGLISH = 0
   FRENCH = 1
   GERMAN = 2
   JAPANESE = 3
   KOREAN = 4
   CHINESE = 5


class Environment(IntEnum):
   """A development environment in whose words a description may name things."""

   NONE = 0
   BRASK = 1
   TOLM = 2
   FENNOW = 3


_LANGUAGES = dict(zip(("en", "fr", "de", "ja", "ko", "zh"), Language))
_NAMES = {language.name.lower(): language for language in Language}


class Row:
   """One line of a description. As a str it is "HEADING: VALUE, VALUE", or the values alone.

   kind: usage, for a heading with values; elaboration or header, for a line of text; empty, for an empty line.
   heading: what the values are, in the language of the description; empty where there is none.
   values: the values, or the line of text as the only one.
   """

   kind: str
   heading: str
   values: Tuple[str, ...]

   def __init__(self, kind: str, heading: str, values: Tuple[str, ...]) -> None:
      self.kind = kind
      self.heading = heading
      self.values = values

   def __str__(self) -> str:
      text = ", ".join(self.values)
      return f"{self.heading}: {text}" if self.heading else text

   def __repr__(self) -> str:
      return f"Row({self.kind!r}, {self.heading!r}, {self.values!r})"


class Description(str):
   """What a failure means: the text, which is its sentence and its rows, line by line.

   sentence: that of the code; empty if there is none.
   rows: what the service has told for people beside it, such as the devices concerned.
   debug_rows: what the report holds for developers. Not part of the text.
   failure: why the rows could not be read, which is no failure of the description.
   """

   sentence: str
   rows: Tuple[Row, ...]
   debug_rows: Tuple[Row, ...]
   failure: Optional[StatusError]

   def __new__(cls, sentence: str, rows: Sequence[Row] = (), debug_rows: Sequence[Row] = (),
               failure: Optional[StatusError] = None) -> Description:
      lines = ([sentence] if sentence else []) + [str(row) for row in rows]
      self = super().__new__(cls, "\n".join(lines) or _NOT_FOUND)
      self.sentence = sentence
      self.rows = tuple(rows)
      self.debug_rows = tuple(debug_rows)
      self.failure = failure
      return self


def _plain(value: Any) -> str:
   return value if isinstance(value, str) else json.dumps(value, ensure_ascii=False)


def _rows(entries: Any) -> List[Row]:
   rows = []
   for entry in entries if isinstance(entries, list) else []:
      value = entry.get("value", [])
      values = value if isinstance(value, list) else [value] if value != {} else []
      rows.append(Row(str(entry.get("type", "")), str(entry.get("key", "")), tuple(_plain(each) for each in values)))
   return rows


def _language(language: Union[Language, str]) -> Language:
   if isinstance(language, bool) or not isinstance(language, (str, int)):
      raise TypeError(f"language must be a Language or a str, not {type(language).__name__}")
   if isinstance(language, str):
      short = _LANGUAGES.get(language.lower()[:2]) if language[2:3] in ("", "-", "_", ".") else None
      found = _NAMES.get(language.lower(), short)
      if found is not None:
         return found
   elif language in tuple(Language):
      return Language(language)
   raise RangeError(f"language is {language!r}, which is none of {', '.join((*_LANGUAGES, *_NAMES))}")


def texts_folder() -> Optional[str]:
   """The texts of the library's own codes, which lie in the package or below the library's prefix."""
   own = os.path.join(os.path.dirname(os.path.abspath(__file__)), "texts")
   folder = os.path.dirname(PATH)
   candidates = [own, os.path.join(folder, "texts", "generated")]
   while folder and folder != os.path.dirname(folder):
      candidates.append(os.path.join(folder, "share", "zerovaapi", "texts"))
      folder = os.path.dirname(folder)
   return next((each for each in candidates if os.path.isdir(os.path.join(each, "zerova"))), None)


# What the host's memory of a call is, by the call's number. The library hands the number through.
_blocks: Dict[int, List[ctypes.Array[c_char]]] = {}


def _allocate_call(_block: Any, length: int, call: int, status: Any) -> int:
   try:
      buffer = ctypes.create_string_buffer(length)
      _blocks[call].append(buffer)
      return ctypes.addressof(buffer)
   except BaseException:  # pylint: disable=broad-except
      # Nothing may pass into the library; null and a code is how it hears of it.
      status.contents.code = MEMORY_FULL
      return 0


_allocate = AllocString(_allocate_call)


class Translator:
   """Turns failures and bare codes into words. Serves one call after the other, from any thread.

   texts: the folder with the texts of the library's own codes, where it is not found beside the library.
   shared_errors, driver_errors, driver, scripts: the shared folder of error description files, the
   folder of the drivers' folders, the driver's name, and folders of a driver's script modules.
   """

   def __init__(self, *, texts: Optional[str] = None, shared_errors: Optional[str] = None,
                driver_errors: Optional[str] = None, driver: str = "zerova", scripts: Sequence[str] = (),
                environment: Environment = Environment.NONE) -> None:
      self._handle: Optional[TranslatorHandle] = None
      self._lock = threading.Lock()
      if isinstance(scripts, str):
         raise TypeError("scripts must be a sequence of str, not one str")
      if isinstance(environment, bool) or not isinstance(environment, int):
         raise TypeError(f"environment must be an Environment, not {type(environment).__name__}")
      if environment not in tuple(Environment):
         raise RangeError(f"environment is {environment!r}, which is no Environment")
      self._environment = environment
      if texts is not None:
         encode(texts, "texts")
         # The library takes a folder that is not there for one without texts, and knows no code then.
         if not texts or not os.path.isdir(os.path.join(texts, "zerova")):
            raise RangeError(f"texts is {texts!r}, in which there is no folder zerova with the texts of the codes")
      folder = texts or texts_folder()
      shared = shared_errors or (os.path.join(folder, "zerova") if folder else "$_trvShared32Dir/Errors")
      drivers = driver_errors or folder or "$_trvShared32Dir/Auxerrors"
      settings: Dict[str, Any] = {
         "lorvexlua_xlator": "dorvex",
         "lorvexlua_settings": {"driverName": driver, "trvSharedErrorsDir": shared, "AuxErrorsDir": drivers}}
      if scripts:
         settings["lorvexlua_path"] = ";".join(scripts)
      for what in (driver, shared, drivers, *scripts):
         encode(what, "a folder or name")
      status = Status()
      # Escapes in a registration are Lua's, which has none for characters beyond a byte.
      registration = encode(json.dumps(settings, ensure_ascii=False), "the registration")
      handle: TranslatorHandle = library.lorvex_exported_create(b"dorvex_zerova", registration, status.record)
      code, raw = status.check()
      if not handle.value:
         raise _failed("the translator cannot be made", code or MEMORY_FULL, raw)
      self._handle = handle

   def _describe(self, operation: str, *arguments: Any) -> str:
      with self._lock:
         if self._handle is None:
            raise ClosedError("describe: the translator is closed")
         function = getattr(self._handle.record, operation)
         status = Status()
         call = id(status)
         _blocks[call] = []
         try:
            found = function(ctypes.pointer(self._handle.record), *arguments, _allocate, call, status.record)
            code, raw = status.check()
            text = ctypes.string_at(found) if found else b""
         finally:
            del _blocks[call]
      if code != 0:
         raise _failed("there is no description", code, raw)
      return text.decode("utf-8", "backslashreplace")

   def describe(self, failure: Union[StatusError, int], language: Union[Language, str] = "en") -> Description:
      """Describes a failure, or a bare code, in a language: a Language, its name, or en, fr, de, ja, ko, zh.

      Of a code alone there is its sentence, if it has one; a failure has the service's rows besides.
      """
      word = int(_language(language)) | int(self._environment) << 8
      if isinstance(failure, StatusError):
         code, raw = failure.code, failure.raw
      elif isinstance(failure, bool) or not isinstance(failure, int):
         raise TypeError(f"failure must be a StatusError or an int, not {type(failure).__name__}")
      elif -(2**31) <= failure < 2**32:
         code, raw = failure, b""
      else:
         raise RangeError(f"failure is {failure}, which is no code of 32 bits")
      sentence = self._describe("getStaticDesc", code & 0xFFFFFFFF, word)
      if sentence == _NOT_FOUND:
         sentence = ""
      if not raw:
         return Description(sentence)
      if len(raw) > _LONGEST:
         return Description(sentence, failure=InternalError(f"the text has more than {_LONGEST} bytes", 0, b""))
      try:
         described = json.loads(self._describe("getDynamicDesc", raw, word, b"json1"))
         return Description(sentence, _rows(described.get("dynamic")), _rows(described.get("debug")))
      except StatusError as error:
         return Description(sentence, failure=error)
      except (ValueError, AttributeError, RecursionError) as error:
         return Description(sentence, failure=InternalError(f"the rows are not those of a description: {error}"))

   @property
   def closed(self) -> bool:
      return self._handle is None

   def close(self) -> None:
      """Gives its memory back. A translator that is forgotten is closed."""
      with self._lock:
         handle, self._handle = self._handle, None
         if handle is not None:
            handle.release()

   def __enter__(self) -> Translator:
      if self._handle is None:
         raise ClosedError("the translator is closed")
      return self

   def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                trace: Optional[TracebackType]) -> None:
      self.close()


def _failed(what: str, code: int, raw: bytes) -> StatusError:
   if code == MEMORY_FULL:
      return OutOfMemory(what, code, raw)
   return InternalError(what, code, raw)
