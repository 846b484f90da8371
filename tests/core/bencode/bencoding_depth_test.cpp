// Hostile shapes: nesting without end, containers without end, and inputs that invite the decoder to
// read the same bytes again and again.
#include <gtest/gtest.h>
#include <time.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "core/bencode/bencoding.h"
#include "tests/support/benc_peek.h"
#include "tests/support/benc_tree.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/repeat.h"
#include "tests/support/small_stack.h"
#include "tests/support/test_host.h"

namespace {

using core::BencEntity;
using core::BencodedDict;
using core::BencodedList;
using core::BencParser;
using core::FixedInput;

using namespace std::string_literals;

constexpr ptrdiff_t kDeep = 1'000'000;
constexpr ptrdiff_t kMany = 100'000;

const unsigned char* ParseCopying(ExactBytes& in, BencEntity& root) {
  return BencEntity::Parse(in.begin(), root, in.end());
}
const unsigned char* ParseBorrowing(ExactBytes& in, BencEntity& root) {
  return BencEntity::ParseInPlace(in.data(), root, in.end());
}
const unsigned char* ParseForAnElement(ExactBytes& in, BencEntity& root) {
  core::ReturnElementRgn range;
  return BencEntity::Parse(in.begin(), root, in.end(), "info", &range);
}
const unsigned char* ParseByTokens(ExactBytes& in, BencEntity& root) {
  core::AllocateMemRegime regime;
  FixedInput<BencParser> parser(in.begin(), in.end());
  return BencEntity::DoParse(root, &parser, &regime) ? parser.position() : nullptr;
}
using Decode = const unsigned char* (*)(ExactBytes&, BencEntity&);
const Decode kDecodes[] = {ParseCopying, ParseBorrowing, ParseForAnElement, ParseByTokens};

class BencodingDepth : public BencTest {
 protected:
  // Decodes and frees on a small stack in every way; each must stop at `end` bytes, or fail for -1.
  static void ExpectEnd(std::string_view input, ptrdiff_t end) {
    for (size_t way = 0; way < std::size(kDecodes); ++way) {
      OnSmallStack([=] {
        SCOPED_TRACE(way);
        ExactBytes in(input);
        BencEntity root;
        const unsigned char* got = kDecodes[way](in, root);
        EXPECT_EQ(end, got ? static_cast<ptrdiff_t>(reinterpret_cast<uintptr_t>(got) -
                                                    reinterpret_cast<uintptr_t>(in.begin()))
                           : -1);
        EXPECT_EQ(end < 0, root.GetType() == core::BENC_NONE);
        root.FreeMembers();
        EXPECT_EQ(core::BENC_NONE, root.GetType());
      });
    }
  }
  static void ExpectWhole(std::string_view input) { ExpectEnd(input, static_cast<ptrdiff_t>(input.size())); }
};

TEST_F(BencodingDepth, AMillionNestedListsDecodeAndGo) { ExpectWhole(Nest("l", "", "e", kDeep)); }

TEST_F(BencodingDepth, AMillionNestedDictionariesDecodeAndGo) { ExpectWhole(Nest("d1:a", "de", "e", kDeep)); }

TEST_F(BencodingDepth, NestedContainersOfBothKindsWithNeighboursDecodeAndGo) {
  ExpectWhole(Nest("li1ed1:a1:x1:b", "le", "1:ci1ee1:ye", kMany));
}

TEST_F(BencodingDepth, NestedDictionariesInDescendingKeysDecodeAndGo) {
  ExpectWhole(Nest("d1:bi1e1:a", "le", "1:cle1:0i1ee", kMany));
}

TEST_F(BencodingDepth, ManyOpenContainersFailAndGo) {
  ExpectEnd(Repeat("l", kMany), -1);
  ExpectEnd(Repeat("d1:a", kMany), -1);
  ExpectEnd(Repeat("li1e1:x", kMany), -1);
}

TEST_F(BencodingDepth, ManyListsCloseAtOneBadString) {
  ExpectEnd(Repeat("l", kMany) + "1", kMany);
  ExpectEnd(Repeat("l", kMany) + "1:", kMany + 3);
  ExpectEnd(Repeat("li1e", kMany) + "1x", kMany * 4);
}

TEST_F(BencodingDepth, ADeepTreeIsAllThere) {
  BencTreeOf tree(Nest("li7ed1:a", "i9e", "1:bi8eee", kMany));
  BencEntity* value = &tree.root;
  for (ptrdiff_t level = 0; level < kMany; ++level) {
    ASSERT_EQ(core::BENC_LIST, value->GetType());
    auto& list = static_cast<BencodedList&>(*value);
    ASSERT_EQ(2u, list.GetCount());
    ASSERT_EQ(7, list.GetInt(0, 0));
    BencodedDict* dict = list.GetDict(1);
    ASSERT_NE(nullptr, dict);
    ASSERT_EQ(8, dict->GetInt("b", 0));
    value = dict->Get("a");
    ASSERT_NE(nullptr, value);
  }
  EXPECT_EQ(9, value->GetInt64(0));
}

TEST_F(BencodingDepth, FreeingAsksForNoMemory) {
  const std::string inputs[] = {Nest("l", "", "e", 10'000), Nest("d1:a", "de", "e", 10'000),
                                Nest("li1ed1:a1:x1:b", "le", "1:ci1ee1:ye", 10'000),
                                "l" + Repeat("d1:ai1e1:bl1:xee", 10'000) + "e", "l" + Repeat("0:", 10'000) + "e"};
  for (const std::string& input : inputs) {
    SCOPED_TRACE(input.substr(0, 20));
    for (Decode decode : kDecodes) {
      ExactBytes in(input);
      BencEntity root;
      ASSERT_EQ(in.end(), decode(in, root));
      const long attempts = test_host::AllocationAttempts();
      root.FreeMembers();
      EXPECT_EQ(attempts, test_host::AllocationAttempts());
    }
  }
}

void MakeNestedVList(void*, size_t, BencEntity* out) { out->SetVList(MakeNestedVList, 1, nullptr); }

TEST_F(BencodingDepth, NestedVirtualListsGoWithoutRecursion) {
  OnSmallStack([] {
    BencEntity root;
    MakeNestedVList(nullptr, 0, &root);
    BencEntity* value = &root;
    for (ptrdiff_t level = 0; level < kMany; ++level) {
      value = static_cast<BencodedList*>(value)->Get(0);
    }
    root.FreeMembers();
  });
}

void MakeListOfVList(void*, size_t, BencEntity* out) {
  ExactBytes in("li0ed1:ai0eee");
  BencEntity::Parse(in.begin(), *out, in.end());
  BencEntity* element = static_cast<BencodedList*>(out)->GetDict(1)->Get("a");
  element->FreeMembers();
  element->SetVList(MakeListOfVList, 1, nullptr);
}

TEST_F(BencodingDepth, VirtualListsBetweenContainersGoWithoutRecursion) {
  OnSmallStack([] {
    BencEntity root;
    MakeListOfVList(nullptr, 0, &root);
    BencEntity* value = &root;
    for (ptrdiff_t level = 0; level < kMany; ++level) {
      value = static_cast<BencodedList*>(value)->GetDict(1)->Get("a");
      value = static_cast<BencodedList*>(value)->Get(0);
    }
    root.FreeMembers();
  });
}

TEST_F(BencodingDepth, MovingTheInnermostValueOutLeavesTheRestToBeFreed) {
  BencEntity kept;
  OnSmallStack([&] {
    ExactBytes in(Nest("l", "i1e3:abc", "e", kDeep));
    BencEntity root;
    ASSERT_EQ(in.end(), BencEntity::Parse(in.begin(), root, in.end()));
    BencEntity* value = &root;
    for (ptrdiff_t level = 1; level < kDeep; ++level) {
      value = static_cast<BencodedList*>(value)->Get(0);
    }
    kept.MoveFrom(*value);
    root.FreeMembers();
  });
  EXPECT_STREQ("abc", static_cast<BencodedList&>(kept).GetString(1, nullptr));
  kept.FreeMembers();
}

// Fails when `work` takes more processor time than any linear pass over such inputs needs.
template <class Work>
void ExpectQuick(Work work) {
  const clock_t start = clock();
  work();
  EXPECT_LT(clock() - start, 4 * CLOCKS_PER_SEC);
}

TEST_F(BencodingDepth, OneLongMalformedLengthInManyListsIsReadOnce) {
  constexpr ptrdiff_t kLists = 2 * kMany;
  ExpectQuick([] { ExpectEnd("d1:a" + Repeat("l", kLists) + Repeat("1", kLists), -1); });
  ExpectQuick([] { ExpectEnd(Repeat("l", kLists) + Repeat("1", kLists), kLists); });
  ExpectQuick([] { ExpectEnd(Repeat("l", kLists) + Repeat("1", kLists) + "x", kLists); });
  ExpectQuick([] { ExpectEnd(Repeat("li1e", kLists) + Repeat("1", kLists), kLists * 4); });
}

TEST_F(BencodingDepth, BadBytesInManyListsAreReadOnce) {
  ExpectQuick([] { ExpectEnd(Repeat("l", kMany) + Repeat("?", kMany), kMany * 2); });
  ExpectQuick([] { ExpectWhole("l" + Repeat("i1e?", kMany) + "e"); });
}

TEST_F(BencodingDepth, ALongListKeepsItsOrder) {
  std::string input = "l";
  for (ptrdiff_t i = 0; i < kMany; ++i) {
    input += "i" + std::to_string(i) + "e";
  }
  BencTreeOf tree(input + "e");
  ASSERT_EQ(size_t{kMany}, tree.list().GetCount());
  EXPECT_EQ(size_t{kMany}, BencPeek::List(tree.root).capacity);
  for (ptrdiff_t i = 0; i < kMany; ++i) {
    ASSERT_EQ(static_cast<int>(i), tree.list().GetInt(static_cast<size_t>(i), -1));
  }
}

// A dictionary of these keys, each with its place as value; every third value stands in a list.
std::string EncodeInOrder(const std::vector<std::string>& keys) {
  std::string out = "d";
  for (size_t i = 0; i < keys.size(); ++i) {
    out += std::to_string(keys[i].size()) + ":" + keys[i];
    out += (i % 3 == 0 ? "li" : "i") + std::to_string(i) + (i % 3 == 0 ? "ee" : "e");
  }
  return out + "e";
}

void ExpectAllKeys(const std::vector<std::string>& keys) {
  BencTreeOf tree(EncodeInOrder(keys));
  ASSERT_EQ(tree.bytes.end(), tree.end);
  for (size_t i = 0; i < keys.size(); ++i) {
    BencodedList* list = tree.dict().GetList(keys[i].c_str());
    ASSERT_EQ(i % 3 == 0, list != nullptr);
    ASSERT_EQ(static_cast<int>(i), list ? list->GetInt(0, -1) : tree.dict().GetInt(keys[i].c_str(), -1));
    ASSERT_EQ(nullptr, tree.dict().Get((keys[i] + "x").c_str()));
  }
}

TEST_F(BencodingDepth, ManyKeysAreFoundAndQuickInAnyOrder) {
  constexpr unsigned kSeed = 42;
  SCOPED_TRACE(kSeed);
  std::vector<std::string> keys;
  for (int i = 0; i < 50'000; ++i) {
    keys.push_back(std::to_string(i));
  }
  std::sort(keys.begin(), keys.end());
  ExpectQuick([&] { ExpectAllKeys(keys); });
  std::reverse(keys.begin(), keys.end());
  ExpectQuick([&] { ExpectAllKeys(keys); });
  std::shuffle(keys.begin(), keys.end(), std::mt19937(kSeed));
  ExpectQuick([&] { ExpectAllKeys(keys); });
  std::sort(keys.begin(), keys.end());
  std::rotate(keys.begin(), keys.begin() + 25'000, keys.end());
  ExpectQuick([&] { ExpectAllKeys(keys); });
}

TEST_F(BencodingDepth, AFailureAfterManyKeysFreesThem) {
  std::vector<std::string> keys;
  for (int i = 0; i < 50'000; ++i) {
    keys.push_back(std::to_string(i * 7919 % 50'000));
  }
  std::string input = EncodeInOrder(keys);
  input.back() = '?';
  ExpectEnd(input, -1);
}

}  // namespace
