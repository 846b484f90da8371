#include "tools/mdtorrent/input/path_list.h"

#include <sys/stat.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace mdtorrent {
namespace {

bool IsFolder(const std::string& path) {
  struct stat info;
  const bool holds_zero = path.find('\0') != std::string::npos;  // which no name does
  return !holds_zero && stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

PathList::PathList(Source source)
    : source_(std::move(source)), input_(source_.input, source_.separator, source_.stop) {}

std::optional<PathItem> PathList::NextInFolder() {
  std::optional<FolderWalk::Found> found = folder_->Next();
  if (!found) {
    folder_.reset();
    return std::nullopt;
  }
  PathItem item{std::move(found->path), std::nullopt};
  if (found->error != 0) {
    item.failure = CannotOpen(found->error);
  }
  return item;
}

std::optional<PathItem> PathList::EndOfInput() {
  reading_input_ = false;
  if (input_.error() == 0) {
    return std::nullopt;
  }
  const std::string message = std::error_code(input_.error(), std::generic_category()).message();
  return PathItem{"-", Failure{Outcome::kUnreadable, "cannot read standard input: " + message}};
}

std::optional<PathItem> PathList::NextNamed() {
  std::string path;
  if (reading_input_) {
    if (!input_.Next(path)) {
      return EndOfInput();
    }
  } else {
    path = std::move(source_.paths[next_path_++]);
    if (path == "-") {
      reading_input_ = true;
      return std::nullopt;
    }
  }
  if (!IsFolder(path)) {
    return PathItem{std::move(path), std::nullopt};
  }
  if (source_.recursive) {
    folder_.emplace(path);
    searched_folder_ = true;
    return std::nullopt;
  }
  return PathItem{std::move(path), Failure{Outcome::kUnreadable, "is a folder; add -r to search it"}};
}

std::optional<PathItem> PathList::Find() {
  while (folder_ || reading_input_ || next_path_ < source_.paths.size()) {
    if (std::optional<PathItem> item = folder_ ? NextInFolder() : NextNamed()) {
      return item;
    }
  }
  return std::nullopt;
}

std::optional<PathItem> PathList::Next() {
  if (!total_) {
    return Find();
  }
  if (collected_.empty()) {
    return std::nullopt;
  }
  PathItem item = std::move(collected_.front());
  collected_.pop_front();
  return item;
}

void PathList::CollectIfFinite() {
  if (total_ || std::find(source_.paths.begin(), source_.paths.end(), "-") != source_.paths.end()) {
    return;
  }
  while (std::optional<PathItem> item = Find()) {
    collected_.push_back(std::move(*item));
  }
  total_ = collected_.size();
}

}  // namespace mdtorrent
