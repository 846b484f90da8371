#include <gtest/gtest.h>
#include <stddef.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "core/bencode/bencarray.h"
#include "core/bencode/bencoding.h"
#include "core/containers/templates_map.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/platform_memory.h"

namespace core {
namespace {

using std::string_view_literals::operator""sv;

// --- the keys ---

// A key in memory of exactly its size.
struct Key {
  explicit Key(std::string_view text, bool borrowed = false) : bytes(text) {
    if (borrowed) {
      array.Borrow(bytes.chars(), text.size());
    } else {
      array.Assign(bytes.chars(), text.size());
    }
  }
  ExactBytes bytes;
  BencArray<char> array;
};

// How `a` stands to `b`: '<', '>' or '='.
char Order(std::string_view a, std::string_view b) {
  const Key x(a, true);
  const Key y(b, true);
  EXPECT_FALSE(x.array < y.array && y.array < x.array);
  return x.array < y.array ? '<' : y.array < x.array ? '>' : '=';
}

TEST(BencArrayOrder, IsThatOfTheBytesAndThenTheShorterFirst) {
  struct Case {
    std::string_view a;
    char order;
    std::string_view b;
  };
  const Case kCases[] = {
      {"", '=', ""},
      {"", '<', "a"},
      {"a", '<', "b"},
      {"ab", '<', "abc"},
      {"abd", '>', "abc"},
      {"b", '>', "abc"},
      {"abc", '=', "abc"},
      {"\x7f", '<', "\x80"},
      {"\xff", '>', "a"},
      {"\0"sv, '>', ""},
      {"\0"sv, '<', "\1"},
      {"a\0b"sv, '=', "a\0c"sv},
      {"a\0c"sv, '=', "a\0b"sv},
      {"a\0b"sv, '<', "a\0ac"sv},
      {"a\0zz"sv, '>', "a\0b"sv},
      {"a\0b"sv, '<', "ab\0"sv},
      {"\0x"sv, '=', "\0y"sv},
      {"a\0"sv, '<', "a\0\0"sv},
      {"ab\0x"sv, '>', "aa\0y"sv},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(testing::PrintToString(c.a) + " and " + testing::PrintToString(c.b));
    EXPECT_EQ(c.order, Order(c.a, c.b));
    EXPECT_EQ(c.order == '<' ? '>' : c.order == '>' ? '<' : '=', Order(c.b, c.a));
  }
}

TEST(BencArrayCopy, OfOwnedBytesOwnsATerminatedCopy) {
  const long live = test_host::LiveBlocks();
  {
    const Key key("a\0bc"sv);
    const BencArray<char> copy(key.array);
    EXPECT_NE(copy.data, key.array.data);
    EXPECT_EQ("a\0bc\0"sv, std::string_view(copy.begin(), 5));
    EXPECT_EQ(4, copy.count);
    EXPECT_EQ(16u, copy.capacity);
    EXPECT_FALSE(copy.borrowed);
  }
  EXPECT_EQ(live, test_host::LiveBlocks());
}

TEST(BencArrayCopy, OfOwnedBytesReservesExactlyTheTerminatorMore) {
  for (size_t len : {15u, 16u, 100u}) {
    const Key key(std::string(len, 'x'));
    const BencArray<char> copy(key.array);
    EXPECT_EQ(len + 1, copy.capacity);
    EXPECT_EQ('\0', copy.begin()[len]);
  }
}

TEST(BencArrayCopy, OfNoBytesIsOneTerminator) {
  const BencArray<unsigned char> empty;
  const BencArray<unsigned char> copy(empty);
  EXPECT_EQ(0, copy.count);
  EXPECT_EQ(16u, copy.capacity);
  EXPECT_EQ(0, copy.data[0]);
}

TEST(BencArrayCopy, OfBorrowedBytesBorrowsTheSame) {
  const long live = test_host::LiveBlocks();
  ExactBytes bytes("abcdef");
  {
    BencArray<char> key;
    key.Borrow(bytes.chars(), 6);
    key.count = 4;
    const BencArray<char> copy(key);
    EXPECT_EQ(bytes.begin(), copy.data);
    EXPECT_EQ(4, copy.count);
    EXPECT_EQ(4u, copy.capacity);
    EXPECT_TRUE(copy.borrowed);
    EXPECT_EQ(live, test_host::LiveBlocks());
  }
  EXPECT_EQ("abcdef", bytes.view());
  EXPECT_EQ(live, test_host::LiveBlocks());
}

// --- the dictionary's map ---

// Fails a test that leaves blocks of the library behind.
class DictMap : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(blocks_, test_host::LiveBlocks()); }

