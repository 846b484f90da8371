// instructions count FILE              prints how many files and how many tokens a torrent has
// instructions parse FILE TIMES        decodes the torrent and frees the tree
// instructions import BUNDLE FILE TIMES  imports it through the plug-in
//
// To be run under an instruction counter: the difference between two numbers of times, divided, is the
// cost of one time, without the program's start.
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>

#include "bench/bytes.h"
#include "bench/importer.h"
#include "core/bencode/bencoding.h"
#include "core/bencode/bencparser.h"

namespace {

struct View {
  explicit View(const std::string& bytes)
      : begin(reinterpret_cast<const unsigned char*>(bytes.data())), end(begin + bytes.size()) {}

  const unsigned char* begin;
  const unsigned char* end;
};

core::BencEntity Decoded(const View& view) {
  core::BencEntity root;
  root.ZeroOut();
  if (core::BencEntity::Parse(view.begin, root, view.end) != view.end) {
    throw std::runtime_error("not a torrent");
  }
  return root;
}

size_t CountFiles(const View& view) {
  core::BencEntity root = Decoded(view);
  const core::BencodedDict* info = static_cast<const core::BencodedDict&>(root).GetDict("info");
  const core::BencodedList* files = info ? info->GetList("files") : nullptr;
  const size_t count = files ? files->GetCount() : 1;
  root.FreeMembers();
  return count;
}

size_t CountTokens(const View& view) {
  core::BencParser parser(view.begin, view.end);
  const unsigned char* text = nullptr;
  size_t len = 0;
  size_t count = 0;
  while (parser.Next(&text, &len) != core::IBencParser::PARSE_EOF) {
    ++count;
  }
  return count;
}

void Parse(const View& view, int times) {
  for (int i = 0; i < times; ++i) {
    core::BencEntity root = Decoded(view);
    root.FreeMembers();
  }
}

void Import(const std::string& bundle, const std::string& path, int times) {
  const bench::Importer importer(bundle);
  const bench::Location file(path);
  for (int i = 0; i < times; ++i) {
    if (!importer.Import(file)) {
      throw std::runtime_error(path + " was refused");
    }
  }
}

int Run(const std::vector<std::string>& arguments) {
  const std::string job = arguments.empty() ? "" : arguments[0];
  if (job == "count" && arguments.size() == 2) {
    const std::string bytes = bench::BytesOf(arguments[1]);
    std::cout << CountFiles(View(bytes)) << ' ' << CountTokens(View(bytes)) << '\n';
  } else if (job == "parse" && arguments.size() == 3) {
    const std::string bytes = bench::BytesOf(arguments[1]);
    Parse(View(bytes), std::atoi(arguments[2].c_str()));
  } else if (job == "import" && arguments.size() == 4) {
    Import(arguments[1], arguments[2], std::atoi(arguments[3].c_str()));
  } else {
    std::cerr << "Usage: instructions count FILE | parse FILE TIMES | import BUNDLE FILE TIMES\n";
    return 2;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) try { return Run({argv + 1, argv + argc}); } catch (const std::exception& error) {
  std::cerr << "instructions: " << error.what() << '\n';
  return 1;
}
