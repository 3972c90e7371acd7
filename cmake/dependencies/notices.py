"""notices.py SOURCES OUTPUT: writes the notices of what is linked in, as the sources carry them."""

import pathlib
import sys

# What the packages call them, what they call themselves, and where their terms stand.
LIBRARIES = {
    "thrift": ("Apache Thrift (C++ library)", ["NOTICE", "LICENSE"]),
    "lua5.1": ("Lua", ["COPYRIGHT"]),
    "lua-cjson": ("Lua CJSON", ["LICENSE"]),
    "lua-filesystem": ("LuaFileSystem", ["LICENSE"]),
}

INTRODUCTION = """# Notices of what is linked in

`libzerovaapi` contains the libraries below, built from the source packages of Debian and changed in nothing. The build
makes this page of their sources. Code of Boost's headers, which Thrift uses, is compiled in as well; its licence asks for
no notice in compiled form.
"""


def main(sources, output):
    text = INTRODUCTION
    packages = pathlib.Path(__file__).with_name("packages.txt").read_text(encoding="utf-8")
    for package, version in (line.split() for line in packages.splitlines()):
        name, files = LIBRARIES[package]
        text += f"\n## {name} {version}\n\nSource package: `{package}`\n"
        for file in files:
            terms = (sources / package / file).read_text(encoding="utf-8")
            lines = "\n".join(line.rstrip() for line in terms.strip("\n").splitlines())
            text += f"\n```\n{lines}\n```\n"
    output.write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]))
