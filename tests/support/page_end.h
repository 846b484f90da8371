// Test input that ends where readable memory ends: the first byte read past it stops the process.
#pragma once

#include <stddef.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>
#include <string_view>

class PageEndBytes {
 public:
  explicit PageEndBytes(std::string_view bytes) : len_(bytes.size()) {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t room = (len_ / page + 1) * page;
    mapped_ = room + page;
    void* block = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED) {
      throw std::runtime_error("mmap failed");
    }
    block_ = static_cast<unsigned char*>(block);
    if (mprotect(block_ + room, page, PROT_NONE) != 0) {
      throw std::runtime_error("mprotect failed");
    }
    begin_ = block_ + room - len_;
    memcpy(begin_, bytes.data(), len_);
  }
  ~PageEndBytes() { munmap(block_, mapped_); }
  PageEndBytes(const PageEndBytes&) = delete;
  PageEndBytes& operator=(const PageEndBytes&) = delete;

  unsigned char* begin() { return begin_; }
  unsigned char* end() { return begin_ + len_; }

 private:
  unsigned char* block_ = nullptr;
  unsigned char* begin_ = nullptr;
  size_t mapped_ = 0;
  size_t len_;
};
