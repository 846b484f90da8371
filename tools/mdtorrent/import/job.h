// What the threads of a run share.
#pragma once

#include <mutex>
#include <optional>
#include <utility>

#include "tools/mdtorrent/input/path_list.h"
#include "tools/mdtorrent/output/ordered_output.h"

namespace mdtorrent {

class Job {
 public:
  struct Task {
    size_t number;
    PathItem item;
  };

  Job(Format format, bool show_paths, PathList& paths, OrderedOutput& output)
      : format_(format), show_paths_(show_paths), paths_(paths), output_(output) {}

  Format format() const { return format_; }
  bool show_paths() const { return show_paths_; }
  OrderedOutput& output() const { return output_; }

  // The next file to import; none when the run is to end.
  std::optional<Task> Next();

 private:
  Format format_;
  bool show_paths_;
  std::mutex lock_;
  PathList& paths_;
  OrderedOutput& output_;
  size_t next_number_ = 0;
};

}  // namespace mdtorrent
