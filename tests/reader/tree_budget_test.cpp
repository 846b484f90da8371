#include "QuickLookPlugin/tree_budget.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <stdint.h>
#include <time.h>

#include <string>
#include <string_view>

#include "QuickLookPlugin/limits.h"
#include "core/bencode/bencoding.h"
#include "tests/reader/encoded.h"
#include "tests/support/exact_bytes.h"

namespace {

using encoded::Str;

bool Fits(std::string_view text, size_t budget) {
  const ExactBytes in(text);
  return reader::TreeFitsBudget(in.begin(), in.end(), budget);
}

std::string Times(size_t n, std::string_view text) {
  std::string all;
  for (size_t i = 0; i < n; ++i) {
    all += text;
  }
  return all;
}

TEST(TreeBudget, GrowsWithTheFileUpToTheCap) {
  constexpr size_t kMiB = size_t{1} << 20;
  EXPECT_EQ(64 * kMiB, reader::TreeBudget(0));
  EXPECT_EQ(64 * kMiB + 64, reader::TreeBudget(1));
  EXPECT_EQ(128 * kMiB, reader::TreeBudget(kMiB));
  EXPECT_EQ(1024 * kMiB - 64, reader::TreeBudget(15 * kMiB - 1));
  EXPECT_EQ(1024 * kMiB, reader::TreeBudget(15 * kMiB));
  EXPECT_EQ(1024 * kMiB, reader::TreeBudget(15 * kMiB + 1));
  EXPECT_EQ(1024 * kMiB, reader::TreeBudget(SIZE_MAX));
}

// What the parts cost: 48 for a list's record and 272 for its first slots, 64 for a dictionary's, 24
// for each level, 48 per element as long as its list is open, 112 per entry, 48 per string, and for
// bytes whole units of 16 with the terminator and 16 more.
TEST(TreeFitsBudget, AddsUpThePeak) {
  constexpr size_t kList = 48 + 272;
  constexpr size_t kDict = 64;
  constexpr size_t kLevel = 24;
  constexpr size_t kShort = 16 + 16;  // bytes of up to 15
  struct Case {
    const char* name;
    std::string text;
    size_t peak;
  };
  const Case kCases[] = {
      {"empty list", "le", kList + kLevel},
      {"empty dictionary", "de", kDict + kLevel},
      {"an integer", "li1ee", kList + kLevel + 48},
      {"a string", "l1:ae", kList + kLevel + 48 + 48 + kShort},
      {"a string of 15", "l" + Str(std::string(15, 'x')) + "e", kList + kLevel + 48 + 48 + 32},
      {"a string of 16", "l" + Str(std::string(16, 'x')) + "e", kList + kLevel + 48 + 48 + 48},
      {"an entry", "d1:ai1ee", kDict + kLevel + 112 + kShort},
      {"an entry with a long key", "d" + Str(std::string(16, 'k')) + "i1ee", kDict + kLevel + 112 + 48},
      {"an entry with a string", "d1:a1:be", kDict + kLevel + 112 + kShort + 48 + kShort},
      {"nested lists", "llee", 2 * (kList + kLevel) + 48},
      {"a closed list gives its slots back", "d1:ale1:blee", kDict + 2 * kLevel + 2 * (112 + kShort) + 48 + kList},
      {"and keeps what it needs", "d1:ali1ei2ee1:blee",
       kDict + 2 * kLevel + 2 * (112 + kShort) + (48 + 2 * 16 + 16) + kList},
      {"of 16 elements too", "d1:al" + Times(16, "ie") + "e1:bl" + Times(40, "ie") + "ee",
       kDict + 2 * kLevel + 2 * (112 + kShort) + (48 + 16 * 16 + 16) + (kList + 40 * 48)},
      {"but beyond 16 not the first slots", "d1:al" + Times(17, "ie") + "e1:bl" + Times(40, "ie") + "ee",
       kDict + 2 * kLevel + 2 * (112 + kShort) + (kList + 17 * 16 + 16) + (kList + 40 * 48)},
      {"not when it holds containers", "d1:allee1:blee",
       kDict + 3 * kLevel + 2 * (112 + kShort) + (kList + 48 + 48) + kList},
      {"not when a bad byte closes it", "d1:al?1:blee", kDict + 2 * kLevel + 2 * (112 + kShort) + 2 * kList},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_FALSE(Fits(c.text, c.peak - 1));
    EXPECT_TRUE(Fits(c.text, c.peak));
    EXPECT_TRUE(Fits(c.text, c.peak + 1));
  }
}

bool Decodes(std::string_view text) {
  const ExactBytes in(text);
  core::BencEntity root;
  const bool ok = core::BencEntity::Parse(in.begin(), root, in.end()) != nullptr;
  root.FreeMembers();
  return ok;
}

// Every text of up to seven characters; none is long enough for a dictionary with the same key twice,
// which is the only mistake that the look-ahead leaves to the decoder.
TEST(TreeFitsBudget, AcceptsWhatTheDecoderAccepts) {
  constexpr std::string_view kAlphabet = "deli1:?";
  size_t accepted = 0;
  std::string text;
  for (size_t len = 0; len <= 7; ++len) {
    size_t texts = 1;
    for (size_t i = 0; i < len; ++i) {
      texts *= kAlphabet.size();
    }
    for (size_t n = 0; n < texts; ++n) {
      text.clear();
      for (size_t rest = n; text.size() < len; rest /= kAlphabet.size()) {
        text += kAlphabet[rest % kAlphabet.size()];
      }
      const bool decodes = Decodes(text);
      ASSERT_EQ(decodes, Fits(text, SIZE_MAX)) << text;
      accepted += decodes ? 1 : 0;
    }
  }
  EXPECT_LT(10000u, accepted);
}

TEST(TreeFitsBudget, LeavesEqualKeysToTheDecoder) {
  EXPECT_TRUE(Fits("d1:ai1e1:ai1ee", SIZE_MAX));
  EXPECT_FALSE(Decodes("d1:ai1e1:ai1ee"));
}

TEST(TreeFitsBudget, FollowsDeepNesting) {
  constexpr size_t kDepth = 100000;
  const std::string open = Times(kDepth, "ld1:a");
  const std::string close = Times(kDepth, "ee");
  EXPECT_TRUE(Fits(open + "i1e" + close, SIZE_MAX));
  EXPECT_FALSE(Fits(open + "i1e" + close.substr(1), SIZE_MAX));
}

TEST(TreeFitsBudget, ReadsALongMalformedLengthInManyListsOnce) {
  constexpr size_t kLists = 200'000;
  const std::string text = Times(kLists, "l") + std::string(kLists, '1');
  const clock_t start = clock();
  EXPECT_TRUE(Fits(text, SIZE_MAX));
  EXPECT_LT(clock() - start, 4 * CLOCKS_PER_SEC);
}

TEST(TreeFitsBudget, RefusesDenseNesting) {
  const std::string lists = Times(4000000, "l");
  EXPECT_FALSE(Fits(lists + Times(4000000, "e"), reader::TreeBudget(2 * lists.size())));
  EXPECT_FALSE(Fits(lists, reader::TreeBudget(lists.size())));
}

// A million files in as few bytes as the format allows for a path of two components.
TEST(TreeFitsBudget, GrantsAMillionFiles) {
  const std::string text = "d4:infod5:filesl" +
                           Times(1000000,
                                 "d6:lengthi1e4:pathl4:dir12:ab"
                                 "ee") +
                           "eee";
  EXPECT_TRUE(Fits(text, reader::TreeBudget(text.size())));
}

TEST(TreeFitsBudget, WeighsAFileInAFolderAt660Bytes) {
  const std::string text = "d4:infod5:filesl" + Times(10000, "d6:lengthi1048576e4:pathl3:dir10:file01.txtee") + "eee";
  EXPECT_TRUE(Fits(text, 6'600'000));
  EXPECT_FALSE(Fits(text, 6'500'000));
}

TEST(TreeFitsBudget, GrantsAMillionFilesWithTwoNames) {
  const std::string file = "d6:lengthi123456789e4:pathl10:directory18:file.txte10:path.utf-8l10:directory18:file.txtee";
  const std::string text = "d4:infod5:filesl" + Times(1000000, file) + "eee";
  EXPECT_TRUE(Fits(text, reader::TreeBudget(text.size())));
}

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

size_t HeapInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

// The bytes that the decoded tree of `text` takes from the platform.
size_t TreeSize(const std::string& text) {
  const ExactBytes in(text);
  core::BencEntity root;
  const size_t before = HeapInUse();
  EXPECT_NE(nullptr, core::BencEntity::Parse(in.begin(), root, in.end()));
  const size_t after = HeapInUse();
  root.FreeMembers();
  return after - before;
}

TEST(TreeFitsBudget, EstimatesAboveWhatTheTreeTakes) {
  constexpr size_t kCount = 20000;
  std::string keys;
  for (size_t i = 0; i < kCount; ++i) {
    keys += Str(std::to_string(i)) + "le";
  }
  const struct {
    const char* name;
    std::string text;
  } kCases[] = {
      {"nested lists", Times(kCount, "l") + Times(kCount, "e")},
      {"nested dictionaries", Times(kCount, "d0:") + "de" + Times(kCount, "e")},
      {"nested lists in dictionaries", Times(kCount, "d0:l") + Times(kCount, "ee")},
      {"lists of lists", "l" + Times(kCount, "le") + "e"},
      {"lists of one", "l" +
                           Times(kCount,
                                 "lie"
                                 "e") +
                           "e"},
      {"lists of 16", "l" + Times(kCount / 16, "l" + Times(16, "ie") + "e") + "e"},
      {"lists of 17", "l" + Times(kCount / 17, "l" + Times(17, "ie") + "e") + "e"},
      {"lists closed by a bad byte", "l" + Times(kCount, "l?") + "e"},
      {"lists of one closed by a bad byte", "l" + Times(kCount, "lie??") + "e"},
      {"lists of a list", "l" + Times(kCount, "llee") + "e"},
      {"integers", "l" + Times(kCount, "ie") + "e"},
      {"empty strings", "l" + Times(kCount, "0:") + "e"},
      {"short strings", "l" + Times(kCount, "3:abc") + "e"},
      {"strings of 100", "l" + Times(kCount / 10, Str(std::string(100, 'x'))) + "e"},
      {"dictionaries", "l" + Times(kCount, "de") + "e"},
      {"dictionaries of one", "l" + Times(kCount, "d0:iee") + "e"},
      {"keys", "d" + keys + "e"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_FALSE(Fits(c.text, TreeSize(c.text)));
  }
}

#endif

}  // namespace
