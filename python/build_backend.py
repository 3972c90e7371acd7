"""Makes the wheel, for the tools of the language (PEP 517) and as a program.

build_backend.py FOLDER [PREFIX]: puts the wheel into FOLDER. It carries the library that is installed
in PREFIX, with its texts; without a prefix it carries none, and uses the system's. The tools take
the prefix as the setting "prefix". Two runs on one library give the same bytes.
"""

from __future__ import annotations

import base64
import hashlib
import os
import pathlib
import re
import struct
import subprocess
import sys
import time
import zipfile
from typing import Any, Dict, List, Mapping, Optional, Tuple

SOURCE = pathlib.Path(__file__).resolve().parent
LIBRARY = "libzerovaapi.so.1"
MACHINES = {21: "ppc64le", 62: "x86_64", 183: "aarch64", 243: "riscv64"}

METADATA = """Metadata-Version: 2.1
Name: zerovaapi
Version: {version}
Summary: Client of the signal-routing service of test and measurement computers
License: none chosen
Requires-Python: >=3.9
Description-Content-Type: text/plain

Sessions with the signal-routing service, routes between terminals, and failures
in words of six languages. {library}

The owner of zerovaapi has not chosen a licence.
"""


def _version() -> str:
   text = (SOURCE.parent / "CMakeLists.txt").read_text(encoding="utf-8")
   found = re.search(r"project\(zerovaapi VERSION (\S+)", text)
   if not found:
      raise SystemExit("CMakeLists.txt names no version")
   return found[1]


def platform_tag(library: pathlib.Path) -> str:
   """The oldest Linux that has the C library which the library says that it needs."""
   machine, = struct.unpack_from("=H", library.read_bytes()[:20], 18)
   if machine not in MACHINES:
      raise SystemExit(f"{library} is for a machine that no wheel is known for: {machine}")
   needs = subprocess.run(["readelf", "--version-info", "--wide", str(library)], env={**os.environ, "LC_ALL": "C"},
                          check=True, capture_output=True, text=True).stdout
   versions = [(int(major), int(minor)) for major, minor in re.findall(r"Name: GLIBC_(\d+)\.(\d+)", needs)]
   if not versions:
      raise SystemExit(f"{library} does not say which C library it needs")
   major, minor = max(versions)
   return f"manylinux_{major}_{minor}_{MACHINES[machine]}"


def _only(paths: List[pathlib.Path], what: str) -> pathlib.Path:
   if len(paths) != 1:
      raise SystemExit(f"the prefix holds {what} {len(paths)} times, not once")
   return paths[0]


def _files(prefix: Optional[pathlib.Path]) -> Tuple[Dict[str, bytes], str]:
   """What the wheel holds, by name, and its platform."""
   files = {f"zerovaapi/{path.name}": path.read_bytes() for path in (SOURCE / "zerovaapi").iterdir()
            if path.suffix == ".py" or path.name == "py.typed"}
   if prefix is None:
      return files, "any"
   library = _only(list(prefix.glob(f"lib/**/{LIBRARY}")), LIBRARY)
   texts = prefix / "share/zerovaapi/texts"
   found = [path for path in texts.rglob("*") if path.is_file()]
   if not found:
      raise SystemExit(f"{texts} holds no texts")
   files[f"zerovaapi/{LIBRARY}"] = library.read_bytes()
   files.update((f"zerovaapi/texts/{path.relative_to(texts).as_posix()}", path.read_bytes()) for path in found)
   notices = _only(list(prefix.glob("share/doc/*/third-party.md")), "the notices of what is linked in")
   files["zerovaapi/third-party.md"] = notices.read_bytes()
   return files, platform_tag(library)


def _hash(content: bytes) -> str:
   digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
   return f"sha256={digest},{len(content)}"


def _write(path: pathlib.Path, files: Mapping[str, bytes]) -> None:
   # A zip knows no time before 1980.
   date = time.gmtime(max(int(os.environ.get("SOURCE_DATE_EPOCH", 0)), 315532800))[:6]
   with zipfile.ZipFile(path, "w") as wheel:
      for name, content in files.items():
         entry = zipfile.ZipInfo(name, date)
         entry.compress_type = zipfile.ZIP_DEFLATED
         entry.create_system = 3
         entry.external_attr = 0o100644 << 16
         wheel.writestr(entry, content)


def make_wheel(folder: pathlib.Path, prefix: Optional[pathlib.Path]) -> str:
   """Makes the wheel, and gives its file's name."""
   files, platform = _files(prefix)
   version = _version()
   carried = "This wheel carries the library." if prefix else "It uses the library of the system."
   info = f"zerovaapi-{version}.dist-info"
   files = dict(sorted(files.items()))
   files[f"{info}/METADATA"] = METADATA.format(version=version, library=carried).encode()
   files[f"{info}/WHEEL"] = (f"Wheel-Version: 1.0\nGenerator: zerovaapi {version}\n"
                             f"Root-Is-Purelib: {'false' if prefix else 'true'}\nTag: py3-none-{platform}\n").encode()
   record = "".join(f"{name},{_hash(content)}\n" for name, content in files.items())
   files[f"{info}/RECORD"] = f"{record}{info}/RECORD,,\n".encode()
   folder.mkdir(parents=True, exist_ok=True)
   name = f"zerovaapi-{version}-py3-none-{platform}.whl"
   _write(folder / name, files)
   return name


def build_wheel(wheel_directory: str, config_settings: Optional[Mapping[str, Any]] = None,
                metadata_directory: Optional[str] = None) -> str:
   prefix = (config_settings or {}).get("prefix")
   return make_wheel(pathlib.Path(wheel_directory), pathlib.Path(prefix) if prefix else None)


if __name__ == "__main__":
   if len(sys.argv) not in (2, 3):
      raise SystemExit("usage: build_backend.py FOLDER [PREFIX]")
   print(make_wheel(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]) if len(sys.argv) == 3 else None))
