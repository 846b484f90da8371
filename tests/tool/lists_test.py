"""Where the files to import come from."""

import json
import os
import select
import subprocess

import tool


class Lists(tool.ToolTest):
    def setUp(self):
        super().setUp()
        for name in ("a.torrent", "b c.torrent", "d\ne.torrent", "-"):
            self.write(name)

    def test_lines_of_standard_input(self):
        feed = b"b c.torrent\n\na.torrent"
        self.assertEqual(["b c.torrent", "a.torrent"], self.paths("-", feed=feed))

    def test_zero_separated_paths(self):
        feed = b"d\ne.torrent\0a.torrent\0"
        self.assertEqual(["d\ne.torrent", "a.torrent"], self.paths("-0", "-", feed=feed))
        self.assertEqual(["d\ne.torrent", "a.torrent"], self.paths("-0", feed=feed))

    def test_standard_input_among_paths(self):
        paths = self.paths("b c.torrent", "-", "./-", feed=b"a.torrent\n")
        self.assertEqual(["b c.torrent", "a.torrent", "./-"], paths)

    def test_no_lines_are_no_failure(self):
        self.assertEqual([], self.paths("-", feed=b""))

    def test_a_zero_byte_in_a_line_does_not_cut_it(self):
        (record,) = self.records("-", feed=b"a.torrent\0x\n", code=3)
        self.assertFalse(record["imported"])

    def test_lines_that_end_in_carriage_returns_are_told(self):
        present, missing = self.records("-", feed=b"a.torrent\r\nmissing\r\n", code=3)
        self.assertIn("it exists without the carriage return at the end of its name", present["error"])
        self.assertIn("its name ends in a carriage return", missing["error"])

    def test_a_carriage_return_may_be_part_of_a_name(self):
        self.write("a.torrent\r")
        self.assertEqual(["a.torrent\r"], self.paths("-", feed=b"a.torrent\r\n"))

    def test_closed_standard_input_is_a_failure(self):
        (record,) = self.records("-", stdin=None, preexec_fn=lambda: os.close(0), code=3)
        self.assertIn("cannot read standard input", record["error"])

    def test_ndjson_comes_while_the_list_is_still_written(self):
        process = self.start("--format", "ndjson", "-", stdin=subprocess.PIPE)
        for _ in range(2):
            process.stdin.write(b"a.torrent\n")
            process.stdin.flush()
            readable, _, _ = select.select([process.stdout], [], [], tool.TIMEOUT)
            self.assertTrue(readable)
            self.assertTrue(json.loads(process.stdout.readline())["imported"])
        process.communicate(timeout=tool.TIMEOUT)
        self.assertEqual(0, process.returncode)


class Folders(tool.ToolTest):
    def summary(self, *arguments, **settings):
        out, err = self.run_tool("--format", "ndjson", *arguments, **settings)
        return [json.loads(line)["path"] for line in out.splitlines()], err.decode()

    def test_torrents_are_found_in_any_case_in_order(self):
        for name in ("f/b/2.TORRENT", "f/b/1.torrent", "f/a.Torrent", "f/c.txt", "f/ctorrent"):
            self.write(name)
        paths, err = self.summary("-r", "f")
        self.assertEqual(["f/a.Torrent", "f/b/1.torrent", "f/b/2.TORRENT"], paths)
        self.assertRegex(err, r"^mdtorrent: 3 files: 3 imported, in \d+\.\d+ s\n$")

    def test_loops_of_links_end(self):
        self.write("f/sub/x.torrent")
        os.symlink("..", os.path.join(self.folder, b"f/sub/up"))
        os.symlink("../..", os.path.join(self.folder, b"f/sub/up.torrent"))
        os.symlink("loop", os.path.join(self.folder, b"f/loop"))
        self.assertEqual(["f/sub/x.torrent"], self.summary("-r", "f")[0])

    def test_failures_are_counted(self):
        self.write("f/bad.torrent", b"")
        self.write("f/good.torrent")
        os.mkfifo(os.path.join(self.folder, b"f/pipe.torrent"))
        paths, err = self.summary("-r", "f", code=3)
        self.assertEqual(["f/bad.torrent", "f/good.torrent", "f/pipe.torrent"], paths)
        self.assertIn("3 files: 1 imported, 1 not usable, 1 unreadable, in ", err)

    def test_files_and_folders_mix(self):
        self.write("x")
        self.write("f/y.torrent")
        self.assertEqual(["x", "f/y.torrent", "x"], self.summary("-r", "x", "f", "-", feed=b"x\n")[0])

    def test_a_run_without_folders_has_no_summary(self):
        self.write("x")
        self.assertEqual((["x"], ""), self.summary("-r", "x"))

    def test_a_name_in_any_bytes_is_imported(self):
        names = [b"\xff\xfe.torrent", b"%41 ?#;.torrent", b"~.torrent", b"\n\x1b.torrent",
                 "\u4e2d\U0001f600.torrent".encode(), b"e\xcc\x81.torrent", b"\xed\xa0\x80.torrent", b"a\\b\"c.torrent"]
        for name in names:
            self.write(b"f/" + name)
        for interface in ("url", "legacy"):
            out, err = self.run_tool("--interface", interface, "--format", "json", "-r", "f")
            records = json.loads(out.decode("utf-8"))
            self.assertEqual([True] * len(names), [record["imported"] for record in records], records)
            self.assertEqual(sorted("f/" + name.decode("utf-8", "replace") for name in names),
                             sorted(record["path"] for record in records))

    def test_paths_with_other_bytes_work_in_every_locale(self):
        self.write("\u00e9\u4e2d.torrent")
        for locale in ("C", "C.UTF-8", "no_SUCH.locale"):
            with self.subTest(locale):
                out, err = self.run_tool("--format", "ndjson", "\u00e9\u4e2d.torrent", environment={"LC_ALL": locale})
                self.assertEqual(locale == "no_SUCH.locale", b"is not installed" in err)
                record = json.loads(out)
                self.assertEqual((True, "\u00e9\u4e2d.torrent"), (record["imported"], record["path"]))

    def test_an_environment_in_other_bytes_does_no_harm(self):
        self.write("x.torrent")
        (record,) = self.records("x.torrent", environment={"HOSTILE": "\udcff\udcc3", "HOME": "/\udcff"})
        self.assertTrue(record["imported"])

    def test_a_folder_in_other_bytes_is_worked_in(self):
        self.write(b"\xff/x.torrent")
        self.folder = os.path.join(self.folder, b"\xff")
        (record,) = self.records("x.torrent")
        self.assertTrue(record["imported"])


tool.main()
