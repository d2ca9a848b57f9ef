#!/usr/bin/env python3
"""Runs quillmarch-batch with random options under random faults.

Every run has a number, which together with the seed decides all of it but the moment at
which a fault meets the program: --first N --runs 1 repeats run N. The last line is JSON:
what was run, how often, and on which commit.

    QUILLMARCH_BATCH=build/release/src/batch/quillmarch-batch tests/faults/batch_faults.py --runs 10000 --seed 7
"""

import argparse
import collections
import contextlib
import functools
import json
import os
import pathlib
import random
import resource
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time

from batchchecks import OLD_FILE, SANITIZER_CODE, Checks, qpdf_errors

SOURCE = pathlib.Path(__file__).resolve().parents[2]
TIME_LIMIT = 60  # seconds for a run, and as long again for processes that outlive it
MEBIBYTE = 1 << 20
LONGEST_MOMENT = 0.12  # seconds; most runs end before
SIGNALS = (signal.SIGTERM, signal.SIGINT, signal.SIGQUIT, signal.SIGHUP, signal.SIGKILL)
OPTIONS = (
    "--lossless",
    "--quality=60",
    "--trim",
    "--columns=2",
    "--paper=strip",
    "--paper=100x150mm",
    "--layout=window",
    "--cuts=bright",
    "--cuts=regular",
    "--page-numbers",
    "--landscape",
    "--accept-damaged",
    "--title=Title",
    "--quiet",
)
CHANGING_OPTIONS = ("--accept-damaged", "--trim")  # that change which images can be read


def children_of(pid):
    with contextlib.suppress(OSError):
        return [int(word) for word in pathlib.Path(f"/proc/{pid}/task/{pid}/children").read_text().split()]
    return []


class Pool:
    """Images to choose from, with what the program says to each of them."""

    def __init__(self, folder, program):
        self.folder = folder
        folder.mkdir()
        corpus = sorted((SOURCE / "tests/fuzz/corpus/image").iterdir())
        for path in corpus[::4] + [SOURCE / "samples/dark-chat.png"]:
            shutil.copy(path, folder)
        rows = b"".join(bytes([250 if y % 40 > 30 else x * 7 % 256 for x in range(200)]) for y in range(6000))
        (folder / "long.pgm").write_bytes(b"P5 200 6000 255\n" + rows)
        self.paths = sorted(folder.iterdir())
        self.codes = {path.name: self.code_of(program, path) for path in self.paths}

    @staticmethod
    def code_of(program, path):
        result = subprocess.run([program, "--dry-run", path], capture_output=True, check=False, timeout=TIME_LIMIT)
        return result.returncode

    def choose(self, chance, count):
        """Mostly images that can be read, and often the long ones, which take a while."""
        good = [path for path in self.paths if self.codes[path.name] == 0]
        large = [path for path in good if path.stat().st_size > 100000]
        return [chance.choice(chance.choice((good, good, large, self.paths))) for _ in range(count)]


