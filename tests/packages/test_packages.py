"""The contents of the packages, and their validity."""

import hashlib
import json
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

import packages
from desktop import wait_until
from packages import FolderTest, output_of
from tlsprobe import Proxy

GUIDES = {"guide.md", "guide.zh.md", "batch.md", "cuts.md", "user.ini.sample", "images/window-en.png"}


def field(package, name):
    return output_of("dpkg-deb", "--field", package, name).strip()


def names_in(relation):
    """The names in a field such as Depends."""
    return {entry.split()[0] for entry in relation.split(", ") if entry}


class DebianPackage(FolderTest):
    def test_satisfiesLintian(self):
        for package in (packages.debian_package(), packages.batch_package()):
            messages = output_of("lintian", "--allow-root", "--fail-on", "error,warning", package)
            self.assertEqual(messages, "")

    def test_dependsOnItsLibrariesAndPlugins(self):
        package = packages.debian_package()
        needed = names_in(field(package, "Depends"))
        self.assertLessEqual({"libqt6core6", "libqt6gui6", "libqt6widgets6", "libqt6printsupport6"}, needed)
        lines = (pathlib.Path(os.environ["QUILLMARCH_SOURCE"]) / "scripts/packages.txt").read_text().splitlines()
        run = {line.split()[1] for line in lines if line.startswith("run ")}
        fonts = {name for name in run if name.startswith("fonts-")}
        self.assertEqual(fonts, {"fonts-noto-cjk", "fonts-liberation"})
        self.assertGreater(len(run - fonts), 3)
        self.assertLessEqual(run - fonts, needed)
        self.assertEqual(names_in(field(package, "Recommends")), fonts | {"quillmarch-batch"})
        self.assertEqual(field(package, "Version"), packages.VERSION)

    def test_hasACommandForServers(self):
        package = packages.batch_package()
        needed = names_in(field(package, "Depends"))
        self.assertIn("libqt6gui6", needed)
        unwanted = [name for name in needed if re.search("^fonts-|wayland|^quillmarch|libqt6network6", name)]
        self.assertEqual(unwanted, [])
        self.assertEqual(field(package, "Version"), packages.VERSION)
        output_of("dpkg-deb", "--extract", package, self.folder)
        names = set(packages.files_below(self.folder))
        docs = "usr/share/doc/quillmarch-batch/"
        self.assertLessEqual({"usr/bin/quillmarch-batch", "usr/share/man/man1/quillmarch-batch.1.gz",
                              docs + "copyright", docs + "changelog.gz"}, names)
        self.assertFalse([name for name in names if "applications/" in name or "icons/" in name])

    def test_sharesNoFileWithTheOther(self):
        files = []
        for package in (packages.debian_package(), packages.batch_package()):
            folder = self.folder / package.name
            output_of("dpkg-deb", "--extract", package, folder)
            files.append(set(packages.files_below(folder)))
        self.assertEqual(files[0] & files[1], set())
        self.assertIn("usr/bin/quillmarch", files[0])

    def test_replacesFilesOfEarlierVersions(self):
        for name in ("Breaks", "Replaces"):
            self.assertEqual(field(packages.batch_package(), name), f"quillmarch (<< {packages.VERSION})")

    def test_fitsIntoTheDesktop(self):
        packages.unpack_debian_packages(self.folder)
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
        packages.unpack_debian_packages(self.folder)
        for name in ("bash-completion/completions/quillmarch-batch", "zsh/vendor-completions/_quillmarch-batch",
                     "fish/vendor_completions.d/quillmarch-batch.fish"):
            self.assertIn("page-numbers", (self.folder / "usr/share" / name).read_text(encoding="utf-8"))

    def test_containsTheGuides(self):
        packages.unpack_debian_packages(self.folder)
        docs = self.folder / "usr/share/doc/quillmarch"
        self.assertLessEqual(GUIDES, set(packages.files_below(docs)))
        self.assertEqual(packages.broken_links(docs), [])

    def test_hasNoRunPath(self):
        packages.unpack_debian_packages(self.folder)
        program = self.folder / "usr/libexec/quillmarch/quillmarch"
        dynamic = output_of("readelf", "--dynamic", program)
        self.assertIn("libQt6Widgets.so.6", dynamic)
        self.assertNotRegex(dynamic, r"\((RPATH|RUNPATH)\)")

    def test_isRemovedWithoutLeftovers(self):
        database = self.folder / "var/lib/dpkg"
        for name in ("info", "updates", "triggers"):
            (database / name).mkdir(parents=True)
        (database / "status").touch()
        self.dpkg("--install", packages.debian_package(), packages.batch_package())
        self.assertTrue((self.folder / "usr/bin/quillmarch").is_file())
        self.assertTrue((self.folder / "usr/bin/quillmarch-batch").is_file())
        self.dpkg("--purge", "quillmarch", "quillmarch-batch")
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

    def test_containsTheManPages(self):
        names = {file.name for file in (self.program.parent / "man").iterdir()}
        self.assertEqual(names, {"quillmarch.1", "quillmarch-batch.1"})

    def test_listsEveryFileAndItsOrigin(self):
        folder = self.program.parent
        sbom = json.loads((folder / "sbom.spdx.json").read_text(encoding="utf-8"))
        contents = packages.files_below(folder)
        del contents["sbom.spdx.json"]
        sums = {"./" + name: hashlib.sha256(content).hexdigest() for name, content in contents.items()}
        listed = {file["fileName"]: sum["checksumValue"] for file in sbom["files"] for sum in file["checksums"]
                  if sum["algorithm"] == "SHA256"}
        self.assertEqual(listed, sums)
        identifiers = [item["SPDXID"] for item in sbom["packages"] + sbom["files"]]
        self.assertEqual(len(identifiers), len(set(identifiers)))
        self.assertCountEqual(
            [relation["relatedSpdxElement"] for relation in sbom["relationships"]
             if relation["relationshipType"] == "CONTAINS"],
            [file["SPDXID"] for file in sbom["files"]])
        origins = self.origins(sbom)
        self.assertEqual(origins["./quillmarch"], "quillmarch " + packages.VERSION)
        for name, origin in origins.items():
            is_copied = name.startswith(("./lib/", "./plugins/"))
            self.assertEqual(is_copied, not origin.startswith("quillmarch "), f"{name} is from {origin}")
        version = output_of("dpkg-query", "--show", "--showformat", "${Version}", "libqt6core6").strip()
        self.assertEqual(origins["./lib/libQt6Core.so.6"], "libqt6core6 " + version)

    def origins(self, sbom):
        names = {package["SPDXID"]: f"{package['name']} {package['versionInfo']}" for package in sbom["packages"]}
        files = {file["SPDXID"]: file["fileName"] for file in sbom["files"]}
        return {files[relation["relatedSpdxElement"]]: names[relation["spdxElementId"]]
                for relation in sbom["relationships"] if relation["relationshipType"] == "CONTAINS"}

    def test_takesAtMostFiftyMebibytes(self):
        sizes = [len(content) for content in packages.files_below(self.program.parent).values()]
        self.assertLess(sum(sizes), 50 * 2**20)

    def test_opensEveryFormat(self):
        seeds = pathlib.Path(os.environ["QUILLMARCH_SOURCE"]) / "tests/fuzz/corpus/image"
        names = ("bmp-24bit.bmp", "gif.gif", "ico-png.ico", "jpeg-cmyk.jpg", "png-color6-depth16.png", "pnm-p4.pbm",
                 "pnm-p5.pgm", "pnm-p6.ppm", "svg-text.svg", "svg-lines.svgz", "tiff-lzw.tif", "tiff-jpeg.tif",
                 "wbmp.wbmp", "webp-lossy.webp", "xbm.xbm", "xpm.xpm")
        with tempfile.TemporaryDirectory() as folder:
            output_of(self.program.parent / "quillmarch-batch", *(seeds / name for name in names), "-o", folder + "/")
            self.assertEqual(len(list(pathlib.Path(folder).glob("*.pdf"))), len(names))

    def test_reachesHttps(self):
        proxy = Proxy()
        self.addCleanup(proxy.close)
        with tempfile.TemporaryDirectory() as home:
            environment = {**os.environ, "HOME": home, "XDG_CONFIG_HOME": home, "QT_QPA_PLATFORM": "offscreen",
                           "https_proxy": proxy.address, "no_proxy": ""}
            program = subprocess.Popen([self.program], env=environment, cwd=home)
            try:
                wait_until(lambda: proxy.requests, "a request for the release document")
            finally:
                program.kill()
                program.wait()
        host, beginning = proxy.requests[0]
        self.assertTrue(host.endswith(":443"), host)
        self.assertEqual(beginning[:2], b"\x16\x03")  # a TLS handshake

    def test_bringsNothingThatBelongsToTheSystem(self):
        names = {file.name.split(".so")[0] for file in (self.program.parent / "lib").iterdir()}
        self.assertEqual(names & {"libc", "libm", "libGL", "libX11", "libxcb", "libfontconfig", "libstdc++",
                                  "libgnutls"}, set())
        self.assertFalse([name for name in names if name.startswith("ld-")])


