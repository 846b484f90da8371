// Faults that readers of this format have had, each as the smallest file that shows it.
#include <gtest/gtest.h>

#include <memory>

#include "QuickLookPlugin/tree_budget.h"
#include "core/bencode/bencoding.h"
#include "core/bencode/bencparser.h"
#include "tests/hostile/counted_memory.h"
#include "tests/hostile/importing.h"
#include "tests/hostile/shapes.h"
#include "tests/reader/encoded.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/page_end.h"
#include "tests/support/repeat.h"
#include "tests/support/small_stack.h"
#include "tests/support/temp_folder.h"

namespace hostile {
namespace {

class OtherReaders : public ::testing::Test {
 protected:
  bool Imports(const std::string& bytes) const {
    const std::string path = folder_.Write("a.torrent", bytes);
    bool imported = false;
    OnFoundationThread(kSmallStack, [&] { imported = Import(path); });
    return imported;
  }

  const TempFolder folder_;
};

bool Decodes(std::string_view bytes) {
  PageEndBytes in(bytes);
  core::BencEntity root;
  const bool decoded = core::BencEntity::Parse(in.begin(), root, in.end()) != nullptr;
  root.FreeMembers();
  return decoded;
}

// The most memory that a failing decode takes on its way.
size_t PeakOfFailure(std::string_view bytes) {
  PageEndBytes in(bytes);
  const MemoryCount count;
  core::BencEntity root;
  EXPECT_EQ(nullptr, core::BencEntity::Parse(in.begin(), root, in.end()));
  root.FreeMembers();
  EXPECT_EQ(0, count.Use().left);
  return count.Use().peak;
}

TEST_F(OtherReaders, ReadPastACutList) {
  for (const char* bytes : {"l", "l1:a", "ll", "lle", "li1e"}) {
    EXPECT_FALSE(Decodes(bytes)) << bytes;
    EXPECT_FALSE(Imports(bytes)) << bytes;
  }
}

TEST_F(OtherReaders, ReadPastACutDictionary) {
  for (const char* bytes : {"d", "d1:a", "d1:ad", "d1:ade", "d1:ai1e", "d1:", "d1"}) {
    EXPECT_FALSE(Decodes(bytes)) << bytes;
    EXPECT_FALSE(Imports(bytes)) << bytes;
  }
}

TEST_F(OtherReaders, ReadPastACutInteger) {
  for (const char* bytes : {"i", "i1", "li", "li1", "li-", "d1:ai", "d1:ai1"}) {
    EXPECT_FALSE(Decodes(bytes)) << bytes;
    EXPECT_FALSE(Imports(bytes)) << bytes;
  }
}

TEST_F(OtherReaders, AddedOneToTheLargestLengthAndGotZero) {
  for (const char* length : {"4294967295", "18446744073709551615"}) {
    const std::string bytes = std::string("d1:a").append(length).append(":xyze");
    EXPECT_FALSE(Decodes(bytes)) << length;
    EXPECT_FALSE(Imports(bytes)) << length;
    EXPECT_GE(4096u, PeakOfFailure(bytes)) << length;
  }
}

TEST_F(OtherReaders, TookFourGigabytesForTwentySixBytes) {
  const std::string bytes = "d8:announce4294967295:abce";
  ASSERT_EQ(26u, bytes.size());
  EXPECT_GE(4096u, PeakOfFailure(bytes));
  EXPECT_FALSE(Imports(bytes));
}

// It is four bytes in arithmetic of 64 bits and nothing else; in that of 32 bits the string is too long.
TEST_F(OtherReaders, TookALengthThatWrapsToFourForAnother) {
  EXPECT_TRUE(Decodes("d1:a18446744073709551620:wxyze"));
  EXPECT_TRUE(Imports(TorrentWith("1:a18446744073709551620:wxyz")));
  EXPECT_FALSE(Decodes("d1:a18446744073709551620:wxye"));
  EXPECT_FALSE(Decodes("d1:a4294967300:wxyze"));
  EXPECT_FALSE(Imports(TorrentWith("1:a4294967300:wxyz")));
}

TEST_F(OtherReaders, OverflowedTheStackOnTwentyKilobytesOfLists) {
  constexpr size_t kLists = 20'000;
  OnSmallStack([] {
    EXPECT_FALSE(Decodes(Repeat("l", kLists)));
    EXPECT_TRUE(Decodes(Nest("l", "", "e", kLists)));
  });
  EXPECT_FALSE(Imports(Repeat("l", kLists)));
  EXPECT_FALSE(Imports("d1:a" + Repeat("l", kLists)));
  EXPECT_TRUE(Imports(TorrentWith("1:a" + Nest("l", "", "e", kLists))));
}

TEST_F(OtherReaders, BufferedDigitsWithoutAnEnd) {
  constexpr size_t kDigits = 4'000'000;
  for (const char* head : {"d", "d1:a", "d1:ai", "li"}) {
    const std::string bytes = head + Repeat("1", kDigits);
    EXPECT_GE(4096u, PeakOfFailure(bytes)) << head;
    EXPECT_FALSE(Imports(bytes)) << head;
  }
}

// A tokenizer that fails the test, and ends the input, when it is asked for ever.
class PatientParser : public core::BencParser {
 public:
  PatientParser(const unsigned char* begin, const unsigned char* end)
      : BencParser(begin, end), left_(2 * static_cast<size_t>(end - begin) + 1) {}
  PARSE_T ParseNext(const unsigned char** text, size_t* len) override {
    if (left_ == 0) {
      patient_ = false;
      return PARSE_EOF;
    }
    --left_;
    return BencParser::ParseNext(text, len);
  }
  bool patient() const { return patient_; }

