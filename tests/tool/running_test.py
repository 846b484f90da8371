"""How a run goes and how it can be steered."""

import contextlib
import json
import os
import plistlib
import pty
import re
import signal
import subprocess
import threading
import time

import tool
from torrents import torrent


class CommandLine(tool.ToolTest):
    def test_help_goes_to_standard_output(self):
        for option in ("--help", "-h"):
            out, err = self.run_tool(option)
            self.assertEqual(b"", err)
            text = out.decode()
            for word in ("Usage: mdtorrent", "mdls", "ndjson", "plist", "130", "Exit codes", "Examples", "--locale",
                         "--bundle", "--interface", "--progress", "-0", "-j"):
                self.assertIn(word, text)
            self.assertLessEqual(max(map(len, text.splitlines())), 100)

    def test_the_example_that_tells_torrents_from_other_files_does(self):
        help_text = self.run_tool("--help")[0].decode()
        (line,) = (line for line in help_text.splitlines() if "test $?" in line)
        script = 'mdtorrent() { "$0" "$@"; }\n' + line
        for content, told in ((None, False), (b"de", True)):
            self.write("x.torrent", content)
            result = subprocess.run(["sh", "-c", script, tool.options.program], cwd=self.folder, stdout=subprocess.PIPE)
            self.assertEqual(told, b"readable, but no torrent\n" in result.stdout)

    def test_version(self):
        self.assertEqual((b"mdtorrent 1.0.0\n", b""), self.run_tool("--version"))

    def expect_usage_error(self, *arguments):
        out, err = self.run_tool(*arguments, code=2)
        self.assertEqual(b"", out)
        self.assertRegex(err, rb"\Amdtorrent: [^\n]+\n\Z")
        return err

    def test_an_unknown_option_is_named(self):
        self.assertIn(b"--bogus", self.expect_usage_error("--bogus", "x"))

    def test_no_path_is_a_usage_error(self):
        self.expect_usage_error()

    def test_an_unknown_format_is_named(self):
        self.assertIn(b"xml", self.expect_usage_error("--format", "xml", "x"))

    def test_a_locale_that_is_not_installed_is_a_usage_error(self):
        self.assertEqual(b'mdtorrent: the locale "no_SUCH\\U001b" is not installed: locale -a lists what is '
                         b"(see mdtorrent --help)\n", self.expect_usage_error("--locale", "no_SUCH\x1b", "x"))

    def test_two_dashes_end_the_options(self):
        self.write("--help")
        self.assertEqual(["--help"], self.paths("--", "--help"))

    def test_brackets_and_braces_in_paths_are_letters(self):
        for name in ("[a,b]", "{}", "%%", "++"):
            self.write(name)
            self.assertEqual([name], self.paths(name))


class Threads(tool.ToolTest):
    def test_the_order_is_that_of_the_input(self):
        for i in range(120):
            files = [(["name %d" % n], 1) for n in range(3000 if i % 17 == 0 else 3)]
            self.write("f/%03d.torrent" % i, b"bad" if i % 10 == 9 else torrent("top%d" % i, files=files))
        one = {kind: self.run_tool("--format", kind, "-r", "f", code=1)[0]
               for kind in ("mdls", "json", "ndjson", "plist")}
        self.assertEqual(120, len(json.loads(one["json"])))
        for kind, expected in one.items():
            for jobs in ("2", "7"):
                with self.subTest(kind=kind, jobs=jobs):
                    out, _ = self.run_tool("--format", kind, "-r", "-j", jobs, "f", code=1)
                    self.assertTrue(expected == out)

    def test_complaints_keep_the_order(self):
        names = ["bad%02d" % i for i in range(40)]
        _, err = self.run_tool("-j", "4", *names, code=3)
        self.assertEqual(names, re.findall("bad[0-9]+", err.decode()))

    def test_more_threads_than_files(self):
        self.write("x.torrent")
        self.assertEqual(["x.torrent"], self.paths("-j", "32", "x.torrent"))