class ArchiveWithoutWayland(FolderTest):
    """The archive of a machine that has no qt6-wayland."""

    def test_hasTheOtherPlugins(self):
        unpacked = packages.unpack(packages.portable_archive(), self.folder / "unpacked")
        source = pathlib.Path(os.environ["QUILLMARCH_SOURCE"])
        installed = pathlib.Path(output_of("qtpaths6", "--query", "QT_INSTALL_PLUGINS").strip())
        plugins = self.folder / "plugins"
        for file in installed.glob("*/*.so"):
            if "wayland" not in str(file) and "libbradient" not in file.name:
                (plugins / file.parent.name).mkdir(parents=True, exist_ok=True)
                (plugins / file.parent.name / file.name).symlink_to(file)
        target = self.folder / "target"
        target.mkdir()
        (target / "quillmarch").write_bytes((unpacked / "quillmarch").read_bytes())
        variables = {"CMAKE_INSTALL_PREFIX": target, "programs": "quillmarch", "qt_plugins": plugins, "name": "x",
                     "version": "1", "web_site": "https://x.test"}
        options = [f"-D{name}={value}" for name, value in variables.items()]
        output = output_of("cmake", *options, "-P", source / "packaging/portable/bundle.cmake")
        self.assertIn("qt6-wayland is not installed", output)
        self.assertTrue((target / "plugins/platforms/libqxcb.so").is_file())
        self.assertEqual([file for file in packages.files_below(target) if "ayland" in file], [])


