// Reads strings from standard input and prints them as an array, for a real parser to read back.
//
// Usage: writer_probe json|lines|plist. Each string is a 32-bit count followed by as many UTF-16 units.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <memory>
#include <string>
#include <vector>

#include "tools/mdtorrent/output/json_writer.h"
#include "tools/mdtorrent/output/plist_writer.h"
#include "tools/mdtorrent/output/utf8.h"

namespace {

using mdtorrent::JsonWriter;

std::unique_ptr<mdtorrent::ValueWriter> MakeWriter(const char* kind, mdtorrent::TextBuffer& out) {
  if (strcmp(kind, "plist") == 0) {
    return std::make_unique<mdtorrent::PlistWriter>(out);
  }
  const bool lines = strcmp(kind, "lines") == 0;
  return std::make_unique<JsonWriter>(out, lines ? JsonWriter::Layout::kLines : JsonWriter::Layout::kOneLine);
}

bool ReadUnits(std::vector<char16_t>& units) {
  uint32_t count;
  if (fread(&count, sizeof count, 1, stdin) != 1) {
    return false;
  }
  units.resize(count);
  return fread(units.data(), sizeof(char16_t), count, stdin) == count;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    return 2;
  }
  mdtorrent::TextBuffer out;
  const std::unique_ptr<mdtorrent::ValueWriter> writer = MakeWriter(argv[1], out);
  writer->BeginArray();
  for (std::vector<char16_t> units; ReadUnits(units);) {
    std::string bytes(mdtorrent::kMostUtf8PerUnit * units.size(), '\0');
    bytes.resize(static_cast<size_t>(mdtorrent::PutUtf8(bytes.data(), std::u16string_view(units.data(), units.size())) -
                                     bytes.data()));
    writer->String(bytes);
  }
  writer->EndArray();
  return fwrite(out.text().data(), 1, out.text().size(), stdout) == out.text().size() ? 0 : 1;
}
