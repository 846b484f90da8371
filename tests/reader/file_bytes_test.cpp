#include "QuickLookPlugin/file_bytes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <thread>

#include "tests/support/temp_folder.h"

namespace {

using reader::FileBytes;

std::string_view View(const FileBytes& file) { return {reinterpret_cast<const char*>(file.begin()), file.size()}; }

class FileBytesTest : public ::testing::Test {
 protected:
  TempFolder folder_;
};

TEST_F(FileBytesTest, ReadsAWholeFile) {
  const std::string content = "d3:foo" + std::string(100000, '\0') + "e";
  FileBytes file;
  ASSERT_TRUE(file.Load(folder_.Write("a", content).c_str()));
  EXPECT_EQ(content, View(file));
  EXPECT_EQ(file.begin() + file.size(), file.end());
}

TEST_F(FileBytesTest, ReadsAnEmptyFile) {
  FileBytes file;
  ASSERT_TRUE(file.Load(folder_.Write("a", "").c_str()));
  EXPECT_EQ(0u, file.size());
}

TEST_F(FileBytesTest, HoldsTheLimit) {
  for (const size_t size : {size_t{0}, size_t{99}, size_t{100}}) {
    FileBytes file;
    EXPECT_TRUE(file.Load(folder_.Write("a", std::string(size, 'x')).c_str(), 100)) << size;
    EXPECT_EQ(size, file.size());
  }
  FileBytes file;
  EXPECT_FALSE(file.Load(folder_.Write("a", std::string(101, 'x')).c_str(), 100));
  EXPECT_EQ(0u, file.size());
}

TEST_F(FileBytesTest, RefusesMoreThanTheReadersLimitUnread) {
  const std::string path = folder_.Write("sparse", "");
  ASSERT_EQ(0, truncate(path.c_str(), (off_t{256} << 20) + 1));
  FileBytes file;
  EXPECT_FALSE(file.Load(path.c_str()));
}

TEST_F(FileBytesTest, FollowsALink) {
  const std::string target = folder_.Write("a", "abc");
  const std::string link = (folder_.path() / "link").string();
  ASSERT_EQ(0, symlink(target.c_str(), link.c_str()));
  FileBytes file;
  ASSERT_TRUE(file.Load(link.c_str()));
  EXPECT_EQ("abc", View(file));
}

TEST_F(FileBytesTest, RefusesWhatIsNoRegularFile) {
  const std::string pipe_path = (folder_.path() / "pipe").string();
  ASSERT_EQ(0, mkfifo(pipe_path.c_str(), 0600));
  const std::string paths[] = {
      folder_.path().string(), pipe_path, "/dev/null", "/dev/zero", (folder_.path() / "missing").string(), ""};
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    FileBytes file;
    EXPECT_FALSE(file.Load(path.c_str()));
    EXPECT_EQ(0u, file.size());
  }
}

// A pipe with `content` in it and no writer.
int PipeWith(std::string_view content) {
  int ends[2];
  EXPECT_EQ(0, pipe(ends));
  EXPECT_EQ(static_cast<ssize_t>(content.size()), write(ends[1], content.data(), content.size()));
  close(ends[1]);
  return ends[0];
}

TEST_F(FileBytesTest, ReadsAFileThatGrewOrShrank) {
  const std::string content(1000, 'x');
  for (const size_t expected : {size_t{0}, size_t{1}, size_t{999}, size_t{1000}, size_t{1001}, size_t{50000}}) {
    SCOPED_TRACE(expected);
    const int fd = PipeWith(content);
    FileBytes file;
    EXPECT_TRUE(file.ReadAll(fd, expected, 1000));
    EXPECT_EQ(content, View(file));
    close(fd);
  }
}

TEST_F(FileBytesTest, RefusesAFileThatGrewBeyondTheLimit) {
  for (const size_t expected : {size_t{0}, size_t{1}, size_t{998}, size_t{999}}) {
    SCOPED_TRACE(expected);
    const int fd = PipeWith(std::string(1000, 'x'));
    FileBytes file;
    EXPECT_FALSE(file.ReadAll(fd, expected, 999));
    EXPECT_EQ(0u, file.size());
    close(fd);
  }
}

TEST_F(FileBytesTest, RefusesAFailedRead) {
  FileBytes file;
  EXPECT_FALSE(file.ReadAll(-1, 10, 100));
  EXPECT_EQ(0u, file.size());
}

// Interrupts system calls of this thread every millisecond while it lives.
class Interruptions {
 public:
  Interruptions() {
    struct sigaction action = {};
    action.sa_handler = [](int) { count = count + 1; };  // without SA_RESTART
    sigaction(SIGALRM, &action, &old_action_);
    const itimerval interval = {{0, 1000}, {0, 1000}};
    setitimer(ITIMER_REAL, &interval, nullptr);
  }
  ~Interruptions() {
    const itimerval off = {};
    setitimer(ITIMER_REAL, &off, nullptr);
    sigaction(SIGALRM, &old_action_, nullptr);
  }
  static volatile sig_atomic_t count;

 private:
  struct sigaction old_action_ = {};
};
volatile sig_atomic_t Interruptions::count = 0;

TEST_F(FileBytesTest, ReadsOnAfterAnInterruption) {
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  sigset_t alarm;
  sigset_t old;
  sigemptyset(&alarm);
  sigaddset(&alarm, SIGALRM);
  pthread_sigmask(SIG_BLOCK, &alarm, &old);  // for the writer, which inherits it
  std::thread writer([&ends] {
    for (int i = 0; i < 5; ++i) {
      usleep(10000);
      EXPECT_EQ(1, write(ends[1], "x", 1));
    }
    close(ends[1]);
  });
  pthread_sigmask(SIG_SETMASK, &old, nullptr);
  FileBytes file;
  {
    const Interruptions interruptions;
    EXPECT_TRUE(file.ReadAll(ends[0], 5, 100));
  }
  writer.join();
  close(ends[0]);
  EXPECT_EQ("xxxxx", View(file));
  EXPECT_LT(0, Interruptions::count);
}

TEST_F(FileBytesTest, FreeForgetsTheBytes) {
  FileBytes file;
  ASSERT_TRUE(file.Load(folder_.Write("a", "abc").c_str()));
  file.Free();
  EXPECT_EQ(0u, file.size());
  ASSERT_TRUE(file.Load(folder_.Write("b", "de").c_str()));
  EXPECT_EQ("de", View(file));
}

}  // namespace
