// Processor time of one thread: what others do on a busy machine hardly shows in it.
#pragma once

#include <time.h>

#include <algorithm>

namespace hostile {

inline double ThreadMilliseconds() {
  timespec now = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

// The milliseconds that `work` takes on this thread.
template <class Work>
double TimeOf(Work work) {
  const double start = ThreadMilliseconds();
  work();
  return ThreadMilliseconds() - start;
}

}  // namespace hostile
