// Strings of 2 GiB: what is set, and what is written. This program brings its own allocator, in whose memory
// such strings take no room.
#include <gtest/gtest.h>
#include <limits.h>

#include <memory>
#include <string>
#include <string_view>

#include "core/base/mem1.h"
#include "core/bencode/bencoding.h"
#include "core/bencode/benctree.h"
#include "core/text/DecodeEncodedString.h"
#include "tests/support/fatal.h"
#include "tests/support/huge_text.h"
#include "tests/support/repeating_memory.h"

namespace test_host {

void* PlatformMalloc(size_t n) { return RepeatingMemory::New(n); }
void* PlatformRealloc(void* p, size_t n) { return RepeatingMemory::Resize(p, n); }
void PlatformFree(void* p) { RepeatingMemory::Delete(p); }

}  // namespace test_host

namespace {

using namespace core;
using std::string_view;

constexpr size_t kTooLong = size_t{INT_MAX} + 1;

// A value that goes with the test.
template <class V>
struct Owned : V {
  ~Owned() { this->FreeMembers(); }
};

class HugeStrings : public testing::Test {
 protected:
  // Characters "x", and a terminator behind `len` of them.
  const char* Text(size_t len) {
    text_ = std::make_unique<HugeText<char>>(len);
    return text_->ok() ? text_->get() : nullptr;
  }

  // A string of 2^31 bytes, made without the setters.
  void Fill(BencEntityMem& value) {
    const char* text = Text(kTooLong);
    ASSERT_NE(nullptr, text);
    BencTree::Bytes(value)->Borrow(reinterpret_cast<const unsigned char*>(text), kTooLong);
  }

 private:
  std::unique_ptr<HugeText<char>> text_;
};

TEST_F(HugeStrings, SetStrTakesOneByteLessThan2GiB) {
  const char* text = Text(INT_MAX);
  ASSERT_NE(nullptr, text);
  Owned<BencEntityMem> value;
  value.SetStr(text, -1);
  size_t stored = 0;
  const char* bytes = value.GetString(&stored);
  EXPECT_EQ(size_t{INT_MAX}, stored);
  EXPECT_EQ("xxxx", string_view(bytes, 4));
  EXPECT_EQ(0, bytes[stored]);
}

TEST_F(HugeStrings, SetStrOf2GiBIsFatal) {
  const char* text = Text(kTooLong);
  ASSERT_NE(nullptr, text);
  Owned<BencEntityMem> value;
  EXPECT_FATAL_ANY_LINE(value.SetStr(text, -1), "core/bencoding");
  Owned<BencodedDict> dict;
  EXPECT_FATAL_ANY_LINE(dict.InsertString("k", text, -1), "core/bencoding");
}

// On purpose: the length counts with its low 32 bits.
TEST_F(HugeStrings, AppendStringTakesItsLengthAsAnInt) {
  Owned<BencodedList> list;
  const auto appended = [&list](size_t len) {
    size_t stored = 0;
    const char* text = list.AppendString("abcdef", len)->GetString(&stored);
    return std::string(text, stored);
  };
  EXPECT_EQ("abc", appended((size_t{1} << 32) + 3));
  EXPECT_EQ("abcdef", appended((size_t{1} << 32) - 1));
  EXPECT_EQ("abcdef", appended(SIZE_MAX));
  EXPECT_FATAL_ANY_LINE(list.AppendString("abcdef", kTooLong), "core/bencoding");
  EXPECT_FATAL_ANY_LINE(list.AppendString("abcdef", (size_t{1} << 32) - 2), "core/bencoding");
}

TEST_F(HugeStrings, SerializeWritesThemWhole) {
  Owned<BencEntityMem> value;
  Fill(value);
  size_t len = 0;
  unsigned char* text = value.Serialize(&len);
  constexpr string_view kCount = "2147483648:";
  EXPECT_EQ(kCount.size() + kTooLong, len);
  EXPECT_EQ("2147483648:xxx", string_view(reinterpret_cast<char*>(text), kCount.size() + 3));
  EXPECT_EQ('x', text[len - 1]);
  MyFree(text);
}

TEST_F(HugeStrings, JsonQuotesThemWhole) {
  Owned<BencEntityMem> value;
  Fill(value);
  size_t len = 0;
  char* text = value.SerializeAsJson(&len);
  EXPECT_EQ(kTooLong + 3, len);
  EXPECT_EQ("\"xxx", string_view(text, 4));
  EXPECT_EQ(string_view("x\"\0", 3), string_view(text + len - 3, 3));
  MyFree(text);
}

TEST_F(HugeStrings, TheListingHoldsThemWhole) {
  Owned<BencEntityMem> value;
  Fill(value);
  size_t len = 0;
  char* text = value.SerializeAsAscii(&len);
  EXPECT_EQ(kTooLong + 1, len);
  EXPECT_EQ("xxx", string_view(text, 3));
  EXPECT_EQ(string_view("xx\0", 3), string_view(text + len - 3, 3));
  MyFree(text);
}

TEST_F(HugeStrings, SerializeWritesTheirKeysWhole) {
  const char* text = Text(kTooLong);
  ASSERT_NE(nullptr, text);
  Owned<BencodedDict> dict;
  BencEntity one;
  one.SetInt(1);
  BencTree::Dict(dict)->insert(BencArray<char>(BorrowedBytes<char>{text, kTooLong}), one);
  size_t len = 0;
  unsigned char* bytes = dict.Serialize(&len);
  constexpr string_view kBegin = "d2147483648:xxx";
  EXPECT_EQ(string_view("d2147483648:i1ee").size() + kTooLong, len);
  EXPECT_EQ(kBegin, string_view(reinterpret_cast<char*>(bytes), kBegin.size()));
  EXPECT_EQ("xi1ee", string_view(reinterpret_cast<char*>(bytes) + len - 5, 5));
  MyFree(bytes);
}

TEST_F(HugeStrings, DecodingCountsAsFarAsAnIntGoes) {
  const char* text = Text(kTooLong);
  ASSERT_NE(nullptr, text);
  auto* units = static_cast<wchar_t*>(RepeatingMemory::New(kTooLong * sizeof(wchar_t)));
  ASSERT_NE(nullptr, units);
  bool invalid = true;
  size_t consumed = 0;
  EXPECT_EQ(INT_MAX, DecodeUtf8(text, kTooLong, units, kTooLong, &invalid, &consumed));
  EXPECT_FALSE(invalid);
  EXPECT_EQ(kTooLong, consumed);
  RepeatingMemory::Delete(units);
}

}  // namespace
