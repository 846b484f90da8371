// One record per file, in the format that was asked for.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "tools/mdtorrent/options.h"
#include "tools/mdtorrent/output/value_writer.h"

namespace mdtorrent {

// What an importer wrote for a file.
class AttributeSource {
 public:
  virtual ~AttributeSource() = default;

  // Writes one dictionary with the attributes, keys in ascending order.
  virtual void WriteTo(ValueWriter& writer) const = 0;
};

class RecordWriter {
 public:
  virtual ~RecordWriter() = default;

  // `path` is what the user named, in whatever bytes.
  virtual void WriteImported(std::string_view path, const AttributeSource& attributes) = 0;
  virtual void WriteFailed(std::string_view path, std::string_view reason) = 0;
};

// Makes the writer of `format` into `out`, which must outlive it. With `show_paths` the formats for
// people say which file each record belongs to.
std::unique_ptr<RecordWriter> MakeRecordWriter(Format format, bool show_paths, TextBuffer& out);

// The text around the records of a whole run.
struct Framing {
  std::string_view before, between, after;
};
Framing FramingOf(Format format);

}  // namespace mdtorrent
