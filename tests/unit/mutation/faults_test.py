"""What the operators of the mutation run make of sample lines."""

import itertools
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "mutation"))
sys.dont_write_bytecode = True

import faults  # noqa: E402


def made(operator, text, path="a.lua"):
    """The texts that the operator makes of a whole text, in the order of their places."""
    found = [fault for by_operator in faults.faults_of(path, text).values() for fault in by_operator.get(operator, [])]
    return [fault.applied(text) for fault in sorted(found, key=lambda fault: (fault.start, fault.end))]


def made_in_body(operator, body):
    """The bodies that the operator makes of the body of a C++ function."""
    opening, closing = "void f()\n{\n", "\n}\n"
    return [text[len(opening) : -len(closing)] for text in made(operator, opening + body + closing, "a.cpp")]


class Negate(unittest.TestCase):
    def test_whole_condition(self):
        self.assertEqual(made_in_body("negate", "   if (a && g(b)) return;"), ["   if (!(a && g(b))) return;"])
        self.assertEqual(made_in_body("negate", "   while (next()) step();"), ["   while (!(next())) step();"])

    def test_condition_behind_an_initialiser(self):
        self.assertEqual(made_in_body("negate", "   if (T x = g(); x) h();"), ["   if (T x = g(); !(x)) h();"])
        self.assertEqual(made_in_body("negate", "   for (T i = 0; i < n; ++i) h();"), ["   for (T i = 0; !(i < n); ++i) h();"])

    def test_declared_condition_has_no_negation(self):
        self.assertEqual(made_in_body("negate", "   if (const int error = g()) h();"), [])

    def test_comparison_within_a_condition(self):
        self.assertEqual(
            made_in_body("negate", "   if (a == 1 && !b) return;"),
            ["   if (!(a == 1 && !b)) return;", "   if (a != 1 && !b) return;", "   if (a == 1 && b) return;"],
        )

    def test_boolean_result(self):
        self.assertEqual(made_in_body("negate", "   return a == b;"), ["   return !(a == b);"])

    def test_results_of_a_choice(self):
        self.assertEqual(made_in_body("negate", "   g(a ? b : c, d);"), ["   g(a ? c : b, d);"])

    def test_script(self):
        self.assertEqual(made("negate", "if a == 1 then\n   b()\nend\n"), ["if not (a == 1) then\n   b()\nend\n"])
        self.assertEqual(made("negate", "x = a ~= 1\n"), ["x = a == 1\n"])
        self.assertEqual(made("negate", "x = not a\n"), ["x = a\n"])


class Boundary(unittest.TestCase):
    def test_comparisons(self):
        self.assertEqual(made_in_body("boundary", "   a = b < c;"), ["   a = b <= c;"])
        self.assertEqual(made_in_body("boundary", "   a = b >= c;"), ["   a = b > c;"])
        self.assertEqual(made("boundary", "x = a <= b\n"), ["x = a < b\n"])

    def test_one_more_or_less(self):
        self.assertEqual(made_in_body("boundary", "   a = b + 1;"), ["   a = b;"])
        self.assertEqual(made("boundary", "x = a[n - 1]\n"), ["x = a[n]\n"])

    def test_template_and_arrow_are_no_comparisons(self):
        self.assertEqual(made_in_body("boundary", "   a->b = c<int>(d << 2);"), [])


class Drop(unittest.TestCase):
    def test_statement(self):
        self.assertEqual(made_in_body("drop", "   g();"), ["   {}"])

    def test_statement_of_a_condition(self):
        self.assertEqual(made_in_body("drop", "   if (a)\n      g();"), ["   {}\n", "   if (a)\n      {}"])

    def test_statement_over_lines_leaves_their_number(self):
        self.assertEqual(made_in_body("drop", "   g(a,\n     b);\n   return;")[0], "   {}\n\n   return;")

    def test_guarded_return(self):
        self.assertEqual(made_in_body("drop", "   if (a) return;"), ["   {}"])

    def test_declaration_stays(self):
        self.assertEqual(made_in_body("drop", "   const int a = b();\n   std::vector<int> c;\n   T* d = e;"), [])

    def test_block_is_no_statement(self):
        self.assertEqual(made_in_body("drop", "   if (a) {\n      g();\n   }"), ["   if (a) {\n      {}\n   }"])

    def test_script(self):
        self.assertEqual(made("drop", "if a then\n   b()\nend\n"), ["if a then\n   \nend\n"])

    def test_part_of_a_statement_of_a_script(self):
        self.assertEqual(made("drop", "x = a ..\n   b\ny = {\n   c = 1\n}\n"), [])


