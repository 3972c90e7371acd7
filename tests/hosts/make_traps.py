"""Writes the C source of a trap for each global name of the given objects and archives that is the
library's own or of what is linked into it. All names are one function, which ends the process.

Usage: make_traps.py NM OUTPUT FILE...
"""
import re
import subprocess
import sys

# What the C++ library brings into every program is not ours, unless it is made of our types.
OURS = re.compile(r"thrift|zerova|quelerr|lorvex|torvik|^lua|^strbuf|^fpconv")

SOURCE = """\
/* Any of the names is this: nobody may call or read it. */
#include <stdio.h>
#include <stdlib.h>

void trap(void);

void trap(void)
{
   fputs("the library has used what its host exports\\n", stderr);
   abort();
}

"""


def names_in(nm, files):
    listing = subprocess.run([nm, "--defined-only", "--extern-only", "--format=posix", *files],
                             check=True, capture_output=True, text=True).stdout
    names = {line.split()[0] for line in listing.splitlines() if len(line.split()) > 2}
    return sorted(name for name in names if OURS.search(name) and re.fullmatch(r"\w+", name))


def main():
    nm, output, *files = sys.argv[1:]
    names = names_in(nm, files)
    if len(names) < 1500:
        sys.exit(f"only {len(names)} names: nm tells them in another way than this reads")
    with open(output, "w", encoding="ascii") as source:
        source.write(SOURCE)
        for name in names:
            source.write(f'__asm__(".globl {name}\\n.set {name}, trap");\n')


main()
