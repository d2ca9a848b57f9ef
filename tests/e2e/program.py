"""The program, used by mouse and keyboard and measured on the screen."""

import configparser
import os
import pathlib
import shutil
import subprocess
import time
import unittest

import rulerimage
from desktop import Desktop, wait_until
from picture import Picture, runs_of

TITLE = "墨舟卷轴翻页器"
SCENE_GRAY = (150, 150, 150)
WHITE = (255, 255, 255)
TOOLS = (
    "open",
    "export",
    "print",
    "layout",
    "numbers",
    "trim",
    "less margin",
    "more margin",
    "zoom in",
    "zoom out",
)


def is_idle_handle(color):
    """The bar of a cut without the pointer on it: a faint shadow on the gray."""
    return color[0] == color[1] == color[2] and 136 <= color[0] <= 144


def is_pressed_handle(color):
    return abs(color[0] - 3) <= 4 and abs(color[1] - 103) <= 4 and abs(color[2] - 203) <= 4


class Layout:
    """The positions of the parts of the window in screen pixels; ends are excluded."""

    def __init__(self, picture, geometry):
        left, window_top, width, height = geometry
        edge = picture.column(left + 2, window_top, window_top + height)
        top, bottom = max(runs_of([c == SCENE_GRAY for c in edge]), key=lambda run: run[1] - run[0])
        self.top, self.bottom = window_top + top, window_top + bottom
        self.left, self.right = left, left + width
        self.left_view_end, self.main_view = self._splitter(picture)
        # The main view may have a scroll bar on its right side.
        row = picture.row(self.bottom - 2, self.main_view, self.right)
        self.main_view_end = self.main_view + max(end for _, end in runs_of([c == SCENE_GRAY for c in row]))
        self.handle = (self.main_view - 3, (self.top + self.bottom) // 2)

    def _splitter(self, picture):
        """The end of the left view and the start of the main view.

        Between their gray backgrounds are the splitter, 6 pixels wide, and with a
        document the scroll bar of the left view, 10 pixels wide.
        """
        row = picture.row(self.bottom - 2, self.left, self.right)
        gray = runs_of([c == SCENE_GRAY for c in row])
        for (_, end), (start, _) in zip(gray, gray[1:]):
            if start - end in (6, 16):
                return self.left + end, self.left + start
        raise AssertionError("no splitter between the views")

    @property
    def left_width(self):
        return self.left_view_end - self.left

    @property
    def main_width(self):
        return self.main_view_end - self.main_view


class Program:
    """An installed copy of the program, whose folder with `user.ini` outlives its runs."""

    def __init__(self, desktop, config=None):
        self.desktop = desktop
        self.folder = desktop.path / "program"
        self.folder.mkdir()
        self.executable = self.folder / "quillmarch"
        shutil.copy2(os.environ["QUILLMARCH_PROGRAM"], self.executable)
        self.config_file = self.folder / "user.ini"
        if config:
            lines = [f"{key}={value}\n" for key, value in config.items()]
            self.config_file.write_text("[config]\n" + "".join(lines), encoding="utf-8")
        self.work = desktop.path / "work"
        self.work.mkdir()

    def start(self):
        self.known_tools = None
        self.process = self.desktop.start([str(self.executable)], cwd=self.work)
        self.main = self.desktop.window(self.process, TITLE)
        self.activate(self.main)
        self.layout()  # waits for the two empty views

    def setting(self, key):
        """A value of `user.ini`, or None."""
        parser = configparser.ConfigParser(interpolation=None)
        parser.optionxform = str
        parser.read(self.config_file, encoding="utf-8")
        return parser.get("config", key, fallback=None)

    def activate(self, window):
        """Gives a window the keyboard focus."""
        self.desktop.xdotool("windowactivate", "--sync", window)

    def quit(self):
        """Quits by Ctrl+X and returns the exit status."""
        self.activate(self.main)
        self.desktop.key("ctrl+x")
        return self.process.wait(15)

    # The window

    def layout(self):
        """The positions of the parts; waits while the window is half painted."""
        end = time.monotonic() + 15
        while True:
            try:
                return Layout(self.desktop.screen(), self.desktop.geometry(self.main))
            except (AssertionError, ValueError, IndexError):
                if time.monotonic() > end:
                    raise
            time.sleep(0.02)

    def rest_pointer(self):
        """Moves the pointer out of the window, so that it highlights nothing."""
        self.desktop.move(self.desktop.screen().width - 2, 2)

    def picture(self):
        """The screen when the program has finished drawing."""
        self.rest_pointer()
        return self.desktop.stable_screen()

    def tools(self):
        """The tool buttons by name: left, top, right and bottom of their icons."""
        picture = self.picture()
        layout = self.layout()
        _, window_top, _, _ = self.desktop.geometry(self.main)
        paper = picture.at(layout.right - 3, layout.top - 25)

        def is_ink(color):
            return sum(abs(a - b) for a, b in zip(color, paper)) > 60

        rows = range(layout.top - 46, layout.top - 4)
        inked = [any(is_ink(picture.at(x, y)) for y in rows) for x in range(layout.left, layout.right)]
        groups = []
        for start, end in runs_of(inked):
            if groups and start - groups[-1][1] <= 5:
                groups[-1][1] = end
            else:
                groups.append([start, end])
        icons = []
        for start, end in groups:
            if end - start < 12:
                continue  # the handle of the tool bar, or a separator
            left, right = layout.left + start, layout.left + end
            marked = [y for y in rows if any(is_ink(picture.at(x, y)) for x in range(left, right))]
            icons.append((left, marked[0], right, marked[-1] + 1))
        if len(icons) != len(TOOLS):
            raise AssertionError(f"{len(icons)} tool buttons, not {len(TOOLS)}: {icons}")
        return dict(zip(TOOLS, icons))

    def click_tool(self, name):
        if self.known_tools is None:
            self.known_tools = self.tools()
        left, top, right, bottom = self.known_tools[name]
        self.desktop.click((left + right) / 2, (top + bottom) / 2)

    # Files

    def answer_file_dialog(self, keys, title, path):
        self.activate(self.main)
        self.desktop.key(keys)
        self.activate(self.desktop.window(self.process, title))
        self.desktop.write(str(path))
        self.desktop.key("Return")
        wait_until(lambda: title not in self.desktop.windows(self.process), f"the end of the dialog {title!r}")

    def wait_for_document(self):
        wait_until(lambda: self.pages(self.desktop.screen()), "output pages in the left view")

    def toast(self):
        """The geometry of the toast, or None."""
        for window in self.desktop.windows(self.process).values():
            if window != self.main:
                return self.desktop.geometry(window)
        return None

    # The left view: output pages

    def pages(self, picture):
        """Top and bottom of the visible pages, which the view may clip."""
        layout = self.layout()
        x = layout.left + round(0.1 * layout.left_width) + 6  # in the left margin
        column = picture.column(x, layout.top, layout.bottom)
        runs = runs_of([c == WHITE for c in column])
        return [(layout.top + a, layout.top + b) for a, b in runs if b - a > 10]

    def page_edges(self, picture, page):
        """Left and right end of a page in the left view."""
        layout = self.layout()
        row = picture.row(page[0] + 3, layout.left, layout.left_view_end)
        sheet = [x for x, c in enumerate(row) if c != SCENE_GRAY]
        return layout.left + sheet[0], layout.left + sheet[-1] + 1

    def number_box_ink(self, picture, page):
        """The number of pixels that are not white where a page of the ruler has its number."""
        left, right = self.page_edges(picture, page)
        width = right - left
        _, bottom = page
        box = picture.part(
            round(right - width / 5) + 3, round(bottom - width / 15) + 3, int(width / 5) - 6, int(width / 15) - 6
        )
        return sum(box.at(x, y) != WHITE for x in range(box.width) for y in range(box.height))

    def rows_on_page(self, picture, page, x_share=0.5):
        """First and last source row of the ruler that a page shows at a share of its width."""
        left, right = self.page_edges(picture, page)
        x = round(left + x_share * (right - left))
        rows = rulerimage.rows_of(picture.column(x, page[0] + 2, page[1] - 2))
        return rows[0], rows[-1]

    def content_share(self, picture, page):
        """The width of the strip as a share of the page's width, in the middle of the visible part."""
        left, right = self.page_edges(picture, page)
        y = (page[0] + page[1]) // 2
        inked = [x for x in range(left + 2, right - 2) if picture.at(x, y) != WHITE]
        return (inked[-1] + 1 - inked[0]) / (right - left)

    # The main view: strips

    def strip_edges(self, picture, y):
        layout = self.layout()
        row = picture.row(y, layout.main_view, layout.main_view_end)
        inked = [x for x, c in enumerate(row) if c != SCENE_GRAY]
        return layout.main_view + inked[0], layout.main_view + inked[-1] + 1

    def strip_scale(self):
        """Screen pixels per source pixel of the ruler in the main view."""
        picture = self.picture()
        layout = self.layout()
        left, right = self.strip_edges(picture, layout.top + 20)
        return (right - left) / rulerimage.WIDTH

    def cut_bars(self, picture):
        """Top and bottom of the cut handles that are completely visible in the main view."""
        layout = self.layout()
        x = layout.main_view + round(0.3 * layout.main_width)
        column = picture.column(x, layout.top, layout.bottom)
        runs = runs_of([is_idle_handle(c) for c in column])
        return [(layout.top + a, layout.top + b) for a, b in runs if b - a >= 4 and b < len(column)]

    def cut_row(self, picture, bar):
        """The source row of the ruler at a cut, measured at the end of the strip above it."""
        layout = self.layout()
        x = layout.main_view + round(0.3 * layout.main_width)
        return rulerimage.rows_of(picture.column(x, layout.top, bar[0]))[-1]


def expected_content_width(percent, first_strip=1000):
    """The width of the ruler's first strip as a share of its page.

    Pages have 840 columns and 1204 rows. The scale fits the tallest strip, which
    has 700 columns and 1140 rows, between the margins. These are `percent` of the
    height of the first strip when the margin is set, with its handle of 20 rows.
    """
    return 700 / 1140 * (1204 - 2 * percent * (first_strip + 20) / 100) / 840


class ProgramTest(unittest.TestCase):
    """A screen and a program for each test, and a screenshot at its end."""

    config = None
    environment = None

    def setUp(self):
        self.desktop = Desktop(self.environment)
        self.addCleanup(self.desktop.close)
        self.addCleanup(lambda: self.shoot("end"))
        self.program = Program(self.desktop, self.config)

    def shoot(self, name):
        folder = pathlib.Path(os.environ["QUILLMARCH_SCREENSHOTS"])
        folder.mkdir(parents=True, exist_ok=True)
        self.desktop.screen().write_png(folder / f"{self.id().replace('__main__.', '')}-{name}.png")

    def assertShowsFirstPage(self):
        """The first page shows the ruler from its top to the first white line."""
        picture = self.program.picture()
        first, last = self.program.rows_on_page(picture, self.program.pages(picture)[0])
        self.assertNear(first, 0, 8, "first row of page 1")
        self.assertNear(last, rulerimage.WHITE_LINES[0], 8, "last row of page 1")

    def content_width(self):
        """The width of the first strip as a share of the width of its page."""
        picture = self.program.picture()
        return self.program.content_share(picture, self.program.pages(picture)[0])

    def number_ink(self):
        picture = self.program.picture()
        return self.program.number_box_ink(picture, self.program.pages(picture)[0])

    def assertNear(self, value, expected, tolerance, what=""):
        self.assertLessEqual(abs(value - expected), tolerance, f"{what}: {value} is not {expected} ± {tolerance}")

    def assertBecomes(self, measure, expected, tolerance, what=""):
        """Waits until the program shows the result of a command."""
        value = None

        def is_near():
            nonlocal value
            try:
                value = measure()
            except IndexError:  # what is measured is not visible yet
                return False
            return abs(value - expected) <= tolerance

        try:
            wait_until(is_near, what)
        except AssertionError as error:
            raise AssertionError(f"{what}: {value} is not {expected} ± {tolerance}") from error

    def paint_ruler(self, name="ruler.png", border=0):
        path = self.desktop.path / name
        rulerimage.paint(path, border)
        return path

    def open_ruler(self):
        self.program.answer_file_dialog("ctrl+o", "打开图像或PDF文件", self.paint_ruler())
        self.program.wait_for_document()

    def pdf_pages(self, path):
        """The output of pdfinfo and a picture of each page at 60 dpi."""
        info = subprocess.run(["pdfinfo", path], capture_output=True, text=True, check=True, timeout=60).stdout
        prefix = self.desktop.path / f"page-{time.monotonic_ns()}"
        subprocess.run(["pdftoppm", "-r", "60", path, prefix], check=True, timeout=60)
        files = sorted(self.desktop.path.glob(prefix.name + "-*.ppm"))
        return info, [Picture.from_ppm(file.read_bytes()) for file in files]
