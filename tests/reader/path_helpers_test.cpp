#include "QuickLookPlugin/path_helpers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QuickLookPlugin/limits.h"
#include "core/base/mem1.h"
#include "tests/reader/decoded.h"
#include "tests/reader/encoded.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/scoped_locale.h"

namespace {

using encoded::Bytes;
using encoded::Int;
using encoded::List;
using encoded::Str;

constexpr wchar_t kGuard = 0x1234567;

// What SanitizeCopy makes of `text`; a guard on each side of the copy must survive.
std::wstring Sanitized(const std::wstring& text) {
  std::vector<wchar_t> out(text.size() + 2, kGuard);
  SanitizeCopy(out.data() + 1, text.data(), static_cast<int>(text.size()));
  EXPECT_EQ(kGuard, out.front());
  EXPECT_EQ(kGuard, out.back());
  return {out.begin() + 1, out.end() - 1};
}

TEST(SanitizeCopy, CleansOneComponent) {
  struct Case {
    const char* name;
    std::wstring in;
    std::wstring out;
  };
  const Case kCases[] = {
      {"nothing", L"", L""},
      {"plain text stays", L"abc.txt", L"abc.txt"},
      {"a slash", L"a/b", L"a_b"},
      {"slashes at both ends", L"/a/", L"_a_"},
      {"a zero unit", std::wstring(L"a\0b", 3), L"a_b"},
      {"a space at the end", L"a ", L"a_"},
      {"spaces at the end", L"a/b  ", L"a_b__"},
      {"spaces at the start and inside stay", L"  a b", L"  a b"},
      {"nothing but spaces", L"   ", L"___"},
      {"a slash ends the trailing spaces", L"a /", L"a _"},
      {"a zero unit ends the trailing spaces", std::wstring(L"a \0 ", 4), L"a __"},
      {"other white space is no space", L"a\t", L"a\t"},
      {"a backslash and a colon stay", L"a\\b:c", L"a\\b:c"},
      {"a unit with a slash in its low byte stays", L"\x412F", L"\x412F"},
      {"a negative unit stays", std::wstring(1, static_cast<wchar_t>(-23)), std::wstring(1, static_cast<wchar_t>(-23))},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.out, Sanitized(c.in));
  }
}

TEST(SanitizeCopy, WorksInPlace) {
  std::wstring text = L"a/b  ";
  SanitizeCopy(text.data(), text.data(), static_cast<int>(text.size()));
  EXPECT_EQ(L"a_b__", text);
}

TEST(SanitizeCopy, DoesNothingForANegativeCount) {
  wchar_t out = kGuard;
  SanitizeCopy(&out, L"abc", -1);
  EXPECT_EQ(kGuard, out);
}

// The path made from `text`, an encoded list; "<null>" when there is none.
std::wstring Combined(const std::string& text, int code_page = 1) {
  Decoded list(text);
  wchar_t* path = CombinePath(list.list(), code_page);
  const std::wstring result = path ? path : L"<null>";
  core::MyFree(path);
  return result;
}

TEST(CombinePath, JoinsComponents) {
  struct Case {
    const char* name;
    std::string list;
    std::wstring path;
  };
  const Case kCases[] = {
      {"empty list", "le", L"<null>"},
      {"one component", List({Str("a")}), L"a"},
      {"several components", List({Str("a"), Str("bc"), Str("d.txt")}), L"a/bc/d.txt"},
      {"dot names and empty ones are left out", List({Str("a"), Str("."), Str(".."), Str(""), Str("b/c ")}), L"a/b_c_"},
      {"no separator before the first one kept", List({Str(""), Str(".."), Str("a")}), L"a"},
      {"no separator behind the last one kept", List({Str("a"), Str("..")}), L"a"},
      {"everything is left out", List({Str("."), Str(".."), Str("")}), L""},
      {"three dots are a name", List({Str("...")}), L"..."},
      {"a dot and a space are a name", List({Str(". ")}), L"._"},
      {"a dot and a zero byte are a name", List({Str(Bytes(".\0"))}), L"._"},
      {"two dots and a zero byte are a name", List({Str(Bytes("..\0"))}), L".._"},
      {"a zero byte alone is a name", List({Str(Bytes("\0"))}), L"_"},
      {"zero bytes inside", List({Str("a"), Str(Bytes("b\0c"))}), L"a/b_c"},
      {"slashes alone", List({Str("a"), Str("/"), Str("//")}), L"a/_/__"},
      {"UTF-8", List({Str("\xC3\xA9"), Str("\xE4\xB8\xAD")}), L"\x00E9/\x4E2D"},
      {"an integer", List({Str("a"), Int(1)}), L"<null>"},
      {"a list", List({List({Str("a")})}), L"<null>"},
      {"a dictionary first", List({"de", Str("a")}), L"<null>"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.path, Combined(c.list));
  }
}

TEST(CombinePath, LeavesTheInputOfATreeDecodedInPlaceAsItIs) {
  const std::string text = List({Str("a"), Str(""), Str("bc"), Str(".."), Str("\xE9")});
  for (int code_page : {0, 1, 932}) {
    SCOPED_TRACE(code_page);
    ExactBytes in(text);
    core::BencodedList list;
    ASSERT_EQ(in.end(), core::BencEntity::ParseInPlace(in.data(), list, in.end()));
    wchar_t* path = CombinePath(&list, code_page);
    EXPECT_EQ(0u, std::wstring(path).find(L"a/bc"));
    EXPECT_EQ(text, in.view());
    core::MyFree(path);
    list.FreeMembers();
  }
}

TEST(CombinePath, HasNoneWithoutAList) { EXPECT_EQ(nullptr, CombinePath(nullptr, 1)); }

TEST(CombinePath, DecodesByTheCodePage) {
  const std::string list = List({Str("a"), Str("\xE9")});
  EXPECT_EQ(std::wstring(L"a/") + static_cast<wchar_t>(0xFFFFFFE9), Combined(list, 1));
  EXPECT_EQ(L"a", Combined(list, 932));  // the C locale has no such byte: an empty component
}

TEST(CombinePath, FallsBackToTheLocalePerComponent) {
  EXPECT_EQ(L"\x00E9", Combined(List({Str("\xE9"), Str("\xC3\xA9")}), 0));
}

TEST(CombinePath, DecodesOtherCodePagesByTheLocale) {
  const ScopedLocale locale("C.UTF-8");
  ASSERT_TRUE(locale.ok());
  EXPECT_EQ(L"\x00E9/b", Combined(List({Str("\xC3\xA9"), Str("b")}), 932));
}

// The length of a path that has `bytes` bytes with its separator.
size_t CombinedLength(size_t bytes) { return Combined(List({Str("a"), Str(std::string(bytes - 2, 'b'))})).size(); }

TEST(CombinePath, TreatsAPathBeyondTheLimitAsUndecodable) {
  const size_t largest = reader::kMaxTextBytes;
  EXPECT_EQ(largest - 1, CombinedLength(largest - 1));
  EXPECT_EQ(largest, CombinedLength(largest));
  EXPECT_EQ(0u, CombinedLength(largest + 1));
}

}  // namespace
