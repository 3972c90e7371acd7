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


def anchors(text):
    """The names by which a repository's page links to the headings of a document."""
    headings = re.findall(r"^#+ (.+)$", text, re.M)
    return {re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings}


for document in [*sorted(root.glob("*.md")), *sorted((root / "docs").glob("*.md"))]:
    text = document.read_text(encoding="utf-8")
    for target, anchor in re.findall(r"\]\(([^)#:]*)(?:#([^):]*))?\)", text):
        led_to = document.parent / target if target else document
        if not led_to.exists():
            faults.append(f"{document.relative_to(root)}: the link to {target} leads nowhere")
        elif anchor and anchor not in anchors(led_to.read_text(encoding="utf-8")):
            faults.append(f"{document.relative_to(root)}: {target} has no heading {anchor}")

for document in sorted((root / "docs").glob("*.md")):
    if f"](docs/{document.name})" not in readme:
        faults.append(f"README.md does not lead to docs/{document.name}")

print("\n".join(faults) or "README.md and the documents agree with the tree")
sys.exit(bool(faults))
