"""Which changes scripts/mutations.py makes, and which tests scripts/mutate.py runs for them."""

import os
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(os.environ["QUILLMARCH_SOURCE"]) / "scripts"))

import mutate
import mutations


def results(source):
    """The text after each change of a source."""
    return [change.applied(source) for change in mutations.changes_of(source)]


class Changes(unittest.TestCase):
    def test_moves_the_bounds_of_comparisons(self):
        self.assertEqual(results("a < b;"), ["a <= b;"])
        self.assertEqual(results("a <= b;"), ["a < b;"])
        self.assertEqual(results("a > b;"), ["a >= b;"])
        self.assertEqual(results("a >= b;"), ["a > b;"])
        self.assertEqual(results("a == b;"), ["a != b;"])
        self.assertEqual(results("a != b;"), ["a == b;"])

    def test_leaves_templates_references_and_declared_operators(self):
        for source in ("QList<int> list;", "void take(T &&value);", "bool operator==(const T &other) const;", "a << b;"):
            self.assertEqual(results(source), [], source)

    def test_swaps_operators_and_words(self):
        self.assertEqual(results("f(a + b);"), ["f(a - b);"])
        self.assertEqual(results("f(a\n    - b);"), ["f(a\n    + b);"])
        self.assertEqual(results("f(-a);"), [])
        self.assertEqual(results("f(++a);"), ["f(--a);"])
        self.assertEqual(results("f(a && b);"), ["f(a || b);"])
        self.assertEqual(results("return true;"), ["return false;"])
        self.assertEqual(results("return std::min<int>(a, b);"), ["return std::max<int>(a, b);"])

    def test_shifts_integers_by_one(self):
        self.assertIn(results("f(8);"), (["f(7);"], ["f(9);"]))
        self.assertIn(results("f(0x10U);"), (["f(0xfU);"], ["f(0x11U);"]))
        self.assertEqual(results("f(0);"), ["f(1);"])

    def test_leaves_names_and_fractions(self):
        for source in ("f(x1, 2.5, .5, quint32);", "f(1e6);"):
            self.assertEqual(results(source), [], source)

    def test_negates_conditions(self):
        self.assertEqual(results("if (f(a)) {"), ["if (!(f(a))) {"])
        self.assertEqual(results("while (a) {"), ["while (!(a)) {"])
        self.assertEqual(results("if (int a = f(); g(a)) {"), [])

    def test_removes_calls_and_assignments(self):
        self.assertEqual(results("{\n    f(a);\n}"), ["{\n    ;\n}"])
        self.assertEqual(results("{\n    a->b = c;\n}"), ["{\n    ;\n}"])
        self.assertEqual(results("{\n    f(a).g(\n        b);\n}"), ["{\n    ;\n\n}"])

    def test_keeps_declarations_returns_and_heads_of_functions(self):
        for source in (
            "{\n    int a = b;\n}",
            "{\n    const Lock lock(a);\n}",
            "{\n    return f(a);\n}",
            "{\n    Strip(int a)\n        : b(a)\n    {\n    }\n}",
        ):
            self.assertEqual(results(source), [], source)

    def test_leaves_what_is_no_code(self):
        for source in (
            "// a < b",
            "/* a < b */",
            'f("a < b");',
            'f(uR"(a < 2 "b")"_s);',
            "f(u'3');",
            "#if A > 1 \\\n    && B > 2",
            "static_assert(a < 3);",
            "Q_ASSERT(a < 3);",
            'qWarning("%d", a + 3);',
        ):
            self.assertEqual(results(source), [], source)

    def test_keeps_the_number_of_lines(self):
        source = "{\n    f(a,\n      [b] { c = d; });\n    if (a\n        && b) {\n    }\n}\n"
        for text in results(source):
            self.assertEqual(text.count("\n"), source.count("\n"), text)


