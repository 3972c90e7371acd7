"""Finds the library, looks whether it is the right one, and declares its functions."""

from __future__ import annotations

import ctypes
import os
import sys
from ctypes import CFUNCTYPE, POINTER, Structure, c_bool, c_char_p, c_int32, c_size_t, c_uint32, c_uint64, c_void_p
from typing import Any, Dict, List, Optional, Tuple

from . import _elf
from ._status import StatusRecord
from .errors import LibraryMismatchError, LibraryNotFoundError

SONAME = "libzerovaapi.so.1"
VARIABLE = "ZEROVAAPI_LIBRARY"
_WINDOWS = sys.platform == "win32"
_FILE = "zerovaapi.dll" if _WINDOWS else SONAME
_PACKAGE = os.path.dirname(os.path.abspath(__file__))

AllocString = CFUNCTYPE(c_void_p, c_void_p, c_size_t, c_void_p, POINTER(StatusRecord))


class TranslatorRecord(Structure):
   """lorvex_Translator"""

   structSize: int
   destroy: Any
   getStaticDesc: Any
   getDynamicDesc: Any


_status = POINTER(StatusRecord)
_translator = POINTER(TranslatorRecord)
TranslatorRecord._fields_ = [
   ("structSize", c_uint64),
   ("destroy", CFUNCTYPE(None, _translator)),
   ("getStaticDesc", CFUNCTYPE(c_void_p, _translator, c_uint32, c_uint32, AllocString, c_void_p, _status)),
   ("getDynamicDesc", CFUNCTYPE(c_void_p, _translator, c_char_p, c_uint32, c_char_p, AllocString, c_void_p, _status))]


class Handle(c_void_p):
   """An object of the library's that is released with its last use.

   The interpreter makes it before it looks for a signal, so what a call has returned is not lost
   when a KeyboardInterrupt follows at once.
   """

   _release: Any = None

   def release(self) -> None:
      value, self.value = self.value, None
      if value is not None:
         type(self)._release(value)

   def __del__(self) -> None:
      self.release()


class SessionHandle(Handle):
   pass


class AttributesHandle(Handle):
   pass


class DevicesHandle(Handle):
   pass


class TerminalsHandle(Handle):
   pass


class StringHandle(Handle):
   pass


class StringArrayHandle(Handle):
   pass


class TranslatorHandle(Handle):
   @property
   def record(self) -> TranslatorRecord:
      # Not by a cast, which would keep the handle until the next collection.
      return TranslatorRecord.from_address(self.value or 0)


_Signature = Tuple[Any, List[Any]]
_session = c_void_p
_map = c_void_p
_index = c_uint64

