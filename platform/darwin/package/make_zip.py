#!/usr/bin/env python3
"""Packs a folder so that equal contents of one date give equal archives: sorted names, fixed modes, one date.

The date is SOURCE_DATE_EPOCH where that is set, else that of the last commit of the sources, else that of the
newest file that the package is made from. Archives know no time zone and only even seconds from 1980 to 2107:
the date is written in UTC, rounded down to such a second. Beside ARCHIVE comes ARCHIVE.sha256, for sha256sum -c.
"""

import argparse
import hashlib
import os
import pathlib
import stat
import subprocess
import sys
import time
import zipfile

MADE_FROM = ("LICENSE", "QuickLookPlugin", "SpotlightImporter", "cmake", "core", "platform")
FIRST_DATE = (1980, 1, 1, 0, 0, 0)
LAST_DATE = (2107, 12, 31, 23, 59, 58)
MADE_ON_UNIX = 3
IS_FOLDER = 0x10  # for readers that do not know Unix modes


def last_commit(sources):
    """The seconds of the last commit; None when `sources` is no repository of its own."""

    def git(*arguments):
        command = ["git", "-C", sources, *arguments]
        return subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True).stdout

    try:
        inside_another = git("rev-parse", "--show-cdup").strip()
        return None if inside_another else int(git("log", "-1", "--format=%ct"))
    except (OSError, subprocess.CalledProcessError):
        return None


def newest_file(sources):
    tops = [sources / name for name in MADE_FROM]
    files = [path for top in tops for path in (top, *top.rglob("*")) if path.is_file()]
    return max(path.stat().st_mtime for path in files)


def seconds_of(sources):
    """Seconds since 1970."""
    stated = os.environ.get("SOURCE_DATE_EPOCH")
    if stated:
        if not stated.isdecimal():
            sys.exit(f"make_zip.py: SOURCE_DATE_EPOCH is no number of seconds: {stated}")
        return int(stated)
    commit = last_commit(sources)
    return newest_file(sources) if commit is None else commit


def archive_date(seconds):
    return min(max(tuple(time.gmtime(seconds))[:6], FIRST_DATE), LAST_DATE)


def entry(name, mode, date):
    info = zipfile.ZipInfo(name, date)
    info.create_system = MADE_ON_UNIX
    info.compress_type = zipfile.ZIP_DEFLATED
    info.external_attr = mode << 16 | (IS_FOLDER if stat.S_ISDIR(mode) else 0)
    return info


def write_archive(top, file, date):
    names = {path.relative_to(top.parent).as_posix(): path for path in [top, *top.rglob("*")]}
    with zipfile.ZipFile(file, "w", compresslevel=9) as archive:
        for name, path in sorted(names.items()):
            if path.is_dir():
                archive.writestr(entry(name + "/", stat.S_IFDIR | 0o755, date), b"")
            else:
                mode = 0o755 if path.parent.name == "MacOS" else 0o644
                archive.writestr(entry(name, stat.S_IFREG | mode, date), path.read_bytes())


def write_checksum(file):
    checksum = hashlib.sha256(file.read_bytes()).hexdigest()
    file.with_name(file.name + ".sha256").write_text(f"{checksum}  {file.name}\n", encoding="ascii")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("sources", type=pathlib.Path, help="the project's folder")
    parser.add_argument("folder", type=pathlib.Path, help="becomes the one folder at the top of the archive")
    parser.add_argument("archive", type=pathlib.Path)
    arguments = parser.parse_args()
    write_archive(arguments.folder, arguments.archive, archive_date(seconds_of(arguments.sources)))
    write_checksum(arguments.archive)


main()
