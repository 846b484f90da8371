#include "tools/mdtorrent/input/folder_walk.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <strings.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

namespace mdtorrent {
namespace {

enum class Kind { kFolder, kLinkToFolder, kOther };

bool IsTorrentName(std::string_view name) {
  constexpr std::string_view kSuffix = ".torrent";
  return name.size() >= kSuffix.size() &&
         strncasecmp(name.data() + name.size() - kSuffix.size(), kSuffix.data(), kSuffix.size()) == 0;
}

bool IsFolder(DIR* folder, const char* name, int flags) {
  struct stat info;
  return fstatat(dirfd(folder), name, &info, flags) == 0 && S_ISDIR(info.st_mode);
}

// Asks the file system about an entry only when the listing does not tell.
Kind KindOf(DIR* folder, const dirent& entry, bool is_torrent_name) {
  if (entry.d_type == DT_DIR) {
    return Kind::kFolder;
  }
  if (entry.d_type == DT_UNKNOWN && IsFolder(folder, entry.d_name, AT_SYMLINK_NOFOLLOW)) {
    return Kind::kFolder;
  }
  const bool may_be_link = entry.d_type == DT_LNK || entry.d_type == DT_UNKNOWN;
  return may_be_link && is_torrent_name && IsFolder(folder, entry.d_name, 0) ? Kind::kLinkToFolder : Kind::kOther;
}

bool IsDots(const char* name) { return strcmp(name, ".") == 0 || strcmp(name, "..") == 0; }

std::string Joined(const std::string& folder, const std::string& name) {
  return folder.ends_with('/') ? folder + name : folder + '/' + name;
}

}  // namespace

void FolderWalk::Enter(std::string folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(folder.c_str()), closedir);
  if (!listing) {
    trouble_ = Found{std::move(folder), errno};
    return;
  }
  std::vector<Entry> entries;
  errno = 0;
  while (const dirent* entry = readdir(listing.get())) {
    const bool is_torrent_name = IsTorrentName(entry->d_name);
    const Kind kind = IsDots(entry->d_name) ? Kind::kLinkToFolder : KindOf(listing.get(), *entry, is_torrent_name);
    if (kind == Kind::kFolder || (kind == Kind::kOther && is_torrent_name)) {
      entries.push_back({entry->d_name, kind == Kind::kFolder});
    }
    errno = 0;
  }
  if (errno != 0) {
    trouble_ = Found{folder, errno};  // what was listed until then is still gone through
  }
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
  levels_.push_back({std::move(folder), std::move(entries), 0});
}

std::optional<FolderWalk::Found> FolderWalk::Next() {
  while (!trouble_ && !levels_.empty()) {
    Level& level = levels_.back();
    if (level.at == level.entries.size()) {
      levels_.pop_back();
      continue;
    }
    const Entry& entry = level.entries[level.at++];
    std::string path = Joined(level.folder, entry.name);
    if (!entry.is_folder) {
      return Found{std::move(path), 0};
    }
    Enter(std::move(path));
  }
  return std::exchange(trouble_, std::nullopt);
}

}  // namespace mdtorrent
