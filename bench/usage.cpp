#include "bench/usage.h"

#include <malloc.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace bench {
namespace {

// The figure that /proc/self/status gives in kB under `key`.
size_t StatusBytes(const std::string& key) {
  std::ifstream in("/proc/self/status");
  for (std::string word; in >> word;) {
    if (word == key + ":") {
      size_t kilobytes = 0;
      in >> kilobytes;
      return kilobytes * 1024;
    }
  }
  throw std::runtime_error("/proc/self/status has no " + key);
}

}  // namespace

size_t ResidentBytes() { return StatusBytes("VmRSS"); }

size_t PeakResidentBytes() { return StatusBytes("VmHWM"); }

void RestartPeak() {
  std::ofstream out("/proc/self/clear_refs");
  if (!(out << "5" << std::flush)) {
    throw std::runtime_error("/proc/self/clear_refs cannot be written");
  }
}

size_t HeapBytes() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

int OpenDescriptors() {
  int count = -1;  // the one that lists the folder
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

}  // namespace bench
