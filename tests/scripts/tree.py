"""A copy of the commands in scripts/ in a folder of its own: a project that builds in no time, and fakes for what
installs and checks. CMake and Ninja are the real ones."""

import os
import pathlib
import select
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
TIMEOUT = 60
NOBODY = 65534

# The programs of a minimal system that the commands may use, beside CMake and Ninja.
PROGRAMS = """awk bash cat chmod cmake cp dirname env find flock grep id mkdir ninja nproc rm sed sleep sort touch tr
              true uname xargs""".split()

# Takes its steps from the file "steps": each line is one of shell, and the line of "early", if there is one, is run as
# soon as the project is configured. The tool that it makes says what it was given.
PROJECT = """
cmake_minimum_required(VERSION 3.25)
project(Small VERSION 1.2.3 LANGUAGES NONE)
set_property(DIRECTORY PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/steps)
if(EXISTS ${CMAKE_SOURCE_DIR}/early)
  execute_process(COMMAND bash early WORKING_DIRECTORY ${CMAKE_SOURCE_DIR})
endif()
file(STRINGS steps steps)
set(number 0)
foreach(step IN LISTS steps)
  math(EXPR number "${number} + 1")
  file(WRITE ${CMAKE_BINARY_DIR}/step-${number}.sh "${step}\\n")
  add_custom_command(OUTPUT made-${number} DEPENDS ${made}
                     COMMAND bash ${CMAKE_BINARY_DIR}/step-${number}.sh && touch made-${number})
  list(APPEND made made-${number})
endforeach()
set(tool ${CMAKE_BINARY_DIR}/tools/mdtorrent/mdtorrent)
add_custom_command(OUTPUT ${tool} DEPENDS ${made} ${CMAKE_SOURCE_DIR}/tool
                   COMMAND ${CMAKE_COMMAND} -E copy ${CMAKE_SOURCE_DIR}/tool ${tool})
add_custom_target(small ALL DEPENDS ${tool})
add_custom_target(thread_tests DEPENDS ${tool})
"""
TOOL = """#!/usr/bin/env bash
printf 'imported %s\\n' "$@"
[ "${!#}" != - ] || cat
"""


class ScriptTest(unittest.TestCase):
    """Each test has a tree of its own, and a PATH that holds what the test put there."""

    maxDiff = 4000

    def setUp(self):
        self.top = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.top)
        self.top.chmod(0o755)
        self.calls = self.top / "calls"
        self.calls.touch()
        self.calls.chmod(0o666)
        self.programs = self.top / "bin"
        self.programs.mkdir()
        for name in PROGRAMS:
            (self.programs / name).symlink_to(shutil.which(name))
        self.fake("dpkg-query", "printf 'install ok installed'")
        for name in ("apt-get", "dpkg", "clang-format", "clang-tidy", "ctest", "python3"):
            self.fake(name)
        self.tree = self.top / "tree"
        self.tree.mkdir()
        for name in ("scripts", "tools/shell", "tools/coverage"):
            if (ROOT / name).is_dir():
                shutil.copytree(ROOT / name, self.tree / name)
        shutil.copy(ROOT / "CMakePresets.json", self.tree)
        self.write("CMakeLists.txt", PROJECT)
        self.write("cmake/darwin-cross.cmake", "")
        self.write("fuzz/small_fuzz.cpp", "")
        self.write("steps", "true\n")
        self.write("tool", TOOL).chmod(0o755)

    def write(self, name, text):
        path = self.tree / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        return path

    def fake(self, name, body="true"):
        """Puts a program on the PATH that notes how it was called."""
        path = self.programs / name
        path.unlink(missing_ok=True)
        path.write_text(f'#!/usr/bin/env bash\necho "{name} $*" >>"{self.calls}"\n{body}\n', encoding="utf-8")
        path.chmod(0o755)

    def called(self, name):
        lines = self.calls.read_text(encoding="utf-8").splitlines()
        return [line[len(name) + 1 :] for line in lines if line.startswith(name + " ")]

    def start(self, script, *arguments, **settings):
        """Starts a command as the leader of its own group of processes, as a terminal does."""
        environment = {"PATH": str(self.programs), "LC_ALL": "C.UTF-8", "HOME": str(self.top)}
        pipes = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
        process = subprocess.Popen([self.tree / "scripts" / script, *arguments], env=environment, cwd=self.top,
                                   text=True, start_new_session=True, **{**pipes, **settings})
        self.addCleanup(self.end, process)
        return process

    def end(self, process):
        if process.poll() is None:
            os.killpg(process.pid, signal.SIGKILL)
        process.communicate()

    def finish(self, process, code=0, feed=None):
        """Returns what was printed on standard output and standard error."""
        out, err = process.communicate(feed, timeout=TIMEOUT)
        self.assertEqual(code, process.returncode, (out, err))
        return out, err

    def run_script(self, script, *arguments, code=0, feed=None, **settings):
        if feed is not None:
            settings["stdin"] = subprocess.PIPE
        return self.finish(self.start(script, *arguments, **settings), code, feed)

    def interrupt(self, process):
        """What Ctrl-C does."""
        os.killpg(process.pid, signal.SIGINT)

    def until_go(self):
        """A line of shell that waits until the test makes the file "go", or is over."""
        return f'while [ -d "{self.top}" ] && [ ! -e "{self.top}/go" ]; do sleep 0.01; done'

    def next_line(self, stream):
        """The next line that a command prints."""
        ready, _, _ = select.select([stream], [], [], TIMEOUT)
        self.assertTrue(ready, "nothing was printed")
        return stream.readline()

    def wait_for(self, path):
        end = time.monotonic() + TIMEOUT
        while not path.exists():
            self.assertLess(time.monotonic(), end, f"{path} did not appear")
            time.sleep(0.01)
