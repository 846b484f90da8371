// Property: bytes become the units that the rules give, and units the bytes, in every code page and locale;
// nothing is read behind the input or written behind the room.
#include <locale.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <memory>

#include "core/text/DecodeEncodedString.h"
#include "core/text/nustr.h"
#include "core/text/string.h"
#include "fuzz/models/utf8_model.h"
#include "fuzz/support/fuzz_check.h"
#include "fuzz/support/fuzz_input.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/test_host.h"
#include "tests/support/text.h"

namespace {

using Model = utf8_model::Decoded;

// Decodes into exactly `room` units, of which none behind the text may change.
void CheckDecoder(const ExactBytes& in, size_t room) {
  constexpr wchar_t kUntouched = 0x5A5A5A5A;
  const Model expected = utf8_model::Decode(in.view(), room);
  const auto units = std::make_unique<wchar_t[]>(room);
  std::fill_n(units.get(), room, kUntouched);
  bool invalid = !expected.invalid;
  size_t consumed = SIZE_MAX;
  const int written = core::DecodeUtf8(in.chars(), in.size(), units.get(), room, &invalid, &consumed);
  Require(written == (expected.fits ? static_cast<int>(expected.units.size()) : -1), "the units are counted");
  Require(invalid == expected.invalid, "invalid text is noticed");
  Require(consumed == expected.consumed, "the bytes are counted");
  for (size_t i = 0; i < room; ++i) {
    Require(units[i] == (i < expected.units.size() ? expected.units[i] : kUntouched), "the units are the bytes'");
  }
}

void CheckPage(const ExactBytes& in, int page) {
  const std::wstring expected = utf8_model::DecodeByPage(page, in.view());
  size_t len = SIZE_MAX;
  const Owned<wchar_t> text(core::DecodeEncodedString(page, in.chars(), in.size(), &len));
  Require(std::wstring_view(text.get(), len) == expected, "a text is decoded by its code page");
  Require(text[len] == 0, "a text is terminated");
}

// The forms that take a terminated text.
void CheckTerminated(const ExactBytes& in, int page) {
  const std::string_view all = in.view();
  const std::string_view bytes = all.substr(0, all.find('\0'));
  const Narrow text(bytes);
  size_t len = SIZE_MAX;
  const Owned<wchar_t> measured(core::DecodeEncodedString(page, text.get(), SIZE_MAX, &len));
  Require(std::wstring_view(measured.get(), len) == utf8_model::DecodeByPage(page, bytes), "a text is measured");
  wchar_t* slot = core::wstrdup(L"old");
  Require(core::utf8_to_tstr(&slot, text.get()) == slot, "the slot's text is returned");
  Require(Take(slot) == utf8_model::DecodeByPage(0, bytes).c_str(), "a slot takes UTF-8 or the locale's encoding");
  const std::string_view with_end(text.get(), bytes.size() + 1);  // which no character may lack
  const std::wstring local = utf8_model::FromLocale(with_end).value_or(L"");
  Require(Take(core::to_unicode_alloc(text.get())) == local, "a text is converted from the locale's encoding");
  const Owned<char> copy(core::str_to_utf8(text.get(), &len));
  Require(std::string_view(copy.get(), len) == bytes && copy[len] == 0, "a narrow text is copied");
}

void CheckEncoders(std::wstring_view units) {
  const Wide text(units);
  const std::string expected = utf8_model::Encode(units);
  size_t len = SIZE_MAX;
  const Owned<char> bytes(core::wstr_to_utf8(text.get(), &len));
  Require(std::string_view(bytes.get(), len) == expected && bytes[len] == 0, "units become UTF-8 one by one");
  Require(Take(core::EncodeUtf8(text.get())) == expected, "both names do the same");
  const std::optional<std::string> local = utf8_model::ToLocale(units);
  const Owned<char> converted(core::to_ansi_alloc(text.get()));
  Require((converted != nullptr) == local.has_value(), "a text that the locale lacks is null");
  Require(!local || *local == converted.get(), "units become the locale's encoding");
  for (wchar_t unit : units) {
    Require(core::to_ansi_char(unit) == utf8_model::NarrowUnit(unit), "a unit becomes one character");
  }
}

// The input's bytes as units of four, and as the small units that texts are made of.
void CheckUnits(std::string_view bytes) {
  std::wstring wide(bytes.size() / sizeof(wchar_t), L'\0');
  memcpy(wide.data(), bytes.data(), wide.size() * sizeof(wchar_t));
  CheckEncoders(wide);
  CheckEncoders(utf8_model::Decode(bytes, bytes.size()).units);
}

void SetLocale(const char* name) { Require(setlocale(LC_CTYPE, name) != nullptr, "the machine has the locale"); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr int kPages[] = {0, 1, 2, -1, 932, 65001};
  const long blocks = test_host::LiveBlocks();
  FuzzInput input(data, size);
  SetLocale(input.Flip() ? "C.UTF-8" : "C");
  const int page = input.Pick(kPages);
  const size_t missing = input.Number<uint8_t>();
  const ExactBytes in(input.Rest());
  CheckDecoder(in, in.size());
  CheckDecoder(in, in.size() > missing ? in.size() - missing : 0);
  CheckPage(in, page);
  CheckTerminated(in, page);
  CheckUnits(in.view());
  SetLocale("C");
  Require(test_host::LiveBlocks() == blocks, "every block is freed");
  return 0;
}
