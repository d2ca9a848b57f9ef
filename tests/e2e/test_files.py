"""Files dropped on the window, and files that are not pictures."""

import os
import unittest

from desktop import wait_until
from program import ProgramTest


class Drop(ProgramTest):
    def setUp(self):
        super().setUp()
        self.program.start()

    def drop(self, address, target):
        log = self.desktop.path / "drag.txt"
        with log.open("w") as output:
            source = self.desktop.start([os.environ["QUILLMARCH_DRAG_SOURCE"], address], stdout=output)
        window = self.desktop.window(source, "drag source")
        left, top, width, height = self.desktop.geometry(window)
        start = (left + width / 2, top + height / 2)
        self.desktop.move(*start)
        self.desktop.press()
        self.desktop.glide(start, target, steps=20)
        self.desktop.glide(target, (target[0] + 3, target[1] + 3), steps=3)
        wait_until(lambda: "accepted" in log.read_text(), "a target that accepts the drag")
        self.desktop.release()
        wait_until(lambda: "dropped" in log.read_text(), "the end of the drag")

    def views(self):
        layout = self.program.layout()
        y = (layout.top + layout.bottom) / 2
        return (layout.left + 0.5 * layout.left_width, y), (layout.main_view + 0.5 * layout.main_width, y)

    def assertRulerIsShown(self):
        self.program.wait_for_document()
        self.assertShowsFirstPage()

    def test_opensAFileOverTheMainView(self):
        self.drop(self.paint_ruler().as_uri(), self.views()[1])
        self.assertRulerIsShown()
        self.assertIsNone(self.program.setting("imagedir"))  # only the dialog stores a folder
        self.shoot("dropped")

    def test_opensAFileOverTheLeftView(self):
        self.drop(self.paint_ruler().as_uri(), self.views()[0])
        self.assertRulerIsShown()

    def test_opensAFileOverTheToolBar(self):
        left, top, width, _ = self.desktop.geometry(self.program.main)
        self.drop(self.paint_ruler().as_uri(), (left + width - 40, top + 50))
        self.assertRulerIsShown()

    def test_ignoresAWebAddress(self):
        before = self.program.picture()
        self.drop("http://127.0.0.1/ruler.png", self.views()[1])
        after = self.program.picture()
        layout = self.program.layout()
        bottom = layout.bottom - 20  # the status bar grows when the version appears in it
        for x in (layout.left + 5, layout.main_view + 5, (layout.main_view + layout.right) // 2):
            self.assertEqual(after.column(x, layout.top, bottom), before.column(x, layout.top, bottom))
        self.assertIsNone(self.program.toast())

    def test_reportsADamagedFile(self):
        damaged = self.desktop.path / "damaged.png"
        damaged.write_bytes(self.paint_ruler().read_bytes()[:40])
        self.drop(damaged.as_uri(), self.views()[0])
        wait_until(self.program.toast, "the toast")
        self.assertIsNone(self.program.setting("imagedir"))


class Failures(ProgramTest):
    title = "打开图像或PDF文件"

    def setUp(self):
        super().setUp()
        self.program.start()

    def open(self, path):
        self.program.answer_file_dialog("ctrl+o", self.title, path)

    def assertToastAppearsAndDisappears(self):
        wait_until(self.program.toast, "the toast")

        def off_center(axis):
            toast = self.program.toast() or ()
            window = self.desktop.geometry(self.program.main)
            return toast[axis] + toast[axis + 2] / 2 - window[axis] - window[axis + 2] / 2

        self.assertBecomes(lambda: off_center(0), 0, 2, "horizontal center of the toast")
        self.assertBecomes(lambda: off_center(1), 0, 2, "vertical center of the toast")
        left, top, width, height = self.program.toast()

        def has_text():
            toast = self.desktop.screen().part(left, top, width, height)
            return sum(min(toast.at(x, height // 2)) > 200 for x in range(width)) > 3

        wait_until(has_text, "white text on the toast")
        self.shoot("toast")
        wait_until(lambda: self.program.toast() is None, "the end of the toast", timeout=6)

    def test_reportsADamagedFile(self):
        damaged = self.desktop.path / "damaged.png"
        damaged.write_bytes(b"\x89PNG\r\n\x1a\n and nothing else")
        self.open(damaged)
        self.assertToastAppearsAndDisappears()
        self.assertEqual(self.program.pages(self.program.picture()), [])
        wait_until(lambda: self.program.setting("imagedir") == str(self.desktop.path), "the folder in user.ini")

    def test_keepsThePagesWhenTheNextFileIsNotAPicture(self):
        self.open(self.paint_ruler())
        self.program.wait_for_document()
        before = self.program.picture()
        layout = self.program.layout()
        document = self.desktop.path / "paper.pdf"
        document.write_bytes(b"%PDF-1.4\n")
        self.open(document)
        self.assertToastAppearsAndDisappears()
        after = self.program.picture()
        bottom = layout.bottom - 20  # the status bar grows when the version appears in it
        for x in (layout.left + layout.left_width // 2, layout.main_view + layout.main_width // 2):
            self.assertEqual(after.column(x, layout.top, bottom), before.column(x, layout.top, bottom))

    def test_cancelChangesNothing(self):
        self.desktop.key("ctrl+o")
        self.desktop.window(self.program.process, self.title)
        self.shoot("dialog")
        self.desktop.key("Escape")
        wait_until(lambda: self.title not in self.desktop.windows(self.program.process), "the end of the dialog")
        self.assertIsNone(self.program.toast())
        self.assertIsNone(self.program.setting("imagedir"))

    def test_exportDoesNothingWithoutADocument(self):
        self.desktop.key("ctrl+s")
        self.desktop.key("ctrl+p")
        self.desktop.stable_screen()
        self.assertEqual(list(self.desktop.windows(self.program.process).values()), [self.program.main])
        self.assertEqual(self.program.quit(), 0)


class FailuresInEnglish(Failures):
    config = {"language": "en"}
    title = "open an image or pdf file"


if __name__ == "__main__":
    unittest.main(verbosity=2)
