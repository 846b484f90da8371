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
             tests/macho_static tests/plugin tools/shell""".split()
# What would change the product if it got through.
HOSTILE = {
    "CXXFLAGS": "-O0",
    "LDFLAGS": "-Wl,-x",
    "CPATH": "/nonexistent",
    "LIBRARY_PATH": "/usr/lib",
    "SDKROOT": "/nonexistent",
    "MACOSX_DEPLOYMENT_TARGET": "12.0",
    "TZ": "Asia/Kathmandu",
}
DATED = {"SOURCE_DATE_EPOCH": "1700000001"}
DATE = (2023, 11, 14, 22, 13, 20)  # the same in UTC, to an even second

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
        cls.first = make_package(top / "one", top / "out", 0o022, **DATED)
        cls.second = make_package(top / "a longer name" / "two", top / "made elsewhere", 0o077, **DATED, **HOSTILE)
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

    def test_has_its_checksum_beside_it(self):
        check = ["sha256sum", "--status", "-c", self.first.name + ".sha256"]
        self.assertEqual(subprocess.run(check, cwd=self.first.parent).returncode, 0)

    def test_names_are_sorted_and_in_one_folder(self):
        names = list(self.entries)
        self.assertEqual(names, sorted(names))
        self.assertEqual({name.split("/")[0] for name in names}, {self.folder})

    def test_dates_and_modes_are_the_same_for_everyone(self):
        for name, entry in self.entries.items():
            executable = name.endswith("/MacOS/SorrelTorrent")
            expected = stat.S_IFDIR | 0o755 if entry.is_dir() else stat.S_IFREG | (0o755 if executable else 0o644)
            self.assertEqual(oct(entry.external_attr >> 16), oct(expected), name)
            self.assertEqual(entry.date_time, DATE, name)

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


class ArchiveTest(unittest.TestCase):
    """Archives of a small folder: what dates them and what comes with them."""

    NEWEST = 1_600_000_000  # 2020-09-13 12:26:40

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.top = pathlib.Path(scratch.name)
        self.sources = self.top / "sources"
        self.make_sources(self.sources)
        self.folder = self.top / "folder"
        self.folder.mkdir()
        (self.folder / "file.txt").write_text("text\n", encoding="ascii")
        self.archive = self.top / "made" / "folder.zip"
        self.archive.parent.mkdir()

    def make_sources(self, folder):
        for name, seconds in ((".gitignore", 1_650_000_000), ("LICENSE", 1_500_000_000), ("core/a.h", self.NEWEST)):
            path = folder / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text("build\n", encoding="ascii")
            os.utime(path, (seconds, seconds))

    def run_git(self, *command):
        settings = {"GIT_CONFIG_GLOBAL": "/dev/null", "GIT_COMMITTER_DATE": "@1650000000 +0545"}
        for role in ("AUTHOR", "COMMITTER"):
            settings |= {f"GIT_{role}_NAME": "a", f"GIT_{role}_EMAIL": "a@example.org"}
        subprocess.run(["git", "-C", self.sources, *command], check=True, env={**os.environ, **settings})

    def commit(self):
        if not shutil.which("git"):
            self.skipTest("no git here, and so no commit that could give a date")
        self.run_git("init", "-q")
        self.run_git("add", ".")
        self.run_git("commit", "-q", "-m", "sources")

    def pack(self, sources=None, **environment):
        command = [sys.executable, "-B", arguments.root / "platform/darwin/package/make_zip.py"]
        command += [sources or self.sources, self.folder, self.archive]
        clean = {name: value for name, value in os.environ.items() if name != "SOURCE_DATE_EPOCH"}
        return subprocess.run(command, env={**clean, **environment}, stderr=subprocess.PIPE, text=True)

    def dates(self, *args, **environment):
        self.assertEqual(self.pack(*args, **environment).stderr, "")
        with zipfile.ZipFile(self.archive) as archive:
            return {entry.date_time for entry in archive.infolist()}

    def test_is_dated_by_the_last_commit_in_utc(self):
        self.commit()
        self.assertEqual(self.dates(TZ="Asia/Kathmandu"), {(2022, 4, 15, 5, 20, 0)})

    def test_is_dated_as_the_environment_says_rather(self):
        self.commit()
        self.assertEqual(self.dates(SOURCE_DATE_EPOCH="1700000000", TZ="Asia/Kathmandu"), {DATE})

    def test_is_dated_to_even_seconds_between_1980_and_2107(self):
        for seconds, date in (
            (315532799, (1980, 1, 1, 0, 0, 0)),
            (315532801, (1980, 1, 1, 0, 0, 0)),
            (315532802, (1980, 1, 1, 0, 0, 2)),
            (4354819199, (2107, 12, 31, 23, 59, 58)),
            (4354819200, (2107, 12, 31, 23, 59, 58)),
        ):
            with self.subTest(seconds=seconds):
                self.assertEqual(self.dates(SOURCE_DATE_EPOCH=str(seconds)), {date})

    def test_is_dated_by_its_newest_source_without_a_repository(self):
        self.assertEqual(self.dates(), {(2020, 9, 13, 12, 26, 40)})

    def test_is_dated_by_its_newest_source_without_git(self):
        self.commit()
        self.assertEqual(self.dates(PATH=""), {(2020, 9, 13, 12, 26, 40)})

    def test_is_not_dated_by_a_repository_around_the_sources(self):
        self.commit()
        copy = self.sources / "build" / "copy"
        self.make_sources(copy)
        self.assertEqual(self.dates(copy), {(2020, 9, 13, 12, 26, 40)})

    def test_is_not_made_with_a_date_that_is_no_number(self):
        self.assertIn("SOURCE_DATE_EPOCH", self.pack(SOURCE_DATE_EPOCH="today").stderr.splitlines()[0])
        self.assertFalse(self.archive.exists())

    def test_comes_with_a_checksum_that_only_the_archive_passes(self):
        self.assertEqual(self.pack().returncode, 0)
        check = ["sha256sum", "--status", "-c", "folder.zip.sha256"]
        self.assertEqual(subprocess.run(check, cwd=self.archive.parent).returncode, 0)
        with self.archive.open("ab") as file:
            file.write(b"more")
        self.assertNotEqual(subprocess.run(check, cwd=self.archive.parent).returncode, 0)


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
