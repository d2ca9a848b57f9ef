#!/usr/bin/env python3
"""Draws the pictures of docs/architecture.md: layers.svg and objects.svg.

The layers are read from the table in that document, and compared with the
CMake files and the includes of the sources. The objects are drawn as listed in
FACTS: declarations and calls that must be in the sources.

    scripts/diagrams.py           writes both into docs/images
    scripts/diagrams.py --check   fails if the committed ones differ
"""

import pathlib
import re
import sys
from xml.sax.saxutils import escape

ROOT = pathlib.Path(__file__).resolve().parent.parent
INK, GRAY, PAPER = "#1f2328", "#6e7781", "#ffffff"
BLUE, GREEN, SAND = "#ddf0ff", "#e2f5e4", "#fff3d6"


class Mismatch(Exception):
    """The document, the CMake files and the sources contradict each other."""


class Drawing:
    def __init__(self, width, height, title):
        self.width, self.height, self.title = width, height, title
        self.lines = []

    def box(self, x, y, width, height, fill, dashed=False):
        dash = ' stroke-dasharray="6 4"' if dashed else ""
        self.lines.append(f'<rect x="{x}" y="{y}" width="{width}" height="{height}" rx="6" fill="{fill}" stroke="{INK}"{dash}/>')

    def text(self, x, y, words, size=14, color=INK, anchor="middle", weight="normal"):
        self.lines.append(
            f'<text x="{x}" y="{y}" font-size="{size}" fill="{color}" text-anchor="{anchor}" font-weight="{weight}">'
            f"{escape(words)}</text>")

    def line(self, start, end, color=INK, dashed=False, width=1.5):
        dash = ' stroke-dasharray="5 4"' if dashed else ""
        self.lines.append(
            f'<line x1="{start[0]}" y1="{start[1]}" x2="{end[0]}" y2="{end[1]}" stroke="{color}" stroke-width="{width}"{dash}/>')

    def arrow(self, start, end, color=INK, dashed=False, both=False):
        self.line(start, end, color, dashed)
        self.head(start, end, color)
        if both:
            self.head(end, start, color)

    def head(self, start, end, color):
        """An arrowhead at the end; markers are not known to every renderer."""
        dx, dy = end[0] - start[0], end[1] - start[1]
        length = (dx * dx + dy * dy) ** 0.5
        dx, dy = dx / length, dy / length
        back = (end[0] - 9 * dx, end[1] - 9 * dy)
        points = [end, (back[0] - 4 * dy, back[1] + 4 * dx), (back[0] + 4 * dy, back[1] - 4 * dx)]
        self.lines.append(f'<polygon points="{" ".join(f"{x:.1f},{y:.1f}" for x, y in points)}" fill="{color}"/>')

    def owner(self, start, end, down=True):
        """A vertical line with a diamond at its start, the owner's end."""
        self.line(start, end)
        x, y = start
        half = 7 if down else -7
        self.lines.append(f'<polygon points="{x},{y} {x - 5},{y + half} {x},{y + 2 * half} {x + 5},{y + half}" fill="{INK}"/>')

    def svg(self):
        return "\n".join([
            f'<svg xmlns="http://www.w3.org/2000/svg" width="{self.width}" height="{self.height}" '
            f'viewBox="0 0 {self.width} {self.height}" font-family="Liberation Sans, Arial, sans-serif">',
            f"<title>{escape(self.title)}</title>",
            f'<rect width="{self.width}" height="{self.height}" fill="{PAPER}"/>',
            *self.lines,
            "</svg>",
        ]) + "\n"


def read(root, name):
    return (root / name).read_text(encoding="utf-8")


def table_of_layers(root):
    """Per layer: its folders, what it links, and which layers it may include."""
    rows = re.findall(r"^\| `(quillmarch_\w+)` \|([^|]*)\|([^|]*)\|([^|]*)\|$", read(root, "docs/architecture.md"), re.MULTILINE)
    return {name: tuple(re.findall(r"`([^`]+)`", cell) for cell in cells) for name, *cells in rows}


