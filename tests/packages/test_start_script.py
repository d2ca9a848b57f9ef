"""The installed command, which starts a copy of the program in the user's data folder."""

import os
import shutil
import subprocess
import unittest

import packages

NOBODY = 65534

# A replacement for the program that prints its path and its arguments.
PROGRAM = '#!/bin/sh\nprintf "%s {name}" "$0"\nprintf " [%s]" "$@"\n'


class StartScript(packages.FolderTest):
    folder_prefix = "quillmarch start "  # the spaces are part of the test

    def setUp(self):
        super().setUp()
        self.folder.chmod(0o755)
        self.prefix = self.folder / "root"
        packages.unpack_debian_packages(self.prefix)
        self.packaged = self.prefix / "usr/libexec/quillmarch/quillmarch"
        self.install("one")
        self.home = self.folder / "home"
        self.home.mkdir()
        self.data = self.home / ".local/share/quillmarch"
        self.copy = self.data / "quillmarch"

    def install(self, name):
        """Replaces the packaged program by another version."""
        self.packaged.unlink(missing_ok=True)
        self.packaged.write_text(PROGRAM.format(name=name))
        self.packaged.chmod(0o755)

    def start(self, *arguments, **options):
        environment = {"PATH": os.environ["PATH"], "HOME": str(self.home), **options.pop("environment", {})}
        environment = {key: value for key, value in environment.items() if value is not None}
        return subprocess.run(
            [self.prefix / "usr/bin/quillmarch", *arguments],
            env=environment,
            capture_output=True,
            text=True,
            timeout=60,
            **options,
        )

    def assertStarts(self, done, program, name, message=""):
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stdout, f"{program} {name} []")
        if message:
            self.assertIn(message, done.stderr)
        else:
            self.assertEqual(done.stderr, "")

    def assertOnlyInFolder(self, *names):
        self.assertEqual({path.name for path in self.data.iterdir()}, set(names))

    def test_startsACopyInTheDataFolder(self):
        self.assertStarts(self.start(), self.copy, "one")
        self.assertEqual(self.copy.read_bytes(), self.packaged.read_bytes())
        self.assertOnlyInFolder("quillmarch")

    def test_passesArguments(self):
        self.assertTrue(self.start("a b", "*", "-style").stdout.endswith(" one [a b] [*] [-style]"))

    def test_worksThroughALink(self):
        link = self.folder / "link"
        link.symlink_to(self.prefix / "usr/bin/quillmarch")
        done = subprocess.run([link], env={"PATH": os.environ["PATH"], "HOME": str(self.home)}, capture_output=True)
        self.assertEqual(done.stdout.decode(), f"{self.copy} one []")

    def test_keepsAnEqualCopy(self):
        self.start()
        before = self.copy.stat()
        self.start()
        self.assertEqual((self.copy.stat().st_ino, self.copy.stat().st_mtime_ns), (before.st_ino, before.st_mtime_ns))

    def test_updatesTheCopyAndKeepsTheSettings(self):
        self.start()
        (self.data / "user.ini").write_text("[config]\nmarginsc=5\n")
        before = self.copy.stat().st_ino
        self.install("two")
        self.assertStarts(self.start(), self.copy, "two")
        self.assertNotEqual(self.copy.stat().st_ino, before)  # a running program is not overwritten
        self.assertEqual((self.data / "user.ini").read_text(), "[config]\nmarginsc=5\n")
        self.assertOnlyInFolder("quillmarch", "user.ini")

    def test_repairsADamagedCopy(self):
        self.start()
        self.copy.write_text("half of a prog")
        self.assertStarts(self.start(), self.copy, "one")

    def test_usesTheDataFolderIfItIsAbsolute(self):
        data = self.folder / "my data"
        done = self.start(environment={"XDG_DATA_HOME": str(data)})
        self.assertStarts(done, data / "quillmarch/quillmarch", "one")
        self.assertFalse(self.data.exists())
        self.assertStarts(self.start(environment={"XDG_DATA_HOME": "relative"}, cwd=self.folder), self.copy, "one")
        self.assertFalse((self.folder / "relative").exists())

    def test_startsThePackagedProgramWithoutAHome(self):
        for home in (None, "", "relative"):
            with self.subTest(home=home):
                done = self.start(environment={"HOME": home})
                self.assertStarts(done, self.packaged, "one", "settings cannot be kept")

    def test_startsThePackagedProgramIfTheFolderCannotBeCreated(self):
        (self.home / ".local").write_text("a file in the way")
        self.assertStarts(self.start(), self.packaged, "one", f"cannot keep a copy of the program in {self.data}")

    def test_startsThePackagedProgramIfAFolderHasTheNameOfTheCopy(self):
        self.copy.mkdir(parents=True)
        self.assertStarts(self.start(), self.packaged, "one", "settings will not be kept")
        self.assertOnlyInFolder("quillmarch")
        self.assertEqual(list(self.copy.iterdir()), [])

    def test_reportsAReadOnlyFolder(self):
        user = {"user": NOBODY} if os.geteuid() == 0 else {}  # root may write everywhere
        self.home.chmod(0o555)
        self.addCleanup(self.home.chmod, 0o755)
        done = self.start(**user)
        self.assertStarts(done, self.packaged, "one", "settings will not be kept")
        self.home.chmod(0o755)
        self.start()
        self.data.chmod(0o555)
        self.addCleanup(self.data.chmod, 0o755)
        done = self.start(**user)
        self.assertStarts(done, self.copy, "one", f"{self.data} cannot be written to")

    def test_startsManyAtOnce(self):
        environment = {"PATH": os.environ["PATH"], "HOME": str(self.home)}
        for name in ("one", "two"):
            self.install(name)
            runs = [
                subprocess.Popen([self.prefix / "usr/bin/quillmarch"], env=environment, stdout=subprocess.PIPE)
                for _ in range(20)
            ]
            for run in runs:
                self.assertEqual(run.communicate(timeout=60)[0].decode(), f"{self.copy} {name} []")
            self.assertOnlyInFolder("quillmarch")

    def test_startsTheCopyWhileThePackageIsReplaced(self):
        self.start()
        self.packaged.unlink()
        self.assertStarts(self.start(), self.copy, "one")

    def test_reportsAMissingProgram(self):
        self.packaged.unlink()
        done = self.start()
        self.assertEqual(done.returncode, 127)
        self.assertIn(f"the program is missing: {self.prefix}", done.stderr)
        self.assertFalse(self.data.exists())

    def test_removesAnIncompleteCopy(self):
        tools = self.folder / "tools"
        tools.mkdir()
        for name in ("dirname", "readlink", "cmp", "mkdir", "mktemp", "chmod", "mv", "rm", "sh"):
            (tools / name).symlink_to(shutil.which(name))
        (tools / "cp").write_text('#!/bin/sh\nhead -c 10 "$1" >"$2"\necho "No space left" >&2\nexit 1\n')
        (tools / "cp").chmod(0o755)
        (tools / "head").symlink_to(shutil.which("head"))
        done = self.start(environment={"PATH": str(tools)})
        self.assertStarts(done, self.packaged, "one", "settings will not be kept")
        self.assertEqual(list(self.data.iterdir()), [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
