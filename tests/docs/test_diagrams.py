"""The pictures of docs/architecture.md are what scripts/diagrams.py draws."""

import importlib.util
import os
import pathlib
import shutil
import tempfile
import unittest
import xml.etree.ElementTree

SOURCE = pathlib.Path(os.environ["QUILLMARCH_SOURCE"])
SVG = "{http://www.w3.org/2000/svg}"


def load_script():
    spec = importlib.util.spec_from_file_location("diagrams", SOURCE / "scripts" / "diagrams.py")
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


diagrams = load_script()


def words_in(picture):
    return [text.text for text in xml.etree.ElementTree.fromstring(picture).iter(f"{SVG}text")]


class CommittedPictures(unittest.TestCase):
    def test_are_up_to_date(self):
        self.assertEqual(diagrams.stale(SOURCE), [], "run scripts/diagrams.py")

    def test_name_every_layer_and_program(self):
        words = words_in((SOURCE / "docs" / "images" / "layers.svg").read_text(encoding="utf-8"))
        for name in ("quillmarch_base", "quillmarch_pixels", "quillmarch_document", "quillmarch_batch", "quillmarch_ui",
                     "quillmarch_update", "quillmarch_window", "quillmarch", "quillmarch-batch"):
            self.assertIn(name, words)


class ChangedProject(unittest.TestCase):
    """A copy of what the script reads, changed in one place."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        shutil.copytree(SOURCE / "src", self.root / "src")
        (self.root / "docs").mkdir()
        shutil.copy(SOURCE / "docs" / "architecture.md", self.root / "docs")
        shutil.copytree(SOURCE / "docs" / "images", self.root / "docs" / "images", ignore=shutil.ignore_patterns("*.png"))

    def change(self, name, old, new):
        file = self.root / name
        text = file.read_text(encoding="utf-8")
        self.assertEqual(text.count(old), 1, old)
        file.write_text(text.replace(old, new), encoding="utf-8")

    def assert_refused(self, words):
        with self.assertRaisesRegex(diagrams.Mismatch, words):
            diagrams.pictures(self.root)

    def test_copy_is_accepted(self):
        self.assertEqual(diagrams.stale(self.root), [])

    def test_new_program_changes_the_picture(self):
        self.change("src/batch/CMakeLists.txt", "quillmarch_add_program(quillmarch-batch ", "quillmarch_add_program(other ")
        self.assertEqual(diagrams.stale(self.root), ["layers.svg"])

    def test_refuses_a_link_that_is_not_in_the_table(self):
        self.change("src/CMakeLists.txt", "quillmarch_add_layer(quillmarch_ui Qt6::Widgets)",
                    "quillmarch_add_layer(quillmarch_ui quillmarch_pixels Qt6::Widgets)")
        self.assert_refused("table of layers")

    def test_refuses_an_include_against_the_arrows(self):
        (self.root / "src" / "pixels" / "upward.cpp").write_text('#include "page/pageitem.h"\n', encoding="utf-8")
        self.assert_refused("src/pixels/upward.cpp includes page/pageitem.h")

    def test_refuses_a_folder_without_a_layer(self):
        (self.root / "src" / "new").mkdir()
        (self.root / "src" / "new" / "new.cpp").write_text("", encoding="utf-8")
        self.assert_refused("src/new/new.cpp is in no layer")

    def test_refuses_a_pointer_that_is_gone(self):
        self.change("src/page/pageitem.h", "PageItem *m_nextItem = nullptr;", "int m_nextItem = 0;")
        self.assert_refused("m_nextItem")


if __name__ == "__main__":
    unittest.main()
