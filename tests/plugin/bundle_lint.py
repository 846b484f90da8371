#!/usr/bin/env python3
"""Checks that the parts of the importer bundle agree with each other and with what the system reads."""

import argparse
import pathlib
import plistlib
import re
import subprocess
import sys
import xml.etree.ElementTree as xml

import strings_file

IMPORTER_TYPE = "8B08C4BF-415B-11D8-B3F9-0003936726FC"
FACTORY = "MetadataImporterPluginFactory"
TYPES = [
    "org.bittorrent.torrent",
    "com.bittorrent.torrent",
    "public.bittorrent-torrent",
    "dyn.ah62d4rv4ge81k55wsmw067a",
]
OWN_KEY = "org_sorrel_torrent_filenames"
KEYS = {"kMDItemCreator", "kMDItemComment", "kMDItemDescription", OWN_KEY}
SCHEMA = "{http://www.apple.com/metadata}"
UUID = re.compile(rb"[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}")

failures = []


def check(holds, claim):
    if not holds:
        failures.append(claim)


def equal(actual, expected, what):
    check(actual == expected, f"{what}: {actual!r} instead of {expected!r}")


def output(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def check_property_list(info):
    for key, value in {
        "CFBundleInfoDictionaryVersion": "6.0",
        "CFBundleIdentifier": "org.sorrel.torrent.mdimporter",
        "CFBundleName": "SorrelTorrent",
        "CFBundleExecutable": "SorrelTorrent",
        "CFBundlePackageType": "BNDL",
        "CFBundleDevelopmentRegion": "en",
        "CFPlugInDynamicRegistration": False,
    }.items():
        equal(info.get(key), value, key)
    version = info.get("CFBundleVersion", "")
    check(re.fullmatch(r"\d+\.\d+\.\d+", version), f"CFBundleVersion is no version: {version!r}")
    equal(info.get("CFBundleShortVersionString"), version, "CFBundleShortVersionString")
    check("@" not in repr(info), "a placeholder was left in Info.plist")
    equal(
        info.get("CFBundleDocumentTypes"),
        [{"CFBundleTypeRole": "MDImporter", "LSItemContentTypes": TYPES}],
        "CFBundleDocumentTypes",
    )
    equal(
        info.get("UTImportedTypeDeclarations"),
        [
            {
                "UTTypeIdentifier": TYPES[0],
                "UTTypeDescription": "BitTorrent File",
                "UTTypeConformsTo": ["public.data"],
                "UTTypeTagSpecification": {
                    "public.filename-extension": ["torrent"],
                    "public.mime-type": ["application/x-bittorrent"],
                },
            }
        ],
        "UTImportedTypeDeclarations",
    )


def check_factory(info, binary):
    factories = info.get("CFPlugInFactories", {})
    equal(list(factories.values()), [FACTORY], "functions in CFPlugInFactories")
    uuid = next(iter(factories), "")
    equal(uuid, uuid.upper(), "case of the factory UUID")
    equal(info.get("CFPlugInTypes"), {IMPORTER_TYPE: [uuid]}, "CFPlugInTypes")
    equal(set(UUID.findall(binary)), {uuid.encode()}, "UUIDs in the executable")


def check_schema(path, xmllint):
    equal(output(xmllint, "--noout", str(path)), "", "xmllint")
    root = xml.parse(path).getroot()
    attributes = [element.attrib for element in root.iter(SCHEMA + "attribute")]
    equal(attributes, [{"name": OWN_KEY, "type": "CFString", "multivalued": "true"}], "attributes of the schema")
    equal([element.get("name") for element in root.iter(SCHEMA + "type")], TYPES, "types of the schema")
    for tag in ("allattrs", "displayattrs"):
        lists = [element.text.split() for element in root.iter(SCHEMA + tag)]
        equal(len(lists), len(TYPES), f"number of {tag}")
        for keys in lists:
            equal(sorted(keys), sorted(KEYS), tag)


def check_strings(resources, sources):
    """Every language of the sources is there, says the same things, and says them in its own words."""
    languages = sorted(path.name for path in sources.glob("*.lproj"))
    equal(sorted(path.name for path in resources.glob("*.lproj")), languages, "languages")
    check(len(languages) >= 20, f"only {len(languages)} languages")
    english = {}
    for language in ["en.lproj"] + [name for name in languages if name != "en.lproj"]:
        check(re.fullmatch(r"[a-z]{2}(-[A-Z]{2}|-[A-Z][a-z]{3})?\.lproj", language), f"{language} is no language")
        try:
            texts = strings_file.read(resources / language / "schema.strings")
        except (OSError, strings_file.Malformed) as problem:
            failures.append(f"{language}: {problem}")
            continue
        equal(list(texts), [OWN_KEY, OWN_KEY + ".Description"], f"{language}: keys of schema.strings")
        for key in english.keys() & texts.keys():
            check(texts[key] != english[key], f"{language}: {key} is in English")
        english = english or texts


def check_executable(path, binary, nm, readelf):
    symbols = [line.split()[-1] for line in output(nm, "-D", "--defined-only", str(path)).splitlines()]
    equal(symbols, [FACTORY], "exported symbols")
    for key in KEYS - {"kMDItemCreator", "kMDItemComment", "kMDItemDescription"}:
        check(key.encode() in binary, f"{key} is not in the executable")
    imported = set(re.findall(r"kMDItem\w+", output(nm, "-D", "--undefined-only", str(path))))
    equal(imported, KEYS - {OWN_KEY}, "attribute keys that the executable asks for")
    dynamic = output(readelf, "--dynamic", "--wide", str(path))
    check("NODELETE" in dynamic, "the executable can be unloaded")
    paths = re.findall(r"R(?:UN)?PATH.*\[(.*)\]", dynamic)
    equal(paths, ["$ORIGIN/../../.."], "run path")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("bundle", type=pathlib.Path)
    parser.add_argument("sources", type=pathlib.Path, help="the folder that has the languages")
    parser.add_argument("--xmllint", required=True)
    parser.add_argument("--nm", help="for the bundle of Linux; without it, the one of macOS")
    parser.add_argument("--readelf", help="as --nm")
    arguments = parser.parse_args()
    contents = arguments.bundle / "Contents"
    folder = "Linux" if arguments.nm else "MacOS"
    with open(contents / "Info.plist", "rb") as file:
        info = plistlib.load(file)
    executable = contents / folder / info["CFBundleExecutable"]
    binary = executable.read_bytes()

    files = {str(path.relative_to(contents)) for path in contents.rglob("*") if path.is_file()}
    strings = {name for name in files if re.fullmatch(r"Resources/[^/]+\.lproj/schema\.strings", name)}
    equal(files - strings, {"Info.plist", f"{folder}/SorrelTorrent", "Resources/schema.xml"}, "files of the bundle")
    check_property_list(info)
    check_factory(info, binary)
    check_schema(contents / "Resources" / "schema.xml", arguments.xmllint)
    check_strings(contents / "Resources", arguments.sources)
    if arguments.nm:
        check_executable(executable, binary, arguments.nm, arguments.readelf)
    for failure in failures:
        print(failure, file=sys.stderr)
    return 1 if failures else 0


sys.exit(main())
