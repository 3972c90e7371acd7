"""What the summary of the benchmarks tells of their rows."""

import contextlib
import io
import json
import pathlib
import sys
import tempfile
import unittest
import xml.etree.ElementTree

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[3] / "bench"))
sys.dont_write_bytecode = True

import summarise  # noqa: E402

FASTER = {
    "program": "bench_calls",
    "what": "one call",
    "ours": 6.3,
    "unit": "us",
    "reference": 6,
    "ratio": 1.05,
    "goal": "<= 1.100",
    "met": "yes",
    "interval": [1.01, 1.2],
}
SLOWER = {**FASTER, "what": "calls & <threads>", "ours": 9, "ratio": 1.5, "met": "NO", "interval": [1.4, 1.6]}
NOISY = {**SLOWER, "what": "noisy", "met": "noise"}
FIGURE = {"program": "bench_heap", "what": "a session", "ours": 9000, "unit": "bytes", "goal": "<= 16384", "met": "yes"}
BARE = {"program": "bench_heap", "what": "a terminal", "ours": 0.25, "unit": "KiB"}

SVG = "{http://www.w3.org/2000/svg}"


def lines_of(*rows):
    return [json.dumps(row) for row in rows]


class Table(unittest.TestCase):
    def cells(self, *rows):
        return [line.split() for line in summarise.table(summarise.read_rows(lines_of(*rows))).splitlines()]

    def test_heads_its_columns(self):
        self.assertEqual(self.cells(BARE)[0], ["what", "ours", "reference", "unit", "ratio", "95", "%", "goal", "met"])

    def test_tells_a_comparison_with_its_ratio(self):
        self.assertEqual(self.cells(FASTER)[1][-7:], ["6.000", "us", "1.050", "1.010-1.200", "<=", "1.100", "yes"])

    def test_shouts_a_goal_that_is_missed(self):
        self.assertEqual(self.cells(SLOWER)[1][-1], "NO")

    def test_leaves_what_a_figure_lacks_to_dashes(self):
        self.assertEqual(self.cells(FIGURE)[1][-7:], ["-", "bytes", "-", "-", "<=", "16384", "yes"])
        self.assertEqual(self.cells(BARE)[1][-6:], ["-", "KiB", "-", "-", "-", "-"])

    def test_keeps_the_order_of_the_runs(self):
        told = [line[2] for line in self.cells(SLOWER, FASTER)[1:]]
        self.assertEqual(told, ["&", "call"])

    def test_counts_the_goals_that_are_met(self):
        rows = summarise.read_rows(lines_of(FASTER, SLOWER, NOISY, FIGURE, BARE))
        self.assertEqual(summarise.closing_line(rows), "2 of 4 goals met, 1 missed within the noise; rows without a goal: 1")


class BadResults(unittest.TestCase):
    def refuse(self, lines, told):
        with self.assertRaises(summarise.ResultError) as caught:
            summarise.read_rows(lines)
        self.assertIn(told, str(caught.exception))

    def test_nothing_told_is_refused(self):
        self.refuse([], "no benchmark")

    def test_a_line_that_is_no_json_is_named(self):
        self.refuse([*lines_of(BARE), "{"], "line 2")

    def test_a_row_without_its_figure_is_refused(self):
        self.refuse([json.dumps({"program": "p", "what": "w", "unit": "u"})], "line 1")

    def test_a_goal_in_other_words_is_refused(self):
        self.refuse([json.dumps({**FASTER, "goal": "about 1"})], "line 1")


class Chart(unittest.TestCase):
    def setUp(self):
        self.svg = xml.etree.ElementTree.fromstring(summarise.chart([FASTER, SLOWER, FIGURE, BARE]))
        self.bars = [float(bar.get("width")) for bar in self.svg.findall(f"{SVG}rect")[1:]]
        line = self.svg.find(f"{SVG}line")
        self.to_goal = float(line.get("x1")) - summarise.LABEL_WIDTH

    def texts(self):
        return [text.text for text in self.svg.findall(f"{SVG}text")]

    def test_has_a_bar_for_each_row_with_a_goal(self):
        self.assertEqual(len(self.bars), 3)
        self.assertNotIn(BARE["what"], self.texts())

    def test_ends_a_bar_left_of_the_line_when_its_bound_is_kept(self):
        faster, slower, figure = self.bars
        self.assertLess(faster, self.to_goal)
        self.assertGreater(slower, self.to_goal)
        self.assertAlmostEqual(figure / self.to_goal, 9000 / 16384, places=2)

    def test_cuts_a_bar_that_is_far_from_its_goal(self):
        far = xml.etree.ElementTree.fromstring(summarise.chart([{**SLOWER, "ratio": 1000.0}]))
        self.assertEqual(float(far.findall(f"{SVG}rect")[1].get("width")), summarise.BAR_WIDTH)

    def test_carries_any_text(self):
        self.assertIn(SLOWER["what"], self.texts())

    def test_says_in_words_what_is_met(self):
        self.assertIn("1.050, goal <= 1.100, met", self.texts())
        self.assertIn("1.500, goal <= 1.100, NOT MET", self.texts())
        self.assertIn("9000 bytes, goal <= 16384, met", self.texts())


class Run(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = pathlib.Path(temporary.name)
        self.results = self.folder / "results.jsonl"

    def run_with(self, *arguments):
        self.out, self.err = io.StringIO(), io.StringIO()
        with contextlib.redirect_stdout(self.out), contextlib.redirect_stderr(self.err):
            return summarise.main([str(self.results), *map(str, arguments)])

    def test_writes_the_rows_and_the_chart(self):
        self.results.write_text("\n".join(lines_of(FASTER, BARE)) + "\n", encoding="utf-8")
        rows, svg = self.folder / "results.json", self.folder / "results.svg"
        self.assertEqual(self.run_with("--json", rows, "--svg", svg), 0)
        self.assertEqual(json.loads(rows.read_text(encoding="utf-8")), [FASTER, BARE])
        self.assertIn("one call", svg.read_text(encoding="utf-8"))
        self.assertIn("1 of 1 goals met", self.out.getvalue())

    def test_a_missed_goal_is_told_and_fails_nothing(self):
        self.results.write_text(lines_of(SLOWER)[0], encoding="utf-8")
        self.assertEqual(self.run_with(), 0)
        self.assertIn("0 of 1 goals met", self.out.getvalue())

    def test_results_that_are_not_there_fail(self):
        self.assertEqual(self.run_with(), 1)
        self.assertIn(str(self.results), self.err.getvalue())


if __name__ == "__main__":
    unittest.main()
