"""Devices and terminals, as the service has told them. They outlive their session."""

from __future__ import annotations

from ctypes import byref, c_uint64
from typing import Any, Iterator, List, Mapping, Optional, Sequence, Tuple

from ._library import DevicesHandle, Handle, TerminalsHandle, library
from ._status import Status
from ._text import decode, encode
from .attributes import Value
from .errors import INVALID_PARAMETER, InternalError, OutOfMemory, MEMORY_FULL


# For the report of an attribute that is not there, which is small and nobody reads.
_ROOM = 1024


class Terminal(Mapping[str, Value]):
   """The attributes of a terminal, by name.

   The library finds an attribute by its name and lists none, so iteration gives those of the names
   which the terminal was read with that it has. Any other that the service has sent is found by
   its name, too.
   """

   def __init__(self, owner: Handle, container: Any, index: int, names: Sequence[str]) -> None:
      self._owner = owner
      self._container = container
      self._index = index
      self._names = names

   def _find(self, name: str) -> Optional[Value]:
      status = Status(_ROOM)
      record = status.record
      key = encode(name, "the name of an attribute")
      text = library.zerovaapi_TerminalIterator_getStringAttribute(self._container, self._index, key, record)
      if text is not None:
         return decode(text, f"the attribute {name!r}")
      if record.code == INVALID_PARAMETER:
         status.clear()
         value = library.zerovaapi_TerminalIterator_getBoolAttribute(self._container, self._index, key, record)
         if record.code == 0:
            return bool(value)
      code, raw = status.check()
      if code == INVALID_PARAMETER:
         return None
      kind = OutOfMemory if code == MEMORY_FULL else InternalError
      raise kind(f"the attribute {name!r} cannot be read", code, raw)

   def __getitem__(self, name: str) -> Value:
      value = self._find(name)
      if value is None:
         raise KeyError(name)
      return value

   def __iter__(self) -> Iterator[str]:
      return (name for name in self._names if self._find(name) is not None)

   def __len__(self) -> int:
      return sum(1 for _ in self)

   def __repr__(self) -> str:
      return f"Terminal({dict(self)!r})"


class Device:
   """A device that a route uses.

   name: the device's name.
   terminals: those of its terminals that the route uses.
   """

   name: str
   terminals: Tuple[Terminal, ...]

   def __init__(self, name: str, terminals: Tuple[Terminal, ...]) -> None:
      self.name = name
      self.terminals = terminals

   def __repr__(self) -> str:
      return f"Device({self.name!r}, {len(self.terminals)} terminals)"


def _walk(owner: Handle, container: Any, names: Sequence[str]) -> Iterator[Terminal]:
   position = c_uint64(library.zerovaapi_TerminalContainer_begin(container))
   while not library.zerovaapi_TerminalIterator_isEnd(container, position):
      yield Terminal(owner, container, position.value, names)
      library.zerovaapi_TerminalIterator_next(byref(position))


def terminals_of(handle: TerminalsHandle, names: Sequence[str]) -> List[Terminal]:
   return list(_walk(handle, handle, names))


def devices_of(handle: DevicesHandle, names: Sequence[str]) -> List[Device]:
   devices = []
   position = c_uint64(library.zerovaapi_DeviceContainer_begin(handle))
   while not library.zerovaapi_DeviceIterator_isEnd(handle, position):
      name = decode(library.zerovaapi_DeviceIterator_getDeviceName(handle, position), "the name of a device")
      inner = library.zerovaapi_DeviceIterator_getTerminalContainer(handle, position)
      devices.append(Device(name, tuple(_walk(handle, inner, names))))
      library.zerovaapi_DeviceIterator_next(byref(position))
   return devices
