"""Feeds strings of all kinds to the output writers and reads the result with Python's own parsers."""

import json
import plistlib
import random
import struct
import subprocess
import sys
import unittest

PROBE = sys.argv.pop(1)


def units_of(text):
    return text.encode("utf-16-le", "surrogatepass")


def without_lone_surrogates(text):
    return units_of(text).decode("utf-16-le", "replace")


def probe(kind, strings):
    data = b"".join(struct.pack("=I", len(units_of(s)) // 2) + units_of(s) for s in strings)
    return subprocess.run([PROBE, kind], input=data, stdout=subprocess.PIPE, check=True).stdout


def every_character():
    """All characters, in strings of 256."""
    return ["".join(map(chr, range(start, start + 256))) for start in range(0, 0x110000, 256)
            if not 0xD800 <= start < 0xE000]


def random_strings():
    source = random.Random(20240229)
    alphabet = "ab\"\\/&<>]\x00\x1b\n\r\t\x7f\x85\u2028\u4e2d\ufffe\uffff\U0001f600\ud800\udc00"
    return ["".join(source.choice(alphabet) for _ in range(source.randrange(40))) for _ in range(3000)]


def as_xml_can_hold(text):
    return "".join("\ufffd" if c < " " and c not in "\t\n\r" or c in "\ufffe\uffff" else c for c in text)


class Writers(unittest.TestCase):
    maxDiff = 300

    def check(self, kind, strings):
        expected = [without_lone_surrogates(s) for s in strings]
        output = probe(kind, strings)
        if kind == "plist":
            head = b'<?xml version="1.0" encoding="UTF-8"?><plist version="1.0">'
            parsed = plistlib.loads(head + output + b"</plist>")
            expected = [as_xml_can_hold(s) for s in expected]
        else:
            parsed = json.loads(output.decode("utf-8"))
        self.assertEqual(len(expected), len(parsed))
        for want, got in zip(expected, parsed):
            self.assertEqual(want, got)

    def test_every_character_comes_back(self):
        for kind in ("json", "lines", "plist"):
            with self.subTest(kind):
                self.check(kind, every_character())

    def test_random_strings_come_back(self):
        for kind in ("json", "lines", "plist"):
            with self.subTest(kind):
                self.check(kind, random_strings())

    def test_json_holds_no_control_character(self):
        output = probe("json", every_character()).decode("utf-8")
        self.assertEqual([], [c for c in output if c < " " or "\x7f" <= c <= "\x9f"])

    def test_no_strings_are_an_empty_array(self):
        self.assertEqual(b"[]", probe("json", []))


unittest.main()
