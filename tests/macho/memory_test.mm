// What imports by the bundle for macOS take from the heap, and what comes of it when there is none left.
#include <signal.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <thread>

#include "tests/macho/image_memory.h"
#include "tests/macho/importing.h"

namespace {

class MachOMemory : public ImportingTest {};

TEST_F(MachOMemory, EveryImportGivesBackItsBlocks) {
  const std::string good = RichTorrent();
  const std::string cases[] = {good, "", "x", "de", good.substr(0, good.size() / 2), good.substr(0, good.size() - 1)};
  Import(temp_.Write("a.torrent", good));  // the thread's own block is made by the first one
  for (const std::string& bytes : cases) {
    SCOPED_TRACE(bytes.size());
    const std::string path = temp_.Write("a.torrent", bytes);
    const long before = macho::LiveBlocks();
    EXPECT_EQ(Import(path), bytes == good ? 4 : -1);
    EXPECT_EQ(macho::LiveBlocks(), before);
  }
}

TEST_F(MachOMemory, EndOfAThreadGivesBackItsBlock) {
  const std::string path = temp_.Write("a.torrent", RichTorrent());
  Import(path);
  const long before = macho::LiveBlocks();
  std::thread([&] {
    GSRegisterCurrentThread();
    EXPECT_EQ(Import(path), 4);
    GSUnregisterCurrentThread();
  }).join();
  EXPECT_EQ(macho::LiveBlocks(), before);
}

// How a process ended and what it wrote to standard error.
struct Ending {
  int status;
  std::string text;
};

// Imports in a copy of this process, in which `count` allocations fail from the `first` one on. It exits
// with 0 when the torrent was imported, with 1 when it was refused without a trace.
Ending ImportShortOfMemory(const std::function<int()>& import, long first, long count) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDERR_FILENO);
    signal(SIGINT, SIG_DFL);  // it may be ignored in tests that were started in the background
    const long before = macho::LiveBlocks();
    macho::FailAllocations(first, count);
    const int outcome = import();
    _exit(macho::LiveBlocks() != before ? 3 : outcome == 4 ? 0 : outcome == -1 ? 1 : 2);
  }
  close(ends[1]);
  Ending ending = {};
  char text[4096];
  for (ssize_t got; (got = read(ends[0], text, sizeof text)) > 0;) {
    ending.text.append(text, static_cast<size_t>(got));
  }
  close(ends[0]);
  waitpid(child, &ending.status, 0);
  return ending;
}

bool IsRefusal(const Ending& ending) {
  return WIFEXITED(ending.status) && WEXITSTATUS(ending.status) == 1 && ending.text.empty();
}

bool IsImport(const Ending& ending) {
  return WIFEXITED(ending.status) && WEXITSTATUS(ending.status) == 0 && ending.text.empty();
}

bool IsStop(const Ending& ending) {
  return WIFSIGNALED(ending.status) && WTERMSIG(ending.status) == SIGINT &&
         (ending.text == "\nassert failed core/mem1:216 (40000)\n" ||
          ending.text == "\nassert failed core/mem1:258 (40000)\n");
}

class MachOShortage : public ImportingTest {
 protected:
  void SetUp() override {
    ImportingTest::SetUp();
    path_ = temp_.Write("a.torrent", RichTorrent());
    ASSERT_EQ(Import(path_), 4);
    const long before = macho::AllocationCalls();
    ASSERT_EQ(Import(path_), 4);
    calls_ = macho::AllocationCalls() - before;
    ASSERT_GT(calls_, 10);
  }

  Ending Run(long first, long count) const {
    return ImportShortOfMemory([this] { return Import(path_); }, first, count);
  }

  std::string path_;
  long calls_ = 0;  // of one import
};

TEST_F(MachOShortage, NoMemoryFromAnyPointOnStopsOrRefuses) {
  int stops = 0;
  for (long first = 1; first <= calls_; first++) {
    const Ending ending = Run(first, calls_ + 100);
    EXPECT_TRUE(IsStop(ending) || IsRefusal(ending)) << first << ": " << ending.status << " " << ending.text;
    stops += IsStop(ending);
  }
  EXPECT_GT(stops, 0);
  EXPECT_TRUE(IsImport(Run(calls_ + 1, 100)));
}

TEST_F(MachOShortage, OneRefusedAllocationIsTriedAgainOrRefusesTheFile) {
  int imports = 0;
  for (long first = 1; first <= calls_; first++) {
    const Ending ending = Run(first, 1);
    EXPECT_TRUE(IsImport(ending) || IsRefusal(ending)) << first << ": " << ending.status << " " << ending.text;
    imports += IsImport(ending);
  }
  EXPECT_GT(imports, 0);
}

}  // namespace
