"""A second build of the packages, in another folder and at another time, has the same bytes."""

import os
import pathlib
import re
import shutil
import subprocess
import tarfile
import unittest

import packages
from packages import FolderTest, output_of

SOURCE = pathlib.Path(os.environ["QUILLMARCH_SOURCE"])
JOBS = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", str(os.cpu_count()))


def git(*command):
    return output_of("git", "-c", f"safe.directory={SOURCE}", "-C", SOURCE, *command)


def configured_hosts():
    """The options that give a second build the hosts of the first."""
    cache = (packages.folder().parent / "CMakeCache.txt").read_text(encoding="utf-8")
    hosts = re.findall(r"^(QUILLMARCH_\w*(?:HOST|SITE|CONTACT|DOMAIN)):STRING=(.*)$", cache, re.MULTILINE)
    return [f"-D{name}={value}" for name, value in hosts]


def copy_sources(folder):
    """Copies what belongs to the source, with other time stamps."""
    for name in git("ls-files", "-z", "--cached", "--others", "--exclude-standard").split("\0"):
        if name and (SOURCE / name).is_file():
            (folder / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(SOURCE / name, folder / name)
            os.utime(folder / name, (1e9, 1e9))


def members(package):
    """The files in a package, to name those that differ."""
    if package.suffix == ".deb":
        done = subprocess.run(["dpkg-deb", "--fsys-tarfile", package], capture_output=True, check=True)
        package.with_suffix(".tar").write_bytes(done.stdout)
        package = package.with_suffix(".tar")
    with tarfile.open(package) as tar:
        return {item.name: (item.mtime, item.mode, tar.extractfile(item).read() if item.isfile() else item.linkname)
                for item in tar}


class SecondBuild(FolderTest):
    def test_hasTheSameBytes(self):
        first = self.folder / "first"
        first.mkdir()
        for package in packages.binary_packages():
            shutil.copy(package, first)
        self.build_again()
        second = self.folder / "a longer name/out/packages"
        names = sorted(package.name for package in first.iterdir())
        self.assertEqual(sorted(package.name for package in second.iterdir()), names)
        for name in names:
            if (first / name).read_bytes() != (second / name).read_bytes():
                left, right = members(first / name), members(second / name)
                different = sorted(set(left) ^ set(right)) + [item for item in left if left[item] != right.get(item)]
                self.fail(f"{name} differs; members: {different}")

    def build_again(self):
        source, out = self.folder / "a longer name", self.folder / "a longer name/out"
        copy_sources(source)
        options = [f"-DQUILLMARCH_{name}=OFF" for name in ("TESTS", "BENCH", "TOOLS")]
        environment = {**os.environ, "SOURCE_DATE_EPOCH": git("log", "-1", "--format=%ct").strip(),
                       "CCACHE_DISABLE": "1", "TZ": "Asia/Shanghai", "LC_ALL": "C"}
        for command in (["cmake", "-G", "Ninja", "-S", source, "-B", out, *options, *configured_hosts()],
                        ["cmake", "--build", out, "--parallel", JOBS],
                        ["cpack", "--config", out / "CPackConfig.cmake"]):
            done = subprocess.run(command, capture_output=True, text=True, env=environment)
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)


class TimeOfTheCommit(FolderTest):
    def test_isInTheSourceArchive(self):
        source = packages.unpack(packages.source_archive(), self.folder)
        time = (source / "packaging/commit-time.txt").read_text(encoding="utf-8")
        self.assertEqual(time, git("log", "-1", "--format=%ct"))

    def test_isThatOfAllFiles(self):
        time = int(git("log", "-1", "--format=%ct"))
        for package in packages.binary_packages():
            for archive in self.archives_of(package):
                with tarfile.open(archive) as tar:
                    self.assertEqual({item.mtime for item in tar}, {time}, f"{archive} of {package.name}")

    def archives_of(self, package):
        if package.suffix != ".deb":
            return [package]
        output_of("ar", "x", package, cwd=self.folder)
        return sorted(self.folder.glob("*.tar.*"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
