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
# A function of which the caller chooses the number, and the name of that parameter.
FORWARDING = re.compile(r"\b(\w+)\([^()]*\bint (\w*line)\)")
TEXT_OR_COMMENT = re.compile(r"""//[^\n]*|"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])*'""")
PLAIN_TEXT = re.compile(r'"[\w/]*"')
NUMBER = re.compile(r"[1-9]\d*")

Place = collections.namedtuple("Place", "name line position shared")


def code_of(text):
    """The text with its comments and all but plain texts blanked, so that positions stay."""
    return TEXT_OR_COMMENT.sub(lambda found: found[0] if PLAIN_TEXT.fullmatch(found[0]) else "_" * len(found[0]), text)


def arguments_at(code, start):
    """The arguments of a call whose opening parenthesis stands before `start`."""
    depth = 0
    argument = ""
    arguments = []
    for letter in code[start:]:
        depth += (letter in "([{") - (letter in ")]}")
        if depth < 0:
            break
        if letter == "," and depth == 0:
            arguments.append(argument.strip())
            argument = ""
        else:
            argument += letter
    return [*arguments, argument.strip()]


def calls(code, names):
    """The calls of some functions, with template arguments or without: (position, arguments)."""
    for found in re.finditer(r"\b(?:" + "|".join(names) + r")\s*(?:<[^<>;()]*>)?\s*\(", code):
        yield found.start(), arguments_at(code, found.end())


class File:
    """What one file says of sources and numbers."""

    def __init__(self, name, text):
        self.name = name
        self.code = code_of(text)
        self.lines = text.splitlines()
        self.sources = dict(CONSTANT_SOURCE.findall(text))
        self.constants = dict(CONSTANT_LINE.findall(text))
        self.forwarding = dict(FORWARDING.findall(self.code))

    def place(self, position):
        line = self.code.count("\n", 0, position) + 1
        return Place(self.name, line, position, SHARED in self.lines[line - 1])

    def source_of(self, argument):
        return argument.strip('"') if PLAIN_TEXT.fullmatch(argument) else self.sources.get(argument)

    def numbers(self, forwarding):
        """What is printed where: (place, source or None, number as it is written)."""
        for position, arguments in calls(self.code, ASSERTIONS):
            yield self.place(position), self.source_of(arguments[-2]), arguments[-1]
        for position, arguments in calls(self.code, forwarding) if forwarding else ():
            yield self.place(position), self.sources.get("kSource"), arguments[-1]

    def is_parameter(self, argument):
        return argument.removeprefix("int ") in self.forwarding.values()


def check(root):
    """Yields (file, line, rule) for each fault."""
    paths = sorted(path for folder in FOLDERS for path in (root / folder).rglob("*") if path.suffix in SUFFIXES)
    names = {path: str(path.relative_to(root)) for path in paths}
    files = [File(names[path], path.read_text(encoding="utf-8")) for path in paths if names[path] not in THE_CONVENTION]
    forwarding = sorted({function for file in files for function in file.forwarding})
    places = collections.defaultdict(list)
    for file in files:
        for place, source, number in file.numbers(forwarding):
            if file.is_parameter(number):
                continue
            number = file.constants.get(number, number)
            if not source:
                yield place.name, place.line, "an assertion's source name is a text or a constant of the same file"
            elif not NUMBER.fullmatch(number):
                rule = "an assertion's number is written out or a constant kNameLine"
                yield place.name, place.line, f"{rule}, not {number}"
            else:
                places[source, number].append(place)
    if not places:
        yield FOLDERS[0], 1, "no assertions were found"
    for (source, number), found in sorted(places.items()):
        for place in found if len(found) > 1 else ():
            if not place.shared:
                others = ", ".join(f"{other.name}:{other.line}" for other in found if other != place)
                yield place.name, place.line, f'{number} of "{source}" is also printed by {others}'


if __name__ == "__main__":
    sys.exit(report.run(__doc__, check, sys.argv[1:]))
