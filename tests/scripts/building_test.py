#!/usr/bin/env python3
"""How the commands build: what they say, what they take up again, and where they stop."""

import os
import pty
import shutil
import signal
import unittest

from tree import NOBODY, ScriptTest

ANNOUNCED = "scripts/import: building the importer, once; a minute or two ...\n"
# The commands that build, and what each says first.
BUILDERS = {
    ("import", "x.torrent"): "building the importer, once; ",
    ("bench",): "building the benchmarks, once; ",
    ("coverage",): "building the tests with counters, once; ",
    ("fuzz", "small"): "building the fuzz targets, once; ",
    ("test", "tsan"): "building the tests in build/tsan, once; ",
    ("package",): "building the bundle for both processors from nothing; ",
}


class FirstRunTest(ScriptTest):
    def test_the_first_run_says_what_it_does_and_the_next_says_nothing(self):
        out, err = self.run_script("import", "x.torrent")
        self.assertEqual((out, err), ("imported x.torrent\n", ANNOUNCED))
        out, err = self.run_script("import", "x.torrent")
        self.assertEqual((out, err), ("imported x.torrent\n", ""))

    def test_a_first_run_that_no_one_hears_builds_all_the_same(self):
        with open("/dev/full", "w", encoding="utf-8") as full:
            out, _ = self.run_script("import", "x.torrent", stderr=full)
        self.assertEqual(out, "imported x.torrent\n")

    def test_a_rebuild_says_nothing(self):
        self.run_script("import", "x.torrent")
        self.write("steps", "true\ntrue\n")
        self.assertEqual(self.run_script("import", "x.torrent"), ("imported x.torrent\n", ""))

    def test_a_list_on_standard_input_is_left_to_the_tool(self):
        self.write("early", "cat\n")
        self.write("steps", "cat\n")
        out, _ = self.run_script("import", "-0", "-", feed="a\0b\0")
        self.assertEqual(out, "imported -0\nimported -\na\0b\0")

    def test_every_command_that_builds_says_so_first_and_fails_with_its_log(self):
        self.write("steps", "echo the reason; false\n")
        for command, first in BUILDERS.items():
            with self.subTest(command):
                _, err = self.run_script(*command, code=70)
                lines = err.splitlines()
                self.assertTrue(lines[0].startswith(f"scripts/{command[0]}: {first}"), lines[0])
                self.assertIn("the reason", lines)
                self.assertTrue(lines[-1].startswith(f"scripts/{command[0]}: the "), lines[-1])

    def test_a_failed_first_build_is_announced_again(self):
        self.write("steps", "false\n")
        self.run_script("import", "x.torrent", code=70)
        self.write("steps", "true\n")
        self.assertEqual(self.run_script("import", "x.torrent")[1], ANNOUNCED)

    def test_at_a_terminal_a_counter_runs(self):
        ours, theirs = pty.openpty()
        self.addCleanup(os.close, ours)
        process = self.start("import", "x.torrent", stderr=theirs)
        os.close(theirs)
        out, _ = self.finish(process)
        shown = os.read(ours, 10000).decode("utf-8")
        self.assertEqual(out, "imported x.torrent\n")
        self.assertEqual(shown, ANNOUNCED.replace("\n", "\r\n") + "\r[1/2]\r[2/2]\r\x1b[K")


