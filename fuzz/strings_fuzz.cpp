// Property: string helpers, owned slots, buffers, strings and lists of strings do what models on standard strings
// do, read no unit behind the end and free what they replace.
#include <errno.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "core/text/nustr.h"
#include "core/text/string.h"
#include "fuzz/models/strings_model.h"
#include "fuzz/support/fuzz_check.h"
#include "fuzz/support/fuzz_input.h"
#include "fuzz/support/no_leak.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/text.h"

namespace {

using strings_model::Folded;
using strings_model::Place;

std::wstring Widened(const std::string& text) {
  std::wstring wide;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    // The last bytes stand for units that are no characters: the smallest, the largest, and negative ones.
    wide.push_back(byte < 0xF0    ? byte
                   : byte == 0xF0 ? std::numeric_limits<wchar_t>::min()
                   : byte == 0xF1 ? std::numeric_limits<wchar_t>::max()
                                  : static_cast<wchar_t>(0xFFFFFF00U + byte));
  }
  return wide;
}

template <class C>
Place At(const C* result, const C* text) {
  return result ? Place(static_cast<size_t>(result - text)) : Place();
}

int Sign(int order) { return order < 0 ? -1 : order > 0; }

void CheckNarrowPair(const std::string& a, const std::string& b, size_t n) {
  const Narrow x(a);
  const Narrow y(b);
  Require(core::strbegins(x.get(), y.get()) == strings_model::Begins(a, b), "strbegins");
  Require(core::stribegins(x.get(), y.get()) == strings_model::Begins(Folded(a), Folded(b)), "stribegins");
  Require(core::strends(x.get(), y.get()) == strings_model::Ends(a, b), "strends");
  Require(core::striends(x.get(), y.get()) == strings_model::Ends(Folded(a), Folded(b)), "striends");
  const int order = a.substr(0, n).compare(b.substr(0, n));
  Require(Sign(core::strncmp_exact(x.get(), y.get(), n)) == (order != 0 ? Sign(order) : a.size() > n), "strncmp_exact");
  Require(At(core::stristr(x.get(), y.get()), x.get()) == strings_model::FindFolded(a, b), "stristr");
  Require(At(core::strrstr(x.get(), y.get()), x.get()) == strings_model::Found(a.rfind(b)), "strrstr");

  // The first n bytes stand alone, without a terminator.
  const ExactBytes front(a.substr(0, n));
  const size_t max = std::min(n, a.size());
  Require(
      At(core::strnstr(front.chars(), y.get(), max), front.chars()) == strings_model::Found(a.substr(0, max).find(b)),
      "strnstr");
  Require(core::nustrnlen(front.chars(), max) == static_cast<int>(max), "nustrnlen of no terminator");
  Require(core::nustrnlen(x.get(), n) == static_cast<int>(max), "nustrnlen");
}

void CheckWidePair(const std::wstring& a, const std::wstring& b, size_t n) {
  const Wide x(a);
  const Wide y(b);
  Require(core::tstrbegins(x.get(), y.get()) == strings_model::Begins(a, b), "tstrbegins");
  Require(core::tstribegins(x.get(), y.get()) == strings_model::Begins(Folded(a), Folded(b)), "tstribegins");
  Require(core::tstriends(x.get(), y.get()) == strings_model::Ends(Folded(a), Folded(b)), "tstriends");
  Require(core::wcscasecmp(x.get(), y.get()) == strings_model::Compare(a, b), "wcscasecmp");
  Require(core::tstrcmplogical(x.get(), y.get()) == strings_model::Compare(a, b), "tstrcmplogical");
  Require(core::wcsncasecmp(x.get(), y.get(), n) == strings_model::Compare(a.substr(0, n), b.substr(0, n)),
          "wcsncasecmp");
  Require(At(core::tstristr(x.get(), y.get()), x.get()) == strings_model::FindFolded(a, b), "tstristr");
  Require(At(core::tstritstr(x.get(), y.get()), x.get()) == strings_model::FindFolded(a, b), "tstritstr");
  Require(At(core::tstrrstr(x.get(), y.get()), x.get()) == strings_model::Found(a.rfind(b)), "tstrrstr");
  size_t common = 0;
  while (common < std::min(a.size(), b.size()) && Folded(a)[common] == Folded(b)[common]) {
    ++common;
  }
  const bool first_equal = common != 0 || (a.empty() && b.empty());
  Require(At(core::striprefix_match(x.get(), y.get()), x.get()) == (first_equal ? Place(common) : Place()),
          "striprefix_match");
  Require(core::nuwstrnlen(x.get(), n) == static_cast<int>(std::min(n, a.size())), "nuwstrnlen");
}

