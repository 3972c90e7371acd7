"""Sessions with the routing service, and the routes of a session."""

from __future__ import annotations

import os
import threading
import warnings
from ctypes import c_char_p, sizeof, string_at
from types import TracebackType
from typing import Any, List, Optional, Sequence, Tuple, Type

from . import attributes, containers
from ._library import PATH, DevicesHandle, SessionHandle, StringArrayHandle, StringHandle, TerminalsHandle, library
from ._status import Status
from ._text import decode, encode, int32
from .attributes import Lifetime, RouteAttributes, State
from .containers import Device, Terminal
from .errors import (COMMUNICATIONS_FAULT, FEATURE_UNSUPPORTED, MEMORY_FULL, SERVICE_NOT_AVAILABLE, SOFTWARE_FAULT,
                     BusyError, ClosedError, ConnectionLost, InternalError, OutOfMemory, RangeError, ServiceError,
                     StatusError, Unreachable, Unsupported, UsageError)


def _wanted(names: Optional[Sequence[str]]) -> Tuple[str, ...]:
   if isinstance(names, str):
      raise TypeError("names must be a sequence of str, not one str")
   return tuple(names or ())


class Session:
   """A connection to one service. Used by one thread at a time.

   host: None for this machine, or the name or address of another one.
   immediate: connects to this machine's endpoint for immediate routes.

   Blocks for about five seconds where there is no service, and longer as Session.reconnect tells.
   """

   def __init__(self, *, host: Optional[str] = None, immediate: bool = False) -> None:
      self._handle: Optional[SessionHandle] = None
      self._connections = 0
      self._process = os.getpid()
      if host is not None and immediate:
         raise UsageError("host and immediate exclude each other: the endpoint for immediate routes is of this machine")
      if host == "":
         raise RangeError("host is empty; None stands for this machine")
      self._host = None if host is None else encode(host, "host")
      self._immediate = immediate
      self._lock = threading.Lock()
      self._status = Status()
      self._connect()

   def _connect(self) -> None:
      self._status.clear()
      record = self._status.record
      if self._host is not None:
         handle: SessionHandle = library.zerovaapi_createRemoteSession(self._host, record)
      elif self._immediate:
         handle = library.zerovaapi_createImmediateSession(record)
      else:
         handle = library.zerovaapi_createSession(record)
      self._handle = handle if handle.value else None
      self._connections += 1
      code, raw = self._status.check()
      if self._handle is None:
         if code == SERVICE_NOT_AVAILABLE:
            # Which endpoint is looked for depends on the library: each is built with a folder.
            told = "" if self._host is not None else f" by {PATH}"
            raise Unreachable(f"{self._place()} cannot be reached{told}; the chapter \"When a session does not open\" "
                              "of the book finds the cause", code, raw)
         raise self._error("a session", code, raw)

   def _place(self) -> str:
      if self._host is not None:
         return f"the service on {self._host.decode()}"
      return f"the service of this machine{' for immediate routes' if self._immediate else ''}"

   def _error(self, what: str, code: int, raw: bytes) -> StatusError:
      if code == COMMUNICATIONS_FAULT:
         lost = ConnectionLost(f"{what}: the connection with {self._place()} is lost", code, raw)
         lost.session = self
         return lost
      if code == MEMORY_FULL:
         return OutOfMemory(f"{what}: out of memory, or a reply that announces far more than it holds", code, raw)
      if code == SOFTWARE_FAULT:
         return InternalError(f"{what} has failed inside the library", code, raw)
      return ServiceError(f"{what} was refused by {self._place()}", code, raw)

   def _call(self, what: str, function: Any, *arguments: Any, wish: Optional[RouteAttributes] = None,
             connection: Optional[int] = None) -> Any:
      """Calls with the session in front and the status behind; wish takes the place between them."""
      if not self._lock.acquire(blocking=False):
         raise BusyError(f"{what}: another thread is in a call of this session, which takes one at a time")
      try:
         if self._handle is None:
            raise ClosedError(f"{what}: the session is closed")
         if connection is not None and connection != self._connections:
            raise ClosedError(f"{what}: the route ended with the connection on which it was calculated")
         self._status.clear()
         record = self._status.record
         if wish is not None:
            built = attributes.build(wish, self._status)
            result = function(self._handle, *arguments, built, record)
            built.release()
         else:
            result = function(self._handle, *arguments, record)
         code, raw = self._status.check()
      finally:
         self._lock.release()
      # A warning of the service's is a refusal, too.
      if code != 0:
         if function is library.zerovaapi_destroyAllImmediateRoutes and code == FEATURE_UNSUPPORTED:
            raise Unsupported(f"{what} is retired", code, raw)
         raise self._error(what, code, raw)
      # So is a reply without a result that has no code at all.
      if getattr(result, "value", result) is None and function.restype is not None:
         raise self._error(what, code, raw)
      return result

   @property
   def closed(self) -> bool:
      return self._handle is None

   def close(self) -> None:
      """Ends the session, and with it the routes that live as long as it. Once closed, does nothing."""
      if not self._lock.acquire(blocking=False):
         raise BusyError("close: another thread is in a call of this session, which cannot end before it has returned")
      try:
         handle, self._handle = self._handle, None
         if handle is not None:
            handle.release()
      finally:
         self._lock.release()

   def reconnect(self) -> Session:
      """Closes the session and opens it again at the same place. Gives the session itself.

      One that was closed by close() lives again. Its former routes are gone: their tickets were the
      old connection's. Blocks as the opening of a session does: attempts begin for five seconds, and
      one that has begun runs to its end. With another machine one takes as long as its locator and
      the system need, minutes at worst.
      """
      if not self._lock.acquire(blocking=False):
         raise BusyError("reconnect: another thread is in a call of this session")
      try:
         handle, self._handle = self._handle, None
         if handle is not None:
            handle.release()
         self._process = os.getpid()
         self._connect()
      finally:
         self._lock.release()
      return self

   def __enter__(self) -> Session:
      if self._handle is None:
         raise ClosedError("the session is closed")
      return self

   def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                trace: Optional[TracebackType]) -> None:
      try:
         self.close()
      except BusyError:
         # As of a route: what went wrong first counts, such as the Ctrl-C that ends the wait for the other thread.
         if error is None:
            raise

   def __del__(self, _getpid: Any = os.getpid, _warn: Any = warnings.warn) -> None:
      # The copy in a forked child is its parent's to close.
      if getattr(self, "_handle", None) is not None and self._process == _getpid():
         _warn(f"{self!r} was not closed", ResourceWarning, source=self)

   def __repr__(self) -> str:
      return f"<Session with {self._place()}{', closed' if self.closed else ''}>"

   def devices(self) -> List[str]:
      """The devices on which the service can route."""
      array: StringArrayHandle = self._call("devices", library.zerovaapi_getRoutableDevices)
      names: List[str] = []
      while True:
         name = c_char_p.from_address((array.value or 0) + len(names) * sizeof(c_char_p)).value
         if name is None:
            return names
         names.append(decode(name, "the name of a device"))

   def terminals(self, device: str, names: Optional[Sequence[str]] = None) -> List[Terminal]:
      """The terminals of a device, with the attributes of these names; without names, as the service decides."""
      wanted = _wanted(names)
      texts = [encode(name, "the name of an attribute") for name in wanted]
      array = (c_char_p * (len(texts) + 1))(*texts, None)
      handle: TerminalsHandle = self._call(
         "terminals", library.zerovaapi_getTerminalNamesAndAttributesForDevice, encode(device, "device"), array)
      return containers.terminals_of(handle, wanted)

   def calculate(self, source: str, destination: str, wish: Optional[RouteAttributes] = None) -> Route:
      """Calculates a route between two terminals."""
      if wish is not None and not isinstance(wish, RouteAttributes):
         raise TypeError(f"wish must be a RouteAttributes, not {type(wish).__name__}")
      ticket: int = self._call(
         "calculate", library.zerovaapi_calculateRoute, encode(source, "source"), encode(destination, "destination"),
         wish=wish or RouteAttributes())
      return Route(self, ticket, wish.lifetime if wish else None, wish.target_state if wish else None)

   def route(self, ticket: int, lifetime: Optional[Lifetime] = None, state: Optional[State] = None) -> Route:
      """The route of a ticket that is known from elsewhere, with the state in which it is."""
      if lifetime is not None:
         attributes.choice(lifetime, Lifetime, "lifetime")
      if state is not None:
         attributes.choice(state, State, "state")
      return Route(self, int32(ticket, "ticket"), lifetime, state)

   def destroy_immediate_route(self, source: str, destination: str) -> None:
      """Destroys the immediate route between two terminals."""
      self._call("destroy_immediate_route", library.zerovaapi_destroyImmediateRoute, encode(source, "source"),
                 encode(destination, "destination"))

   def destroy_immediate_routes_on_device(self, device: str) -> None:
      """Destroys all immediate routes on a device."""
      self._call("destroy_immediate_routes_on_device", library.zerovaapi_destroyImmediateRoutesOnDevice,
                 encode(device, "device"))

   def destroy_immediate_routes_from(self, source: str) -> None:
      """Destroys all immediate routes that begin at a terminal."""
      self._call("destroy_immediate_routes_from", library.zerovaapi_destroyImmediateRoutesFromSource,
                 encode(source, "source"))

   def destroy_immediate_routes_to(self, destination: str) -> None:
      """Destroys all immediate routes that end at a terminal."""
      self._call("destroy_immediate_routes_to", library.zerovaapi_destroyImmediateRoutesToDest,
                 encode(destination, "destination"))

   def destroy_all_immediate_routes(self) -> None:
      """Retired: raises Unsupported."""
      self._call("destroy_all_immediate_routes", library.zerovaapi_destroyAllImmediateRoutes)

   def is_terminal(self, uri: str) -> bool:
      """Whether a terminal's URI is valid."""
      return bool(self._call("is_terminal", library.zerovaapi_validateTerminalURI, encode(uri, "uri")))

   def is_same_terminal(self, uri1: str, uri2: str) -> bool:
      """Whether two URIs name one terminal."""
      return bool(self._call("is_same_terminal", library.zerovaapi_areTerminalURIsEqual, encode(uri1, "uri1"),
                             encode(uri2, "uri2")))

   def reset_terminal(self, uri: str, kind: str) -> None:
      """Resets a terminal; the kind of reset is in the service's words."""
      self._call("reset_terminal", library.zerovaapi_resetTerminal, encode(uri, "uri"), encode(kind, "kind"))

   def calculate_reset(self, uri: str, kind: str) -> Route:
      """Has the reset of a terminal calculated, as a route is."""
      ticket: int = self._call("calculate_reset", library.zerovaapi_calculateResetTerminal, encode(uri, "uri"),
                               encode(kind, "kind"))
      return Route(self, ticket, None, None)

   def begin_device_reset(self, device: str) -> None:
      """Begins the reset of a device, which complete_device_reset ends."""
      self._call("begin_device_reset", library.zerovaapi_initiateDeviceReset, encode(device, "device"))

   def complete_device_reset(self, device: str) -> None:
      """Ends the reset of a device."""
      self._call("complete_device_reset", library.zerovaapi_completeDeviceReset, encode(device, "device"))

   def change_number(self) -> int:
      """The number that the service changes whenever terminal information changes."""
      number: int = self._call("change_number", library.zerovaapi_getSystemChangeNumber)
      return number

   def has_changed(self, since: int) -> bool:
      """Whether terminal information has changed since a change number was read."""
      return bool(self._call("has_changed", library.zerovaapi_hasTerminalInformationChanged,
                             int32(since, "since")))

   def is_debug(self) -> bool:
      """Whether the service runs in its debug mode."""
      return bool(self._call("is_debug", library.zerovaapi_isDebug))