class Run:
    """One run: its files, its command, its fault, and what came of it."""

    def __init__(self, number, chance, pool, program, least_memory):
        self.number = number
        self.chance = chance
        self.pool = pool
        self.program = program
        self.least_memory = least_memory
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix=f"run-{number}-", dir=pool.folder.parent))
        self.sent = set()  # signals
        self.limits = []
        self.touched = set()  # images that the fault changed
        self.removes_output = self.breaks_output = self.breaks_errors = self.breaks_pipe = False
        self.may_blame_image = False  # whether the fault can look like one of an image
        self.stdout = self.stderr = subprocess.PIPE
        self.closed = ()  # streams
        self.output = self.errors = b""
        self.hung = ""
        self.code = None
        self.plan_images()
        self.plan_command()
        self.fault = "none"
        self.action = None
        self.plan_fault()

    def plan_images(self):
        (self.folder / "in").mkdir()
        (self.folder / "tmp").mkdir()
        self.kind = self.chance.choice(("single", "single", "merged", "folder", "folder", "stdout", "dry"))
        count = 1 if self.kind in ("single", "stdout") else self.chance.randint(2, 6)
        self.images = []
        self.sources = {}
        for i, path in enumerate(self.pool.choose(self.chance, count)):
            image = self.folder / "in" / f"{i}-{path.name}"
            shutil.copy(path, image)
            self.images.append(image)
            self.sources[image] = path

    def plan_command(self):
        self.is_dry = self.kind == "dry"
        self.to_output = self.kind == "stdout"
        output = {"single": "out/one.pdf", "merged": "out/all.pdf", "folder": "out/", "stdout": "-", "dry": None}
        options = [self.chance.choice(OPTIONS), f"--jobs={self.chance.randint(0, 3)}"]
        self.is_json = self.chance.random() < 0.4
        options += ["--json"] * self.is_json + ["--dry-run"] * self.is_dry
        if output[self.kind]:
            options += ["-o", output[self.kind]]
        self.targets = self.planned_targets(output[self.kind])
        if self.kind == "single" and self.chance.random() < 0.2:
            options += ["--preview", "out/cuts.png"]
        self.preview = self.folder / "out/cuts.png"
        self.command = [self.program, *options, *[f"in/{image.name}" for image in self.images]]
        (self.folder / "out").mkdir()
        self.old_targets = [path for path in self.targets if self.chance.random() < 0.5]
        for path in self.old_targets:
            path.write_bytes(OLD_FILE)

    def planned_targets(self, output):
        if self.kind == "folder":
            return [self.folder / "out" / f"{image.name.rpartition('.')[0] or image.name}.pdf" for image in self.images]
        return [self.folder / output] if self.kind in ("single", "merged") else []

    def plan_fault(self):
        faults = [self.send_signal] * 3 + [self.kill_worker, self.fill_disk, self.break_output, self.break_errors]
        faults += [self.remove_output] + [self.change_image] * 3 + [None]
        faults += [self.limit_memory] * 2 if self.least_memory else []
        fault = self.chance.choice(faults)
        if fault:
            self.fault = fault()

    # Faults. Each returns its name; what happens later is its `action`.

    def send_signal(self):
        number = self.chance.choice(SIGNALS)
        to_group = self.chance.random() < 0.5
        self.sent.add(number)

        def act(pid):
            (os.killpg if to_group else os.kill)(pid, number)

        self.action = act
        return f"{number.name} to {'all processes' if to_group else 'the program'}"

    def kill_worker(self):
        number = self.chance.choice(SIGNALS)
        self.sent.add(number)
        self.may_blame_image = True

        def act(pid):
            workers = children_of(pid)
            if workers:
                os.kill(self.chance.choice(workers), number)

        self.action = act
        return f"{number.name} to a worker"

    def limit_memory(self):
        size = self.least_memory + self.chance.randint(0, self.chance.choice((40, 300)) * MEBIBYTE)
        self.limits.append((resource.RLIMIT_AS, size))
        self.may_blame_image = True
        return "little memory"

    def fill_disk(self):
        self.limits.append((resource.RLIMIT_FSIZE, self.chance.choice((0, 1, 1000, 4096, 20000, 65536, 200000))))
        return "full disk"

    def break_output(self):
        self.breaks_output = True
        way = self.chance.choice(("closed", "full", "reader goes"))
        if way == "closed":
            self.closed = (1,)
        elif way == "full":
            self.stdout = open("/dev/full", "wb")  # closed by run()
        else:
            self.breaks_pipe = True
        return f"standard output {way}"

    def break_errors(self):
        self.breaks_errors = True
        way = self.chance.choice(("closed", "full", "all closed"))
        if way == "full":
            self.stderr = open("/dev/full", "wb")  # closed by run()
        else:
            self.closed = (2,) if way == "closed" else (0, 1, 2)
            self.breaks_output = way == "all closed"
        return f"standard error {way}"

    def remove_output(self):
        self.removes_output = True
        self.action = lambda pid: shutil.rmtree(self.folder / "out", ignore_errors=True)
        return "output folder removed"

    def change_image(self):
        way = self.chance.choice(("removed", "truncated", "replaced", "overwritten"))
        image = self.chance.choice(self.images)
        other = self.chance.choice(self.pool.paths)
        self.touched.add(image)

        def act(_):
            if way == "removed":
                image.unlink()
            elif way == "truncated":
                os.truncate(image, self.chance.randint(0, image.stat().st_size))
            elif way == "overwritten":
                image.write_bytes(other.read_bytes())
            else:
                shutil.copy(other, self.folder / "new")
                os.rename(self.folder / "new", image)

        self.action = act
        return f"image {way}"

    # The run

    def run(self):
        alive, kept_open = os.pipe()  # at its end no process of the run lives
        process = subprocess.Popen(
            self.command,
            cwd=self.folder,
            env=self.environment(),
            stdin=subprocess.DEVNULL,
            stdout=self.stdout,
            stderr=self.stderr,
            pass_fds=[kept_open],
            start_new_session=True,
            preexec_fn=self.prepare,
        )
        os.close(kept_open)
        if self.breaks_pipe:
            process.stdout.close()
        self.collect(process, alive)
        os.close(alive)
        for stream in (process.stdout, process.stderr, self.stdout, self.stderr):
            if hasattr(stream, "close"):
                stream.close()
        self.results = {path: path.read_bytes() if path.exists() else None for path in self.targets}

    def environment(self):
        environment = {**os.environ, "TMPDIR": str(self.folder / "tmp")}
        for name in ("ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"):
            own = f"exitcode={SANITIZER_CODE}:log_path={self.folder}/sanitizer"
            environment[name] = f"{os.environ[name]}:{own}" if name in os.environ else own
        return environment

    def prepare(self):
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        for limit, value in self.limits:
            resource.setrlimit(limit, (value, value))
        for stream in self.closed:
            os.close(stream)

    def collect(self, process, alive):
        """Reads what the program prints, until the last of its processes has ended."""
        started = time.monotonic()
        moment = started + self.chance.random() * LONGEST_MOMENT
        waits_for_part = self.chance.random() < 0.5
        streams = {stream.fileno(): [] for stream in (process.stdout, process.stderr) if stream and not stream.closed}
        waiting = {alive, *streams}
        while waiting:
            now = time.monotonic()
            if self.action and (now >= moment or (waits_for_part and self.has_part_file())):
                self.act(process)
            if now > started + TIME_LIMIT:
                self.stop_hanging(process)
                break
            pause = (0.001 if waits_for_part else max(0, moment - now)) if self.action else 1
            for stream in select.select(waiting, [], [], pause)[0]:
                data = os.read(stream, 1 << 16)
                if data:
                    streams[stream].append(data)
                else:
                    waiting.discard(stream)
        self.output, self.errors = (
            b"".join(streams[stream.fileno()]) if stream and not stream.closed else b""
            for stream in (process.stdout, process.stderr)
        )
        self.code = process.wait(TIME_LIMIT)

    def has_part_file(self):
        return any(name.endswith(".part") for name in os.listdir(self.folder / "out"))

    def act(self, process):
        action, self.action = self.action, None
        if process.poll() is None:
            with contextlib.suppress(ProcessLookupError):  # it may end at any time
                action(process.pid)

    def stop_hanging(self, process):
        self.hung = "the program" if process.poll() is None else "a worker"
        with contextlib.suppress(ProcessLookupError):
            os.killpg(process.pid, signal.SIGKILL)

    # For the checks

    @property
    def expected_code(self):
        """The exit code of a run without a fault; None if it is not certain."""
        if self.fault != "none" or any(option in self.command for option in CHANGING_OPTIONS):
            return None
        return max(self.pool.codes[path.name] for path in self.sources.values())

    @property
    def can_blame_images(self):
        """Whether an image may be reported as unreadable or too large."""
        if self.touched or self.may_blame_image:
            return True
        return any(self.pool.codes[path.name] != 0 for path in self.sources.values())

    def new_files(self):
        return [path for path, data in self.results.items() if data not in (None, OLD_FILE)]

    def untouched_images(self):
        return {image: path.read_bytes() for image, path in self.sources.items() if image not in self.touched}

    def sanitizer_reports(self):
        return list(self.folder.glob("sanitizer.*"))

    def own_files(self):
        return {self.preview, self.folder / "new", *self.sanitizer_reports()}


