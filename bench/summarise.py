#!/usr/bin/env python3
"""Makes one table, one JSON file and one chart of what the benchmarks have told.

Usage: summarise.py RESULTS.jsonl [--json FILE] [--svg FILE]

Each line of RESULTS.jsonl is one row of a benchmark program: what was measured, ours, and where
there are such the reference, the ratio of both and the goal. The goal is on the ratio, or on ours
where there is no reference. A row that misses its goal is told, and is no failure of the run.
"""

import argparse
import json
import pathlib
import sys
from xml.sax.saxutils import escape

HEADINGS = ("what", "ours", "reference", "unit", "ratio", "95 %", "goal", "met")

LABEL_WIDTH = 430
BAR_WIDTH = 420
VALUE_WIDTH = 250
ROW_HEIGHT = 24
MET = {"yes": "met", "noise": "missed within the noise", "NO": "NOT MET"}
# A bar ends here at most; what is further from its goal than this is told by its figure alone.
LARGEST_SHARE = 2.0
COLOURS = {"yes": "#2a7f4f", "noise": "#a06a00", "NO": "#b3372f"}


class ResultError(Exception):
    """A line of the results that is not what a benchmark writes."""


def read_rows(lines):
    rows = []
    for number, line in enumerate(lines, 1):
        try:
            row = json.loads(line)
            row["program"], row["what"], row["unit"], float(row["ours"])
            if "goal" in row:
                bound_of(row)
                COLOURS[row["met"]]
            low, high = row.get("interval", (0, 0))
            float(low), float(high)
        except (ValueError, KeyError, TypeError, IndexError) as error:
            raise ResultError(f"line {number}: not a row of a benchmark: {line.strip()[:80]}") from error
        rows.append(row)
    if not rows:
        raise ResultError("no benchmark has told anything")
    return rows


def bound_of(row):
    """The kind and the number of a goal, from '<= 1.05'."""
    kind, bound = row["goal"].split()
    if kind not in ("<=", ">="):
        raise ValueError(kind)
    return kind, float(bound)


def judged(row):
    """The figure that the goal is on."""
    return row.get("ratio", row["ours"])


def number(value):
    if value is None:
        return "-"
    return f"{value:.0f}" if abs(value) >= 1000 else f"{value:.3f}"


def interval_text(row):
    return "-".join(map(number, row["interval"])) if "interval" in row else "-"


def table(rows):
    cells = [HEADINGS] + [
        (
            f"{row['program']}: {row['what']}",
            number(row["ours"]),
            number(row.get("reference")),
            row["unit"],
            number(row.get("ratio")),
            interval_text(row),
            row.get("goal", "-"),
            row.get("met", "-"),
        )
        for row in rows
    ]
    widths = [max(len(line[column]) for line in cells) for column in range(len(HEADINGS))]
    left = (0, 3, 7)
    return "\n".join(
        "  ".join(
            cell.ljust(width) if column in left else cell.rjust(width)
            for column, (cell, width) in enumerate(zip(line, widths))
        ).rstrip()
        for line in cells
    )


def closing_line(rows):
    judged_rows = [row for row in rows if "met" in row]
    met = sum(row["met"] == "yes" for row in judged_rows)
    noise = sum(row["met"] == "noise" for row in judged_rows)
    return f"{met} of {len(judged_rows)} goals met, {noise} missed within the noise; rows without a goal: {len(rows) - len(judged_rows)}"


def share_of_goal(row):
    """How far the figure goes towards its bound: 1 is the bound itself."""
    _, bound = bound_of(row)
    return judged(row) / bound if bound else 0.0


def text(x, y, content, **attributes):
    given = "".join(f' {name.replace("_", "-")}="{value}"' for name, value in attributes.items())
    return f'<text x="{x}" y="{y}"{given}>{escape(content)}</text>'


def bar(row, y):
    share = share_of_goal(row)
    length = BAR_WIDTH * min(max(share, 0), LARGEST_SHARE) / LARGEST_SHARE
    figure = number(judged(row)) + ("" if "ratio" in row else f" {row['unit']}")
    colour = COLOURS[row["met"]]
    middle = y + ROW_HEIGHT * 0.68
    return [
        text(LABEL_WIDTH - 10, middle, row["what"], text_anchor="end"),
        f'<rect x="{LABEL_WIDTH}" y="{y + 4}" width="{length:.1f}" height="{ROW_HEIGHT - 8}" fill="{colour}"/>',
        text(
            LABEL_WIDTH + BAR_WIDTH + 10,
            middle,
            f"{figure}, goal {row['goal']}, {MET[row['met']]}",
            fill=colour,
        ),
    ]


def chart(rows):
    """Bars against one line that is every row's goal, grouped by program."""
    shown = [row for row in rows if "met" in row]
    programs = list(dict.fromkeys(row["program"] for row in shown))
    top = 70
    height = top + ROW_HEIGHT * (len(shown) + 2 * len(programs)) + 10
    width = LABEL_WIDTH + BAR_WIDTH + VALUE_WIDTH
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
        f'viewBox="0 0 {width} {height}" font-family="sans-serif" font-size="13">',
        f'<rect width="{width}" height="{height}" fill="white"/>',
        text(20, 28, "Each figure as a share of its goal", font_size=18),
        text(
            20,
            50,
            "Goal <=: the bar should end left of the line. Goal >=: it should reach the line. "
            f"Bars end at {LARGEST_SHARE:g} goals.",
            fill="#555555",
        ),
    ]
    y = top
    for program in programs:
        y += ROW_HEIGHT
        parts.append(text(20, y + ROW_HEIGHT * 0.68, program, font_weight="bold"))
        y += ROW_HEIGHT
        for row in shown:
            if row["program"] == program:
                parts += bar(row, y)
                y += ROW_HEIGHT
    line = LABEL_WIDTH + BAR_WIDTH / LARGEST_SHARE
    parts.append(f'<line x1="{line}" y1="{top}" x2="{line}" y2="{height - 10}" stroke="#222222" stroke-width="2"/>')
    parts.append(text(line, top - 4, "goal", text_anchor="middle"))
    return "\n".join([*parts, "</svg>\n"])


def main(arguments):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("results", type=pathlib.Path)
    parser.add_argument("--json", type=pathlib.Path)
    parser.add_argument("--svg", type=pathlib.Path)
    options = parser.parse_args(arguments)
    try:
        rows = read_rows(options.results.read_text(encoding="utf-8").splitlines())
    except (ResultError, OSError) as error:
        print(f"{options.results}: {error}", file=sys.stderr)
        return 1
    print(table(rows))
    print(closing_line(rows))
    if options.json:
        options.json.write_text(json.dumps(rows, indent=1) + "\n", encoding="utf-8")
    if options.svg:
        options.svg.write_text(chart(rows), encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
