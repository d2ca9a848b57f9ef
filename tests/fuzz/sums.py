#!/usr/bin/env python3
"""Adds the results of fuzz runs to the documents.

    tests/fuzz/run.sh 60 | tee log; tests/fuzz/sums.py log

The lines that run.sh prints at its end go to docs/reliability-runs.tsv, each once, and
their sums to the table in docs/reliability.md. Without arguments only the table is
written again.
"""

import pathlib
import sys

DOCS = pathlib.Path(__file__).resolve().parents[2] / "docs"
RUNS = DOCS / "reliability-runs.tsv"
DOCUMENT = DOCS / "reliability.md"
BEGIN = "<!-- sums of the fuzz runs, by tests/fuzz/sums.py -->\n"
END = "<!-- end of the sums -->\n"
COLUMNS = ("driver", "preset", "commit", "date", "seed", "inputs", "seconds", "findings")


def runs_in(text):
    """The runs in the output of run.sh."""
    for line in text.splitlines():
        fields = line.split("\t")
        if fields[0] == "run":
            if len(fields) != len(COLUMNS) + 1:
                sys.exit(f"sums.py: not the line of a run: {line}")
            yield tuple(fields[1:])


def known_runs():
    return [tuple(line.split("\t")) for line in RUNS.read_text().splitlines()[1:]]


def rows_of(runs):
    """One row for each driver in each build, in the order of the first runs."""
    for driver, preset in dict.fromkeys(run[:2] for run in runs):
        own = [run for run in runs if run[:2] == (driver, preset)]
        inputs = sum(int(run[5]) for run in own)
        seconds = sum(float(run[6]) for run in own)
        findings = sum(int(run[7]) for run in own)
        rate = inputs / seconds if seconds else 0
        yield (f"| `fuzz_{driver}` | `{preset}` | {len(own)} | {inputs:,} | {seconds / 3600:.2f} | {rate:,.0f} "
               f"| {findings} | {max(run[3] for run in own)} |\n")


def table_of(runs):
    head = "| Driver | Preset | Runs | Inputs | Processor hours | Inputs a second | Findings | Last run |\n"
    return head + "|---|---|---:|---:|---:|---:|---:|---|\n" + "".join(rows_of(runs))


def main():
    runs = known_runs()
    for name in sys.argv[1:]:
        runs += [run for run in runs_in(pathlib.Path(name).read_text()) if run not in runs]
    RUNS.write_text("".join("\t".join(row) + "\n" for row in [COLUMNS, *runs]))
    before, _, rest = DOCUMENT.read_text().partition(BEGIN)
    _, found, after = rest.partition(END)
    if not found:
        sys.exit(f"sums.py: {DOCUMENT} has no place for the table")
    DOCUMENT.write_text(before + BEGIN + table_of(runs) + END + after)


if __name__ == "__main__":
    main()
