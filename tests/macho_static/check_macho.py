#!/usr/bin/env python3
"""Checks one architecture of the macOS bundle's executable: what the system's loader will see of it."""

import argparse
import pathlib
import plistlib
import re
import sys

import macho

FACTORY = "_MetadataImporterPluginFactory"
EXECUTABLE_NAME = "SorrelTorrent"
MINIMUM_SYSTEMS = {"x86_64": "10.13", "arm64": "11.0"}
SIZE_LIMITS = {"x86_64": 200 * 1024, "arm64": 256 * 1024}  # arm64 has pages of 16 KiB

MH_BUNDLE = 0x8
MH_TWOLEVEL = 0x80
CODE_SIGNATURE_AD_HOC = 0x2
FORBIDDEN_COMMANDS = {
    0x8000001C: "a run path",
    0x8000001F: "a library that it passes on",
    0x80000018: "a library that may be missing",
    0x27: "an environment for the loader",
}

FRAMEWORK = "/System/Library/Frameworks/{0}.framework/Versions/{1}/{0}"
FOUNDATION = FRAMEWORK.format("Foundation", "C")
CORE_FOUNDATION = FRAMEWORK.format("CoreFoundation", "A")
CORE_SERVICES = FRAMEWORK.format("CoreServices", "A")
LIBRARIES = {
    FOUNDATION,
    CORE_FOUNDATION,
    CORE_SERVICES,
    "/usr/lib/libobjc.A.dylib",
    "/usr/lib/libc++.1.dylib",
    "/usr/lib/libSystem.B.dylib",
}

# Code that would run when the bundle is loaded, and data that each thread would get a copy of.
FORBIDDEN_SECTIONS = re.compile(
    r",__(mod_init_func|mod_term_func|init_offsets|thread_.*|objc_nlclslist|objc_nlcatlist)$"
)
# On Intel the plain name fills a record with another layout.
FILE_STATUS = {"x86_64": "_fstat$INODE64", "arm64": "_fstat"}
ATTRIBUTE_KEYS = {"_kMDItemComment", "_kMDItemCreator", "_kMDItemDescription"}
UUID = re.compile(rb"[0-9A-Fa-f]{8}(?:-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}")

failures = []


def check(holds, claim):
    if not holds:
        failures.append(claim)


def equal(actual, expected, what):
    check(actual == expected, f"{what}: {actual!r} instead of {expected!r}")


def check_header(image):
    equal(image.file_type, MH_BUNDLE, "file type")
    check(image.flags & MH_TWOLEVEL, "names are looked for in every library")
    for command, meaning in FORBIDDEN_COMMANDS.items():
        check(command not in image.commands, f"the image has {meaning}")
    equal(image.minimum_system, MINIMUM_SYSTEMS[image.architecture], "oldest macOS")
    unwelcome = sorted(filter(FORBIDDEN_SECTIONS.search, image.sections))
    equal(unwelcome, [], "sections that load-time code or threads need")


def check_names(image):
    equal(image.exports(), [FACTORY], "exports")
    equal(set(image.libraries), LIBRARIES, "libraries")
    imports = image.imports()
    file_status = {name for name in imports if name.startswith("_fstat")}
    equal(file_status, {FILE_STATUS[image.architecture]}, "file status function")
    keys = {name for name, library in imports.items() if library == CORE_SERVICES}
    equal(keys, ATTRIBUTE_KEYS, "names from CoreServices")


def check_signature(image, identifier):
    try:
        name, flags = image.signature()
    except macho.Malformed as problem:
        failures.append(str(problem))
        return
    check(flags & CODE_SIGNATURE_AD_HOC, "the signature is not an ad-hoc one")
    if identifier:
        equal(name, identifier, "identifier of the signature")


def check_against_property_list(image, info):
    uuids = {text.decode() for text in UUID.findall(image.data)}
    equal(uuids, set(info["CFPlugInFactories"]), "UUIDs in the executable")
    equal({"_" + name for name in info["CFPlugInFactories"].values()}, {FACTORY}, "functions of the factories")
    equal(info.get("LSMinimumSystemVersion"), MINIMUM_SYSTEMS["x86_64"], "LSMinimumSystemVersion")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("bundle", type=pathlib.Path)
    parser.add_argument("architecture", choices=sorted(MINIMUM_SYSTEMS))
    parser.add_argument("--only", nargs="+", metavar="ARCH", help="what the file holds (default: ARCHITECTURE alone)")
    parser.add_argument("--joined-by-compiler", action="store_true", help="the signature names a temporary file")
    arguments = parser.parse_args()
    contents = arguments.bundle / "Contents"
    info = plistlib.loads((contents / "Info.plist").read_bytes())
    images = macho.slices((contents / "MacOS" / EXECUTABLE_NAME).read_bytes())
    equal(sorted(images), sorted(arguments.only or [arguments.architecture]), "architectures")
    image = images[arguments.architecture]

    check_header(image)
    check_names(image)
    check_signature(image, None if arguments.joined_by_compiler else EXECUTABLE_NAME)
    check_against_property_list(image, info)
    limit = SIZE_LIMITS[arguments.architecture]
    check(len(image.data) < limit, f"{len(image.data)} bytes, not less than {limit}")
    for failure in failures:
        print(f"{arguments.architecture}: {failure}", file=sys.stderr)
    return 1 if failures else 0


sys.exit(main())
