"""Reads torrents that other programs wrote, and compares with what other readers make of them.

Usage: interop_test.py --mdtorrent FILE --bundle FOLDER --lt-read FILE --lt-make FILE --record-read FILE [TEST...]

Every torrent is made here, from small files made here, and read four ways: by mdtorrent through
the whole plug-in, by the plug-in's reader alone (record_read), by transmission-show and by
libtorrent-rasterbar (lt_read).
"""

import argparse
import calendar
import hashlib
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

options = None
NAMES = "org_sorrel_torrent_filenames"
ENVIRONMENT = {"LC_ALL": "C.UTF-8", "TZ": "UTC"}
PACKAGES = {"mktorrent": "mktorrent", "transmission-create": "transmission-cli", "transmission-show": "transmission-cli"}
TIMEOUT = 60

PLAIN = {"a.txt": 5, "folder/b.bin": 70_000, "folder/inner/c.dat": 1}
NAMED = {"été.txt": 1_536, "Straße/日本語.bin": 40_000, "Straße/- dash & 'quote'.txt": 3, "кириллица/[x] {y}.nfo": 1_023}


def program(name):
    """The path of a program of another package. Its absence is a failure that names the package."""
    path = shutil.which(name)
    if not path:
        raise AssertionError(f"{name} is missing: install the package {PACKAGES[name]}")
    return path


def output(*arguments, **settings):
    return subprocess.run(arguments, check=True, stdout=subprocess.PIPE, timeout=TIMEOUT,
                          env=dict(os.environ, **ENVIRONMENT), **settings).stdout.decode()


def size_text(size):
    """The size in the largest unit that it fills, with one decimal that is cut, not rounded."""
    for power, unit in ((3, "GB"), (2, "MB"), (1, "kB")):
        if size >= 1024 ** power:
            tenths = size * 10 // 1024 ** power
            return f"{tenths // 10}.{tenths % 10} {unit}"
    return f"{size} B"


class Shown:
    """What transmission-show prints, taken apart."""

    def __init__(self, path):
        self.sections = {"": []}
        section = self.sections[""]
        for line in output(program("transmission-show"), path).split("\n"):
            if re.fullmatch("[A-Z]+", line):
                section = self.sections.setdefault(line, [])
            elif line.startswith("  "):
                section.append(line[2:])
        self.general = dict(line.split(": ", 1) for line in self.sections["GENERAL"])
        self.trackers = [line for line in self.sections["TRACKERS"] if line and not line.startswith("Tier #")]
        self.web_seeds = self.sections.get("WEBSEEDS", [])
        self.web_seeds = [line for line in self.web_seeds if line]
        self.files = {}
        for line in self.sections["FILES"]:
            if line:
                name, size = re.fullmatch(r"(.*) \(([^()]*)\)", line).groups()
                self.files[name] = size

    def created(self):
        return calendar.timegm(time.strptime(self.general["Created on"]))


UNITS = {"B": 1, "kB": 1000, "MB": 1000 ** 2, "GB": 1000 ** 3, "KiB": 1024, "MiB": 1024 ** 2}


