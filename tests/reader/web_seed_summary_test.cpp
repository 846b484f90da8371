#include "QuickLookPlugin/web_seed_summary.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/reader/encoded.h"
#include "tests/support/exact_bytes.h"

namespace {

using reader::WebSeedSummary;

// A summary on the heap, so that a sanitizer sees a write past its end.
class WebSeedSummaryTest : public ::testing::Test {
 protected:
  void Add(size_t index, const std::string& text) {
    const ExactBytes bytes(text);
    summary_->Add(index, bytes.chars(), bytes.size());
  }
  std::string line() const { return summary_->text(); }

 private:
  std::unique_ptr<WebSeedSummary> summary_ = std::make_unique<WebSeedSummary>();
};

TEST_F(WebSeedSummaryTest, IsEmptyAtFirst) { EXPECT_EQ("", line()); }

TEST_F(WebSeedSummaryTest, SeparatesTexts) {
  Add(0, "http://a/");
  Add(1, "http://b/");
  Add(2, "");
  Add(3, "c");
  EXPECT_EQ("http://a/, http://b/, , c", line());
}

TEST_F(WebSeedSummaryTest, SeparatesByTheIndexAlone) {
  Add(3, "a");
  Add(0, "b");
  EXPECT_EQ(", ab", line());
}

TEST_F(WebSeedSummaryTest, TakesATextThatLeavesThreeCharacters) {
  Add(0, std::string(1015, 'x'));
  EXPECT_EQ(std::string(1015, 'x'), line());
}

TEST_F(WebSeedSummaryTest, ReplacesATextThatLeavesFewer) {
  Add(0, std::string(1016, 'x'));
  EXPECT_EQ(", ...", line());
}

TEST_F(WebSeedSummaryTest, EndsInsideTheBuffer) {
  Add(0, std::string(1015, 'x'));
  Add(1, "");  // needs less than the three characters that are left
  Add(2, "");
  EXPECT_EQ(std::string(1015, 'x') + ", , ...", line());
}

TEST_F(WebSeedSummaryTest, TakesNothingAfterTheEnd) {
  Add(0, std::string(2000, 'x'));
  Add(1, "a");
  EXPECT_EQ(", ...", line());
}

TEST_F(WebSeedSummaryTest, EndsAfterAllButOneOfTheCharactersGivenOut) {
  Add(0, std::string(1000, 'x'));
  Add(1, std::string(13, 'y'));
  EXPECT_EQ(std::string(1000, 'x') + ", " + std::string(13, 'y'), line());
  Add(2, "");
  EXPECT_EQ(std::string(1000, 'x') + ", " + std::string(13, 'y') + ", ", line());
  Add(3, "z");
  EXPECT_EQ(std::string(1000, 'x') + ", " + std::string(13, 'y') + ", , ...", line());
}

TEST_F(WebSeedSummaryTest, CountsTextBehindAZeroByteButDoesNotShowIt) {
  Add(0, encoded::Bytes("ab\0cd"));
  Add(1, "e");
  EXPECT_EQ("ab", line());
}

TEST_F(WebSeedSummaryTest, SurvivesMoreTextsThanFit) {
  for (size_t i = 0; i < 5000; ++i) {
    Add(i, "");
  }
  // The first text takes nothing and 508 more take a separator each: two characters are left then.
  EXPECT_EQ(508u * 2 + 5, line().size());
  EXPECT_EQ(", ...", line().substr(508 * 2));
}

}  // namespace
