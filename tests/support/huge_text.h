// A text of any length that takes next to no memory: the same pages, mapped again and again.
#pragma once

#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <filesystem>
#include <string>

// `len` characters without meaning, none of them zero, and a terminator.
template <class C>
class HugeText {
 public:
  explicit HugeText(size_t len) : bytes_(RoundUp((len + 1) * sizeof(C))) {
    const std::string pattern(kWindow, kByte);
    std::string name = (std::filesystem::temp_directory_path() / "huge-XXXXXX").string();
    const int file = mkstemp(name.data());
    unlink(name.c_str());
    ok_ = file >= 0 && write(file, pattern.data(), kWindow) == static_cast<ssize_t>(kWindow) && Map(file);
    close(file);
    if (ok_) {
      reinterpret_cast<C*>(base_)[len] = 0;
    }
  }
  ~HugeText() {
    if (base_ != nullptr) {
      munmap(base_, bytes_);
    }
  }
  HugeText(const HugeText&) = delete;
  HugeText& operator=(const HugeText&) = delete;

  // False when the machine does not lend the address space.
  bool ok() const { return ok_; }

  // The text.
  const C* get() const { return reinterpret_cast<const C*>(base_); }

 private:
  static constexpr size_t kWindow = size_t{4} << 20;
  static constexpr char kByte = 'x';

  static size_t RoundUp(size_t bytes) { return (bytes + kWindow - 1) / kWindow * kWindow; }

  // Lays the file's window side by side; writing makes private copies of the touched pages.
  bool Map(int file) {
    void* space = mmap(nullptr, bytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (space == MAP_FAILED) {
      return false;
    }
    base_ = static_cast<char*>(space);
    for (size_t at = 0; at < bytes_; at += kWindow) {
      const int flags = MAP_PRIVATE | MAP_FIXED | MAP_NORESERVE;
      if (mmap(base_ + at, kWindow, PROT_READ | PROT_WRITE, flags, file, 0) == MAP_FAILED) {
        return false;
      }
    }
    return true;
  }

  size_t bytes_;
  char* base_ = nullptr;
  bool ok_ = false;
};
