"""The figures in the README are those of docs/cuts.md, which owns them."""

import os
import pathlib
import re
import unittest

SOURCE = pathlib.Path(os.environ["QUILLMARCH_SOURCE"])
KIND = re.compile(r"^\| ([\w ,-]+) \| \d+ \| (\d+ \+ \d+) \| (\d+ \+ \d+) \| (\d+ \+ \d+) \|$", re.MULTILINE)
ROW = re.compile(r"^\| (.+) \| (\d+) \| (\d+) \| (\d+) \|$", re.MULTILINE)
DARK_CHATS = {
    "README.md": r"of 480 cuts in generated dark chats, (\d+) needlessly.*?distances, (\d+) on .*? and (\d+) with",
    "README.zh.md": r"在 480 条深色聊天的分页线里.*?有 (\d+) 条.*?有 (\d+) 条.*?有 (\d+) 条",
}


def read(name):
    return (SOURCE / name).read_text(encoding="utf-8")


def cuts_by_kind():
    """Cuts through content at regular distances, by the rule bright and by the rule calm."""
    rows = KIND.findall(read("docs/cuts.md"))
    return {kind: [sum(map(int, count.split(" + "))) for count in counts] for kind, *counts in rows}


def readme_rows(name):
    return [(title, list(map(int, counts))) for title, *counts in ROW.findall(read(name))]


class Figures(unittest.TestCase):
    def test_readme_table(self):
        rows, kinds = readme_rows("README.md"), cuts_by_kind()
        self.assertGreaterEqual(len(rows), 3)
        self.assertEqual(rows, [(title, kinds.get(title)) for title, _ in rows])

    def test_translated_table(self):
        self.assertEqual([counts for _, counts in readme_rows("README.zh.md")],
                         [counts for _, counts in readme_rows("README.md")])

    def test_dark_chats(self):
        for name, sentence in DARK_CHATS.items():
            with self.subTest(name):
                (counts,) = re.findall(sentence, read(name), re.DOTALL)
                self.assertEqual(list(map(int, counts)), cuts_by_kind()["dark chat"])


if __name__ == "__main__":
    unittest.main()
