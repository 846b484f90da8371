// Imports everything on a list and prints it.
#pragma once

#include "tools/mdtorrent/import/plugin.h"
#include "tools/mdtorrent/options.h"

namespace mdtorrent {

// Runs as `options` say, with importers of `bundle`. Errors are told on standard error.
ExitCode Run(const Options& options, const ImporterBundle& bundle, const std::string& bundle_path);

// Tells on standard error that the bundle at `path` is of no use.
ExitCode RefuseBundle(const std::string& path, const std::string& reason);

}  // namespace mdtorrent
