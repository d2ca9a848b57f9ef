"""Takes the pictures in the README and in the guides: the program with the samples."""

import contextlib
import os
import pathlib
import shutil
import sys
import tempfile

from desktop import Desktop, stop, wait_until
from picture import Picture
from program import Program

SIZE = (1000, 700)  # of the window without its frame
TITLE_BAR = 20
VIEWER_SIZE = "680x780"
ABOUT = "关于"  # in both languages
SAMPLES = pathlib.Path(os.environ["QUILLMARCH_SAMPLES"])
LANGUAGES = {
    "zh": {
        "config": {},
        "open": "打开图像或PDF文件",
        "save": "导出到PDF",
        "chat": "long-chat.png",
        "dark": "dark-chat.png",
        "borders": "borders.png",
        "cut step": 87,  # screen pixels from the first cut of the chat to the gap below the next message
    },
    "en": {
        "config": {"language": "en"},
        "open": "open an image or pdf file",
        "save": "Save as PDF",
        "chat": "english-chat.png",
        "dark": "english-dark-chat.png",
        "borders": "english-borders.png",
        "cut step": 97,
    },
}

# 32 levels per channel make the files much smaller and look the same.
STEPS = bytes(round(round(level * 31 / 255) * 255 / 31) for level in range(256))


@contextlib.contextmanager
def folder_of_fixed_name():
    """A folder whose name is visible in a picture, and therefore always the same."""
    folder = pathlib.Path(tempfile.gettempdir()) / "quillmarch-pictures"
    folder.mkdir()
    try:
        yield folder
    finally:
        shutil.rmtree(folder)