// The functions of both widths that change a text in place or copy it.
struct NarrowCalls {
  using C = char;
  static constexpr auto kTrim = static_cast<char* (*)(char*)>(core::trim);
  static constexpr auto kLines = static_cast<char* (*)(char*)>(core::iter_lines);
  static constexpr auto kSeparate = static_cast<char* (*)(char**, char)>(core::strsep);
  static constexpr auto kToken = core::my_strtok;
  static constexpr auto kReplace = core::str_replace;
  static constexpr auto kCopy = core::strcpy_e;
  static constexpr auto kCopyInto = core::strncpy_e;
  static constexpr auto kDuplicate = core::nustrdup;
  static constexpr auto kDuplicateFront = core::strduplen;
  using Buffer = core::StringBuffer;
};
struct WideCalls {
  using C = wchar_t;
  static constexpr auto kTrim = static_cast<wchar_t* (*)(wchar_t*)>(core::trim);
  static constexpr auto kLines = static_cast<wchar_t* (*)(wchar_t*)>(core::iter_lines);
  static constexpr auto kSeparate = static_cast<wchar_t* (*)(wchar_t**, wchar_t)>(core::strsep);
  static constexpr auto kToken = core::my_wstrtok;
  static constexpr auto kReplace = core::wstr_replace;
  static constexpr auto kCopy = core::tstrcpy_e;
  static constexpr auto kCopyInto = core::tstrncpy_e;
  static constexpr auto kDuplicate = core::wstrdup;
  static constexpr auto kDuplicateFront = core::wstrduplen;
  using Buffer = core::StringBufferT;
};

template <class Calls, class C = typename Calls::C, class String = std::basic_string<C>>
void CheckInPlace(const String& text, C unit, C other) {
  ExactText<C> trimmed(text);
  Require(Calls::kTrim(trimmed.data()) == trimmed.get() && trimmed.get() == strings_model::Trimmed(text), "trim");

  ExactText<C> lines(text);
  C* line = lines.data();
  for (const String& expected : strings_model::Lines(text)) {
    C* const next = Calls::kLines(line);
    Require(line && line == expected, "iter_lines");
    line = next;
  }
  Require(line == nullptr, "iter_lines ends");

  ExactText<C> separated(text);
  C* rest = separated.data();
  for (const String& expected : strings_model::Split(text, String(unit != 0, unit), true)) {
    const C* token = Calls::kSeparate(&rest, unit);
    Require(token && token == expected, "strsep");
  }
  Require(rest == nullptr && Calls::kSeparate(&rest, unit) == nullptr, "strsep ends");

  ExactText<C> cut(text);
  const size_t found = unit == 0 ? String::npos : text.find(unit);
  Require(At<C>(Calls::kToken(cut.data(), unit), cut.get()) == (found == String::npos ? Place() : Place(found + 1)),
          "strtok");
  Require(cut.get() == text.substr(0, found), "strtok cuts");

  ExactText<C> replaced(text);
  String expected = text;
  if (unit != 0) {
    std::replace(expected.begin(), expected.end(), unit, other);
  }
  Calls::kReplace(replaced.data(), unit, other);
  Require(replaced.view() == expected, "replace");
}

