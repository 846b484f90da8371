#!/usr/bin/env python3
"""Packs a folder so that equal contents give equal archives: sorted names, fixed dates and modes."""

import argparse
import pathlib
import stat
import zipfile

DATE = (2020, 1, 1, 0, 0, 0)
MADE_ON_UNIX = 3
IS_FOLDER = 0x10  # for readers that do not know Unix modes


def entry(name, mode):
    info = zipfile.ZipInfo(name, DATE)
    info.create_system = MADE_ON_UNIX
    info.compress_type = zipfile.ZIP_DEFLATED
    info.external_attr = mode << 16 | (IS_FOLDER if stat.S_ISDIR(mode) else 0)
    return info


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("folder", type=pathlib.Path, help="becomes the one folder at the top of the archive")
    parser.add_argument("archive", type=pathlib.Path)
    arguments = parser.parse_args()
    top = arguments.folder
    names = {path.relative_to(top.parent).as_posix(): path for path in [top, *top.rglob("*")]}
    with zipfile.ZipFile(arguments.archive, "w", compresslevel=9) as archive:
        for name, path in sorted(names.items()):
            if path.is_dir():
                archive.writestr(entry(name + "/", stat.S_IFDIR | 0o755), b"")
            else:
                mode = 0o755 if path.parent.name == "MacOS" else 0o644
                archive.writestr(entry(name, stat.S_IFREG | mode), path.read_bytes())


main()
