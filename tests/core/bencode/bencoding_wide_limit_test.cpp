// The limit on the lengths of converted text, which few machines have the memory to reach: this program
// brings text conversions of its own that claim any length.
#include <gtest/gtest.h>
#include <limits.h>

#include "core/base/mem1.h"
#include "core/text/DecodeEncodedString.h"
#include "core/text/nustr.h"
#include "tests/support/benc_tree.h"
#include "tests/support/fatal.h"

namespace {

size_t claimed_units = 0;
size_t claimed_bytes = 0;

}  // namespace

namespace core {

int DecodeUtf8(const char*, size_t, wchar_t*, size_t, bool*, size_t*) { return 0; }

wchar_t* DecodeEncodedString(int, const char*, size_t, size_t* out_len) {
  *out_len = claimed_units;
  return static_cast<wchar_t*>(MyCalloc(1, sizeof(wchar_t)));
}

char* wstr_to_utf8(const wchar_t*, size_t* out_len) {
  *out_len = claimed_bytes;
  return static_cast<char*>(MyCalloc(1, 1));
}

char* EncodeUtf8(const wchar_t* s, size_t* out_len) { return wstr_to_utf8(s, out_len); }

}  // namespace core

namespace {

class BencodingWideLimit : public BencTest {};

TEST_F(BencodingWideLimit, AStringOfOneUnitLessThan2GiIsGiven) {
  BencTreeOf tree("l1:ae");
  for (size_t units : {size_t{0}, size_t{INT_MAX} - 1, size_t{INT_MAX}}) {
    SCOPED_TRACE(units);
    claimed_units = units;
    size_t len = 99;
    EXPECT_NE(nullptr, tree.list().GetStringT(0, 0, &len));
    EXPECT_EQ(units, len);
  }
}

using BencodingWideLimitDeathTest = BencodingWideLimit;

TEST_F(BencodingWideLimitDeathTest, ALongerStringIsFatal) {
  BencTreeOf tree("d1:k1:ae");
  for (size_t units : {size_t{INT_MAX} + 1, size_t{1} << 32, SIZE_MAX}) {
    SCOPED_TRACE(units);
    claimed_units = units;
    EXPECT_FATAL_ANY_LINE(tree.dict().GetStringT("k", 0, nullptr), "core/bencoding");
  }
}

TEST_F(BencodingWideLimit, SetStrTTakesOneByteLessThan2GiB) {
  core::BencEntityMem value;
  for (size_t bytes : {size_t{0}, size_t{INT_MAX} - 1, size_t{INT_MAX}}) {
    SCOPED_TRACE(bytes);
    claimed_bytes = bytes;
    value.SetStrT(L"a");
    size_t len = 99;
    EXPECT_NE(nullptr, value.GetString(&len));
    EXPECT_EQ(bytes, len);
  }
  value.FreeMembers();
}

TEST_F(BencodingWideLimitDeathTest, SetStrTOfMoreIsFatal) {
  core::BencEntityMem value;
  for (size_t bytes : {size_t{INT_MAX} + 1, size_t{1} << 32, SIZE_MAX}) {
    SCOPED_TRACE(bytes);
    claimed_bytes = bytes;
    EXPECT_FATAL_ANY_LINE(value.SetStrT(L"a"), "core/bencoding");
  }
  value.FreeMembers();
}

}  // namespace
