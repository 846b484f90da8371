// Property: a text matches a pattern of "*", "?" and "|" when a table of all prefixes of both says so.
#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "core/text/string.h"
#include "fuzz/support/fuzz_check.h"
#include "fuzz/support/fuzz_input.h"
#include "tests/support/text.h"

namespace {

wchar_t Folded(wchar_t unit) { return unit >= L'A' && unit <= L'Z' ? unit - L'A' + L'a' : unit; }

// matches[t]: the pattern read so far matches the first t units of the text.
bool MatchesOne(const std::wstring& pattern, const std::wstring& text) {
  std::vector<bool> matches(text.size() + 1, false);
  matches[0] = true;
  for (const wchar_t unit : pattern) {
    std::vector<bool> next(text.size() + 1, false);
    next[0] = unit == L'*' && matches[0];
    for (size_t t = 1; t <= text.size(); ++t) {
      next[t] = unit == L'*' ? matches[t] || next[t - 1]
                             : matches[t - 1] && (unit == L'?' || Folded(unit) == Folded(text[t - 1]));
    }
    matches = next;
  }
  return matches[text.size()];
}

bool MatchesAny(const std::wstring& pattern, const std::wstring& text) {
  for (size_t begin = 0;;) {
    const size_t bar = pattern.find(L'|', begin);
    if (MatchesOne(pattern.substr(begin, bar - begin), text)) {
      return true;
    }
    if (bar == std::wstring::npos) {
      return false;
    }
    begin = bar + 1;
  }
}

// Few letters, so that texts do match, and units that are no characters.
std::wstring Text(FuzzInput& in, size_t limit) {
  static constexpr wchar_t kUnits[] = {L'*',  L'?', L'|', L'a', L'A', L'b', L'*',     L'Z',
                                       L'z',  L'[', L'@', L'`', 0xE4, 0xC4, 0x10FFFF, static_cast<wchar_t>(0xFFFFFFE9),
                                       0x12A, 0x17C};
  std::wstring text;
  for (const char byte : in.Bytes(limit)) {
    text.push_back(kUnits[static_cast<unsigned char>(byte) % (sizeof(kUnits) / sizeof(kUnits[0]))]);
  }
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  const std::wstring pattern = Text(in, 60);
  const std::wstring text = Text(in, 250);
  const Wide exact_pattern(pattern);
  const Wide exact_text(text);
  Require(core::IsWildcardMatch(exact_pattern.get(), exact_text.get()) == MatchesAny(pattern, text),
          "the table says the same");
  Require(exact_pattern.view() == pattern && exact_text.view() == text, "neither text changes");
  return 0;
}
