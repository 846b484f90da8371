// Values of an XML property list.
//
// GNUstep's own writer is not used: it writes characters outside the sixteen-bit range and control
// characters as escapes of its own that no other reader undoes.
#pragma once

#include "tools/mdtorrent/output/value_writer.h"

namespace mdtorrent {

class PlistWriter : public ValueWriter {
 public:
  // Elements are indented one tab per level; `level` is that of the first value.
  explicit PlistWriter(TextBuffer& out, size_t level = 0) : ValueWriter(out), level_(level) {}

  void BeginDictionary(size_t widest_key) override;
  void Key(std::string_view name) override;
  void EndDictionary() override;
  void BeginArray() override;
  void EndArray() override;
  void BeginString() override;
  void StringPiece(std::string_view piece) override;
  void EndString() override;
  void Integer(int64_t value) override;
  void Real(double value) override;
  void Boolean(bool value) override;

 private:
  void Open(std::string_view tag);
  void Close(std::string_view tag);
  void Line(std::string_view element);
  void Indent();

  size_t level_;
};

}  // namespace mdtorrent
