#include "tools/mdtorrent/import/thread_count.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <algorithm>

namespace mdtorrent {
namespace {

constexpr size_t kPerThread = 2;  // a file, and once more the same under a second name
constexpr size_t kShared = 2;     // a folder that is listed, and what a library of the system may read

// The descriptors that are free, as far as `enough`.
size_t FreeDescriptors(size_t enough) {
  rlimit limit;
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) {
    return enough;
  }
  size_t found = 0;
  for (rlim_t fd = 0; fd < limit.rlim_cur && found < enough; ++fd) {
    found += fcntl(static_cast<int>(fd), F_GETFD) < 0 ? 1 : 0;
  }
  return found;
}

}  // namespace

size_t BearableThreads(size_t wanted) {
  const size_t free = FreeDescriptors(kShared + wanted * kPerThread);
  return free < kShared + kPerThread ? 1 : (free - kShared) / kPerThread;
}

}  // namespace mdtorrent
