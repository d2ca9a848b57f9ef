"""Every command of docs/batch.md works as it is printed there."""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["QUILLMARCH_SOURCE"])
BATCH = pathlib.Path(os.environ["QUILLMARCH_BATCH"])
TEXT = (SOURCE / "docs/batch.md").read_text(encoding="utf-8")
SHOTS = ("shot-1.png", "shot-2.png", "shot-10.png")
MANY = 1000


def small_picture(number):
    """A picture of a few rows in PGM, with another shade for each number."""
    return b"P5 16 40 255\n" + bytes([number % 256]) * 16 * 40


def blocks(language):
    """The blocks of that language, without the indentation of a list."""
    found = re.findall(rf"^( *)```{language}\n(.*?)^\1```$", TEXT, re.MULTILINE | re.DOTALL)
    return [re.sub(rf"^{indentation}", "", body, flags=re.MULTILINE) for indentation, body in found]


def table_commands():
    return re.findall(r"^\|[^|]*\| `(quillmarch-batch [^`]*)` \|$", TEXT, re.MULTILINE)


class Commands(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="quillmarch-commands-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        (self.folder / "shots").mkdir()
        shutil.copy(SOURCE / "samples/dark-chat.png", self.folder / "chat.png")
        for shot in SHOTS:
            shutil.copy(SOURCE / "samples/dark-chat.png", self.folder / "shots" / shot)

    def run_script(self, script, **environment):
        path = f"{BATCH.parent}:{os.environ['PATH']}"
        result = subprocess.run(["bash", "-e", "-o", "pipefail", "-c", script], cwd=self.folder, text=True,
                                env={**os.environ, "PATH": path, **environment}, capture_output=True, timeout=300)
        self.assertEqual(result.returncode, 0, f"{script}\n{result.stdout}{result.stderr}")
        return result.stdout

    def files(self, pattern):
        return sorted(path.relative_to(self.folder).as_posix() for path in self.folder.glob(pattern))

    def assert_pdf(self, name):
        info = subprocess.run(["pdfinfo", self.folder / name], capture_output=True, text=True, check=True)
        self.assertRegex(info.stdout, r"Pages: +[1-9]")

    def test_commands_of_the_table(self):
        commands = table_commands()
        self.assertGreater(len(commands), 8)
        for command in commands:
            with self.subTest(command):
                shutil.rmtree(self.folder / "pages", ignore_errors=True)
                for old in self.files("*.pdf"):
                    (self.folder / old).unlink()
                self.run_script(command)
                made = self.files("*.pdf") + self.files("pages/*.pdf")
                self.assertEqual(bool(made), " -o " in command)
                for name in made:
                    self.assert_pdf(name)

    def test_scripts(self):
        scripts = blocks("sh")
        self.assertGreater(len(scripts), 5)
        for script in scripts:
            with self.subTest(script):
                self.run_script(script)
                for name in self.files("*.pdf") + self.files("pages/*.pdf"):
                    self.assert_pdf(name)
                    (self.folder / name).unlink()

    def test_makefile(self):
        (makefile,) = blocks("make")
        (self.folder / "Makefile").write_text(makefile)
        self.run_script("make -j 2")
        self.assertEqual(len(self.files("pages/*.pdf")), len(SHOTS))
        self.assertIn("Nothing to be done", self.run_script("make"))

    def test_array(self):
        (script,) = blocks("slurm")
        for task in range(1, 1 + len(SHOTS)):
            self.run_script(script, SLURM_ARRAY_TASK_ID=str(task))
        self.assertEqual(len(self.files("pages/*.pdf")), len(SHOTS))

    def test_thousand_pictures_through_parallel(self):
        shutil.rmtree(self.folder / "shots")
        (self.folder / "shots").mkdir()
        for number in range(MANY):
            (self.folder / f"shots/{number}.pgm").write_bytes(small_picture(number))
        (script,) = (script for script in blocks("sh") if "parallel" in script)
        self.run_script(script.replace("'*.png'", "'*.pgm'"))
        self.assertEqual(len(self.files("pages/*.pdf")), MANY)
        for number in (0, 17, MANY - 1):
            self.assert_pdf(f"pages/{number}.pdf")
        log = (self.folder / "log").read_text().splitlines()[1:]
        self.assertEqual({line.split("\t")[6] for line in log}, {"0"})
        self.assertEqual(len(log), MANY)


if __name__ == "__main__":
    unittest.main()
