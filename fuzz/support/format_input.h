// Formats and their arguments, made from a fuzzer's bytes.
#pragma once

#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

#include "fuzz/support/fuzz_input.h"

// A format whose directives are complete, and arguments of the types that it takes.
class FormatInput {
 public:
  // `wide`: of which width the format is. Its units are bytes if it is narrow.
  FormatInput(FuzzInput& in, bool wide);

  const std::u32string& format() const { return format_; }
  // As a variadic function finds them: one slot each, and two for an IPv6 address.
  const std::vector<uint64_t>& arguments() const { return arguments_; }
  // No width and no precision is large: the text fits every sink.
  bool tame() const { return tame_; }

 private:
  void AddText();
  void AddDirective();
  void AddFlags(bool fixed_allowed);
  void AddWidth();
  int64_t AddPrecision(int64_t most, bool needed);
  void AddDigits(int64_t value);
  void AddStar(int64_t value);
  int64_t PickOption(int64_t most);
  char32_t PickLetter(bool modified);

  void AddArgument(char32_t letter, int64_t precision);
  uint64_t PickInteger();
  uint64_t PickDouble();
  uint64_t PickText(bool wide, int64_t precision);
  uint64_t PickBytes(int64_t precision);
  uint64_t PickAddress();
  template <class C>
  uint64_t Keep(const C* units, size_t count);

  FuzzInput& in_;
  const bool wide_;
  bool tame_ = true;
  bool fixed_ = false;  // of the directive that is being made
  std::u32string format_;
  std::vector<uint64_t> arguments_;
  std::vector<std::shared_ptr<void>> memory_;
};
