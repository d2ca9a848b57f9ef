#!/usr/bin/env python3
"""Changes the sources of src, one small change at a time, and lists which changes the
tests notice, in docs/mutation.tsv. A run continues the list; the same seed gives the same
changes.

Works on a copy of the project in build/mutation, whose layers are shared libraries: a
change costs the compilation of one source and one link. Each change is judged by the
tests that reach its line, which one run of all tests with gcov finds out."""

import argparse
import concurrent.futures
import dataclasses
import hashlib
import json
import os
import pathlib
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import threading
import time

import mutations

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutation"
SOURCE = WORK / "source"
BUILD = SOURCE / "build" / "release"
COVERAGE = SOURCE / "build" / "coverage"
REACH = WORK / "reach.json"
TABLE = ROOT / "docs" / "mutation.tsv"
COLUMNS = ("file", "place", "change", "outcome", "by", "reason")
LAYERS = ("quillmarch_window", "quillmarch_batch")
PATIENCE = (3600, 3600)

# Those that read the build or the documents instead of running the code, or need a real window.
NO_JUDGES = re.compile(r"hardening_|layers_|docs_|packages_|scripts_|e2e_|batch_manual|cutquality|.*dpi$|.*_portable$|tst_release$")
# Functions of the others that fail because the layers are shared libraries here.
ABOUT_LINKING = re.compile(rb"needsNoEnvironment|importsNoOtherNetworkFunctions|workerWithoutMemoryEnds")
LIMITS = {resource.RLIMIT_DATA: 6 << 30, resource.RLIMIT_FSIZE: 2 << 30, resource.RLIMIT_CORE: 0} # of endless loops


@dataclasses.dataclass
class Judge:
    """A test program, and how it did with the unchanged sources."""

    name: str
    command: list
    environment: dict
    folder: str
    seconds: float = 0.0 # of the clock, which also counts what else the machine does
    work: float = 0.0 # seconds of the processor
    reached: dict = dataclasses.field(default_factory=dict) # {file: its lines}
    is_last: bool = False # measures time, so it is asked only if no other test notices
    lock: threading.Lock = dataclasses.field(default_factory=threading.Lock)

    def stamp(self):
        return hashlib.sha256(pathlib.Path(self.command[0]).read_bytes()).hexdigest()

    def limits(self):
        """Seconds of the clock and of the processor after which a test has become too slow."""
        return 3 * self.seconds + 60, 3 * self.work + 10


def say(text):
    print(text, flush=True)


# The copy and its builds


def patched(path, data):
    if path != "src/CMakeLists.txt":
        return data
    data = data.replace(b"qt_add_library(${name} STATIC)", b"qt_add_library(${name} SHARED)")
    return data.replace(b"POSITION_INDEPENDENT_CODE ON)", b'POSITION_INDEPENDENT_CODE ON DEFINE_SYMBOL "")', 1)


def copy_project():
    """Brings the copy up to date; unchanged files keep their time."""
    listed = subprocess.run(
        ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        cwd=ROOT, capture_output=True, text=True, check=True,
    )
    for name in filter(None, listed.stdout.split("\0")):
        if not (ROOT / name).is_file():
            continue
        data, target = patched(name, (ROOT / name).read_bytes()), SOURCE / name
        if not target.is_file() or target.read_bytes() != data:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(data)
            shutil.copymode(ROOT / name, target)


def built_environment(folder):
    return {**os.environ, "CCACHE_BASEDIR": str(SOURCE), "LD_LIBRARY_PATH": str(folder / "src")}


def build(preset, folder, *targets):
    environment = built_environment(folder)
    if not (folder / "build.ninja").exists():
        options = ["-DCMAKE_SKIP_RPATH=ON", "-DQUILLMARCH_BENCH=OFF"]
        subprocess.run(["cmake", "--preset", preset, *options], cwd=SOURCE, env=environment, check=True)
    command = ["cmake", "--build", str(folder), "--parallel", "2"]
    for target in targets:
        command += ["--target", target]
    subprocess.run(command, cwd=SOURCE, env=environment, check=True, stdout=subprocess.DEVNULL)


# The judges


def judges():
    listed = subprocess.run(
        ["ctest", "--test-dir", str(BUILD), "--show-only=json-v1"], capture_output=True, text=True, check=True
    )
    found = []
    for test in json.loads(listed.stdout)["tests"]:
        properties = {entry["name"]: entry["value"] for entry in test["properties"]}
        labels = properties.get("LABELS", [])
        if NO_JUDGES.match(test["name"]) or "slow" in labels:
            continue
        pairs = [entry.split("=", 1) for entry in properties.get("ENVIRONMENT", [])]
        judge = Judge(test["name"], test["command"], dict(pairs), properties["WORKING_DIRECTORY"])
        judge.is_last = "clock" in labels
        found.append(judge)
    return found


