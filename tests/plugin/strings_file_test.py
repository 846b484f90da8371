#!/usr/bin/env python3
"""What the reader of .strings files takes and what it refuses."""

import unittest

import strings_file


class StringsFileTest(unittest.TestCase):
    def test_takes_pairs_and_comments(self):
        text = '/* a "b" = "c"; */\n"k" = "v";\n// "x" = "y";\n"k.Description"="\u00fc \\"q\\"";\n'
        self.assertEqual(strings_file.parse(text), {"k": "v", "k.Description": '\u00fc \\"q\\"'})

    def test_an_empty_file_has_no_pairs(self):
        self.assertEqual(strings_file.parse(""), {})

    def test_refuses(self):
        for name, text in {
            "no semicolon": '"k" = "v"\n',
            "no semicolon before another pair": '"k" = "v"\n"l" = "w";\n',
            "no equals sign": '"k" "v";\n',
            "open string": '"k" = "v;\n',
            "bare quote": '"k" = "a"b";\n',
            "unknown escape": '"k" = "\\q";\n',
            "typographic quotes": "\u201ck\u201d = \u201cv\u201d;\n",
            "open comment": '"k" = "v"; /* more\n',
            "text behind the pairs": '"k" = "v"; more\n',
            "key twice": '"k" = "v";\n"k" = "w";\n',
            "empty text": '"k" = "";\n',
            "blank around the text": '"k" = "v ";\n',
            "byte order mark": '\ufeff"k" = "v";\n',
            "tab": '"k" =\t"v";\n',
            "direction mark": '"k" = "\u200fv";\n',
            "decomposed character": '"k" = "u\u0308";\n',
        }.items():
            with self.subTest(name), self.assertRaises(strings_file.Malformed):
                strings_file.parse(text)


if __name__ == "__main__":
    unittest.main()
