#!/usr/bin/env python3
"""What the link stubs let into the bundle, and what they keep out."""

import argparse
import pathlib
import subprocess
import sys
import tempfile
import unittest

TARGETS = ("x86_64-apple-macosx10.13", "arm64-apple-macosx11.0")
COMMON = 'extern "C" __attribute__((visibility("default"))) int entry(int n);\n'

arguments = None


def link(target, code, *options):
    """Links the code as the bundle is linked and returns what was said about it."""
    sdk = arguments.sdk
    with tempfile.TemporaryDirectory() as scratch:
        source = pathlib.Path(scratch, "source.cpp")
        source.write_text(COMMON + code + "\n", encoding="utf-8")
        flags = ["--no-default-config", "-isysroot", sdk, "-nostdinc++", "-cxx-isystem", sdk / "usr/include/c++/v1"]
        flags += ["-std=c++20", "-O1", "-fvisibility=hidden", "-fuse-ld=lld", "-bundle"]
        command = [arguments.compiler, f"--target={target}", *flags, *options, source, "-o", source.with_suffix("")]
        # Nothing of the caller's environment: search paths in it reach the linker.
        result = subprocess.run(command, env={}, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    return result.stdout if result.returncode else ""


class LinkTest(unittest.TestCase):
    def test_takes_what_the_library_needs(self):
        code = """
            #include <string.h>
            #include <new>
            struct Base { virtual int f() = 0; virtual ~Base() {} };
            struct Derived : Base { int f() override { return 1; } };
            int entry(int n) {
              Base* b = new Derived;
              try { n += b->f(); } catch (...) { n = 0; }
              delete b;
              return n;
            }"""
        for target in TARGETS:
            self.assertEqual(link(target, code, "-fno-rtti"), "")

    def test_refuses(self):
        for name, symbol, code in (
            ("a static object with a destructor", "__cxa_atexit",
             "struct S { ~S(); int n; }; S::~S() { n = 0; } S s; int entry(int n) { return s.n = n; }"),
            ("a static object made at its first use", "__cxa_guard_acquire",
             "int f(int n) noexcept { return n; } int (*volatile p)(int) = f;\n"
             "int entry(int n) { static int m = p(n); return m; }"),
            ("a variable of each thread", "_tlv_bootstrap",
             "thread_local volatile int v; int entry(int n) { v = n; return v; }"),
            ("an exception of our own", "__cxa_throw", "int entry(int n) { if (n) throw n; return 0; }"),
            ("run-time type information", "__dynamic_cast",
             "struct A { virtual ~A() {} }; struct B : A {}; A* a;\n"
             "int entry(int) { return dynamic_cast<B*>(a) != nullptr; }"),
            ("division of 128 bits", "__udivti3",
             "unsigned __int128 a, b; int entry(int) { return static_cast<int>(a / b); }"),
        ):  # fmt: skip
            for target in TARGETS:
                with self.subTest(name, target=target):
                    said = link(target, code)
                    self.assertIn("undefined symbol", said)
                    self.assertIn(symbol, said)


def main():
    global arguments
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--sdk", type=pathlib.Path, required=True)
    arguments = parser.parse_args()
    unittest.main(argv=[sys.argv[0], "--quiet"])


main()