template <class Calls, class C = typename Calls::C, class String = std::basic_string<C>>
void CheckCopies(const String& text, size_t n) {
  const ExactText<C> source(text);
  ExactText<C> target(String(text.size(), C{'#'}));
  Require(Calls::kCopy(target.data(), source.get()) == target.get() + text.size() && target.view() == text, "strcpy_e");
  ExactText<C> fitting(String(text.size(), C{'#'}));
  Require(Calls::kCopyInto(fitting.data(), source.get(), text.size() + 1) == fitting.get() + text.size(), "strncpy_e");
  Require(fitting.view() == text, "strncpy_e copies");
  Require(Take(Calls::kDuplicate(source.get())) == text, "strdup");
  Require(Take(Calls::kDuplicateFront(source.get(), std::min(n, text.size()))) == text.substr(0, n), "strduplen");

  typename Calls::Buffer buffer;
  for (const C unit : text) {
    buffer.Add(unit);
  }
  buffer.Add(source.get());
  buffer.Add(source.get(), std::min(n, text.size()));
  const String expected = text + text + text.substr(0, n);
  Require(buffer.AsString() == expected && buffer.size() == expected.size(), "a buffer grows at its end");
  Require(Take(buffer.StealString()) == expected && buffer.size() == 0 && !buffer.data, "and gives its text away");
}

template <class C, class String = std::basic_string<C>>
void CheckStrings(const String& text, const String& more, size_t n) {
  using Ours = core::basic_string<C>;
  const ExactText<C> source(text);
  const size_t start = std::min(n, text.size());
  Ours ours(source.get());
  Require(ours.c_str() == text && ours.size() == text.size() && ours == source.get(), "a string holds its text");
  Require(Ours(source.get(), start, text.size() - start).c_str() == text.substr(start), "a string of a part");
  ours += more.c_str();
  ours += ours.c_str();
  const String twice = text + more + text + more;
  Require(ours.c_str() == twice, "a string grows, also by itself");
  const Ours copy(ours);
  ours = ours.c_str() + std::min(n, twice.size());
  Require(ours.c_str() == twice.substr(std::min(n, twice.size())) && copy.c_str() == twice,
          "a string takes a part of itself");
  ours.assign(source.get(), start);
  Require(ours.c_str() == text.substr(0, start) && (ours == source.get()) == (start == text.size()),
          "a string takes a front");

  const std::vector<String> pieces = strings_model::Split(text, more, false);
  core::Vector<Ours> list = Ours(source.get()).tokenize(more.c_str());
  list.append(list);
  if (list.size() != 0) {
    list.push_back(list[0]);
  }
  Require(list.size() == 2 * pieces.size() + (pieces.empty() ? 0 : 1), "as many pieces");
  for (size_t i = 0; i < list.size(); ++i) {
    Require(list[i].c_str() == pieces[i % pieces.size()], "the same pieces");
  }
  list.clear();
  Require(list.size() == 0, "a cleared list is empty");
}

// New strings in owned slots, some of them parts of the old ones.
void CheckSlots(const std::wstring& text, size_t n) {
  wchar_t* slot = nullptr;
  core::str_set(&slot, text.c_str());
  Require(slot == text, "str_set");
  const size_t part = std::min(std::max<size_t>(n, 1), text.size());
  if (part != 0) {
    core::str_set(&slot, slot + part);
    Require(slot == text.substr(part), "str_set of a part of the slot");
  }
  core::str_sety(&slot, text.c_str());
  Require(text.empty() ? slot == nullptr : slot == text, "str_sety");
  core::str_set(&slot, nullptr);
  Require(*slot == 0, "str_set of null");
  wchar_t* owned = core::wstrdup(text.c_str());
  core::str_setxy(&slot, owned);
  Require(text.empty() ? slot == nullptr : slot == owned, "str_setxy");
  if (text.empty()) {
    core::MyFree(owned);
  }
  core::str_setx(&slot, core::wstrdup(text.c_str()));
  Require(slot == text, "str_setx");
  core::str_free(&slot);
  Require(slot == nullptr, "str_free");

  std::wstring doubled;
  for (const wchar_t unit : text) {
    doubled += unit == L'&' ? std::wstring(L"&&") : std::wstring(1, unit);
  }
  Require(Take(core::stripaccelerators(Wide(text).get())) == doubled, "stripaccelerators");
}

