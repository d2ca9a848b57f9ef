"""quillmarch-batch brings no network, no dialog and no catalogue along."""

import os
import pathlib
import subprocess
import unittest

WINDOW_PARTS = ("MainWindow::", "AboutDialog::", "PopUp::", "SimpleUpdater::", "DownloadUpdateDialog::")
CATALOGUE = "zrnw480_en.qm".encode("utf-16-be")  # as the resource system stores names


def libraries_of(program):
    return subprocess.run(["ldd", program], capture_output=True, text=True, check=True).stdout


def names_in(program):
    return subprocess.run(["nm", "--demangle", program], capture_output=True, text=True, check=True).stdout


class Batch(unittest.TestCase):
    def setUp(self):
        self.batch = os.environ["QUILLMARCH_BATCH"]
        self.window = os.environ["QUILLMARCH_PROGRAM"]

    def test_links_no_network(self):
        self.assertIn("libQt6Network", libraries_of(self.window))
        self.assertNotIn("libQt6Network", libraries_of(self.batch))

    def test_holds_no_part_of_the_window(self):
        in_window, in_batch = names_in(self.window), names_in(self.batch)
        for part in WINDOW_PARTS:
            self.assertIn(part, in_window)
            self.assertNotIn(part, in_batch)

    def test_holds_no_catalogue(self):
        self.assertIn(CATALOGUE, pathlib.Path(self.window).read_bytes())
        self.assertNotIn(CATALOGUE, pathlib.Path(self.batch).read_bytes())


if __name__ == "__main__":
    unittest.main()
