"""The status record of a call, in memory of the interpreter's."""

from __future__ import annotations

import ctypes
from ctypes import CFUNCTYPE, POINTER, Structure, c_bool, c_char, c_int32, c_uint32, c_void_p
from typing import Any, Dict, Tuple


class StatusRecord(Structure):
   """quelerr_Status"""

   code: int
   capacity: int
   json: Any
   resize: Any


Resize = CFUNCTYPE(c_bool, POINTER(StatusRecord), c_uint32)
StatusRecord._fields_ = [("code", c_int32), ("capacity", c_uint32), ("resize", Resize), ("json", c_void_p)]

# Room enough that the callback below is a matter of unusual texts. Python runs the handler of a
# signal that came during the call before the callback's first line, where nothing can catch what
# it raises.
_ROOM = 16 * 1024
_MOST = 0x7FFFFFFF

# What each record's text stands in, by the record's address, and what a callback met.
_buffers: Dict[int, ctypes.Array[c_char]] = {}
_raised: Dict[int, BaseException] = {}


def _give_buffer(record: StatusRecord, size: int, text: bytes) -> None:
   # Zero bytes behind the text, and a J as the last one: how a writer knows how much room is left.
   buffer = ctypes.create_string_buffer(size)
   ctypes.memmove(buffer, text, len(text))
   buffer[size - 1] = b"J"
   _buffers[ctypes.addressof(record)] = buffer
   record.json = ctypes.addressof(buffer)
   record.capacity = size


def _resize_record(record: StatusRecord, capacity: int) -> bool:
   if capacity == 0:
      record.json = None
      record.capacity = 0
      _buffers.pop(ctypes.addressof(record), None)
      return True
   if capacity <= record.capacity:
      return True
   if capacity > _MOST:
      return False
   size = _ROOM
   while size < capacity:
      size *= 2
   _give_buffer(record, size, ctypes.string_at(record.json) if record.json else b"{}")
   return True


def _resize_call(pointer: Any, capacity: int) -> bool:
   # The library cannot carry an exception; Status.check raises it behind the call.
   try:
      return _resize_record(pointer.contents, capacity)
   except MemoryError:
      return False
   except BaseException as error:  # pylint: disable=broad-except
      _raised[ctypes.addressof(pointer.contents)] = error
      return False


_resize = Resize(_resize_call)


class Status:
   """A record that is ready for a call, and can be used again."""

   def __init__(self, room: int = _ROOM) -> None:
      self.record = StatusRecord(0, 0, _resize, None)
      self._address = ctypes.addressof(self.record)
      self._room = room
      _give_buffer(self.record, room, b"{}")

   def clear(self) -> None:
      """Makes it clean. What a long text needed is not kept."""
      self.record.code = 0
      if self.record.capacity != self._room:
         _give_buffer(self.record, self._room, b"{}")

   def check(self) -> Tuple[int, bytes]:
      """The code, and the text if there is a code. Raises what a callback has raised."""
      raised = _raised.pop(self._address, None)
      if raised is not None:
         raise raised
      code = self.record.code
      text = ctypes.string_at(self.record.json) if code != 0 and self.record.json else b""
      return code, text

   def __del__(self) -> None:
      _buffers.pop(self._address, None)
      _raised.pop(self._address, None)
