"""What mdtorrent dump makes of files."""

import json
import os
import resource
import xml.etree.ElementTree

import tool
from torrents import bencode

SMALL = b"d1:ai-3e1:bl3:xyz0:e1:cd1:d3:a\\\nee"
# More levels than any stack has room for.
DEEP = b"l" * 100_000 + b"e" * 100_000


def longest_for_xml():
    soft, _ = resource.getrlimit(resource.RLIMIT_STACK)
    budget = 500_000 if soft == resource.RLIM_INFINITY else soft
    return (budget // 2 - 1) // 3


class Dump(tool.ToolTest):
    def dump(self, content, form, *arguments):
        self.write("x.torrent", content)
        out, err = self.run_tool("dump", "--format", form, *arguments, "x.torrent")
        self.assertEqual(b"", err)
        return out

    def expect_failure(self, name, code, reason, form="json"):
        out, err = self.run_tool("dump", "--format", form, name, code=code)
        self.assertEqual((b"", f"mdtorrent: {name}: {reason}\n"), (out, err.decode()))

    def test_json_is_the_default(self):
        self.write("x.torrent", SMALL)
        out, err = self.run_tool("dump", "x.torrent")
        self.assertEqual(b"", err)
        self.assertEqual(b'{ "a": -3, "b": [ "xyz", "" ], "c": { "d": "a\\\\\\n" } }\n', out)
        self.assertEqual({"a": -3, "b": ["xyz", ""], "c": {"d": "a\\\n"}}, json.loads(out))

    def test_ascii(self):
        self.assertEqual(b"a=-3\r\nb.0=xyz\r\nb.1=\r\nc.d=a\\\\\\\n\r\n", self.dump(SMALL, "ascii"))

    def test_xml(self):
        root = xml.etree.ElementTree.fromstring(self.dump(SMALL, "xml"))
        self.assertEqual("torrent", root.tag)
        self.assertEqual(["a", "b", "c"], [child.tag for child in root])
        self.assertEqual(["xyz", None], [item.text for item in root.find("b")])
        self.assertEqual("a%5c%0a", root.find("c/d").text)

    def test_bencode_is_the_same_file_when_its_keys_are_sorted(self):
        self.assertEqual(SMALL, self.dump(SMALL, "bencode"))

    def test_bencode_is_a_copy_of_what_is_encoded_strictly(self):
        value = {bytes([i]) * (i % 5 + 1): [i - 128, bytes(range(i)), {}, []] for i in range(1, 256)}
        strict = bencode({"": 2**63 - 1, "x": -2**63, **value})
        self.assertEqual(strict, self.dump(strict, "bencode"))

    def test_a_key_ends_at_its_first_zero_byte_in_all_but_json(self):
        content = b"d3:a\0bi1ee"
        self.assertEqual(b"d1:ai1ee", self.dump(content, "bencode"))
        self.assertEqual(b"a=1\r\n", self.dump(content, "ascii"))
        self.assertIn(b"<a>1</a>", self.dump(content, "xml"))
        self.assertEqual({"a\0b": 1}, json.loads(self.dump(content, "json")))

    def test_an_integer_beyond_64_bits_becomes_the_nearest_within(self):
        content = b"li%dei%dei%dei%dee" % (2**63, 2**64, -2**63 - 1, 10**30)
        within = [2**63 - 1, 2**63 - 1, -2**63, 2**63 - 1]
        self.assertEqual(bencode(within), self.dump(content, "bencode"))
        self.assertEqual(within, json.loads(self.dump(content, "json")))

    def test_json_of_what_is_no_utf_8(self):
        for text, expected in (("\U0001f600".encode(), rb"\ufbce\udd00"), (b"caf\xe9", rb"caf\uffff"),
                               (b"\xf8\x88\x80\x80\x80", rb"\uffff" * 5), (b"\xc0\x80", rb"\u0000"),
                               (b"\xed\xa0\x80", rb"\ud800"), (b"\xf4\x90\x80\x80", rb"\uffcf\udf00")):
            with self.subTest(text):
                self.assertEqual(b'[ "%s" ]\n' % expected, self.dump(bencode([text]), "json"))

    def test_a_path_is_cut_to_63_bytes_with_its_equals_sign(self):
        for count, head in ((62, b"k" * 62 + b"="), (63, b"k" * 63), (64, b"k" * 63)):
            with self.subTest(count):
                self.assertEqual(head + b"5\r\n", self.dump(bencode({"k" * count: 5}), "ascii"))

    def test_tags_are_cut_to_127_bytes_with_their_brackets(self):
        for count, tag, end in ((124, b"k" * 124, b">"), (125, b"k" * 125, b""), (126, b"k" * 126, b"")):
            with self.subTest(count):
                line = b"<%s>" % tag if count < 126 else b"<%s" % tag
                self.assertIn(b"\t%s1</%s%s" % (line, tag[:125], end), self.dump(bencode({"k" * count: 1}), "xml"))

    def test_a_key_that_is_no_xml_name_makes_no_xml(self):
        for key in ("a b", "1"):
            with self.subTest(key), self.assertRaises(xml.etree.ElementTree.ParseError):
                xml.etree.ElementTree.fromstring(self.dump(bencode({key: 1}), "xml"))

    def test_lines_of_ascii_and_xml_end_in_cr_lf(self):
        for form in ("ascii", "xml"):
            out = self.dump(b"d1:ai1e1:b1:xe", form)
            self.assertEqual(out.count(b"\n"), out.count(b"\r\n"))
            self.assertTrue(out.endswith(b"\r\n"))

    def test_bencode_sorts_keys(self):
        self.assertEqual(b"d1:ai2e1:bi1ee", self.dump(b"d1:bi1e1:ai2ee", "bencode"))

    def test_any_depth(self):
        self.assertEqual(DEEP, self.dump(DEEP, "bencode"))
        self.assertEqual(b"[ " * 100_000 + b" ]" * 100_000 + b"\n", self.dump(DEEP, "json"))
        self.assertEqual(b"", self.dump(DEEP, "ascii"))
        self.assertEqual(99_999, self.dump(DEEP, "xml").count(b"<item>"))

    def test_what_follows_the_value_is_told_of(self):
        self.write("x.torrent", b"leXY")
        out, err = self.run_tool("dump", "--format", "bencode", "x.torrent")
        self.assertEqual(b"le", out)
        self.assertEqual(b"mdtorrent: x.torrent: ignored what follows the first value: 2 bytes\n", err)

    def test_what_is_not_bencoded(self):
        for content in (b"", b"d", b"i1e", b"3:abc", b"hello", b"d1:ai1e1:ai2ee"):
            with self.subTest(content):
                self.write("x.torrent", content)
                self.expect_failure("x.torrent", 1, "not a bencoded list or dictionary")

    def test_a_tree_that_would_not_fit(self):
        self.write("x.torrent", b"l" * 9_000_000)
        self.expect_failure("x.torrent", 1, "not a bencoded list or dictionary")

    def test_files_that_cannot_be_read(self):
        os.mkdir(os.path.join(self.folder, b"folder"))
        os.mkfifo(os.path.join(self.folder, b"pipe"))
        self.expect_failure("missing", 3, "cannot open: No such file or directory")
        self.expect_failure("folder", 3, "not a regular file: it is a folder")
        self.expect_failure("pipe", 3, "not a regular file")

    def test_a_file_that_is_too_large(self):
        path = self.write("x.torrent", b"")
        os.truncate(path, (256 << 20) + 1)
        self.expect_failure("x.torrent", 3, "larger than 256 MiB")

    def test_an_output_that_cannot_be_written(self):
        self.write("x.torrent", SMALL)
        with open("/dev/full", "wb") as full:
            _, err = self.run_tool("dump", "x.torrent", stdout=full, code=3)
        self.assertEqual(b"mdtorrent: cannot write the output: No space left on device\n", err)

    def test_a_string_too_long_for_xml(self):
        longest = longest_for_xml()
        for extra, code in ((0, 0), (1, 1)):
            text = b"x" * (longest + extra)
            self.write("x.torrent", b"l%d:%se" % (len(text), text))
            out, err = self.run_tool("dump", "--format", "xml", "x.torrent", code=code)
            self.assertEqual(code == 0, text in out)
            self.assertEqual(b"mdtorrent: x.torrent: a string is too long for XML\n" if code else b"", err)


tool.main()
