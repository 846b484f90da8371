// Copying, tokenising, lines, trimming.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/text/string.h"
#include "tests/support/fatal.h"
#include "tests/support/test_host.h"
#include "tests/support/text.h"

namespace {

using std::string;
using std::string_view;
using std::wstring;
using std::wstring_view;

template <class C>
using Text = std::basic_string_view<C>;

wstring Widened(string_view text) { return {text.begin(), text.end()}; }

constexpr char kGuard = 'G';

TEST(StringCopy, ReturnsTheAddressOfTheTerminator) {
  Narrow dst(string(5, kGuard));
  EXPECT_EQ(dst.get() + 3, core::strcpy_e(dst.data(), Narrow("abc").get()));
  EXPECT_EQ(string_view("abc\0G", 5), dst.view());
  EXPECT_EQ(dst.get(), core::strcpy_e(dst.data(), ""));
  EXPECT_EQ(string_view("\0bc\0G", 5), dst.view());
  Wide wide(wstring(5, kGuard));
  EXPECT_EQ(wide.get() + 3, core::tstrcpy_e(wide.data(), Wide(L"abc").get()));
  EXPECT_EQ(wstring_view(L"abc\0G", 5), wide.view());
}

TEST(StringCopy, FitsWithItsTerminator) {
  Narrow dst(string(5, kGuard));
  EXPECT_EQ(dst.get() + 3, core::strncpy_e(dst.data(), "abc", 4));
  EXPECT_EQ(string_view("abc\0G", 5), dst.view());
  EXPECT_EQ(dst.get() + 1, core::strncpy_e(dst.data(), "z", SIZE_MAX));
  Wide wide(wstring(5, kGuard));
  EXPECT_EQ(wide.get() + 3, core::tstrncpy_e(wide.data(), L"abc", 4));
  EXPECT_EQ(wstring_view(L"abc\0G", 5), wide.view());
}

TEST(StringCopyDeathTest, TextThatDoesNotFitIsFatal) {
  char dst[8];
  wchar_t wide[8];
  EXPECT_FATAL(core::strncpy_e(dst, "abc", 3), "core/string", 145);
  EXPECT_FATAL(core::strncpy_e(dst, "", 0), "core/string", 145);
  EXPECT_FATAL(core::tstrncpy_e(wide, L"abc", 3), "core/string", 161);
  EXPECT_FATAL(core::tstrncpy_e(wide, L"", 0), "core/string", 161);
}

TEST(StrcpyM, CopiesSoManyBytesAndTerminates) {
  Narrow dst(string(5, kGuard));
  EXPECT_EQ(dst.get(), core::strcpy_m(dst.data(), "abcdef", 3));
  EXPECT_EQ(string_view("abc\0G", 5), dst.view());
  EXPECT_EQ(dst.get(), core::strcpy_m(dst.data(), "x\0y", 3));
  EXPECT_EQ(string_view("x\0y\0G", 5), dst.view());
  EXPECT_EQ(dst.get(), core::strcpy_m(dst.data(), "", 0));
  EXPECT_EQ(string_view("\0\0y\0G", 5), dst.view());
}

TEST(StrcpyM, StoresTheTerminatorBeforeItCopies) {
  Narrow text("abcdef");
  core::strcpy_m(text.data(), text.get() + 2, 3);  // the terminator goes over 'd', which is then copied
  EXPECT_EQ(string_view("c\0e\0ef", 6), text.view());
}

TEST(StringReplace, ReplacesEveryOccurrence) {
  Narrow text("a/b//c");
  core::str_replace(text.data(), '/', ':');
  EXPECT_EQ("a:b::c", text.view());
  core::str_replace(text.data(), 'x', 'y');
  EXPECT_EQ("a:b::c", text.view());
  Wide wide(L"a/b//c");
  core::wstr_replace(wide.data(), L'/', L':');
  EXPECT_EQ(L"a:b::c", wide.view());
}

TEST(StringReplace, TerminatorsMayReplaceButAreNotReplaced) {
  Narrow text("a/b/");
  core::str_replace(text.data(), '/', 0);
  EXPECT_EQ(string_view("a\0b\0", 4), text.view());
  Narrow kept("ab");
  core::str_replace(kept.data(), 0, 'x');
  EXPECT_EQ("ab", kept.view());
  EXPECT_EQ(0, kept.get()[2]);
}

TEST(MyStrtok, CutsAtTheFirstSeparator) {
  Narrow text("a,b,c");
  EXPECT_EQ(text.get() + 2, core::my_strtok(text.data(), ','));
  EXPECT_EQ(string_view("a\0b,c", 5), text.view());
  Wide wide(L"a,b,c");
  EXPECT_EQ(wide.get() + 2, core::my_wstrtok(wide.data(), L','));
  EXPECT_EQ(wstring_view(L"a\0b,c", 5), wide.view());
}

TEST(MyStrtok, SeparatorAtTheEndGivesTheEmptyRest) {
  Narrow text("a,");
  EXPECT_EQ(text.get() + 2, core::my_strtok(text.data(), ','));
}

TEST(MyStrtok, NothingToCutGivesNull) {
  Narrow text("abc");
  Wide wide(L"abc");
  EXPECT_EQ(nullptr, core::my_strtok(text.data(), ','));
  EXPECT_EQ(nullptr, core::my_strtok(text.data(), 0));
  EXPECT_EQ(nullptr, core::my_strtok(nullptr, ','));
  EXPECT_EQ(nullptr, core::my_wstrtok(wide.data(), L','));
  EXPECT_EQ(nullptr, core::my_wstrtok(wide.data(), 0));
  EXPECT_EQ(nullptr, core::my_wstrtok(nullptr, L','));
  EXPECT_EQ("abc", text.view());
  EXPECT_EQ(L"abc", wide.view());
}

TEST(MyStrtok2, FindsTheSeparatorOrTheEnd) {
  Wide wide(L"a,b");
  EXPECT_EQ(wide.get() + 1, core::my_strtok2(wide.data(), L','));
  EXPECT_EQ(wide.get() + 3, core::my_strtok2(wide.data(), L'x'));
  EXPECT_EQ(wide.get() + 3, core::my_strtok2(wide.data(), 0));
  EXPECT_EQ(L"a,b", wide.view());
}

template <class C>
std::vector<std::basic_string<C>> Tokens(Text<C> text, C sep) {
  ExactText<C> copy(text);
  std::vector<std::basic_string<C>> tokens;
  C* rest = copy.data();
  while (const C* token = core::strsep(&rest, sep)) {
    tokens.emplace_back(token);
  }
  return tokens;
}

TEST(StrSep, GivesEveryTokenAndThenNull) {
  EXPECT_EQ((std::vector<string>{"a", "", "bc", ""}), Tokens<char>("a,,bc,", ','));
  EXPECT_EQ((std::vector<string>{""}), Tokens<char>("", ','));
  EXPECT_EQ((std::vector<string>{"a,b"}), Tokens<char>("a,b", ';'));
  EXPECT_EQ((std::vector<wstring>{L"a", L"", L"bc", L""}), Tokens<wchar_t>(L"a,,bc,", L','));
}

TEST(StrSep, TerminatorIsNoSeparator) {
  EXPECT_EQ((std::vector<string>{"ab"}), Tokens<char>("ab", 0));
  EXPECT_EQ((std::vector<wstring>{L"ab"}), Tokens<wchar_t>(L"ab", 0));
}

template <class C>
std::vector<std::basic_string<C>> Lines(Text<C> text) {
  ExactText<C> copy(text);
  std::vector<std::basic_string<C>> lines;
  for (C* line = copy.data(); line != nullptr;) {
    C* next = core::iter_lines(line);
    lines.emplace_back(line);
    line = next;
  }
  return lines;
}

TEST(IterLines, CutsLinesWithoutTheirEnds) {
  const struct {
    string_view text;
    std::vector<string> lines;
  } kCases[] = {
      {"", {""}},
      {"a", {"a"}},
      {"a\n", {"a", ""}},
      {"a\r\nb\r\nc", {"a", "b", "c"}},
      {"a\nb", {"a", "b"}},
      {"\n\n", {"", "", ""}},
      {"\r\n", {"", ""}},
      {"a\rb\n", {"a\rb", ""}},
      {"a\r\r\nb", {"a\r", "b"}},
      {"a\r", {"a\r"}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(c.lines, Lines<char>(c.text));
    std::vector<wstring> wide;
    for (const string& line : c.lines) {
      wide.push_back(Widened(line));
    }
    EXPECT_EQ(wide, Lines<wchar_t>(Widened(c.text)));
  }
}

TEST(IterLines, CarriageReturnBeforeTheStartStays) {
  Narrow text("\r\nb");
  EXPECT_EQ(text.get() + 2, core::iter_lines(text.data() + 1));
  EXPECT_EQ(string_view("\r\0b", 3), text.view());
}

TEST(WhiteSpace, IsTabAndSpaceOnly) {
  for (int c = 0; c < 256; c++) {
    EXPECT_EQ(c == '\t' || c == ' ', core::is_ws(static_cast<char>(c))) << c;
  }
}

TEST(WhiteSpace, IsSkippedOnTheLeft) {
  const Narrow text(" \t x ");
  const char* at = text.get();
  EXPECT_EQ(text.get() + 3, core::skip_ws_left(&at));
  EXPECT_EQ(text.get() + 3, at);
  const Narrow line("\n x");
  at = line.get();
  EXPECT_EQ(line.get(), core::skip_ws_left(&at));
  const Narrow blank("  ");
  at = blank.get();
  EXPECT_EQ(blank.get() + 2, core::skip_ws_left(&at));
}

TEST(Trim, RemovesWhiteSpaceAtTheEndAndBlanksAtTheStart) {
  const struct {
    string_view text;
    string_view trimmed;
  } kCases[] = {
      {"", ""},
      {"abc", "abc"},
      {" abc ", "abc"},
      {"\t abc \t\r\n", "abc"},
      {"a b\tc", "a b\tc"},
      {"\nabc", "\nabc"},
      {"\r\nabc\r\n", "\r\nabc"},
      {" \n abc", "\n abc"},
      {" ", ""},
      {"\t", ""},
      {" \t \r\n", ""},
      {"\n", ""},
      {"\n \n", ""},
      {"\vx\v", "\vx\v"},
      {" \xA0 ", "\xA0"},
      {"x", "x"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.text);
    Narrow text(c.text);
    EXPECT_EQ(text.get(), core::trim(text.data()));
    EXPECT_EQ(c.trimmed, text.get());
    Wide wide(Widened(c.text));
    EXPECT_EQ(wide.get(), core::trim(wide.data()));
    EXPECT_EQ(Widened(c.trimmed), wide.get());
  }
}

TEST(Trim, NullGivesNull) {
  EXPECT_EQ(nullptr, core::trim(static_cast<char*>(nullptr)));
  EXPECT_EQ(nullptr, core::trim(static_cast<wchar_t*>(nullptr)));
}

TEST(StripAccelerators, DoublesEveryAmpersand) {
  const struct {
    const wchar_t* text;
    const wchar_t* doubled;
  } kCases[] = {
      {L"", L""}, {L"abc", L"abc"}, {L"&", L"&&"}, {L"a&b", L"a&&b"}, {L"&&", L"&&&&"}, {L"&a&b&", L"&&a&&b&&"},
  };
  const test_host::Scope host;
  const long live = test_host::LiveBlocks();
  for (const auto& c : kCases) {
    EXPECT_EQ(c.doubled, Take(core::stripaccelerators(Wide(c.text).get())));
  }
  EXPECT_EQ(live, test_host::LiveBlocks());
}

TEST(StripAccelerators, NullGivesNull) { EXPECT_EQ(nullptr, core::stripaccelerators(nullptr)); }

}  // namespace
