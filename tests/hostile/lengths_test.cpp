// Lengths that no file can hold, and tokens without an end, where readable memory ends.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "QuickLookPlugin/tree_budget.h"
#include "core/bencode/bencoding.h"
#include "tests/hostile/counted_memory.h"
#include "tests/hostile/importing.h"
#include "tests/hostile/shapes.h"
#include "tests/reader/encoded.h"
#include "tests/support/page_end.h"
#include "tests/support/small_stack.h"
#include "tests/support/temp_folder.h"

namespace hostile {
namespace {

__extension__ using Wide = unsigned __int128;

std::string Decimal(Wide number) {
  std::string digits;
  do {
    digits += static_cast<char>('0' + static_cast<int>(number % 10));
    number /= 10;
  } while (number != 0);
  std::reverse(digits.begin(), digits.end());
  return digits;
}

constexpr Wide kOne = 1;

// One below, on and above each power of two at which a length could turn into another one.
std::vector<Wide> EdgeLengths() {
  std::vector<Wide> lengths;
  for (const Wide edge : {kOne << 31, kOne << 32, kOne << 63, kOne << 64, kOne << 65, (kOne << 64) * 1'000'000}) {
    lengths.insert(lengths.end(), {edge - 1, edge, edge + 1, edge + 4});
  }
  return lengths;
}

// Where the decode of a list ends whose only string is broken and claims `length` bytes: at the claimed
// end, or at the largest address when there is no such address.
uintptr_t ClaimedEnd(const unsigned char* text, uint64_t length) {
  const uintptr_t start = reinterpret_cast<uintptr_t>(text);
  return start + std::min<uint64_t>(length, UINTPTR_MAX - start);
}

using Decode = const unsigned char* (*)(PageEndBytes&, core::BencEntity&);
const Decode kDecodes[] = {
    [](PageEndBytes& in, core::BencEntity& root) -> const unsigned char* {
      return core::BencEntity::Parse(in.begin(), root, in.end());
    },
    [](PageEndBytes& in, core::BencEntity& root) -> const unsigned char* {
      return core::BencEntity::ParseInPlace(in.begin(), root, in.end());
    },
    [](PageEndBytes& in, core::BencEntity& root) -> const unsigned char* {
      core::ReturnElementRgn range;
      return core::BencEntity::Parse(in.begin(), root, in.end(), "info", &range);
    },
};

TEST(HostileLengths, CountModulo64BitsAndNeverReachPastTheEnd) {
  for (const Wide length : EdgeLengths()) {
    const uint64_t bytes = static_cast<uint64_t>(length);
    const bool fits = bytes <= 4;
    const std::string text(fits ? bytes : 4, 'a');
    const std::string head = "l" + Decimal(length) + ":";
    SCOPED_TRACE(head);
    for (const Decode decode : kDecodes) {
      PageEndBytes in(head + text + "e");
      core::BencodedList root;
      const unsigned char* end = decode(in, root);
      const uintptr_t claimed = ClaimedEnd(in.begin() + head.size(), bytes);
      EXPECT_EQ(fits ? reinterpret_cast<uintptr_t>(in.end()) : claimed, reinterpret_cast<uintptr_t>(end));
      ASSERT_EQ(fits ? 1u : 0u, root.GetCount());
      size_t len = 99;
      const char* string = fits ? root.GetString(size_t{0}, &len) : nullptr;
      EXPECT_EQ(text, string ? std::string(string, len) : std::string(4, 'a'));
      root.FreeMembers();
    }
  }
}

TEST(HostileLengths, InATorrentAreRefusedUnlessTheyWrapToTheText) {
  const TempFolder folder;
  for (const Wide length : EdgeLengths()) {
    const uint64_t bytes = static_cast<uint64_t>(length);
    SCOPED_TRACE(Decimal(length));
    const std::string text(bytes <= 4 ? bytes : 4, 'a');
    const std::string path = folder.Write("a.torrent", TorrentWith("1:a" + Decimal(length) + ":" + text));
    OnFoundationThread(kSmallStack, [&] { EXPECT_EQ(bytes <= 4, Import(path)); });
  }
}

TEST(HostileLengths, OfKeysAreRefusedUnlessTheyWrapToTheKey) {
  for (const Wide length : EdgeLengths()) {
    const uint64_t bytes = static_cast<uint64_t>(length);
    SCOPED_TRACE(Decimal(length));
    for (const Decode decode : kDecodes) {
      PageEndBytes in("d" + Decimal(length) + ":" + std::string(bytes <= 4 ? bytes : 4, 'a') + "i1ee");
      core::BencEntity root;
      EXPECT_EQ(bytes <= 4 ? in.end() : nullptr, decode(in, root));
      root.FreeMembers();
    }
  }
}

// What a decode of `bytes` at the end of a page gives: its end, or -1. All ways must agree.
ptrdiff_t EndOf(std::string_view bytes) {
  ptrdiff_t result = -1;
  for (const Decode decode : kDecodes) {
    PageEndBytes in(bytes);
    core::BencEntity root;
    const unsigned char* end = decode(in, root);
    const ptrdiff_t found = end ? end - in.begin() : -1;
    EXPECT_TRUE(decode == kDecodes[0] || found == result);
    result = found;
    root.FreeMembers();
    EXPECT_EQ(found >= 0, reader::TreeFitsBudget(in.begin(), in.end(), SIZE_MAX));
  }
  return result;
}

TEST(UnterminatedToken, AtTheEndOfAPageIsNotReadPast) {
  struct Case {
    std::string bytes;
    ptrdiff_t end;
  };
  const std::string page(4096, '1');
  const Case kCases[] = {
      {"", -1},
      {"d", -1},
      {"l", -1},
      {"i", -1},
      {"1", -1},
      {"di", -1},
      {"li", -1},
      {"li-", -1},
      {"li+", -1},
      {"li ", -1},
      {"li1", -1},
      {"li1e", -1},
      {"d1", -1},
      {"d1:", -1},
      {"d1:a", -1},
      {"d1:ai", -1},
      {"d1:ai1", -1},
      {"d1:ai1e", -1},
      {"d1:a1", -1},
      {"d1:a1:", -1},
      {"d1:a1:b", -1},
      {"d1:al", -1},
      {"d1:ad", -1},
      {"d1:al1", -1},
      {"l1", 1},
      {"l12", 1},
      {"l1:", 4},
      {"l3:ab", 6},
      {"l1:a1", 4},
      {"li1e1", 4},
      {"li" + page, -1},
      {"l" + page, 1},
      {"d" + page, -1},
      {"d1:a" + page, -1},
      {"d1:ai" + page, -1},
      {"li" + std::string(4096, ' '), -1},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.bytes.substr(0, 20));
    EXPECT_EQ(c.end, EndOf(c.bytes)) << "of " << c.bytes.size();
  }
}

TEST(UnterminatedToken, EveryBeginningOfATorrentIsRefusedAtTheEndOfAPage) {
  const std::string whole = TorrentOfFiles(File("1:a1:b", 7), "8:announce3:url8:encoding5:UTF-88:url-listl1:xe");
  EXPECT_EQ(static_cast<ptrdiff_t>(whole.size()), EndOf(whole));
  for (size_t len = 0; len < whole.size(); ++len) {
    EXPECT_EQ(-1, EndOf(whole.substr(0, len))) << len;
  }
}

TEST(UnterminatedToken, InAFileOfWholePagesIsRefused) {
  const TempFolder folder;
  for (const char* head : {"d1:ai", "d1:a", "d", "li", "l"}) {
    for (const char fill : {'1', ' ', '0', '9'}) {
      const std::string path = folder.Write("a.torrent", head + std::string(8192 - std::string(head).size(), fill));
      OnFoundationThread(kSmallStack, [&] { EXPECT_FALSE(Import(path)) << head << fill; });
    }
  }
}

// Lengths of files around the ends of 64 bits, and the sizes, the total and the pieces that come of them.
TEST(HostileFileLengths, SaturateAndAddUpModulo64Bits) {
  struct Case {
    const char* name;
    std::vector<std::string> lengths;
    std::vector<long long> sizes;
    unsigned long long total;
  };
  const Case kCases[] = {
      {"negative", {"-1", "2"}, {-1, 2}, 1},
      {"largest and smallest", {"9223372036854775807", "-9223372036854775808", "2"}, {INT64_MAX, INT64_MIN, 2}, 1},
      {"beyond both", {"9223372036854775808", "-9223372036854775809", "2"}, {INT64_MAX, INT64_MIN, 2}, 1},
      {"far beyond", {std::string(400, '9'), "-" + std::string(400, '9'), "2"}, {INT64_MAX, INT64_MIN, 2}, 1},
      {"a sum that wraps", {"9223372036854775807", "9223372036854775807", "3"}, {INT64_MAX, INT64_MAX, 3}, 1},
      {"no number", {"", "x", "1"}, {0, 0, 1}, 1},
  };
  const TempFolder folder;
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    std::string files;
    for (size_t i = 0; i < c.lengths.size(); ++i) {
      files += "d6:lengthi" + c.lengths[i] + "e4:pathl1:" + std::string(1, static_cast<char>('a' + i)) + "ee";
    }
    const std::string path = folder.Write("a.torrent", TorrentOfFiles(files));
    OnFoundationThread(kSmallStack, [&] {
      const std::optional<Record> record = ReadRecord(path);
      ASSERT_TRUE(record);
      EXPECT_EQ(c.sizes, record->sizes);
      EXPECT_EQ(c.total, record->total_size);
      EXPECT_EQ(1u, record->pieces);
    });
  }
}

TEST(HostileFileLengths, ThatLeaveNoUsablePieceCountAreRefused) {
  const TempFolder folder;
  for (const char* length : {"-1", "0", "-9223372036854775808", "9223372036854775807", "", "35184372088832"}) {
    SCOPED_TRACE(length);
    const std::string file = std::string("d6:lengthi").append(length).append("e4:pathl1:aee");
    const std::string path = folder.Write("a.torrent", TorrentOfFiles(file));
    OnFoundationThread(kSmallStack, [&] { EXPECT_FALSE(Import(path)); });
  }
}

}  // namespace
}  // namespace hostile
