// Property: a format gives what the rules say, in every sink and width and below every limit; nothing is
// written behind the limit, and nothing is read behind an argument.
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <memory>

#include "core/base/mem1.h"
#include "core/format/strfmt.h"
#include "fuzz/models/format_model.h"
#include "fuzz/support/argument_list.h"
#include "fuzz/support/format_input.h"
#include "fuzz/support/fuzz_check.h"
#include "tests/support/test_host.h"

namespace {

using format_model::Cell;
using format_model::Output;

// What a sink of characters C makes of a cell. Only the one that allocates takes narrow characters as signed.
template <class C>
C Stored(Cell cell, bool allocates) {
  const bool extends = sizeof(C) > 1 && allocates && !cell.wide;
  return static_cast<C>(extends ? static_cast<uint32_t>(static_cast<int8_t>(cell.code)) : cell.code);
}

template <class C>
bool Holds(const C* text, size_t len, const Output& expected, bool allocates) {
  bool same = len == expected.cells().size() && text[len] == 0;
  for (size_t i = 0; same && i < len; ++i) {
    same = text[i] == Stored<C>(expected.cells()[i], allocates);
  }
  return same;
}

// Compares what it receives with what it should.
struct Comparer : core::FormatterOutputCallbackData {
  const Output& expected;
  size_t received = 0;

  Comparer(const Output& cells, uint64_t before, uint64_t most)
      : FormatterOutputCallbackData{Take<char, false>, Take<wchar_t, true>, before, before + most}, expected(cells) {}

  template <class C, bool wide>
  static void Take(FormatterOutputCallbackData& data, const C* text, size_t n) {
    Comparer& self = static_cast<Comparer&>(data);
    Require(n <= self.expected.cells().size() - self.received, "no more is emitted than there is");
    for (size_t i = 0; i < n; ++i) {
      const Cell cell = self.expected.cells()[self.received++];
      Require(cell.wide == wide && text[i] == static_cast<C>(cell.code), "each sink receives the text of its width");
    }
  }
};

void Format(Comparer& data, const char* format, va_list args) { core::fd_formatter(data, format, args); }
void Format(Comparer& data, const wchar_t* format, va_list args) { core::fd_formatter_wchar(data, format, args); }
int Format(char* buf, size_t size, const char* format, va_list args) {
  return core::nuvsnprintf(buf, size, format, args);
}
int Format(wchar_t* buf, size_t size, const wchar_t* format, va_list args) {
  return core::nuwvsnprintf(buf, size, format, args);
}
char* Format(size_t* len, const char* format, va_list args) { return core::vsprintf_alloc_size(format, len, args); }
wchar_t* Format(size_t* len, const wchar_t* format, va_list args) {
  return core::vsprintf_alloc_size_wchar(format, len, args);
}

template <class C>
void CheckFixed(const C* format, const FormatInput& input, size_t size) {
  const auto buf = std::make_unique<C[]>(size);
  ArgumentList args(input.arguments());
  const int stored = Format(buf.get(), size, format, args.get());
  if (size == 0) {
    Require(stored == 0, "no buffer, no text");
    return;
  }
  const Output expected = format_model::Run(input.format(), sizeof(C) > 1, input.arguments(), size - 1);
  Require(Holds(buf.get(), static_cast<size_t>(stored), expected, false), "the buffer holds the text, cut");
}

template <class C>
void CheckAllocated(const C* format, const FormatInput& input) {
  ArgumentList args(input.arguments());
  size_t len = 0;
  C* text = Format(&len, format, args.get());
  const Output expected = format_model::Run(input.format(), sizeof(C) > 1, input.arguments(), core::kAllocFormatLimit);
  Require(Holds(text, len, expected, true), "the new string holds the whole text");
  core::MyFree(text);
}

template <class C>
void CheckSinks(const C* format, const FormatInput& input, uint64_t before, uint64_t limit) {
  ArgumentList args(input.arguments());
  const Output expected = format_model::Run(input.format(), sizeof(C) > 1, input.arguments(), limit);
  Comparer data(expected, before, limit);
  Format(data, format, args.get());
  Require(data.received == expected.cells().size(), "all the text is emitted");
  Require(data.written == before + data.received, "what was emitted is counted");
}

template <class C>
void Check(FuzzInput in) {
  const size_t size = static_cast<size_t>(in.Flip() ? in.Between(0, 4096) : in.Between(0, 64));
  const uint64_t before = in.Number<uint8_t>();
  const FormatInput input(in, sizeof(C) > 1);
  const auto format = std::make_unique<C[]>(input.format().size() + 1);
  std::copy(input.format().begin(), input.format().end(), format.get());
  CheckFixed(format.get(), input, size);
  CheckSinks(format.get(), input, before, size);
  if (input.tame()) {
    CheckAllocated(format.get(), input);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const long blocks = test_host::LiveBlocks();
  FuzzInput in(data, size);
  if (in.Flip()) {
    Check<wchar_t>(in);
  } else {
    Check<char>(in);
  }
  Require(test_host::LiveBlocks() == blocks, "every block is freed");
  return 0;
}
