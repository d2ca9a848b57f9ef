"""Measures quillmarch-batch beside other programs that make PDF pages of a long picture.

All of them get the same files in the same run. For each: the least processor time of whole
processes, children included, in seconds, and the size of the PDF file in millions of bytes.
"""

import argparse
import os
import pathlib
import subprocess
import tempfile

WIDTH, HEIGHT, STRIP = 1080, 12000, 1500
KINDS = ("chat", "web", "gray", "palette", "scan", "jpeg")
PROGRAMS = ("quillmarch-batch", "ImageMagick, img2pdf", "vips, img2pdf", "img2pdf, one tall page",
            "mutool, one tall page")


def script(text):
    return ["sh", "-e", "-c", text]


def crops(source, suffix):
    """A command for each strip, and their names."""
    names = [f"strip-{top:05}.{suffix}" for top in range(0, HEIGHT, STRIP)]
    commands = [f"vips crop {source} {name} 0 {top} {WIDTH} {STRIP}"
                for top, name in zip(range(0, HEIGHT, STRIP), names)]
    return "; ".join(commands), " ".join(names)


def programs(batch, source, is_jpeg):
    """Commands that make out.pdf, by name. Debian's policy keeps ImageMagick from writing PDF files."""
    crop_png, pngs = crops(source, "png")
    crop_jpeg, jpegs = crops(source, "jpg[Q=94]")
    jpegs = jpegs.replace("[Q=94]", "")
    ours = [batch, "-q", "-j", "1", source, "-o", "out.pdf"]
    magick = f"convert {source} -crop {WIDTH}x{STRIP} +repage"
    result = {
        "JPEG": {
            "quillmarch-batch": ours,
            "ImageMagick, img2pdf": script(f"{magick} -quality 94 s-%02d.jpg; img2pdf s-*.jpg -o out.pdf"),
            "vips, img2pdf": script(f"{crop_jpeg}; img2pdf {jpegs} -o out.pdf"),
        },
        "lossless": {
            "quillmarch-batch": ours + ["--lossless"],
            "ImageMagick, img2pdf": script(f"{magick} s-%02d.png; img2pdf s-*.png -o out.pdf"),
            "vips, img2pdf": script(f"{crop_png}; img2pdf {pngs} -o out.pdf"),
            "img2pdf, one tall page": script(f"img2pdf {source} -o out.pdf"),
            "mutool, one tall page": script(f"mutool convert -o out.pdf {source}"),
        },
    }
    if is_jpeg:
        del result["JPEG"]
    return result


def seconds_of(command, folder):
    (folder / "out.pdf").unlink(missing_ok=True)
    process = subprocess.Popen(command, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    if status != 0:
        raise RuntimeError(f"{command} ended with {status}")
    return usage.ru_utime + usage.ru_stime


def make_samples(make_sample, folder):
    """The files by kind; a scan is noisy gray, and the JPEG file has quality 94."""
    names = {}
    for kind in KINDS:
        painted = {"scan": "gray", "jpeg": "web"}.get(kind, kind)
        path = folder / f"{kind}.png"
        subprocess.run([make_sample, "--kind", painted, "--size", f"{WIDTH}x{HEIGHT}", "--seed", "1", path],
                       check=True, stderr=subprocess.DEVNULL, env={**os.environ, "QT_QPA_PLATFORM": "offscreen"})
        names[kind] = path.name
    subprocess.run(["convert", "scan.png", "-seed", "1", "-attenuate", "0.3", "+noise", "Gaussian", "-colorspace", "Gray",
                    "scan.png"], cwd=folder, check=True)
    subprocess.run(["convert", "jpeg.png", "-quality", "94", "jpeg.jpg"], cwd=folder, check=True)
    names["jpeg"] = "jpeg.jpg"
    return names


def measured(commands, folder, runs):
    """The cells of a row: time and size for each program."""
    cells = []
    for program in PROGRAMS:
        if program in commands:
            time = min(seconds_of(commands[program], folder) for _ in range(runs))
            cells.append(f"{time:.2f} s, {(folder / 'out.pdf').stat().st_size / 1e6:.2f}")
        else:
            cells.append("-")
    return cells


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--batch", required=True, type=os.path.abspath)
    parser.add_argument("--make-sample", required=True, type=os.path.abspath)
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--kinds", default=",".join(KINDS))
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="quillmarch-peers-") as name:
        folder = pathlib.Path(name)
        print(f"| Image | File | Storage | {' | '.join(PROGRAMS)} |\n|---|---:|---|{'---:|' * len(PROGRAMS)}")
        for kind, source in make_samples(options.make_sample, folder).items():
            if kind not in options.kinds.split(","):
                continue
            size = (folder / source).stat().st_size / 1e6
            for storage, commands in programs(options.batch, source, kind == "jpeg").items():
                cells = measured(commands, folder, options.runs)
                print(f"| {kind} | {size:.2f} | {storage} | {' | '.join(cells)} |", flush=True)


if __name__ == "__main__":
    main()
