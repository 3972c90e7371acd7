"""Texts and numbers on their way into the library and out of it."""

from __future__ import annotations

from .errors import RangeError, TextError


def encode(text: str, what: str) -> bytes:
   if not isinstance(text, str):
      raise TypeError(f"{what} must be a str, not {type(text).__name__}")
   if "\0" in text:
      raise TextError(f"{what} holds a NUL character, at position {text.index(chr(0))}")
   try:
      return text.encode("utf-8")
   except UnicodeEncodeError as error:
      raise TextError(f"{what} holds a lone surrogate, which no UTF-8 has, at position {error.start}") from None


def decode(text: bytes, what: str) -> str:
   try:
      return text.decode("utf-8")
   except UnicodeDecodeError as error:
      raise TextError(f"{what} has come from the service as {text!r}, which is no UTF-8: {error.reason}") from None


def int32(number: int, what: str) -> int:
   # ctypes would cut the number to its low bits and name another route.
   if isinstance(number, bool) or not isinstance(number, int):
      raise TypeError(f"{what} must be an int, not {type(number).__name__}")
   if not -(2**31) <= number < 2**31:
      raise RangeError(f"{what} is {number}, which is no number of 32 bits")
   return int(number)
