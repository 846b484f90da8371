#include "bench/bytes.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace bench {

std::string BytesOf(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  if (!in || !bytes) {
    throw std::runtime_error(path.string() + " cannot be read");
  }
  return bytes.str();
}

void WriteBytes(const std::filesystem::path& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  if (!out) {
    throw std::runtime_error(path.string() + " cannot be written");
  }
}

}  // namespace bench
