"""Reads what llvm-cov exports and prints a table of files, and what in them did not run.

Usage: coverage_report.py ROOT < export.json
"""

import json
import pathlib
import sys


def text_at(lines, branch):
    """The condition of a branch, as far as it stands in one line."""
    line, column, end_line, end_column = branch[:4]
    return lines[line - 1][column - 1:end_column - 1 if end_line == line else None].strip()


def missed_branches(lines, branches):
    """(line, condition, outcome) of each outcome that no copy of the code met."""
    met = {}
    for branch in branches:
        key = tuple(branch[:4])
        true, false = met.get(key, (0, 0))
        met[key] = (true + branch[4], false + branch[5])
    for key, counts in sorted(met.items()):
        for outcome, count in zip(("true", "false"), counts):
            if count == 0:
                yield key[0], text_at(lines, key), outcome


def missed_lines(segments):
    """The lines in which a counted region began or went on, and never ran."""
    ran, missed = set(), set()
    for (line, column, count, counted, _, gap), following in zip(segments, segments[1:]):
        if counted and not gap:
            last = following[0] if following[1] > 1 or following[0] == line else following[0] - 1
            (ran if count else missed).update(range(line, last + 1))
    return sorted(missed - ran)


def share(covered, count):
    return "-" if count == 0 else f"{100 * covered / count:.2f} %"


def main(root):
    files = json.load(sys.stdin)["data"][0]
    print(f"{'file':44}{'lines':>8}{'covered':>11}{'branches':>10}{'covered':>11}")
    rows = [(pathlib.Path(file["filename"]).relative_to(root), file["summary"]) for file in files["files"]]
    for name, summary in sorted(rows, key=lambda row: row[0]) + [("all", files["totals"])]:
        lines, branches = summary["lines"], summary["branches"]
        print(f"{str(name):44}{lines['count']:8}{share(lines['covered'], lines['count']):>11}"
              f"{branches['count']:10}{share(branches['covered'], branches['count']):>11}")
    print("\nNever run:")
    for file in files["files"]:
        path = pathlib.Path(file["filename"])
        lines = path.read_text().split("\n")
        name = path.relative_to(root)
        for line in missed_lines(file["segments"]):
            print(f"{name}:{line}: {lines[line - 1].strip()}")
        for line, condition, outcome in missed_branches(lines, file["branches"]):
            print(f"{name}:{line}: never {outcome}: {condition}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
