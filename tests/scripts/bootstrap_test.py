#!/usr/bin/env python3
"""What scripts/bootstrap installs, and for whom."""

import unittest

from tree import ScriptTest

# Packages are installed once apt-get was told to; a file stands for that.
INSTALLED = '[ ! -e "{top}/installed" ] || printf "install ok installed"'


class BootstrapTest(ScriptTest):
    def setUp(self):
        super().setUp()
        self.fake("dpkg-query", INSTALLED.format(top=self.top))
        self.fake("apt-get", f'[[ $* != *" install "* ]] || touch "{self.top}/installed"')
        self.fake("id", "echo 0")

    def test_installs_as_root(self):
        out, err = self.run_script("bootstrap", "test")
        self.assertEqual(out, "")
        self.assertTrue(err.startswith("Installing: g++ "), err)
        update, install = self.called("apt-get")
        self.assertTrue(update.endswith(" update"))
        self.assertIn(" clang-format ", install)

    def test_installs_nothing_twice(self):
        self.run_script("bootstrap")
        self.calls.write_text("", encoding="utf-8")
        self.assertEqual(self.run_script("bootstrap"), ("", ""))
        self.assertEqual(self.called("apt-get"), [])

    def test_prints_the_line_to_run_for_another_user(self):
        self.fake("id", "echo 1000")
        _, err = self.run_script("bootstrap", code=1)
        self.assertIn("  sudo apt-get update && sudo apt-get install -y --no-install-recommends g++ ", err)
        self.assertEqual(self.called("apt-get"), [])

    def test_of_two_runs_one_waits_and_finds_all_installed(self):
        self.fake("apt-get", f'touch "{self.top}/begun"; {self.until_go()}\n'
                             f'touch "{self.top}/installed"')
        first = self.start("bootstrap")
        self.wait_for(self.top / "begun")
        second = self.start("bootstrap")
        self.assertEqual(self.next_line(second.stderr),
                         "scripts/bootstrap: waiting for another run that installs packages ...\n")
        (self.top / "go").touch()
        self.finish(first)
        self.assertEqual(self.finish(second), ("", ""))
        self.assertEqual(len(self.called("apt-get")), 2)

    def test_packages_that_wait_for_their_last_step_get_it_first(self):
        self.run_script("bootstrap")
        lines = self.calls.read_text(encoding="utf-8").splitlines()
        self.assertLess(lines.index("dpkg --configure -a"), self.last_install(lines))
        self.assertNotIn("--fix-broken", " ".join(lines))

    def test_packages_that_wait_for_others_get_them_first(self):
        self.fake("dpkg", "exit 1")
        self.run_script("bootstrap")
        lines = self.calls.read_text(encoding="utf-8").splitlines()
        fix = next(at for at, line in enumerate(lines) if "--fix-broken" in line)
        self.assertIn(" --no-remove ", lines[fix])
        self.assertLess(lines.index("dpkg --configure -a"), fix)
        self.assertLess(fix, self.last_install(lines))

    def last_install(self, lines):
        return max(at for at, line in enumerate(lines) if line.startswith("apt-get ") and " g++ " in line)

    def test_says_when_packages_could_not_be_installed(self):
        self.fake("apt-get", "exit 100")
        _, err = self.run_script("bootstrap", code=1)
        self.assertTrue(err.endswith("scripts/bootstrap: the packages could not be installed\n"), err)

    def test_leaves_standard_input_alone(self):
        self.fake("apt-get", f'cat >/dev/null; touch "{self.top}/installed"')
        out, _ = self.run_script("import", "-", feed="a list")
        self.assertEqual(out, "imported -\na list")


if __name__ == "__main__":
    unittest.main()