class Route:
   """A route of a session, known to the service by its ticket. Ended by end, or by a with statement.

   One that is merely forgotten goes on: it lives as its lifetime says.
   """

   def __init__(self, session: Session, ticket: int, lifetime: Optional[Lifetime], state: Optional[State]) -> None:
      self._session = session
      self._ticket = ticket
      # A service gives the routes of its endpoint for immediate ones this lifetime, unless told otherwise.
      default = Lifetime.IMMEDIATE if session._immediate else Lifetime.SESSION
      self._lifetime = default if lifetime is None else lifetime
      self._state = State.CALCULATED if state is None else state
      self._connection = session._connections
      self._ended = False

   def _call(self, what: str, function: Any) -> Any:
      if self._ended:
         raise ClosedError(f"{what}: the route has ended, or was given up")
      return self._session._call(what, function, self._ticket, connection=self._connection)

   def _step(self, what: str, function: Any, state: State) -> None:
      self._call(what, function)
      self._state = state

   @property
   def ticket(self) -> int:
      return self._ticket

   def reserve(self) -> None:
      """Takes the route forward to reserved."""
      self._step("reserve", library.zerovaapi_reserveRoute, State.RESERVED)

   def program(self) -> None:
      """Takes the route forward to programmed."""
      self._step("program", library.zerovaapi_programRoute, State.PROGRAMMED)

   def unprogram(self) -> None:
      """Takes the route back from programmed."""
      self._step("unprogram", library.zerovaapi_unprogramRoute, State.RESERVED)

   def unreserve(self) -> None:
      """Takes the route back from reserved."""
      self._step("unreserve", library.zerovaapi_unreserveRoute, State.CALCULATED)

   def devices(self, names: Optional[Sequence[str]] = None) -> List[Device]:
      """The devices and terminals that the route uses; names are those that iteration over a terminal gives."""
      wanted = _wanted(names)
      handle: DevicesHandle = self._call("devices", library.zerovaapi_getRouteInfo)
      return containers.devices_of(handle, wanted)

   def show(self) -> str:
      """The fixed text "[]"."""
      text: StringHandle = self._call("show", library.zerovaapi_showRoute)
      return decode(string_at(text.value or 0), "the text of a route")

   def destroy(self) -> None:
      """Ends the route and its ticket. A service may refuse this of a route that is reserved or programmed."""
      self._destroy("destroy")

   def _destroy(self, what: str) -> None:
      self._call(what, library.zerovaapi_destroyRoute)
      self._ended = True

   def end(self) -> None:
      """Takes the route back as far as it had been taken forward here, and destroys it. Works once."""
      # A reset may have taken it back before: whether the route can be destroyed tells what counts.
      for state, function, before in ((State.PROGRAMMED, library.zerovaapi_unprogramRoute, State.RESERVED),
                                      (State.RESERVED, library.zerovaapi_unreserveRoute, State.CALCULATED)):
         if self._state >= state:
            try:
               self._step("end", function, before)
            except ServiceError:
               pass
      self._destroy("end")

   def give_up(self) -> int:
      """Leaves the route to live as its lifetime says, and gives its ticket."""
      self._ended = True
      return self._ticket

   def __enter__(self) -> Route:
      return self

   def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                trace: Optional[TracebackType]) -> None:
      # An immediate route is meant to outlive the code that made it; a session's ends with the session.
      gone = self._session.closed or self._connection != self._session._connections
      if self._ended or gone or self._lifetime == Lifetime.IMMEDIATE:
         return
      try:
         self.end()
      except (StatusError, BusyError):
         # What went wrong first is what the caller wants to hear of.
         if error is None:
            raise

   def __repr__(self) -> str:
      return f"<Route {self._ticket} of {self._session!r}>"
