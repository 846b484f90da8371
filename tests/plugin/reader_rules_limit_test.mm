// The bounds of what is read at all, each met from both sides.
#include <unistd.h>

#include "QuickLookPlugin/limits.h"
#include "QuickLookPlugin/tree_budget.h"
#include "tests/plugin/reader_rules.h"

namespace {

constexpr size_t kMostText = reader::kMaxTextBytes;

// Long outcomes are compared without being printed.
void ExpectSame(const std::string& outcome, const std::string& expected) {
  EXPECT_TRUE(outcome == expected) << outcome.substr(0, 80) << "... of " << outcome.size() << ", not "
                                   << expected.substr(0, 80) << "... of " << expected.size();
}

// Cheap to write and dear to hold: lists in one another, then a readable torrent.
std::string Nest(size_t lists) {
  return "d1:a" + std::string(lists, 'l') + std::string(lists, 'e') + Torrent().substr(1);
}

// The memory that the reader expects the tree of `bytes` to take.
size_t TreeBytes(const std::string& bytes) {
  const auto* begin = reinterpret_cast<const unsigned char*>(bytes.data());
  size_t too_little = 0;
  size_t enough = reader::kTreeBudgetMax;
  while (enough - too_little > 1) {
    const size_t middle = too_little + (enough - too_little) / 2;
    (reader::TreeFitsBudget(begin, begin + bytes.size(), middle) ? enough : too_little) = middle;
  }
  return enough;
}

}  // namespace

TEST_F(ReaderRules, FilesHaveAtMost256MiB) {
  const std::string path = temp_.Write("a.torrent", Torrent());
  constexpr off_t kMost = off_t{256} << 20;
  for (const off_t size : {kMost - 1, kMost}) {
    ASSERT_EQ(truncate(path.c_str(), size), 0);
    EXPECT_EQ(ImportFile(path), kRead);
  }
  ASSERT_EQ(truncate(path.c_str(), kMost + 1), 0);
  EXPECT_EQ(ImportFile(path), kRefused);
}

TEST_F(ReaderRules, PieceCountIsReadUpToOneBelowItsLimitAndOnIt) {
  const auto with = [](size_t pieces) {
    return Torrent({{"length", Int(static_cast<long long>(pieces) * 16384)}, {"pieces", Hashes(pieces)}});
  };
  EXPECT_EQ(Import(with(reader::kMaxPieces - 1)), "15.9 GB in 1 file [n]");
  EXPECT_EQ(Import(with(reader::kMaxPieces)), "15.9 GB in 1 file [n]");
  EXPECT_EQ(Import(with(reader::kMaxPieces + 1)), kRefused);
}

TEST_F(ReaderRules, CommentsBeyond16MiBAreEmpty) {
  const auto with = [](const std::string& text) { return Torrent({}, {{"comment", Str(text)}}); };
  for (const size_t size : {kMostText - 1, kMostText}) {
    const std::string text(size, 'c');
    ExpectSame(Import(with(text)), std::string(kRead) + " says <" + text + ">");
  }
  EXPECT_EQ(Import(with(std::string(kMostText + 1, 'c'))), kRead);
}

TEST_F(ReaderRules, CreatorsBeyond16MiBAreEmpty) {
  const auto with = [](const std::string& text) { return Torrent({}, {{"created by", Str(text)}}); };
  for (const size_t size : {kMostText - 1, kMostText}) {
    const std::string text(size, 'c');
    ExpectSame(Import(with(text)), std::string(kRead) + " by <" + text + ">");
  }
  EXPECT_EQ(Import(with(std::string(kMostText + 1, 'c'))), std::string(kRead) + " by <>");
}

TEST_F(ReaderRules, NamesBeyond16MiBAreEmptyUnderEitherKey) {
  for (const char* key : {"name", "name.utf-8"}) {
    SCOPED_TRACE(key);
    for (const size_t size : {kMostText - 1, kMostText}) {
      const std::string text(size, 'n');
      ExpectSame(Import(Torrent({{key, Str(text)}})), "1.5 kB in 1 file [" + text + "]");
    }
    EXPECT_EQ(Import(Torrent({{key, Str(std::string(kMostText + 1, 'n'))}})), "1.5 kB in 1 file []");
  }
}

TEST_F(ReaderRules, PathsBeyond16MiBAreEmpty) {
  const auto with = [](size_t last) { return Files({File(Path({"a", std::string(last, 'b')}))}); };
  for (const size_t last : {kMostText - 3, kMostText - 2}) {
    ExpectSame(Import(with(last)), "1.5 kB in 1 file [a/" + std::string(last, 'b') + "]");
  }
  EXPECT_EQ(Import(with(kMostText - 1)), "1.5 kB in 1 file []");
}

// Bytes behind the torrent cost no tree but count for the budget.
TEST_F(ReaderRules, TreesMayTakeWhatTheFileIsGranted) {
  std::string bytes = Nest(300000);
  const size_t needed = TreeBytes(bytes);
  const size_t size = (needed - reader::kTreeBudgetBase) / reader::kTreeBudgetPerByte;
  ASSERT_LT(bytes.size(), size);
  bytes.resize(size - 1, 'x');
  EXPECT_EQ(Import(bytes), kRefused);
  bytes.resize(size + 1, 'x');
  EXPECT_EQ(Import(bytes), kRead);
}

// The line that is made of them has room for 1018 characters and its end.
TEST_F(ReaderRules, WebSeedsOfEveryLengthAroundTheLineTheyAreListedInAreRead) {
  for (size_t first = 1010; first <= 1026; ++first) {
    for (size_t second : {size_t{0}, size_t{1}, 1018 - std::min(first, size_t{1018}), first}) {
      const std::vector<std::string> seeds = {Str(std::string(first, 'a')), Str(std::string(second, 'b')), Str("c")};
      EXPECT_EQ(Import(Torrent({}, {{"url-list", List(seeds)}})), kRead) << first << " and " << second;
    }
  }
}