class InteropTest(unittest.TestCase):
    maxDiff = 4000

    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)

    def make_files(self, root, files):
        """Makes the files, with as many bytes as given for each, and returns their folder."""
        for name, size in files.items():
            path = os.path.join(self.folder, root, name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "wb") as file:
                file.write((name.encode() * (size // len(name.encode()) + 1))[:size])
        return os.path.join(self.folder, root)

    def assert_shows(self, shown, size):
        """Checks a size against its text in decimal or binary units, to the digits that are shown."""
        number, unit = shown.split(" ")
        _, _, decimals = number.partition(".")
        self.assertLessEqual(abs(float(number) * UNITS[unit] - size), UNITS[unit] / 10 ** len(decimals), shown)

    def check(self, torrent, name, files, single=False, trackers=(), web_seeds=(), private=0, comment=None,
              creator=None, piece_size=None):
        """Compares every reading of the torrent with what went into it, and so with each other."""
        attributes = self.imported(torrent)
        record = json.loads(output(options.record_read, torrent))
        peer = json.loads(output(options.lt_read, torrent))
        shown = Shown(torrent)
        total = sum(files.values())

        with self.subTest("bytes"):
            self.check_dumped(torrent)
        with self.subTest("paths"):
            self.assertEqual(sorted(attributes[NAMES]), sorted(files))
            self.assertEqual(record["files"], files)
            prefixed = files if single else {f"{name}/{path}": size for path, size in files.items()}
            self.assertEqual(peer["files"], prefixed)
            self.assertEqual(sorted(shown.files), sorted(prefixed))
            for path, size in prefixed.items():
                self.assert_shows(shown.files[path], size)
        with self.subTest("size and count"):
            count = "1 file" if len(files) == 1 else f"{len(files)} files"
            self.assertEqual(attributes["kMDItemDescription"], f"{size_text(total)} in {count}")
            self.assertEqual([record["totalSize"], peer["totalSize"]], [total, total])
            self.assert_shows(shown.general["Total Size"], total)
        with self.subTest("name"):
            self.assertEqual([record["name"], peer["name"], shown.general["Name"]], [name] * 3)
        with self.subTest("creator"):
            self.assertRegex(attributes["kMDItemCreator"], creator)
            others = [record["creator"], peer["creator"], shown.general["Created by"]]
            self.assertEqual(others, [attributes["kMDItemCreator"]] * 3)
        with self.subTest("comment"):
            self.assertEqual([attributes.get("kMDItemComment"), record["comment"], shown.general.get("Comment")],
                             [comment] * 3)
            self.assertEqual(peer["comment"], comment or "")
        with self.subTest("date"):
            self.assertAlmostEqual(record["createdOn"], time.time(), delta=TIMEOUT)
            self.assertEqual([peer["createdOn"], shown.created()], [record["createdOn"]] * 2)
        with self.subTest("trackers"):
            self.assertEqual([record["trackers"], shown.trackers], [list(trackers)] * 2)
            # The peer shuffles the trackers of a tier.
            self.assertEqual(sorted(peer["trackers"]), sorted(trackers))
        with self.subTest("web seeds"):
            self.assertEqual([record["webSeeds"], shown.web_seeds, peer["webSeeds"]], [list(web_seeds)] * 3)
        with self.subTest("private"):
            self.assertEqual([record["private"], peer["private"]], [private] * 2)
            self.assertEqual(shown.general["Privacy"], "Private torrent" if private else "Public torrent")
        with self.subTest("pieces"):
            self.assertEqual(record["pieceSize"], piece_size or peer["pieceSize"])
            self.assertEqual(peer["pieceSize"], record["pieceSize"])
            self.assert_shows(shown.general["Piece Size"], record["pieceSize"])
            pieces = -(-total // record["pieceSize"])
            self.assertEqual([record["numPieces"], peer["numPieces"], int(shown.general["Piece Count"])], [pieces] * 3)

    def check_dumped(self, torrent):
        """Both writers sort their keys, so that writing the tree again gives the same bytes."""
        with open(torrent, "rb") as file:
            content = file.read()
        again = subprocess.run([options.mdtorrent, "dump", "--format", "bencode", torrent], check=True,
                               stdout=subprocess.PIPE, timeout=TIMEOUT).stdout
        self.assertEqual(content, again)

    def imported(self, torrent):
        results = [json.loads(output(options.mdtorrent, "--bundle", options.bundle, "--interface", interface,
                                     "--format", "json", torrent)) for interface in ("url", "legacy")]
        self.assertEqual(results[0], results[1])
        self.assertEqual([entry["imported"] for entry in results[0]], [True])
        return results[0][0]["attributes"]

    def assert_refused(self, torrent):
        command = [options.mdtorrent, "--bundle", options.bundle, "--format", "json", torrent]
        result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=TIMEOUT)
        self.assertEqual([entry["imported"] for entry in json.loads(result.stdout)], [False])


class Mktorrent(InteropTest):
    URL = "http://tracker.example.org/announce"

    def make(self, source, *arguments):
        torrent = os.path.join(self.folder, "made.torrent")
        output(program("mktorrent"), "-o", torrent, *arguments, source)
        return torrent

    def check_made(self, torrent, name, files, **fields):
        self.check(torrent, name, files, creator=r"^mktorrent \d", **fields)

    def test_single_file(self):
        source = os.path.join(self.make_files("one", {"lone file.bin": 100_000}), "lone file.bin")
        torrent = self.make(source, "-a", self.URL)
        self.check_made(torrent, "lone file.bin", {"lone file.bin": 100_000}, single=True, trackers=[self.URL])

    def test_single_file_of_one_byte(self):
        source = os.path.join(self.make_files("one", {"x": 1}), "x")
        torrent = self.make(source, "-a", self.URL)
        self.check_made(torrent, "x", {"x": 1}, single=True, trackers=[self.URL])

    def test_several_files(self):
        torrent = self.make(self.make_files("many", PLAIN), "-a", self.URL, "-l", "15")
        self.check_made(torrent, "many", PLAIN, trackers=[self.URL], piece_size=32_768)

    def test_folder_of_one_file(self):
        torrent = self.make(self.make_files("folder", {"only.txt": 2_000}), "-a", self.URL)
        self.check_made(torrent, "folder", {"only.txt": 2_000}, trackers=[self.URL])

    def test_total_on_a_whole_number_of_pieces(self):
        files = {"a": 32_768, "b": 65_536}
        torrent = self.make(self.make_files("even", files), "-a", self.URL, "-l", "15")
        self.check_made(torrent, "even", files, trackers=[self.URL], piece_size=32_768)

    def test_empty_file_among_others(self):
        files = {"a": 10, "empty": 0}
        torrent = self.make(self.make_files("some", files), "-a", self.URL)
        self.check_made(torrent, "some", files, trackers=[self.URL])

    def test_private(self):
        torrent = self.make(self.make_files("many", PLAIN), "-a", self.URL, "-p")
        self.check_made(torrent, "many", PLAIN, trackers=[self.URL], private=1)

    def test_names_and_comment_beyond_ascii(self):
        torrent = self.make(self.make_files("données", NAMED), "-a", self.URL, "-n", "Übung 目录", "-c", "Grüße, 世界")
        self.check_made(torrent, "Übung 目录", NAMED, trackers=[self.URL], comment="Grüße, 世界")

    def test_tiers_of_trackers(self):
        tiers = [["http://a.example/ann", "http://b.example/ann"], ["udp://c.example:6969/ann"], ["https://d.example/ann"]]
        arguments = [part for tier in tiers for part in ("-a", ",".join(tier))]
        torrent = self.make(self.make_files("many", PLAIN), *arguments)
        self.check_made(torrent, "many", PLAIN, trackers=[url for tier in tiers for url in tier])

    def test_one_web_seed(self):
        source = os.path.join(self.make_files("one", {"f.bin": 9}), "f.bin")
        torrent = self.make(source, "-a", self.URL, "-w", "http://mirror.example/f.bin")
        self.check_made(torrent, "f.bin", {"f.bin": 9}, single=True, trackers=[self.URL],
                        web_seeds=["http://mirror.example/f.bin"])

    def test_several_web_seeds(self):
        seeds = ["http://one.example/", "https://two.example/path/"]
        torrent = self.make(self.make_files("many", PLAIN), "-a", self.URL, "-w", ",".join(seeds))
        self.check_made(torrent, "many", PLAIN, trackers=[self.URL], web_seeds=seeds)

    def test_everything_at_once(self):
        trackers = ["http://a.example/ann", "http://b.example/ann"]
        torrent = self.make(self.make_files("src", {**PLAIN, **NAMED}), "-a", trackers[0], "-a", trackers[1], "-p", "-n",
                            "tout à la fois", "-c", "remarque “finale”", "-w", "http://m.example/", "-l", "16")
        self.check_made(torrent, "tout à la fois", {**PLAIN, **NAMED}, trackers=trackers, web_seeds=["http://m.example/"],
                        private=1, comment="remarque “finale”", piece_size=65_536)


class TransmissionCreate(InteropTest):
    URL = "http://tracker.example.org/announce"

    def make(self, source, *arguments):
        torrent = os.path.join(self.folder, "made.torrent")
        output(program("transmission-create"), "-o", torrent, *arguments, source, stderr=subprocess.DEVNULL)
        return torrent

    def check_made(self, torrent, name, files, **fields):
        self.check(torrent, name, files, creator=r"^Transmission/\d", **fields)

    def test_single_file(self):
        source = os.path.join(self.make_files("one", {"lone file.bin": 100_000}), "lone file.bin")
        torrent = self.make(source, "-t", self.URL)
        self.check_made(torrent, "lone file.bin", {"lone file.bin": 100_000}, single=True, trackers=[self.URL])

    def test_several_files(self):
        torrent = self.make(self.make_files("many", PLAIN), "-t", self.URL, "-s", "32")
        self.check_made(torrent, "many", PLAIN, trackers=[self.URL], piece_size=32_768)

    def test_without_trackers(self):
        torrent = self.make(self.make_files("many", PLAIN))
        self.check_made(torrent, "many", PLAIN)

    def test_several_trackers(self):
        trackers = ["http://a.example/ann", "udp://b.example:80/ann", "https://c.example/ann"]
        arguments = [part for url in trackers for part in ("-t", url)]
        torrent = self.make(self.make_files("many", PLAIN), *arguments)
        self.check_made(torrent, "many", PLAIN, trackers=trackers)

    def test_private(self):
        torrent = self.make(self.make_files("many", PLAIN), "-t", self.URL, "-p")
        self.check_made(torrent, "many", PLAIN, trackers=[self.URL], private=1)

    def test_names_and_comment_beyond_ascii(self):
        torrent = self.make(self.make_files("données 目录", NAMED), "-t", self.URL, "-c", "Grüße, 世界")
        self.check_made(torrent, "données 目录", NAMED, trackers=[self.URL], comment="Grüße, 世界")

    def test_many_files(self):
        files = {f"part {i // 20:02}/file {i:03}.dat": 100 + i for i in range(300)}
        torrent = self.make(self.make_files("many", files), "-t", self.URL)
        self.check_made(torrent, "many", files, trackers=[self.URL])


class Libtorrent(InteropTest):
    """Torrents of each version, and of both; their pieces are of PIECE bytes."""

    PIECE = 16_384

    def make(self, versions, source):
        torrent = os.path.join(self.folder, "made.torrent")
        output(options.lt_make, versions, str(self.PIECE), source, torrent)
        return torrent

    def large_files_with_roots(self, wanted):
        """Makes two files of two pieces each whose roots, in the key "piece layers", are `wanted`; returns both."""
        last = bytes(self.PIECE)
        folder = os.path.join(self.folder, "large")
        os.makedirs(folder)
        roots = []
        number = 0
        while len(roots) < 2:
            first = number.to_bytes(8, "big") * (self.PIECE // 8)
            root = hashlib.sha256(hashlib.sha256(first).digest() + hashlib.sha256(last).digest()).digest()
            if wanted(root):
                with open(os.path.join(folder, f"{number:06}.bin"), "wb") as file:
                    file.write(first + last)
                roots.append(root)
            number += 1
        return folder, roots

    def make_large_hybrid(self, wanted):
        folder, roots = self.large_files_with_roots(wanted)
        torrent = self.make("both", folder)
        with open(torrent, "rb") as file:
            layers = file.read().partition(b"12:piece layers")[2]
        for root in roots:
            self.assertIn(b"32:" + root, layers)
        return torrent

    def test_version_1_alone_is_read(self):
        attributes = self.imported(self.make("1", self.make_files("many", PLAIN)))
        self.assertEqual(sorted(attributes[NAMES]), sorted(PLAIN))
        self.assertEqual(attributes["kMDItemDescription"], f"{size_text(sum(PLAIN.values()))} in 3 files")

    def test_version_2_alone_is_not_read(self):
        self.assert_refused(self.make("2", self.make_files("many", PLAIN)))

    def test_padding_of_both_versions_counts_as_files(self):
        attributes = self.imported(self.make("both", self.make_files("many", PLAIN)))
        padding = {f".pad/{-size % self.PIECE}": -size % self.PIECE for size in PLAIN.values()}
        files = {**PLAIN, **padding}
        self.assertEqual(sorted(attributes[NAMES]), sorted(files))
        self.assertEqual(attributes["kMDItemDescription"], f"{size_text(sum(files.values()))} in {len(files)} files")

    def test_no_attribute_holds_the_name_of_a_folder(self):
        attributes = self.imported(self.make("1", self.make_files("garden", PLAIN)))
        self.assertNotIn("garden", json.dumps(attributes))

    def test_both_versions_of_large_files_are_read_when_no_root_holds_a_zero_byte(self):
        attributes = self.imported(self.make_large_hybrid(lambda root: 0 not in root))
        self.assertEqual(len([name for name in attributes[NAMES] if name.endswith(".bin")]), 2)

    def test_both_versions_of_large_files_are_not_read_when_two_roots_begin_with_a_zero_byte(self):
        self.assert_refused(self.make_large_hybrid(lambda root: root[0] == 0))


def main():
    global options
    parser = argparse.ArgumentParser()
    for name in ("mdtorrent", "bundle", "lt-read", "lt-make", "record-read"):
        parser.add_argument("--" + name, required=True)
    options, tests = parser.parse_known_args()
    if not options.lt_read:
        sys.exit("libtorrent-rasterbar is missing: install the package libtorrent-rasterbar-dev")
    unittest.main(argv=[sys.argv[0], *tests], buffer=True)


if __name__ == "__main__":
    main()
