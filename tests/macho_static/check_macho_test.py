#!/usr/bin/env python3
"""Damages copies of the bundle, one property at a time, and sees that the checks notice."""

import argparse
import pathlib
import plistlib
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

import macho

EXECUTABLE = pathlib.Path("Contents", "MacOS", "SorrelTorrent")
INFO = pathlib.Path("Contents", "Info.plist")
ARCHITECTURE = "x86_64"
RUN_PATH = 0x8000001C

arguments = None


def command_at(data, wanted, nth=0):
    """The offset of a load command in the bytes of an image."""
    offset = 32
    for _ in range(struct.unpack_from("<I", data, 16)[0]):
        command, size = struct.unpack_from("<2I", data, offset)
        if command == wanted:
            if nth == 0:
                return offset
            nth -= 1
        offset += size
    raise KeyError(wanted)


class CheckMachoTest(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.bundle = pathlib.Path(scratch.name) / "SorrelTorrent.mdimporter"
        shutil.copytree(arguments.bundle, self.bundle)
        self.data = bytearray((self.bundle / EXECUTABLE).read_bytes())

    def complaints(self, *only):
        (self.bundle / EXECUTABLE).write_bytes(self.data)
        command = [sys.executable, "-B", pathlib.Path(__file__).with_name("check_macho.py"), self.bundle, ARCHITECTURE]
        result = subprocess.run([*command, *only], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.assertEqual(result.returncode, 1 if result.stdout else 0)
        return result.stdout

    def replace(self, old, new):
        self.assertEqual(self.data.count(old), 1, old)
        self.assertEqual(len(old), len(new))
        self.data = self.data.replace(old, new)

    def expect(self, *claims):
        complaints = self.complaints()
        for claim in claims:
            self.assertIn(claim, complaints)

    def test_an_undamaged_bundle_passes(self):
        self.assertEqual(self.complaints(), "")

    def test_file_type(self):
        struct.pack_into("<I", self.data, 12, 6)
        self.expect("file type: 6 instead of 8", "the signature does not fit page 0")

    def test_names_looked_for_in_every_library(self):
        struct.pack_into("<I", self.data, 24, struct.unpack_from("<I", self.data, 24)[0] & ~0x80)
        self.expect("names are looked for in every library")

    def test_run_path(self):
        struct.pack_into("<I", self.data, command_at(self.data, 0x1B), RUN_PATH)  # in place of the UUID
        self.expect("the image has a run path")

    def test_library_that_may_be_missing(self):
        struct.pack_into("<I", self.data, command_at(self.data, macho.LC_LOAD_DYLIB), 0x80000018)
        self.expect("the image has a library that may be missing")

    def test_library_elsewhere(self):
        self.replace(b"/usr/lib/libobjc.A.dylib", b"@rpath//libobjc.A.dylib\0")
        self.expect("'@rpath//libobjc.A.dylib'")

    def test_oldest_system(self):
        at = command_at(self.data, macho.LC_VERSION_MIN_MACOSX) + 8
        struct.pack_into("<I", self.data, at, 10 << 16 | 12 << 8)
        self.expect("oldest macOS: '10.12' instead of '10.13'")

    def test_another_export(self):
        trie = b"_MetadataImporterPluginFactory\0"
        start, _ = struct.unpack_from("<2I", self.data, command_at(self.data, macho.LC_DYLD_INFO[1]) + 40)
        at = self.data.index(trie, start)
        self.data[at + 1] = ord("N")
        self.expect("exports: ['_NetadataImporterPluginFactory']")

    def test_code_that_runs_at_load(self):
        self.replace(b"__objc_classlist", b"__mod_init_func\0")
        self.expect("__mod_init_func")

    def test_file_status_function_of_another_layout(self):
        start, count, strings, _ = struct.unpack_from("<4I", self.data, command_at(self.data, macho.LC_SYMTAB) + 8)
        at = self.data.index(b"_fstat$INODE64\0", strings)
        self.data[at + len("_fstat")] = 0
        self.expect("file status function: {'_fstat'} instead of {'_fstat$INODE64'}")

    def test_one_changed_byte(self):
        self.data[5 * 4096 + 7] ^= 1
        self.expect("the signature does not fit page 5")

    def test_no_signature(self):
        struct.pack_into("<I", self.data, command_at(self.data, macho.LC_CODE_SIGNATURE), 0x26)
        self.expect("there is no signature")

    def test_signature_by_another_name(self):
        start, size = struct.unpack_from("<2I", self.data, command_at(self.data, macho.LC_CODE_SIGNATURE) + 8)
        at = self.data.index(b"SorrelTorrent\0", start, start + size)
        self.data[at] = ord("T")
        self.expect("identifier of the signature: 'TorrelTorrent' instead of 'SorrelTorrent'")

    def test_size(self):
        self.data += bytes(200 * 1024 - len(self.data))
        self.expect("204800 bytes, not less than 204800", "the signature is not the end of the file")

    def test_other_architectures(self):
        self.assertIn("architectures: ['x86_64'] instead of", self.complaints("--only", "x86_64", "arm64"))

    def test_another_factory_in_the_property_list(self):
        info = plistlib.loads((self.bundle / INFO).read_bytes())
        info["CFPlugInFactories"] = {"00000000-0000-0000-0000-000000000000": "MetadataImporterPluginFactory"}
        (self.bundle / INFO).write_bytes(plistlib.dumps(info))
        self.expect("UUIDs in the executable")

    def test_older_system_in_the_property_list(self):
        info = plistlib.loads((self.bundle / INFO).read_bytes())
        info["LSMinimumSystemVersion"] = "10.12"
        (self.bundle / INFO).write_bytes(plistlib.dumps(info))
        self.expect("LSMinimumSystemVersion: '10.12' instead of '10.13'")


def main():
    global arguments
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("bundle", type=pathlib.Path, help="one with the Intel slice alone")
    arguments = parser.parse_args()
    unittest.main(argv=[sys.argv[0], "--quiet"])


main()
