"""The README and the guide have the same structure in both languages."""

import os
import pathlib
import re
import unittest

SOURCE = pathlib.Path(os.environ["QUILLMARCH_SOURCE"])
PAIRS = (("README.md", "README.zh.md"), ("docs/guide.md", "docs/guide.zh.md"))
NUMBER = re.compile(r"^\d+(?:\.\d+)?$")


def code_lines(text):
    """The lines of the indented blocks of code, without their comments, which are translated."""
    lines = re.findall(r"^(?: {4}| {7})(?! )(\S.*)$", text, re.MULTILINE)
    return [line.split("#")[0].rstrip() for line in lines]


def headings(text):
    """The levels of the headings in their order."""
    return [len(marks) for marks in re.findall(r"^(#+) ", text, re.MULTILINE)]


def cells(row):
    return [cell.strip() for cell in re.split(r"(?<!\\)\|", row.strip())[1:-1]]


def tables(text):
    """The tables as lists of rows of cells."""
    found = re.findall(r"(?:^\|.*\|\n)+", text, re.MULTILINE)
    return [[cells(row) for row in table.splitlines()] for table in found]


def table_sizes(text):
    return [[len(row) for row in table] for table in tables(text)]


def table_numbers(text):
    return [[[cell for cell in row if NUMBER.match(cell)] for row in table] for table in tables(text)]


def table_codes(text):
    """The names and options in the cells, which are not translated."""
    return [[[re.findall(r"`([^`]*)`", cell) for cell in row[:1]] for row in table] for table in tables(text)]


def pictures(text):
    """The names of the pictures in their order, without the language."""
    return [re.sub(r"-(?:en|zh)(\.\w+)$", r"\1", name) for name in re.findall(r"!\[[^\]]*\]\(([^)]+)\)", text)]


def links(text):
    """The files that are linked, sorted, without language and section."""
    targets = re.findall(r"(?<!!)\[[^\]]*\]\(([^)]+)\)", text)
    targets = [re.sub(r"\.zh\.md$", ".md", target.split("#")[0]) for target in targets]
    return sorted(targets)


PARTS = (headings, table_sizes, table_numbers, table_codes, pictures, links, code_lines)


def differing_parts(one, other):
    return [part.__name__ for part in PARTS if part(one) != part(other)]


class Translations(unittest.TestCase):
    def test_have_the_same_structure(self):
        for english, chinese in PAIRS:
            texts = [(SOURCE / name).read_text(encoding="utf-8") for name in (english, chinese)]
            for part in PARTS:
                with self.subTest(f"{english}: {part.__name__}"):
                    self.assertEqual(part(texts[1]), part(texts[0]))

    def test_show_pictures_in_their_language(self):
        for pair in PAIRS:
            for name, other in zip(pair, ("-zh.", "-en.")):
                text = (SOURCE / name).read_text(encoding="utf-8")
                shown = re.findall(r"!\[[^\]]*\]\(([^)]+)\)", text)
                self.assertGreater(len(shown), 0)
                self.assertEqual([picture for picture in shown if other in picture], [])


TEXT = """# Title
## One
![a](a-en.png) and [b](b.md#part)

| A | B |
|---|--:|
| `x\\|y` | 12 |

    run it     # a comment
"""


class Comparison(unittest.TestCase):
    """The comparison above finds each kind of difference."""

    def assert_differs(self, parts, old, new):
        self.assertIn(old, TEXT)
        self.assertEqual(differing_parts(TEXT, TEXT.replace(old, new)), parts)

    def test_of_translated_texts(self):
        translated = TEXT.replace("Title", "题").replace("-en.png", "-zh.png").replace("b.md#part", "b.zh.md#段")
        self.assertEqual(differing_parts(TEXT, translated.replace("a comment", "说明")), [])

    def test_of_headings(self):
        self.assert_differs(["headings"], "## One", "### One")
        self.assert_differs(["headings"], "## One\n", "")

    def test_of_tables(self):
        self.assert_differs(["table_sizes"], "|---|--:|", "|---|--:|--:|")
        self.assert_differs(["table_sizes", "table_numbers", "table_codes"], "| `x\\|y` | 12 |\n", "")
        self.assert_differs(["table_numbers"], "12", "13")
        self.assert_differs(["table_codes"], "x\\|y", "x\\|z")

    def test_of_pictures_links_and_commands(self):
        self.assert_differs(["pictures"], "a-en.png", "c-en.png")
        self.assert_differs(["links"], "b.md", "c.md")
        self.assert_differs(["code_lines"], "run it", "run them")


if __name__ == "__main__":
    unittest.main()
