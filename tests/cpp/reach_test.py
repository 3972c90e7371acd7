"""Holds a header against the list of exports: each of them must be reached by it.

Usage: reach_test.py EXPORTS.txt HEADER
"""

import pathlib
import re
import sys

# What the header does itself, as the function's comment tells it: an iterator is an index.
INLINE = {"zerovaapi_TerminalIterator_next"}

exports, header = (pathlib.Path(name).read_text(encoding="utf-8") for name in sys.argv[1:])
code = re.sub(r"//[^\n]*", "", header)
missing = [name for name in exports.split() if name not in INLINE and not re.search(rf"\b{name}\b", code)]
print("\n".join(f"{name} is not reached" for name in missing) or f"all {len(exports.split())} are reached")
sys.exit(bool(missing) or len(exports.split()) != 59)
