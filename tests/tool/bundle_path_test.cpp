#include "tools/mdtorrent/import/bundle_path.h"

#include <gtest/gtest.h>

#include "tests/support/temp_folder.h"

namespace mdtorrent {
namespace {

TEST(BundlePath, BesideTheProgramComesFirst) {
  const std::vector<std::string> candidates = BundleCandidates("/opt/x/bin/mdtorrent");
  ASSERT_EQ(3u, candidates.size());
  EXPECT_EQ("/opt/x/bin/SorrelTorrent.mdimporter", candidates[0]);
}

#if !defined(__APPLE__)
TEST(BundlePath, AnInstallationKeepsItAmongTheLibraries) {
  EXPECT_EQ("/opt/x/bin/../lib/sorrel-torrent/SorrelTorrent.mdimporter", BundleCandidates("/opt/x/bin/mdtorrent")[1]);
}
#endif

TEST(BundlePath, OnlyAFolderIsFound) {
  const TempFolder folder;
  const std::string file = folder.Write("file", "");
  const std::string inner = folder.Write("inner/file", "");
  EXPECT_EQ(folder.path() / "inner", FindBundle({folder.path() / "missing", file, folder.path() / "inner"}));
  EXPECT_EQ("", FindBundle({file}));
}

}  // namespace
}  // namespace mdtorrent
