"""Checks the numbers of fatal assertions.

Usage: assertions.py [ROOT]

An assertion prints a source name and a number. Under one source name each number names one place, so that
a message leads to the code. Where two checks print one number on purpose, both have a comment that begins
"shared number". A number is written out or is a constant kNameLine of the same file; never __LINE__, which
changes with every edit. Prints a line "FILE:LINE: RULE" for each fault and then ends with 1.
"""

import collections
import re
import sys

import report

FOLDERS = ("core", "QuickLookPlugin", "SpotlightImporter")
SUFFIXES = (".h", ".cpp", ".mm")
ASSERTIONS = ("AssertAt", "FatalAssert")
THE_CONVENTION = ("core/base/fatal.h", "core/base/fatal.cpp")
SHARED = "// shared number"

CONSTANT_SOURCE = re.compile(r'constexpr char (\w+)\[\] = "([^"]+)";')
CONSTANT_LINE = re.compile(r"constexpr int (k\w*Line) = (\d+);")
# A function of which the caller chooses the number.
FORWARDING = re.compile(r"\b(\w+)\([^()]*\bint (?:\w+_)?line\)")
COMMENT = re.compile(r"//[^\n]*")

Place = collections.namedtuple("Place", "name number shared")


def without_comments(text):
    """The text with its comments blanked, so that positions stay."""
    return COMMENT.sub(lambda found: " " * len(found[0]), text)


def arguments_at(text, start):
    """The arguments of a call whose opening parenthesis stands before `start`."""
    depth = 0
    argument = ""
    arguments = []
    quoted = False
    for index in range(start, len(text)):
        letter = text[index]
        if letter == '"':
            quoted = not quoted
        elif not quoted and letter in "([{":
            depth += 1
        elif not quoted and letter in ")]}":
            depth -= 1
            if depth < 0:
                return [*arguments, argument.strip()]
        elif not quoted and letter == "," and depth == 0:
            arguments.append(argument.strip())
            argument = ""
            continue
        argument += letter
    return [*arguments, argument.strip()]


def calls(text, names):
    """The calls of some functions in a text: (function, position, arguments)."""
    for found in re.finditer(r"\b(" + "|".join(map(re.escape, names)) + r")\(", text):
        yield found[1], found.start(), arguments_at(text, found.end())


def forwarding_functions(texts):
    names = {name for text in texts for name in FORWARDING.findall(without_comments(text))}
    return sorted(names - set(ASSERTIONS))


class File:
    """What one file says of sources and numbers."""

    def __init__(self, name, text):
        self.name = name
        self.code = without_comments(text)
        self.lines = text.splitlines()
        self.sources = dict(CONSTANT_SOURCE.findall(text))
        self.constants = dict(CONSTANT_LINE.findall(text))
        # A constant's number stands where the constant is defined.
        self.constant_lines = {found[1]: self.line_of(found.start()) for found in CONSTANT_LINE.finditer(text)}

    def line_of(self, position):
        return self.code.count("\n", 0, position) + 1

    def source_of(self, argument):
        return argument.strip('"') if argument.startswith('"') else self.sources.get(argument)

    def place(self, line):
        return Place(self.name, line, SHARED in self.lines[line - 1])


def is_parameter(argument):
    return re.fullmatch(r"(?:int )?(?:\w+_)?line", argument) is not None


def note(file, source, number, position, places, faults):
    """Files one number under its source, or says why that cannot be done."""
    line = file.line_of(position)
    if number in file.constants:
        line = file.constant_lines[number]
        number = file.constants[number]
    if not source:
        faults.append((file.name, line, "an assertion's source name is a text or a constant of the same file"))
    elif not number.isdigit():
        faults.append((file.name, line, "an assertion's number is written out or a constant kNameLine, not " + number))
    else:
        place = file.place(line)
        if place not in places[source, number]:
            places[source, number].append(place)


def check(root):
    """Yields (file, line, rule) for each fault."""
    paths = sorted(path for folder in FOLDERS for path in (root / folder).rglob("*") if path.suffix in SUFFIXES)
    files = [File(str(path.relative_to(root)), path.read_text(encoding="utf-8")) for path in paths]
    forwarding = forwarding_functions(file.code for file in files)
    places = collections.defaultdict(list)
    faults = []
    for file in files:
        if file.name in THE_CONVENTION:
            continue
        for _, position, arguments in calls(file.code, ASSERTIONS):
            if not is_parameter(arguments[-1]):
                note(file, file.source_of(arguments[-2]), arguments[-1], position, places, faults)
        for _, position, arguments in calls(file.code, forwarding) if forwarding else ():
            if not is_parameter(arguments[-1]):
                note(file, file.sources.get("kSource"), arguments[-1], position, places, faults)
    if not places:
        faults.append((FOLDERS[0], 1, "no assertions were found"))
    yield from faults
    for (source, number), found in sorted(places.items()):
        for place in found if len(found) > 1 else ():
            if not place.shared:
                others = ", ".join(f"{other.name}:{other.number}" for other in found if other != place)
                yield place.name, place.number, f'{number} of "{source}" is also printed by {others}'


if __name__ == "__main__":
    sys.exit(report.run(__doc__, check, sys.argv[1:]))