def links_in_cmake(root):
    text = read(root, "src/CMakeLists.txt")
    links = {name: words.split() for name, words in re.findall(r"^quillmarch_add_layer\((\S+) (.*)\)$", text, re.MULTILINE)}
    base = re.search(r"^target_link_libraries\(quillmarch_base INTERFACE (.*)\)$", text, re.MULTILINE)
    return {"quillmarch_base": base[1].split() if base else [], **links}


def programs(root):
    """Per program: the layer that it links."""
    calls = [call for path in sorted(root.glob("src/*/CMakeLists.txt"))
             for call in re.findall(r"^quillmarch_add_program\((\S+) (\S+) ", path.read_text(encoding="utf-8"), re.MULTILINE)]
    return dict(calls)


def layer_of(layers, name):
    """The layer of a file of src; None for the main function of a program."""
    folder, file = name.split("/", 1)
    if file == "main.cpp":
        return None
    if file.startswith("mainwindow"):
        return "quillmarch_window"
    for layer, (folders, _, _) in layers.items():
        if folder in folders:
            return layer
    raise Mismatch(f"src/{name} is in no layer of the table")


def arrows_of(layers):
    """Per layer: those of ours that it links. Every layer links the base, which
    is drawn only where no other layer is between."""
    own = {layer: [link for link in links if link in layers] for layer, (_, links, _) in layers.items()}
    return {layer: own[layer] or ["quillmarch_base"] for layer in layers if layer != "quillmarch_base"}


def reachable(arrows, layer):
    found = {layer}
    for below in arrows.get(layer, []):
        found |= reachable(arrows, below)
    return found


def checked_layers(root):
    layers = table_of_layers(root)
    if {layer: links for layer, (_, links, _) in layers.items()} != links_in_cmake(root):
        raise Mismatch("the table of layers in docs/architecture.md does not say what src/CMakeLists.txt links")
    arrows = arrows_of(layers)
    for path in sorted([*root.glob("src/*/*.cpp"), *root.glob("src/*/*.h")]):
        name = path.relative_to(root / "src").as_posix()
        layer = layer_of(layers, name)
        for included in re.findall(r'^#include "([^"]+)"', path.read_text(encoding="utf-8"), re.MULTILINE):
            if layer and layer_of(layers, included) not in reachable(arrows, layer):
                raise Mismatch(f"src/{name} includes {included}, to which no arrow leads")
    return layers


def depths(arrows, layers):
    depth = {}
    for layer in layers:  # the lowest are first in the table
        depth[layer] = 1 + max((depth[below] for below in arrows.get(layer, [])), default=-1)
    return depth


def layers_picture(root):
    layers = checked_layers(root)
    arrows = arrows_of(layers)
    depth = depths(arrows, layers)
    top = max(depth.values()) + 1
    rows = [[layer for layer in layers if depth[layer] == level] for level in range(top)]
    arrows = {**arrows, **{program: [layer] for program, layer in programs(root).items()}}
    rows.append(sorted(programs(root), key=lambda name: list(layers).index(arrows[name][0])))

    drawing = Drawing(760, 92 * (top + 1) + 40, "The layers of src, and which links which")
    place = {}
    for level, names in enumerate(rows):
        for i, name in enumerate(names):
            x = 760 * (2 * i + 1) // (2 * len(names))
            y = 20 + 92 * (top - level)
            place[name] = (x, y)
            draw_layer(drawing, x, y, name, layers.get(name))
    for name, below in arrows.items():
        for other in below:
            drawing.arrow((place[name][0], place[name][1] + 56), (place[other][0], place[other][1] - 2))
    drawing.text(20, drawing.height - 12, "An arrow leads to what a layer links, and may include.", 12, GRAY, "start")
    return drawing.svg()


def draw_layer(drawing, x, y, name, layer):
    drawing.box(x - 165, y, 330, 56, BLUE if layer else SAND)
    drawing.text(x, y + 22, name, 15, weight="bold")
    if layer:
        folders, links, _ = layer
        qt = [link.replace("::", " ") for link in links if link.startswith("Qt6::")]
        drawing.text(x, y + 43, " \u00b7 ".join(["src/" + ", src/".join(folders), *qt]), 11, GRAY)
    else:
        drawing.text(x, y + 43, "program", 12, GRAY)


