// JSON values, either on one line or spread over lines for people to read.
//
// Foundation's own writer is not used: it turns every character outside ASCII into an escape, lets
// a surrogate without its partner pass as one, loses some control characters, and holds the whole
// document in memory several times.
#pragma once

#include <vector>

#include "tools/mdtorrent/output/value_writer.h"

namespace mdtorrent {

class JsonWriter : public ValueWriter {
 public:
  enum class Layout { kOneLine, kLines };

  // With kLines each member stands on a line of its own, indented two spaces per level; `level` is
  // that of the first value.
  JsonWriter(TextBuffer& out, Layout layout, size_t level = 0) : ValueWriter(out), layout_(layout), level_(level) {}

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
  void Open(char bracket);
  void Close(char bracket);
  void BeginValue();
  void BeginMember();
  void NewLine();

  Layout layout_;
  size_t level_;
  std::vector<char> has_members_;  // one per open container
  bool after_key_ = false;
};

}  // namespace mdtorrent
