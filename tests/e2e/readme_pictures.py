"""Makes the pictures of the README from the program with the sample."""

import os
import pathlib
import sys

from desktop import Desktop, wait_until
from program import Program

SIZE = (1200, 820)  # of the window without its frame
TITLE_BAR = 20


def make_picture(path, config, title, use):
    desktop = Desktop()
    try:
        program = Program(desktop, config)
        program.start()
        desktop.xdotool("windowsize", "--sync", program.main, *SIZE)
        program.answer_file_dialog("ctrl+o", title, os.environ["QUILLMARCH_SAMPLE"])
        program.wait_for_document()
        program.picture()
        use(program)
        left, top, width, height = desktop.geometry(program.main)
        picture = desktop.calm_screen().part(left, top - TITLE_BAR, width, height + TITLE_BAR)
        picture.write_png(path)
        print(path)
    finally:
        desktop.close()


def point_at_the_first_cut(program):
    layout = program.layout()
    bar = wait_until(lambda: program.cut_bars(program.desktop.screen()), "a cut")[0]
    program.desktop.move(layout.main_view + 0.3 * layout.main_width, sum(bar) / 2)


def show_two_columns_with_numbers(program):
    program.click_tool("layout")
    program.click_tool("numbers")
    program.picture()  # repaints, at the scale that all pages share


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    make_picture(folder / "window-zh.png", None, "打开图像或PDF文件", point_at_the_first_cut)
    make_picture(
        folder / "window-en.png", {"language": "en"}, "open an image or pdf file", show_two_columns_with_numbers
    )


main()
