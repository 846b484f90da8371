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
import unittest

import tool
from torrents import torrent


class CommandLine(tool.ToolTest):
    def test_help_goes_to_standard_output(self):
        for option in ("--help", "-h"):
            out, err = self.run_tool(option)
            self.assertEqual(b"", err)
            text = out.decode()
            for word in ("Usage: mdtorrent", "mdls", "ndjson", "plist", "129", "130", "143", "Exit codes", "Examples",
                         "--locale", "--bundle", "--interface", "--progress", "-0", "-j"):
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
        self.assertEqual(b'mdtorrent: the locale "no_SUCH\\U001b" is not installed: locale -a lists what is, '
                         b'and on Debian dpkg-reconfigure locales installs more '
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

    @unittest.skipUnless(os.path.exists("/proc/self/status"), "this system does not count what a thread does")
    def test_a_thread_that_waits_for_the_others_sleeps(self):
        self.write("x.torrent", torrent("top", files=[(["name %d" % i], 1) for i in range(20000)]))

        def wake_ups():
            with open("/proc/%d/status" % process.pid, encoding="ascii") as file:
                return int(re.search(r"^voluntary_ctxt_switches:\s*(\d+)", file.read(), re.MULTILINE)[1])

        for _ in range(3):  # the one file is for any of the threads, and seldom for the first
            process = self.start("-j", "32", "x.torrent")
            first = os.read(process.stdout.fileno(), 1)
            time.sleep(0.3)  # no one reads the rest: the thread that has it waits, and the first one for that
            before = wake_ups()
            time.sleep(0.3)
            woken = wake_ups() - before
            out, _ = process.communicate(timeout=tool.TIMEOUT)
            self.assertEqual((0, 20000), (process.returncode, (first + out).count(b"name ")))
            self.assertLess(woken, 10)

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

    WARNING = (b'mdtorrent: warning: the locale "no_SUCH" is not installed: '
               b"text that is no UTF-8 is read as in the locale C\n")

    def import_with(self, **variables):
        environment = {"LC_ALL": "", "LC_CTYPE": "", "LANG": "", **variables}
        out, err = self.run_tool("--format", "ndjson", "-j", "2", *["x.torrent"] * 3, environment=environment)
        return [json.loads(line)["attributes"].get("kMDItemComment") for line in out.splitlines()], err

    def test_it_is_told_once_and_work_goes_on(self):
        self.write("x.torrent", torrent(comment="\u65e5\u672c"))
        for variable in ("LC_ALL", "LC_CTYPE", "LANG"):
            with self.subTest(variable):
                self.assertEqual((["\u65e5\u672c"] * 3, self.WARNING), self.import_with(**{variable: "no_SUCH"}))

    def test_what_is_no_utf_8_is_read_as_in_the_locale_c(self):
        self.write("x.torrent", torrent(comment="caf\u00e9".encode("latin-1")))
        read_as_in_c, told_nothing = self.import_with(LC_ALL="C")
        self.assertEqual(b"", told_nothing)
        self.assertEqual((read_as_in_c, self.WARNING), self.import_with(LC_ALL="no_SUCH"))

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


REQUESTS = {signal.SIGINT: 130, signal.SIGTERM: 143, signal.SIGHUP: 129}


class Interrupts(tool.ToolTest):
    def start(self, *arguments, ignored=(), **settings):
        def set_actions():  # those of the test may be of any kind
            for request in REQUESTS:
                signal.signal(request, signal.SIG_IGN if request in ignored else signal.SIG_DFL)
        return super().start(*arguments, preexec_fn=set_actions, **settings)

    def interrupt(self, process, request=signal.SIGINT):
        process.send_signal(request)
        if process.stdin:
            process.wait(tool.TIMEOUT)  # before communicate ends the list
        out, err = process.communicate(timeout=tool.TIMEOUT)
        self.assertEqual(REQUESTS[request], process.returncode, (out, err))
        return out, err

    def waiting_run(self, *arguments, **settings):
        """Starts a run that has imported one file and waits for the rest of its list."""
        self.write("x.torrent")
        process = self.start("--format", "ndjson", *arguments, "-", stdin=subprocess.PIPE, **settings)
        process.stdin.write(b"x.torrent\n")
        process.stdin.flush()
        self.assertTrue(json.loads(process.stdout.readline())["imported"])
        return process

    def test_waiting_for_a_list_ends(self):
        for request in REQUESTS:
            for jobs in ("1", "3"):
                with self.subTest(request=request, jobs=jobs):
                    out, _ = self.interrupt(self.waiting_run("-j", jobs), request)
                    self.assertEqual(b"", out)

    def test_the_document_is_complete(self):
        files = [(["name %d" % i], 1) for i in range(2000)]
        self.write("x.torrent", torrent("top", files=files))
        for kind, parse in (("json", json.loads), ("plist", plistlib.loads)):
            for request in REQUESTS:
                with self.subTest(kind=kind, request=request):
                    process = self.start("--format", kind, "-j", "2", *["x.torrent"] * 5000)
                    first = os.read(process.stdout.fileno(), 1)
                    out, _ = self.interrupt(process, request)
                    records = parse(first + out)
                    self.assertTrue(0 < len(records) < 5000, len(records))
                    self.assertEqual({2000}, {len(record["attributes"][tool.NAMES]) for record in records})

    def test_an_ignored_signal_stays_ignored(self):
        for request in REQUESTS:
            with self.subTest(request):
                process = self.waiting_run(ignored=[request])
                process.send_signal(request)
                out, _ = process.communicate(b"x.torrent\n", timeout=tool.TIMEOUT)
                self.assertEqual((0, 1), (process.returncode, out.count(b"\n")))

    def test_a_second_signal_ends_it_at_once(self):
        self.write("x.torrent", torrent("top", files=[(["name %d" % i], 1) for i in range(20000)]))
        for first in REQUESTS:
            for second in REQUESTS:
                with self.subTest(first=first, second=second):
                    process = self.start("--format", "json", *["x.torrent"] * 10)
                    os.read(process.stdout.fileno(), 1)
                    process.send_signal(first)
                    with self.assertRaises(subprocess.TimeoutExpired):
                        process.wait(0.2)  # for the reader of what is finished
                    process.send_signal(second)
                    self.assertEqual(-second, process.wait(tool.TIMEOUT))
                    process.communicate()

    def test_the_summary_says_so(self):
        for i in range(3000):
            self.write("f/%d.torrent" % i)
        process = self.start("--format", "ndjson", "-r", "f")
        process.stdout.readline()
        _, err = self.interrupt(process)
        self.assertRegex(err.decode(), r"^mdtorrent: interrupted, \d+ files?: ")


class Terminal:
    """A terminal for a program to write to. Keeps what arrives, and when."""

    def __init__(self, test):
        try:
            self.ours, self.theirs = pty.openpty()
        except OSError as error:
            test.skipTest(f"this system hands out no terminals: {error}")
        test.addCleanup(os.close, self.ours)
        self.chunks = []
        self.collector = threading.Thread(target=self.collect)

    def attach(self, process):
        """Leaves the program's end to the program."""
        os.close(self.theirs)
        self.collector.start()
        return process

    def collect(self):
        with contextlib.suppress(OSError):
            while data := os.read(self.ours, 4096):
                self.chunks.append((time.monotonic(), data.decode()))

    def seen(self):
        """Everything that was written until the program ended."""
        self.collector.join()
        return "".join(data for _, data in self.chunks)

    def screen(self):
        """The lines that a terminal shows in the end: a return goes back, and what stands there is written over."""
        lines, column = [""], 0
        for part in re.findall(r"\x1b\[K|.", self.seen(), re.DOTALL):
            if part == "\x1b[K":
                lines[-1] = lines[-1][:column]
            elif part == "\r":
                column = 0
            elif part == "\n":
                lines.append("")
                column = 0
            else:
                lines[-1] = lines[-1][:column] + part + lines[-1][column + 1:]
                column += 1
        return lines

    def visible_share(self, end):
        """How much of the time from the first sight of something until `end` something stood in the last line."""
        self.collector.join()
        shown, since = 0, None
        for when, data in [*self.chunks, (end, "")]:
            if since is not None:
                shown += min(when, end) - min(since, end)
            since = None if re.split("[\r\n]", data)[-1] in ("", "\x1b[K") else when
        return shown / (end - self.chunks[0][0])


class ProgressLine(tool.ToolTest):
    def feed(self, process, seconds, pause, line=b"x.torrent\n"):
        """Has the same file imported again and again; returns when the last one was asked for."""
        end = time.monotonic() + seconds
        while (now := time.monotonic()) < end:
            process.stdin.write(line)
            process.stdin.flush()
            time.sleep(pause)
        return now

    def terminal_run(self, seconds, *arguments, pause=0.15, line=b"x.torrent\n", code=0, **settings):
        """Runs for `seconds` with standard error on a terminal; returns that and when the end was near."""
        self.write("x.torrent")
        terminal = Terminal(self)
        settings = {"stdout": subprocess.PIPE, "stderr": terminal.theirs, "stdin": subprocess.PIPE, **settings}
        shows_all = settings["stdout"] in ("terminal", subprocess.DEVNULL)  # a record or a complaint, with no delay
        if settings["stdout"] == "terminal":
            settings["stdout"] = terminal.theirs
        process = terminal.attach(self.start(*arguments, "-", **settings))
        process.stdin.write(line)
        process.stdin.flush()
        if process.stdout:
            process.stdout.readline()
        while shows_all and not terminal.chunks and process.poll() is None:
            time.sleep(0.01)
        # The program's clock runs from here on at the latest.
        end = self.feed(process, seconds, pause, line)
        process.communicate(timeout=tool.TIMEOUT)
        self.assertEqual(code, process.returncode)
        return terminal, end

    def test_a_long_run_shows_it_on_a_terminal_and_cleans_up(self):
        seen = self.terminal_run(0.8, "--format", "ndjson")[0].seen()
        self.assertRegex(seen, r"\r\d+ files, \d+/s\x1b\[K")
        self.assertTrue(seen.endswith("\r\x1b[K"), seen)

    def test_it_stays_in_sight_while_the_records_go_to_a_file(self):
        with open(os.path.join(self.folder, b"out"), "wb") as out:
            terminal, end = self.terminal_run(5, "--format", "ndjson", stdout=out, pause=0.01)
        self.assertGreater(end - terminal.chunks[0][0], 2)
        self.assertGreater(terminal.visible_share(end), 0.9)

    def test_records_on_the_same_terminal_do_not_mix_with_it(self):
        for kind, parse in (("ndjson", lambda text: [json.loads(line) for line in text.splitlines()]),
                            ("json", json.loads), ("plist", lambda text: plistlib.loads(text.encode()))):
            with self.subTest(kind):
                terminal, _ = self.terminal_run(0.8, "--format", kind, stdout="terminal", pause=0.02)
                screen = "\n".join(terminal.screen())
                records = parse(screen)
                self.assertNotIn(" files, ", screen)
                self.assertEqual({True}, {record["imported"] for record in records})
                self.assertEqual(kind != "json", " files, " in terminal.seen())  # a line in JSON ends with the next

    def test_it_comes_back_at_once_after_a_record_on_the_same_terminal(self):
        terminal, _ = self.terminal_run(0.8, "--format", "ndjson", stdout="terminal", pause=0.02)
        after_the_first_sight = terminal.seen().partition(" files, ")[2]
        self.assertEqual(after_the_first_sight.count("imported"), after_the_first_sight.count(" files, "))

    def test_complaints_do_not_mix_with_it(self):
        terminal, _ = self.terminal_run(0.8, line=b"missing\n", stdout=subprocess.DEVNULL, pause=0.02, code=3)
        self.assertIn(" failed, ", terminal.seen())
        *complaints, last = terminal.screen()
        self.assertEqual(({"mdtorrent: missing: cannot open: No such file or directory"}, ""), (set(complaints), last))

    def test_never_is_silent_even_there(self):
        self.assertEqual("", self.terminal_run(0.8, "--format", "ndjson", "--progress", "never")[0].seen())

    def test_a_short_run_shows_nothing(self):
        self.assertEqual("", self.terminal_run(0, "--format", "ndjson")[0].seen())

    def test_elsewhere_it_is_silent_unless_always(self):
        self.write("x.torrent")
        self.assertEqual(b"", self.run_tool("x.torrent")[1])
        self.assertEqual(b"", self.run_tool("--progress", "never", "x.torrent")[1])
        _, err = self.run_tool("--progress", "always", "x.torrent", "x.torrent")
        self.assertRegex(err.decode(), r"\A1 of 2 files, \d+/s, \d+ s left\n2 of 2 files, \d+/s\n\Z")


tool.main()
