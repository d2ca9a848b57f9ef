"""The sources include what the table of layers in docs/architecture.md allows."""

import os
import pathlib
import re
import unittest

SOURCE = pathlib.Path(os.environ["QUILLMARCH_SOURCE"])
CODE = SOURCE / "src"
GENERATED = {"base/buildconfig.h"}


def words(cell):
    return re.findall(r"`([^`]+)`", cell)


def table_of_layers():
    """Per layer: its folders, what it links, and which layers it may include."""
    text = (SOURCE / "docs" / "architecture.md").read_text(encoding="utf-8")
    rows = re.findall(r"^\| `(quillmarch_\w+)` \|([^|]*)\|([^|]*)\|([^|]*)\|$", text, re.MULTILINE)
    return {name: (words(folders), words(links), words(includes)) for name, folders, links, includes in rows}


def links_in_cmake():
    """Per layer: what src/CMakeLists.txt links to it."""
    text = (CODE / "CMakeLists.txt").read_text(encoding="utf-8")
    layers = {name: links.split() for name, links in re.findall(r"^quillmarch_add_layer\((\S+) (.*)\)$", text, re.MULTILINE)}
    base = re.search(r"^target_link_libraries\(quillmarch_base INTERFACE (.*)\)$", text, re.MULTILINE)
    return {"quillmarch_base": base[1].split(), **layers}


def code_files():
    return sorted(path for path in CODE.rglob("*") if path.suffix in (".h", ".cpp"))


def own_includes(path):
    return re.findall(r'^\s*#include "([^"]+)"', path.read_text(encoding="utf-8"), re.MULTILINE)


class Includes(unittest.TestCase):
    def setUp(self):
        self.layers = table_of_layers()
        self.assertGreaterEqual(len(self.layers), 7, "no table of layers")

    def layer_of(self, name):
        """The layer of a file, given relative to src. Programs belong to none."""
        folder, file = name.split("/", 1)
        if file == "main.cpp":
            return None
        if file.startswith("mainwindow"):
            return "quillmarch_window"
        return next((layer for layer, (folders, _, _) in self.layers.items() if folder in folders), "")

    def test_table_says_what_is_linked(self):
        self.assertEqual({layer: links for layer, (_, links, _) in self.layers.items()}, links_in_cmake())

    def test_table_names_each_folder_once(self):
        listed = [folder for folders, _, _ in self.layers.values() for folder in folders]
        self.assertEqual(sorted(listed), sorted(path.name for path in CODE.iterdir() if path.is_dir()))

    def test_arrows_run_one_way(self):
        above = set()
        for layer, (_, _, includes) in self.layers.items():
            self.assertFalse(set(includes) - above, f"{layer} may include a layer that is not above it in the table")
            above.add(layer)

    def test_includes_follow_the_table(self):
        mistakes = []
        for path in code_files():
            name = path.relative_to(CODE).as_posix()
            layer = self.layer_of(name)
            allowed = {layer, *self.layers[layer][2]} if layer else set(self.layers)
            for included in own_includes(path):
                if included not in GENERATED and not (CODE / included).is_file():
                    mistakes.append(f"{name} includes {included}, which is not in src")
                elif self.layer_of(included) not in allowed:
                    mistakes.append(f"{name} includes {included}")
        self.assertEqual(mistakes, [])

    def test_each_header_compiles_by_itself(self):
        """It does if it is the first include of a source that compiles."""
        sources = [path for folder in (CODE, SOURCE / "tests") for path in folder.rglob("*.cpp")]
        first = {(own_includes(path) or [""])[0] for path in sources}
        headers = {path.relative_to(CODE).as_posix() for path in code_files() if path.suffix == ".h"}
        self.assertEqual(sorted(headers - first), [])


if __name__ == "__main__":
    unittest.main()