class Locales(tool.ToolTest):
    """A legacy text is read by the locale that is chosen."""

    def setUp(self):
        super().setUp()
        self.locales = os.path.join(os.fsdecode(self.folder), "locales")
        os.mkdir(self.locales)
        command = ["localedef", "-i", "ja_JP", "-f", "EUC-JP", os.path.join(self.locales, "legacy")]
        try:
            subprocess.run(command, check=True, capture_output=True)
        except (OSError, subprocess.CalledProcessError) as error:
            self.skipTest("no locale with a legacy encoding can be made: %s" % error)
        self.write("x.torrent", torrent(comment="\u65e5\u672c".encode("euc-jp")))

    def comment(self, *arguments, locale="C.UTF-8"):
        # With LOCPATH set, a library of the system leaks while it is loaded.
        environment = {"LOCPATH": self.locales, "LC_ALL": locale, "ASAN_OPTIONS": "detect_leaks=0"}
        (record,) = self.records(*arguments, "x.torrent", environment=environment)
        return record["attributes"].get("kMDItemComment")

    def test_the_environment_decides(self):
        self.assertEqual("\u65e5\u672c", self.comment(locale="legacy"))
        self.assertNotEqual("\u65e5\u672c", self.comment())

    def test_the_option_decides_over_the_environment(self):
        self.assertEqual("\u65e5\u672c", self.comment("--locale", "legacy"))
        self.assertNotEqual("\u65e5\u672c", self.comment("--locale", "C", locale="legacy"))

    def test_of_repeated_options_the_last_decides(self):
        self.assertEqual("\u65e5\u672c", self.comment("--locale", "no_SUCH", "--locale", "legacy"))

    def test_a_declared_code_page_means_the_locale(self):
        self.write("x.torrent", torrent(comment="\u00e9", encoding="CP1252"))
        self.assertEqual("\u00e9", self.comment())
        self.assertNotEqual("\u00e9", self.comment(locale="legacy"))

    def test_what_is_declared_to_be_utf_8_and_is_none_is_lost(self):
        self.write("x.torrent", torrent(comment="\u65e5\u672c".encode("euc-jp"), encoding="UTF-8"))
        self.assertIsNone(self.comment(locale="legacy"))

    def test_an_unknown_encoding_counts_as_none(self):
        self.write("x.torrent", torrent(comment="\u65e5\u672c".encode("euc-jp"), encoding="bogus"))
        self.assertEqual("\u65e5\u672c", self.comment(locale="legacy"))


class UnknownLocales(tool.ToolTest):
    """The environment names a locale that is not installed."""

    WARNING = b'mdtorrent: warning: the locale "no_SUCH" is not installed: text in torrents that is no UTF-8 is lost\n'

    def import_with(self, **variables):
        environment = {"LC_ALL": "", "LC_CTYPE": "", "LANG": "", **variables}
        out, err = self.run_tool("--format", "ndjson", "-j", "2", *["x.torrent"] * 3, environment=environment)
        return [json.loads(line)["attributes"].get("kMDItemComment") for line in out.splitlines()], err

    def test_it_is_told_once_and_work_goes_on(self):
        self.write("x.torrent", torrent(comment="\u65e5\u672c"))
        for variable in ("LC_ALL", "LC_CTYPE", "LANG"):
            with self.subTest(variable):
                self.assertEqual((["\u65e5\u672c"] * 3, self.WARNING), self.import_with(**{variable: "no_SUCH"}))

    def test_what_is_no_utf_8_is_lost_as_told(self):
        self.write("x.torrent", torrent(comment="caf\u00e9".encode("latin-1")))
        self.assertEqual(([None] * 3, self.WARNING), self.import_with(LC_ALL="no_SUCH"))

    def test_the_variable_that_counts_is_named(self):
        self.write("x.torrent")
        for variables in ({"LC_ALL": "no_SUCH", "LC_CTYPE": "a", "LANG": "b"}, {"LC_CTYPE": "no_SUCH", "LANG": "b"}):
            with self.subTest(variables):
                self.assertEqual(self.WARNING, self.import_with(**variables)[1])

    def test_nothing_is_told_of_a_locale_for_other_things(self):
        self.write("x.torrent")
        self.assertEqual(b"", self.import_with(LC_TIME="no_SUCH", LANG="C.UTF-8")[1])

    def test_nothing_is_told_of_a_locale_that_another_replaces(self):
        self.write("x.torrent")
        out, err = self.run_tool("--locale", "C.UTF-8", "x.torrent", environment={"LC_ALL": "no_SUCH"})
        self.assertIn(b"kMDItemDescription", out)
        self.assertEqual(b"", err)

    def test_its_name_cannot_drive_the_terminal(self):
        self.write("x.torrent")
        self.assertIn(b'the locale "\\U001b\\xff" is', self.import_with(LC_ALL=b"\x1b\xff")[1])


