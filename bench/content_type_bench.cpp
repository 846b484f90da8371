// content_type_bench ROWS [OPTION...]: looking up extensions and content types, against a hash table and
// a plain search.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <iostream>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bench/comparison.h"
#include "core/util/util_mime.h"
#include "core/util/util_mime_tables.h"

namespace {

constexpr size_t kNames = 1000;

template <class C>
std::basic_string<C> Lower(std::basic_string<C> text) {
  for (C& c : text) {
    c = c >= 'A' && c <= 'Z' ? static_cast<C>(c + 32) : c;
  }
  return text;
}

std::wstring Widen(std::string_view text) { return {text.begin(), text.end()}; }

// The pairs of the list, in order.
std::vector<std::pair<std::string, const char*>> Pairs() {
  std::vector<std::pair<std::string, const char*>> pairs;
  for (const char* s = core::kExtensionTypes; *s != 0;) {
    const std::string extension = s;
    s += extension.size() + 1;
    pairs.emplace_back(extension, s);
    s += std::string_view(s).size() + 1;
  }
  return pairs;
}

// Nine names in ten have an extension of the list, the others one that is not in it.
std::vector<std::wstring> Names() {
  const auto pairs = Pairs();
  std::mt19937 random(1);
  std::vector<std::wstring> names(kNames);
  for (std::wstring& name : names) {
    const std::string& known = pairs[random() % pairs.size()].first;
    name = L"Some.file.name." + (random() % 10 == 0 ? L"torrent" : Widen(known));
  }
  return names;
}

std::vector<std::wstring> Extensions() {
  std::vector<std::wstring> extensions;
  for (const std::wstring& name : Names()) {
    extensions.push_back(name.substr(name.rfind(L'.') + 1));
  }
  return extensions;
}

// The same guess by way of a hash table from small letters to types.
class HashedTypes {
 public:
  HashedTypes() {
    for (const auto& [extension, type] : Pairs()) {
      types_.emplace(extension, type);
    }
  }

  const char* Guess(const std::wstring& name) const {
    const size_t dot = name.rfind(L'.');
    if (dot == std::wstring::npos) {
      return nullptr;
    }
    std::string extension;
    for (const wchar_t c : Lower(name.substr(dot + 1))) {
      extension.push_back(c < 128 ? static_cast<char>(c) : '?');
    }
    const auto found = types_.find(extension);
    return found == types_.end() ? nullptr : found->second;
  }

 private:
  std::unordered_map<std::string, const char*> types_;
};

bool FindUnsafe(const std::wstring& extension) {
  const std::wstring lower = Lower(extension);
  const auto* end = std::end(core::kUnsafeExtensions);
  return std::find_if(std::begin(core::kUnsafeExtensions), end, [&](const wchar_t* row) { return lower == row; }) !=
         end;
}

// Each turn looks every text up once.
template <class Lookup>
void Register(const char* name, const std::vector<std::wstring>& texts, Lookup lookup) {
  benchmark::RegisterBenchmark(name, [&texts, lookup](benchmark::State& state) {
    for (auto _ : state) {
      for (const std::wstring& text : texts) {
        benchmark::DoNotOptimize(lookup(text));
      }
    }
  })->Unit(benchmark::kMicrosecond);
}

void Verify(const std::vector<std::wstring>& names, const std::vector<std::wstring>& extensions,
            const HashedTypes& hashed) {
  for (const std::wstring& name : names) {
    if (core::GuessContentTypeFromFileName(name.c_str()) != hashed.Guess(name)) {
      throw std::runtime_error("the types differ from the hash table's");
    }
  }
  for (const std::wstring& extension : extensions) {
    if (core::IsSafeFileExtension(extension.c_str()) == FindUnsafe(extension)) {
      throw std::runtime_error("the unsafe extensions differ from the plain search's");
    }
  }
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc < 2) {
    std::cerr << "Usage: content_type_bench ROWS [--benchmark_...]\n";
    return 2;
  }
  const std::vector<std::wstring> names = Names();
  const std::vector<std::wstring> extensions = Extensions();
  const HashedTypes hashed;
  Verify(names, extensions, hashed);
  Register("GuessContentType", names,
           [](const std::wstring& s) { return core::GuessContentTypeFromFileName(s.c_str()); });
  Register("std::unordered_map", names, [&hashed](const std::wstring& s) { return hashed.Guess(s); });
  Register("IsSafeFileExtension", extensions,
           [](const std::wstring& s) { return core::IsSafeFileExtension(s.c_str()); });
  Register("std::find_if", extensions, [](const std::wstring& s) { return !FindUnsafe(s); });
  return bench::RunAndCompare(
      {{"GuessContentTypeFromFileName / std::unordered_map, 1000 names", "GuessContentType", "std::unordered_map",
        bench::kNoLimit},
       {"IsSafeFileExtension / std::find_if, 1000 extensions", "IsSafeFileExtension", "std::find_if", bench::kNoLimit}},
      argv[1], {argv + 2, argv + argc});
} catch (const std::exception& error) {
  std::cerr << "content_type_bench: " << error.what() << '\n';
  return 1;
}
