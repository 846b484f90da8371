#include "QuickLookPlugin/path_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using reader::PathEntry;
using reader::PathTable;

int same_calls = 0;

bool SameText(const void* key, const void* other) {
  ++same_calls;
  return *static_cast<const std::string*>(key) == *static_cast<const std::string*>(other);
}

// A table over strings that the test owns.
class PathTableTest : public ::testing::Test {
 protected:
  void SetUp() override { same_calls = 0; }
  void TearDown() override { table_.Free(); }

  PathEntry* Find(uint64_t hash, const std::string& key) { return table_.Find(hash, &key, SameText); }
  PathEntry* Add(uint64_t hash, std::string& key) { return table_.Add(hash, &key); }

  std::vector<std::string> Keys() const {
    std::vector<std::string> keys;
    for (size_t i = 0; i < table_.used; ++i) {
      if (table_.entries[i].key) {
        keys.push_back(*static_cast<std::string*>(table_.entries[i].key));
      }
    }
    return keys;
  }

  PathTable table_ = {};
  std::string a_ = "a";
  std::string b_ = "b";
  std::string c_ = "c";
};

TEST_F(PathTableTest, FindsNothingWhenEmpty) {
  EXPECT_EQ(nullptr, Find(1, "a"));
  EXPECT_EQ(0u, table_.live);
  EXPECT_EQ(nullptr, table_.entries);
}

TEST_F(PathTableTest, AddsAnEntryWithoutAValue) {
  PathEntry* entry = Add(1, a_);
  EXPECT_EQ(&a_, entry->key);
  EXPECT_EQ(nullptr, entry->value);
  EXPECT_EQ(0, entry->number);
  EXPECT_EQ(entry, Find(1, "a"));
}

TEST_F(PathTableTest, TellsKeysOfEqualHashApart) {
  Add(1, a_);
  Add(1, b_);
  EXPECT_EQ(&a_, Find(1, "a")->key);
  EXPECT_EQ(&b_, Find(1, "b")->key);
  EXPECT_EQ(nullptr, Find(1, "c"));
}

TEST_F(PathTableTest, AsksOnlyAboutEqualHashes) {
  Add(0x100000001, a_);
  Add(0x200000001, b_);  // the same place, another hash
  EXPECT_EQ(nullptr, Find(0x300000001, "a"));
  EXPECT_EQ(nullptr, Find(0x100000021, "a"));  // the same upper half and the same place, another hash
  EXPECT_EQ(0, same_calls);
}

TEST_F(PathTableTest, KeepsTheOrderOfInsertion) {
  Add(9, c_);
  Add(5, a_);
  Add(7, b_);
  EXPECT_EQ((std::vector<std::string>{"c", "a", "b"}), Keys());
}

TEST_F(PathTableTest, FindsPastARemovedKey) {
  PathEntry* first = Add(1, a_);
  Add(1, b_);
  table_.Remove(first);
  EXPECT_EQ(nullptr, Find(1, "a"));
  EXPECT_EQ(&b_, Find(1, "b")->key);
  EXPECT_EQ(1u, table_.live);
}

TEST_F(PathTableTest, AddsARemovedKeyAtTheEnd) {
  PathEntry* first = Add(1, a_);
  Add(2, b_);
  table_.Remove(first);
  Add(1, a_);
  EXPECT_EQ((std::vector<std::string>{"b", "a"}), Keys());
  EXPECT_EQ(2u, table_.live);
}

TEST_F(PathTableTest, GrowthClosesTheGapsOfRemovedKeys) {
  Add(1, a_);
  Add(2, b_);
  Add(3, c_);
  table_.Remove(Find(2, "b"));
  table_.Reserve(table_.capacity + 1);
  EXPECT_EQ(2u, table_.used);
  EXPECT_EQ(&a_, table_.entries[0].key);
  EXPECT_EQ(&c_, table_.entries[1].key);
  EXPECT_EQ(&table_.entries[1], Find(3, "c"));
}

TEST_F(PathTableTest, ReservesRoomOnce) {
  table_.Reserve(1000);
  const PathEntry* block = table_.entries;
  std::vector<std::string> keys(1000, "k");
  for (size_t i = 0; i < keys.size(); ++i) {
    Add(i, keys[i]);
  }
  EXPECT_EQ(block, table_.entries);
  EXPECT_LE(1000u, table_.capacity);
}

TEST_F(PathTableTest, DoesNotGrowWhileKeysComeAndGo) {
  for (uint64_t i = 0; i < 1000; ++i) {
    table_.Remove(Add(i, a_));
  }
  EXPECT_EQ(0u, table_.live);
  EXPECT_GE(16u, table_.capacity);
}

// Random operations beside a standard map; hashes from a small range, so that many keys share one.
TEST_F(PathTableTest, AgreesWithAMapUnderRandomOperations) {
  constexpr unsigned kSeed = 20240607;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  std::vector<std::string> texts;
  for (int i = 0; i < 300; ++i) {
    texts.push_back(std::to_string(i));
  }
  std::map<std::string, long long> model;
  std::vector<std::string> order;
  for (long long step = 0; step < 20000; ++step) {
    std::string& key = texts[random() % texts.size()];
    const uint64_t hash = std::hash<std::string>()(key) % 50;
    PathEntry* entry = Find(hash, key);
    ASSERT_EQ(model.count(key), entry ? 1u : 0u) << step;
    if (entry && random() % 2 == 0) {
      ASSERT_EQ(model[key], entry->number);
      table_.Remove(entry);
      model.erase(key);
      order.erase(std::find(order.begin(), order.end(), key));
    } else {
      if (!entry) {
        entry = Add(hash, key);
        order.push_back(key);
      }
      entry->number = model[key] = step;
    }
    ASSERT_EQ(model.size(), table_.live);
  }
  EXPECT_EQ(order, Keys());
}

TEST_F(PathTableTest, GrowsOnlyWhenRoomIsAskedForThatItLacks) {
  table_.Reserve(100);
  Add(1, a_);
  const PathEntry* before = table_.entries;
  const size_t capacity = table_.capacity;
  EXPECT_GE(capacity, size_t{100});
  table_.Reserve(capacity);
  EXPECT_EQ(before, table_.entries);
  EXPECT_EQ(capacity, table_.capacity);
  table_.Reserve(capacity + 1);
  EXPECT_GT(table_.capacity, capacity);
  EXPECT_NE(nullptr, Find(1, a_));
}

}  // namespace
