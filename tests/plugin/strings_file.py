"""Reads a .strings file the way the system does: pairs of quoted strings, and comments between them."""

import re
import unicodedata

SKIPPED = re.compile(r"(?:\s+|/\*.*?\*/|//[^\n]*)*", re.DOTALL)
QUOTED = r'"((?:[^"\\]|\\["\\nrt])*)"'
PAIR = re.compile(QUOTED + r"\s*=\s*" + QUOTED + r"\s*;")


class Malformed(Exception):
    """The text is no strings file, or one that does not say what it seems to."""


def read(path):
    """Returns the pairs of the file as a dictionary. Malformed says what is wrong with it."""
    try:
        text = path.read_bytes().decode("utf-8")
    except UnicodeDecodeError as problem:
        raise Malformed(f"not UTF-8: {problem}") from problem
    return parse(text)


def parse(text):
    if unicodedata.normalize("NFC", text) != text:
        raise Malformed("characters are taken apart")
    for character in text:
        if unicodedata.category(character) in ("Cc", "Cf", "Co", "Cn", "Zl", "Zp") and character != "\n":
            raise Malformed(f"invisible character U+{ord(character):04X}")
    pairs = {}
    at = SKIPPED.match(text).end()
    while at < len(text):
        pair = PAIR.match(text, at)
        if not pair:
            raise Malformed(f"no pair at {text[at : at + 20]!r}")
        key, value = pair.groups()
        if key in pairs:
            raise Malformed(f"{key} is there twice")
        if not value or value != value.strip():
            raise Malformed(f"the text of {key} is empty or has blanks around it")
        pairs[key] = value
        at = SKIPPED.match(text, pair.end()).end()
    return pairs
