"""Writes the inputs that the fuzz targets start from.

Usage: make_seeds.py FOLDER [TARGET]

Each target gets a folder of its own below FOLDER. What was there before is replaced.
"""

import importlib
import pathlib
import shutil
import sys

SEEDS = pathlib.Path(__file__).resolve().parents[1] / "seeds"


def all_seeds():
    """The seeds of every target: {target: {name: bytes}}."""
    sys.path.insert(0, str(SEEDS))
    seeds = {}
    for module in sorted(SEEDS.glob("*_seeds.py")):
        seeds.update(importlib.import_module(module.stem).SEEDS)
    return seeds


def main(arguments):
    if len(arguments) not in (1, 2) or arguments[0] in ("-h", "--help"):
        print(__doc__, file=sys.stderr)
        return 2
    folder = pathlib.Path(arguments[0])
    seeds = all_seeds()
    if len(arguments) == 2 and arguments[1] not in seeds:
        print(f"make_seeds.py: no target '{arguments[1]}'", file=sys.stderr)
        return 2
    for target in arguments[1:] or seeds:
        shutil.rmtree(folder / target, ignore_errors=True)
        (folder / target).mkdir(parents=True)
        for name, data in seeds[target].items():
            (folder / target / name).write_bytes(data)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
