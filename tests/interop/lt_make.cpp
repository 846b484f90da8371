// lt_make VERSIONS PIECE SOURCE TORRENT: makes with libtorrent-rasterbar a torrent of the folder or file
// SOURCE with pieces of PIECE bytes. VERSIONS is "1" or "2" for a torrent of that version alone, "both" for
// one of both.
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <libtorrent/bencode.hpp>
#include <libtorrent/create_torrent.hpp>
#include <libtorrent/file_storage.hpp>
#include <string>
#include <vector>

namespace {

lt::create_flags_t FlagsOf(const std::string& versions) {
  if (versions == "1") {
    return lt::create_torrent::v1_only;
  }
  return versions == "2" ? lt::create_torrent::v2_only : lt::create_flags_t{};
}

void Make(const std::string& versions, int piece, const std::string& source, const std::string& torrent) {
  lt::file_storage files;
  lt::add_files(files, source);
  lt::create_torrent maker(files, piece, FlagsOf(versions));
  lt::set_piece_hashes(maker, std::filesystem::path(source).parent_path().string());
  std::vector<char> bytes;
  lt::bencode(std::back_inserter(bytes), maker.generate());
  std::ofstream out(torrent, std::ios::binary);
  out.exceptions(std::ios::failbit | std::ios::badbit);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::cerr << "usage: lt_make 1|2|both PIECE SOURCE TORRENT\n";
    return 2;
  }
  try {
    Make(argv[1], std::atoi(argv[2]), argv[3], argv[4]);
  } catch (const std::exception& error) {
    std::cerr << "lt_make: " << error.what() << '\n';
    return 1;
  }
}
