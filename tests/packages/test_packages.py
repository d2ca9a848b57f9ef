"""The contents of the packages, and their validity."""

import os
import pathlib
import tempfile
import unittest

import packages
from packages import FolderTest, output_of

GUIDES = {"guide.md", "guide.zh.md", "batch.md", "cuts.md", "user.ini.sample", "images/window-en.png"}


class DebianPackage(FolderTest):
    def field(self, name):
        return output_of("dpkg-deb", "--field", packages.debian_package(), name).strip()

    def test_satisfiesLintian(self):
        messages = output_of("lintian", "--allow-root", "--fail-on", "error,warning", packages.debian_package())
        self.assertEqual(messages, "")

    def test_dependsOnItsLibrariesAndPlugins(self):
        names = {entry.split()[0] for entry in self.field("Depends").split(", ")}
        self.assertLessEqual({"libqt6core6", "libqt6gui6", "libqt6widgets6", "libqt6printsupport6"}, names)
        lines = (pathlib.Path(os.environ["QUILLMARCH_SOURCE"]) / "scripts/packages.txt").read_text().splitlines()
        run = {line.split()[1] for line in lines if line.startswith("run ")}
        self.assertGreater(len(run), 3)
        self.assertLessEqual(run, names)
        self.assertEqual(self.field("Version"), packages.VERSION)

    def test_fitsIntoTheDesktop(self):
        packages.unpack_debian_package(self.folder)
        share = self.folder / "usr/share"
        (entry,) = (share / "applications").iterdir()
        output_of("desktop-file-validate", entry)
        output_of("appstreamcli", "validate-tree", "--no-net", "--pedantic", self.folder)
        self.assertTrue((share / "metainfo" / (entry.stem + ".metainfo.xml")).is_file())
        text = entry.read_text(encoding="utf-8").splitlines()
        self.assertIn("Exec=quillmarch", text)  # without %f: the program accepts no file
        self.assertIn("Icon=quillmarch", text)
        icons = {str(file.relative_to(share / "icons/hicolor")) for file in share.glob("icons/hicolor/*/*/*")}
        sizes = {f"{size}x{size}/apps/quillmarch.png" for size in (16, 24, 32, 48, 64, 128, 256)}
        self.assertEqual(icons, sizes | {"scalable/apps/quillmarch.svg"})

    def test_completesTheOptionsInTheShells(self):
        packages.unpack_debian_package(self.folder)
        for name in ("bash-completion/completions/quillmarch-batch", "zsh/vendor-completions/_quillmarch-batch",
                     "fish/vendor_completions.d/quillmarch-batch.fish"):
            self.assertIn("page-numbers", (self.folder / "usr/share" / name).read_text(encoding="utf-8"))

    def test_containsTheGuides(self):
        packages.unpack_debian_package(self.folder)
        docs = self.folder / "usr/share/doc/quillmarch"
        self.assertLessEqual(GUIDES, set(packages.files_below(docs)))
        self.assertEqual(packages.broken_links(docs), [])

    def test_hasNoRunPath(self):
        packages.unpack_debian_package(self.folder)
        program = self.folder / "usr/libexec/quillmarch/quillmarch"
        dynamic = output_of("readelf", "--dynamic", program)
        self.assertIn("libQt6Widgets.so.6", dynamic)
        self.assertNotRegex(dynamic, r"\((RPATH|RUNPATH)\)")

    def test_isRemovedWithoutLeftovers(self):
        database = self.folder / "var/lib/dpkg"
        for name in ("info", "updates", "triggers"):
            (database / name).mkdir(parents=True)
        (database / "status").touch()
        self.dpkg("--install", packages.debian_package())
        self.assertTrue((self.folder / "usr/bin/quillmarch").is_file())
        self.dpkg("--purge", "quillmarch")
        self.assertEqual([path.name for path in self.folder.iterdir()], ["var"])
        self.assertEqual([file.name for file in (database / "info").iterdir() if file.name != "format"], [])

    def dpkg(self, *command):
        log = self.folder / "var/lib/dpkg.log"
        options = [f"--root={self.folder}", f"--log={log}", "--force-depends", "--force-not-root"]
        path = os.environ["PATH"] + ":/usr/sbin:/sbin"
        output_of("fakeroot", "dpkg", *options, *command, env={**os.environ, "PATH": path})


class PortableArchive(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="quillmarch-packages-")
        cls.addClassCleanup(folder.cleanup)
        cls.program = packages.unpack(packages.portable_archive(), folder.name) / "quillmarch"

    def test_loadsQtFromItsOwnFolder(self):
        own = self.program.parent
        modules = [self.program, *own.glob("plugins/*/*.so")]
        self.assertGreater(len(modules), 15)
        environment = {**os.environ, "LD_TRACE_LOADED_OBJECTS": "1", "LD_PRELOAD": " ".join(map(str, modules[1:]))}
        found = output_of(self.program, env=environment)
        self.assertNotIn("not found", found)
        lines = [line for line in found.splitlines() if "libQt6" in line or "libicu" in line]
        self.assertGreater(len(lines), 10)
        for line in lines:
            self.assertIn(f"=> {own}/lib/", line)

    def test_containsTheLicensesOfItsLibraries(self):
        licenses = {file.name for file in (self.program.parent / "licenses").iterdir()}
        self.assertLessEqual({"libqt6core6.txt", "libicu72.txt", "qt6-image-formats-plugins.txt"}, licenses)
        self.assertIn("LGPL", (self.program.parent / "licenses/libqt6core6.txt").read_text(encoding="utf-8"))

    def test_containsTheGuidesAndTheSamples(self):
        folder = self.program.parent
        self.assertLessEqual(GUIDES, set(packages.files_below(folder / "docs")))
        self.assertIn("long-chat.png", packages.files_below(folder / "samples"))
        self.assertEqual(packages.broken_links(folder), [])

    def test_bringsNothingThatBelongsToTheSystem(self):
        names = {file.name.split(".so")[0] for file in (self.program.parent / "lib").iterdir()}
        self.assertEqual(names & {"libc", "libm", "libGL", "libX11", "libxcb", "libfontconfig", "libstdc++"}, set())
        self.assertFalse([name for name in names if name.startswith("ld-")])


class SourceArchive(FolderTest):
    def setUp(self):
        super().setUp()
        self.source = packages.unpack(packages.source_archive(), self.folder)

    def test_holdsTheSourcesAndNothingElse(self):
        names = set(packages.files_below(self.source))
        self.assertLessEqual({"CMakeLists.txt", "test.sh", "src/app/main.cpp", "packaging/releases.json"}, names)
        self.assertFalse([name for name in names if name.startswith(("build", ".git/")) or name.endswith("user.ini")])
        origin = os.environ["QUILLMARCH_SOURCE"]
        if (pathlib.Path(origin) / ".git").exists():
            listed = output_of("git", "-c", f"safe.directory={origin}", "-C", origin, "ls-files", "-z")
            tracked = {name for name in listed.split("\0") if name}
            self.assertGreater(len(tracked), 100)
            self.assertEqual(tracked - names, set())

    def test_configures(self):
        options = [f"-DQUILLMARCH_{name}=OFF" for name in ("TESTS", "BENCH", "TOOLS")]
        output_of("cmake", "-G", "Ninja", "-S", self.source, "-B", self.folder / "build", *options)
        dry = output_of("ninja", "-C", self.folder / "build", "-n", "quillmarch")
        self.assertIn("Linking CXX executable", dry)


if __name__ == "__main__":
    unittest.main(verbosity=2)