  static BencEntity Number(const char* text) {
    BencEntity value;
    value.ParseNum(reinterpret_cast<const unsigned char*>(text));
    return value;
  }
  // Inserts a string value, which owns memory.
  static BencDictMap::Inserted Add(BencDictMap& map, std::string_view key) {
    BencEntityMem value;
    return map.insert(Key(key).array, value);
  }
  static std::vector<std::string> Keys(const BencDictMap& map) {
    std::vector<std::string> keys;
    for (const auto& pair : map) {
      keys.emplace_back(pair.first.begin(), pair.first.size());
    }
    return keys;
  }

 private:
  long blocks_ = test_host::LiveBlocks();
};

TEST_F(DictMap, PairCopiesItsKeyAndMovesItsValue) {
  const Key key("name");
  BencEntity value = Number("7");
  const BencDictMap::value_type pair(key.array, value);
  EXPECT_EQ(BENC_NONE, value.GetType());
  EXPECT_NE(key.array.data, pair.first.data);
  EXPECT_EQ("name", std::string_view(pair.first.begin(), pair.first.size()));
  EXPECT_EQ(7, pair.second.GetInt(0));
}

TEST_F(DictMap, PairOfAConstantPairMovesItsValueToo) {
  const Key key("name");
  BencEntity value = Number("7");
  const BencDictMap::value_type source(key.array, value);
  const BencDictMap::value_type pair(source);
  EXPECT_EQ(BENC_NONE, source.second.GetType());
  EXPECT_EQ(7, pair.second.GetInt(0));
  EXPECT_EQ(4, source.first.count);
}

TEST_F(DictMap, InsertMovesTheValueOutOfThePairOfANewKey) {
  BencDictMap map;
  BencEntity value = Number("7");
  const BencDictMap::value_type pair(Key("name").array, value);
  EXPECT_EQ(7, map.insert(pair).first->second.GetInt(0));
  EXPECT_EQ(BENC_NONE, pair.second.GetType());
  EXPECT_EQ("name", std::string_view(pair.first.begin(), pair.first.size()));
}

TEST_F(DictMap, PositionalInsertMovesTheValueOutOfThePairOfANewKey) {
  BencDictMap map;
  Add(map, "m");
  for (const char* name : {"n", "a"}) {
    BencEntity value = Number("7");
    const BencDictMap::value_type pair(Key(name).array, value);
    const auto added = map.insert(map.begin(), pair);
    EXPECT_TRUE(added.second);
    EXPECT_EQ(7, added.first->second.GetInt(0));
    EXPECT_EQ(BENC_NONE, pair.second.GetType());
  }
}

TEST_F(DictMap, InsertOfAKnownKeyLeavesTheGivenPairAlone) {
  BencDictMap map;
  Add(map, "name");
  BencEntity value = Number("7");
  const BencDictMap::value_type pair(Key("name").array, value);
  EXPECT_FALSE(map.insert(pair).second);
  EXPECT_FALSE(map.insert(map.begin(), pair).second);
  EXPECT_EQ(7, pair.second.GetInt(0));
  EXPECT_EQ(BENC_STR, map.begin()->second.GetType());
}

TEST_F(DictMap, InsertOfKeyAndValueMovesTheValue) {
  BencDictMap map;
  const Key key("name");
  BencEntityMem value;
  const auto added = map.insert(key.array, value);
  EXPECT_TRUE(added.second);
  EXPECT_EQ(BENC_NONE, value.GetType());
  EXPECT_EQ(BENC_STR, added.first->second.GetType());
}

TEST_F(DictMap, InsertOfAKnownKeyUsesTheValueUpAndFreesIt) {
  BencDictMap map;
  const Key key("name");
  BencEntity number = Number("7");
  map.insert(key.array, number);
  const long blocks = test_host::LiveBlocks();
  BencEntityMem value;
  EXPECT_FALSE(map.insert(key.array, value).second);
  EXPECT_EQ(BENC_NONE, value.GetType());
  EXPECT_EQ(blocks, test_host::LiveBlocks());
  EXPECT_EQ(7, map.find(key.array)->second.GetInt(0));
  EXPECT_EQ(1u, map.count);
}

TEST_F(DictMap, KeepsItsKeysInOrder) {
  BencDictMap map;
  for (std::string_view key : {"abc"sv, "b"sv, ""sv, "ab"sv, "\xff"sv, "a\0b"sv}) {
    EXPECT_TRUE(Add(map, key).second);
  }
  EXPECT_EQ((std::vector<std::string>{"", std::string("a\0b", 3), "ab", "abc", "b", "\xff"}), Keys(map));
}

