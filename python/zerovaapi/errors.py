"""What can go wrong, by kind. Every exception of the package is a ZerovaError."""

from __future__ import annotations

import json
from typing import TYPE_CHECKING, Any, Dict, Optional, Tuple

if TYPE_CHECKING:
   from .session import Session

MEMORY_FULL = -52000
FEATURE_UNSUPPORTED = -52002
SOFTWARE_FAULT = -52003
INVALID_PARAMETER = -52005
COMMUNICATIONS_FAULT = -52024
SERVICE_NOT_AVAILABLE = -89168

# Of a text that a service has made as long as it liked, a message shows the beginning.
_SHOWN = 500


class ZerovaError(Exception):
   """Any failure that this package tells of."""


class LibraryError(ZerovaError, ImportError):
   """The library cannot be used. Comes from the import of the package alone."""


class LibraryNotFoundError(LibraryError):
   """There is no library where it was looked for."""


class LibraryMismatchError(LibraryError):
   """There is a file, but it is not the library, or not in this version."""


class UsageError(ZerovaError):
   """The call was wrong, and nothing was sent."""


class ClosedError(UsageError):
   """A session, route or translator was used after its end."""


class BusyError(UsageError):
   """A session was used by a second thread while it was in a call."""


class TextError(UsageError, ValueError):
   """A text cannot be UTF-8 without NUL, or one of the service's is no UTF-8."""


class RangeError(UsageError, ValueError):
   """A number or a name is none that the call takes."""


class StatusError(ZerovaError):
   """A call failed with a status: a code, and a text that says what happened.

   code: as it came; a service can refuse with any, 0 and positive ones included.
   raw: the bytes of the text, as they came. Empty if there was none.
   """

   def __init__(self, message: str, code: int = 0, raw: bytes = b"") -> None:
      super().__init__(message, code, raw)
      self.message = message
      self.code = code
      self.raw = raw
      self._details: Optional[Dict[str, Any]] = None

   @property
   def text(self) -> str:
      """The text as it came. What is no UTF-8 in it stands as \\xNN."""
      return self.raw.decode("utf-8", "backslashreplace")

   @property
   def details(self) -> Dict[str, Any]:
      """The text read as a JSON object; empty if it is none."""
      if self._details is None:
         self._details = _object(self.raw)
      return self._details

   @property
   def constant(self) -> str:
      """The name of the code as whoever reported it wrote it; empty if the text has none."""
      name = self.details.get("error_constant", "")
      return name if isinstance(name, str) else ""

   def __reduce__(self) -> Tuple[Any, ...]:
      # To another process goes what can be told there, and no session.
      return type(self), self.args

   def __str__(self) -> str:
      shown = self.text if len(self.raw) <= _SHOWN else self.text[:_SHOWN] + "..."
      return f"{self.message} ({self.code}){': ' if shown else ''}{shown}"


class ServiceError(StatusError):
   """The service refused the call. The session goes on working."""


class Unreachable(StatusError):
   """No service could be reached while a session was being opened."""


class ConnectionLost(StatusError):
   """The connection of a session broke, or what came over it was no reply.

   The session is of no further use until it has reconnected; its routes ended with the connection.
   """

   session: Optional[Session] = None

   def reconnect(self) -> Session:
      """Connects the session anew, and gives it back. See Session.reconnect."""
      if self.session is None:
         raise UsageError("this exception has come from another process and knows no session")
      return self.session.reconnect()


class OutOfMemory(StatusError, MemoryError):
   """The library had no memory, or refused a reply that announces far more than it holds."""


class Unsupported(StatusError):
   """The operation is retired."""


class InternalError(StatusError):
   """The library failed in another way, or a script of a translator did."""


def _not_json(name: str) -> Any:
   raise ValueError(name)


def _object(raw: bytes) -> Dict[str, Any]:
   # Nothing that a service sends may make a second failure of the first: neither what is no JSON
   # nor what is nested beyond the interpreter's depth.
   try:
      value = json.loads(raw.decode("utf-8"), parse_constant=_not_json)
   except (ValueError, RecursionError, MemoryError):
      return {}
   return value if isinstance(value, dict) else {}
