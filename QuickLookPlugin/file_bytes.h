// The bytes of a file, read whole.
#pragma once

#include <stddef.h>

#include "QuickLookPlugin/limits.h"

namespace reader {

// Owns a copy of a file's bytes: nothing that happens to the file later, be it cut or written,
// reaches a reader of the copy.
class FileBytes {
 public:
  FileBytes() = default;
  FileBytes(const FileBytes&) = delete;
  FileBytes& operator=(const FileBytes&) = delete;
  ~FileBytes() { Free(); }

  // Reads the file at `path`. False, and nothing held, when it cannot be read, is no regular file
  // or has more than `limit` bytes. Never waits for a writer of a pipe or a device.
  // Requires: nothing is held.
  bool Load(const char* path, size_t limit = kMaxFileBytes);

  // Reads from `fd` up to its end, in the way of Load. `size` is the expected number of bytes; any
  // other number is as good.
  // Requires: nothing is held.
  bool ReadAll(int fd, size_t size, size_t limit);

  void Free();

  const unsigned char* begin() const { return bytes_; }
  const unsigned char* end() const { return bytes_ + len_; }
  size_t size() const { return len_; }

 private:
  bool Reserve(size_t capacity);

  unsigned char* bytes_ = nullptr;
  size_t len_ = 0;
  size_t capacity_ = 0;
};

}  // namespace reader