class Constant(unittest.TestCase):
    def test_numbers(self):
        self.assertEqual(made_in_body("constant", "   a = 9;"), ["   a = 10;"])
        self.assertEqual(made_in_body("constant", "   a = 0xFFu;"), ["   a = 0x100u;"])
        self.assertEqual(made_in_body("constant", "   a = 1'000;"), ["   a = 1001;"])

    def test_digit_of_a_name(self):
        self.assertEqual(made_in_body("constant", "   a1 = int32_t(b);"), [])

    def test_texts(self):
        self.assertEqual(made_in_body("constant", '   g("a//b");'), ['   g("xa//b");'])
        self.assertEqual(made_in_body("constant", "   g('a');"), ["   g('y');"])
        self.assertEqual(made("constant", "x = ''\n"), ["x = 'x'\n"])

    def test_truth(self):
        self.assertEqual(made("constant", "x = true\n"), ["x = false\n"])


class Swap(unittest.TestCase):
    def test_arguments(self):
        self.assertEqual(made_in_body("swap", "   g(a, h(b), c);"), ["   g(h(b), a, c);", "   g(a, c, h(b));"])

    def test_same_arguments(self):
        self.assertEqual(made_in_body("swap", "   g(a, a);"), [])

    def test_steps(self):
        self.assertEqual(made_in_body("swap", "   a = 1;\n   b = 2;"), ["   b = 2;\n   a = 1;"])
        self.assertEqual(made("swap", "a()\nb()\n"), ["b()\na()\n"])

    def test_steps_of_different_blocks(self):
        self.assertEqual(made_in_body("swap", "   if (a)\n      g();\n   h();"), [])


class Lines(unittest.TestCase):
    def faulty(self, text, path="a.cpp"):
        return sorted(faults.faults_of(path, text))

    def test_comments_and_directives_have_no_faults(self):
        self.assertEqual(self.faulty("#if A == 1\nvoid f()\n{\n   // a = 1;\n   /* b(1, 2); */\n}\n#endif\n"), [])
        self.assertEqual(self.faulty("-- a = 1\n", "a.lua"), [])

    def test_declarations_have_no_faults(self):
        text = "namespace a {\nstruct B\n{\n   void f(int c, int d);\n   virtual g() = default;\n   virtual h() = default;\n};\n}\n"
        self.assertEqual(self.faulty(text), [])

    def test_values_and_initialisers_have(self):
        self.assertEqual(self.faulty("constexpr int kA = 5;\n"), [1])
        self.assertEqual(self.faulty("A::A()\n   : b_(1)\n   , c_(2)\n{\n}\n"), [2, 3])

    def test_lines_keep_their_numbers(self):
        text = pathlib.Path(__file__).resolve().parents[3].joinpath("scripts/json.lua").read_text()
        for fault in itertools.islice(faults.drawn({"json.lua": text}, 3), 300):
            self.assertEqual(fault.applied(text).count("\n"), text.count("\n"), fault)


class Shown(unittest.TestCase):
    def test_lines_that_are_touched_and_the_one_above(self):
        text = "a = 1\n\nb = c < d\n"
        fault = faults.faults_of("a.lua", text)[3]["boundary"][0]
        self.assertEqual(fault.shown(text), ("b = c < d", "b = c <= d"))
        self.assertEqual(fault.line_above(text), "a = 1")


class Draw(unittest.TestCase):
    texts = {"a.lua": "a(1, 2)\nb = 3 < 4\n", "b.lua": "if c then\n   d()\nend\n"}

    def draw(self, seed):
        return list(itertools.islice(faults.drawn(self.texts, seed), 8))

    def test_seed_decides(self):
        self.assertEqual(self.draw(1), self.draw(1))
        self.assertNotEqual(self.draw(1), self.draw(2))

    def test_none_twice(self):
        self.assertEqual(len(set(self.draw(1))), 8)


if __name__ == "__main__":
    unittest.main()
