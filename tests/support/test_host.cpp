#include "tests/support/test_host.h"

#include <functional>
#include <map>
#include <mutex>

#include "core/base/host.h"
#include "core/base/memutils.h"
#include "tests/support/exact_bytes.h"

namespace {

struct State {
  std::mutex mutex;
  int warn_calls = 0;
  size_t warn_size = 0;
  int log_calls = 0;
  std::string log_format;
  std::map<std::wstring, std::string, std::less<>> files;
  std::map<std::wstring, std::wstring, std::less<>> canonical;
};

// Never destroyed: threads and exit handlers may still allocate.
State& Shared() {
  static State& state = *new State;
  return state;
}

}  // namespace

namespace test_host {

int WarnNoMemoryCalls() {
  std::lock_guard lock(Shared().mutex);
  return Shared().warn_calls;
}

size_t WarnNoMemorySize() {
  std::lock_guard lock(Shared().mutex);
  return Shared().warn_size;
}

int LogfCalls() {
  std::lock_guard lock(Shared().mutex);
  return Shared().log_calls;
}

std::string LastLogFormat() {
  std::lock_guard lock(Shared().mutex);
  return Shared().log_format;
}

void RegisterFile(std::wstring_view path, std::string_view bytes) {
  std::lock_guard lock(Shared().mutex);
  Shared().files.insert_or_assign(std::wstring(path), std::string(bytes));
}

void RegisterCanonicalPath(std::wstring_view path, std::wstring_view canonical) {
  std::lock_guard lock(Shared().mutex);
  Shared().canonical.insert_or_assign(std::wstring(path), std::wstring(canonical));
}

void Reset() {
  State& s = Shared();
  std::lock_guard lock(s.mutex);
  s.warn_calls = 0;
  s.warn_size = 0;
  s.log_calls = 0;
  s.log_format.clear();
  s.files.clear();
  s.canonical.clear();
  ResetPlatformMemory();
}

}  // namespace test_host

// The thread block is the bundle's own, from QuickLookPlugin/thread_block.cpp.
namespace core {

void WarnNoMemory(size_t n) {
  std::lock_guard lock(Shared().mutex);
  ++Shared().warn_calls;
  Shared().warn_size = n;
}

void Logf(const char* format, ...) {
  std::lock_guard lock(Shared().mutex);
  ++Shared().log_calls;
  Shared().log_format = format;
}

wchar_t* GetCanonicalPath(const wchar_t* path) {
  std::wstring answer = path;
  {
    std::lock_guard lock(Shared().mutex);
    auto found = Shared().canonical.find(answer);
    if (found != Shared().canonical.end()) {
      answer = found->second;
    }
  }
  return static_cast<wchar_t*>(memdup(answer.c_str(), (answer.size() + 1) * sizeof(wchar_t)));
}

bool LoadFile_Safe(const wchar_t* path, bool (*callback)(unsigned char* bytes, size_t len, void* context),
                   void* context) {
  std::string bytes;
  {
    std::lock_guard lock(Shared().mutex);
    auto found = Shared().files.find(std::wstring_view(path));
    if (found == Shared().files.end()) {
      return false;
    }
    bytes = found->second;
  }
  ExactBytes copy(bytes);
  return callback(copy.data(), copy.size(), context);
}

}  // namespace core
