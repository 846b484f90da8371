// Runs tests of the core library as macOS runs the library: in an image of the library for macOS, and in
// one of tests that call it.
//
// The library binds to the C library of macOS. The tests were compiled with this system's headers: they
// bind to this system's libraries, to GoogleTest in this program, and to the library's image. No code of
// the library is part of this program.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <wchar.h>

#include <algorithm>
#include <memory>
#include <string_view>

#include "core/base/memutils.h"
#include "tests/macho/image.h"
#include "tests/macho/resolver.h"
#include "tests/macho/shims.h"
#include "tests/macho/unwind.h"

namespace macho {
namespace {

// What the compiler calls in code for macOS by itself, and what takes a family of addresses: the tests are
// compiled with the numbers that families have on macOS.
constexpr std::string_view kFromDarwin[] = {"___bzero", "_inet_ntop", "_inet_pton", "_memset_pattern16",
                                            "dyld_stub_binder"};

// A name in C or C++ of this system; on macOS it has one underscore more.
void* ResolveHere(const std::string& symbol) {
  return symbol.starts_with('_') ? dlsym(RTLD_DEFAULT, symbol.c_str() + 1) : nullptr;
}

void* ResolveForTests(const Image& library, const std::string& symbol) {
  if (void* found = library.Local(symbol)) {
    return found;
  }
  return std::ranges::find(kFromDarwin, symbol) != std::end(kFromDarwin) ? ResolveDarwinLibraries("", symbol)
                                                                         : ResolveHere(symbol);
}

// A function of the C library that the tests replace, which leaves the error numbers of this system.
decltype(wcsrtombs)* tests_wcsrtombs = nullptr;

size_t NarrowByTests(char* to, const wchar_t** from, size_t room, mbstate_t* state) {
  return WithErrno([&] { return tests_wcsrtombs(to, from, room, state); });
}

// What the tests put in the place of a function that the library calls; null when they do not. As in a
// program that they are linked into, they may do so with all that is written in C++; of the C library, with
// what means the same on both systems.
void* ReplacedBy(const Image& tests, const std::string& symbol) {
  if (symbol == "_wcsrtombs" && tests.Local(symbol)) {
    tests_wcsrtombs = reinterpret_cast<decltype(tests_wcsrtombs)>(tests.Local(symbol));
    return reinterpret_cast<void*>(NarrowByTests);
  }
  return symbol.starts_with("__Z") || symbol == "_towlower" ? tests.Local(symbol) : nullptr;
}

// What the link left open are the library's host and its platform memory, which are part of this program.
void* ResolveForLibrary(const Image& tests, const std::string& library, const std::string& symbol) {
  if (void* replaced = ReplacedBy(tests, symbol)) {
    return replaced;
  }
  return library.empty() ? ResolveHere(symbol) : ResolveDarwinLibraries(library, symbol);
}

// Set once both are loaded, and loaded for good: GoogleTest keeps pointers into the tests.
const Image* loaded_library = nullptr;

void Start(Image& image) {
  image.Protect();
  RegisterUnwinding(image);
  image.Initialise();
}

void Load(const char* library_path, const char* tests_path) {
  const std::vector<uint8_t> library_bytes = ReadFile(library_path);
  const std::vector<uint8_t> tests_bytes = ReadFile(tests_path);
  auto library = std::make_unique<Image>(library_bytes);
  auto tests = std::make_unique<Image>(tests_bytes);
  library->Bind(library_bytes, [&](const std::string& from, const std::string& symbol) {
    return ResolveForLibrary(*tests, from, symbol);
  });
  tests->Bind(tests_bytes,
              [&](const std::string&, const std::string& symbol) { return ResolveForTests(*library, symbol); });
  loaded_library = library.get();
  Start(*library.release());
  Start(*tests.release());
}

}  // namespace
}  // namespace macho

// The one function of the library that the tests' host calls.
void* core::memdup(const void* p, size_t n) {
  auto* duplicate = reinterpret_cast<decltype(&memdup)>(macho::loaded_library->Local("__ZN4core6memdupEPKvm"));
  return duplicate(p, n);
}

int main(int argc, char** argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: %s IMAGE-OF-THE-LIBRARY IMAGE-OF-TESTS [OPTION...]\n", argv[0]);
    return 2;
  }
  try {
    macho::Load(argv[1], argv[2]);
  } catch (const macho::Refusal& refusal) {
    fprintf(stderr, "%s with %s: %s\n", argv[1], argv[2], refusal.what());
    return 1;
  }
  testing::InitGoogleTest(&argc, argv);
  const int result = RUN_ALL_TESTS();
  if (testing::UnitTest::GetInstance()->test_to_run_count() == 0) {
    fprintf(stderr, "%s holds no test to run.\n", argv[2]);
    return 1;
  }
  return result;
}
