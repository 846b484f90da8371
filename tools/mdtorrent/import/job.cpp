#include "tools/mdtorrent/import/job.h"

#include "tools/mdtorrent/interrupt.h"

namespace mdtorrent {

std::optional<Job::Task> Job::Next() {
  const std::lock_guard<std::mutex> held(lock_);
  if (Interrupted() || output_.error() != 0) {
    return std::nullopt;
  }
  std::optional<PathItem> item = paths_.Next();
  if (!item) {
    return std::nullopt;
  }
  return Task{next_number_++, std::move(*item)};
}

}  // namespace mdtorrent
