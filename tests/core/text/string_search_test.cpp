// Searching and wildcards.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "core/text/string.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/scoped_locale.h"
#include "tests/support/text.h"

namespace {

using std::string;
using std::wstring;
using std::wstring_view;

constexpr ptrdiff_t kNull = -1;

wstring Widened(const string& text) { return {text.begin(), text.end()}; }

// Where a result lies in the searched text.
template <class C>
ptrdiff_t At(const C* found, const ExactText<C>& text) {
  return found == nullptr ? kNull : found - text.get();
}

struct SearchCase {
  const char* text;
  const char* sub;
  ptrdiff_t at;
};

TEST(StringSearch, FindsTheFirstOccurrenceWithoutRegardToCase) {
  const SearchCase kCases[] = {
      {"abc", "abc", 0},    {"abc", "BC", 1},     {"ABCABC", "bc", 1}, {"abc", "c", 2},
      {"abc", "cd", kNull}, {"abc", "", 0},       {"", "", kNull},     {"", "a", kNull},
      {"aab", "ab", 1},     {"ab", "abc", kNull}, {"a[b", "{", kNull}, {"aaab", "AAB", 1},
  };
  for (const SearchCase& c : kCases) {
    SCOPED_TRACE(string(c.text) + " / " + c.sub);
    const Narrow text(c.text);
    const Wide wide(Widened(c.text));
    const Wide wide_sub(Widened(c.sub));
    EXPECT_EQ(c.at, At(core::stristr(text.get(), Narrow(c.sub).get()), text));
    EXPECT_EQ(c.at, At(core::tstristr(wide.get(), wide_sub.get()), wide));
    EXPECT_EQ(c.at, At(core::tstritstr(wide.get(), wide_sub.get()), wide));
  }
}

TEST(StringSearch, WideSearchesFoldOnlyAscii) {
  const ScopedLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  EXPECT_EQ(nullptr, core::tstristr(L"\u00C9", L"\u00E9"));
  EXPECT_EQ(nullptr, core::tstritstr(L"\u00C9", L"\u00E9"));
}

TEST(StringSearch, FindsTheLastOccurrence) {
  const SearchCase kCases[] = {
      {"abab", "ab", 2},    {"abab", "ba", 1},    {"abab", "abab", 0}, {"abab", "b", 3},
      {"abab", "B", kNull}, {"ab", "abc", kNull}, {"", "", 0},         {"", "a", kNull},
      {"abc", "", 3},       {"aaa", "aa", 1},     {"abc", "x", kNull},
  };
  for (const SearchCase& c : kCases) {
    SCOPED_TRACE(string(c.text) + " / " + c.sub);
    const Narrow text(c.text);
    const Wide wide(Widened(c.text));
    EXPECT_EQ(c.at, At(core::strrstr(text.get(), Narrow(c.sub).get()), text));
    EXPECT_EQ(c.at, At(core::tstrrstr(wide.get(), Wide(Widened(c.sub)).get()), wide));
  }
}

TEST(StrnStr, FindsOnlyWhatFitsIntoTheRange) {
  const struct {
    const char* text;
    const char* sub;
    size_t n;
    ptrdiff_t at;
  } kCases[] = {
      {"xabc", "abc", 4, 1},     {"xabc", "abc", 3, kNull}, {"xabc", "abc", 100, 1}, {"xabc", "x", 1, 0},
      {"xabc", "a", 1, kNull},   {"abc", "", 3, 0},         {"abc", "", 0, 0},       {"", "", 0, 0},
      {"abc", "a", 0, kNull},    {"abab", "ab", 4, 0},      {"ab", "abc", 3, kNull}, {"abc", "ABC", 3, kNull},
      {"abc", "c", SIZE_MAX, 2},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(string(c.text) + " / " + c.sub + " / " + std::to_string(c.n));
    const Narrow text(c.text);
    EXPECT_EQ(c.at, At(core::strnstr(text.get(), Narrow(c.sub).get(), c.n), text));
  }
}

TEST(StrnStr, ReadsNothingBeyondTheRange) {
  const ExactBytes bytes("abcab");
  EXPECT_EQ(bytes.chars() + 2, core::strnstr(bytes.chars(), "cab", 5));
  EXPECT_EQ(nullptr, core::strnstr(bytes.chars(), "abd", 5));
}

bool Matches(wstring_view pattern, wstring_view text) {
  return core::IsWildcardMatch(Wide(pattern).get(), Wide(text).get());
}

TEST(WildcardMatch, KnowsItsThreeSpecialUnits) {
  const struct {
    const wchar_t* pattern;
    const wchar_t* text;
    bool match;
  } kCases[] = {
      {L"", L"", true},
      {L"", L"a", false},
      {L"a", L"", false},
      {L"abc", L"abc", true},
      {L"abc", L"ABC", true},
      {L"ABC", L"abc", true},
      {L"abc", L"abcd", false},
      {L"abcd", L"abc", false},
      {L"?", L"a", true},
      {L"?", L"", false},
      {L"?", L"ab", false},
      {L"a?c", L"abc", true},
      {L"*", L"", true},
      {L"*", L"abc", true},
      {L"**", L"", true},
      {L"*a*", L"bab", true},
      {L"*ab", L"aab", true},
      {L"a*b*c", L"axxbxxc", true},
      {L"a*b*c", L"axxcxxb", false},
      {L"*.TXT|*.doc", L"file.txt", true},
      {L"*.TXT|*.doc", L"file.doc", true},
      {L"*.TXT|*.doc", L"file.docx", false},
      {L"a|b|c", L"c", true},
      {L"a|b|c", L"d", false},
      {L"a|", L"", true},
      {L"|a", L"", true},
      {L"|a", L"a", true},
      {L"a||b", L"", true},
      {L"a|b", L"a|b", false},
      {L"a?b", L"a|b", true},
      {L"ab*|ac", L"ac", true},
      {L"*x|?", L"a", true},
      {L"\u00C9", L"\u00E9", false},
      {L"[", L"{", false},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(wstring(c.pattern) + L" / " + c.text);
    EXPECT_EQ(c.match, Matches(c.pattern, c.text));
  }
}

char Small(char c) { return c == 'B' ? 'b' : c; }

// Whole-text match of one alternative by the usual table: row i tells which prefixes of the text the
// first i units of the pattern match.
bool AlternativeMatches(const string& pattern, const string& text) {
  std::vector<bool> row(text.size() + 1, false);
  row[0] = true;
  for (char p : pattern) {
    std::vector<bool> next(text.size() + 1, false);
    for (size_t i = 0; i <= text.size(); i++) {
      if (p == '*') {
        next[i] = row[i] || (i > 0 && next[i - 1]);
      } else if (i > 0) {
        next[i] = row[i - 1] && (p == '?' || Small(p) == Small(text[i - 1]));
      }
    }
    row = next;
  }
  return row[text.size()];
}

bool MatchesByTable(const string& pattern, const string& text) {
  size_t start = 0;
  for (;;) {
    const size_t bar = pattern.find('|', start);
    if (AlternativeMatches(pattern.substr(start, bar - start), text)) {
      return true;
    }
    if (bar == string::npos) {
      return false;
    }
    start = bar + 1;
  }
}

// Every text over `letters` of at most `longest` units.
std::vector<string> AllTexts(const string& letters, size_t longest) {
  std::vector<string> texts = {""};
  for (size_t first = 0, len = 0; len < longest; len++) {
    const size_t last = texts.size();
    for (; first < last; first++) {
      for (char letter : letters) {
        texts.push_back(texts[first] + letter);
      }
    }
  }
  return texts;
}

TEST(WildcardMatch, AgreesWithATableOnEverySmallPattern) {
  const std::vector<string> texts = AllTexts("ab|", 4);
  std::vector<wstring> wide_texts;
  wide_texts.reserve(texts.size());
  for (const string& text : texts) {
    wide_texts.push_back(Widened(text));
  }
  for (const string& pattern : AllTexts("aB*?|", 5)) {
    const Wide wide(Widened(pattern));
    for (size_t i = 0; i < texts.size(); i++) {
      ASSERT_EQ(MatchesByTable(pattern, texts[i]), core::IsWildcardMatch(wide.get(), wide_texts[i].c_str()))
          << pattern << " / " << texts[i];
    }
  }
}

TEST(WildcardMatch, AgreesWithATableOnLongerStarPatterns) {
  const std::vector<string> texts = AllTexts("ab", 9);
  for (const string& pattern : AllTexts("a*?", 6)) {
    const Wide wide(Widened(pattern));
    for (size_t i = 0; i < texts.size(); i += 7) {
      ASSERT_EQ(MatchesByTable(pattern, texts[i]), core::IsWildcardMatch(wide.get(), Widened(texts[i]).c_str()))
          << pattern << " / " << texts[i];
    }
  }
}

TEST(WildcardMatch, ManyStarsDoNotMultiply) {
  wstring pattern;
  for (int i = 0; i < 200; i++) {
    pattern += L"*a";
  }
  EXPECT_FALSE(Matches(pattern + L"*b", wstring(20000, L'a')));
  EXPECT_TRUE(Matches(pattern + L"*", wstring(20000, L'a')));
}

}  // namespace