# What the picture of the objects shows: the file, and the words in it.
FACTS = [
    ("src/app/mainwindow.h", "QPixmap sourcePixmap;"),
    ("src/app/mainwindow.h", "QGraphicsScene *currentOutputScene = nullptr;"),
    ("src/ui/mainwindow_views.cpp", "keepForever(new QGraphicsScene)"),
    ("src/ui/mainwindow_views.cpp", "mainView->setScene(pageScene);"),
    ("src/ui/mainwindow_views.cpp", "leftView->setScene(currentOutputScene);"),
    ("src/ui/mainwindow_views.cpp", "currentOutputScene == oneColumnScene ? twoColumnScene : oneColumnScene"),
    ("src/app/mainwindow.cpp", "splitter->addWidget(leftView);"),
    ("src/app/mainwindow.cpp", "splitter->addWidget(mainView);"),
    ("src/app/mainwindow.cpp", "pageScene->addItem(strip);"),
    ("src/app/mainwindow.cpp", "scene->addItem(page);"),
    ("src/app/mainwindow.cpp", "addPages(oneColumnScene, items.oneColumnPages)"),
    ("src/app/mainwindow.cpp", "addPages(twoColumnScene, items.twoColumnPages)"),
    ("src/output/documentitems.cpp", "constexpr int stripsPerTwoColumnPage = 4;"),
    ("src/output/documentitems.cpp", "strips.last()->linkNext(strip.get());"),
    ("src/output/documentitems.cpp", "pages.last()->setNextPage(page.get());"),
    ("src/page/pageitem.h", "PageItem *m_prevItem = nullptr;"),
    ("src/page/pageitem.h", "PageItem *m_nextItem = nullptr;"),
    ("src/page/pageitem.h", "QList<PreviewItem *> previews;"),
    ("src/page/pageitem.h", "QPixmap sourcePixmap;"),
    ("src/page/pageitem.h", "std::shared_ptr<RowConverter> converter;"),
    ("src/output/previewitem.h", "QList<PageItem *> strips;"),
    ("src/output/previewitem.h", "PreviewItem *m_nextPage = nullptr;"),
]


def check_facts(root):
    for name, words in FACTS:
        if words not in read(root, name):
            raise Mismatch(f"objects.svg shows what {name} no longer has: {words}")


def objects_picture(root):
    check_facts(root)
    drawing = Drawing(980, 790, "The objects of an open document: who owns what, who points to what")
    draw_window(drawing)
    draw_scenes(drawing)
    draw_owner_of_scenes(drawing)
    draw_legend(drawing)
    return drawing.svg()


def draw_window(drawing):
    drawing.box(390, 16, 200, 44, SAND)
    drawing.text(490, 43, "MainWindow", 15, weight="bold")
    for x, name, note in ((60, "LeftView *leftView", "shows currentOutputScene"), (390, "MainView *mainView", "shows pageScene")):
        drawing.box(x, 104, 200, 48, SAND)
        drawing.text(x + 100, 124, name)
        drawing.text(x + 100, 142, note, 12, GRAY)
    drawing.box(720, 104, 200, 48, GREEN)
    drawing.text(820, 124, "pixels of the image", weight="bold")
    drawing.text(820, 142, "QPixmap sourcePixmap", 12, GRAY)
    drawing.owner((490, 60), (490, 103))
    drawing.owner((420, 60), (420, 82))
    drawing.line((420, 82), (160, 82))
    drawing.line((160, 82), (160, 103))
    drawing.arrow((590, 38), (740, 102))
    drawing.arrow((130, 152), (130, 212))
    drawing.arrow((460, 152), (460, 212))
    drawing.line((190, 152), (190, 192), dashed=True)
    drawing.line((190, 192), (820, 192), dashed=True)
    drawing.arrow((820, 192), (820, 212), dashed=True)
    drawing.arrow((570, 214), (728, 154))


