// What goes wrong while a file is read.
#include <errno.h>
#include <fcntl.h>
#include <string.h>

#include <algorithm>

#include "QuickLookPlugin/limits.h"
#include "tests/faults/faulty_import.h"

namespace faults {
namespace {

template <class Result>
Result Fail(int error) {
  errno = error;
  return Result{-1};
}

class Reading : public FaultyImport {
 protected:
  Reading() : expected_(Import(path_)) { EXPECT_TRUE(expected_); }

  // Whatever happened: no descriptor, no block was left, and nothing remembers it.
  ~Reading() override {
    Calls() = {};
    EXPECT_EQ(NextDescriptor(), descriptor_);
    EXPECT_EQ(LiveBlocks(), blocks_);
    if (exists_) {
      EXPECT_TRUE(Import(path_));
    }
  }

  const std::string bytes_ = SeveralFiles().Build();
  const std::string path_ = temp_.Write("a.torrent", bytes_);
  const std::optional<Attributes> expected_;
  const int descriptor_ = NextDescriptor();
  const long blocks_ = LiveBlocks();
  bool exists_ = true;
};

TEST_F(Reading, OpensAgainAfterInterruptions) {
  int calls = 0;
  Calls().open = [&](const char* path, int flags) { return ++calls <= 5 ? Fail<int>(EINTR) : RealOpen(path, flags); };
  EXPECT_EQ(Import(path_), expected_);
  EXPECT_EQ(calls, 6);
}

TEST_F(Reading, AsksForTheKindAgainAfterInterruptions) {
  int calls = 0;
  Calls().fstat = [&](int fd, struct stat* status) { return ++calls <= 5 ? Fail<int>(EINTR) : RealFstat(fd, status); };
  EXPECT_EQ(Import(path_), expected_);
  EXPECT_EQ(calls, 6);
}

TEST_F(Reading, ReadsOnAfterInterruptionsBeforeEveryByte) {
  size_t calls = 0;
  Calls().read = [&](int fd, void* dst, size_t) {
    return ++calls % 4 != 0 ? Fail<ssize_t>(EINTR) : RealRead(fd, dst, 1);
  };
  EXPECT_EQ(Import(path_), expected_);
  EXPECT_EQ(calls, (bytes_.size() + 1) * 4);
}

TEST_F(Reading, ReadsPiecesOfAnySize) {
  for (size_t size = 1; size < 20; size++) {
    Calls().read = [&](int fd, void* dst, size_t room) { return RealRead(fd, dst, std::min(room, size)); };
    EXPECT_EQ(Import(path_), expected_) << size;
  }
}

TEST_F(Reading, RefusesWhatCannotBeOpened) {
  for (const int error : {EACCES, EIO, EMFILE, ENFILE, ENOMEM, ENXIO, ELOOP, EWOULDBLOCK}) {
    int calls = 0;
    Calls().open = [&](const char*, int) { return ++calls, Fail<int>(error); };
    EXPECT_EQ(Import(path_), std::nullopt) << error;
    EXPECT_EQ(calls, 1) << error;
  }
}

TEST_F(Reading, RefusesWhatHasNoKind) {
  for (const int error : {EIO, EOVERFLOW, ENOMEM}) {
    Calls().fstat = [&](int, struct stat*) { return Fail<int>(error); };
    EXPECT_EQ(Import(path_), std::nullopt) << error;
  }
}

TEST_F(Reading, RefusesAFileOfWhichAnyReadFails) {
  for (const int error : {EIO, EAGAIN, EISDIR, ENOMEM}) {
    for (const int failing : {1, 2, 3, 10}) {
      int calls = 0;
      Calls().read = [&](int fd, void* dst, size_t) {
        return ++calls == failing ? Fail<ssize_t>(error) : RealRead(fd, dst, 10);
      };
      EXPECT_EQ(Import(path_), std::nullopt) << error << " " << failing;
      EXPECT_EQ(calls, failing) << error;
    }
  }
}

TEST_F(Reading, RefusesAFileWhoseEndCannotBeRead) {
  int calls = 0;
  Calls().read = [&](int fd, void* dst, size_t room) {
    return ++calls == 2 ? Fail<ssize_t>(EIO) : RealRead(fd, dst, room);
  };
  EXPECT_EQ(Import(path_), std::nullopt);
  EXPECT_EQ(calls, 2);
}

// Runs `change` between the look at the file's size and the first read.
void BeforeTheFirstRead(const std::function<void()>& change) {
  Calls().read = [change](int fd, void* dst, size_t room) {
    const std::function<void()> once = change;
    Calls().read = nullptr;
    once();
    return RealRead(fd, dst, room);
  };
}

TEST_F(Reading, RefusesAFileThatIsCutMeanwhile) {
  for (const size_t left : {size_t{0}, size_t{1}, bytes_.size() / 2, bytes_.size() - 1}) {
    temp_.Write("a.torrent", bytes_);
    BeforeTheFirstRead([&] { EXPECT_EQ(truncate(path_.c_str(), static_cast<off_t>(left)), 0); });
    EXPECT_EQ(Import(path_), std::nullopt) << left;
  }
  temp_.Write("a.torrent", bytes_);
}

TEST_F(Reading, RefusesAFileThatIsCutBehindTheFirstPiece) {
  int calls = 0;
  Calls().read = [&](int fd, void* dst, size_t) {
    if (++calls == 2) {
      EXPECT_EQ(truncate(path_.c_str(), 10), 0);
    }
    return RealRead(fd, dst, 100);
  };
  EXPECT_EQ(Import(path_), std::nullopt);
  EXPECT_EQ(calls, 2);
  temp_.Write("a.torrent", bytes_);
}

TEST_F(Reading, ReadsAllOfAFileThatGrowsMeanwhile) {
  temp_.Write("a.torrent", bytes_.substr(0, 100));
  BeforeTheFirstRead([&] { temp_.Write("a.torrent", bytes_ + std::string(100000, 'x')); });
  EXPECT_EQ(Import(path_), expected_);
  temp_.Write("a.torrent", bytes_);
}

// It would be a good torrent with something behind it.
TEST_F(Reading, StopsReadingAFileThatNeverEnds) {
  size_t total = 0;
  size_t largest = 0;
  Calls().read = [&](int fd, void* dst, size_t room) {
    const size_t piece = std::min(room, size_t{8} << 20);
    memset(dst, 'x', piece);
    if (total == 0) {
      EXPECT_EQ(RealRead(fd, dst, bytes_.size()), static_cast<ssize_t>(bytes_.size()));
    }
    total += piece;
    largest = std::max(largest, room);
    return static_cast<ssize_t>(piece);
  };
  EXPECT_EQ(Import(path_), std::nullopt);
  EXPECT_EQ(total, reader::kMaxFileBytes + 1);
  EXPECT_LE(largest, reader::kMaxFileBytes + 1);
}

TEST_F(Reading, ReadsTheFileThatItOpenedWhenAnotherTakesItsPlace) {
  BeforeTheFirstRead([&] {
    const std::string other = temp_.Write("b.torrent", SingleFile().Build());
    EXPECT_EQ(rename(other.c_str(), path_.c_str()), 0);
  });
  EXPECT_EQ(Import(path_), expected_);
}

TEST_F(Reading, ReadsTheFileThatItOpenedWhenItIsRemoved) {
  BeforeTheFirstRead([&] { EXPECT_EQ(unlink(path_.c_str()), 0); });
  EXPECT_EQ(Import(path_), expected_);
  Calls() = {};
  EXPECT_EQ(Import(path_), std::nullopt);
  exists_ = false;
}

// A file that becomes a pipe or a folder behind the system's name for it is judged by what was opened.
TEST_F(Reading, JudgesTheOpenFileNotItsName) {
  Calls().fstat = [&](int fd, struct stat* status) {
    EXPECT_EQ(unlink(path_.c_str()), 0);
    EXPECT_EQ(mkfifo(path_.c_str(), 0600), 0);
    return RealFstat(fd, status);
  };
  EXPECT_EQ(Import(path_), expected_);
  EXPECT_EQ(unlink(path_.c_str()), 0);
  exists_ = false;
}

TEST_F(Reading, RefusesASizeThatIsNone) {
  for (const off_t size : {off_t{-1}, static_cast<off_t>(reader::kMaxFileBytes) + 1, off_t{1} << 62}) {
    Calls().fstat = [&](int fd, struct stat* status) {
      const int result = RealFstat(fd, status);
      status->st_size = size;
      return result;
    };
    Calls().read = [](int, void*, size_t) {
      ADD_FAILURE() << "was read";
      return ssize_t{0};
    };
    EXPECT_EQ(Import(path_), std::nullopt) << size;
  }
}

TEST_F(Reading, KeepsItsDescriptorFromChildrenAndTerminals) {
  int seen = 0;
  Calls().open = [&](const char* path, int flags) {
    seen = flags;
    return RealOpen(path, flags);
  };
  EXPECT_EQ(Import(path_), expected_);
  EXPECT_EQ(seen, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
}

}  // namespace
}  // namespace faults
