// Attributes as the system's own listing tool prints them: keys in one column, strings quoted,
// arrays in parentheses with one element a line.
#pragma once

#include <vector>

#include "tools/mdtorrent/output/value_writer.h"

namespace mdtorrent {

class MdlsWriter : public ValueWriter {
 public:
  explicit MdlsWriter(TextBuffer& out) : ValueWriter(out) {}

  // The outermost dictionary is the list of attributes and has no brackets.
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
  struct Container {
    bool is_array;
    bool has_members;
    size_t widest_key;
  };

  void BeginValue();
  void EndValue();
  void BeginMember();
  void Open(bool is_array, size_t widest_key);
  void Close(char bracket);
  void Bare(std::string_view value);

  std::vector<Container> open_;
};

}  // namespace mdtorrent