# What each function gives and takes; source/zerovaapi/exports.txt has the same names.
SIGNATURES: Dict[str, _Signature] = {
   "zerovaapi_createSession": (SessionHandle, [_status]),
   "zerovaapi_createRemoteSession": (SessionHandle, [c_char_p, _status]),
   "zerovaapi_createImmediateSession": (SessionHandle, [_status]),
   "zerovaapi_destroySession": (None, [_session]),
   "zerovaapi_calculateRoute": (c_int32, [_session, c_char_p, c_char_p, c_void_p, _status]),
   "zerovaapi_reserveRoute": (None, [_session, c_int32, _status]),
   "zerovaapi_programRoute": (None, [_session, c_int32, _status]),
   "zerovaapi_unprogramRoute": (None, [_session, c_int32, _status]),
   "zerovaapi_unreserveRoute": (None, [_session, c_int32, _status]),
   "zerovaapi_destroyRoute": (None, [_session, c_int32, _status]),
   "zerovaapi_getRouteInfo": (DevicesHandle, [_session, c_int32, _status]),
   "zerovaapi_showRoute": (StringHandle, [_session, c_int32, _status]),
   "zerovaapi_destroyImmediateRoute": (None, [_session, c_char_p, c_char_p, _status]),
   "zerovaapi_destroyImmediateRoutesOnDevice": (None, [_session, c_char_p, _status]),
   "zerovaapi_destroyImmediateRoutesFromSource": (None, [_session, c_char_p, _status]),
   "zerovaapi_destroyImmediateRoutesToDest": (None, [_session, c_char_p, _status]),
   "zerovaapi_destroyAllImmediateRoutes": (None, [_session, _status]),
   "zerovaapi_RouteAttributes_new": (AttributesHandle, [_status]),
   "zerovaapi_RouteAttributes_destroy": (None, [c_void_p]),
   "zerovaapi_RouteAttributes_setLifetime": (None, [c_void_p, c_int32, _status]),
   "zerovaapi_RouteAttributes_setCalculationTargetState": (None, [c_void_p, c_int32, _status]),
   "zerovaapi_RouteAttributes_setForceMultiDeviceRoute": (None, [c_void_p, c_bool, _status]),
   "zerovaapi_RouteAttributes_setOwnerName": (None, [c_void_p, c_char_p, _status]),
   "zerovaapi_RouteAttributes_getConstraints": (_map, [c_void_p]),
   "zerovaapi_RouteAttributes_getSourceConstraints": (_map, [c_void_p]),
   "zerovaapi_RouteAttributes_getDestinationConstraints": (_map, [c_void_p]),
   "zerovaapi_RouteAttributes_getOptionalModifiers": (_map, [c_void_p]),
   "zerovaapi_RouteAttributes_getRequiredModifiers": (_map, [c_void_p]),
   "zerovaapi_RouteAttributes_getDestinationRequiredModifiers": (_map, [c_void_p]),
   "zerovaapi_RouteConstraints_setBoolConstraint": (None, [_map, c_char_p, c_bool, _status]),
   "zerovaapi_RouteConstraints_setStringConstraint": (None, [_map, c_char_p, c_char_p, _status]),
   "zerovaapi_RouteModifiers_setBoolModifier": (None, [_map, c_char_p, c_bool, _status]),
   "zerovaapi_RouteModifiers_setStringModifier": (None, [_map, c_char_p, c_char_p, _status]),
   "zerovaapi_getRoutableDevices": (StringArrayHandle, [_session, _status]),
   "zerovaapi_getTerminalNamesAndAttributesForDevice":
      (TerminalsHandle, [_session, c_char_p, POINTER(c_char_p), _status]),
   "zerovaapi_DeviceContainer_begin": (_index, [c_void_p]),
   "zerovaapi_TerminalContainer_begin": (_index, [c_void_p]),
   "zerovaapi_DeviceIterator_next": (None, [POINTER(_index)]),
   "zerovaapi_TerminalIterator_next": (None, [POINTER(_index)]),
   "zerovaapi_DeviceIterator_isEnd": (c_bool, [c_void_p, _index]),
   "zerovaapi_TerminalIterator_isEnd": (c_bool, [c_void_p, _index]),
   "zerovaapi_DeviceIterator_getDeviceName": (c_char_p, [c_void_p, _index]),
   "zerovaapi_DeviceIterator_getTerminalContainer": (c_void_p, [c_void_p, _index]),
   "zerovaapi_TerminalIterator_getStringAttribute": (c_char_p, [c_void_p, _index, c_char_p, _status]),
   "zerovaapi_TerminalIterator_getBoolAttribute": (c_bool, [c_void_p, _index, c_char_p, _status]),
   "zerovaapi_DeviceContainer_destroy": (None, [c_void_p]),
   "zerovaapi_TerminalContainer_destroy": (None, [c_void_p]),
   "zerovaapi_destroyString": (None, [c_void_p]),
   "zerovaapi_destroyStringArray": (None, [c_void_p]),
   "zerovaapi_validateTerminalURI": (c_bool, [_session, c_char_p, _status]),
   "zerovaapi_areTerminalURIsEqual": (c_bool, [_session, c_char_p, c_char_p, _status]),
   "zerovaapi_resetTerminal": (None, [_session, c_char_p, c_char_p, _status]),
   "zerovaapi_calculateResetTerminal": (c_int32, [_session, c_char_p, c_char_p, _status]),
   "zerovaapi_initiateDeviceReset": (None, [_session, c_char_p, _status]),
   "zerovaapi_completeDeviceReset": (None, [_session, c_char_p, _status]),
   "zerovaapi_getSystemChangeNumber": (c_int32, [_session, _status]),
   "zerovaapi_hasTerminalInformationChanged": (c_bool, [_session, c_int32, _status]),
   "zerovaapi_isDebug": (c_bool, [_session, _status]),
   "lorvex_exported_create": (TranslatorHandle, [c_char_p, c_char_p, _status]),
}

