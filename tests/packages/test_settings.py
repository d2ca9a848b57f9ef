"""The packaged program stores the margin for the next start."""

import pathlib
import re
import unittest

import packages
from desktop import Desktop, wait_until
from program import Program, ProgramTest, expected_content_width


class Unpacked(Program):
    """The program in the folder that its package installed it to."""

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

    def assertContentBecomes(self, percent):
        self.assertBecomes(self.content_width, expected_content_width(percent), 0.015, f"at {percent} percent")

    def assertKeepsTheMargin(self):
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
    def test_areNextToTheProgram(self):
        folder = packages.unpack(packages.portable_archive(), self.place)
        self.program = Unpacked(self.desktop, folder / "quillmarch", folder / "user.ini")
        self.assertKeepsTheMargin()
        qt = [file for file in self.mapped_files() if "/libQt6" in file or "/plugins/" in file]
        self.assertGreater(len(qt), 5)
        for file in qt:
            self.assertTrue(file.startswith(str(folder)), f"{file} is not in the archive")


class InstalledSettings(SettingsTest):
    """The Debian package, unpacked into a folder."""

    def installation(self):
        packages.unpack_debian_packages(self.place)
        return self.place / "usr"

    def test_areInTheUsersDataFolder(self):
        prefix = self.installation()
        before = packages.files_below(prefix / "bin"), packages.files_below(prefix / "libexec/quillmarch")
        data = self.desktop.path / "home/.local/share/quillmarch"
        self.program = Unpacked(self.desktop, prefix / "bin/quillmarch", data / "user.ini")
        self.assertKeepsTheMargin()
        after = packages.files_below(prefix / "bin"), packages.files_below(prefix / "libexec/quillmarch")
        self.assertEqual(after, before)
        self.assertIn(str(data / "quillmarch"), self.mapped_files())
        self.assertMatchesItsDesktopEntry(prefix / "share/applications")

    def assertMatchesItsDesktopEntry(self, entries):
        """A desktop uses this name to find the entry, and with it the icon, of a window."""
        (entry,) = entries.glob("*.quillmarch.desktop")
        (name,) = re.findall(r"^StartupWMClass=(.+)$", entry.read_text(encoding="utf-8"), re.MULTILINE)
        window = str(self.program.main)
        properties = packages.output_of("xprop", "-id", window, "WM_CLASS", env=self.desktop.environment)
        self.assertIn(f'"{name}"', properties)


class SystemSettings(InstalledSettings):
    """The Debian package, installed in this system; for in_fresh_root.sh."""

    def installation(self):
        return pathlib.Path("/usr")


if __name__ == "__main__":
    unittest.main(verbosity=2)