def least_memory_of(program):
    """An address space in which the program starts: a step more than the smallest."""
    step = 8 * MEBIBYTE
    for size in range(step, 4096 * MEBIBYTE, step):
        limit = functools.partial(resource.setrlimit, resource.RLIMIT_AS, (size, size))
        if subprocess.run([program, "--version"], capture_output=True, preexec_fn=limit, check=False).returncode == 0:
            return size + step
    return 0  # a sanitizer takes more than any limit


def commit():
    command = ["git", "-C", SOURCE, "rev-parse", "--short", "HEAD"]
    return subprocess.run(command, capture_output=True, text=True, check=False).stdout.strip() or "unknown"


def report_failure(run, seed, mistakes):
    print(f"seed {seed}, run {run.number}, {run.fault}: {' '.join(str(word) for word in run.command)}")
    for mistake in mistakes:
        print(f"    {mistake}")
    print(f"    code {run.code}; errors: {run.errors.decode(errors='replace')}", flush=True)


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--runs", type=int, default=100)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--first", type=int, default=1, help="number of the first run")
    parser.add_argument("--qpdf-every", type=int, default=20, help="how many runs until qpdf checks the files of one")
    return parser.parse_args()


def main():
    options = arguments()
    program = str(pathlib.Path(os.environ["QUILLMARCH_BATCH"]).resolve())
    os.environ["FONTCONFIG_FILE"] = str(pathlib.Path(__file__).resolve().with_name("nofonts.conf"))
    started = time.monotonic()
    failures = 0
    ends = collections.Counter()
    with tempfile.TemporaryDirectory(prefix="quillmarch-faults-") as folder:
        pool = Pool(pathlib.Path(folder) / "pool", program)
        least_memory = least_memory_of(program)
        for number in range(options.first, options.first + options.runs):
            run = Run(number, random.Random(f"{options.seed} {number}"), pool, program, least_memory)
            run.run()
            mistakes = Checks(run).all()
            if number % options.qpdf_every == 0:
                mistakes += filter(None, map(qpdf_errors, run.new_files()))
            if mistakes:
                failures += 1
                report_failure(run, options.seed, mistakes)
            ends[run.fault, run.code] += 1
            shutil.rmtree(run.folder)
    for (fault, code), count in sorted(ends.items()):
        print(f"{fault}: {f'ended with {code}' if code >= 0 else f'ended by signal {-code}'}: {count}")
    summary = {
        "test": "batch_faults",
        "seed": options.seed,
        "first": options.first,
        "runs": options.runs,
        "failures": failures,
        "seconds": round(time.monotonic() - started, 1),
        "commit": commit(),
    }
    print(json.dumps(summary))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
