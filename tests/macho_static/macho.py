"""Reads what the load commands of a 64-bit Mach-O file say, slice by slice."""

import hashlib
import struct

FAT_MAGIC = 0xCAFEBABE
MAGIC_64 = 0xFEEDFACF
CPU_TYPES = {0x01000007: "x86_64", 0x0100000C: "arm64"}

LC_SEGMENT_64 = 0x19
LC_SYMTAB = 0x2
LC_LOAD_DYLIB = 0xC
LOADS = (LC_LOAD_DYLIB, 0x80000018, 0x8000001F, 0x80000023)  # as it is, weak, passed on, upward
LC_CODE_SIGNATURE = 0x1D
LC_VERSION_MIN_MACOSX = 0x24
LC_BUILD_VERSION = 0x32
LC_DYLD_INFO = (0x22, 0x80000022)
LC_DYLD_EXPORTS_TRIE = 0x80000033
PLATFORM_MACOS = 1

SUPER_BLOB = 0xFADE0CC0
CODE_DIRECTORY = 0xFADE0C02
SHA256 = 2


class Malformed(Exception):
    """The file is not what it claims to be."""


def slices(data):
    """Maps the name of each architecture in the file to the bytes of its slice."""
    if struct.unpack_from(">I", data)[0] != FAT_MAGIC:
        image = Image(data)
        return {image.architecture: image}
    images = {}
    for i in range(struct.unpack_from(">I", data, 4)[0]):
        cpu, _, offset, size, align = struct.unpack_from(">5I", data, 8 + 20 * i)
        if offset % (1 << align) or offset + size > len(data):
            raise Malformed(f"slice {i} lies badly")
        image = Image(data[offset : offset + size])
        if CPU_TYPES.get(cpu) != image.architecture:
            raise Malformed(f"slice {i} is not for the processor that it is listed for")
        images[image.architecture] = image
    return images


def version(number):
    """The text of a version packed into 32 bits, its last part left out when zero."""
    major, minor, patch = number >> 16, number >> 8 & 0xFF, number & 0xFF
    return f"{major}.{minor}.{patch}" if patch else f"{major}.{minor}"


class Image:
    """One slice: header fields and what the load commands name."""

    def __init__(self, data):
        self.data = data
        magic, cpu, _, self.file_type, count, _, self.flags, _ = struct.unpack_from("<8I", data)
        if magic != MAGIC_64 or cpu not in CPU_TYPES:
            raise Malformed("not a 64-bit image for a Mac")
        self.architecture = CPU_TYPES[cpu]
        self.commands = []  # of each: its number and its bytes
        self.sections = set()
        self.libraries = []
        self.minimum_system = None
        self._exports_at = self._signature_at = self._symbols_at = None
        offset = 32
        for _ in range(count):
            command, size = struct.unpack_from("<2I", data, offset)
            self._read(command, data[offset : offset + size])
            offset += size

    def _read(self, command, body):
        self.commands.append(command)
        if command == LC_SEGMENT_64:
            self._read_sections(body)
        elif command in LOADS:
            self.libraries.append(text_at(body, struct.unpack_from("<I", body, 8)[0]))
        elif command == LC_VERSION_MIN_MACOSX:
            self.minimum_system = version(struct.unpack_from("<I", body, 8)[0])
        elif command == LC_BUILD_VERSION:
            platform, minimum = struct.unpack_from("<2I", body, 8)
            self.minimum_system = version(minimum) if platform == PLATFORM_MACOS else None
        elif command in LC_DYLD_INFO:
            self._exports_at = struct.unpack_from("<2I", body, 40)
        elif command == LC_DYLD_EXPORTS_TRIE:
            self._exports_at = struct.unpack_from("<2I", body, 8)
        elif command == LC_CODE_SIGNATURE:
            self._signature_at = struct.unpack_from("<2I", body, 8)
        elif command == LC_SYMTAB:
            self._symbols_at = struct.unpack_from("<4I", body, 8)

    def _read_sections(self, body):
        for i in range(struct.unpack_from("<I", body, 64)[0]):
            section, segment = struct.unpack_from("<16s16s", body, 72 + 80 * i)
            self.sections.add(f"{segment.rstrip(bytes(1)).decode()},{section.rstrip(bytes(1)).decode()}")

    def exports(self):
        """The names in the exports trie."""
        start, size = self._exports_at
        trie = self.data[start : start + size]
        return sorted(walk_trie(trie, 0, b"", 0)) if trie else []

    def imports(self):
        """Maps the name of each undefined symbol to the library that it is bound to."""
        start, count, strings, _ = self._symbols_at
        found = {}
        for i in range(count):
            name, kind, _, description, _ = struct.unpack_from("<IBBHQ", self.data, start + 16 * i)
            if kind & 0xEF == 1:  # undefined and external, weak or not
                found[text_at(self.data, strings + name)] = self._library(description >> 8)
        return found

    def _library(self, ordinal):
        return self.libraries[ordinal - 1] if 0 < ordinal <= len(self.libraries) else f"library {ordinal}"

    def signature(self):
        """The identifier and flags of the code directory. Malformed when a hash in it is wrong."""
        if self._signature_at is None:
            raise Malformed("there is no signature")
        start, size = self._signature_at
        blob = self.data[start : start + size]
        magic, length, count = struct.unpack_from(">3I", blob)
        if magic != SUPER_BLOB or length > size or start + size != len(self.data):
            raise Malformed("the signature is not the end of the file")
        for i in range(count):
            kind, offset = struct.unpack_from(">2I", blob, 12 + 8 * i)
            if kind == 0:
                return check_directory(blob[offset:], self.data[:start])
        raise Malformed("the signature has no code directory")


def check_directory(directory, code):
    magic, _, _, flags, hashes, name, special, count, limit = struct.unpack_from(">9I", directory)
    hash_size, hash_type, _, page_bits = struct.unpack_from(">4B", directory, 36)
    page = 1 << page_bits
    if magic != CODE_DIRECTORY or special or limit != len(code) or (hash_size, hash_type) != (32, SHA256):
        raise Malformed("the code directory is of an unknown kind")
    if count != (limit + page - 1) // page:
        raise Malformed("the code directory does not cover every page")
    for i in range(count):
        expected = directory[hashes + 32 * i : hashes + 32 * (i + 1)]
        if hashlib.sha256(code[page * i : page * (i + 1)]).digest() != expected:
            raise Malformed(f"the signature does not fit page {i}")
    return text_at(directory, name), flags


def text_at(data, offset):
    return data[offset : data.index(0, offset)].decode()


def uleb128(data, at):
    value = shift = 0
    while True:
        byte = data[at]
        value |= (byte & 0x7F) << shift
        at += 1
        shift += 7
        if byte < 0x80:
            return value, at


def walk_trie(trie, node, prefix, depth):
    if depth > 128:
        raise Malformed("the exports trie has no end")
    size, at = uleb128(trie, node)
    names = [prefix.decode()] if size else []
    at += size
    children = trie[at]
    at += 1
    for _ in range(children):
        end = trie.index(0, at)
        edge = trie[at:end]
        child, at = uleb128(trie, end + 1)
        names += walk_trie(trie, child, prefix + edge, depth + 1)
    return names
