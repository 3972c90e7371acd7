"""generate_man.py HEADERS VERSION ENDPOINTS REGISTRY OUTPUT: writes the manual page zerovaapi(7).

The conventions come from the comment at the top of zerovaapi.h, so that they are told in one place.
"""

import pathlib
import re
import sys

RULE = re.compile(r" {1,2}\d+\. ")

PAGE = r""".\" Made from zerovaapi.h by the build.
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
"""


def escaped(text):
    text = text.replace("\\", r"\e").replace("-", r"\-")
    return r"\&" + text if text[:1] in (".", "'") else text


def rules(header):
    """The lines of each numbered rule of the comment at the top."""
    comment = header[: header.index("*/")]
    found = []
    for line in comment.splitlines()[1:]:
        line = line.removeprefix(" *")
        if RULE.match(line):
            found.append([line[RULE.match(line).end() :]])
        elif found:
            found[-1].append(line[5:])
    if not found:
        raise ValueError("zerovaapi.h does not begin with numbered rules")
    return found


def conventions(header):
    for number, lines in enumerate(rules(header), 1):
        yield f".IP {number}. 4"
        is_as_written = False
        for line in lines:
            if line.startswith("   ") != is_as_written:
                is_as_written = not is_as_written
                yield ".nf" if is_as_written else ".fi"
            yield escaped(line.rstrip())
        if is_as_written:
            yield ".fi"


def main(headers, version, endpoints, registry, output):
    header = (pathlib.Path(headers) / "zerovaapi.h").read_text(encoding="utf-8")
    page = PAGE.format(
        version=version,
        endpoints=escaped(endpoints),
        registry=escaped(registry),
        conventions="".join(line + "\n" for line in conventions(header) if line),
    )
    pathlib.Path(output).write_text(page, encoding="utf-8")


if __name__ == "__main__":
    main(*sys.argv[1:])
