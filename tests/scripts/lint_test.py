#!/usr/bin/env python3
"""What scripts/lint checks, with and without git."""

import unittest

from tree import ScriptTest

SOURCES = {"core/a.cpp", "core/a.h", "QuickLookPlugin/b.mm", "tools/mdtorrent/c.cpp", "tests/d_test.cpp"}


class LintTest(ScriptTest):
    def setUp(self):
        super().setUp()
        (self.tree / "fuzz/small_fuzz.cpp").unlink()

    def write_sources(self):
        for name in (*SOURCES, "build/dev/generated.cpp", ".hidden/e.cpp", "core/notes.txt"):
            self.write(name, "")

    def checked(self, program):
        """The files that the program was given."""
        words = {word for call in self.called(program) for word in call.split()}
        return {word.removeprefix("./") for word in words if word.endswith((".h", ".cpp", ".mm"))}

    def check_all_sources_are_found(self):
        self.write_sources()
        self.run_script("lint")
        self.assertEqual(self.checked("clang-format"), SOURCES)
        self.assertEqual(self.checked("clang-tidy"), {"core/a.cpp", "tools/mdtorrent/c.cpp"})

    def test_finds_the_sources_where_there_is_no_git(self):
        self.check_all_sources_are_found()

    def test_finds_the_sources_where_git_refuses_the_folder(self):
        self.fake("git", "echo 'fatal: detected dubious ownership in repository' >&2; exit 128")
        self.check_all_sources_are_found()

    def test_without_sources_it_stops(self):
        _, err = self.run_script("lint", code=70)
        self.assertEqual(err, "scripts/lint: no sources to check were found\n")
        self.assertEqual((self.called("clang-format"), self.called("clang-tidy")), ([], []))

    def test_without_sources_for_clang_tidy_it_stops(self):
        self.write("tests/d_test.cpp", "")
        _, err = self.run_script("lint", code=70)
        self.assertEqual(err, "scripts/lint: no sources to check were found\n")
        self.assertEqual(self.called("clang-tidy"), [])

    def test_installs_what_is_missing_first(self):
        self.write_sources()
        self.fake("dpkg-query")
        self.fake("id", "echo 1000")
        _, err = self.run_script("lint", code=1)
        self.assertIn("apt-get install", err)
        self.assertIn("clang-format", err)
        self.assertEqual(self.called("clang-format"), [])

    def test_says_what_takes_so_long(self):
        self.write_sources()
        _, err = self.run_script("lint")
        self.assertEqual(err, "scripts/lint: clang-tidy reads 2 sources; some minutes ...\n")

    def test_fails_when_clang_format_does(self):
        self.write_sources()
        self.fake("clang-format", "exit 1")
        self.run_script("lint", code=1)

    def test_fails_with_the_reason_when_a_check_of_its_own_does(self):
        self.write_sources()
        for check in ("rooms.py", "assertions.py"):
            with self.subTest(check):
                self.fake("python3", f"case $2 in tools/lint/{check}) echo 'a.h:1: the rule'; exit 1 ;; esac")
                out, _ = self.run_script("lint", code=1)
                self.assertEqual(out, "a.h:1: the rule\n")
                self.assertEqual(self.called("clang-tidy"), [])

    def test_fails_with_the_reason_when_clang_tidy_does(self):
        self.write_sources()
        self.fake("clang-tidy", "echo 'a.cpp:1: the reason'; exit 1")
        out, _ = self.run_script("lint", code=123)
        self.assertIn("a.cpp:1: the reason", out)

    def test_configures_again_in_a_moved_tree(self):
        self.write_sources()
        self.run_script("lint")
        self.tree = self.tree.rename(self.top / "renamed")
        self.run_script("lint")
        cache = (self.tree / "build/clang/CMakeCache.txt").read_text(encoding="utf-8")
        self.assertIn(f"CMAKE_HOME_DIRECTORY:INTERNAL={self.tree}\n", cache)


if __name__ == "__main__":
    unittest.main()
