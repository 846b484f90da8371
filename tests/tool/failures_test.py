"""What is said about files, bundles and outputs that are of no use."""

import json
import os
import plistlib
import resource
import shutil
import subprocess
import time
import unittest

import tool
from torrents import torrent

LARGEST = 256 << 20


class Failures(tool.ToolTest):
    def expect_failure(self, path, code, reason, **settings):
        (record,) = self.records(path, code=code, **settings)
        self.assertEqual((False, {}, reason), (record["imported"], record["attributes"], record["error"]))

    def test_a_file_that_is_no_torrent(self):
        for content in (b"", b"d", b"de", b"i1e", b"\x00" * 1000, torrent()[:-1]):
            with self.subTest(content[:20]):
                self.write("x.torrent", content)
                self.expect_failure("x.torrent", 1, "not a usable torrent")

    def test_a_missing_file(self):
        self.expect_failure("missing.torrent", 3, "cannot open: No such file or directory")
        self.expect_failure("", 3, "cannot open: No such file or directory")

    def test_a_path_that_is_too_long(self):
        self.expect_failure("x" * 5000, 3, "cannot open: File name too long")

    def test_a_folder(self):
        os.mkdir(os.path.join(self.folder, b"x.torrent"))
        self.expect_failure("x.torrent", 3, "is a folder; add -r to search it")

    def test_a_pipe_is_not_waited_for(self):
        os.mkfifo(os.path.join(self.folder, b"x.torrent"))
        start = time.monotonic()
        self.expect_failure("x.torrent", 3, "not a regular file")
        self.expect_failure("x.torrent", 3, "not a regular file")
        self.assertLess(time.monotonic() - start, 10)

    def test_a_device(self):
        self.expect_failure("/dev/zero", 3, "not a regular file")
        self.expect_failure("/dev/null", 3, "not a regular file")

    def test_a_file_that_is_too_large(self):
        path = self.write("x.torrent")
        os.truncate(path, LARGEST + 1)
        self.expect_failure("x.torrent", 3, "larger than 256 MiB")

    def test_a_link_to_itself(self):
        os.symlink("x.torrent", os.path.join(self.folder, b"x.torrent"))
        self.expect_failure("x.torrent", 3, "cannot open: Too many levels of symbolic links")

    def test_a_file_without_permission(self):
        path = self.write("x.torrent")
        os.chmod(path, 0)
        os.chmod(self.folder, 0o755)
        settings = {}
        if os.geteuid() == 0:
            settings["user"] = 65534
            usable = subprocess.run(["test", "-x", tool.options.program], user=65534, check=False).returncode == 0
            if not usable:
                self.skipTest("the superuser may read everything, and others may not run the program")
        self.expect_failure("x.torrent", 3, "cannot open: Permission denied", **settings)

    def test_unreadable_weighs_more_than_unusable(self):
        self.write("bad.torrent", b"")
        self.write("good.torrent")
        for order in (["bad.torrent", "missing", "good.torrent"], ["missing", "good.torrent", "bad.torrent"]):
            self.assertEqual(order, self.paths(*order, code=3))

    def test_the_rest_goes_on(self):
        self.write("good.torrent")
        self.write("bad.torrent", b"")
        records = self.records("bad.torrent", "good.torrent", code=1)
        self.assertEqual([False, True], [record["imported"] for record in records])

    def test_complaints_disarm_the_name(self):
        _, err = self.run_tool(b"a\x1b[2J\n\xff", code=3)
        self.assertEqual(b"mdtorrent: a\\U001b[2J\\n\\xff: cannot open: No such file or directory\n", err)


