"""What the checks of this folder have in common: their command line and their output."""

import pathlib
import sys


def run(description, check, arguments):
    """Prints a line "FILE:LINE: RULE" for each fault that check(root) yields; returns the exit code."""
    if len(arguments) > 1 or arguments[:1] in (["-h"], ["--help"]):
        print(description, file=sys.stderr)
        return 2
    root = pathlib.Path(arguments[0]) if arguments else pathlib.Path(__file__).resolve().parents[2]
    faults = [f"{name}:{number}: {rule}" for name, number, rule in check(root)]
    if faults:
        print("\n".join(faults))
    return 1 if faults else 0
