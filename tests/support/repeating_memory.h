// A platform allocator whose huge blocks take next to no memory: behind the first few megabytes they show the
// same pages again and again. What is written there comes to stand in many places, and the last one wins.
#pragma once

#include <stddef.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

class RepeatingMemory {
 public:
  // Null when there is no memory, or no address space.
  static void* New(size_t n) {
    char* block = n < kHuge ? static_cast<char*>(malloc(kHead + n)) : Map(RoundUp(kHead + n));
    if (block == nullptr) {
      return nullptr;
    }
    memcpy(block, &n, sizeof n);
    return block + kHead;
  }

  // Keeps the start of a huge block alone.
  static void* Resize(void* p, size_t n) {
    void* fresh = New(n);
    if (fresh != nullptr && p != nullptr) {
      memcpy(fresh, p, std::min({n, SizeOf(p), kWindow - kHead}));
      Delete(p);
    }
    return fresh;
  }

  static void Delete(void* p) {
    if (p == nullptr) {
      return;
    }
    const size_t n = SizeOf(p);
    char* block = static_cast<char*>(p) - kHead;
    if (n < kHuge) {
      free(block);
    } else {
      munmap(block, RoundUp(kHead + n));
    }
  }

 private:
  static constexpr size_t kHead = 16;
  static constexpr size_t kWindow = size_t{4} << 20;
  static constexpr size_t kHuge = kWindow;

  static size_t RoundUp(size_t bytes) { return (bytes + kWindow - 1) / kWindow * kWindow; }

  static size_t SizeOf(void* p) {
    size_t n;
    memcpy(&n, static_cast<char*>(p) - kHead, sizeof n);
    return n;
  }

  // Pages of its own, then the window's side by side.
  static char* Map(size_t bytes) {
    static const int window = MakeWindow();
    constexpr int kAccess = PROT_READ | PROT_WRITE;
    void* space = mmap(nullptr, bytes, kAccess, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (space == MAP_FAILED) {
      return nullptr;
    }
    for (size_t at = kWindow; at < bytes; at += kWindow) {
      if (mmap(static_cast<char*>(space) + at, kWindow, kAccess, MAP_SHARED | MAP_FIXED | MAP_POPULATE, window, 0) ==
          MAP_FAILED) {
        munmap(space, bytes);
        return nullptr;
      }
    }
    return static_cast<char*>(space);
  }

  static int MakeWindow() {
    std::string name = (std::filesystem::temp_directory_path() / "window-XXXXXX").string();
    const int file = mkstemp(name.data());
    unlink(name.c_str());
    if (ftruncate(file, static_cast<off_t>(kWindow)) != 0) {
      abort();
    }
    return file;
  }
};