class OnlyRelativePaths(tool.ToolTest):
    """Files in a folder that its own whole path does not lead to."""

    def setUp(self):
        super().setUp()
        self.here = None

    def enter(self, folder):
        self.here = os.open(folder, os.O_RDONLY)
        self.addCleanup(os.close, self.here)

    def start(self, *arguments, **settings):
        return super().start(*arguments, preexec_fn=lambda: os.fchdir(self.here), **settings)

    def expect_both(self, prefix, **settings):
        """That a torrent is imported, and another file not taken for unreadable."""
        for interface in ("url", "legacy"):
            paths = [prefix + "x.torrent", prefix + "bad.torrent"]
            good, bad = self.records("--interface", interface, *paths, code=1, **settings)
            self.assertEqual((True, "1.5 kB in 1 file"),
                             (good["imported"], good["attributes"].get("kMDItemDescription")), good)
            self.assertEqual((False, "not a usable torrent"), (bad["imported"], bad["error"]))

    def test_a_folder_in_one_that_may_not_be_searched(self):
        self.write("closed/inner/x.torrent")
        self.write("closed/inner/bad.torrent", b"de")
        closed = os.path.join(self.folder, b"closed")
        self.enter(os.path.join(closed, b"inner"))
        settings = {}
        if os.geteuid() == 0:
            settings["user"] = 65534
            if subprocess.run(["test", "-x", tool.options.program], user=65534, check=False).returncode != 0:
                self.skipTest("the superuser may search everything, and others may not run the program")
        os.chmod(closed, 0)
        self.addCleanup(os.chmod, closed, 0o755)
        self.expect_both("", **settings)

    def test_a_folder_with_a_path_longer_than_any_that_can_be_opened(self):
        self.write("x.torrent")
        self.write("bad.torrent", b"de")
        at = os.open(self.folder, os.O_RDONLY)
        for _ in range(20):
            os.mkdir("n" * 250, dir_fd=at)
            below = os.open("n" * 250, os.O_RDONLY, dir_fd=at)
            os.close(at)
            at = below
        self.addCleanup(os.close, at)
        self.here = at
        for name in (b"x.torrent", b"bad.torrent"):
            os.link(os.path.join(self.folder, name), name, dst_dir_fd=at)
        self.expect_both("")

    def test_a_folder_that_was_removed(self):
        self.write("x.torrent")
        self.write("bad.torrent", b"de")
        gone = os.path.join(self.folder, b"gone")
        os.mkdir(gone)
        self.enter(gone)
        os.rmdir(gone)
        try:
            subprocess.run(["test", "-e", "../x.torrent"], check=True, preexec_fn=lambda: os.fchdir(self.here))
        except subprocess.CalledProcessError:
            self.skipTest("here nothing can be found from a folder that was removed")
        self.expect_both("../")


class FewDescriptors(tool.ToolTest):
    """A process that may open only so many files says so, whatever it cannot open for that."""

    REASON = "Too many open files"

    def start(self, *arguments, limit, **settings):
        def restrict():
            resource.setrlimit(resource.RLIMIT_NOFILE, (limit, limit))
        # To look for leaks, too, takes descriptors.
        environment = {"ASAN_OPTIONS": "detect_leaks=0"}
        return super().start(*arguments, preexec_fn=restrict, environment=environment, **settings)

    def ends(self, path, limits):
        """How runs with each limit end: "imported", or what they blame."""
        ends = set()
        for limit in limits:
            process = self.start("--format", "ndjson", path, limit=limit)
            out, err = process.communicate(timeout=tool.TIMEOUT)
            if process.returncode in (0, 1, 3):
                record = json.loads(out)
                ends.add("imported" if record["imported"] else record["error"])
            elif self.REASON in err.decode():
                ends.add("bundle")
            elif b"error while loading shared libraries" not in err:
                ends.add((process.returncode, err))
        return ends

    def test_a_file_or_the_bundle_is_never_blamed_for_it(self):
        for name in ("x.torrent", b"\xff.torrent"):  # the second one takes two descriptors at once
            with self.subTest(name):
                self.write(name)
                ends = self.ends(name, range(4, 12))
                self.assertLessEqual({"imported", "bundle"}, ends)
                self.assertLessEqual(ends, {"imported", "bundle", "cannot open: " + self.REASON})

    def test_threads_leave_each_other_enough(self):
        self.write(b"\xff.torrent")
        records = self.records("-j", "8", *[b"\xff.torrent"] * 1000, limit=8)
        self.assertEqual({True}, {record["imported"] for record in records})


