"""The packaged program keeps the margin from one start to the next."""

import pathlib
import re
import unittest

import packages
from desktop import Desktop, wait_until
from program import Program, ProgramTest


class Unpacked(Program):
    """A program that lies where its package put it."""

    def __init__(self, desktop, executable, config_file):
        self.desktop = desktop
        self.executable = executable
        self.config_file = config_file
        self.work = desktop.path / "work"
        self.work.mkdir()


class SettingsTest(ProgramTest):
    def setUp(self):
        self.desktop = Desktop()
        self.addCleanup(self.desktop.close)
        self.addCleanup(lambda: self.shoot("end"))
        self.place = self.desktop.path / "place"

    def content_width(self):
        picture = self.program.picture()
        return self.program.content_share(picture, self.program.pages(picture)[0])

    def assertContentBecomes(self, percent):
        """A page has 840 columns and 1204 rows; the tallest strip, of 700 columns, has 1140 rows.

        The strip of the first page is 1000 rows high when the margin is set,
        and has a handle of 20 rows.
        """
        expected = 700 / 1140 * (1204 - 2 * percent * 1020 / 100) / 840
        self.assertBecomes(self.content_width, expected, 0.015, f"at {percent} percent")

    def keepsTheMargin(self):
        self.program.start()
        self.open_ruler()
        self.assertContentBecomes(10)
        for percent in (5, 0):
            self.program.click_tool("less margin")
            wait_until(lambda: self.program.setting("marginsc") == str(percent), f"{percent} percent in user.ini")
        self.assertContentBecomes(0)
        self.assertEqual(self.program.quit(), 0)
        self.program.start()
        self.open_ruler()
        self.assertContentBecomes(0)

    def mapped_files(self):
        maps = pathlib.Path(f"/proc/{self.program.process.pid}/maps").read_text(encoding="utf-8")
        return set(re.findall(r" (/\S+)$", maps, re.MULTILINE))


class PortableSettings(SettingsTest):
    def test_liesBesideTheProgram(self):
        folder = packages.unpack(packages.portable_archive(), self.place)
        self.program = Unpacked(self.desktop, folder / "quillmarch", folder / "user.ini")
        self.keepsTheMargin()
        qt = [file for file in self.mapped_files() if "/libQt6" in file or "/plugins/" in file]
        self.assertGreater(len(qt), 5)
        for file in qt:
            self.assertTrue(file.startswith(str(folder)), f"{file} is not the archive's own")


class InstalledSettings(SettingsTest):
    """The Debian package, unpacked into a folder."""

    def installation(self):
        packages.unpack_debian_package(self.place)
        return self.place / "usr"

    def test_liesInTheUsersDataFolder(self):
        prefix = self.installation()
        before = packages.files_below(prefix / "bin"), packages.files_below(prefix / "libexec/quillmarch")
        data = self.desktop.path / "home/.local/share/quillmarch"
        self.program = Unpacked(self.desktop, prefix / "bin/quillmarch", data / "user.ini")
        self.keepsTheMargin()
        after = packages.files_below(prefix / "bin"), packages.files_below(prefix / "libexec/quillmarch")
        self.assertEqual(after, before)
        self.assertIn(str(data / "quillmarch"), self.mapped_files())
        self.assertBelongsToItsEntry(prefix / "share/applications")

    def assertBelongsToItsEntry(self, entries):
        """By this name a desktop finds the entry, and so the icon, of a window."""
        (entry,) = entries.glob("*.quillmarch.desktop")
        (name,) = re.findall(r"^StartupWMClass=(.+)$", entry.read_text(encoding="utf-8"), re.MULTILINE)
        told = packages.output_of("xprop", "-id", str(self.program.main), "WM_CLASS", env=self.desktop.environment)
        self.assertIn(f'"{name}"', told)


class SystemSettings(InstalledSettings):
    """The Debian package, installed in this system: for in_fresh_root.sh."""

    def installation(self):
        return pathlib.Path("/usr")


if __name__ == "__main__":
    unittest.main(verbosity=2)
