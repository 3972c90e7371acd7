"""Lists the devices of the routing service and shows how it refuses a route, with nothing but ctypes.

   by_hand.py [HOST]

Without HOST it asks the service of this machine. Where the loader does not find the library, ZEROVAAPI names its file.
"""

import ctypes
import os
import sys


class Status(ctypes.Structure):
   """quelerr_Status: the record that every call reports to."""


Resize = ctypes.CFUNCTYPE(ctypes.c_bool, ctypes.POINTER(Status), ctypes.c_uint32)
Status._fields_ = [
   ("code", ctypes.c_int32),
   ("capacity", ctypes.c_uint32),
   ("resize", Resize),
   ("json", ctypes.c_void_p)]

buffers = {}  # by the address of the record, so that a buffer lives as long as its record points to it


@Resize
def resize(record, wanted):
   status, owner = record.contents, ctypes.addressof(record.contents)
   if wanted == 0:
      buffers.pop(owner, None)
      status.capacity, status.json = 0, None
      return True
   if wanted <= status.capacity:
      return True
   if wanted > 0x7FFFFFFF:
      return False
   capacity = max(512, 1 << (wanted - 1).bit_length())
   text = ctypes.string_at(status.json) if status.json else b"{}"
   try:
      buffer = ctypes.create_string_buffer(text, capacity)  # zero behind the text
   except MemoryError:
      return False
   buffer[capacity - 1] = b"J"  # by which the library sees where the buffer ends
   buffers[owner] = buffer
   status.capacity, status.json = capacity, ctypes.addressof(buffer)
   return True


def declare(library, name, result, *arguments):
   function = getattr(library, name)
   function.restype, function.argtypes = result, arguments
   return function


library = ctypes.CDLL(os.environ.get("ZEROVAAPI", "zerovaapi.dll" if os.name == "nt" else "libzerovaapi.so.1"))
text, handle, status_pointer = ctypes.c_char_p, ctypes.c_void_p, ctypes.POINTER(Status)
create = declare(library, "zerovaapi_createSession", handle, status_pointer)
create_remote = declare(library, "zerovaapi_createRemoteSession", handle, text, status_pointer)
destroy = declare(library, "zerovaapi_destroySession", None, handle)
devices = declare(library, "zerovaapi_getRoutableDevices", ctypes.POINTER(text), handle, status_pointer)
destroy_array = declare(library, "zerovaapi_destroyStringArray", None, ctypes.POINTER(text))
calculate = declare(library, "zerovaapi_calculateRoute", ctypes.c_int32, handle, text, text, handle, status_pointer)


def failure(status):
   """What the record says. The text may be a service's, so nothing is taken for granted."""
   said = ctypes.string_at(status.json).decode("utf-8", "replace") if status.json else ""
   return f"{status.code} {said}"


def main(hosts):
   status = Status(0, 0, resize, None)
   session = create_remote(hosts[0].encode(), status) if hosts else create(status)
   if not session:  # whatever the code says
      print("no session:", failure(status), file=sys.stderr)
      return 1
   names = devices(session, status)
   if names:
      at = 0
      while names[at] is not None:
         print(names[at].decode("utf-8", "replace"))
         at += 1
      destroy_array(names)
   if status.code == 0:
      calculate(session, b"/matrix1/ch0", b"/matrix1/nowhere", None, status)
      print("refused:" if status.code else "not refused:", failure(status))
   destroy(session)
   resize(ctypes.pointer(status), 0)
   return 0


if __name__ == "__main__":
   sys.exit(main(sys.argv[1:]))
