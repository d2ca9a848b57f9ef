"""Makes small packages that tools/release accepts: smallpackages.py FOLDER VERSION [HOST]

The programs in them are texts that contain what the tool searches for.
"""

import io
import pathlib
import subprocess
import sys
import tarfile
import tempfile
import zipfile


def program(version, host):
    return f"\0{version}\0{host}\0".encode("utf-16-le")


def write_tar(file, contents):
    with tarfile.open(file, "w:gz") as tar:
        for name, content in contents.items():
            item = tarfile.TarInfo(name)
            item.size = len(content)
            tar.addfile(item, io.BytesIO(content))


def write_debian_package(folder_of_packages, package, version, program_path, content):
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        folder.chmod(0o755)
        (folder / "DEBIAN").mkdir(mode=0o755)
        (folder / "DEBIAN/control").write_text(
            f"Package: {package}\nVersion: {version}\nArchitecture: amd64\nMaintainer: X <x@y.test>\nDescription: x\n"
        )
        (folder / program_path).parent.mkdir(parents=True)
        (folder / program_path).write_bytes(content)
        file = folder_of_packages / f"{package}_{version}_amd64.deb"
        subprocess.run(["dpkg-deb", "--build", folder, file], check=True, stdout=subprocess.DEVNULL)


def main(folder, version, host="https://files.test"):
    folder = pathlib.Path(folder)
    packages = folder / "packages"
    packages.mkdir(exist_ok=True)
    content = program(version, host)
    project = f"project(Quillmarch\n    VERSION {version}\n".encode()
    write_tar(packages / f"quillmarch-{version}-linux-x86_64.tar.gz", {f"quillmarch-{version}/quillmarch": content})
    write_tar(packages / f"quillmarch-{version}.tar.gz", {f"quillmarch-{version}/CMakeLists.txt": project})
    write_debian_package(packages, "quillmarch", version, "usr/libexec/quillmarch/quillmarch", content)
    write_debian_package(packages, "quillmarch-batch", version, "usr/bin/quillmarch-batch", content)
    with zipfile.ZipFile(folder / "made.zip", "w") as archive:
        archive.writestr("Quillmarch/quillmarch.exe", content)
    (folder / "made.dmg").write_bytes(b"macOS " + version.encode() + b"koly".ljust(512, b"\0"))


main(*sys.argv[1:])
