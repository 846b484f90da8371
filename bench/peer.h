// The independent reader that the benchmarks compare with: libtorrent-rasterbar.
#pragma once

#include <stdint.h>

#include <libtorrent/bdecode.hpp>
#include <libtorrent/load_torrent.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

// What both sides must agree on before they are timed.
struct Facts {
  std::string name;
  int64_t total_size = 0;
  std::vector<std::string> paths;  // relative to the torrent's folder, sorted; the name of a single file

  bool operator==(const Facts&) const = default;
};

// Limits under which the peer takes every torrent of the benchmarks.
lt::load_torrent_limits PeerLimits();

// The peer's flat token array over `bytes`, which must outlive it. Throws on failure.
lt::bdecode_node PeerDecode(std::string_view bytes);

// What the peer reads from a whole torrent. Throws on failure.
Facts PeerFacts(std::string_view bytes);

}  // namespace bench
