// Memory that the library cannot get, at every place of an import.
#include "tests/faults/faulty_import.h"
#include "tests/support/fatal.h"

namespace faults {
namespace {

struct Case {
  const char* name;
  std::string bytes;
  bool good;
};

void PrintTo(const Case& torrent, std::ostream* out) { *out << torrent.name; }

class CoreMemory : public FaultyImport, public ::testing::WithParamInterface<Case> {
 protected:
  CoreMemory() : path_(temp_.Write("a.torrent", GetParam().bytes)) {
    expected_ = ImportFromScratch(1, 0);
    attempts_ = test_host::AllocationAttempts();
  }
  ~CoreMemory() override { test_host::ResetPlatformMemory(); }

  // Imports as a thread does for the first time, when `count` attempts fail from the `first` on.
  std::optional<Attributes> ImportFromScratch(long first, long count) const {
    core::FreeTLS(core::GetTLS());
    test_host::ResetPlatformMemory();
    test_host::FailAllocations(count, first);
    return Import(path_);
  }

  const std::string path_;
  std::optional<Attributes> expected_;
  long attempts_ = 0;  // of an import in which nothing fails
};

TEST_P(CoreMemory, ImportsWithoutFaults) {
  EXPECT_EQ(expected_.has_value(), GetParam().good);
  EXPECT_GT(attempts_, 3);
}

TEST_P(CoreMemory, GivesTheSameWhenOneOrTwoTriesFail) {
  const long before = LiveBlocks();
  for (long first = 1; first <= attempts_; first++) {
    for (const long count : {1, 2}) {
      EXPECT_EQ(ImportFromScratch(first, count), expected_) << first << " " << count;
      EXPECT_EQ(test_host::AllocationAttempts(), attempts_ + count) << first;
      EXPECT_EQ(LiveBlocks(), before) << first;
    }
  }
}

TEST_P(CoreMemory, StopsWithOneLineWhenAllThreeTriesFail) {
  for (long first = 1; first <= attempts_; first++) {
    SCOPED_TRACE(first);
    ImportFromScratch(first, 1);
    const int line = test_host::RefusedAResize() ? 258 : 216;
    EXPECT_FATAL(ImportFromScratch(first, 3), "core/mem1", line);
  }
}

// The block that holds the file comes from the platform directly, with room for one byte more.
TEST_P(CoreMemory, RefusesAFileForWhichThereIsNoBlock) {
  const long before = LiveBlocks();
  const int descriptor = NextDescriptor();
  const size_t room = GetParam().bytes.size() + 1;
  int refused = 0;
  Calls().refuse_block = [&](const void* block, size_t n) { return !block && n == room && ++refused > 0; };
  EXPECT_EQ(Import(path_), std::nullopt);
  EXPECT_EQ(refused, 1);
  EXPECT_EQ(LiveBlocks(), before);
  EXPECT_EQ(NextDescriptor(), descriptor);
}

// A file that turns out longer than its size needs a larger block, even when all that is missing is its end.
TEST_P(CoreMemory, RefusesAFileForWhichThereIsNoLargerBlock) {
  const long before = LiveBlocks();
  const int descriptor = NextDescriptor();
  const size_t bytes = GetParam().bytes.size();
  Calls().fstat = [bytes](int fd, struct stat* status) {
    const int result = RealFstat(fd, status);
    status->st_size = static_cast<off_t>(bytes - 1);
    return result;
  };
  int refused = 0;
  Calls().refuse_block = [&](const void* block, size_t n) { return block && n == 2 * bytes && ++refused > 0; };
  EXPECT_EQ(Import(path_), std::nullopt);
  EXPECT_EQ(refused, 1);
  EXPECT_EQ(LiveBlocks(), before);
  EXPECT_EQ(NextDescriptor(), descriptor);
}

std::string Broken() {
  std::string bytes = ListsOfEverything();
  return bytes.replace(bytes.find("6:pieces"), 8, "6:Pieces");
}

std::string NameOf(const ::testing::TestParamInfo<Case>& test) { return test.param.name; }

INSTANTIATE_TEST_SUITE_P(Torrents, CoreMemory,
                         ::testing::Values(Case{"single", SingleFile().Build(), true},
                                           Case{"several", ListsOfEverything(), true}, Case{"broken", Broken(), false},
                                           Case{"cut", ListsOfEverything().substr(0, 700), false}),
                         NameOf);

}  // namespace
}  // namespace faults
