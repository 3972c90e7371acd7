"""build_book.py SOURCES VERSION FOLDER: makes the book of the documents, as HTML in FOLDER/html.

The documents are laid out in FOLDER/source as they stand in the tree, so their links to one another hold. Beside them
come pages that the public headers give: one for each header, and the index of functions; and one of the Python package.
"""

import html
import os
import pathlib
import re
import shutil
import subprocess
import sys
import textwrap

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import contents  # noqa: E402
import public_headers  # noqa: E402
import python_package  # noqa: E402

HEADERS = ("zerovaapi.h", "zerovaapi.hpp", "quelerr_status.h", "lorvex_translator.h")
LINK = re.compile(r"(\]\()([^)#:\s]+)((?:#[^)]*)?\))")

FUNCTIONS = """# Functions

All {count} functions that leave the library. The [rules](#rules) hold for each of them, unless it says otherwise.

A host's thread may be in as many calls as it likes with objects of its own; the column says what holds where several
threads have to do with one object. A status is in one call at a time.

{families}
"""


def told(blocks):
   """A comment's text as Markdown."""
   for kind, lines in blocks:
      if kind == "as written":
         yield "```text\n" + textwrap.dedent("\n".join(lines)) + "\n```"
      else:
         yield marked(lines[0])


def marked(text):
   """Running text in which names of code look like it."""
   text = html.escape(text, quote=False).replace("*", r"\*")
   text = re.sub(r"\b((?:zerovaapi|quelerr|lorvex|lorvexlua)_\w+)", r"`\1`", text)
   return re.sub(r"(?<![`\w])(\w+_\w+|null)(?![`\w])", r"`\1`", text)


def anchor(name):
   return name.lower()


def rules_page(header):
   for number, lines in enumerate(public_headers.rules(header), 1):
      parts = list(told(public_headers.blocks([line for line in lines if line])))
      yield f"{number}. " + textwrap.indent("\n\n".join(parts), "   ").lstrip()


def functions_page(include):
   functions = public_headers.functions(include)
   header = (include / "zerovaapi.h").read_text(encoding="utf-8")
   families = {}
   for function in functions:
      families.setdefault(function.family, []).append(function)
   page = []
   for family, members in families.items():
      page += [f"## {family}", *told(members[0].about_family)]
      page.append("\n".join(["| Function | What it does | Threads |", "|---|---|---|"] + [
         f"| [`{function.name}`](#{anchor(function.name)}) | {marked(function.summary)} | {function.threads} |"
         for function in members]))
      for function in members:
         page += [f"### {function.name}", f"```c\n{wrapped(function)}\n```", marked(function.summary)]
         page += [*told(function.description), *told(function.result)]
         page.append("- Ownership: " + marked(function.ownership) + "\n- Threads: " + function.threads + "."
                     + ("\n- " + marked(" ".join(function.codes)).replace("call codes", "[call codes](#rules)")
                        if function.codes else ""))
   page += ["## Rules", *rules_page(header)]
   return FUNCTIONS.format(count=len(functions), families="\n\n".join(page))


def wrapped(function):
   if len(function.prototype) <= 80:
      return function.prototype
   return function.prototype.split("(")[0] + "(\n   " + ",\n   ".join(function.parameters) + ");"


def header_page(name):
   return f"# {name}\n\n```{{literalinclude}} ../include/{name}\n:language: {'cpp' if name.endswith('pp') else 'c'}\n```\n"


def index_page(sources):
   """The contents, once for the reader and once for the side of each page."""
   page = ["# zerovaapi",
           "A client library for the signal-routing service of test and measurement computers. An instrument driver or a "
           "configuration tool loads it, opens a session to the service and calculates, reserves, programs and releases "
           "routes between device terminals. Every failure comes back in a status record of the caller's, and a second "
           "face of the library turns it into words in six languages.",
           "![What the library sits between](docs/around-the-library.svg)",
           "Whoever is new reads [getting started](docs/getting-started.md) first, and the chapters in their order."]
   for title, chapters in contents.parts(sources / "docs"):
      listed = [str(chapter.relative_to(sources)) for chapter in chapters]
      if title == "Reference":
         listed = ["docs/functions.md", "docs/python-package.md", *(f"docs/{name.replace('.', '-')}.md" for name in HEADERS), *listed]
      if listed:
         page.append(f"```{{toctree}}\n:caption: {title}\n:maxdepth: 1\n\n" + "\n".join(listed) + "\n```")
   return "\n\n".join(page) + "\n"


def laid_out(document, sources):
   """A document whose links to what is no page of the book lead to what is one, or are words."""
   def lead(link):
      before, target, after = link.groups()
      if target.startswith("/"):
         return link[0]
      led_to = (document.parent / target).resolve()
      up = "" if document.parent == sources / "docs" else "docs/"
      if led_to.name in HEADERS:
         return f"{before}{up}{led_to.name.replace('.', '-')}.md{after}"
      if led_to == sources / "python" / "zerovaapi" / "__init__.py":
         return f"{before}{up}python-package.md{after}"
      if led_to == sources / "README.md":
         return f"{before}{up}getting-started.md)"
      return link[0]
   return LINK.sub(lead, document.read_text(encoding="utf-8"))


def with_breaks(page):
   """A page whose long names in code may break at the end of a word in them."""
   def breaking(name):
      return name[1] + re.sub(r"(_|/|::|(?<=[a-z])(?=[A-Z]))", r"\1<wbr>", name[2]) + name[3]
   return re.sub(r'(<span class="pre">)([^<]{16,})(</span>)', breaking, page)


def main(sources, version, folder):
   sources, folder = pathlib.Path(sources).resolve(), pathlib.Path(folder).resolve()
   source = folder / "source"
   shutil.rmtree(folder, ignore_errors=True)
   (source / "docs").mkdir(parents=True)
   for name in ("include", "examples"):
      shutil.copytree(sources / name, source / name)
   for picture in (sources / "docs").glob("*.svg"):
      shutil.copy(picture, source / "docs")
   for _, chapters in contents.parts(sources / "docs"):
      for chapter in chapters:
         (source / chapter.relative_to(sources)).write_text(laid_out(chapter, sources), encoding="utf-8")
   (source / "docs" / "python-package.md").write_text(
      python_package.page(sources / "python" / "zerovaapi"), encoding="utf-8")
   (source / "docs" / "functions.md").write_text(functions_page(sources / "include"), encoding="utf-8")
   for name in HEADERS:
      (source / "docs" / f"{name.replace('.', '-')}.md").write_text(header_page(name), encoding="utf-8")
   (source / "index.md").write_text(index_page(sources), encoding="utf-8")
   status = subprocess.run(
      ["sphinx-build", "-W", "--keep-going", "-q", "-b", "html", "-d", folder / "doctrees", "-c",
       pathlib.Path(__file__).parent, source, folder / "html"],
      env={**os.environ, "ZEROVA_VERSION": version}, check=False).returncode
   for page in (folder / "html").rglob("*.html"):
      page.write_text(with_breaks(page.read_text(encoding="utf-8")), encoding="utf-8")
   return status


if __name__ == "__main__":
   sys.exit(main(*sys.argv[1:]))
