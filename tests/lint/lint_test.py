#!/usr/bin/env python3
"""Plants faults in a copy of the library and sees that the checks of scripts/lint name them."""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
LEFT_ONLY = "a header includes only from its own room or one to its left"
NUMBERS = "an assertion's number is written out or a constant kNameLine"
SOURCES = "an assertion's source name is a text or a constant of the same file"


class PlantedFaults(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = pathlib.Path(scratch.name)
        for folder in ("core", "QuickLookPlugin", "SpotlightImporter", "docs"):
            shutil.copytree(ROOT / folder, self.root / folder)

    def faults(self, check):
        command = [sys.executable, "-B", ROOT / "tools" / "lint" / check, self.root]
        result = subprocess.run(command, capture_output=True, text=True)
        self.assertEqual(result.stderr, "")
        self.assertEqual(result.returncode, 1 if result.stdout else 0)
        return result.stdout.splitlines()

    def append(self, name, text):
        """Adds lines to a file, made if need be; returns the number of the first."""
        path = self.root / name
        old = path.read_text(encoding="utf-8") if path.exists() else ""
        path.write_text(old + text, encoding="utf-8")
        return old.count("\n") + 1


class Rooms(PlantedFaults):
    def test_tree_keeps_the_order(self):
        self.assertEqual(self.faults("rooms.py"), [])

    def test_header_that_looks_right(self):
        line = self.append("core/text/string.h", '#include "core/util/util_path.h"\n')
        self.assertEqual(self.faults("rooms.py"), [f"core/text/string.h:{line}: {LEFT_ONLY}: text, not util"])

    def test_header_of_a_room_at_the_same_place(self):
        line = self.append("core/net/sockaddr.h", '  #  include "core/bencode/bencarray.h"\n')
        self.assertEqual(self.faults("rooms.py"), [f"core/net/sockaddr.h:{line}: {LEFT_ONLY}: net, not bencode"])

    def test_header_that_looks_left_or_at_its_room(self):
        self.append("core/net/sockaddr.h",
                    '#include "core/base/mem1.h"\n#include "core/net/util_ip.h"\n#include <stdio.h>\n')
        self.assertEqual(self.faults("rooms.py"), [])

    def test_includes_in_other_forms(self):
        for form in ("#include <core/util/util.h>", '#include_next "core/util/util.h"', '%:include "core/util/util.h"',
                     "#include A_NAME", '#include /* what */ "core/util/util.h"',
                     '#if 0\n#import "core/util/util.h"\n#endif'):
            with self.subTest(form):
                self.setUp()
                self.append("core/base/mem1.h", form + "\n")
                self.assertEqual(len(self.faults("rooms.py")), 1)

    def test_source_that_looks_right_unlisted(self):
        line = self.append("core/base/mem1.cpp", '#include "core/text/nustr.h"\n')
        self.assertEqual(self.faults("rooms.py"),
                         [f"core/base/mem1.cpp:{line}: base looks right at core/text/nustr.h, which the table in "
                          "docs/architecture.md does not list"])

    def test_source_that_looks_right_as_listed(self):
        self.append("core/base/mem1.cpp", '#include "core/text/nustr.h"\n')
        self.append("docs/architecture.md", "| `core/base/mem1.cpp` | `core/text/nustr.h` | a reason |\n")
        self.assertEqual(self.faults("rooms.py"), [])

    def test_listed_place_that_is_none(self):
        line = self.append("docs/architecture.md", "| `core/base/mem1.cpp` | `core/text/nustr.h` | a reason |\n")
        self.assertEqual(self.faults("rooms.py"),
                         [f"docs/architecture.md:{line}: no such place: core/base/mem1.cpp does not look right at "
                          "core/text/nustr.h"])

    def test_headers_cannot_be_listed(self):
        self.append("core/base/mem1.h", '#include "core/text/nustr.h"\n')
        self.append("docs/architecture.md", "| `core/base/mem1.h` | `core/text/nustr.h` | a reason |\n")
        self.assertEqual(len(self.faults("rooms.py")), 2)

    def test_file_outside_the_rooms(self):
        self.append("core/attic.h", "#pragma once\n")
        self.append("core/base/attic.inc", '#include "core/util/util.h"\n')
        self.assertEqual([fault.split(":")[0] for fault in self.faults("rooms.py")],
                         ["core/attic.h", "core/base/attic.inc"])

    def test_include_from_outside_the_library(self):
        line = self.append("core/base/mem1.cpp", '#include "QuickLookPlugin/limits.h"\n')
        self.assertEqual(self.faults("rooms.py"),
                         [f"core/base/mem1.cpp:{line}: core/ includes only from its own rooms, not "
                          "QuickLookPlugin/limits.h"])

    def test_nothing_to_check(self):
        shutil.rmtree(self.root / "core")
        self.assertIn("core:1: no files were found", self.faults("rooms.py"))


class Assertions(PlantedFaults):
    def test_tree_has_no_number_twice(self):
        self.assertEqual(self.faults("assertions.py"), [])

    def test_number_taken_twice(self):
        line = self.append("core/base/memutils.cpp",
                           'constexpr char kSource[] = "core/memutils";\n'
                           "void f(bool a) { AssertAt(a, kSource, 12); }\n"
                           'void g(bool a) { core::FatalAssert("core/memutils", 12); }\n')
        self.assertEqual(self.faults("assertions.py"),
                         [f'core/base/memutils.cpp:{line + 1}: 12 of "core/memutils" is also printed by '
                          f"core/base/memutils.cpp:{line + 2}",
                          f'core/base/memutils.cpp:{line + 2}: 12 of "core/memutils" is also printed by '
                          f"core/base/memutils.cpp:{line + 1}"])

    def test_number_shared_on_purpose(self):
        self.append("core/base/memutils.cpp",
                    'void f(bool a) { AssertAt(a, "core/memutils", 12); }  // shared number: both mean the same\n'
                    'void g(bool a) { AssertAt(!a, "core/memutils", 12); }  // shared number: both mean the same\n')
        self.assertEqual(self.faults("assertions.py"), [])

    def test_one_number_under_two_names(self):
        self.append("core/base/memutils.cpp",
                    'void f(bool a) { AssertAt(a, "core/memutils", 12); }\n'
                    'void g(bool a) { AssertAt(!a, "core/other", 12); }\n')
        self.assertEqual(self.faults("assertions.py"), [])

    def test_number_of_the_line(self):
        line = self.append("core/base/memutils.cpp",
                           'void f(bool a) { AssertAt(a && (1, 2), "core/memutils", __LINE__); }\n')
        self.assertEqual(self.faults("assertions.py"), [f"core/base/memutils.cpp:{line}: {NUMBERS}, not __LINE__"])

    def test_constants_and_numbers_that_callers_choose(self):
        line = self.append("core/base/memutils.cpp",
                           'constexpr char kSource[] = "core/memutils";\n'
                           "constexpr int kFullLine = 12;\n"
                           "void f(bool a, int line) { AssertAt(a, kSource, line); }\n"
                           "void g(bool a) {\n  f(a, kFullLine);\n  f(a, kFullLine);\n  f(a, 12);\n}\n")
        self.assertEqual([fault.split(" ")[0] for fault in self.faults("assertions.py")],
                         [f"core/base/memutils.cpp:{line + number}:" for number in (4, 5, 6)])

    def test_numbers_given_to_templates(self):
        line = self.append("core/format/strfmt.cpp", "void f() { RunFormat<char>(1, kNarrowLimitLine); }\n")
        self.assertIn(f"core/format/strfmt.cpp:{line}: ", "\n".join(self.faults("assertions.py")))

    def test_two_checks_on_one_line(self):
        self.append("core/base/memutils.cpp",
                    'void f(bool a) { AssertAt(a, "core/memutils", 12); AssertAt(!a, "core/memutils", 12); }\n')
        self.assertEqual(len(self.faults("assertions.py")), 2)

    def test_texts_and_letters_in_a_condition(self):
        self.append("core/base/memutils.cpp",
                    """void f(char a) {\n  AssertAt(a != '"' && a != ')' && g("http://(\\"", a), "core/memutils", """
                    '12);\n  FatalAssert("core/memutils", 12);\n}\n')
        self.assertEqual(len(self.faults("assertions.py")), 2)

    def test_variables_and_octal_numbers(self):
        for number in ("line", "017", "kElsewhereLine", "12 + 1"):
            with self.subTest(number):
                self.setUp()
                call = f'AssertAt(a, "core/memutils", {number});'
                line = self.append("core/base/memutils.cpp", f"void f(bool a) {{ {call} }}\n")
                expected = f"core/base/memutils.cpp:{line}: {NUMBERS}, not {number}"
                self.assertEqual(self.faults("assertions.py"), [expected])

    def test_unknown_source(self):
        line = self.append("core/base/memutils.cpp", "void f(bool a) { AssertAt(a, kElsewhere, 12); }\n")
        self.assertEqual(self.faults("assertions.py"), [f"core/base/memutils.cpp:{line}: {SOURCES}"])

    def test_nothing_to_check(self):
        for folder in ("core", "QuickLookPlugin", "SpotlightImporter"):
            shutil.rmtree(self.root / folder)
        self.assertEqual(self.faults("assertions.py"), ["core:1: no assertions were found"])


if __name__ == "__main__":
    unittest.main()
