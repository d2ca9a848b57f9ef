"""What is done by hand in the two views: cuts, clicks on pages, the splitter."""

import unittest

import rulerimage
from desktop import wait_until
from program import SCENE_GRAY, ProgramTest, is_pressed_handle

FIRST_CUT, SECOND_CUT = rulerimage.WHITE_LINES[:2]
HANDLE = 20  # rows of a cut handle
TOLERANCE = 8  # rows of the picture; about four pixels of the screen


class Cuts(ProgramTest):
    def setUp(self):
        super().setUp()
        self.program.start()
        self.open_ruler()
        self.measure()

    def measure(self):
        """Where the first cut handle lies."""
        picture = self.program.picture()
        self.bar = self.program.cut_bars(picture)[0]
        self.scale = self.program.strip_scale()
        layout = self.program.layout()
        self.x = layout.main_view + 0.4 * layout.main_width
        self.start_y = sum(self.bar) / 2
        self.assertNear(self.program.cut_row(picture, self.bar), FIRST_CUT, TOLERANCE, "cut before")

    def assertCutIsAt(self, row):
        """In the main view and on the output page."""
        # A handle stays lit until the pointer moves over its strip again.
        self.desktop.move(self.x, self.program.layout().top + 20)
        self.desktop.move(self.x, self.program.layout().top + 25)

        def cut():
            picture = self.program.picture()
            return self.program.cut_row(picture, self.program.cut_bars(picture)[0])

        def page():
            picture = self.program.picture()
            return self.program.rows_on_page(picture, self.program.pages(picture)[0])

        self.assertBecomes(cut, row, TOLERANCE, "cut in the main view")
        self.assertBecomes(lambda: page()[1], row, TOLERANCE, "last row of page 1")
        self.assertNear(page()[0], 0, TOLERANCE, "first row of page 1")

    def drag_to_row(self, row):
        """Drags the middle of the handle to where the cut's row would be in its middle."""
        middle = self.start_y + (row - FIRST_CUT) * self.scale
        self.desktop.drag((self.x, self.start_y), (self.x, middle))

    def test_lightsTheHandleUnderThePointer(self):
        def is_lit():
            red, green, blue = self.desktop.screen().at(round(self.x) - 40, round(self.start_y))
            return blue > 200 and blue > green > red

        self.assertFalse(is_lit())
        self.desktop.glide((self.x, self.start_y - 30), (self.x, self.start_y))
        wait_until(is_lit, "a blue handle")
        self.shoot("hover")
        self.desktop.glide((self.x, self.start_y), (self.x, self.start_y - 30))
        wait_until(lambda: not is_lit(), "a gray handle")

    def test_moveGoesToTheOutputPage(self):
        self.drag_to_row(FIRST_CUT - 90)
        self.assertCutIsAt(FIRST_CUT - 90)
        # The next page begins where the first one ends now.
        layout = self.program.layout()
        self.desktop.wheel_down(layout.left + 20, layout.top + 50, 3)

        def start_of_lower_page():
            picture = self.program.picture()
            lower = [p for p in self.program.pages(picture) if p[0] > layout.top][-1]
            return self.program.rows_on_page(picture, lower)[0]

        self.assertBecomes(start_of_lower_page, FIRST_CUT - 90, TOLERANCE, "first row of page 2")

    def test_showsARubberLineWhileItMoves(self):
        self.desktop.move(self.x, self.start_y)
        self.desktop.press()
        self.desktop.glide((self.x, self.start_y), (self.x, self.start_y - 50))
        wait_until(
            lambda: is_pressed_handle(self.desktop.screen().at(round(self.x) - 40, round(self.start_y))),
            "a pressed handle",
        )
        self.desktop.calm_screen()
        self.shoot("pressed")
        left, right = self.program.strip_edges(self.desktop.screen(), self.program.layout().top + 20)
        # The line lies at the top edge that the handle would get, on the strip above.
        line_y = round(self.bar[0] - 50)
        picture = self.desktop.screen()
        whitest = max(min(picture.at(x, y)) for x in range(left + 20, right - 20) for y in range(line_y - 2, line_y + 3))
        self.assertGreater(whitest, 150)
        self.desktop.release()
        self.assertCutIsAt(FIRST_CUT - 50 / self.scale)

    def test_staysWithinTheLimits(self):
        for _ in range(6):
            self.program.click_tool("zoom out")  # until both limits can be seen
        self.measure()
        # The two strips have 2060 rows together. The pointer may stand between 0.4
        # and 0.6 of them, and holds the handle in its middle.
        self.drag_to_row(FIRST_CUT + 600)
        self.assertCutIsAt(0.6 * SECOND_CUT - HANDLE / 2)
        self.shoot("lower-limit")
        self.start_y = sum(self.program.cut_bars(self.desktop.screen())[0]) / 2
        self.drag_to_row(FIRST_CUT - 700)
        self.assertCutIsAt(0.4 * SECOND_CUT - HANDLE / 2)

    def test_pressOnTheImageMovesNothing(self):
        self.desktop.drag((self.x, self.start_y - 100), (self.x, self.start_y - 200))
        self.assertCutIsAt(FIRST_CUT)


