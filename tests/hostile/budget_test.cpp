// What hostile files may cost: processor time in proportion to their size, and bounded memory. Only
// meaningful in an optimised build without sanitizers.
#include <gtest/gtest.h>
#include <limits.h>
#include <malloc.h>
#include <unistd.h>

#include <optional>

#include "QuickLookPlugin/tree_budget.h"
#include "bench/importer.h"
#include "bench/usage.h"
#include "core/bencode/bencoding.h"
#include "tests/hostile/shapes.h"
#include "tests/hostile/thread_time.h"
#include "tests/support/repeat.h"
#include "tests/support/small_stack.h"
#include "tests/support/temp_folder.h"

namespace hostile {
namespace {

constexpr double kNanosecondsPerByte = 150;
constexpr double kBaseMilliseconds = 2;
constexpr double kGrowth = 2.4;           // of the time for a file of twice the number
constexpr double kSoundMilliseconds = 5;  // what a growth is told from
constexpr int kRuns = 3;
constexpr int kRunsOnABusyMachine = 20;

// The smallest times of some runs for a file and for one of twice the number.
struct Times {
  double once = 1e9;
  double twice = 1e9;

  bool Grow() const { return twice <= kGrowth * std::max(once, kSoundMilliseconds); }
};

bool WithinBudget(double milliseconds, size_t bytes) {
  return milliseconds <= kBaseMilliseconds + kNanosecondsPerByte * static_cast<double>(bytes) / 1e6;
}

double NanosecondsPerByte(double milliseconds, size_t bytes) { return milliseconds * 1e6 / static_cast<double>(bytes); }

// Runs both until the figures are good, three times at least; what is too slow stays so.
template <class Once, class Twice>
Times Measure(size_t bytes, Once once, Twice twice) {
  Times times;
  for (int run = 0; run < kRunsOnABusyMachine; ++run) {
    times.once = std::min(times.once, TimeOf(once));
    times.twice = std::min(times.twice, TimeOf(twice));
    if (run + 1 >= kRuns && WithinBudget(times.once, bytes) && times.Grow()) {
      break;
    }
  }
  return times;
}

void DecodeAndFree(const std::string& bytes) {
  const auto* begin = reinterpret_cast<const unsigned char*>(bytes.data());
  core::BencEntity root;
  core::BencEntity::Parse(begin, root, begin + bytes.size());
  root.FreeMembers();
}

// What the allocator got it keeps, on all threads alike: the runs measured are those that no longer
// wait for the system to clear pages, be the file small or large.
void KeepMemory() {
  ASSERT_EQ(1, mallopt(M_ARENA_MAX, 1));
  ASSERT_EQ(1, mallopt(M_MMAP_MAX, 0));
  ASSERT_EQ(1, mallopt(M_TRIM_THRESHOLD, INT_MAX));
}

class HostileBudget : public ::testing::TestWithParam<Shape> {
 protected:
  void ExpectGood(const Times& times, size_t bytes) {
    EXPECT_PRED2(WithinBudget, times.once, bytes);
    EXPECT_TRUE(times.Grow()) << times.once << " ms, then " << times.twice << " ms";
    RecordProperty("bytes", std::to_string(bytes));
    RecordProperty("milliseconds", std::to_string(times.once));
    RecordProperty("nanoseconds_per_byte", std::to_string(NanosecondsPerByte(times.once, bytes)));
    RecordProperty("growth", std::to_string(times.twice / times.once));
  }

  TempFolder folder_;
};

TEST_P(HostileBudget, DecodesInLinearTime) {
  KeepMemory();
  const std::string once = GetParam().make(GetParam().n);
  const std::string twice = GetParam().make(2 * GetParam().n);
  Times times;
  OnSmallStack([&] {
    times = Measure(
        once.size(), [&] { DecodeAndFree(once); }, [&] { DecodeAndFree(twice); });
  });
  ExpectGood(times, once.size());
}

TEST_P(HostileBudget, ImportsInLinearTime) {
  KeepMemory();
  const bench::Importer importer(SORREL_BUNDLE);
  const std::string bytes = GetParam().make(GetParam().n);
  const bench::Location once(folder_.Write("once.torrent", bytes));
  const bench::Location twice(folder_.Write("twice.torrent", GetParam().make(2 * GetParam().n)));
  EXPECT_EQ(importer.Import(once), GetParam().fate == Fate::kTorrent);
  const Times times = Measure(
      bytes.size(), [&] { importer.Import(once); }, [&] { importer.Import(twice); });
  ExpectGood(times, bytes.size());
}

TEST_P(HostileBudget, ImportsInBoundedMemory) {
  const bench::Importer importer(SORREL_BUNDLE);
  std::optional<std::string> bytes = GetParam().make(2 * GetParam().n);
  const size_t size = bytes->size();
  const bench::Location file(folder_.Write("twice.torrent", *bytes));
  bytes.reset();
  const bench::Location none(folder_.Write("none.torrent", "x"));
  importer.Import(none);
  malloc_trim(0);
  bench::RestartPeak();
  const size_t before = bench::ResidentBytes();
  EXPECT_EQ(importer.Import(file), GetParam().fate == Fate::kTorrent);
  const size_t peak = bench::PeakResidentBytes() - before;
  EXPECT_LE(peak, reader::TreeBudget(size));
  RecordProperty("bytes", std::to_string(size));
  RecordProperty("peak_bytes", std::to_string(peak));
  RecordProperty("peak_per_byte", std::to_string(static_cast<double>(peak) / static_cast<double>(size)));
}

// The deepest nest whose tree a caller of the decoder can expect to get: 3 GB of lists.
TEST(HostileNest, OfTenMillionOpenListsDecodesWithinItsBudget) {
  constexpr size_t kLists = 10'000'000;
  constexpr long kPagesNeeded = 1 << 20;
  if (sysconf(_SC_AVPHYS_PAGES) < kPagesNeeded) {
    GTEST_SKIP() << "less than 4 GB of memory are free";
  }
  KeepMemory();
  const std::string bytes = Repeat("l", kLists);
  double milliseconds = 1e9;
  OnSmallStack([&] {
    for (int run = 0; run < kRuns; ++run) {
      milliseconds = std::min(milliseconds, TimeOf([&] { DecodeAndFree(bytes); }));
    }
  });
  EXPECT_PRED2(WithinBudget, milliseconds, bytes.size());
  RecordProperty("nanoseconds_per_byte", std::to_string(NanosecondsPerByte(milliseconds, bytes.size())));
}

std::string NameOf(const ::testing::TestParamInfo<Shape>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(Structure, HostileBudget, ::testing::ValuesIn(StructureShapes()), NameOf);
INSTANTIATE_TEST_SUITE_P(Texts, HostileBudget, ::testing::ValuesIn(TextShapes()), NameOf);
INSTANTIATE_TEST_SUITE_P(Files, HostileBudget, ::testing::ValuesIn(FileShapes()), NameOf);

}  // namespace
}  // namespace hostile
