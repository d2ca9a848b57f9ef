#!/usr/bin/env python3
"""Measures the memory of quillmarch-batch over many images in one run.

After the first hundred images neither the program nor its worker process may grow by more
than a little for each further image, be it a file of its own or part of one file. The peak
for the largest sample must stay below 1.1 times its pixels, at four bytes each, and 60 MB.

    QUILLMARCH_BATCH=build/release/src/batch/quillmarch-batch tests/reliability/batch_memory.py --images 1000
"""

import argparse
import json
import os
import pathlib
import struct
import subprocess
import sys
import tempfile
import time

SOURCE = pathlib.Path(__file__).resolve().parents[2]
WARM = 100  # images that fill the caches
TIME_LIMIT = 1200  # seconds
ROWS = 250  # of an image: one page
SMALL_GROWTH = 512 * 1024  # bytes, for noise
LARGEST_SAMPLE = SOURCE / "samples/long-chat.png"


def memory_of(pid, field):
    """That field of the status of a process, in bytes; 0 if it has ended."""
    try:
        lines = pathlib.Path(f"/proc/{pid}/status").read_text().splitlines()
    except OSError:
        return 0
    return next((int(line.split()[1]) * 1024 for line in lines if line.startswith(f"{field}:")), 0)


def workers_of(pid):
    return pathlib.Path(f"/proc/{pid}/task/{pid}/children").read_text().split()


def write_images(folder, count):
    folder.mkdir()
    for i in range(count):
        rows = b"".join(bytes([250 if y % 40 > 30 else (i + y) % 200]) * 200 for y in range(ROWS))
        (folder / f"{i}.pgm").write_bytes(f"P5 200 {ROWS} 255\n".encode() + rows)


def sizes_over(command, folder, event):
    """The resident sizes of the program and its workers after each event of that name."""
    sizes = []
    with subprocess.Popen(command, cwd=folder, stdout=subprocess.PIPE) as process:
        for line in process.stdout:
            if json.loads(line)["event"] == event:
                sizes.append([memory_of(pid, "VmRSS") for pid in (process.pid, *workers_of(process.pid))])
        if process.wait(TIME_LIMIT) != 0:
            sys.exit(f"{' '.join(command)} ended with {process.returncode}")
    return sizes


def check_growth(name, sizes, images, allowed):
    """Prints the growth for each image after the first ones; whether it is allowed."""
    if len(sizes) != images:
        sys.exit(f"{name}: {len(sizes)} images were reported, not {images}")
    first, last = sizes[WARM - 1], sizes[-2]  # the worker may have ended at the last
    passed = len(first) == len(last)
    for process, before, after in zip(("program", "worker"), first, last):
        growth = after - before
        passed = passed and growth <= SMALL_GROWTH + allowed * (images - WARM)
        each = growth / (images - WARM)
        print(f"{name}, {process}: {before >> 10} KiB, then {after >> 10} KiB: {each:+.0f} of {allowed} bytes an image")
    return passed


def check_peak(program, folder):
    width, height = struct.unpack(">II", LARGEST_SAMPLE.read_bytes()[16:24])
    most = 1.1 * width * height * 4 + 60e6
    command = [program, "--json", LARGEST_SAMPLE, "-o", "largest.pdf"]
    peak = 0
    with subprocess.Popen(command, cwd=folder, stdout=subprocess.PIPE) as process:
        for _ in process.stdout:
            peak = max(peak, memory_of(process.pid, "VmHWM"))
        passed = process.wait(TIME_LIMIT) == 0 and 0 < peak <= most
    print(f"{LARGEST_SAMPLE.name}, {width} x {height}: peak {peak / 1e6:.1f} MB of {most / 1e6:.1f} allowed")
    return passed


def commit():
    command = ["git", "-C", SOURCE, "rev-parse", "--short", "HEAD"]
    return subprocess.run(command, capture_output=True, text=True, check=False).stdout.strip() or "unknown"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--images", type=int, default=200)
    images = max(2 * WARM, parser.parse_args().images)
    program = str(pathlib.Path(os.environ["QUILLMARCH_BATCH"]).resolve())
    started = time.monotonic()
    with tempfile.TemporaryDirectory(prefix="quillmarch-memory-") as name:
        folder = pathlib.Path(name)
        write_images(folder / "in", images)
        many = sizes_over([program, "-q", "--json", "--jobs", "1", "in", "-o", "out/"], folder, "done")
        one = sizes_over([program, "-q", "--json", "--jobs", "1", "in", "-o", "all.pdf"], folder, "picture")
        passed = check_growth("files", many, images, allowed=1024)
        passed = check_growth("one file", one, images, allowed=16384) and passed
        passed = check_peak(program, folder) and passed
    seconds = round(time.monotonic() - started, 1)
    failures = int(not passed)
    print(json.dumps(dict(test="batch_memory", runs=images, failures=failures, seconds=seconds, commit=commit())))
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
