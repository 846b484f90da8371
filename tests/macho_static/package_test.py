#!/usr/bin/env python3
"""Makes the package from copies of the sources in two folders and looks at what is in it."""

import argparse
import os
import pathlib
import re
import shutil
import stat
import subprocess
import sys
import tempfile
import unittest
import zipfile

SOURCES = """CMakeLists.txt CMakePresets.json LICENSE QuickLookPlugin SpotlightImporter cmake core platform scripts
             tests/macho_static tests/plugin""".split()
# What would change the product if it got through.
HOSTILE = {
    "CXXFLAGS": "-O0",
    "LDFLAGS": "-Wl,-x",
    "CPATH": "/nonexistent",
    "LIBRARY_PATH": "/usr/lib",
    "SDKROOT": "/nonexistent",
    "MACOSX_DEPLOYMENT_TARGET": "12.0",
    "SOURCE_DATE_EPOCH": "1",
    "TZ": "Asia/Kathmandu",
}

arguments = None


def copy_sources(folder):
    for name in SOURCES:
        source = arguments.root / name
        target = folder / name
        target.parent.mkdir(parents=True, exist_ok=True)
        if source.is_dir():
            shutil.copytree(source, target, ignore=shutil.ignore_patterns("__pycache__"))
        else:
            shutil.copy(source, target)


def make_package(folder, output, umask, **environment):
    copy_sources(folder)
    command = [folder / "scripts" / "package", "--output", output]
    environment = {**os.environ, **environment}
    pipes = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "text": True}
    result = subprocess.run(command, env=environment, umask=umask, **pipes)
    if result.returncode:
        raise RuntimeError(result.stderr)
    return pathlib.Path(result.stdout.strip())


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory(dir=arguments.scratch)
        cls.addClassCleanup(scratch.cleanup)
        top = pathlib.Path(scratch.name)
        cls.first = make_package(top / "one", top / "out", 0o022)
        cls.second = make_package(top / "a longer name" / "two", top / "made elsewhere", 0o077, **HOSTILE)
        with zipfile.ZipFile(cls.first) as archive:
            archive.extractall(top / "unpacked")
            cls.entries = {entry.filename: entry for entry in archive.infolist()}
        cls.folder = cls.first.stem
        cls.unpacked = top / "unpacked" / cls.folder

    def test_is_named_by_the_version(self):
        self.assertEqual(self.first.name, f"SorrelTorrent-{arguments.version}-macos.zip")

    def test_is_the_same_from_another_folder_and_environment(self):
        self.assertEqual(self.first.name, self.second.name)
        self.assertTrue(self.first.read_bytes() == self.second.read_bytes(), "the archives differ")

    def test_names_are_sorted_and_in_one_folder(self):
        names = list(self.entries)
        self.assertEqual(names, sorted(names))
        self.assertEqual({name.split("/")[0] for name in names}, {self.folder})

    def test_dates_and_modes_are_the_same_for_everyone(self):
        for name, entry in self.entries.items():
            executable = name.endswith("/MacOS/SorrelTorrent")
            expected = stat.S_IFDIR | 0o755 if entry.is_dir() else stat.S_IFREG | (0o755 if executable else 0o644)
            self.assertEqual(oct(entry.external_attr >> 16), oct(expected), name)
            self.assertEqual(entry.date_time, (2020, 1, 1, 0, 0, 0), name)

    def test_says_how_to_install_and_check(self):
        self.assertEqual(
            sorted(path.name for path in self.unpacked.iterdir()),
            ["LICENSE.txt", "README.txt", "SorrelTorrent.mdimporter"],
        )
        text = (self.unpacked / "README.txt").read_text(encoding="utf-8")
        self.assertTrue(text.startswith(f"SorrelTorrent {arguments.version} for macOS\n"), text[:40])
        for command in (
            "xattr -dr com.apple.quarantine SorrelTorrent.mdimporter",
            "cp -R SorrelTorrent.mdimporter ~/Library/Spotlight/",
            "mdimport -r ~/Library/Spotlight/SorrelTorrent.mdimporter",
            "mdimport -L",
            "mdimport -t -d2",
            "mdls ",
        ):
            self.assertIn(command, text)
        self.assertNotIn("@", text)

    def test_holds_both_slices_signed_by_the_name_of_the_bundle(self):
        bundle = self.unpacked / "SorrelTorrent.mdimporter"
        check = pathlib.Path(__file__).with_name("check_macho.py")
        for architecture in ("x86_64", "arm64"):
            command = [sys.executable, "-B", check, bundle, architecture, "--only", "x86_64", "arm64"]
            self.assertEqual(subprocess.run(command, stderr=subprocess.PIPE, text=True).stderr, "")


class InstructionsTest(unittest.TestCase):
    """What the package's instructions and the pages of the sources say alike. No package is made."""

    README = "README.md"
    PACKAGE_README = "platform/darwin/package/README.txt.in"

    def text(self, name):
        return (arguments.root / name).read_text(encoding="utf-8")

    def limits(self, name):
        """The items of the list below the heading, each on one line."""
        items = []
        for line in self.text(name).partition("What search does not find\n")[2].splitlines():
            if line.startswith("- "):
                items.append(line[2:])
            elif line.startswith("  "):
                items[-1] += " " + line.strip()
            elif items:
                break
        return items

    def test_package_says_what_search_does_not_find_as_the_readme_does(self):
        self.assertGreaterEqual(len(self.limits(self.README)), 7)
        self.assertEqual(self.limits(self.README), self.limits(self.PACKAGE_README))

    def test_every_search_passes_over_case_and_accents(self):
        docs = sorted(page.relative_to(arguments.root) for page in (arguments.root / "docs").glob("*.md"))
        searches = 0
        for name in (self.README, self.PACKAGE_README, *docs):
            for search in re.findall(r"mdfind +(\S.*)", self.text(name)):
                searches += 1
                with self.subTest(name):
                    self.assertRegex(search, r"""^'\w+ == "[^"]*"cd'""")
        self.assertGreaterEqual(searches, 3)


def main():
    global arguments
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--root", type=pathlib.Path, required=True)
    parser.add_argument("--scratch", type=pathlib.Path, required=True)
    parser.add_argument("--version", required=True)
    arguments, tests = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], "--quiet", *tests])


main()
