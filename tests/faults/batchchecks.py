"""What must be true after any run of quillmarch-batch, whatever happened to it."""

import json
import re
import signal
import subprocess

OLD_FILE = b"%PDF-1.4 of before\n"  # a target that exists before the run
PART_FILE = re.compile(r"quillmarch-[0-9]+\.pdf\.part")
EXIT_CODES = (0, 2, 3, 4, 5)
SANITIZER_CODE = 77  # given to the sanitizers, which end with a documented code otherwise


def what_is_wrong_with_pdf(data):
    """Why those bytes are not a complete PDF file; empty if they are."""
    end = re.search(rb"startxref\n([0-9]+)\n%%EOF\n?$", data[-64:])
    if not data.startswith(b"%PDF-") or not end:
        return "it has no header or no end"
    table = data[int(end[1]) :]
    return "" if table.startswith(b"xref") or re.match(rb"[0-9]+ 0 obj", table) else "its table is not where it says"


def qpdf_errors(path):
    result = subprocess.run(["qpdf", "--check", path], capture_output=True, text=True, check=False)
    return "" if result.returncode == 0 else f"{path.name}: qpdf: {result.stdout}{result.stderr}"


class Checks:
    """The checks of one run; `run` is a batch_faults.Run that has ended."""

    def __init__(self, run):
        self.run = run
        self.errors = run.errors.decode(errors="replace")
        self.mistakes = []

    def all(self):
        self.check_end()
        self.check_images()
        self.check_files()
        self.check_targets()
        self.check_exit_code()
        self.check_json()
        return self.mistakes

    def refuse(self, text):
        self.mistakes.append(text)

    def check_end(self):
        code = self.run.code
        if self.run.hung:
            self.refuse(f"it hung: {self.run.hung}")
        elif code < 0 and -code not in self.run.sent and not (code == -signal.SIGPIPE and self.run.breaks_pipe):
            self.refuse(f"it crashed with signal {-code}")
        elif code >= 0 and code not in EXIT_CODES:
            self.refuse(f"it ended with the code {code}")
        crash = re.search(r"worker process crashed with signal ([0-9]+)", self.errors)
        if crash and int(crash[1]) not in self.run.sent:
            self.refuse(f"a worker crashed: {self.errors}")
        reports = [path.read_text(errors="replace") for path in self.run.sanitizer_reports()]
        if reports or "Sanitizer" in self.errors:
            self.refuse("a sanitizer reports: " + "\n".join([*reports, self.errors]))

    def check_images(self):
        for path, data in self.run.untouched_images().items():
            if not path.exists() or path.read_bytes() != data:
                self.refuse(f"the image {path.name} changed")

    def check_files(self):
        """No file is left but those that were there and those that were asked for."""
        expected = set(self.run.images) | set(self.run.targets) | self.run.own_files()
        for path in self.run.folder.rglob("*"):
            if path.is_dir() or path in expected:
                continue
            if not (signal.SIGKILL in self.run.sent and PART_FILE.fullmatch(path.name)):
                self.refuse(f"{path.relative_to(self.run.folder)} was left")

    def check_targets(self):
        for path, data in self.run.results.items():
            if data is None and path in self.run.old_targets and not self.run.removes_output:
                self.refuse(f"the old {path.name} is gone")
            if data is not None and data != OLD_FILE and path.suffix == ".pdf":
                reason = what_is_wrong_with_pdf(data)
                self.mistakes += [f"{path.name} is broken: {reason}"] if reason else []
        if self.run.to_output and self.run.code == 0 and not self.run.breaks_output:
            reason = what_is_wrong_with_pdf(self.run.output)
            self.mistakes += [f"the file on standard output is broken: {reason}"] if reason else []

    def check_exit_code(self):
        """The exit code and what was written fit."""
        run = self.run
        new = run.new_files()
        if run.is_dry and new:
            self.refuse(f"a dry run wrote {new[0].name}")
        if run.code == 0 and not run.is_dry and not run.removes_output and len(new) < len(run.targets):
            self.refuse("it ended with 0 and did not write all files")
        if run.code == 2 and new:
            self.refuse("it ended with 2 and wrote a file")
        if run.code in (3, 5) and run.targets and len(new) == len(run.targets):
            self.refuse(f"it ended with {run.code} and wrote all files")
        if run.code == 4 and run.targets and len(new) == len(run.targets) and not run.breaks_output:
            self.refuse("it ended with 4 and wrote all files")
        if run.code in (3, 5) and not run.can_blame_images:
            self.refuse(f"it ended with {run.code} and all images are good")
        if run.code > 0 and not self.errors and not run.breaks_errors:
            self.refuse(f"it ended with {run.code} and did not say why")
        if run.expected_code is not None and run.code != run.expected_code:
            self.refuse(f"it ended with {run.code}, not with {run.expected_code}: {self.errors}")

    def check_json(self):
        """The lines of a run that came to its end; `run.output` has all of them."""
        run = self.run
        is_broken = run.breaks_errors if run.to_output else run.breaks_output
        if not run.is_json or run.code not in (0, 3, 4, 5) or is_broken:
            return
        text = self.errors if run.to_output else run.output.decode()
        lines = [line for line in text.splitlines() if not run.to_output or line.startswith("{")]
        try:
            events = [json.loads(line) for line in lines]
        except ValueError as error:
            self.refuse(f"its output is not JSON: {error}: {text}")
            return
        if not events or events[-1]["event"] != "end" or events[-1]["exit"] != run.code:
            self.refuse(f"its last line does not say that it ended with {run.code}: {text}")
        for event in events:
            data = run.results.get(run.folder / event.get("output", "-"), b"")
            if event["event"] == "done" and data in (None, OLD_FILE) and not run.is_dry and not run.removes_output:
                self.refuse(f"it says that it wrote {event['output']}")
