"""Pairs of texts for the string helpers: which of them, a length, the shorter text, the longer one."""

PAIRS = [
    ("ab", "ABcabc"), ("", ""), ("", "a"), ("a", ""), ("abc", "ab"), ("xyz", "wxyz"), ("aa", "aaaa"), ("\xe9", "caf\xe9\xc9"),
    ("\xff", "a\xffb"), ("\xf0", "\xf1"), ("\xf1", "\xf0"), ("\xf0", "a"),
    (",", "a,,b,"), (",", ",a"), (";,", "a;b,c"), ("/", "/a//b"),
    (" ", "\t a b \r\n "), ("\n", "a\r\nb\n\r\n\n"),
    ("\r", "\n a \r"), ("b", "a/B/b"), ("B", "a/b/B"), ("&", "a&b&&"), ("0", "0x10"), ("-", "-9223372036854775808"),
    ("9", "99999999999999999999"), ("0", "-010 x"), (" ", "  \t 7"), ("[", "@[`{"), ("z", "Zz"), ("\xb5", "\xb5\x7f\x80"),
]


def row(kind, n, b, a):
    return bytes([kind, n, len(b)]) + b.encode("latin-1") + a.encode("latin-1")


SEEDS = {
    "strings": {
        f"{kind}_{i}": row(kind, i % 5, b, a) for kind in range(6) for i, (b, a) in enumerate(PAIRS)
    },
}