class MovedTest(ScriptTest):
    def check_built_for(self, tree):
        cache = (tree / "build/release/CMakeCache.txt").read_text(encoding="utf-8").splitlines()
        self.assertIn(f"CMAKE_HOME_DIRECTORY:INTERNAL={tree}", cache)
        self.assertIn(f"CMAKE_CACHEFILE_DIR:INTERNAL={tree}/build/release", cache)

    def test_a_moved_tree_is_built_again(self):
        self.run_script("import", "x.torrent")
        self.tree = self.tree.rename(self.top / "renamed")
        self.assertEqual(self.run_script("import", "x.torrent"), ("imported x.torrent\n", ANNOUNCED))
        self.check_built_for(self.tree)

    def test_a_copied_tree_is_built_again_and_the_first_left_alone(self):
        self.run_script("import", "x.torrent")
        first = self.tree
        self.tree = self.top / "copy"
        shutil.copytree(first, self.tree)
        self.write("tool", "#!/usr/bin/env bash\necho the copy\n")
        self.assertEqual(self.run_script("import", "x.torrent"), ("the copy\n", ANNOUNCED))
        self.check_built_for(first)

    def test_a_build_folder_brought_from_another_tree_is_built_again(self):
        self.run_script("import", "x.torrent")
        (self.tree / "build").rename(self.top / "kept")
        self.run_script("import", "x.torrent")
        shutil.rmtree(self.tree / "build")
        other = self.tree.rename(self.top / "other")
        shutil.copytree(other, self.tree)
        (self.top / "kept").rename(other / "build")
        self.tree = other
        self.assertEqual(self.run_script("import", "x.torrent"), ("imported x.torrent\n", ANNOUNCED))
        self.check_built_for(other)

    def test_a_renamed_preset_folder_is_built_again(self):
        self.run_script("import", "x.torrent")
        (self.tree / "build/release").rename(self.tree / "build/tsan")
        _, err = self.run_script("test", "tsan")
        self.assertEqual(err, "scripts/test: building the tests in build/tsan, once; some minutes ...\n")

    def test_a_build_folder_that_two_trees_link_to_is_built_for_each(self):
        (self.top / "shared").mkdir()
        (self.tree / "build").symlink_to(self.top / "shared")
        self.run_script("import", "x.torrent")
        first = self.tree
        self.tree = self.top / "second"
        shutil.copytree(first, self.tree, symlinks=True)
        self.write("tool", "#!/usr/bin/env bash\necho the second\n")
        self.assertEqual(self.run_script("import", "x.torrent"), ("the second\n", ANNOUNCED))
        self.check_built_for(self.tree)

    def test_what_else_lies_in_the_folder_stays(self):
        self.run_script("import", "x.torrent")
        self.write("build/release/corpus/input", "kept")
        self.tree = self.tree.rename(self.top / "renamed")
        self.run_script("import", "x.torrent")
        self.assertTrue((self.tree / "build/release/corpus/input").exists())

    def test_a_tree_reached_over_a_link_is_the_same_tree(self):
        self.run_script("import", "x.torrent")
        link = self.top / "link"
        link.symlink_to(self.tree)
        self.tree = link
        self.assertEqual(self.run_script("import", "x.torrent"), ("imported x.torrent\n", ""))


class SharedTest(ScriptTest):
    def test_of_two_first_runs_one_waits(self):
        self.write("steps", f'echo building >>"{self.calls}"; touch begun; {self.until_go()}\n')
        first = self.start("import", "first.torrent")
        self.wait_for(self.tree / "build/release/begun")
        second = self.start("import", "second.torrent")
        self.assertEqual(self.next_line(second.stderr),
                         "scripts/import: waiting for another run that builds in build/release ...\n")
        (self.top / "go").touch()
        self.assertEqual(self.finish(first), ("imported first.torrent\n", ANNOUNCED))
        self.assertEqual(self.finish(second), ("imported second.torrent\n", ""))
        self.assertEqual(self.calls.read_text(encoding="utf-8").count("building"), 1)

    def test_the_tool_runs_without_the_lock(self):
        self.write("tool", "#!/usr/bin/env bash\necho running\nread -r line\n")
        first = self.start("import", "first.torrent", stdin=-1)
        self.assertEqual(self.next_line(first.stdout), "running\n")
        self.assertEqual(self.run_script("import", "second.torrent", code=1), ("running\n", ""))

    def test_builds_in_different_folders_do_not_wait(self):
        self.write("steps", f"touch begun; {self.until_go()}\n")
        first = self.start("import", "first.torrent")
        self.wait_for(self.tree / "build/release/begun")
        second = self.start("test", "tsan")
        self.wait_for(self.tree / "build/tsan/begun")
        (self.top / "go").touch()
        self.finish(first)
        self.assertNotIn("waiting", self.finish(second)[1])


class ForeignBuildTest(ScriptTest):
    """Another user's build folder, or one that may not be written."""

    def run_without_rights(self, *command):
        # The superuser may write everywhere: the test's own user is then nobody.
        another = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}
        return self.run_script(*command, code=70, **another)

    def refuse(self, name):
        path = self.tree / name
        path.chmod(0o555 if path.is_dir() else 0o444)
        self.addCleanup(path.chmod, 0o755)

    def open_to_all(self):
        for path in [self.tree / "build", *(self.tree / "build").rglob("*")]:
            path.chmod(0o777)

    def test_a_build_folder_of_another_user_stops_the_run_with_a_sentence(self):
        self.run_script("import", "x.torrent")
        for name in ("build/release/CMakeCache.txt", "build/release/.ninja_log", "build/release.log",
                     "build/release.lock", "build/release", "build"):
            with self.subTest(name):
                self.open_to_all()
                self.refuse(name)
                self.assertEqual(self.run_without_rights("import", "x.torrent"), (
                    "", f"scripts/import: {name} may not be written by this user; run as its owner, or remove it\n"))

    def test_a_tree_that_may_not_be_written_stops_the_run_with_a_sentence(self):
        self.refuse(".")
        self.assertEqual(self.run_without_rights("import", "x.torrent"), (
            "", "scripts/import: the folder build cannot be made: something else has its name, "
                "or the tree may not be written by this user\n"))

    def test_every_command_that_builds_stops(self):
        self.write("core/a.cpp", "")
        (self.tree / "build").mkdir()
        self.refuse("build")
        for command in [*BUILDERS, ("lint",)]:
            with self.subTest(command):
                out, err = self.run_without_rights(*command)
                self.assertEqual(err, f"scripts/{command[0]}: build may not be written by this user; "
                                      "run as its owner, or remove it\n")


