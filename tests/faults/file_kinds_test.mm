// Everything that may stand where a torrent file is expected.
#include <fcntl.h>
#include <limits.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <chrono>

#include "QuickLookPlugin/limits.h"
#include "tests/faults/faulty_import.h"

namespace faults {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kAtOnce = std::chrono::milliseconds(100);

class FileKinds : public FaultyImport {
 protected:
  std::string Path(const std::string& name) const { return (temp_.path() / name).string(); }

  // Refused at once, with nothing left behind. Waiting for ever ends the program.
  void ExpectRefusal(NSURL* url) const {
    alarm(60);
    const int descriptor = NextDescriptor();
    const long blocks = LiveBlocks();
    Clock::duration fastest = Clock::duration::max();
    for (int i = 0; i < 5 && fastest > kAtOnce; i++) {  // other programs may take the processor once
      const Clock::time_point start = Clock::now();
      EXPECT_EQ(Import(url), std::nullopt);
      fastest = std::min(fastest, Clock::now() - start);
    }
    EXPECT_LE(fastest, kAtOnce);
    alarm(0);
    EXPECT_EQ(NextDescriptor(), descriptor);
    EXPECT_EQ(LiveBlocks(), blocks);
  }
  void ExpectRefusal(const std::string& path) const {
    SCOPED_TRACE(path.substr(0, 200));
    ExpectRefusal(FileURL(path));
  }

  std::string Torrent(const std::string& name = "a.torrent") const { return temp_.Write(name, SingleFile().Build()); }
};

TEST_F(FileKinds, WhatIsNotThere) {
  ExpectRefusal(Path("missing.torrent"));
  ExpectRefusal(Path("no folder/a.torrent"));
  ExpectRefusal(Torrent() + "/a.torrent");
}

TEST_F(FileKinds, Folder) {
  ExpectRefusal(Path(""));
  ExpectRefusal("/");
}

TEST_F(FileKinds, PipeWithoutAWriter) {
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  ExpectRefusal(Path("pipe"));
}

TEST_F(FileKinds, PipeWithATorrentInIt) {
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  const int fd = open(Path("pipe").c_str(), O_RDWR | O_NONBLOCK);
  const std::string bytes = SingleFile().Build();
  ASSERT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  ExpectRefusal(Path("pipe"));
  std::string left(bytes.size(), 0);
  EXPECT_EQ(read(fd, left.data(), left.size()), static_cast<ssize_t>(bytes.size()));  // nobody took a byte
  close(fd);
}

TEST_F(FileKinds, Socket) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const std::string path = Path("socket");
  ASSERT_LT(path.size(), sizeof address.sun_path);
  memcpy(address.sun_path, path.c_str(), path.size() + 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(fd, 1), 0);
  ExpectRefusal(path);
  close(fd);
}

TEST_F(FileKinds, Devices) {
  for (const char* path : {"/dev/null", "/dev/zero", "/dev/random", "/dev/tty", "/dev/stdin"}) {
    ExpectRefusal(path);
  }
}

// As a user who may not read everything.
class OrdinaryUser {
 public:
  OrdinaryUser() {
    if (super_) {
      EXPECT_EQ(seteuid(65534), 0);
    }
  }
  ~OrdinaryUser() {
    if (super_) {
      EXPECT_EQ(seteuid(0), 0);
    }
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

 private:
  const bool super_ = geteuid() == 0;
};

TEST_F(FileKinds, FileWithoutPermission) {
  const std::string path = Torrent();
  ASSERT_EQ(chmod(temp_.path().c_str(), 0755), 0);
  for (const mode_t mode : {mode_t{0644}, mode_t{0}}) {
    ASSERT_EQ(chmod(path.c_str(), mode), 0);
    const OrdinaryUser user;
    if (mode != 0) {
      EXPECT_TRUE(Import(path));
    } else {
      ExpectRefusal(path);
    }
  }
}

TEST_F(FileKinds, FolderWithoutPermission) {
  const std::string path = Torrent("inner/a.torrent");
  ASSERT_EQ(chmod(temp_.path().c_str(), 0755), 0);
  ASSERT_EQ(chmod(Path("inner").c_str(), 0), 0);
  {
    const OrdinaryUser user;
    ExpectRefusal(path);
  }
  EXPECT_EQ(chmod(Path("inner").c_str(), 0755), 0);
}

TEST_F(FileKinds, Links) {
  const std::string target = Torrent();
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  const std::pair<const char*, std::string> links[] = {
      {"good", target},        {"self", "self"},    {"one", "other"},          {"other", "one"},
      {"dangling", "nowhere"}, {"to pipe", "pipe"}, {"to device", "/dev/zero"}};
  for (const auto& [name, to] : links) {
    ASSERT_EQ(symlink(to.c_str(), Path(name).c_str()), 0);
  }
  EXPECT_TRUE(Import(Path("good")));
  for (const char* name : {"self", "one", "other", "dangling", "to pipe", "to device"}) {
    ExpectRefusal(Path(name));
  }
}

TEST_F(FileKinds, PathsThatAreTooLong) {
  ExpectRefusal(Path(std::string(NAME_MAX + 1, 'x')));
  ExpectRefusal(Path(std::string(PATH_MAX, 'x')));
  std::string deep = temp_.path().string();
  while (deep.size() < 1 << 20) {
    deep += "/folder";
  }
  ExpectRefusal(deep);
}

TEST_F(FileKinds, LongestName) { EXPECT_TRUE(Import(Torrent(std::string(NAME_MAX, 'x')))); }

TEST_F(FileKinds, PathThatIsNoUtf8) {
  Torrent("\xFF.torrent");
  Torrent("\xC3.torrent");
  for (const char* name : {"%FF.torrent", "%C3.torrent", "%ED%A0%80.torrent", "%00", "a%00.torrent"}) {
    SCOPED_TRACE(name);
    ExpectRefusal([NSURL URLWithString:Text("file://" + Path(name))]);
  }
}

TEST_F(FileKinds, HugeFileIsNotRead) {
  const std::string path = Torrent();
  ASSERT_EQ(truncate(path.c_str(), off_t{10} << 30), 0);
  Calls().read = [](int, void*, size_t) {
    ADD_FAILURE() << "was read";
    return ssize_t{0};
  };
  ExpectRefusal(path);
}

TEST_F(FileKinds, LargestFile) {
  constexpr auto kLimit = static_cast<off_t>(reader::kMaxFileBytes);
  const std::string path = Torrent();
  const std::optional<Attributes> expected = Import(path);
  for (const off_t size : {kLimit - 1, kLimit}) {
    ASSERT_EQ(truncate(path.c_str(), size), 0);
    EXPECT_EQ(Import(path), expected) << size;
  }
  ASSERT_EQ(truncate(path.c_str(), kLimit + 1), 0);
  ExpectRefusal(path);
}

}  // namespace
}  // namespace faults
