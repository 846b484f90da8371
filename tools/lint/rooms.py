"""Checks who includes whom inside core/.

Usage: rooms.py [ROOT]

The library's rooms stand in an order. A header includes only from its own room or one to its left. A
source may look to its right where a service needs it, and each such place is a row of the table in
docs/architecture.md. Prints a line "FILE:LINE: RULE" for each fault and then ends with 1.
"""

import re
import sys

import report

# Rooms from left to right. Those that share a place do not include each other.
ORDER = [["base"], ["containers"], ["text"], ["format"], ["net", "bencode"], ["util"]]
PLACE = {room: place for place, rooms in enumerate(ORDER) for room in rooms}
PAGE = "docs/architecture.md"

INCLUDE = re.compile(r"\s*(?:#|%:)\s*(?:include\w*|import)\b\s*(.*)")
OF_THE_SYSTEM = re.compile(r"<(?!core/)[\w./+]+>")
ROW = re.compile(r"\|\s*`(core/[^`]+)`\s*\|\s*`(core/[^`]+)`\s*\|")


def includes(path):
    """The project's own includes of a file: (line number, path)."""
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        found = INCLUDE.match(line)
        if found and not OF_THE_SYSTEM.match(found[1]):
            in_quotes = re.match(r'["<]([^">]+)[">]', found[1])
            yield number, in_quotes[1] if in_quotes else found[1]


def room_of(name):
    """The room of a path below core/, or None."""
    parts = name.split("/")
    return parts[1] if len(parts) == 3 and parts[0] == "core" and parts[1] in PLACE else None


def looks_right(room, other):
    return other != room and PLACE[other] >= PLACE[room]


def listed_places(page):
    """The rows of the page's table: {(source, header): line number}."""
    rows = {}
    for number, line in enumerate(page.read_text(encoding="utf-8").splitlines(), 1):
        found = ROW.match(line)
        if found:
            rows[found[1], found[2]] = number
    return rows


def check_file(root, name, listed, used):
    room = room_of(name)
    if not room:
        yield name, 1, "a file of core/ stands in one of its rooms: " + ", ".join(PLACE)
        return
    for number, header in includes(root / name):
        other = room_of(header)
        if not other:
            yield name, number, f"core/ includes only from its own rooms, not {header}"
        elif not looks_right(room, other):
            continue
        elif name.endswith(".h"):
            yield name, number, f"a header includes only from its own room or one to its left: {room}, not {other}"
        elif (name, header) in listed:
            used.add((name, header))
        else:
            yield name, number, f"{room} looks right at {header}, which the table in {PAGE} does not list"


def check(root):
    """Yields (file, line, rule) for each fault."""
    listed = listed_places(root / PAGE)
    used = set()
    files = sorted(str(path.relative_to(root)) for path in (root / "core").rglob("*") if path.is_file())
    files = [name for name in files if name != "core/CMakeLists.txt"]
    if not files:
        yield "core", 1, "no files were found"
    for name in files:
        yield from check_file(root, name, listed, used)
    for place, number in listed.items():
        if place not in used:
            yield PAGE, number, f"no such place: {place[0]} does not look right at {place[1]}"


if __name__ == "__main__":
    sys.exit(report.run(__doc__, check, sys.argv[1:]))
