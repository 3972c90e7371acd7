"""generate_man.py SOURCES VERSION ENDPOINTS REGISTRY FOLDER: writes the manual pages into FOLDER/man3 and FOLDER/man7.

zerovaapi(7) has the conventions of zerovaapi.h, section 3 a page for each function, from the comments of the headers,
and section 7 the guides among the documents. So each thing is told in one place.
"""

import pathlib
import re
import sys
import textwrap

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "book"))

import contents  # noqa: E402
import public_headers  # noqa: E402
from markdown_page import as_written, escaped, page  # noqa: E402

HEAD = '.TH {name} {section} "" "zerovaapi {version}" "Signal routing"\n'

OVERVIEW = r""".\" Made from zerovaapi.h by the build.
.TH ZEROVAAPI 7 "" "zerovaapi {version}" "Signal routing"
.SH NAME
zerovaapi \- client of the signal-routing service
.SH SYNOPSIS
.nf
.B #include <zerovaapi.h>
.B #include <lorvex_translator.h>
.PP
\fBcc\fP \fIprogram.c\fP $(\fBpkg\-config \-\-cflags \-\-libs zerovaapi\fP)
.fi
.SH DESCRIPTION
A program opens a session to the routing service of this machine or of another one, calculates, reserves, programs and
releases routes between the terminals of devices, and lists devices and terminals.
Each failure comes back in a status record of the caller's, with a JSON text that says what happened.
The translator turns such a status, or a bare code, into words in six languages.
.SH CONVENTIONS
They hold for every function of
.I zerovaapi.h
unless its comment says otherwise.
{conventions}.SH FILES
.TP
.I {endpoints}
the service's local endpoints
.TP
.I {registry}
the machine's settings, which the translator reads
.TP
.I zerovaapi.h\fR, \fPquelerr_status.h\fR, \fPlorvex_translator.h
the headers; each function's comment says who owns the result, what may be null, what it returns on failure and which
codes it can leave
.SH SEE ALSO
Each function has a page in section 3.
The guides are
{guides}
"""


def conventions(header):
   for number, lines in enumerate(public_headers.rules(header), 1):
      yield f".IP {number}. 4"
      is_as_written = False
      for line in lines:
         if line.startswith("   ") != is_as_written:
            is_as_written = not is_as_written
            yield ".nf" if is_as_written else ".fi"
         yield escaped(line.rstrip())
      if is_as_written:
         yield ".fi"


def told(blocks):
   for kind, lines in blocks:
      if kind == "as written":
         yield from as_written(textwrap.dedent("\n".join(lines)).splitlines())
      else:
         yield ".PP"
         yield escaped(lines[0])


def references(names):
   """Lines that name pages, with commas between them."""
   return ",\n".join(f".BR {escaped(name)} ({section})" for name, section in names).replace(",\n", " ,\n")


def call_codes(header):
   """The table of codes in the rule about them."""
   rule = next(lines for lines in public_headers.rules(header) if lines[0].startswith("Call codes"))
   return textwrap.dedent("\n".join(line for line in rule[1:] if line.startswith("   "))).splitlines()


def function_page(function, header, version):
   summary = function.summary.split(". ")[0].rstrip(".")
   is_procedure = re.match(r"void \w+\(", function.prototype)
   lines = [f".\\\" Made from {function.header} by the build.",
            HEAD.format(name=function.name.upper(), section=3, version=version).rstrip(), ".SH NAME",
            rf"{function.name} \- {escaped(summary[0].lower() + summary[1:])}", ".SH SYNOPSIS", ".nf",
            f".B #include <{function.header}>", ".PP",
            rf".B {escaped(function.prototype.split('(')[0])}("]
   lines += [rf".B \&   {escaped(parameter)}{',' if number < len(function.parameters) else ');'}"
             for number, parameter in enumerate(function.parameters, 1)]
   lines += [".fi", ".SH DESCRIPTION", escaped(function.summary), *told(function.description)]
   lines.append(".SH RETURN VALUE")
   lines += list(told(function.result))[1:] or ["None." if is_procedure else "As above."]
   lines += [".SH OWNERSHIP", escaped(function.ownership)]
   codes = " ".join(function.codes)
   if codes.endswith(": call codes.") or function.family == "Sessions" and not function.name.endswith("destroySession"):
      lines.append(".SH CODES")
      lines += as_written(call_codes(header)) if codes else ["See NOTES."]
   else:
      lines += [".SH CODES", escaped(codes.partition(": ")[2]) if codes else "None."]
   lines += [".SH THREADS", escaped(function.threads[0].upper() + function.threads[1:] + ".")]
   if function.about_family:
      lines += [".SH NOTES", f".SS {escaped(function.family)}", *list(told(function.about_family))[1:]]
   lines += [".SH SEE ALSO", ".BR zerovaapi (7)"]
   return "\n".join(lines) + "\n"


def main(sources, version, endpoints, registry, output):
   sources = pathlib.Path(sources)
   include = sources / "include"
   header = (include / "zerovaapi.h").read_text(encoding="utf-8")
   man3, man7 = (pathlib.Path(output) / section for section in ("man3", "man7"))
   for folder in (man3, man7):
      folder.mkdir(parents=True, exist_ok=True)
      for old in folder.iterdir():
         old.unlink()
   for function in public_headers.functions(include):
      (man3 / f"{function.name}.3").write_text(function_page(function, header, version), encoding="utf-8")
   guides = contents.guides(sources / "docs")
   for guide in guides:
      name = f"zerovaapi-{guide.stem}"
      (man7 / f"{name}.7").write_text(page(guide.read_text(encoding="utf-8"), name, version), encoding="utf-8")
   overview = OVERVIEW.format(
      version=version, endpoints=escaped(endpoints), registry=escaped(registry),
      conventions="".join(line + "\n" for line in conventions(header) if line),
      guides=references((f"zerovaapi-{guide.stem}", 7) for guide in guides))
   (man7 / "zerovaapi.7").write_text(overview, encoding="utf-8")


if __name__ == "__main__":
   main(*sys.argv[1:])
