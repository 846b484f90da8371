// Versions, printable text, sized structures, reversed bits, file sizes, freeing.
#include <gtest/gtest.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include "core/text/nustr.h"
#include "core/util/util.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/platform_memory.h"
#include "tests/support/scoped_locale.h"

using namespace core;

namespace {

// --- CompareNumericalVersionStrings ---

using Version = core::basic_string<char>;

int Compare(const char* a, const char* b) { return CompareNumericalVersionStrings(Version(a), Version(b)); }

TEST(CompareVersions, GivesTheDifferenceOfTheFirstBytesThatDiffer) {
  struct Case {
    const char* a;
    const char* b;
    int expected;
  };
  const Case kCases[] = {
      {"1.2", "1.2", 0},
      {"1.2", "1.2.1", -46},
      {"1.2.1", "1.2", 46},
      {"1.10", "1.9", -8},
      {"1.9", "1.10", 8},
      {"2", "10", 1},
      {"", "", 0},
      {"", "a", -97},
      {"a", "", 97},
      {"1.2a", "1.2b", -1},
      {"b.x", "a.y", 1},
      {"\xE9", "a", -120},
      {"a", "\xE9", 120},
      {"\x80", "\x7F", -255},
      {"\x7F", "\x80", 255},
      {"", "\x80", 128},
      {"\x80", "", -128},
      {"\xFF", "", -1},
      {"x\xE9y", "x\xE9z", -1},
      {"1.2 ", "1.2", 32},
      {"A", "a", -32},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(c.expected, Compare(c.a, c.b)) << c.a << " " << c.b;
  }
}

TEST(CompareVersions, ReadsNullAsTheEmptyText) {
  EXPECT_EQ(0, CompareNumericalVersionStrings(Version(), Version()));
  EXPECT_EQ(0, CompareNumericalVersionStrings(Version(), Version("")));
  EXPECT_EQ(-49, CompareNumericalVersionStrings(Version(), Version("1")));
  EXPECT_EQ(49, CompareNumericalVersionStrings(Version("1"), Version()));
}

TEST(CompareVersions, LeavesItsArgumentsAlone) {
  const Version a("1.2");
  const Version b("1.3");
  EXPECT_EQ(-1, CompareNumericalVersionStrings(a, b));
  EXPECT_EQ(0, CompareNumericalVersionStrings(a, a));
  EXPECT_STREQ("1.2", a.c_str());
  EXPECT_STREQ("1.3", b.c_str());
}

TEST(CompareVersions, AgreesWithTheModelOnRandomTexts) {
  std::mt19937 random(4);
  const auto text = [&random] {
    std::string s(random() % 5, 0);
    std::generate(s.begin(), s.end(), [&random] { return "1.2\x80\xFF"[random() % 5]; });
    return s;
  };
  for (int i = 0; i < 20'000; ++i) {
    const std::string a = text();
    const std::string b = text();
    const auto [p, q] = std::mismatch(a.begin(), a.end() + 1, b.begin(), b.end() + 1);
    const int expected = p > a.end() || q > b.end() ? 0 : int8_t(*p) - int8_t(*q);
    ASSERT_EQ(expected, Compare(a.c_str(), b.c_str())) << a << " " << b;
  }
}

// --- ReplaceNonAscii ---

// What comes of exactly those bytes, with the terminator that follows them.
std::string Replaced(std::string_view text, char replacement) {
  const ExactBytes in(text);
  const std::unique_ptr<char[]> out(ReplaceNonAscii(in.chars(), static_cast<ptrdiff_t>(in.size()), replacement));
  EXPECT_EQ(text, in.view());
  return std::string(out.get(), text.size() + 1);
}
std::string Terminated(std::string_view text) { return std::string(text) + '\0'; }

TEST(ReplaceNonAscii, ReplacesWhatDoesNotPrint) {
  EXPECT_EQ(Terminated("?A?"), Replaced("\tA\xE9", '?'));
  EXPECT_EQ(Terminated("a b~"), Replaced("a b~", '?'));
  EXPECT_EQ(Terminated("\xE9\xE9"), Replaced("\n\x7F", '\xE9'));
  EXPECT_EQ(Terminated("a.b"), Replaced(std::string_view("a\0b", 3), '.'));
  EXPECT_EQ(Terminated(std::string_view("a\0", 2)), Replaced("a\r", '\0'));
}

TEST(ReplaceNonAscii, KeepsExactlyThe95CharactersFromSpaceToTilde) {
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    const char expected = byte >= 0x20 && byte <= 0x7E ? c : '\x01';
    EXPECT_EQ(Terminated({&expected, 1}), Replaced({&c, 1}, '\x01')) << byte;
  }
}