def committed_files(origin):
    git = ["git", "-c", f"safe.directory={origin}", "-C", origin]
    listed = output_of(*git, "ls-tree", "-r", "-z", "--name-only", "--full-tree", "HEAD")
    return {name for name in listed.split("\0") if name}


class SourceArchive(FolderTest):
    def setUp(self):
        super().setUp()
        self.source = packages.unpack(packages.source_archive(), self.folder)

    def test_holdsWhatIsCommittedAndNothingElse(self):
        origin = os.environ["QUILLMARCH_SOURCE"]
        names = set(packages.files_below(self.source))
        self.assertEqual(sorted(names ^ committed_files(origin)), [])
        self.assertLessEqual({"CMakeLists.txt", "test.sh", "src/app/main.cpp", "packaging/releases.json"}, names)

    def test_configures(self):
        options = [f"-DQUILLMARCH_{name}=OFF" for name in ("TESTS", "BENCH", "TOOLS")]
        output_of("cmake", "-G", "Ninja", "-S", self.source, "-B", self.folder / "build", *options)
        dry = output_of("ninja", "-C", self.folder / "build", "-n", "quillmarch")
        self.assertIn("Linking CXX executable", dry)


class PackagingLeavesNothing(FolderTest):
    """cpack, called in a clone of the source, adds nothing to it."""

    def setUp(self):
        super().setUp()
        origin = os.environ["QUILLMARCH_SOURCE"]
        self.clone = self.folder / "clone"
        output_of("git", "-c", f"safe.directory={origin}/.git", "-c", f"safe.directory={origin}",
                  "clone", "-q", "--no-hardlinks", origin, self.clone)
        options = [f"-DQUILLMARCH_{name}=OFF" for name in ("TESTS", "BENCH", "TOOLS")]
        output_of("cmake", "-G", "Ninja", "-S", self.clone, "-B", self.folder / "build", *options)

    def pack(self):
        output_of("cpack", "--config", self.folder / "build/CPackSourceConfig.cmake", cwd=self.clone)
        (archive,) = (self.folder / "build/packages").glob("*.tar.gz")
        return packages.unpack(archive, self.folder / "unpacked")

    def test_inTheFolderOfTheSource(self):
        self.pack()
        self.assertEqual(output_of("git", "-C", self.clone, "status", "--porcelain", "--ignored"), "")

    def test_evenIfTheFolderHasOtherFiles(self):
        (self.clone / "_CPack_Packages").mkdir()
        (self.clone / "_CPack_Packages/program").write_text("binary", encoding="utf-8")
        (self.clone / "LICENSE").unlink()
        source = self.pack()
        self.assertEqual(set(packages.files_below(source)), committed_files(self.clone))


if __name__ == "__main__":
    unittest.main(verbosity=2)
