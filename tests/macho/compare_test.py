"""The importer's two builds say the same: the one for this system, and the file for macOS that ships.

Usage: compare_test.py --native PROGRAM --native-bundle BUNDLE --macho PROGRAM --macho-bundle BUNDLE
                       --samples FOLDER [TEST...]

Both programs are the host tool; they differ in how they load the bundle. Each test gives both the same files
and compares everything that they print, and how they end.
"""

import argparse
import json
import os
import pathlib
import random
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tool"))
from torrents import bencode, torrent  # noqa: E402

options = None
SEED = 20130513


def run(program, bundle, folder, *arguments):
    environment = dict(os.environ, LC_ALL="C.UTF-8", TZ="UTC")
    return subprocess.run([program, "--bundle", bundle, *arguments], cwd=folder, env=environment, timeout=60,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE)


def good_torrents():
    """Torrents that are read, by name."""
    files = [(["a.txt"], 5), (["folder", "b.bin"], 70_000), (["folder", "inner", "c.dat"], 1)]
    yield "single", torrent()
    yield "several", torrent(files=files)
    yield "texts", torrent(comment="A comment, 100 % \u20ac", **{"created by": "A maker 1.0"})
    yield "empty_texts", torrent(comment="", **{"created by": ""})
    yield "names", torrent(name="\u65e5\u672c\u8a9e.bin", files=[(["\u00e9t\u00e9.txt"], 3), (["\U0001f600"], 4)])
    yield "same_names", torrent(files=[(["same"], 5), (["same"], 6)])
    yield "unsafe_names", torrent(files=[(["..", "x"], 5), (["a/b"], 6), ([""], 7), (["."], 8)])
    yield "code_page", torrent(name=b"caf\xe9", encoding="ISO-8859-1", comment=b"\xe9")
    yield "wrong_utf8", torrent(name=b"\xff\xfe", comment=b"\xc3(", **{"created by": b"\xed\xa0\x80"})
    yield "codes", torrent(codepage=1252, name=b"\x80uro")
    yield "trackers", torrent(announce="http://t/a", **{"announce-list": [["http://a"], ["http://b", "http://c"], []]})
    yield "seeds", torrent(**{"url-list": ["http://a/", "ftp://b/", b"\xff"], "creation date": 1300000000})
    yield "private", bencode({"info": {"name": "n", "length": 1, "piece length": 16384, "pieces": b"1" * 20, "private": 1}})
    yield "large", torrent(length=5_000_000_000)
    yield "many", torrent(files=[([f"folder{i % 7}", f"file {i}"], i) for i in range(1, 800)])
    yield "trailing", torrent() + b"junk"


def bad_torrents():
    """Files that are refused, by name."""
    good = torrent(comment="c")
    yield "empty", b""
    yield "half", good[:len(good) // 2]
    yield "list", b"le"
    yield "deep", b"l" * 100_000
    yield "deep_dictionaries", b"d1:a" * 50_000
    yield "no_info", bencode({"announce": "http://t"})
    yield "no_pieces", bencode({"info": {"name": "n", "length": 1, "piece length": 16384}})
    yield "wrong_pieces", good.replace(b"\x01" * 20, b"\x01" * 20 + b"\x01", 1)
    yield "small_pieces", good.replace(b"16384", b"1", 1)
    yield "huge_string", b"d4:info99999999999999999999:xe"
    yield "negative", torrent(length=-1)
    yield "huge_length", bencode({"info": {"name": "n", "length": 2 ** 63 - 1, "piece length": 16384, "pieces": b"1" * 20}})


def changed_torrents(count):
    """Good torrents with one to four bytes changed, taken out or put in."""
    source = random.Random(SEED)
    originals = [data for name, data in good_torrents() if name != "many"]
    for number in range(count):
        data = bytearray(source.choice(originals))
        for _ in range(source.randint(1, 4)):
            place = source.randrange(len(data))
            change = source.randrange(3)
            if change == 0:
                data[place] = source.choice(b"0123456789deil:-\x00\xff") if source.random() < 0.7 else source.randrange(256)
            elif change == 1:
                del data[place]
            else:
                data.insert(place, source.randrange(256))
        yield f"changed{number:04}", bytes(data)


class Compare(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def write(self, torrents):
        names = []
        for name, data in torrents:
            names.append(name + ".torrent")
            pathlib.Path(self.folder.name, names[-1]).write_bytes(data)
        return names

    def compare(self, *arguments):
        """Runs both; what one of them printed."""
        native = run(options.native, options.native_bundle, self.folder.name, *arguments)
        macho = run(options.macho, options.macho_bundle, self.folder.name, *arguments)
        self.assertEqual(native.stdout.decode(errors="replace"), macho.stdout.decode(errors="replace"))
        self.assertEqual(native.stderr.replace(b"macho_import", b"mdtorrent"),
                         macho.stderr.replace(b"macho_import", b"mdtorrent"))
        self.assertEqual(native.returncode, macho.returncode)
        return native

    def read(self, names):
        """The attributes of the files that both read, by file."""
        printed = self.compare("--format", "json", *names).stdout.decode()
        return {record["path"]: record["attributes"] for record in json.loads(printed) if record["imported"]}

    def test_good_torrents(self):
        names = self.write(good_torrents())
        self.assertEqual(len(self.read(names)), len(names))

    def test_good_torrents_one_by_one(self):
        for name in self.write(good_torrents()):
            with self.subTest(name):
                self.assertEqual(self.compare("--format", "json", name).returncode, 0)

    def test_bad_torrents(self):
        for name in self.write(bad_torrents()):
            with self.subTest(name):
                self.assertNotEqual(self.compare("--format", "json", name).returncode, 0)

    def test_changed_torrents(self):
        names = self.write(changed_torrents(600))
        count = len(self.read(names))
        self.assertGreater(count, 20)
        self.assertLess(count, 580)

    def test_samples(self):
        samples = sorted(pathlib.Path(options.samples).resolve().rglob("*.torrent"))
        self.assertGreater(len(samples), 0)
        self.assertEqual(len(self.read([str(path) for path in samples])), len(samples))


def main():
    global options
    parser = argparse.ArgumentParser()
    for name in ("native", "native-bundle", "macho", "macho-bundle", "samples"):
        parser.add_argument("--" + name, required=True)
    options, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], *rest])


if __name__ == "__main__":
    main()
