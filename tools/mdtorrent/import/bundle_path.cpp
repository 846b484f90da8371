#include "tools/mdtorrent/import/bundle_path.h"

#include <sys/stat.h>

namespace mdtorrent {

std::vector<std::string> BundleCandidates(const std::string& executable) {
  const size_t slash = executable.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : executable.substr(0, slash);
  std::vector<std::string> candidates;
  for (const char* place : {"", MDTORRENT_INSTALLED_BUNDLE_FOLDER "/", MDTORRENT_BUILT_BUNDLE_FOLDER "/"}) {
    candidates.push_back(folder + "/" + place + kBundleName);
  }
  return candidates;
}

std::string FindBundle(const std::vector<std::string>& candidates) {
  for (const std::string& candidate : candidates) {
    struct stat info;
    if (stat(candidate.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
      return candidate;
    }
  }
  return {};
}

}  // namespace mdtorrent
