// Files, limits, clocks and addresses: same calls, other constants and records.
#include <arpa/inet.h>
#include <fcntl.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "tests/macho/shims.h"

namespace macho {
namespace {

struct DarwinStat {
  int32_t device;
  uint16_t mode, links;
  uint64_t inode;
  uint32_t user, group;
  int32_t special_device, padding;
  timespec accessed, modified, changed, born;
  int64_t size, blocks;
  int32_t block_size;
  uint32_t flags, generation;
  int32_t spare;
  int64_t spares[2];
};
static_assert(sizeof(DarwinStat) == 144 && offsetof(DarwinStat, size) == 96);

int Stat(int fd, DarwinStat* out) {
  struct stat info;
  const int result = WithErrno([&] { return fstat(fd, &info); });
  if (result != 0) {
    return result;
  }
  *out = {};
  out->device = static_cast<int32_t>(info.st_dev);
  out->mode = static_cast<uint16_t>(info.st_mode);
  out->links = static_cast<uint16_t>(info.st_nlink);
  out->inode = info.st_ino;
  out->user = info.st_uid;
  out->group = info.st_gid;
  out->accessed = info.st_atim;
  out->modified = info.st_mtim;
  out->changed = info.st_ctim;
  out->size = info.st_size;
  out->blocks = info.st_blocks;
  out->block_size = static_cast<int32_t>(info.st_blksize);
  return 0;
}

struct OpenFlag {
  int darwin;
  int here;
};
constexpr OpenFlag kOpenFlags[] = {{0x4, O_NONBLOCK}, {0x20000, O_NOCTTY}, {0x1000000, O_CLOEXEC}};

// For reading only. Flags that are not listed are an error, so that none is lost unnoticed.
int Open(const char* path, int flags, ...) {
  int here = O_RDONLY;
  for (const OpenFlag& flag : kOpenFlags) {
    here |= (flags & flag.darwin) != 0 ? flag.here : 0;
    flags &= ~flag.darwin;
  }
  if (flags != 0) {
    *ImageErrno() = DarwinErrno(EINVAL);
    return -1;
  }
  return WithErrno([&] { return open(path, here); });
}

ssize_t Read(int fd, void* to, size_t room) {
  return WithErrno([&] { return read(fd, to, room); });
}

int Close(int fd) {
  return WithErrno([&] { return close(fd); });
}

struct DarwinLimit {
  uint64_t current, most;
};
constexpr int kDarwinStackLimit = 3;
constexpr uint64_t kDarwinUnlimited = INT64_MAX;

uint64_t Limit(rlim_t limit) { return limit == RLIM_INFINITY ? kDarwinUnlimited : limit; }

int GetLimit(int which, DarwinLimit* out) {
  if (which != kDarwinStackLimit) {
    *ImageErrno() = DarwinErrno(EINVAL);
    return -1;
  }
  rlimit limit;
  const int result = WithErrno([&] { return getrlimit(RLIMIT_STACK, &limit); });
  if (result == 0) {
    *out = {Limit(limit.rlim_cur), Limit(limit.rlim_max)};
  }
  return result;
}

int Clock(int which, timespec* out) {
  if (which != 0) {  // the time of day
    *ImageErrno() = DarwinErrno(EINVAL);
    return -1;
  }
  return WithErrno([&] { return clock_gettime(CLOCK_REALTIME, out); });
}

int Family(int darwin) { return darwin == 30 ? AF_INET6 : darwin == 2 ? AF_INET : -1; }

const char* AddressText(int family, const void* address, char* text, uint32_t room) {
  return WithErrno([&] { return inet_ntop(Family(family), address, text, room); });
}

int ParseAddress(int family, const char* text, void* address) {
  return WithErrno([&] { return inet_pton(Family(family), text, address); });
}

}  // namespace

int* ImageErrno() {
  static thread_local int number;
  return &number;
}

// The first 34 agree but for these.
int DarwinErrno(int number) {
  switch (number) {
    case EDEADLK:
      return 11;
    case EAGAIN:
      return 35;
    case ENOTSUP:
      return 45;
    case EAFNOSUPPORT:
      return 47;
    case ELOOP:
      return 62;
    case ENAMETOOLONG:
      return 63;
    case ENOTEMPTY:
      return 66;
    case ENOSYS:
      return 78;
    case EOVERFLOW:
      return 84;
    case EILSEQ:
      return 92;
    default:
      return number;
  }
}

std::span<const Shim> FileShims() {
  static const Shim shims[] = {
      {"___error", reinterpret_cast<void*>(ImageErrno)},
      {"_clock_gettime", reinterpret_cast<void*>(Clock)},
      {"_close", reinterpret_cast<void*>(Close)},
      {"_fstat$INODE64", reinterpret_cast<void*>(Stat)},
      {"_getrlimit", reinterpret_cast<void*>(GetLimit)},
      {"_inet_ntop", reinterpret_cast<void*>(AddressText)},
      {"_inet_pton", reinterpret_cast<void*>(ParseAddress)},
      {"_open", reinterpret_cast<void*>(Open)},
      {"_read", reinterpret_cast<void*>(Read)},
  };
  return shims;
}

}  // namespace macho