class Interrupts(tool.ToolTest):
    def interrupt(self, process):
        process.send_signal(signal.SIGINT)
        if process.stdin:
            process.wait(tool.TIMEOUT)  # before communicate ends the list
        out, err = process.communicate(timeout=tool.TIMEOUT)
        self.assertEqual(130, process.returncode, (out, err))
        return out, err

    def test_waiting_for_a_list_ends(self):
        self.write("x.torrent")
        for jobs in ("1", "3"):
            with self.subTest(jobs=jobs):
                process = self.start("--format", "ndjson", "-j", jobs, "-", stdin=subprocess.PIPE)
                process.stdin.write(b"x.torrent\n")
                process.stdin.flush()
                line = process.stdout.readline()
                out, _ = self.interrupt(process)
                self.assertTrue(json.loads(line)["imported"])
                self.assertEqual(b"", out)

    def test_the_document_is_complete(self):
        files = [(["name %d" % i], 1) for i in range(2000)]
        self.write("x.torrent", torrent("top", files=files))
        for kind, parse in (("json", json.loads), ("plist", plistlib.loads)):
            with self.subTest(kind):
                process = self.start("--format", kind, "-j", "2", *["x.torrent"] * 5000)
                first = os.read(process.stdout.fileno(), 1)
                out, _ = self.interrupt(process)
                records = parse(first + out)
                self.assertTrue(0 < len(records) < 5000, len(records))
                self.assertEqual({2000}, {len(record["attributes"][tool.NAMES]) for record in records})

    def test_the_summary_says_so(self):
        for i in range(3000):
            self.write("f/%d.torrent" % i)
        process = self.start("--format", "ndjson", "-r", "f")
        process.stdout.readline()
        _, err = self.interrupt(process)
        self.assertRegex(err.decode(), r"^mdtorrent: interrupted, \d+ files?: ")


class ProgressLine(tool.ToolTest):
    def feed(self, process):
        """Has one file imported."""
        process.stdin.write(b"x.torrent\n")
        process.stdin.flush()
        process.stdout.readline()

    def terminal_run(self, seconds, *arguments):
        """Runs for `seconds` with standard error on a terminal; returns what appeared there."""
        self.write("x.torrent")
        try:
            ours, theirs = pty.openpty()
        except OSError as error:
            self.skipTest(f"this system hands out no terminals: {error}")
        process = self.start("--format", "ndjson", *arguments, "-", stdin=subprocess.PIPE, stderr=theirs)
        os.close(theirs)
        seen = bytearray()

        def collect():
            with contextlib.suppress(OSError):
                while data := os.read(ours, 4096):
                    seen.extend(data)

        collector = threading.Thread(target=collect)
        collector.start()
        self.feed(process)  # the program's clock runs from here on at the latest
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            self.feed(process)
            time.sleep(0.15)  # long enough for the line to be due again
        self.feed(process)
        process.communicate(timeout=tool.TIMEOUT)
        collector.join()
        os.close(ours)
        self.assertEqual(0, process.returncode)
        return seen.decode()

    def test_a_long_run_shows_it_on_a_terminal_and_cleans_up(self):
        seen = self.terminal_run(0.8)
        self.assertRegex(seen, r"\r\d+ files, \d+/s\x1b\[K")
        self.assertTrue(seen.endswith("\r\x1b[K"), seen)

    def test_never_is_silent_even_there(self):
        self.assertEqual("", self.terminal_run(0.8, "--progress", "never"))

    def test_a_short_run_shows_nothing(self):
        self.assertEqual("", self.terminal_run(0))

    def test_elsewhere_it_is_silent_unless_always(self):
        self.write("x.torrent")
        self.assertEqual(b"", self.run_tool("x.torrent")[1])
        self.assertEqual(b"", self.run_tool("--progress", "never", "x.torrent")[1])
        _, err = self.run_tool("--progress", "always", "x.torrent", "x.torrent")
        self.assertRegex(err.decode(), r"\A1 of 2 files, \d+/s, \d+ s left\n2 of 2 files, \d+/s\n\Z")


tool.main()
