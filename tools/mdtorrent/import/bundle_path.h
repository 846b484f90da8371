// Where the importer bundle lies.
#pragma once

#include <string>
#include <vector>

namespace mdtorrent {

constexpr char kBundleName[] = "SorrelTorrent.mdimporter";

// The places to look for the bundle, seen from the program at `executable`: beside it, where an
// installation puts it, and where the build leaves it. The last lies outside an installation's own
// folders and must not come before the one inside.
std::vector<std::string> BundleCandidates(const std::string& executable);

// The first candidate that is a folder; empty when none is.
std::string FindBundle(const std::vector<std::string>& candidates);

}  // namespace mdtorrent
