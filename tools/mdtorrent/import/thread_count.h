// How many threads import.
#pragma once

#include <stddef.h>

namespace mdtorrent {

// The part of `wanted` threads for which the process may open files enough, so that none of them
// finds its file refused because the others hold theirs; at least 1.
size_t BearableThreads(size_t wanted);

}  // namespace mdtorrent