 private:
  size_t left_;
  bool patient_ = true;
};

// All texts of up to seven characters. A byte is a token, and a list that a bad one closes sees it again.
TEST_F(OtherReaders, WentRoundForEverInADecode) {
  constexpr std::string_view kAlphabet = "dlei1:-";
  constexpr size_t kLongest = HOSTILE_DIVISOR > 4 ? 5 : 7;
  std::string text;
  const auto check = [&](auto& self) -> void {
    const ExactBytes in(text);
    PatientParser parser(in.begin(), in.end());
    core::AllocateMemRegime regime;
    core::BencEntity root;
    core::BencEntity::DoParse(root, &parser, &regime);
    root.FreeMembers();
    ASSERT_TRUE(parser.patient()) << text;
    for (size_t i = 0; i < kAlphabet.size() && text.size() < kLongest; ++i) {
      text.push_back(kAlphabet[i]);
      self(self);
      text.pop_back();
    }
  };
  check(check);
}

TEST_F(OtherReaders, UsedValuesAfterTheirInputWasGone) {
  auto in = std::make_unique<ExactBytes>(TorrentWith("1:al3:abci7ed1:kl1:veee"));
  core::BencodedDict root;
  ASSERT_NE(nullptr, core::BencEntity::Parse(in->begin(), root, in->end()));
  in.reset();
  const core::BencodedList* list = root.GetList("a");
  ASSERT_NE(nullptr, list);
  EXPECT_STREQ("abc", list->GetString(size_t{0}, nullptr));
  EXPECT_EQ(7, list->GetInt(1, 0));
  EXPECT_STREQ("v", list->GetDict(2)->GetList("k")->GetString(size_t{0}, nullptr));
  root.FreeMembers();
}

TEST_F(OtherReaders, UsedValuesAfterTheirParentWasFreed) {
  const MemoryCount count;
  {
    const ExactBytes in("ll3:abcei7ed1:kl1:veee");
    core::BencodedList root;
    ASSERT_NE(nullptr, core::BencEntity::Parse(in.begin(), root, in.end()));
    core::BencodedList first;
    core::BencodedDict last;
    first.MoveFrom(*root.GetList(size_t{0}));
    last.MoveFrom(*root.GetDict(2));
    root.FreeMembers();
    EXPECT_EQ(core::BENC_NONE, root.GetType());
    EXPECT_STREQ("abc", first.GetString(size_t{0}, nullptr));
    EXPECT_STREQ("v", last.GetList("k")->GetString(size_t{0}, nullptr));
    first.FreeMembers();
    last.FreeMembers();
    last.FreeMembers();
  }
  EXPECT_EQ(0, count.Use().left);
}

TEST_F(OtherReaders, RefusedHonestTorrentsOfManyFiles) {
  constexpr size_t kDivisor = HOSTILE_DIVISOR > 4 ? HOSTILE_DIVISOR : 1;
  for (const size_t files : {300'000 / kDivisor, 1'000'000 / kDivisor}) {
    const std::string path = folder_.Write("a.torrent", HonestFiles(files));
    std::optional<Attributes> attributes;
    OnFoundationThread(kSmallStack, [&] { attributes = Read(path); });
    ASSERT_TRUE(attributes) << files;
    ASSERT_EQ(files, attributes->names.size());
    for (size_t i = 0; i < files; ++i) {
      ASSERT_EQ(HonestName(i), attributes->names[i]);
    }
  }
}

}  // namespace
}  // namespace hostile
