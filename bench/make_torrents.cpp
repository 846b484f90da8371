// make_torrents DIR: writes the torrents that the benchmarks measure with.
#include <exception>
#include <iostream>

#include "bench/generate.h"

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::cerr << "Usage: make_torrents DIR\n";
    return 2;
  }
  bench::WriteTorrents(argv[1]);
} catch (const std::exception& error) {
  std::cerr << "make_torrents: " << error.what() << '\n';
  return 1;
}