_RELEASED_BY = {
   SessionHandle: "zerovaapi_destroySession",
   AttributesHandle: "zerovaapi_RouteAttributes_destroy",
   DevicesHandle: "zerovaapi_DeviceContainer_destroy",
   TerminalsHandle: "zerovaapi_TerminalContainer_destroy",
   StringHandle: "zerovaapi_destroyString",
   StringArrayHandle: "zerovaapi_destroyStringArray",
}


def _destroy_translator(address: int) -> None:
   record = TranslatorRecord.from_address(address)
   record.destroy(ctypes.pointer(record))


def _named_file() -> Tuple[Optional[str], str]:
   """The file that is to be loaded, and who says so; none if it is the system's."""
   named = "" if sys.flags.ignore_environment else os.environ.get(VARIABLE, "")
   if named:
      return os.path.abspath(named), f"{VARIABLE} names"
   own = os.path.join(_PACKAGE, _FILE)
   return (own, "the package holds") if os.path.exists(own) else (None, "")


def _check_soname(path: str, said: str) -> None:
   if _WINDOWS:
      return
   try:
      name = _elf.soname(path)
   except OSError as error:
      kind = LibraryNotFoundError if isinstance(error, FileNotFoundError) else LibraryMismatchError
      raise kind(f"{said} {path}, which cannot be read: {error.strerror}") from None
   except _elf.NoSharedLibrary as error:
      raise LibraryMismatchError(f"{said} {path}, which is not {SONAME}: {error}") from None
   if name == SONAME:
      return
   if name.startswith("libzerovaapi.so."):
      raise LibraryMismatchError(f"{said} {path}, which is {name}: this package needs {SONAME}")
   raise LibraryMismatchError(
      f"{said} {path}, which is not {SONAME} but {name or 'a library without a name of its own'}")


class _Place(Structure):
   """Dl_info"""

   dli_fname: Optional[bytes]
   _fields_ = [("dli_fname", c_char_p), ("dli_fbase", c_void_p), ("dli_sname", c_char_p), ("dli_saddr", c_void_p)]


def _path_of(library: ctypes.CDLL, path: Optional[str]) -> str:
   """Where the library has been loaded from."""
   if path is not None or _WINDOWS:
      return path or _FILE
   place = _Place()
   function = ctypes.cast(library.zerovaapi_createSession, c_void_p)
   if not ctypes.CDLL(None).dladdr(function, ctypes.byref(place)) or not place.dli_fname:
      return _FILE
   return os.path.realpath(os.fsdecode(place.dli_fname))


def _check_names(library: ctypes.CDLL, said: str, path: str) -> None:
   missing = [name for name in SIGNATURES if not hasattr(library, name)]
   if missing:
      more = f" and {len(missing) - 1} more" if len(missing) > 1 else ""
      raise LibraryMismatchError(
         f"{said} {path}, which lacks {missing[0]}{more} of the {len(SIGNATURES)} functions: "
         "it is incomplete or older than this package")


def _load() -> Tuple[ctypes.CDLL, str]:
   path, said = _named_file()
   if path is not None:
      _check_soname(path, said)
   try:
      library = ctypes.CDLL(path or _FILE)
   except OSError as error:
      if path is not None:
         raise LibraryMismatchError(f"{said} {path}, which cannot be loaded: {error}") from None
      raise LibraryNotFoundError(
         f"{_FILE} cannot be loaded: {error}; install the library, or name its file in {VARIABLE}") from None
   said = said or "the system has"
   _check_names(library, said, path or _FILE)
   found = _path_of(library, path)
   if path is None and found != _FILE:
      _check_soname(found, said)
   for name, (result, arguments) in SIGNATURES.items():
      function = getattr(library, name)
      function.restype = result
      function.argtypes = arguments
   for handle, name in _RELEASED_BY.items():
      handle._release = staticmethod(getattr(library, name))
   TranslatorHandle._release = staticmethod(_destroy_translator)
   return library, found


library, PATH = _load()
