"""Formats with their arguments, and texts in all kinds of encodings."""

import random
import struct

LETTERS = b'dddiuoxXbpffsSScmUIVaAhHZZz%egEGnqjtwkyDFT$!?~"\\\x7f'
FLAGS = b" #+-00-:"


def directive(letter, flags=b"", width=None, precision=None, argument=b"", large=False):
    """The bytes that stand for one directive. Options below 32 stand for themselves, 192 to 207 for 88 to 103."""
    parts = (3 if large else 0) | (4 if flags else 0) | (8 if width is not None else 0) | (16 if precision is not None else 0)
    data = bytes([0, parts, LETTERS.index(letter)])
    if flags:
        data += bytes([len(flags) - 1, *(FLAGS.index(flag) for flag in flags)])
    for option in (width, precision):
        if option is not None:
            data += bytes([32, option])
    return data + argument


def format_seed(wide, size, *directives):
    return bytes([wide, 1]) + struct.pack("<IB", size, 0) + b"".join(directives)


def integer(value):
    return b"\0" + struct.pack("<Q", value)


def fraction(numerator, denominator):
    return b"\x40" + struct.pack("<iH", numerator, denominator - 1)


def text(letters):
    return b"\0" + bytes([40 + len(letters)]) + letters


def formats():
    number = integer(1234)
    seeds = {
        "numbers": [directive(c, b"#0", 12, None, number) for c in b"diuoxXbp"],
        "signs": [directive(c, b"+", 9, 5, number) for c in b"diu"] + [directive(ord("d"), b" -", 9, 1, number)],
        "fixed": [directive(ord("d"), b":", 12, p, number) for p in (0, 2, 4, 9)],
        "long_numbers": [directive(ord("b"), b"#:", None, option, integer(2**64 - 1), True) for option in range(192, 208)],
        "doubles": [directive(ord("f"), b"+", 20, p, fraction(2050, 1000)) for p in (None, 0, 2, 20)],
        "strings": [directive(c, b"-", 9, p, text(b"abcdef")) for c in b"sS" for p in (None, 4)],
        "memory": [directive(ord("m"), b"", 9, 3, b"a\0c"), directive(ord("U"), b"", 9, 3, b"\0a /")],
        "addresses": [directive(ord("I"), flags, 16, None, integer(0xC0A80001)) for flags in (b"", b"0", b"0-")],
        "ipv6": [directive(ord("V"), b"", 20, 9, integer(1 << 40) + integer(5))],
        "endpoints": [directive(c, b"0", 30, None, bytes([kind]) + bytes(range(30)))
                      for c in b"aA" for kind in (0, 1, 2)],
        "hashes": [directive(c, b"", None, None, bytes(range(240, 260 - 4)) + b"\0\1\2\3") for c in b"hH"],
        "sizes": [directive(c, flags, 12, None, integer(1 << shift)) for c in b"Zz" for flags in (b"", b"#")
                  for shift in (9, 20, 40)],
    }
    made = {}
    for name, directives in seeds.items():
        for wide in (0, 1):
            for size in (8, 4096):
                made[f"{name}_{wide}_{size}"] = format_seed(wide, size, *directives)
    source = random.Random(7)
    return made | {f"random_{i}": source.randbytes(20 * (i + 1)) for i in range(20)}


def texts():
    """A choice of locale and of code page, and the bytes."""
    samples = {
        "ascii": b"A plain text of more than sixteen bytes",
        "latin": "\u00fcber".encode(),
        "wide": "\u65e5\u672c \u20ac".encode(),
        "face": b"a\xf0\x9f\x98\x80b",
        "every_four": b"".join(bytes([lead, 0x80, 0xbf, 0x90]) for lead in range(0xF0, 0xF8)),
        "overlong": b"\xc0\x80\xc1\xbf\xe0\x80\x80\xe0\x9f\xbf",
        "surrogates": b"\xed\xa0\xbd\xed\xb8\x80",
        "cut_two": b"ab\xc3",
        "cut_three": b"ab\xe2\x82",
        "cut_four": b"ab\xf0\x9f\x98",
        "stray": b"\x80\xbf\xf8\xff\xfe",
        "latin1": b"caf\xe9 au lait",
        "zero": b"ab\0cd\xc3\xa9",
        "long": b"x" * 120 + "\u00e9\u20ac".encode() * 40,
    }
    return {f"{name}_{locale}_{page}": bytes([locale, page, 255]) + text
            for name, text in samples.items() for locale in (0, 1) for page in (0, 1, 2)}


SEEDS = {"format": formats(), "utf8": texts()}
