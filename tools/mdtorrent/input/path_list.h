// Everything that is to be imported, in order: the paths that were named, what is found in folders,
// and what standard input lists. Used by one thread at a time.
#pragma once

#include <stddef.h>

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "tools/mdtorrent/failure.h"
#include "tools/mdtorrent/input/folder_walk.h"
#include "tools/mdtorrent/input/line_reader.h"

namespace mdtorrent {

struct PathItem {
  std::string path;
  std::optional<Failure> failure;  // when it is already known that nothing can be imported from it
};

class PathList {
 public:
  struct Source {
    std::vector<std::string> paths;  // "-" stands for the lines of `input`
    bool recursive = false;          // look into folders
    char separator = '\n';
    int input = 0;
    int stop = -1;  // see LineReader
  };

  explicit PathList(Source source);

  // The next item; none when all have been given.
  std::optional<PathItem> Next();

  // Finds all items now, unless they come from standard input, which may still be written.
  // Afterwards total() is known.
  void CollectIfFinite();

  std::optional<size_t> total() const { return total_; }

  // Whether a folder was searched so far.
  bool searched_folder() const { return searched_folder_; }

 private:
  std::optional<PathItem> Find();
  std::optional<PathItem> NextInFolder();
  std::optional<PathItem> NextNamed();
  std::optional<PathItem> EndOfInput();

  Source source_;
  size_t next_path_ = 0;
  LineReader input_;
  bool reading_input_ = false;
  std::optional<FolderWalk> folder_;
  bool searched_folder_ = false;
  std::deque<PathItem> collected_;
  std::optional<size_t> total_;
};

}  // namespace mdtorrent
