// Finds the torrent files in a folder and all folders below it.
#pragma once

#include <stddef.h>

#include <optional>
#include <string>
#include <vector>

namespace mdtorrent {

// Goes through a folder in the order of the names. Links to files count as files; links to folders
// are not followed, so that no loop of links can catch the walk and no file comes twice.
class FolderWalk {
 public:
  explicit FolderWalk(const std::string& root) { Enter(root); }

  struct Found {
    std::string path;
    int error;  // why the folder at `path` cannot be listed; 0 when `path` is a file
  };

  // The next *.torrent file (in any case), or the next folder that cannot be listed.
  std::optional<Found> Next();

 private:
  struct Entry {
    std::string name;
    bool is_folder;
  };
  struct Level {
    std::string folder;
    std::vector<Entry> entries;
    size_t at;
  };

  void Enter(std::string folder);

  std::vector<Level> levels_;
  std::optional<Found> trouble_;
};

}  // namespace mdtorrent
