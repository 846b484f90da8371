// soak BUNDLE [IMPORTS]: imports good and bad files over and over in one process, by default a million
// times, and fails when memory or open descriptors have grown after the first ten thousand.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/bytes.h"
#include "bench/generate.h"
#include "bench/importer.h"
#include "bench/usage.h"

namespace {

namespace fs = std::filesystem;

class TempFolder {
 public:
  TempFolder() : path_(Make()) {}
  ~TempFolder() { fs::remove_all(path_); }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const fs::path& path() const { return path_; }

 private:
  static fs::path Make() {
    std::string name = (fs::temp_directory_path() / "soak-XXXXXX").string();
    if (!mkdtemp(name.data())) {
      throw std::runtime_error(name + " cannot be made");
    }
    return name;
  }

  fs::path path_;
};

struct Input {
  std::string path;
  bench::Location file;
  bool good;
};

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
  const size_t at = text.find(from);
  if (at == std::string::npos) {
    throw std::logic_error("nothing to replace");
  }
  return text.replace(at, from.size(), to);
}

std::vector<Input> MakeInputs(const fs::path& folder) {
  std::vector<Input> inputs;
  const auto add = [&](bool good, const std::string& bytes) {
    const fs::path path = folder / (std::to_string(inputs.size()) + ".torrent");
    bench::WriteBytes(path, bytes);
    inputs.push_back({path, bench::Location(path), good});
  };
  constexpr size_t kDepth = 2'000;
  const std::string single = bench::SmallTorrent(0);
  const std::string several = bench::SmallTorrent(2);
  add(true, single);
  add(true, several);
  add(true, bench::SmallTorrent(5));
  add(true, Replaced(several, "Small", "Sm\xE9ll"));  // not UTF-8
  add(true, Replaced(several, "4:info", "8:encoding12:Windows-12514:info"));
  add(true, "d4:deep" + std::string(kDepth, 'l') + std::string(kDepth, 'e') + single.substr(1));
  add(false, "");
  add(false, "no torrent");
  add(false, std::string(kDepth, 'l'));
  add(false, several.substr(0, several.size() / 2));
  add(false, Replaced(several, "12:piece lengthi262144e", "12:piece lengthi1e"));
  add(false, Replaced(several, "4:path", "4:none"));
  add(false, Replaced(single, "6:pieces", "6:Pieces"));
  inputs.push_back({folder, bench::Location(folder), false});
  const fs::path missing = folder / "missing.torrent";
  inputs.push_back({missing, bench::Location(missing), false});
  return inputs;
}

struct Sample {
  size_t resident;
  size_t heap;
  int descriptors;
};

Sample TakeSample(long imports) {
  const Sample sample = {bench::ResidentBytes(), bench::HeapBytes(), bench::OpenDescriptors()};
  std::cout << imports << " imports: " << sample.resident / 1024 << " kB resident, " << sample.heap / 1024
            << " kB in use, " << sample.descriptors << " descriptors\n"
            << std::flush;
  return sample;
}

void ImportInTurn(const bench::Importer& importer, const std::vector<Input>& inputs, long begin, long end) {
  for (long i = begin; i < end; ++i) {
    const Input& input = inputs[static_cast<size_t>(i) % inputs.size()];
    if (importer.Import(input.file) != input.good) {
      throw std::runtime_error(input.path + (input.good ? " was refused" : " was taken"));
    }
  }
}

int Soak(const bench::Importer& importer, long imports) {
  constexpr size_t kSlack = 256 * 1024;  // pages that the allocator happens to touch late
  constexpr long kSteps = 10;
  const long settled = std::min(imports / kSteps, 10'000L);
  const TempFolder folder;
  const std::vector<Input> inputs = MakeInputs(folder.path());
  ImportInTurn(importer, inputs, 0, settled);
  const Sample first = TakeSample(settled);
  Sample last = first;
  long done = settled;
  for (long step = 1; step <= kSteps; ++step) {
    ImportInTurn(importer, inputs, done, imports * step / kSteps);
    done = imports * step / kSteps;
    last = TakeSample(done);
  }
  const bool flat = last.resident <= first.resident + kSlack && last.heap <= first.heap + kSlack &&
                    last.descriptors == first.descriptors;
  std::cout << (flat ? "flat\n" : "NOT FLAT\n");
  return flat ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) try {
  constexpr long kLeastImports = 1'000;
  const long imports = argc == 3 ? std::atol(argv[2]) : 1'000'000;
  if (argc < 2 || argc > 3 || imports < kLeastImports) {
    std::cerr << "Usage: soak BUNDLE [IMPORTS, at least 1000]\n";
    return 2;
  }
  return Soak(bench::Importer(argv[1]), imports);
} catch (const std::exception& error) {
  std::cerr << "soak: " << error.what() << '\n';
  return 1;
}
