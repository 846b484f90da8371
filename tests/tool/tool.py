"""Runs the program for a test and looks at how it ends."""

import argparse
import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

from torrents import torrent

options = None
NAMES = "org_sorrel_torrent_filenames"
TIMEOUT = 60


class ToolTest(unittest.TestCase):
    """Runs the program in an empty folder."""

    maxDiff = 2000

    def setUp(self):
        self.folder = os.fsencode(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def write(self, name, content=None):
        path = os.path.join(self.folder, os.fsencode(name))
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(torrent() if content is None else content)
        return path

    def start(self, *arguments, **settings):
        environment = {**os.environ, "LC_ALL": "C.UTF-8", **settings.pop("environment", {})}
        streams = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
        return subprocess.Popen([settings.pop("program", options.program), *arguments], cwd=self.folder,
                                env=environment, **{**streams, **settings})

    def run_tool(self, *arguments, feed=None, code=0, **settings):
        """Returns what was printed on standard output and standard error."""
        if feed is not None:
            settings["stdin"] = subprocess.PIPE
        process = self.start(*arguments, **settings)
        try:
            out, err = process.communicate(feed, timeout=TIMEOUT)
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            raise
        self.assertEqual(code, process.returncode, (out, err))
        return out, err

    def records(self, *arguments, **settings):
        out, err = self.run_tool("--format", "ndjson", *arguments, **settings)
        self.assertEqual(b"", err)
        return [json.loads(line) for line in out.decode("utf-8").splitlines()]

    def paths(self, *arguments, **settings):
        return [record["path"] for record in self.records(*arguments, **settings)]


def main():
    """Runs the tests of the calling file: --program FILE --bundle FOLDER [TEST...]."""
    global options
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    parser.add_argument("--bundle", required=True)
    options, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], *rest])