class Bundles(tool.ToolTest):
    def copy_bundle(self):
        copy = os.path.join(os.fsdecode(self.folder), "Copy.mdimporter")
        shutil.copytree(tool.options.bundle, copy)
        return copy

    def expect_refusal(self, bundle, reason):
        self.write("x.torrent")
        out, err = self.run_tool("--bundle", bundle, "x.torrent", code=4)
        self.assertEqual(b"", out)
        self.assertIn("mdtorrent: cannot load %s: %s\n" % (bundle, reason), err.decode())

    def edit_property_list(self, edit):
        copy = self.copy_bundle()
        path = os.path.join(copy, "Contents", "Info.plist")
        os.chmod(path, 0o644)
        with open(path, "rb") as file:
            properties = plistlib.load(file)
        edit(properties)
        with open(path, "wb") as file:
            plistlib.dump(properties, file)
        return copy

    def test_the_bundle_is_found_without_being_named(self):
        self.write("x.torrent")
        self.assertEqual(["x.torrent"], self.paths("x.torrent"))

    def test_a_named_bundle_is_used(self):
        self.write("x.torrent")
        self.assertEqual(["x.torrent"], self.paths("--bundle", self.copy_bundle(), "x.torrent"))
        self.assertEqual(["x.torrent"], self.paths("--bundle", "Copy.mdimporter/", "x.torrent"))

    def test_a_bundle_in_a_folder_of_other_letters(self):
        self.write("x.torrent")
        folder = os.path.join(os.fsdecode(self.folder), "\u00e9\u4e2d")
        os.mkdir(folder)
        bundle = shutil.copytree(self.copy_bundle(), os.path.join(folder, "B.mdimporter"))
        for locale in ("C", "C.UTF-8"):
            with self.subTest(locale):
                paths = self.paths("--bundle", bundle, "x.torrent", environment={"LC_ALL": locale})
                self.assertEqual(["x.torrent"], paths)

    def test_a_missing_bundle(self):
        self.expect_refusal("missing", "not a plug-in bundle with a usable property list")

    def test_a_folder_that_is_no_bundle(self):
        os.mkdir(os.path.join(self.folder, b"empty"))
        self.expect_refusal("empty", "not a plug-in bundle with a usable property list")

    def test_a_damaged_property_list(self):
        copy = self.copy_bundle()
        path = os.path.join(copy, "Contents", "Info.plist")
        for damage in (b"", b"<plist>", b"\x00" * 100):
            with self.subTest(damage[:10]):
                os.chmod(path, 0o644)
                with open(path, "wb") as file:
                    file.write(damage)
                self.expect_refusal(copy, "not a plug-in bundle with a usable property list")

    def test_a_bundle_of_another_type(self):
        copy = self.edit_property_list(lambda properties: properties.update(CFPlugInTypes={}))
        self.expect_refusal(copy, "its property list names no importer factory")

    def test_a_factory_that_is_not_there(self):
        def rename(properties):
            factories = properties["CFPlugInFactories"]
            properties["CFPlugInFactories"] = dict.fromkeys(factories, "NoSuchFunction")
        self.expect_refusal(self.edit_property_list(rename), "its factory makes no importer")

    def test_code_that_cannot_be_loaded(self):
        def rename(properties):
            properties["CFBundleExecutable"] = "missing"
        self.expect_refusal(self.edit_property_list(rename), "its factory makes no importer")


class Outputs(tool.ToolTest):
    def setUp(self):
        super().setUp()
        self.write("x.torrent", torrent("top", files=[(["name %d" % i], 1) for i in range(20000)]))

    def test_a_reader_that_leaves_ends_the_run_quietly(self):
        for kind in ("mdls", "json", "ndjson", "plist"):
            with self.subTest(kind):
                process = self.start("--format", kind, "-j", "2", *["x.torrent"] * 200)
                os.read(process.stdout.fileno(), 10)
                process.stdout.close()
                start = time.monotonic()
                self.assertEqual(b"", process.stderr.read())
                self.assertEqual(3, process.wait(tool.TIMEOUT))
                self.assertLess(time.monotonic() - start, 10)
                process.stderr.close()

    @unittest.skipUnless(os.path.exists("/dev/full"), "this system has no /dev/full")
    def test_a_full_disk_is_told(self):
        with open("/dev/full", "wb") as full:
            _, err = self.run_tool("x.torrent", stdout=full, code=3)
            self.assertEqual(b"mdtorrent: cannot write the output: No space left on device\n", err)
            _, err = self.run_tool("--help", stdout=full, code=3)
            self.assertEqual(b"mdtorrent: cannot write the output: No space left on device\n", err)

    def test_closed_output_is_told(self):
        _, err = self.run_tool("x.torrent", stdout=None, preexec_fn=lambda: os.close(1), code=3)
        self.assertEqual(b"mdtorrent: cannot write the output: Bad file descriptor\n", err)

    def test_closed_standard_error_does_no_harm(self):
        out, _ = self.run_tool("missing", "x.torrent", stderr=None, preexec_fn=lambda: os.close(2), code=3)
        self.assertTrue(out.startswith(b"x.torrent:\n"))
        self.assertNotIn(b"cannot open", out)


tool.main()
