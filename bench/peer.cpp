#include "bench/peer.h"

#include <algorithm>
#include <libtorrent/torrent_info.hpp>
#include <limits>

namespace bench {

lt::load_torrent_limits PeerLimits() {
  lt::load_torrent_limits limits;
  limits.max_buffer_size = std::numeric_limits<int>::max();
  limits.max_decode_tokens = std::numeric_limits<int>::max();
  return limits;
}

lt::bdecode_node PeerDecode(std::string_view bytes) {
  const lt::load_torrent_limits limits = PeerLimits();
  lt::error_code error;
  lt::bdecode_node tokens = lt::bdecode({bytes.data(), static_cast<std::ptrdiff_t>(bytes.size())}, error, nullptr,
                                        limits.max_decode_depth, limits.max_decode_tokens);
  if (error) {
    throw lt::system_error(error);
  }
  return tokens;
}

Facts PeerFacts(std::string_view bytes) {
  const lt::add_torrent_params torrent =
      lt::load_torrent_buffer({bytes.data(), static_cast<std::ptrdiff_t>(bytes.size())}, PeerLimits());
  const lt::file_storage& files = torrent.ti->files();
  Facts facts = {torrent.ti->name(), torrent.ti->total_size(), {}};
  // In a torrent of several files the peer's paths begin with the torrent's name.
  const size_t prefix =
      files.num_files() > 0 && files.file_path(lt::file_index_t{0}) != facts.name ? facts.name.size() + 1 : 0;
  for (const lt::file_index_t i : files.file_range()) {
    facts.paths.push_back(files.file_path(i).substr(prefix));
  }
  std::sort(facts.paths.begin(), facts.paths.end());
  return facts;
}

}  // namespace bench
