"""The packages under test, and functions to unpack them."""

import os
import pathlib
import re
import subprocess
import tarfile
import tempfile
import unittest

VERSION = os.environ["QUILLMARCH_VERSION"]


def folder():
    return pathlib.Path(os.environ["QUILLMARCH_PACKAGES"])


def package(pattern):
    """The only package of this version whose name matches."""
    found = sorted(folder().glob(pattern.format(version=VERSION)))
    if len(found) != 1:
        raise AssertionError(f"not exactly one package in {folder()}: {[file.name for file in found]}")
    return found[0]


def debian_package():
    return package("quillmarch_{version}_*.deb")


def batch_package():
    return package("quillmarch-batch_{version}_*.deb")


def portable_archive():
    return package("quillmarch-{version}-linux-*.tar.gz")


def source_archive():
    return package("quillmarch-{version}.tar.gz")


def binary_packages():
    return [debian_package(), batch_package(), portable_archive()]


def unpack_debian_packages(folder):
    for file in (debian_package(), batch_package()):
        subprocess.run(["dpkg", "-x", file, folder], check=True, timeout=60)


def unpack(archive, folder):
    """Unpacks an archive and returns the single folder in it."""
    with tarfile.open(archive) as tar:
        tar.extractall(folder)
    (top,) = pathlib.Path(folder).iterdir()
    return top


def files_below(folder):
    """The contents of every file below a folder, by relative path."""
    folder = pathlib.Path(folder)
    return {str(file.relative_to(folder)): file.read_bytes() for file in folder.rglob("*") if file.is_file()}


def broken_links(folder):
    """The links in the documents below a folder that lead to no file in it."""
    folder = pathlib.Path(folder).resolve()
    broken = []
    for document in folder.rglob("*.md"):
        for target in re.findall(r"\]\(([^)\s#]+)", document.read_text(encoding="utf-8")):
            file = (document.parent / target).resolve()
            if "://" not in target and not (file.is_file() and file.is_relative_to(folder)):
                broken.append(f"{document.name}: {target}")
    return broken


def output_of(*command, **options):
    """The output of a command; fails with its messages if the command fails."""
    done = subprocess.run(command, capture_output=True, text=True, timeout=240, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command[0]} exits with {done.returncode}:\n{done.stdout}{done.stderr}")
    return done.stdout


class FolderTest(unittest.TestCase):
    """A test with a temporary folder."""

    folder_prefix = "quillmarch-packages-"

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix=self.folder_prefix)
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