class InterruptedTest(ScriptTest):
    def start_long(self, *command):
        folder = self.top / "steps"
        folder.mkdir()
        self.write("steps", f'touch "{folder}/before"\n>"{folder}/begun"; [ -e "{folder}/go" ] || exec sleep 100\n')
        process = self.start(*command)
        self.wait_for(folder / "begun")
        return process, folder

    def test_says_that_the_next_run_goes_on_and_it_does(self):
        process, folder = self.start_long("import", "x.torrent")
        self.interrupt(process)
        out, err = self.finish(process, 130)
        self.assertEqual((out, err), ("", ANNOUNCED +
                                      "scripts/import: interrupted; the next run goes on where this one stopped\n"))
        (folder / "before").unlink()
        (folder / "go").touch()
        self.assertEqual(self.run_script("import", "x.torrent"), ("imported x.torrent\n", ANNOUNCED))
        self.assertFalse((folder / "before").exists(), "what was built was built again")

    def test_a_package_begins_again(self):
        process, _ = self.start_long("package")
        self.interrupt(process)
        _, err = self.finish(process, 130)
        self.assertEqual(err.splitlines()[1:], ["scripts/package: interrupted; the next run begins again"])

    def test_every_other_command_that_builds_says_so_too(self):
        for command in BUILDERS:
            if command[0] in ("import", "package"):
                continue
            with self.subTest(command):
                shutil.rmtree(self.top / "steps", ignore_errors=True)
                process, _ = self.start_long(*command)
                self.interrupt(process)
                _, err = self.finish(process, 130)
                self.assertEqual(err.splitlines()[1:],
                                 [f"scripts/{command[0]}: interrupted; the next run goes on where this one stopped"])

    def test_a_package_that_waits_says_so_too(self):
        first, _ = self.start_long("package")
        second = self.start("package")
        self.assertEqual(self.next_line(second.stderr),
                         "scripts/package: waiting for another run that makes a package ...\n")
        self.interrupt(second)
        self.assertEqual(self.finish(second, 130)[1], "scripts/package: interrupted; the next run begins again\n")
        self.assertIsNone(first.poll())

    def test_a_run_that_waits_can_be_interrupted(self):
        first, _ = self.start_long("import", "first.torrent")
        second = self.start("import", "second.torrent")
        self.assertIn("waiting", self.next_line(second.stderr))
        self.interrupt(second)
        _, err = self.finish(second, 130)
        self.assertEqual(err, "scripts/import: interrupted; the next run goes on where this one stopped\n")
        self.assertIsNone(first.poll())

    def test_while_installing_it_is_said_once(self):
        self.fake("dpkg-query")
        self.fake("id", "echo 0")
        for name, reaction in {"dies": "true", "fails": "trap 'exit 100' INT"}.items():
            with self.subTest(name):
                begun = self.top / name
                self.fake("apt-get", f'{reaction}; >"{begun}"; sleep 100')
                process = self.start("import", "x.torrent")
                self.wait_for(begun)
                self.interrupt(process)
                _, err = self.finish(process, 130)
                self.assertEqual(err.splitlines()[1:],
                                 ["scripts/import: interrupted; the next run goes on where this one stopped"])

    def test_the_tool_itself_ends_as_it_likes(self):
        self.write("tool", "#!/usr/bin/env bash\ntrap 'echo stopped; exit 5' INT\necho running\nsleep 100\n")
        process = self.start("import", "x.torrent")
        self.assertEqual(self.next_line(process.stdout), "running\n")
        self.interrupt(process)
        self.assertEqual(self.finish(process, 5), ("stopped\n", ANNOUNCED))

    def test_when_the_build_is_over_nothing_is_said_of_it(self):
        self.fake("ctest", f'>"{self.top}/begun"; exec sleep 100')
        process = self.start("test", "tsan")
        self.wait_for(self.top / "begun")
        self.interrupt(process)
        _, err = self.finish(process, -signal.SIGINT)
        self.assertNotIn("interrupted", err)


if __name__ == "__main__":
    unittest.main()