class Pages(ProgramTest):
    def setUp(self):
        super().setUp()
        self.program.start()
        self.open_ruler()

    def middle_row(self):
        """The source row in the middle of the main view."""
        picture = self.program.picture()
        layout = self.program.layout()
        x = layout.main_view + round(0.4 * layout.main_width)
        return rulerimage.row_of(picture.at(x, (layout.top + layout.bottom) // 2))

    def test_clickCentresTheStrip(self):
        layout = self.program.layout()
        before = self.middle_row()
        at_top = self.program.pages(self.program.picture())
        self.desktop.wheel_down(layout.left + 20, layout.top + 50, 9)
        wait_until(lambda: self.program.pages(self.program.picture()) != at_top, "other pages")
        picture = self.program.picture()
        page = max(self.program.pages(picture), key=lambda p: p[1] - p[0])
        first, _ = self.program.rows_on_page(picture, page)
        number = max(i for i, row in enumerate((0, *rulerimage.WHITE_LINES)) if row <= first + 30)
        self.assertGreater(number, 0)
        cuts = (0, *rulerimage.WHITE_LINES, 5000)
        self.desktop.click(layout.left + 0.4 * layout.left_width, (page[0] + page[1]) / 2)
        # The handle below belongs to the strip, and moves its middle by half its height.
        middle = (cuts[number] + cuts[number + 1] + HANDLE) / 2
        self.assertGreater(abs(middle - before), 3 * TOLERANCE)
        self.assertBecomes(self.middle_row, middle, TOLERANCE, f"middle of strip {number + 1}")
        self.shoot("centred")

    def test_doubleClickSwitchesPageNumbers(self):
        layout = self.program.layout()

        def ink():
            picture = self.program.picture()
            return self.program.number_box_ink(picture, self.program.pages(picture)[0])

        def double_click():
            top, bottom = self.program.pages(self.program.picture())[0]
            self.desktop.click(layout.left + 0.4 * layout.left_width, (top + bottom) / 2, times=2)

        self.assertEqual(ink(), 0)
        double_click()
        wait_until(lambda: ink() > 3, "a page number")
        self.shoot("numbers")
        double_click()
        wait_until(lambda: ink() == 0, "no page number")


class Splitter(ProgramTest):
    def test_dividesTheWindowAnew(self):
        self.program.start()
        self.open_ruler()
        self.program.picture()
        before = self.program.layout()
        x, y = before.handle
        self.desktop.move(x, y)
        self.desktop.press()
        self.desktop.glide((x, y), (x + 120, y))
        wait_until(lambda: is_pressed_splitter(self.desktop.screen().at(x + 120, y + 60)), "a pressed splitter")
        self.desktop.release()
        self.program.rest_pointer()
        width = before.left_width + 120
        self.assertBecomes(lambda: self.program.layout().left_width, width, 2, "width of the left view")
        picture = self.program.picture()
        after = self.program.layout()
        self.assertNear(after.main_width, before.main_width - 120, 2, "width of the main view")
        page = self.program.pages(picture)[0]
        left, right = self.program.page_edges(picture, page)
        self.assertNear((right - left) / after.left_width, 0.8, 0.01, "share of the pages in the left view")
        left, right = self.program.strip_edges(picture, after.top + 20)
        self.assertNear((right - left) / after.main_width, 0.75, 0.01, "share of the strips in the main view")
        self.shoot("moved")


def is_pressed_splitter(color):
    """Deep blue at 215 of 255 over the light gray of a window."""
    red, green, blue = color
    return red < 60 and 90 < green < 150 and blue > 180


class NextRun(ProgramTest):
    config = {"marginsc": "10"}

    def test_keepsWindowSplitterAndMargin(self):
        self.program.start()
        self.desktop.xdotool("windowsize", "--sync", self.program.main, 1010, 730)
        self.desktop.xdotool("windowmove", self.program.main, 137, 91)
        self.open_ruler()
        self.program.picture()
        x, y = self.program.layout().handle
        self.desktop.drag((x, y), (x - 90, y))
        self.program.click_tool("less margin")
        wait_until(lambda: self.program.setting("marginsc") == "5", "5 percent in user.ini")
        self.program.picture()
        geometry = self.desktop.geometry(self.program.main)
        layout = self.program.layout()
        share = 700 / 1140 * (1204 - 2 * 5 * 1020 / 100) / 840
        self.assertEqual(self.program.quit(), 0)
        store = self.desktop.path / "home/.config/Quillmarch/Settings.conf"
        text = store.read_text(encoding="utf-8")
        for key in ("windowGeometry", "windowState", "splitterState"):
            self.assertIn(f"{key}=@ByteArray(", text)

        self.program.start()
        wait_until(lambda: self.desktop.geometry(self.program.main) == geometry, f"the place {geometry}")
        self.program.picture()
        again = self.program.layout()
        self.assertNear(again.main_view, layout.main_view, 1, "start of the main view")
        self.assertEqual(self.program.setting("marginsc"), "5")
        self.open_ruler()
        picture = self.program.picture()
        self.shoot("again")
        self.assertNear(self.program.content_share(picture, self.program.pages(picture)[0]), share, 0.015, "content")

    def test_firstRunTakesTwoThirdsOfTheScreen(self):
        self.program.start()
        left, top, width, height = self.desktop.geometry(self.program.main)
        screen = self.desktop.screen()
        self.assertEqual((width, height), (2 * screen.width // 3, 2 * screen.height // 3))
        self.assertNear(left, (screen.width - width) // 2, 2, "left")
        self.assertNear(top, (screen.height - height) // 2, 2, "top")
        layout = self.program.layout()
        self.assertNear(layout.left_width, layout.main_width, 1, "halves")
        self.assertEqual(self.program.quit(), 0)

    def test_keepsATornOffToolBarInFront(self):
        self.program.start()
        left, top, _, _ = self.desktop.geometry(self.program.main)
        self.desktop.drag((left + 5, top + 47), (left + 300, top + 300))
        self.program.picture()
        place = self.desktop.geometry(self.desktop.window(self.program.process, "main"))
        self.assertEqual(self.program.quit(), 0)

        self.program.start()
        bar = self.desktop.window(self.program.process, "main")
        wait_until(lambda: self.desktop.geometry(bar) == place, f"the place {place}")

        def is_in_front():
            x, y, width, height = place
            return SCENE_GRAY not in self.program.picture().row(y + height // 2, x + 2, x + width - 2)

        wait_until(is_in_front, "the tool bar in front")
        self.desktop.click(left + 50, top + 500)
        self.assertTrue(is_in_front())
        self.shoot("torn-off")

    def test_menusWorkToo(self):
        self.program.start()
        self.open_ruler()
        left, top, _, _ = self.desktop.geometry(self.program.main)
        self.desktop.click(left + 22, top + 11)
        self.desktop.calm_screen()
        self.shoot("file-menu")
        self.desktop.key("Up", "Return")  # the last entry leaves the program
        self.assertEqual(self.program.process.wait(15), 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
