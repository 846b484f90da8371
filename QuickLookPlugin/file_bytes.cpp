#include "QuickLookPlugin/file_bytes.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

namespace reader {

namespace {

// Without waiting: opening a pipe would otherwise hang until someone writes to it.
int OpenForReading(const char* path) {
  int fd = -1;
  do {
    fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

// A file system that a program serves may be interrupted here too.
bool GetStatus(int fd, struct stat* status) {
  int result = -1;
  do {
    result = fstat(fd, status);
  } while (result < 0 && errno == EINTR);
  return result == 0;
}

ssize_t ReadSome(int fd, unsigned char* dst, size_t room) {
  ssize_t got = 0;
  do {
    got = read(fd, dst, room);
  } while (got < 0 && errno == EINTR);
  return got;
}

}  // namespace

bool FileBytes::Load(const char* path, size_t limit) {
  const int fd = OpenForReading(path);
  if (fd < 0) {
    return false;
  }
  struct stat status;
  const bool acceptable = GetStatus(fd, &status) && S_ISREG(status.st_mode) && status.st_size >= 0 &&
                          static_cast<unsigned long long>(status.st_size) <= limit;
  const bool loaded = acceptable && ReadAll(fd, static_cast<size_t>(status.st_size), limit);
  close(fd);
  return loaded;
}

// One byte more than expected is asked for, so that an unchanged file takes one block and its end
// shows at once.
bool FileBytes::ReadAll(int fd, size_t size, size_t limit) {
  bool room = Reserve((size < limit ? size : limit) + 1);
  while (room) {
    const ssize_t got = ReadSome(fd, bytes_ + len_, capacity_ - len_);
    if (got == 0) {
      return true;
    }
    if (got < 0 || static_cast<size_t>(got) > limit - len_) {
      break;
    }
    len_ += static_cast<size_t>(got);
    room = len_ < capacity_ || Reserve(len_ < limit / 2 ? len_ * 2 : limit + 1);
  }
  Free();
  return false;
}

// A file that does not fit into memory is one that cannot be read, no reason to stop the process.
bool FileBytes::Reserve(size_t capacity) {
  unsigned char* bytes = static_cast<unsigned char*>(realloc(bytes_, capacity));
  if (!bytes) {
    return false;
  }
  bytes_ = bytes;
  capacity_ = capacity;
  return true;
}

void FileBytes::Free() {
  free(bytes_);
  bytes_ = nullptr;
  len_ = 0;
  capacity_ = 0;
}

}  // namespace reader
