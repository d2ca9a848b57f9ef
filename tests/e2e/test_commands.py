"""From the open dialog to the PDF file, with all commands of the tool bar."""

import os
import unittest

import rulerimage
from desktop import wait_until
from program import WHITE, ProgramTest, expected_content_width


class Commands(ProgramTest):
    open_title = "打开图像或PDF文件"
    save_title = "导出到PDF"
    icon_size = 32

    def open(self, path):
        self.program.answer_file_dialog("ctrl+o", self.open_title, path)
        self.program.wait_for_document()

    def export(self, name):
        path = self.desktop.path / name
        self.program.answer_file_dialog("ctrl+s", self.save_title, path)
        wait_until(lambda: path.exists() and path.read_bytes().rstrip().endswith(b"%%EOF"), "a complete PDF file")
        wait_until(self.program.toast, "the toast after the export")
        return path

    def test_opensAndRemembersTheFolder(self):
        self.program.start()
        self.shoot("start")
        self.open(os.environ["QUILLMARCH_SAMPLE"])
        wait_until(
            lambda: self.program.setting("imagedir") == os.path.dirname(os.environ["QUILLMARCH_SAMPLE"]),
            "the folder in user.ini",
        )
        picture = self.program.picture()
        self.shoot("sample")
        layout = self.program.layout()
        left, right = self.program.strip_edges(picture, layout.top + 100)
        self.assertNear((right - left) / layout.main_width, 0.75, 0.01, "share of the view that the strips take")
        # The sample is not a blank page: the strips show many colors.
        colors = {picture.at(x, y) for x in range(left, right, 3) for y in range(layout.top, layout.bottom, 3)}
        self.assertGreater(len(colors), 50)

    def test_toolButtonsFitTheScreenDensity(self):
        self.program.start()
        self.open(self.paint_ruler())
        for name, (left, top, right, bottom) in self.program.tools().items():
            # Icons have a small empty margin.
            self.assertGreaterEqual(max(right - left, bottom - top), self.icon_size * 0.6, name)
            self.assertLessEqual(max(right - left, bottom - top), self.icon_size, name)
        self.shoot("tools")

    def test_cutsAreInTheWhiteLines(self):
        self.program.start()
        self.open(self.paint_ruler())

        def first_cut():
            picture = self.program.picture()
            return self.program.cut_row(picture, self.program.cut_bars(picture)[0])

        self.assertBecomes(first_cut, rulerimage.WHITE_LINES[0], 8, "first cut")
        self.assertShowsFirstPage()

    def test_zoomsInStepsUpToItsLimits(self):
        self.program.start()
        self.open(self.paint_ruler())

        def share():
            picture = self.program.picture()
            layout = self.program.layout()
            left, right = self.program.strip_edges(picture, layout.top + 20)
            return (right - left) / layout.main_width

        self.assertBecomes(share, 0.75, 0.01, "at first")
        for expected in (0.80, 0.85, 0.90, 0.90):
            self.program.click_tool("zoom in")
            self.assertBecomes(share, expected, 0.01, "after a step in")
        self.shoot("in")
        for expected in (0.85, 0.80, 0.75, 0.70, 0.65, 0.60, 0.55, 0.50, 0.45, 0.45):
            self.program.click_tool("zoom out")
            self.assertBecomes(share, expected, 0.01, "after a step out")

    def test_marginButtonsMoveTheContentAndAreRemembered(self):
        self.program.start()
        self.open(self.paint_ruler())

        self.assertBecomes(self.content_width, expected_content_width(10), 0.015, "at first")
        for button, percent in (("less margin", 5), ("less margin", 0), ("more margin", 5), ("more margin", 10)):
            self.program.click_tool(button)
            wait_until(lambda: self.program.setting("marginsc") == str(percent), f"{percent} percent in user.ini")
            self.assertBecomes(self.content_width, expected_content_width(percent, 950), 0.015, f"at {percent} percent")

    def test_exportsWhatTheLeftViewShows(self):
        self.program.start()
        self.open(self.paint_ruler())
        single = self.export("single.pdf")
        self.shoot("toast")
        info, pages = self.pdf_pages(single)
        self.assertRegex(info, r"Pages:\s+5\n")
        self.assertRegex(info, r"Page size:\s+59[45](\.\d+)? x 84[12](\.\d+)? pts \(A4\)")
        self.assertEqual(len(pages), 5)
        cuts = [0, *rulerimage.WHITE_LINES, rulerimage.HEIGHT]
        for number, (page, first, last) in enumerate(zip(pages, cuts, cuts[1:])):
            rows = rulerimage.rows_of(page.column(page.width // 2, 0, page.height))
            self.assertNear(rows[0], first, 14, f"first row of PDF page {number + 1}")
            self.assertNear(rows[-1], last, 14, f"last row of PDF page {number + 1}")
        wait_until(lambda: self.program.setting("savepath") == str(self.desktop.path), "the folder in user.ini")

        self.program.click_tool("layout")

        def top_of_column(x_share):
            picture = self.program.picture()
            return self.program.rows_on_page(picture, self.program.pages(picture)[0], x_share)[0]

        self.assertBecomes(lambda: top_of_column(0.7), rulerimage.WHITE_LINES[1], 24, "top of the right column")
        self.assertBecomes(lambda: top_of_column(0.3), 0, 10, "top of the left column")
        self.shoot("two-columns")
        info, pages = self.pdf_pages(self.export("double.pdf"))
        self.assertRegex(info, r"Pages:\s+2\n")
        for number, page in enumerate(pages):
            inked = sum(c != WHITE for y in range(0, page.height, 4) for c in page.row(y, 0, page.width))
            self.assertGreater(inked, 2000, f"PDF page {number + 1} is blank")

    def test_pageNumbersAppearOnScreenAndInTheFile(self):
        self.program.start()
        self.open(self.paint_ruler())

        self.assertEqual(self.number_ink(), 0)
        self.program.click_tool("numbers")
        wait_until(lambda: self.number_ink() > 3, "a page number")
        self.shoot("numbers")
        _, pages = self.pdf_pages(self.export("numbered.pdf"))
        plain = pages[0].part(0, pages[0].height * 88 // 100, pages[0].width, pages[0].height * 12 // 100)
        self.assertTrue(any(c != WHITE for y in range(plain.height) for c in plain.row(y, 0, plain.width)))
        self.program.click_tool("numbers")
        wait_until(lambda: self.number_ink() == 0, "no page number")

    def test_trimRemovesTheWhiteBorder(self):
        self.program.start()
        self.open(self.paint_ruler("bordered.png", border=90))

        def starts_with_white():
            picture = self.program.picture()
            layout = self.program.layout()
            left, _ = self.program.strip_edges(picture, layout.top + 60)
            return picture.at(left + 3, layout.top + 60) == WHITE

        self.assertTrue(starts_with_white())
        self.program.click_tool("trim")
        wait_until(lambda: not starts_with_white(), "strips without the white border")
        _, pages = self.pdf_pages(self.export("trimmed.pdf"))
        self.assertEqual(len(pages), 5)  # like the picture without a border


class CommandsInEnglish(Commands):
    config = {"language": "en"}
    environment = {"QT_ENABLE_HIGHDPI_SCALING": "0", "QT_FONT_DPI": "144"}
    open_title = "open an image or pdf file"
    save_title = "Save as PDF"
    icon_size = 40


if __name__ == "__main__":
    unittest.main(verbosity=2)