class Drawing(unittest.TestCase):
    SOURCES = {
        "low": {"low/a.cpp": "f(a < b);\n" * 30},
        "high": {"high/b.cpp": "f(a < b && c);\n" * 7, "high/c.cpp": "f(1);\n" * 3},
    }

    def test_divides_by_the_largest_remainder(self):
        self.assertEqual(mutations.shares({"a": 50, "b": 30, "c": 20}, 10), {"a": 5, "b": 3, "c": 2})
        self.assertEqual(mutations.shares({"a": 1, "b": 1, "c": 1}, 10), {"a": 4, "b": 3, "c": 3})

    def test_gives_each_folder_its_share(self):
        drawn = mutations.drawn(self.SOURCES, 1, 20)
        for count, low in ((4, 3), (8, 6), (20, 15)):
            self.assertEqual(sum(file.startswith("low/") for file, _ in drawn[:count]), low, count)

    def test_changes_a_line_once(self):
        drawn = mutations.drawn(self.SOURCES, 1, 20)
        self.assertEqual(len(drawn), 40)
        texts = {file: text for files in self.SOURCES.values() for file, text in files.items()}
        places = {(file, mutations.line_of(texts[file], change.start)) for file, change in drawn}
        self.assertEqual(len(places), 40)

    def test_same_seed_gives_the_same_changes(self):
        self.assertEqual(mutations.drawn(self.SOURCES, 1, 20), mutations.drawn(self.SOURCES, 1, 20))
        self.assertNotEqual(mutations.drawn(self.SOURCES, 1, 20), mutations.drawn(self.SOURCES, 2, 20))

    def test_keeps_the_order_if_lines_move(self):
        source = "f(a < b);\nf(c + d);\nif (a && d) {\ng(4.5 - a);\n}\n"
        moved = "// first\n\n" + source

        def order(text):
            return [
                (change.kind, text[text.rfind("\n", 0, change.start) + 1 :].splitlines()[0])
                for _, change in mutations.drawn({"low": {"low/a.cpp": text}}, 5, 4)
            ]

        self.assertEqual(len(order(source)), 4)
        self.assertEqual(order(moved), order(source))


class Choosing(unittest.TestCase):
    def judge(self, name, folder, work, lines):
        reached = {"src/page/cut.cpp": set(lines)}
        return mutate.Judge(name, [], {}, f"/build/tests/{folder}", work=work, reached=reached)

    def test_runs_the_tests_that_reach_the_line(self):
        tests = [
            self.judge("slow", "page", 9, [3]),
            self.judge("elsewhere", "ui", 1, [3, 4]),
            self.judge("quick", "page", 2, [3]),
        ]

        def names(line, file="src/page/cut.cpp"):
            return [judge.name for judge in mutate.judges_of(file, line, tests)]

        self.assertEqual(names(3), ["quick", "slow", "elsewhere"])
        self.assertEqual(names(4), ["elsewhere", "quick", "slow"])
        self.assertEqual(names(9), ["quick", "slow", "elsewhere"])
        self.assertEqual(names(3, "src/page/band.cpp"), ["quick", "slow"])

    def test_expects_failures_of_tests_about_linking(self):
        output = b"FAIL!  : TestA::needsNoEnvironment() '!a'\nPASS   : TestA::b()\nFAIL!  : TestA::c() '!a'\n"
        self.assertEqual(mutate.failures(output), (1, 1))
        self.assertEqual(mutate.failures(b"PASS   : TestA::c()\nXFAIL  : TestA::d()\n"), (0, 0))

    def test_names_the_function_that_failed(self):
        output = "FAIL!  : TestA::needsNoEnvironment() '!a'\nFAIL!  : TestA::c(row 1) '!a' returned FALSE. ()\n"
        self.assertEqual(mutate.failed_function(output), "c")
        self.assertEqual(mutate.failed_function("PASS   : TestA::b()\n"), "ends early or is too slow")

    def test_reads_counts_of_sources_only(self):
        counts = [
            {"files": [{"file": "./src/page/cut.cpp", "lines": [{"line_number": 3, "count": 2}]}]},
            {"files": [{"file": "/copy/src/page/cut.cpp", "lines": [{"line_number": 4, "count": 0}]}]},
            {"files": [{"file": "/usr/include/qt6/qlist.h", "lines": [{"line_number": 5, "count": 1}]}]},
        ]
        self.assertEqual(mutate.reached_lines(counts), {"src/page/cut.cpp": {3}})


class Rows(unittest.TestCase):
    def test_names_place_and_change(self):
        text = "int f()\n{\n    return a < b;\n}\n"
        change = mutations.changes_of(text)[0]
        self.assertEqual(
            mutate.row_of("src/page/cut.cpp", text, change),
            {"file": "src/page/cut.cpp", "place": "3:14", "change": "comparison: < -> <="},
        )


if __name__ == "__main__":
    unittest.main()