STRIP_TOPS = [262 + 62 * i for i in range(5)]


def draw_scenes(drawing):
    for x, name, note in ((60, "oneColumnScene", "a page for each strip"), (390, "pageScene", "the chain of strips"),
                          (720, "twoColumnScene", "a page for every 4 strips")):
        drawing.box(x, 214, 200, 374, PAPER)
        drawing.text(x + 100, 234, name, weight="bold")
        drawing.text(x + 100, 251, note, 12, GRAY)
    for i, top in enumerate(STRIP_TOPS):
        draw_item(drawing, 80, top, 42, f"PreviewItem {i}", BLUE)
        draw_item(drawing, 410, top, 42, f"PageItem {i}", BLUE)
        drawing.arrow((242, top + 21), (408, top + 21), both=True)
        if i > 0:
            drawing.arrow((160, top - 20), (160, top - 1))
            drawing.arrow((490, top - 20), (490, top - 1), both=True)
    draw_item(drawing, 740, STRIP_TOPS[0], 228, "PreviewItem 0", BLUE)
    draw_item(drawing, 740, STRIP_TOPS[4], 42, "PreviewItem 1", BLUE)
    drawing.arrow((820, STRIP_TOPS[4] - 20), (820, STRIP_TOPS[4] - 1))
    for top in STRIP_TOPS:
        drawing.arrow((572, top + 21), (738, top + 21), both=True)
    drawing.text(325, STRIP_TOPS[0] + 12, "strips / previews", 12, GRAY)
    drawing.text(655, STRIP_TOPS[0] + 12, "previews / strips", 12, GRAY)


def draw_item(drawing, x, y, height, name, fill):
    drawing.box(x, y, 160, height, fill)
    drawing.text(x + 80, y + height // 2 + 5, name)


def draw_owner_of_scenes(drawing):
    drawing.box(60, 624, 860, 34, GREEN)
    drawing.text(490, 646, "keepForever(): the scenes are never destroyed", weight="bold")
    for x in (160, 490, 820):
        drawing.owner((x, 624), (x, 588), down=False)


def draw_legend(drawing):
    drawing.owner((80, 682), (80, 710))
    drawing.text(96, 702, "owns; a scene also owns the items in it", 12, GRAY, "start")
    drawing.arrow((340, 698), (390, 698))
    drawing.text(400, 702, "points to, or shares, and does not own", 12, GRAY, "start")
    drawing.arrow((640, 698), (690, 698), dashed=True)
    drawing.text(700, 702, "the same, in the two-column layout", 12, GRAY, "start")
    for i, words in enumerate((
            "MainWindow, and each strip, hold the same pixels: a QPixmap is shared, not copied. MainWindow also points to the scenes.",
            "The strips share one RowConverter, the buffer that drawing converts rows in.",
            "A rebuild clears the three scenes and makes new strips and pages; no event is processed in between.")):
        drawing.text(80, 730 + 18 * i, words, 12, GRAY, "start")


def pictures(root):
    """Per file name in docs/images: its text."""
    return {"layers.svg": layers_picture(root), "objects.svg": objects_picture(root)}


def stale(root):
    """The names of the pictures that are not what this script draws now."""
    folder = root / "docs" / "images"
    return [name for name, text in pictures(root).items()
            if not (folder / name).is_file() or read(folder, name) != text]


def main(arguments):
    if arguments not in ([], ["--check"]):
        sys.exit("Usage: scripts/diagrams.py [--check]")
    try:
        if arguments:
            names = stale(ROOT)
            sys.exit(f"diagrams.py: run scripts/diagrams.py again, it draws differently: {', '.join(names)}" if names else 0)
        for name, text in pictures(ROOT).items():
            (ROOT / "docs" / "images" / name).write_text(text, encoding="utf-8")
    except Mismatch as mismatch:
        sys.exit(f"diagrams.py: {mismatch}")


if __name__ == "__main__":
    main(sys.argv[1:])