def limit_resources(work):
    """Soft limits only: some tests set their own."""
    for kind, most in [*LIMITS.items(), (resource.RLIMIT_CPU, int(work))]:
        resource.setrlimit(kind, (most, resource.getrlimit(kind)[1]))


def failures(output):
    """How many functions failed that should not, and how many others."""
    lines = re.findall(rb"^FAIL!  .*", output, re.MULTILINE)
    expected = sum(ABOUT_LINKING.search(line) is not None for line in lines)
    return len(lines) - expected, expected


def failed_function(output):
    """The first function of a Qt Test program that failed, or an ending without one."""
    names = re.findall(r"^FAIL!  : \w+::(\w+)", output, re.MULTILINE)
    names = [name for name in names if not ABOUT_LINKING.search(name.encode())]
    return names[0] if names else "ends early or is too slow"


def stop(process):
    """Ends a process and those that it started. Returns what the processor did for it."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    return usage.ru_utime + usage.ru_stime


def has_ended(process):
    return os.waitid(os.P_PID, process.pid, os.WEXITED | os.WNOHANG | os.WNOWAIT) is not None


def run_judge(judge, libraries, scratch, limits, more=None):
    """Returns what was wrong, or "" if the test passed, and the work. Does not wait for the
    end of a test that has failed."""
    output, folder = scratch / "output", scratch / "tmp"
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    folder.chmod(0o1777) # some tests give up their privileges
    environment = {**os.environ, **judge.environment, **(more or {}), "TMPDIR": str(folder)}
    environment["QTEST_FUNCTION_TIMEOUT"] = "3600000" # the limit is ours
    environment["LD_LIBRARY_PATH"] = ":".join(map(str, libraries))
    with judge.lock, open(output, "wb") as file:
        process = subprocess.Popen(
            judge.command, cwd=judge.folder, env=environment, stdin=subprocess.DEVNULL, stdout=file, stderr=file,
            start_new_session=True, preexec_fn=lambda: limit_resources(limits[1]),
        )
        deadline = time.monotonic() + limits[0]
        trouble = ""
        while not trouble and not has_ended(process):
            time.sleep(0.02)
            if failures(output.read_bytes())[0]:
                trouble = "failed"
            elif time.monotonic() > deadline:
                trouble = "too slow"
        work = stop(process)
    if process.returncode == -signal.SIGXCPU:
        return "too slow", work
    unexpected, expected = failures(output.read_bytes())
    if unexpected or process.returncode != expected: # Qt Test returns their number
        trouble = trouble or "failed"
    return trouble, work


# What the tests reach


def source_name(path):
    match = re.search(r"(src/\w+/[\w.]+)$", path)
    return match.group(1) if match else None


def reached_lines(counts):
    """From the data of gcov for one program: {file: its reached lines}."""
    lines = {}
    for document in counts:
        for entry in document["files"]:
            name = source_name(entry["file"])
            reached = {line["line_number"] for line in entry["lines"] if line["count"]}
            if name and reached:
                lines.setdefault(name, set()).update(reached)
    return lines


def read_counts(folder):
    data = [str(path) for path in folder.rglob("*.gcda") if "autogen" not in str(path)]
    if not data:
        return []
    done = subprocess.run(["gcov", "--json-format", "--stdout", *data], cwd=folder, capture_output=True, text=True)
    return [json.loads(line) for line in done.stdout.splitlines() if line.startswith("{")]


def measure_reach(judge, scratch):
    """Runs a test with the layers compiled for gcov: the lines that it reaches."""
    counters = scratch / "counters"
    shutil.rmtree(counters, ignore_errors=True)
    for notes in (COVERAGE / "src").rglob("*.gcno"):
        link = counters / notes.relative_to("/")
        link.parent.mkdir(parents=True, exist_ok=True)
        link.symlink_to(notes)
    run_judge(judge, [COVERAGE / "src"], scratch, PATIENCE, {"GCOV_PREFIX": str(counters)})
    lines = reached_lines(read_counts(counters))
    shutil.rmtree(counters)
    return lines


def examine(judge, scratch, store, guard):
    """Time and reach of a judge, from the last run if its program is the same."""
    stamp = judge.stamp()
    entry = store.get(judge.name)
    if entry is None or entry["stamp"] != stamp or entry["trouble"]:
        start = time.monotonic()
        trouble, work = run_judge(judge, [BUILD / "src"], scratch, PATIENCE)
        seconds = time.monotonic() - start
        entry = {"stamp": stamp, "seconds": seconds, "work": work, "trouble": trouble, "reached": {}}
        lines = {} if trouble else measure_reach(judge, scratch)
        entry["reached"] = {name: sorted(reached) for name, reached in lines.items()}
        with guard:
            store[judge.name] = entry
            REACH.write_text(json.dumps(store))
        if trouble:
            shutil.copy(scratch / "output", WORK / f"{judge.name}.failed")
        say(f"{judge.name}: {seconds:.1f} s {trouble}")
    judge.seconds, judge.work = entry["seconds"], entry["work"]
    judge.reached = {name: set(lines) for name, lines in entry["reached"].items()}
    return not entry["trouble"]


def examined_judges(jobs, left_out):
    """The judges that pass."""
    store = json.loads(REACH.read_text()) if REACH.exists() else {}
    found, guard = [judge for judge in judges() if not left_out.match(judge.name)], threading.Lock()
    with concurrent.futures.ThreadPoolExecutor(jobs, initializer=take_scratch) as pool:
        passed = list(pool.map(lambda judge: examine(judge, scratch_folder(), store, guard), found))
    for judge, ok in zip(found, passed):
        if not ok:
            say(f"{judge.name} is no judge: it fails without a change")
    return [judge for judge, ok in zip(found, passed) if ok]


def judges_of(file, line, all_judges):
    """Those that reach a line, and those of its folder, which may reach it in a process that
    is killed before it writes down what it has reached. If there are none, those that reach
    its file: the line may be a constant. The likeliest and quickest come first."""
    folder = f"/tests/{file.split('/')[1]}"

    def reaches(judge):
        return line in judge.reached.get(file, ())

    found = [judge for judge in all_judges if reaches(judge) or judge.folder.endswith(folder)]
    if not any(map(reaches, found)):
        found += [judge for judge in all_judges if file in judge.reached and judge not in found]
    return sorted(found, key=lambda j: (j.is_last, not reaches(j), not j.folder.endswith(folder), j.work))


# Compiling a change


def words_before_output(command):
    words = shlex.split(command)
    return [word for word in words[: words.index("-o")] if word != "-Werror"]


def library_headers(sources):
    """The directives of some sources for headers of Qt and the standard library."""
    directive = re.compile(r"^#include <(?:Q\w+|[a-z_]+)>\n", re.MULTILINE)
    files = [file for path in sources for file in (path, path.with_suffix(".h")) if file.exists()]
    return sorted({line for file in files for line in directive.findall(file.read_text(encoding="utf-8"))})


class Compiler:
    """Compiles changed sources and links them into copies of the layers."""

    def __init__(self):
        self.guard = threading.Lock()
        self.commands = {}
        for entry in json.loads((BUILD / "compile_commands.json").read_text()):
            match = re.search(r"-o (src/CMakeFiles/(quillmarch_\w+)\.dir/\S+)", entry["command"])
            if match:
                self.commands[match.group(1)] = (match.group(2), entry["command"], entry["file"])
        self.headers = {layer: self.precompiled(layer) for layer in {entry[0] for entry in self.commands.values()}}
        self.links = {layer: self.link_command(layer) for layer in {entry[0] for entry in self.commands.values()}}
        self.users = self.users_of_files()

    def precompiled(self, layer):
        """A header with all headers of Qt and of the standard library that a layer uses:
        parsing them takes most of the time of a compilation."""
        entries = [entry for entry in self.commands.values() if entry[0] == layer]
        text = "".join(library_headers([pathlib.Path(entry[2]) for entry in entries]))
        words = words_before_output(entries[0][1])
        path = WORK / "headers" / hashlib.sha256(repr((words, text)).encode()).hexdigest() / "all.h"
        if not path.with_suffix(".h.gch").exists():
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
            command = [*words, "-w", "-x", "c++-header", str(path), "-o", str(path.with_suffix(".h.gch"))]
            subprocess.run(command, cwd=BUILD, check=True)
        return path

    @staticmethod
    def link_command(layer):
        done = subprocess.run(
            ["ninja", "-C", str(BUILD), "-t", "commands", "-s", f"src/lib{layer}.so"],
            capture_output=True, text=True, check=True,
        )
        return [line for line in done.stdout.splitlines() if f"-o src/lib{layer}.so" in line][-1]

    def users_of_files(self):
        """{source or header: the objects that are compiled from it}."""
        done = subprocess.run(["ninja", "-C", str(BUILD), "-t", "deps"], capture_output=True, text=True, check=True)
        users, target = {}, ""
        for line in done.stdout.splitlines():
            if line and not line.startswith(" "):
                target = line.split(": #deps")[0]
            elif target in self.commands and line:
                path = os.path.relpath(BUILD / line.strip(), SOURCE)
                users.setdefault(path, []).append(target)
        return users

    def compile(self, target, text, output, overlay):
        """Compiles \a text in place of the source of an object; headers of \a overlay come first."""
        layer, command, _ = self.commands[target]
        words = words_before_output(command)
        first = ["-I", str(overlay)] if overlay else []
        shared = ["-include", str(self.headers[layer])]
        command = [words[0], *first, *words[1:], *shared, "-w", "-x", "c++", "-", "-c", "-o", str(output)]
        done = subprocess.run(command, cwd=BUILD, input=text.encode(), capture_output=True)
        return done.returncode == 0

    def plain_object(self, target):
        """The object without a change, compiled in the same way."""
        text = pathlib.Path(self.commands[target][2]).read_text(encoding="utf-8")
        path = WORK / "objects" / hashlib.sha256((target + text).encode()).hexdigest()
        if not path.exists():
            path.parent.mkdir(exist_ok=True)
            temporary = path.with_suffix(f".{threading.get_ident()}")
            if not self.compile(target, text, temporary, None):
                sys.exit(f"mutate: {target}: does not compile without a change")
            temporary.rename(path)
        return path

    def link(self, layer, changed, folder):
        output = folder / f"lib{layer}.so"
        command = self.links[layer].replace(f"-o src/lib{layer}.so", f"-Wl,-Bsymbolic-functions -o {output}", 1)
        for target, path in changed.items():
            command = command.replace(f" {target} ", f" {path} ", 1)
        return subprocess.run(["sh", "-c", command], cwd=BUILD, capture_output=True).returncode == 0

    def prepare(self, file, text, scratch):
        """Builds the layers with \a file replaced by \a text into scratch/lib. Returns
        "", "same code" or "does not compile"."""
        folder, overlay = scratch / "lib", None
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        if file.endswith(".h"):
            overlay = scratch / "include"
            shutil.rmtree(overlay, ignore_errors=True)
            (overlay / file).parent.mkdir(parents=True)
            (overlay / file).write_text(text, encoding="utf-8")
            overlay = overlay / "src"
        changed = {}
        for number, target in enumerate(self.users[file]):
            content = pathlib.Path(self.commands[target][2]).read_text(encoding="utf-8") if overlay else text
            output = folder / f"{number}.o"
            if not self.compile(target, content, output, overlay):
                return "does not compile"
            if output.read_bytes() != self.plain_object(target).read_bytes():
                changed[target] = output
        if not changed:
            return "" if overlay else "same code" # tests also compile the inline functions of a header
        for layer in {self.commands[target][0] for target in changed}:
            parts = {target: path for target, path in changed.items() if self.commands[target][0] == layer}
            if not self.link(layer, parts, folder):
                return "does not compile"
        return ""


# The changes


scratch_numbers = iter(range(1000))
local = threading.local()


def take_scratch():
    local.folder = WORK / f"scratch{next(scratch_numbers)}"
    local.folder.mkdir(parents=True, exist_ok=True)


def scratch_folder():
    return local.folder


def all_sources():
    sources = {}
    for path in sorted((ROOT / "src").glob("*/*.*")):
        if path.suffix in (".cpp", ".h") and path.name != "main.cpp":
            name = str(path.relative_to(ROOT))
            sources.setdefault(path.parent.name, {})[name] = path.read_text(encoding="utf-8")
    return sources


def short(text):
    words = " ".join(text.split())
    return words if len(words) <= 70 else words[:67] + "..."


def row_of(file, text, change):
    line = mutations.line_of(text, change.start)
    column = change.start - text.rfind("\n", 0, change.start)
    old, new = short(text[change.start : change.end]), short(change.text)
    return {"file": file, "place": f"{line}:{column}", "change": f"{change.kind}: {old} -> {new}"}


def key(row):
    return (row["file"], row["place"], row["change"])


def read_table():
    if not TABLE.exists():
        return {}
    lines = TABLE.read_text(encoding="utf-8").splitlines()[1:]
    rows = [dict(zip(COLUMNS, line.split("\t"))) for line in lines]
    return {key(row): row for row in rows}


def all_changes(texts):
    """{key: (file, change)} of every change of the sources \a texts, {file: text}."""
    return {
        key(row_of(file, text, change)): (file, change)
        for file, text in texts.items()
        for change in mutations.changes_of(text)
    }


def place_of(row):
    return row["file"], *map(int, row["place"].split(":")), row["change"]


def write_table(rows):
    lines = ["\t".join(COLUMNS)]
    lines += ["\t".join(row.get(column, "") for column in COLUMNS) for row in sorted(rows.values(), key=place_of)]
    temporary = TABLE.with_suffix(".part")
    temporary.write_text("\n".join(lines) + "\n", encoding="utf-8")
    temporary.replace(TABLE)


def verdict(file, line, scratch, all_judges, shortest, longest):
    """The outcome of a change whose layers are in scratch/lib, and who noticed it."""
    libraries = [scratch / "lib", BUILD / "src"]
    reaching = judges_of(file, line, all_judges)
    left = "" if any(line in judge.reached.get(file, ()) for judge in reaching) else "no test reaches the line"
    for judge in reaching:
        if judge.work <= shortest:
            continue
        if judge.work > longest:
            left = left or f"not run: tests of more than {longest:g} s"
            continue
        # Twice, since a test that waits for something may fail on a busy machine.
        trouble = all(run_judge(judge, libraries, scratch, judge.limits())[0] for _ in range(2))
        if trouble:
            return "noticed", f"{judge.name} {failed_function((scratch / 'output').read_text(errors='replace'))}"
    return "survived", left


def measure(row, file, text, change, compiler, all_judges, shortest, longest):
    scratch = scratch_folder()
    outcome = compiler.prepare(file, change.applied(text), scratch)
    by = ""
    if not outcome:
        line = mutations.line_of(text, change.start)
        outcome, by = verdict(file, line, scratch, all_judges, shortest, longest)
    return {**row, "outcome": outcome, "by": by, "reason": ""}


def counted(row):
    return row["outcome"] != "does not compile"


def report(rows):
    outcomes = [row["outcome"] for row in rows.values()]
    noticed, survived, same = (outcomes.count(name) for name in ("noticed", "survived", "same code"))
    say(f"{noticed} noticed, {survived} survived, {same} give the same code; "
        f"{outcomes.count('does not compile')} more do not compile")


def run(options, compiler, all_judges):
    sources = all_sources()
    texts = {name: text for files in sources.values() for name, text in files.items()}
    possible = all_changes(texts)
    rows = {entry: row for entry, row in read_table().items() if entry in possible} # others were of older sources
    if options.again:
        tasks = [possible[entry] for entry, row in rows.items() if row["outcome"] == "survived" and not row["reason"]]
    else:
        drawn = mutations.drawn(sources, options.seed, options.count)
        tasks = [(file, change) for file, change in drawn if key(row_of(file, texts[file], change)) not in rows]
    waiting = iter(tasks)
    end = time.monotonic() + 60 * options.minutes
    guard = threading.Lock()

    def work():
        take_scratch()
        while time.monotonic() < end:
            with guard:
                enough = not options.again and sum(map(counted, rows.values())) >= options.count
                task = None if enough else next(waiting, None)
            if task is None:
                return
            file, change = task
            row = row_of(file, texts[file], change)
            row = measure(row, file, texts[file], change, compiler, all_judges, options.shortest, options.longest)
            with guard:
                rows[key(row)] = row
                write_table(rows)
            say(f"{row['file']}:{row['place']} {row['change']}: {row['outcome']} {row['by']}")

    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for done in [pool.submit(work) for _ in range(options.jobs)]:
            done.result()
    report(rows)


def parse_arguments():
    parser = argparse.ArgumentParser(description="Measures how many small changes of src the tests notice.")
    parser.add_argument("--seed", type=int, default=18)
    parser.add_argument("--count", type=int, default=500, help="changes that compile (default: 500)")
    parser.add_argument("--minutes", type=float, default=600, help="start no further change after this time")
    parser.add_argument("--shortest", type=float, default=0, help="leave out tests of at most so many seconds")
    parser.add_argument("--longest", type=float, default=20, help="leave out tests of more seconds (default: 20)")
    parser.add_argument("--without", type=re.compile, default="$.", help="leave out tests whose name begins like this")
    parser.add_argument("--again", action="store_true", help="repeat those that survived and have no reason")
    parser.add_argument("--jobs", type=int, default=2)
    return parser.parse_args()


def main():
    options = parse_arguments()
    os.nice(10)
    WORK.mkdir(parents=True, exist_ok=True)
    copy_project()
    say("Building")
    build("release", BUILD)
    build("coverage", COVERAGE, *LAYERS)
    say("Running the tests without a change")
    run(options, Compiler(), examined_judges(options.jobs, options.without))


if __name__ == "__main__":
    main()