class Session:
    """One run of the program on a separate screen, and the folder for its pictures."""

    def __init__(self, folder, language, settings=None):
        self.folder = folder
        self.language = language
        self.texts = LANGUAGES[language]
        self.desktop = Desktop()
        try:
            self.desktop.start(["xcompmgr"])  # without it, transparency is black
            self.program = Program(self.desktop, self.texts["config"] | (settings or {}))
            self.program.start()
            self.desktop.xdotool("windowsize", "--sync", self.program.main, *SIZE)
            self.program.picture()
            wait_until(self.shows_version, "the version in the status bar")
        except BaseException:
            self.desktop.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *error):
        self.desktop.close()

    def shows_version(self):
        """Whether the version is visible, which appears a second after the start."""
        left, top, width, height = self.desktop.geometry(self.program.main)
        screen = self.desktop.screen()
        row = screen.row(top + height - 10, left + width - 80, left + width - 30)
        return any(color != row[0] for color in row)

    # Actions

    def open(self, sample):
        """Opens the sample of that name in the session's language."""
        self.program.answer_file_dialog("ctrl+o", self.texts["open"], SAMPLES / self.texts[sample])
        self.program.wait_for_document()
        self.program.picture()

    def click_tools(self, *names):
        for name in names:
            self.program.click_tool(name)
            self.program.picture()

    def cut(self, index=0):
        """The position of a visible cut, a third of the view's width from its left."""
        layout = self.program.layout()
        bars = wait_until(lambda: self.program.cut_bars(self.desktop.screen())[index:], "a cut")
        return layout.main_view + 0.3 * layout.main_width, sum(bars[0]) / 2

    def scroll_to_cut(self, share):
        """Scrolls the strips until the first cut is at a share of the view's height."""
        layout = self.program.layout()
        middle = layout.main_view + layout.main_width / 2
        for _ in range(60):
            bars = self.program.cut_bars(self.program.picture())
            if bars and bars[0][0] < layout.top + share * (layout.bottom - layout.top):
                return
            self.desktop.wheel_down(middle, (layout.top + layout.bottom) / 2, 1)
        raise AssertionError("no cut became visible")

    def leave_cut(self):
        """Moves the pointer off a cut: directly out of the window, it would stay highlighted."""
        x, y = self.cut_position
        self.desktop.move(x, y - 60)
        self.program.rest_pointer()

    def point_at_cut(self):
        self.cut_position = self.cut()
        self.desktop.move(*self.cut_position)

    def drag_cut(self, distance):
        """Drags the cut under the pointer without releasing the button."""
        x, y = self.cut_position
        self.desktop.press()
        self.desktop.glide((x, y), (x, y + distance))
        self.cut_position = x, y + distance

    def scroll_to_top(self):
        layout = self.program.layout()
        for x in (layout.left + layout.left_width / 2, layout.main_view + layout.main_width / 2):
            self.desktop.xdotool("mousemove", round(x), layout.bottom - 50, "click", "--repeat", 60, "--delay", 10, 4)
        self.program.picture()

    # Pictures

    def keep(self, name, left, top, width, height):
        shot = self.desktop.stable_screen().part(left, top, width, height)
        path = self.folder / f"{name}-{self.language}.png"
        Picture(shot.width, shot.height, shot.stride, shot.data.translate(STEPS)).write_small_png(path)
        print(path, path.stat().st_size)

    def keep_window(self, name, window=None):
        left, top, width, height = self.desktop.geometry(window or self.program.main)
        self.keep(name, left, top - TITLE_BAR, width, height + TITLE_BAR)

    def keep_toast(self, name):
        """Takes the toast and what is around it."""
        left, top, width, height = wait_until(self.program.toast, "the toast")
        self.desktop.stable_screen()
        self.keep(name, left - 60, top - 60, width + 120, height + 120)
        wait_until(lambda: not self.program.toast(), "the end of the toast")

    def keep_views(self, name):
        """Takes both views, without the texts around them."""
        layout = self.program.layout()
        self.keep(name, layout.left, layout.top, layout.right - layout.left, layout.bottom - layout.top)

    def keep_cut(self, name):
        """Takes the middle of the main view, in which the cut is."""
        layout = self.program.layout()
        height = layout.bottom - layout.top
        self.keep(name, layout.main_view, layout.top + height // 4, layout.main_width, height // 2)


def show_the_window(folder, language):
    with Session(folder, language) as session:
        program, desktop = session.program, session.desktop
        session.keep_window("start")

        session.open("chat")
        session.point_at_cut()
        session.keep_window("window")

        session.leave_cut()
        program.activate(program.main)
        desktop.key("Alt_L")
        desktop.key("Right", "Down", "Down")
        left, top, _, _ = desktop.geometry(program.main)
        session.keep("menu", left, top, 520, 400)
        desktop.key("Escape", "Escape", "Escape")

        session.click_tools("layout", "numbers")
        program.picture()  # draws again, at the common scale of all pages
        session.keep_window("columns")

        with folder_of_fixed_name() as out:
            program.answer_file_dialog("ctrl+s", session.texts["save"], out / "chat.pdf")
            session.keep_toast("saved")
            show_in_viewer(session, out / "chat.pdf")
            program.answer_file_dialog("ctrl+o", session.texts["open"], out / "chat.pdf")
            session.keep_toast("refused")

        program.activate(program.main)
        desktop.key("Alt_L")
        desktop.key("Right", "Right", "Down", "Return")
        about = desktop.window(program.process, ABOUT)
        desktop.stable_screen()
        session.keep_window("about", about)


def show_in_viewer(session, file):
    """Takes the first page of a written file in a program that is not ours."""
    desktop = session.desktop
    viewer = desktop.start(["xpdf", "-g", VIEWER_SIZE, "-z", "page", str(file)])
    window = desktop.window_named(f"Xpdf: {file}")
    desktop.xdotool("windowactivate", "--sync", window)
    session.program.rest_pointer()
    session.keep_window("pdf", window)
    stop(viewer)


def show_hands(folder, language):
    with Session(folder, language) as session:
        program, desktop = session.program, session.desktop
        session.open("chat")
        session.scroll_to_cut(0.5)
        session.point_at_cut()
        session.keep_cut("cut-pointed-at")
        session.drag_cut(session.texts["cut step"])
        session.keep_cut("cut-dragged")
        desktop.release()
        session.leave_cut()
        program.picture()
        session.keep_cut("cut-moved")

        layout = program.layout()
        middle = layout.left + layout.left_width / 2, (layout.top + layout.bottom) / 2
        desktop.wheel_down(*middle, 14)
        program.picture()
        desktop.click(*middle)
        program.picture()
        session.keep_views("page-chosen")


def show_margins(folder, language):
    with Session(folder, language) as session:
        session.open("chat")
        session.click_tools("less margin", "less margin")
        session.keep_views("margin-0")
        session.click_tools(*["more margin"] * 6)
        session.keep_views("margin-30")


def show_trim(folder, language):
    with Session(folder, language) as session:
        session.open("borders")
        session.keep_views("trim-before")
        session.click_tools("trim")
        session.scroll_to_top()
        session.keep_views("trim-after")


def show_dark(folder, language, name, settings=None):
    with Session(folder, language, settings) as session:
        session.open("dark")
        layout = session.program.layout()
        middle = layout.main_view + layout.main_width / 2
        session.desktop.wheel_down(middle, layout.bottom - 20, 3)  # where no cut will be
        session.program.picture()
        session.keep_views(name)


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    for language in LANGUAGES:
        show_the_window(folder, language)
        show_hands(folder, language)
        show_margins(folder, language)
        show_trim(folder, language)
        show_dark(folder, language, "dark")
        show_dark(folder, language, "dark-calm", {"cutrule": "calm"})


main()
