"""Files and names of the code that the documents mention exist."""

import os
import pathlib
import re
import unittest

SOURCE = pathlib.Path(os.environ["QUILLMARCH_SOURCE"])
FOLDERS = ("src", "tests", "scripts", "tools", "bench", "docs", "resources", "packaging", "cmake", "samples")
PATH = re.compile(rf"^(?:{'|'.join(FOLDERS)})/[\w./-]+$")
NAME = re.compile(r"^(?:\w+::)?[a-zA-Z]*[a-z][A-Z]\w*(?:\(\))?$")


def documents():
    return sorted([*SOURCE.glob("*.md"), *(path for folder in FOLDERS for path in (SOURCE / folder).rglob("*.md"))])


def quoted(text):
    """The words between single backticks, without blocks of code."""
    text = re.sub(r"^```.*?^```", "", text, flags=re.MULTILINE | re.DOTALL)
    return [words.replace("\n", " ") for words in re.findall(r"`([^`]+)`", text)]


def exists(name):
    """A test may be named without the suffix of its source."""
    return (SOURCE / name).exists() or (SOURCE / f"{name}.cpp").is_file()


def all_code():
    code = [path for folder in ("src", "tests", "tools", "bench") for path in (SOURCE / folder).rglob("*")
            if path.suffix in (".h", ".cpp", ".txt")]
    return "\n".join(path.read_text(encoding="utf-8", errors="replace") for path in code)


class References(unittest.TestCase):
    def test_files_exist(self):
        checked, missing = 0, []
        for document in documents():
            for words in quoted(document.read_text(encoding="utf-8")):
                name = words.split(" ")[0].rstrip("/")
                if PATH.match(name) and "FOLDER" not in name:
                    checked += 1
                    if not exists(name):
                        missing.append(f"{document.relative_to(SOURCE)}: {name}")
        self.assertEqual(missing, [])
        self.assertGreater(checked, 50)

    def test_names_in_the_architecture_are_in_the_code(self):
        code = all_code()
        names = {words.removesuffix("()").split("::")[-1]
                 for words in quoted((SOURCE / "docs" / "architecture.md").read_text(encoding="utf-8"))
                 if NAME.match(words)}
        self.assertGreater(len(names), 60)
        self.assertEqual(sorted(name for name in names - {"TestTopic"} if not re.search(rf"\b{name}\b", code)), [])

    def test_options_of_the_batch_program_are_explained(self):
        names = re.findall(r'^ *Option\{\s*"([^"]+)"', (SOURCE / "src/batch/batchoptions.cpp").read_text(), re.MULTILINE)
        options = {f"--{name.split('|')[-1]}" for name in names} - {"--output", "--null", "--version", "--help"}
        self.assertGreater(len(options), 20)
        for name in ("guide.md", "guide.zh.md", "batch.md"):
            text = (SOURCE / "docs" / name).read_text(encoding="utf-8")
            self.assertEqual([option for option in sorted(options) if not re.search(rf"{option}\b", text)], [], name)


if __name__ == "__main__":
    unittest.main()