TEST_F(DictMap, KeysThatDifferBehindACommonZeroByteAreOneKey) {
  BencDictMap map;
  EXPECT_TRUE(Add(map, "a\0b"sv).second);
  EXPECT_FALSE(Add(map, "a\0c"sv).second);
  EXPECT_TRUE(Add(map, "a\0bc"sv).second);
  EXPECT_TRUE(Add(map, "a\0"sv).second);
  EXPECT_EQ(3u, map.count);
  EXPECT_EQ("a\0b"sv, std::string_view(map.find(Key("a\0z"sv).array)->first.begin(), 3));
  EXPECT_EQ(1u, map.erase(Key("a\0\0"sv).array));
  EXPECT_EQ((std::vector<std::string>{std::string("a\0", 2), std::string("a\0bc", 4)}), Keys(map));
}

TEST_F(DictMap, LooksUpBorrowedKeysAmongOwnedOnes) {
  BencDictMap map;
  for (const char* key : {"announce", "info", "url-list"}) {
    Add(map, key);
  }
  EXPECT_EQ(BENC_STR, map.find(Key("info", true).array)->second.GetType());
  EXPECT_TRUE(map.find(Key("inf", true).array).AtEnd());
  EXPECT_TRUE(map.find(Key("infoo", true).array).AtEnd());
}

TEST_F(DictMap, FreesKeysAndValuesWhicheverWayTheyLeave) {
  BencDictMap map;
  for (std::string_view key : {"a", "b", "c", "d", "e", "f"}) {
    Add(map, key);
  }
  map.erase(Key("c").array);
  map.erase(Key("a").array);
  Add(map, "b");
  map.clear();
  Add(map, "left to the destructor");
}

// --- failures while an entry is made ---

// A value whose copies are counted and whose copying fails on demand.
struct Fragile {
  inline static long live = 0;
  inline static bool fail = false;

  Fragile() { ++live; }
  Fragile(const Fragile&) {
    if (fail) {
      throw std::runtime_error("no copy");
    }
    ++live;
  }
  ~Fragile() { --live; }
};
using FragileMap = Map<BencArray<char>, Fragile>;

class MapFailure : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* key : {"b", "d", "f"}) {
      Fragile value;
      map_.insert(Key(key).array, value);
    }
    Fragile::fail = false;
  }
  // Expects `insert` to throw and to leave everything as it was.
  template <class Insert>
  void ExpectUnchanged(Insert insert) {
    const long blocks = test_host::LiveBlocks();
    const long values = Fragile::live;
    const MapPrivate::NodeBase* root = map_.head.left;
    Fragile::fail = true;
    EXPECT_THROW(insert(), std::runtime_error);
    Fragile::fail = false;
    EXPECT_EQ(blocks, test_host::LiveBlocks());
    EXPECT_EQ(values, Fragile::live);
    EXPECT_EQ(3u, map_.count);
    EXPECT_EQ(root, map_.head.left);
    map_.head.VerifyDepth();
    size_t entries = 0;
    for (auto it = map_.begin(); it != map_.end(); ++it) {
      ++entries;
    }
    EXPECT_EQ(3u, entries);
  }

  FragileMap map_;
};

TEST_F(MapFailure, InAPlainInsertLeavesTheMapAlone) {
  for (const char* key : {"a", "c", "e", "g"}) {
    const FragileMap::value_type pair(Key(key).array, Fragile());
    ExpectUnchanged([&] { map_.insert(pair); });
  }
}

TEST_F(MapFailure, InAnEmptyMapLeavesItEmpty) {
  FragileMap map;
  const FragileMap::value_type pair(Key("a").array, Fragile());
  Fragile::fail = true;
  EXPECT_THROW(map.insert(pair), std::runtime_error);
  Fragile::fail = false;
  EXPECT_EQ(0u, map.count);
  EXPECT_EQ(map.begin(), map.end());
}

TEST_F(MapFailure, InAPositionalInsertLeavesTheMapAlone) {
  for (const char* key : {"a", "c", "e", "g"}) {
    const FragileMap::value_type pair(Key(key).array, Fragile());
    for (const char* hint : {"b", "d", "f", "none"}) {
      const Key at(hint);
      ExpectUnchanged([&] { map_.insert(map_.find(at.array), pair); });
    }
  }
}

TEST_F(MapFailure, InAnInsertOfKeyAndValueLeavesTheMapAlone) {
  const Key key("c");
  Fragile value;
  ExpectUnchanged([&] { map_.insert(key.array, value); });
}

TEST_F(MapFailure, WhileReplacingANodeLeavesTheTreeAlone) {
  const FragileMap::value_type pair(Key("d").array, Fragile());
  ExpectUnchanged([&] { map_.head.left->Insert(&pair); });
}

TEST_F(MapFailure, ValuesAreDestroyedWithTheirEntries) {
  EXPECT_EQ(3, Fragile::live);
  map_.erase(Key("d").array);
  EXPECT_EQ(2, Fragile::live);
  map_.clear();
  EXPECT_EQ(0, Fragile::live);
}

}  // namespace
}  // namespace core
