"""Torrents: small ones of every kind that a reader can meet, good and bad."""

import pathlib
import sys

sys.path.append(str(pathlib.Path(__file__).resolve().parents[2] / "tests" / "tool"))
from torrents import bencode  # noqa: E402


def torrent(info=None, **entries):
    """A torrent of one file of 1536 bytes; `info` changes its info dictionary, `entries` the torrent itself."""
    fields = {"length": 1536, "name": "n", "piece length": 16384, "pieces": b"h" * 20, **(info or {})}
    return bencode({"info": {key: value for key, value in fields.items() if value is not None}, **entries})


def files(*paths, **entries):
    """A torrent of several files, each (path elements, length)."""
    listed = [{"length": length, "path": list(path)} for path, length in paths]
    pieces = max(1, -(-sum(length for _, length in paths) // 16384))
    return torrent({"length": None, "files": listed, "pieces": b"h" * 20 * pieces}, **entries)


# Readable torrents.
GOOD = {
    "single": torrent(),
    "texts": torrent(comment="A comment, 100 % \u20ac", **{"created by": "A maker 1.0"}),
    "texts_utf8": torrent(comment="old", **{"comment.utf-8": "\u00fcber", "created by": ""}),
    "wide_name": torrent({"name": "\u65e5\u672c.bin"}),
    "face_name": torrent({"name": "\U0001f600"}),
    "name_utf8": torrent({"name": b"\xff", "name.utf-8": "\u00e9"}),
    "private": torrent({"private": 1}),
    "date": torrent(**{"creation date": 1300000000}),
    "announce": torrent(announce="http://t/a"),
    "tiers": torrent(**{"announce-list": [["http://a"], ["udp://b", "http://c"], [], [b"\xff"]]}),
    "seed": torrent(**{"url-list": "http://s/"}),
    "seeds": torrent(**{"url-list": ["http://a/", b"\xff", 3], "httpseeds": ["http://h/"]}),
    "large": torrent({"length": 5_000_000, "piece length": 1048576, "pieces": b"h" * 100}),
    "utf8_encoding": torrent({"name": "\u00e9"}, encoding="UTF-8"),
    "latin": torrent({"name": b"caf\xe9"}, encoding="ISO-8859-1"),
    "windows": torrent({"name": b"\x80uro"}, encoding="Windows-1252"),
    "code_page": torrent({"name": b"\x82\xa0"}, encoding="CP932"),
    "code_page_number": torrent({"name": b"\x80"}, codepage=1252),
    "two_files": files((["a.txt"], 5), (["d", "b"], 70)),
    "deep_path": files((["a", "b", "c", "d", "e"], 1), (["a", "b", "x"], 0)),
    "same_names": files((["same"], 5), (["same"], 6)),
    "unsafe_names": files((["..", "x"], 5), (["a/b"], 6), ([""], 7), (["."], 8), ([b"\xc0\xae\xc0\xae"], 1)),
    "path_utf8": torrent({"length": None, "files": [{"length": 3, "path": [b"\xff"], "path.utf-8": ["\u00e9"]}]}),
    "trailing": torrent() + b"junk",
}

# Files that are no usable torrents.
BAD = {
    "no_info": bencode({"announce": "http://t"}),
    "bad_pieces": torrent({"pieces": b"h" * 21}),
    "small_pieces": torrent({"piece length": 16383}),
    "negative": torrent({"length": -1}),
    "list": b"l" + torrent() + b"e",
    "wrap": b"d1:a18446744073709551615:xyze",
}

TORRENTS = {**GOOD, **BAD}

# Pieces of bencoding that no torrent has.
FRAGMENTS = {
    "empty": b"",
    "nested": b"l" * 40 + b"e" * 40,
    "open": b"d1:a" + b"l" * 40,
    "rescan": b"d1:a" + b"l" * 20 + b"1" * 20,
    "integers": b"d1:ai-0e1:bi 7e1:ci+5e1:di99999999999999999999ee",
    "keys": b"d1:b0:1:a0:1:ai1e2:ab0:e",
    "zero_key": b"d3:a\x00b0:1:a1:xe",
    "lengths": b"d2:a:0:01:b2:cde",
    "overrun": b"d1:al1:x9:ye",
    "unterminated": b"d1:ai1",
    "wrapped": b"d18446744073709551617:a1:be",
    "two": b"d1:a0:ed1:b0:e",
}
