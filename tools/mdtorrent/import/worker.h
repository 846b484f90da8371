// The threads that import.
#pragma once

#include <memory>
#include <vector>

#include "tools/mdtorrent/import/job.h"
#include "tools/mdtorrent/import/plugin.h"

namespace mdtorrent {

// Imports the files of `job` until there are no more, each importer on a thread of its own; the
// first one on the calling thread. Returns when all threads are done.
void ImportAll(Job& job, const std::vector<std::unique_ptr<Importer>>& importers);

}  // namespace mdtorrent