void CheckLists(const std::string& text, const std::string& name) {
  std::string list;
  std::vector<std::string> strings;
  for (const std::string& piece : strings_model::Split<std::string>(text, "/", false)) {
    if (!piece.empty()) {
      strings.push_back(piece);
      list += piece + '\0';
    }
  }
  const Narrow z(list);  // with the terminator of the empty string that ends it
  Require(core::zstrings_get_count(z.get()) == static_cast<int>(strings.size()), "zstrings_get_count");
  int exact = -1;
  int folded = -1;
  for (int i = static_cast<int>(strings.size()) - 1; i >= 0; --i) {
    const std::string& string = strings[static_cast<size_t>(i)];
    exact = string == name ? i : exact;
    folded = Folded(string) == Folded(name) ? i : folded;
    const char* found = core::zstrings_get_str_at(z.get(), i);
    Require(found && found == string, "zstrings_get_str_at");
  }
  const char* past = core::zstrings_get_str_at(z.get(), static_cast<int>(strings.size()));
  Require(strings.empty() ? past == z.get() : past == nullptr, "zstrings_get_str_at past the end");
  Require(core::zstrings_get_str_pos(z.get(), Narrow(name).get(), true) == exact, "zstrings_get_str_pos");
  Require(core::zstrings_get_str_pos(z.get(), Narrow(name).get(), false) == folded, "zstrings_get_str_pos, folding");
}

void CheckNumbers(const std::string& text) {
  const Narrow exact(text);
  char* end = nullptr;
  errno = 0;
  const int64_t number = strtoll(text.c_str(), &end, 0);
  const bool fails = end == text.c_str() || errno != 0;
  int64_t out = 77;
  Require(core::str_to_int64(exact.get(), &out) == fails && out == (fails ? 77 : number), "str_to_int64");
  Require(core::_atoi64(exact.get()) == strtoll(text.c_str(), nullptr, 10), "_atoi64");
  const ExactBytes bytes(text);
  Require(core::to_hex(bytes.begin(), static_cast<ptrdiff_t>(text.size())).c_str() == strings_model::Hex(text),
          "to_hex");
  const char* blank = exact.get();
  core::skip_ws_left(&blank);
  Require(At(blank, exact.get()) == Place(std::min(text.find_first_not_of(" \t"), text.size())), "skip_ws_left");
  for (const wchar_t unit : Widened(text)) {
    const char expected = unit < 127 ? static_cast<char>(unit) : unit == 0xB5 ? 'u' : '?';
    Require(core::to_ansi_char(unit) == expected, "to_ansi_char");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const NoLeak no_leak;
  FuzzInput in(data, size);
  const int64_t kind = in.Between(0, 5);
  const size_t n = static_cast<size_t>(in.Between(0, 40));
  const std::string b = in.Bytes(20).c_str();
  const std::string a = std::string(in.Rest().substr(0, 250)).c_str();
  const char unit = b.empty() ? '\0' : b[0];
  switch (kind) {
    case 0:
      CheckNarrowPair(a, b, n);
      break;
    case 1:
      CheckWidePair(Widened(a), Widened(b), n);
      break;
    case 2:
      CheckInPlace<NarrowCalls>(a, unit, '#');
      CheckInPlace<WideCalls>(Widened(a), Widened(std::string(1, unit))[0], L'#');
      break;
    case 3:
      CheckCopies<NarrowCalls>(a, n);
      CheckCopies<WideCalls>(Widened(a), n);
      CheckSlots(Widened(a), n);
      break;
    case 4:
      CheckStrings<char>(a, b, n);
      CheckStrings<wchar_t>(Widened(a), Widened(b), n);
      break;
    default:
      CheckLists(a, b);
      CheckNumbers(a);
  }
  return 0;
}
