"""How a route is to be calculated."""

from __future__ import annotations

from dataclasses import dataclass
from enum import IntEnum
from typing import Any, Iterator, Mapping, Optional, Tuple, Union

from ._library import AttributesHandle, library
from ._status import Status
from ._text import encode
from .errors import RangeError

Value = Union[str, bool]


class Lifetime(IntEnum):
   """How long a route lives."""

   SESSION = 0
   IMMEDIATE = 1


class State(IntEnum):
   """A state to which a calculation can take a route."""

   CALCULATED = 0
   RESERVED = 1
   PROGRAMMED = 2


@dataclass(frozen=True)
class RouteAttributes:
   """What a route shall be like. None is not sent, and the service applies its own default.

   Of a map, an empty one is sent, too. Which names and values there are is the service's to say.
   A value of a wrong type is a TypeError here, and a choice that there is not a RangeError.
   """

   constraints: Optional[Mapping[str, Value]] = None
   source_constraints: Optional[Mapping[str, Value]] = None
   destination_constraints: Optional[Mapping[str, Value]] = None
   optional_modifiers: Optional[Mapping[str, Value]] = None
   required_modifiers: Optional[Mapping[str, Value]] = None
   destination_required_modifiers: Optional[Mapping[str, Value]] = None
   lifetime: Optional[Lifetime] = None
   target_state: Optional[State] = None
   force_multi_device_route: Optional[bool] = None
   owner: Optional[str] = None

   def __post_init__(self) -> None:
      for field, _, _ in _MAPS:
         if getattr(self, field) is not None:
            for _entry in _entries(field, getattr(self, field)):
               pass
      if self.lifetime is not None:
         choice(self.lifetime, Lifetime, "lifetime")
      if self.target_state is not None:
         choice(self.target_state, State, "target_state")
      if self.force_multi_device_route is not None:
         _flag(self.force_multi_device_route, "force_multi_device_route")
      if self.owner is not None:
         encode(self.owner, "owner")


_CONSTRAINTS = (library.zerovaapi_RouteConstraints_setStringConstraint,
                library.zerovaapi_RouteConstraints_setBoolConstraint)
_MODIFIERS = (library.zerovaapi_RouteModifiers_setStringModifier,
              library.zerovaapi_RouteModifiers_setBoolModifier)
_MAPS = (
   ("constraints", library.zerovaapi_RouteAttributes_getConstraints, _CONSTRAINTS),
   ("source_constraints", library.zerovaapi_RouteAttributes_getSourceConstraints, _CONSTRAINTS),
   ("destination_constraints", library.zerovaapi_RouteAttributes_getDestinationConstraints, _CONSTRAINTS),
   ("optional_modifiers", library.zerovaapi_RouteAttributes_getOptionalModifiers, _MODIFIERS),
   ("required_modifiers", library.zerovaapi_RouteAttributes_getRequiredModifiers, _MODIFIERS),
   ("destination_required_modifiers", library.zerovaapi_RouteAttributes_getDestinationRequiredModifiers, _MODIFIERS))


def _entries(field: str, entries: Any) -> Iterator[Tuple[bytes, Union[bytes, bool]]]:
   if not isinstance(entries, Mapping):
      raise TypeError(f"{field} must be a mapping of names to values, not {type(entries).__name__}")
   for name, value in entries.items():
      key = encode(name, f"a name in {field}")
      if isinstance(value, bool):
         yield key, value
      elif isinstance(value, str):
         yield key, encode(value, f"{field}[{name!r}]")
      else:
         raise TypeError(f"{field}[{name!r}] must be a str or a bool, not {type(value).__name__}")


def choice(value: int, kind: type[IntEnum], what: str) -> int:
   if isinstance(value, bool) or not isinstance(value, int):
      raise TypeError(f"{what} must be a {kind.__name__}, not {type(value).__name__}")
   # The library would take any other number for the first choice.
   try:
      return int(kind(value))
   except ValueError:
      names = ", ".join(f"{kind.__name__}.{each.name}" for each in kind)
      raise RangeError(f"{what} is {value!r}, which is none of {names}") from None


def _flag(value: bool, what: str) -> bool:
   if not isinstance(value, bool):
      raise TypeError(f"{what} must be a bool, not {type(value).__name__}")
   return value


def build(wish: RouteAttributes, status: Status) -> AttributesHandle:
   """Makes the library's object. What has failed stands in the status."""
   record = status.record
   handle: AttributesHandle = library.zerovaapi_RouteAttributes_new(record)
   if not handle.value:
      return handle
   for field, get_map, (set_string, set_bool) in _MAPS:
      entries: Optional[Mapping[str, Value]] = getattr(wish, field)
      if entries is None:
         continue
      attribute_map = get_map(handle)
      # The mapping is the caller's, who may have changed it since.
      for name, value in _entries(field, entries):
         (set_bool if isinstance(value, bool) else set_string)(attribute_map, name, value, record)
   if wish.lifetime is not None:
      library.zerovaapi_RouteAttributes_setLifetime(handle, choice(wish.lifetime, Lifetime, "lifetime"), record)
   if wish.target_state is not None:
      library.zerovaapi_RouteAttributes_setCalculationTargetState(
         handle, choice(wish.target_state, State, "target_state"), record)
   if wish.force_multi_device_route is not None:
      library.zerovaapi_RouteAttributes_setForceMultiDeviceRoute(
         handle, _flag(wish.force_multi_device_route, "force_multi_device_route"), record)
   if wish.owner is not None:
      library.zerovaapi_RouteAttributes_setOwnerName(handle, encode(wish.owner, "owner"), record)
   return handle
