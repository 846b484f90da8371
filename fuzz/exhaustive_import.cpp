// Imports every beginning of each torrent in a folder, and each torrent with every single byte taken out or put
// in the place of another, and compares with the model of the reader. Prints nothing when all agree.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/support/import_check.h"

namespace {

// Bytes that mean something to the decoder or to a text conversion.
constexpr std::string_view kTelling("019dlei:-/. \0\x80\xC0\xED\xF0\xFF", 18);

std::string AllBytes() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) {
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

class Torrent {
 public:
  explicit Torrent(const std::filesystem::path& file) : name_(file.filename().string()) {
    std::ifstream stream(file, std::ios::binary);
    bytes_.assign(std::istreambuf_iterator<char>(stream), {});
  }

  bool CheckAll(std::string_view replacements) const {
    bool good = Check("whole", bytes_, 0);
    for (size_t i = 0; good && i < bytes_.size(); ++i) {
      good = Check("cut", bytes_.substr(0, i), i) && Check("shortened", std::string(bytes_).erase(i, 1), i);
      for (size_t r = 0; good && r < replacements.size(); ++r) {
        std::string changed = bytes_;
        changed[i] = replacements[r];
        good = Check("changed", changed, i);
      }
    }
    return good;
  }

 private:
  bool Check(const char* how, const std::string& bytes, size_t at) const {
    const std::string fault = ImportFault(bytes);
    if (!fault.empty()) {
      std::cerr << name_ << " " << how << " at " << at << ": " << fault << "\n";
      std::cerr.write(bytes.data(), static_cast<std::streamsize>(bytes.size())) << "\n";
    }
    return fault.empty();
  }

  std::string name_;
  std::string bytes_;
};

}  // namespace

int main(int argc, char** argv) {
  const std::string_view which = argc == 3 ? argv[1] : "";
  if (which != "all" && which != "telling") {
    std::cerr << "usage: " << argv[0] << " all|telling FOLDER: with these bytes in the place of each byte\n";
    return 2;
  }
  const std::string replacements = which == "all" ? AllBytes() : std::string(kTelling);
  int checked = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[2])) {
    if (!Torrent(entry.path()).CheckAll(replacements)) {
      return 1;
    }
    ++checked;
  }
  if (checked == 0) {
    std::cerr << argv[0] << ": no torrent in " << argv[2] << "\n";
  }
  return checked == 0 ? 2 : 0;
}
