"""Runs a program many times, each in a fresh process: repeat.py --times N PROGRAM [ARGUMENT...]."""

import argparse
import subprocess
import sys


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--times", type=int, required=True)
    parser.add_argument("command", nargs=argparse.REMAINDER)
    options = parser.parse_args()
    for run in range(1, options.times + 1):
        process = subprocess.run(options.command, stdin=subprocess.DEVNULL, capture_output=True, timeout=60, check=False)
        if process.returncode != 0 or process.stdout or process.stderr:
            sys.exit("run %d of %d ended with %d: %r" % (run, options.times, process.returncode,
                                                         process.stdout + process.stderr))


main()
