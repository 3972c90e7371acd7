"""Client of the signal-routing service of test and measurement computers.

The import finds the library and looks whether it is the right one, so that a program without it
ends at its start, with a LibraryError (an ImportError) that says what is wrong.
"""

from ._library import PATH as LIBRARY_PATH
from .attributes import Lifetime, RouteAttributes, State, Value
from .containers import Device, Terminal
from .errors import (BusyError, ClosedError, ConnectionLost, InternalError, LibraryError, LibraryMismatchError,
                     LibraryNotFoundError, OutOfMemory, RangeError, ServiceError, StatusError, TextError, Unreachable,
                     Unsupported, UsageError, ZerovaError)
from .session import Route, Session
from .translator import Description, Environment, Language, Row, Translator

__all__ = [
   "BusyError", "ClosedError", "ConnectionLost", "Description", "Device", "Environment", "InternalError",
   "LIBRARY_PATH", "Language", "LibraryError", "LibraryMismatchError", "LibraryNotFoundError", "Lifetime",
   "OutOfMemory", "RangeError", "Route", "RouteAttributes", "Row", "ServiceError", "Session", "State", "StatusError",
   "Terminal", "TextError", "Translator", "Unreachable", "Unsupported", "UsageError", "Value", "ZerovaError"]
