// Everything that is in a bencoded file.
#pragma once

#include <stdio.h>

#include "tools/mdtorrent/options.h"

namespace mdtorrent {

// Decodes the file with the limits of the importer's reader and writes the tree to `out`. Complaints go
// to `complaints`, a line each.
ExitCode Dump(const DumpOptions& options, FILE* out, FILE* complaints);

}  // namespace mdtorrent
