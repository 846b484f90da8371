"""What each output format looks like."""

import json
import os
import plistlib

import tool
from torrents import torrent

SOME = {"comment": "a comment", "created by": "a maker"}
SOME_ATTRIBUTES = {"kMDItemComment": "a comment", "kMDItemCreator": "a maker",
                   "kMDItemDescription": "3.0 kB in 2 files", tool.NAMES: ["a.txt", "sub/\u4e2d \u20ac.txt"]}


def some_torrent():
    return torrent("top", files=[(["a.txt"], 1536), (["sub", "\u4e2d \u20ac.txt"], 1536)], **SOME)


def in_order(attributes):
    return {**attributes, tool.NAMES: sorted(attributes[tool.NAMES])}


class Formats(tool.ToolTest):
    def setUp(self):
        super().setUp()
        self.write("some.torrent", some_torrent())
        self.write("bad.torrent", b"no torrent")

    def expect_objects(self, objects):
        imported, failed = objects
        self.assertEqual({"path": "some.torrent", "imported": True, "attributes": SOME_ATTRIBUTES},
                         {**imported, "attributes": in_order(imported["attributes"])})
        self.assertEqual({"path": "bad.torrent", "imported": False, "attributes": {}, "error": "not a usable torrent"},
                         failed)

    def test_json_is_one_array(self):
        out, err = self.run_tool("--format", "json", "some.torrent", "bad.torrent", code=1)
        self.expect_objects(json.loads(out.decode("utf-8")))
        self.assertEqual(b"", err)

    def test_ndjson_is_one_object_a_line(self):
        out, err = self.run_tool("--format", "ndjson", "some.torrent", "bad.torrent", code=1)
        self.assertEqual(2, out.count(b"\n"))
        self.expect_objects([json.loads(line) for line in out.splitlines()])
        self.assertEqual(b"", err)

    def test_plist_is_one_array(self):
        out, err = self.run_tool("--format", "plist", "some.torrent", "bad.torrent", code=1)
        self.expect_objects(plistlib.loads(out))
        self.assertEqual(b"", err)

    def test_text_stays_utf8(self):
        for kind in ("mdls", "json", "ndjson", "plist"):
            with self.subTest(kind):
                out, _ = self.run_tool("--format", kind, "some.torrent")
                self.assertIn("sub/\u4e2d \u20ac.txt".encode(), out)

    def test_mdls_aligns_keys_and_lists_arrays(self):
        out, err = self.run_tool("some.torrent")
        lines = out.decode("utf-8").splitlines()
        self.assertEqual('kMDItemComment               = "a comment"', lines[0])
        self.assertEqual('kMDItemCreator               = "a maker"', lines[1])
        self.assertEqual('kMDItemDescription           = "3.0 kB in 2 files"', lines[2])
        self.assertEqual("org_sorrel_torrent_filenames = (", lines[3])
        names = [lines[4].rstrip(","), lines[5]]
        self.assertEqual(['    "a.txt"', '    "sub/\u4e2d \u20ac.txt"'], sorted(names))
        self.assertTrue(lines[4].endswith(","))
        self.assertEqual([")"], lines[6:])
        self.assertEqual(b"", err)

    def test_mdls_names_each_file_of_several(self):
        self.write("one.torrent")
        out, err = self.run_tool("one.torrent", "bad.torrent", "some.torrent", code=1)
        first, second = out.decode("utf-8").split("\n\n")
        self.assertTrue(first.startswith("one.torrent:\nkMDItemDescription"))
        self.assertTrue(second.startswith("some.torrent:\nkMDItemComment"))
        self.assertEqual(b"mdtorrent: bad.torrent: not a usable torrent\n", err)

    def test_nothing_imported_is_still_a_document(self):
        os.mkdir(os.path.join(self.folder, b"empty"))
        self.assertEqual([], json.loads(self.run_tool("--format", "json", "-r", "empty")[0]))
        self.assertEqual([], plistlib.loads(self.run_tool("--format", "plist", "-r", "empty")[0]))
        self.assertEqual(b"", self.run_tool("--format", "ndjson", "-r", "empty")[0])

    def test_both_interfaces_give_the_same(self):
        self.assertEqual(self.records("some.torrent"), self.records("--interface", "legacy", "some.torrent"))

    def test_hostile_text_cannot_drive_the_terminal(self):
        self.write("hostile.torrent", torrent(comment="\x1b[31m\u009b2J\x07 \"x\" \\ \u4e2d\r\n"))
        out, _ = self.run_tool("hostile.torrent")
        self.assertIn(rb'"\U001b[31m\U009b2J\U0007 \"x\" \\ ' + "\u4e2d".encode() + rb'\r\n"', out)
        for kind in ("mdls", "json", "ndjson", "plist"):
            with self.subTest(kind):
                out, _ = self.run_tool("--format", kind, "hostile.torrent")
                text = out.decode("utf-8").replace("\n", "").replace("\t", "")
                self.assertEqual([], [c for c in text if c < " " or "\x7f" <= c <= "\x9f"])

    def test_text_cannot_change_the_direction_of_what_is_shown(self):
        controls = [0x61c, 0x200e, 0x200f, *range(0x202a, 0x202f), *range(0x2066, 0x206a)]
        between = "".join(map(chr, range(0x2000, 0x2070)))
        self.write("hostile.torrent", torrent(comment="\u061c" + between, name="gnp.\u202etxt"))
        for kind, form in (("mdls", "\\U%04x"), ("json", "\\u%04x"), ("ndjson", "\\u%04x"), ("plist", "&#x%04x;")):
            with self.subTest(kind):
                text = self.run_tool("--format", kind, "hostile.torrent")[0].decode("utf-8")
                self.assertEqual([], [c for c in controls if chr(c) in text])
                self.assertIn("gnp." + form % 0x202e + "txt", text)
                self.assertEqual([], [c for c in controls if form % c not in text])

    def test_complaints_cannot_change_the_direction_of_what_is_shown(self):
        name = "x\u202e\u2066\u200f"
        for arguments, code in (([name], 3), (["-" + name], 2), (["--bundle", name, "x"], 4), (["dump", name], 3),
                                (["--locale", name, "x"], 2), (["--format", name, "x"], 2)):
            with self.subTest(arguments):
                _, err = self.run_tool(*arguments, code=code)
                self.assertIn(rb"x\U202e\U2066\U200f", err)

    def test_hostile_text_comes_back_from_json(self):
        comment = "".join(map(chr, [*range(1, 0x250), *range(0x600, 0x640), *range(0x2000, 0x2070)])) + "\u2028\ufeff\ufffd\uffee"
        self.write("hostile.torrent", torrent(comment=comment))
        for kind in ("json", "ndjson"):
            out, _ = self.run_tool("--format", kind, "hostile.torrent")
            record = json.loads(out)
            self.assertEqual(comment, (record[0] if kind == "json" else record)["attributes"]["kMDItemComment"])

    def test_long_text_is_whole(self):
        comment = "".join(chr(0x4e00 + i % 64) + "x" * (i % 3) for i in range(20000))
        self.write("long.torrent", torrent(comment=comment))
        (record,) = self.records("long.torrent")
        self.assertTrue(comment == record["attributes"]["kMDItemComment"])

    def test_many_files_are_all_listed(self):
        files = [(["%d" % (i // 100), "name %d" % i], 1) for i in range(30000)]
        self.write("many.torrent", torrent("top", files=files))
        (record,) = self.records("many.torrent")
        expected = sorted("/".join(path) for path, _ in files)
        self.assertTrue(expected == sorted(record["attributes"][tool.NAMES]))


tool.main()
