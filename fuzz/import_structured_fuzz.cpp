// Property: the plug-in makes of a torrent, and of one that was spoilt in up to eight places, what the model of
// the reader makes of it, refuses without a trace, and gives everything back. A torrent that is whole is imported.
#include <stddef.h>
#include <stdint.h>

#include "fuzz/models/reader_model.h"
#include "fuzz/support/fuzz_check.h"
#include "fuzz/support/fuzz_input.h"
#include "fuzz/support/import_check.h"
#include "fuzz/support/torrent_builder.h"

namespace {

void Check(const std::string& torrent) {
  const std::string fault = ImportFault(torrent);
  Require(fault.empty(), fault.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  const int64_t in_tree = in.Between(0, 4);
  const int64_t in_bytes = in.Between(0, 4);
  torrent_builder::Node torrent = torrent_builder::Build(in);
  if (in_tree + in_bytes == 0) {
    Require(reader_model::Read(torrent_builder::Encode(torrent)).has_value(), "a torrent that is whole is readable");
  }
  for (int64_t i = 0; i < in_tree; ++i) {
    torrent_builder::SpoilTree(in, torrent);
  }
  std::string bytes = torrent_builder::Encode(torrent);
  for (int64_t i = 0; i < in_bytes; ++i) {
    torrent_builder::SpoilBytes(in, bytes);
  }
  Check(bytes);
  return 0;
}
