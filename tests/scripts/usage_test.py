#!/usr/bin/env python3
"""What the commands take for arguments, and what they refuse before they do anything."""

import os
import subprocess
import unittest

from tree import ROOT, ScriptTest

# Arguments that make no sense, and a piece of what is said of them.
REFUSED = {
    ("bench", "--nonsense"): "unknown argument '--nonsense'",
    ("bench", "--parts", "more"): "unknown argument 'more'",
    ("bench", "--instructions", "more"): "unknown argument 'more'",
    ("bench", ""): "unknown argument ''",
    ("bench", "--soak", "0"): "'0' is no number of imports",
    ("bench", "--soak", "many"): "'many' is no number of imports",
    ("bench", "--soak", "10", "more"): "unknown argument 'more'",
    ("bootstrap", "nonsense"): "unknown job 'nonsense'",
    ("bootstrap", ""): "unknown job ''",
    ("bootstrap", "test", "more"): "unknown argument 'more'",
    ("coverage", "nonsense"): "unknown argument 'nonsense'",
    ("coverage", ""): "unknown argument ''",
    ("fuzz",): "Usage:",
    ("fuzz", "nonsense"): "unknown target 'nonsense'",
    ("fuzz", "small", "0"): "'0' is no number of seconds",
    ("fuzz", "small", "soon"): "'soon' is no number of seconds",
    ("import",): "Usage:",
    ("lint", "nonsense"): "unknown argument 'nonsense'",
    ("lint", ""): "unknown argument ''",
    ("package", "nonsense"): "unknown argument 'nonsense'",
    ("package", ""): "unknown argument ''",
    ("package", "--output"): "--output needs a folder",
    ("package", "--output", ""): "--output needs a folder",
    ("package", "--output", "here", "more"): "unknown argument 'more'",
    ("package", "--output", "/dev/null/x"): "the folder '/dev/null/x' cannot be made",
    ("test", "nonsense"): "unknown step 'nonsense'",
    ("test", ""): "unknown step ''",
    ("test", "lint", "--help"): "unknown step '--help'",
}


class UsageTest(ScriptTest):
    def check_nothing_was_done(self):
        self.assertEqual(self.calls.read_text(encoding="utf-8"), "")
        self.assertFalse((self.tree / "build").exists())

    def test_refuses_before_anything_is_done(self):
        for (script, *arguments), complaint in REFUSED.items():
            with self.subTest([script, *arguments]):
                out, err = self.run_script(script, *arguments, code=2)
                self.assertEqual(out, "")
                self.assertIn(complaint, err)
                self.assertIn(f"scripts/{script}", err)
                self.check_nothing_was_done()

    def test_help_is_printed_and_nothing_done(self):
        for path in sorted((ROOT / "scripts").iterdir()):
            for option in ("-h", "--help"):
                with self.subTest([path.name, option]):
                    out, err = self.run_script(path.name, option)
                    self.assertTrue(out.startswith(f"Usage: scripts/{path.name}"), out)
                    self.assertEqual(err, "")
                    self.check_nothing_was_done()

    def test_a_search_path_of_cd_does_not_lead_astray(self):
        for path in sorted((ROOT / "scripts").iterdir()):
            with self.subTest(path.name):
                command = ["bash", "-c", f"export CDPATH=.:{ROOT}; scripts/{path.name} --help"]
                result = subprocess.run(command, cwd=self.tree, env={"PATH": str(self.programs)}, text=True,
                                        capture_output=True)
                self.assertEqual((result.returncode, result.stderr), (0, ""))
                self.assertTrue(result.stdout.startswith(f"Usage: scripts/{path.name}"), result.stdout)

    def test_the_help_of_the_tool_needs_the_tool(self):
        self.assertEqual(self.run_script("import", "--help-all")[0], "imported --help-all\n")

    def test_the_folder_holds_only_commands_for_people(self):
        for path in sorted((ROOT / "scripts").iterdir()):
            with self.subTest(path.name):
                self.assertTrue(os.access(path, os.X_OK) and "." not in path.name)

    def test_each_step_of_the_tests_says_how_long_the_one_before_took(self):
        out, _ = self.run_script("test", "tsan", "clang")
        self.assertRegex(out, r"\A== tsan\n== clang \(tsan took [0-9]+ s\)\n\Z")


if __name__ == "__main__":
    unittest.main()
