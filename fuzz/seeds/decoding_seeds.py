"""Bencoding of every kind that the decoder can meet, good and bad."""

import random

import torrent_files

INPUTS = {
    "empty": b"",
    "empty_dict": b"de",
    "empty_list": b"le",
    "nested": b"d1:ald1:bl1:xe1:ci-5eee1:dd0:0:ee",
    "list": b"li1e1:ai2e2:bbe",
    "keys_unsorted": b"d1:bi1e1:ai2e2:aai3e0:i4ee",
    "keys_twice": b"d1:ai1e1:bi2e1:ai3ee",
    "keys_with_zero_bytes": b"d2:a\0i1e2:b\0i2e1:ai3e3:a\0bi4ee",
    "keys_equal_up_to_a_zero_byte": b"d3:a\0bi1e3:a\0ci2ee",
    "numbers": b"li0ei-0ei007ei+5ei- 5ei 5ei\t7ei12xeie" + b"i9223372036854775807ei9223372036854775808e"
               b"i-9223372036854775808ei-9223372036854775809ei18446744073709551616ee",
    "number_unclosed": b"li12",
    "length_with_zeros": b"l04:spam000:e",
    "length_too_long": b"l5:abce",
    "length_wraps": b"l18446744073709551617:ae",
    "length_wraps_back": b"d1:a18446744073709551615:xyze",
    "length_of_all_memory": b"l18446744073709551614:ae",
    "length_without_end": b"l111111111111111111111111111111",
    "bad_byte_after_a_scalar": b"l1:a?1:be",
    "bad_bytes": b"l1:a??1:be",
    "bad_byte_first": b"l?1:ae",
    "bad_digits_close_lists": b"lllll1x1:ae",
    "bad_byte_after_a_container": b"ll1:ae?1:be",
    "bad_byte_in_a_dict": b"d1:a?e",
    "key_no_string": b"di1e1:ae",
    "key_without_value": b"d1:ae",
    "unclosed": b"d1:ai1e",
    "trailing": b"d3:fooi42eexyz",
    "deep_lists": b"l" * 400 + b"e" * 400,
    "deep_open": b"d1:a" * 200,
    "deep_bad": b"l" * 200 + b"1" * 200,
    "list_of_16": b"l" + b"i1e" * 16 + b"e",
    "list_of_40": b"l" + b"0:" * 40 + b"e",
    "element": b"d1:ad4:infod1:ai1eee4:info3:abce",
    "element_in_a_list": b"d4:infold1:ai1ee3:abcee",
    "element_prefix": b"d1:bd5:infoXd1:xle1:ylee1:zi1eee",
    "line_ends": b"d3:a\r\n4:\\x\n\r1:b2:\xc3\xa9e",
    "characters": b"l3:\xe2\x82\xac4:\xf0\x9f\x98\x803:\xed\xa0\x801:\xff2:\"/e",
    "strings_of_every_length": b"l" + b"".join(b"%d:%s" % (n, b"s" * n) for n in range(101)) + b"e",
    "strings_of_one_digit": b"l" + b"".join(b"%d:%s" % (n, b"s" * n) for n in range(10)) + b"e",
    "every_ascii_character": b"l128:" + bytes(range(128)) + b"e",
    "long_key": b"d70:" + b"k" * 70 + b"d1:ai1eee",
}
TORRENTS = {f"torrent_{name}": data for name, data in torrent_files.TORRENTS.items()}
FRAGMENTS = {f"fragment_{name}": data for name, data in torrent_files.FRAGMENTS.items()}


def named(names):
    """Each input behind the element names to look for: a length, the name."""
    return {f"{name}_for_{looked_for.decode() or 'nothing'}": bytes([len(looked_for)]) + looked_for + data
            for name, data in INPUTS.items() for looked_for in names}


def edits(seed):
    """Some changes: what the target makes of a choice is up to it."""
    source = random.Random(seed)
    return bytes([seed % 5, seed & 1]) + bytes(source.randrange(256) for _ in range(40 + 20 * seed))


SEEDS = {
    "parse": {**INPUTS, **FRAGMENTS, **TORRENTS},
    "parse_forms": named([b"", b"a", b"info"]),
    "emit": {**INPUTS, **FRAGMENTS, **TORRENTS},
    "edit": {f"edits_{seed}": edits(seed) for seed in range(12)},
}