TEST(ReplaceNonAscii, DoesNotFollowTheLocale) {
  const Latin1Locale locale;
  if (!locale.ok()) {
    GTEST_SKIP() << "no Latin-1 locale";
  }
  EXPECT_EQ(Terminated("?A?"), Replaced("\tA\xE9", '?'));
}

TEST(ReplaceNonAscii, GivesTheEmptyTextForALengthBelowOne) {
  for (const ptrdiff_t length : {ptrdiff_t{0}, ptrdiff_t{-1}, PTRDIFF_MIN}) {
    const std::unique_ptr<char[]> none(ReplaceNonAscii(nullptr, length, '?'));
    EXPECT_STREQ("", none.get());
    const std::unique_ptr<char[]> some(ReplaceNonAscii("abc", length, '?'));
    EXPECT_STREQ("", some.get());
  }
}

TEST(ReplaceNonAscii, TakesALongText) {
  std::string text(100'001, 'x');
  for (size_t i = 0; i < text.size(); i += 7) {
    text[i] = '\x80';
  }
  std::string expected = text;
  std::replace(expected.begin(), expected.end(), '\x80', '_');
  EXPECT_EQ(Terminated(expected), Replaced(text, '_'));
}

// --- InitStruct ---

TEST(InitStruct, StoresTheSizeAndZeroBehindIt) {
  for (const uint32_t size : {4u, 5u, 7u, 8u, 100u, 70'000u}) {
    GuardedBuffer<unsigned char> buffer(size);
    InitStruct(buffer.buf(), size);
    uint32_t stored = 0;
    memcpy(&stored, buffer.buf(), sizeof stored);
    EXPECT_EQ(size, stored);
    EXPECT_TRUE(std::all_of(buffer.buf() + 4, buffer.buf() + size, [](unsigned char c) { return c == 0; })) << size;
    EXPECT_TRUE(buffer.GuardsHold()) << size;
  }
}

TEST(InitStruct, PreparesAStructure) {
  struct Sized {
    uint32_t size;
    int number;
    void* pointer;
  };
  Sized s = {1, 2, &s};
  InitStruct(&s, sizeof s);
  EXPECT_EQ(sizeof s, s.size);
  EXPECT_EQ(0, s.number);
  EXPECT_EQ(nullptr, s.pointer);
}

TEST(InitStruct, TakesAnyAlignment) {
  GuardedBuffer<unsigned char> buffer(9);
  InitStruct(buffer.buf() + 1, 8);
  const unsigned char kExpected[] = {8, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(0, memcmp(kExpected, buffer.buf() + 1, 8));
}

TEST(InitStruct, MustHaveRoomForItsSize) {
  unsigned char bytes[4] = {};
  for (const uint32_t size : {3u, 1u, 0u}) {
    EXPECT_FATAL(InitStruct(bytes, size), "core/util", 1002);
  }
}

// --- ReverseBitsCopy ---

unsigned char Reversed(int byte) {
  int bits = 0;
  for (int mask = 1, mirror = 128; mask < 256; mask *= 2, mirror /= 2) {
    bits += (byte & mask) != 0 ? mirror : 0;
  }
  return static_cast<unsigned char>(bits);
}

TEST(ReverseBitsCopy, TurnsEveryByte) {
  unsigned char bytes[256];
  for (int i = 0; i < 256; ++i) {
    bytes[i] = static_cast<unsigned char>(i);
  }
  const ExactBytes src(bytes, sizeof bytes);
  GuardedBuffer<unsigned char> dst(256);
  ReverseBitsCopy(dst.buf(), src.begin(), 256);
  for (int i = 0; i < 256; ++i) {
    EXPECT_EQ(Reversed(i), dst.buf()[i]) << i;
  }
  EXPECT_TRUE(dst.GuardsHold());
}

TEST(ReverseBitsCopy, KnowsTheseBytes) {
  const unsigned char kBytes[] = {0x00, 0x01, 0x80, 0x0F, 0x12, 0xFF};
  const unsigned char kExpected[] = {0x00, 0x80, 0x01, 0xF0, 0x48, 0xFF};
  unsigned char dst[6];
  ReverseBitsCopy(dst, kBytes, 6);
  EXPECT_EQ(0, memcmp(kExpected, dst, 6));
}

TEST(ReverseBitsCopy, WritesAsManyBytesAsAskedFor) {
  const ExactBytes src("\x01\x01\x01");
  for (const ptrdiff_t n : {ptrdiff_t{0}, ptrdiff_t{1}, ptrdiff_t{2}, ptrdiff_t{3}}) {
    GuardedBuffer<unsigned char> dst(3);
    ReverseBitsCopy(dst.buf(), src.begin(), n);
    EXPECT_TRUE(std::all_of(dst.buf(), dst.buf() + n, [](unsigned char c) { return c == 0x80; }));
    EXPECT_TRUE(dst.UntouchedFrom(static_cast<size_t>(n)));
  }
}

TEST(ReverseBitsCopy, DoesNothingForANegativeCount) {
  GuardedBuffer<unsigned char> dst(3);
  for (const ptrdiff_t n : {ptrdiff_t{-1}, PTRDIFF_MIN}) {
    ReverseBitsCopy(dst.buf(), "\x01\x01\x01", n);
    ReverseBitsCopy(nullptr, nullptr, n);
  }
  EXPECT_TRUE(dst.UntouchedFrom(0));
}

TEST(ReverseBitsCopy, WorksInPlace) {
  unsigned char bytes[] = {0x01, 0x02, 0x03};
  ReverseBitsCopy(bytes, bytes, 3);
  const unsigned char kExpected[] = {0x80, 0x40, 0xC0};
  EXPECT_EQ(0, memcmp(kExpected, bytes, 3));
}

// --- DoGetFileSize ---

struct CloseFile {
  void operator()(FILE* file) const { fclose(file); }
};

TEST(DoGetFileSize, TellsTheSize) {
  const std::unique_ptr<FILE, CloseFile> file(tmpfile());
  ASSERT_NE(nullptr, file);
  for (const uint64_t size : {uint64_t{0}, uint64_t{1}, uint64_t{12'345}, (uint64_t{1} << 32) + 5}) {
    ASSERT_EQ(0, ftruncate(fileno(file.get()), static_cast<off_t>(size)));
    uint64_t told = 77;
    EXPECT_TRUE(DoGetFileSize(fileno(file.get()), &told));
    EXPECT_EQ(size, told);
  }
}

TEST(DoGetFileSize, DoesNotMoveTheFilesPosition) {
  const std::unique_ptr<FILE, CloseFile> file(tmpfile());
  ASSERT_NE(nullptr, file);
  ASSERT_EQ(5, write(fileno(file.get()), "abcde", 5));
  ASSERT_EQ(2, lseek(fileno(file.get()), 2, SEEK_SET));
  uint64_t told = 0;
  EXPECT_TRUE(DoGetFileSize(fileno(file.get()), &told));
  EXPECT_EQ(5u, told);
  EXPECT_EQ(2, lseek(fileno(file.get()), 0, SEEK_CUR));
}

TEST(DoGetFileSize, FailsWithoutAnOpenFile) {
  const int closed = dup(STDIN_FILENO);
  ASSERT_GE(closed, 0);
  close(closed);
  for (const int fd : {-1, closed, INT32_MAX}) {
    uint64_t told = 77;
    EXPECT_FALSE(DoGetFileSize(fd, &told)) << fd;
    EXPECT_EQ(77u, told) << fd;
  }
}

// --- free_str, free_tstr ---

TEST(FreeStr, FreesANarrowString) {
  char* s = nustrdup("text");
  const long live = test_host::LiveBlocks();
  free_str(s);
  EXPECT_EQ(live - 1, test_host::LiveBlocks());
}

TEST(FreeTstr, FreesAWideString) {
  wchar_t* s = wstrdup(L"text");
  const long live = test_host::LiveBlocks();
  free_tstr(s);
  EXPECT_EQ(live - 1, test_host::LiveBlocks());
}

TEST(FreeStr, IgnoresNull) {
  const long live = test_host::LiveBlocks();
  free_str(nullptr);
  free_tstr(nullptr);
  EXPECT_EQ(live, test_host::LiveBlocks());
}

}  // namespace
