"""tools/apt-repository makes a repository that apt verifies and reads."""

import os
import pathlib
import subprocess
import tempfile
import unittest

import packages
from packages import FolderTest, output_of

TOOL = pathlib.Path(os.environ["QUILLMARCH_SOURCE"]) / "tools/apt-repository"


class AptRepository(FolderTest):
    @classmethod
    def setUpClass(cls):
        keys = tempfile.TemporaryDirectory(prefix="quillmarch-keys-", dir="/tmp")  # short, for gpg's sockets
        cls.addClassCleanup(keys.cleanup)
        cls.environment = {**os.environ, "GNUPGHOME": keys.name}
        cls.addClassCleanup(lambda: output_of("gpgconf", "--kill", "all", env=cls.environment))
        output_of("gpg", "--batch", "--passphrase", "", "--quick-generate-key", "test@quillmarch.test", "ed25519",
                  "sign", "never", env=cls.environment)

    def setUp(self):
        super().setUp()
        self.repository = self.folder / "repository"
        self.built = [packages.debian_package(), packages.batch_package()]

    def add(self, *files, key="test@quillmarch.test"):
        command = [TOOL, self.repository, key, *files]
        return subprocess.run(command, capture_output=True, text=True, env=self.environment)

    def with_version(self, package, version):
        """The same package as another version."""
        content = self.folder / "content"
        output_of("dpkg-deb", "--raw-extract", package, content)
        control = content / "DEBIAN/control"
        before, after = f"\nVersion: {packages.VERSION}\n", f"\nVersion: {version}\n"
        control.write_text(control.read_text(encoding="utf-8").replace(before, after), encoding="utf-8")
        changed = self.folder / package.name.replace(packages.VERSION, version)
        output_of("dpkg-deb", "--root-owner-group", "--build", content, changed)
        return changed

    def apt(self, command, *arguments):
        """Runs apt with the repository as its only source, and with folders of its own."""
        state = self.folder / "apt"
        for name in ("lists/partial", "cache/archives/partial", "etc/preferences.d", "etc/apt.conf.d"):
            (state / name).mkdir(parents=True, exist_ok=True)
        (state / "status").touch()
        (state / "sources.list").write_text(
            f"deb [signed-by={self.repository}/quillmarch.gpg] file://{self.repository} stable main\n", encoding="utf-8"
        )
        settings = {"Dir::State": state, "Dir::State::lists": state / "lists", "Dir::State::status": state / "status",
                    "Dir::Cache": state / "cache", "Dir::Etc": state / "etc", "APT::Sandbox::User": "root",
                    "Dir::Etc::sourcelist": state / "sources.list", "Dir::Etc::sourceparts": "-"}
        options = [f"-o{name}={value}" for name, value in settings.items()]
        return output_of(command, *options, *arguments, env={**os.environ, "LC_ALL": "C"})

    def test_offersThePackages(self):
        self.assertEqual(self.add(*self.built).returncode, 0)
        self.apt("apt-get", "update", "--error-on=any")
        for name in ("quillmarch", "quillmarch-batch"):
            self.assertIn(f"Candidate: {packages.VERSION}\n", self.apt("apt-cache", "policy", name))
        self.assertIn("pool/main/", self.apt("apt-cache", "show", "quillmarch"))

    def test_offersTheHigherVersion(self):
        self.assertEqual(self.add(*self.built).returncode, 0)
        self.assertEqual(self.add(self.with_version(self.built[0], "99.0.10")).returncode, 0)
        self.apt("apt-get", "update", "--error-on=any")
        policy = self.apt("apt-cache", "policy", "quillmarch")
        self.assertIn("Candidate: 99.0.10\n", policy)
        self.assertIn(f" {packages.VERSION} ", policy)

    def test_isVerified(self):
        self.assertEqual(self.add(*self.built).returncode, 0)
        release = self.repository / "dists/stable/InRelease"
        release.write_text(release.read_text().replace("Origin: Quillmarch", "Origin: Somebody"))
        with self.assertRaisesRegex(AssertionError, "(?i)signature"):
            self.apt("apt-get", "update", "--error-on=any")

    def test_refuses(self):
        self.assertEqual(self.add(*self.built).returncode, 0)
        before = packages.files_below(self.repository)
        other = self.folder / self.built[0].name
        changed = self.with_version(self.built[0], packages.VERSION + "+1")
        other.write_bytes(changed.read_bytes())
        cases = [([other], {}, "exists with other contents"), ([TOOL], {}, "is not a Debian package"),
                 ([], {}, "usage"), (self.built, {"key": "nobody@quillmarch.test"}, "no secret key")]
        for files, options, reason in cases:
            done = self.add(*files, **options)
            self.assertEqual(done.returncode, 1)
            self.assertIn(reason, done.stderr)
        self.assertEqual(packages.files_below(self.repository), before)


if __name__ == "__main__":
    unittest.main(verbosity=2)
