"""Holds the README against what it shows: the program is the example file, the links lead somewhere."""

import pathlib
import re
import sys

root = pathlib.Path(__file__).resolve().parents[1]
readme = (root / "README.md").read_text(encoding="utf-8")
faults = []

shown = re.search(r"<!-- (\S+) -->\n```c\n(.*?)```", readme, re.S)
if not shown or shown.group(2) != (root / shown.group(1)).read_text(encoding="utf-8"):
    faults.append("the program in README.md is not examples/quick_start.c")

for document in [root / "README.md", *sorted((root / "docs").glob("*.md"))]:
    for target in re.findall(r"\]\(([^)#:]+)\)", document.read_text(encoding="utf-8")):
        if not (document.parent / target).exists():
            faults.append(f"{document.relative_to(root)}: the link to {target} leads nowhere")

print("\n".join(faults) or "README.md and the documents agree with the tree")
sys.exit(bool(faults))
