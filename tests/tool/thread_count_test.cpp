#include "tools/mdtorrent/import/thread_count.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <vector>

namespace mdtorrent {
namespace {

// Takes descriptors until only `left` can be had, for as long as this lives.
class Scarcity {
 public:
  explicit Scarcity(size_t left) {
    getrlimit(RLIMIT_NOFILE, &before_);
    rlimit low = before_;
    low.rlim_cur = 64;
    setrlimit(RLIMIT_NOFILE, &low);
    for (int fd = dup(STDERR_FILENO); fd >= 0; fd = dup(STDERR_FILENO)) {
      taken_.push_back(fd);
    }
    for (; left > 0 && !taken_.empty(); --left) {
      close(taken_.back());
      taken_.pop_back();
    }
  }
  ~Scarcity() {
    for (const int fd : taken_) {
      close(fd);
    }
    setrlimit(RLIMIT_NOFILE, &before_);
  }
  Scarcity(const Scarcity&) = delete;
  Scarcity& operator=(const Scarcity&) = delete;

 private:
  rlimit before_;
  std::vector<int> taken_;
};

size_t ThreadsWith(size_t descriptors, size_t wanted) {
  const Scarcity scarcity(descriptors);
  return BearableThreads(wanted);
}

TEST(ThreadCount, EnoughDescriptorsBearAllThatAreWanted) {
  EXPECT_EQ(1u, BearableThreads(1));
  EXPECT_EQ(5u, BearableThreads(5));
  EXPECT_EQ(5u, ThreadsWith(12, 5));
}

TEST(ThreadCount, EachThreadNeedsTwoDescriptorsAndAllTogetherTwo) {
  EXPECT_EQ(4u, ThreadsWith(11, 5));
  EXPECT_EQ(4u, ThreadsWith(10, 256));
  EXPECT_EQ(2u, ThreadsWith(6, 256));
}

TEST(ThreadCount, OneThreadTriesInAnyCase) {
  for (size_t descriptors = 0; descriptors < 6; ++descriptors) {
    EXPECT_EQ(1u, ThreadsWith(descriptors, 256)) << descriptors;
  }
}

}  // namespace
}  // namespace mdtorrent
