"""Inputs for the targets of the whole plug-in."""

import random

from torrent_files import FRAGMENTS, TORRENTS, torrent


def choices(kind, count, first):
    """`count` runs of bytes that choose a torrent, and begin with `first`."""
    source = random.Random(kind)
    return {f"{kind}_{n}": first + source.randbytes(120) for n in range(count)}


# Texts of which nothing is left, or not all.
TEXTS = {
    "empty_comment": torrent(comment="", **{"created by": ""}),
    "overlong_tracker": torrent(announce=b"\xc1\x81"),
    "undecodable_comment": torrent(comment=b"a\xff", **{"created by": b"\xff"}),
    "byte_order_marks": torrent(comment="\ufeff\ufeffa", announce="\ufeff", **{"url-list": ["\ufeffb"]}),
}

SEEDS = {
    "exhaustive_import": TORRENTS,
    "import": {**TORRENTS, **FRAGMENTS, **TEXTS},
    "import_structured": {
        "nothing": b"",
        **choices("whole", 20, b"\0\0"),
        **choices("spoilt_tree", 10, b"\2\0"),
        **choices("spoilt_bytes", 10, b"\0\2"),
        **choices("spoilt", 10, b"\3\3"),
    },
}
