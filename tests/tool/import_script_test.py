"""What scripts/import shows of the program that it runs."""

import os
import pathlib
import shutil

import tool

ROOT = pathlib.Path(__file__).resolve().parents[2]


class ImportScript(tool.ToolTest):
    """Runs a copy of the script in a tree where everything is built already."""

    def setUp(self):
        super().setUp()
        tree = pathlib.Path(os.fsdecode(self.folder), "tree")
        built = tree / "build" / "release" / "tools" / "mdtorrent"
        for folder in (tree / "scripts", built):
            folder.mkdir(parents=True)
        shutil.copy(ROOT / "scripts" / "import", tree / "scripts")
        shutil.copytree(ROOT / "tools" / "shell", tree / "tools" / "shell")
        (built / "mdtorrent").symlink_to(tool.options.program)
        (tree / "build" / "release" / "built").touch()
        for stand_in in (tree / "scripts" / "bootstrap", tree / "scripts" / "cmake"):
            stand_in.write_text("#!/bin/sh\n")
            stand_in.chmod(0o755)
        self.script = tree / "scripts" / "import"
        self.environment = {"PATH": "%s:%s" % (tree / "scripts", os.environ["PATH"])}

    def run_script(self, *arguments, code=0):
        return self.run_tool(*arguments, program=self.script, environment=self.environment, code=code)

    def test_it_imports(self):
        self.write("x.torrent")
        out, err = self.run_script("x.torrent")
        self.assertEqual(b"", err)
        self.assertIn(b"kMDItemDescription", out)

    def test_complaints_name_the_script(self):
        os.mkdir(os.path.join(self.folder, b"empty"))
        for arguments, code, told in (
                (["missing"], 3, "missing: cannot open: No such file or directory"),
                (["dump", "missing"], 3, "missing: cannot open: No such file or directory"),
                (["--bogus"], 2, "unknown option --bogus (see scripts/import --help-all)"),
                (["dump", "--bogus"], 2, "unknown option --bogus (see scripts/import dump --help)"),
                (["--bundle", "none", "x"], 4,
                 "cannot load none: not a plug-in bundle with a usable property list")):
            with self.subTest(arguments):
                _, err = self.run_script(*arguments, code=code)
                self.assertIn("scripts/import: %s\n" % told, err.decode())
        _, err = self.run_script("-r", "empty")
        self.assertRegex(err.decode(), r"\Ascripts/import: 0 files: 0 imported, in [0-9.]+ s\n\Z")

    @tool.unittest.skipUnless(os.path.exists("/dev/full"), "this system has no /dev/full")
    def test_a_full_disk_is_told_by_the_script(self):
        self.write("x.torrent")
        with open("/dev/full", "wb") as full:
            _, err = self.run_tool("x.torrent", program=self.script, environment=self.environment, stdout=full, code=3)
        self.assertEqual(b"scripts/import: cannot write the output: No space left on device\n", err)

    def test_all_help_tells_of_each_command_by_the_name_of_the_script(self):
        out, err = self.run_script("--help-all")
        self.assertEqual(b"", err)
        self.assertEqual((out, b""), self.run_script("dump", "--help-all"))
        text = out.decode()
        self.assertNotIn("mdtorrent", text)
        for word in ("Usage: scripts/import [OPTIONS] PATH...", "--recursive", "  130 ",
                     "Usage: scripts/import dump [OPTIONS] FILE", "  bencode "):
            self.assertIn(word, text)
        self.assertLessEqual(max(map(len, text.splitlines())), 100)

    def test_the_help_of_dump_is_its_own(self):
        out, _ = self.run_script("dump", "--help")
        self.assertIn(b"Usage: scripts/import dump [OPTIONS] FILE\n", out)
        self.assertNotIn(b"--recursive", out)


tool.main()
