"""Operations on the containers and helpers: a few bytes each, which the targets read as numbers and choices."""

import random


def noise(seed, length):
    return random.Random(seed).randbytes(length)


def text(*parts):
    """Byte strings, each with its length in front."""
    return b"".join(bytes([len(part)]) + part for part in parts)


def map_steps(*steps):
    """Steps (key, operation) on a map of numbers."""
    return bytes([1, 0]) + b"".join(bytes([key + 24, operation]) for key, operation in steps)


MAP = {
    "ascending": map_steps(*((key, 0) for key in range(20))),
    "descending": map_steps(*((-key, 0) for key in range(20))),
    "behind_the_last": map_steps(*((key, 3) for key in range(20))),
    "values": map_steps((3, 1), (3, 1), (4, 1), (3, 4), (3, 1)),
    "removals": map_steps(*((key * 7 % 31, 0) for key in range(31)), *((key, 4) for key in range(5, 25))),
    "nodes": map_steps((0, 0), (1, 7), (2, 7), (1, 7), (1, 5), (2, 8), (2, 5)),
    "byte_keys": b"\0" + b"\3a\0b\0\0" + b"\3a\0c\0\1" + b"\1a\0\0" + b"\2ab\0\1" + b"\0\0\0" + b"\3a\0b\1",
    "noise": b"\1" + noise(1, 500),
    "noise_of_bytes": b"\0" + noise(2, 300),
}

def array_steps(kind, elemsize, *steps):
    """Steps on an array of elements of `elemsize` bytes, each an operation and its numbers."""
    return bytes([kind, elemsize - 1]) + b"".join(bytes(step) for step in steps)


ARRAY = {
    "appends": array_steps(1, 4, *([0, i % 26] for i in range(40))),
    "blocks": array_steps(1, 3, [1, 20, *range(20)], [1, 3, 1, 2, 3], [3, 5, 1, 2, 3, 4, 5], [1, 0]),
    "own": array_steps(1, 8, [1, 16, *range(16)], [2, 0, 16], [2, 3, 9], [2, 0, 41]),
    "edits": array_steps(1, 5, *([0, i] for i in range(9)), [4, 0, 7], [4, 10, 8], [5, 3], [6, 2, 3], [7], [6, 0, 0]),
    "sizes": array_steps(1, 2, [8, 1, 5], [9, 17], [9, 3], [0, 1], [8, 0]),
    "searches": array_steps(1, 2, [0, 5], [0, 6], [0, 5], [10, 5], [10, 6], [10, 7]),
    "owners": array_steps(1, 7, [0, 1], [0, 2], [11], [12, 0], [0, 3], [13, 0], [14], [15, 0], [13, 1], [0, 1]),
    "both_ends": array_steps(5, 4, *([(i * 2) % 4, i % 26] for i in range(60)), *([4], [5]) * 12),
    "compact": array_steps(5, 4, *([2, i] for i in range(20)), *([5],) * 20, [7], [2, 1], [0, 2]),
    "far_start": array_steps(5, 1, *([0, i % 26] for i in range(40)), *([5],) * 40, [7], [0, 1], [2, 1]),
    "start_at_the_end": array_steps(5, 1, *([0, i] for i in range(16)), *([5],) * 16, [7], [0, 1], [2, 1]),
    "repartition": array_steps(5, 2, [0, 1], [0, 2], [6, 0], [6, 1], [6, 1], [6, 0], [7], [0, 3]),
    "join": bytes([0, 0, 1, 3, 4, 0, 5, 65, 0, 0, 10, 0, 40, 10, 0, 3, 30]),
    "join_full": bytes([0, 0, 1, 0, 3, 1, 0, 40, 1, 12, 41, 1, 9, 42]),
    "join_behind_a_prefix": bytes([0, 0, 0, 0x88, 0x13, 0, 0, 3, 1, 0, 40, 1, 11, 41, 1, 10, 42]),
    "join_encoded": bytes([0, 1, 1, 3, 4, 0, 5, 65, 0, 5, 10, 0, 40, 100, 1, 3, 30]),
    "noise": b"\1" + noise(8, 600),
    "noise_queue": b"\6" + noise(9, 600),
}

SORT = {
    "six": bytes([1, 0, 3, 1, 254, 6]) + b"fedcba",
    "seven": bytes([1, 3, 3, 1, 254, 7]) + b"gfedcba",
    "equal": bytes([1, 7, 3, 1, 0, 40]) + b"x" * 40,
    "noise": bytes([1, 4, 99, 1, 254, 150]) + noise(3, 150),
    "few_keys": bytes([1, 4, 2, 1, 4, 150]) + noise(4, 150),
    "lies": bytes([1, 4, 99, 0, 254, 100]) + noise(5, 100),
    "generator": bytes([0, 3]) + noise(6, 12) + b"\1" + bytes([200, 2, 0, 0]) + b"\x15",
    "generator_by_number": bytes([0, 0, 7, 0, 0, 0, 0, 1, 0, 0, 0, 12]),
}


def wildcard(pattern, subject):
    units = {"*": 0, "?": 1, "|": 2, "a": 3, "A": 4, "b": 5, "Z": 7, "z": 8, "[": 9}
    return text(bytes(units[unit] for unit in pattern), bytes(units[unit] for unit in subject))


WILDCARD = {
    "plain": wildcard("ab", "Ab"),
    "any": wildcard("*", "abab"),
    "one": wildcard("a?b", "azb"),
    "one_missing": wildcard("a?", "a"),
    "retries": wildcard("*ab*b?", "aababzabba"),
    "alternatives": wildcard("a*b|z*|?", "zzz"),
    "empty_alternative": wildcard("a||b", ""),
    "empty_pattern": wildcard("", ""),
    "stars": wildcard("**a**", "bbab"),
    "case": wildcard("z[", "Z["),
    "star_at_the_end": wildcard("ab*", "ab"),
    "bar_behind_a_star": wildcard("b*|a*", "aa"),
    "noise": noise(7, 200),
}

SEEDS = {
    "array": ARRAY,
    "map": MAP,
    "sort": SORT,
    "wildcard": WILDCARD,
}
