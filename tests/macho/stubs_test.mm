// What links also loads: every symbol that the link stubs offer is found in this process.
#include <gtest/gtest.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/macho/resolver.h"

namespace {

struct Stub {
  std::string library;
  std::vector<std::string> symbols;
};

// The text behind `open` up to `close`, searched from `at` on; `at` then lies behind it.
std::string Between(const std::string& text, const char* open, const char* close, size_t& at) {
  const size_t begin = text.find(open, at);
  const size_t end = begin == std::string::npos ? begin : text.find(close, begin + strlen(open));
  at = end == std::string::npos ? end : end + strlen(close);
  return end == std::string::npos ? "" : text.substr(begin + strlen(open), end - begin - strlen(open));
}

void AddNames(const std::string& kind, std::string list, std::vector<std::string>& symbols) {
  for (char& c : list) {
    c = c == ',' || c == '\'' ? ' ' : c;
  }
  std::istringstream words(list);
  for (std::string name; words >> name;) {
    if (kind == "objc-classes") {
      symbols.push_back("_OBJC_CLASS_$_" + name);
      symbols.push_back("_OBJC_METACLASS_$_" + name);
    } else {
      symbols.push_back(name);
    }
  }
}

// The word before the colon that ends just before `at`.
std::string KindBefore(const std::string& text, size_t at) {
  const size_t begin = text.find_last_of(" \n", at - 1) + 1;
  return text.substr(begin, at - begin);
}

// Reads the exports for x86-64 of one stub.
Stub Read(const std::filesystem::path& path) {
  std::stringstream content;
  content << std::ifstream(path).rdbuf();
  const std::string text = content.str();
  size_t at = 0;
  Stub stub = {Between(text, "install-name: '", "'", at), {}};
  bool ours = false;
  for (at = text.find("exports:"); at < text.size();) {
    const size_t list = text.find(": [", at);
    if (list == std::string::npos) {
      break;
    }
    const std::string kind = KindBefore(text, list);
    const std::string names = Between(text, ": [", "]", at);
    if (kind == "targets") {
      ours = names.find("x86_64-macos") != std::string::npos;
    } else if (ours) {
      AddNames(kind, names, stub.symbols);
    }
  }
  return stub;
}

TEST(MachOStubs, EverySymbolThatLinksIsFound) {
  size_t stubs = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(MACHO_SDK)) {
    if (entry.path().extension() != ".tbd") {
      continue;
    }
    const Stub stub = Read(entry.path());
    EXPECT_FALSE(stub.symbols.empty()) << entry.path();
    for (const std::string& symbol : stub.symbols) {
      EXPECT_NE(macho::ResolveDarwin(stub.library, symbol), nullptr) << stub.library << " " << symbol;
    }
    stubs++;
  }
  EXPECT_GE(stubs, 6u);
}

}  // namespace
