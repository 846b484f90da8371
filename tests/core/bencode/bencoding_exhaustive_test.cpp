// The decoder against a second reading of the rules on every short input there is.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "tests/support/benc_decoders.h"
#include "tests/support/benc_tree.h"

namespace {

constexpr std::string_view kLetters = "dlei012:-a?";
constexpr size_t kLongest = 7;

class BencodingExhaustive : public BencTest {
 protected:
  // Checks every string of up to kLongest letters that begins with `first`, and adds their number.
  void CheckAllFrom(char first) {
    text_[0] = first;
    CheckAll(1);
  }

  size_t checked_ = 0;

 private:
  void CheckAll(size_t len) {
    const std::string_view text(text_.data(), len);
    ++checked_;
    const std::string disagreement = DecodersDisagreement(text);
    ASSERT_EQ("", disagreement) << testing::PrintToString(text);
    for (size_t i = 0; len < kLongest && i < kLetters.size() && !HasFatalFailure(); ++i) {
      text_[len] = kLetters[i];
      CheckAll(len + 1);
    }
  }

  std::array<char, kLongest> text_ = {};
};

// The strings of one to seven letters that begin with a given one.
constexpr size_t kFromOneLetter = 1'948'717;

TEST_F(BencodingExhaustive, AgreesOnEveryDictionaryOfSevenLetters) {
  CheckAllFrom('d');
  EXPECT_EQ(kFromOneLetter, checked_);
}

TEST_F(BencodingExhaustive, AgreesOnEverythingElseOfSevenLetters) {
  ASSERT_EQ("", DecodersDisagreement(""));
  for (char first : kLetters.substr(1)) {
    CheckAllFrom(first);
  }
  EXPECT_EQ(10 * kFromOneLetter, checked_);
}

}  // namespace
