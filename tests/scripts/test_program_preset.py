"""What ./run.sh configures needs no program that only the tests need."""

import os
import pathlib
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["QUILLMARCH_SOURCE"])
CMAKE = os.environ["QUILLMARCH_CMAKE"]
SYSTEM_FOLDERS = ("/usr/bin", "/bin", "/usr/local/bin")
NEEDED_BY_GCC = {"binutils"}


def packages_of(*groups):
    lines = (SOURCE / "scripts" / "packages.txt").read_text(encoding="utf-8").splitlines()
    entries = [line.split() for line in lines if line and not line.startswith("#")]
    return {entry[1] for entry in entries if entry[0] in groups}


def programs_of(package):
    done = subprocess.run(["dpkg", "-L", package], capture_output=True, text=True, check=True)
    names = set()
    for path in done.stdout.split():
        if os.path.dirname(path) in SYSTEM_FOLDERS:
            names.add(os.path.basename(path))
    return names


def hidden_programs():
    """The names of all programs that packages for the tests alone brought along."""
    packages = packages_of("test") - packages_of("build", "run") - NEEDED_BY_GCC
    names = set().union(*map(programs_of, packages))
    # The shell's names lead to the interpreter of whatever version.
    return names | {name for name in os.listdir("/usr/bin") if name.startswith("python3")}


class ProgramPreset(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="quillmarch-preset-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.programs = self.folder / "bin"
        self.programs.mkdir()
        hidden = hidden_programs()
        self.assertIn("pdfimages", hidden)
        for system_folder in ("/usr/bin", "/bin"):
            for name in set(os.listdir(system_folder)) - hidden:
                if not os.path.lexists(self.programs / name):
                    (self.programs / name).symlink_to(os.path.join(system_folder, name))

    def configure(self, preset):
        # find_program() looks into the folders of the system beside PATH.
        return subprocess.run(
            [CMAKE, "--preset", preset, "-B", str(self.folder / preset)]
            + [f"-DCMAKE_IGNORE_PATH={';'.join(SYSTEM_FOLDERS)}"],
            cwd=SOURCE,
            env={"PATH": str(self.programs), "HOME": str(self.folder), "LANG": "C.UTF-8"},
            capture_output=True,
            text=True,
        )

    def test_configures_without_programs_for_tests(self):
        done = self.configure("program")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_hides_what_it_claims_to_hide(self):
        done = self.configure("release")
        self.assertNotEqual(done.returncode, 0)
        self.assertRegex(done.stderr, "Could NOT find Python3|Could not find QUILLMARCH_")


if __name__ == "__main__":
    unittest.main()
