#include "tools/mdtorrent/output/mdls_writer.h"

#include "tools/mdtorrent/output/escape.h"

namespace mdtorrent {

// The elements of an array are separated by commas; the entries of a dictionary inside another
// container end in semicolons, and those of the list of attributes in nothing.
void MdlsWriter::BeginMember() {
  if (open_.back().is_array && open_.back().has_members) {
    text().append(",\n");
  }
  open_.back().has_members = true;
  text().append(4 * (open_.size() - 1), ' ');
}

void MdlsWriter::BeginValue() {
  if (!open_.empty() && open_.back().is_array) {
    BeginMember();
  }
}

void MdlsWriter::EndValue() {
  if (!open_.empty() && !open_.back().is_array) {
    text().append(open_.size() > 1 ? ";\n" : "\n");
  }
}

void MdlsWriter::Open(bool is_array, size_t widest_key) {
  BeginValue();
  if (!open_.empty()) {
    text().append(is_array ? "(\n" : "{\n");
  }
  open_.push_back({is_array, false, widest_key});
}

void MdlsWriter::Close(char bracket) {
  const Container closed = open_.back();
  open_.pop_back();
  if (closed.is_array && closed.has_members) {
    text().push_back('\n');
  }
  if (!open_.empty()) {
    text().append(4 * (open_.size() - 1), ' ');
    text().push_back(bracket);
  }
  EndValue();
  Settle();
}

void MdlsWriter::BeginDictionary(size_t widest_key) { Open(false, widest_key); }

void MdlsWriter::Key(std::string_view name) {
  BeginMember();
  const size_t start = text().size();
  AppendQuotedEscaped(text(), name);
  const size_t len = text().size() - start;
  if (len < open_.back().widest_key) {
    text().append(open_.back().widest_key - len, ' ');
  }
  text().append(" = ");
}

void MdlsWriter::EndDictionary() { Close('}'); }

void MdlsWriter::BeginArray() { Open(true, 0); }

void MdlsWriter::EndArray() { Close(')'); }

void MdlsWriter::BeginString() {
  BeginValue();
  text().push_back('"');
}

void MdlsWriter::StringPiece(std::string_view piece) {
  AppendQuotedEscaped(text(), piece);
  Settle();
}

void MdlsWriter::EndString() {
  text().push_back('"');
  EndValue();
}

void MdlsWriter::Bare(std::string_view value) {
  BeginValue();
  text().append(value);
  EndValue();
}

void MdlsWriter::Integer(int64_t value) { Bare(std::to_string(value)); }

void MdlsWriter::Real(double value) {
  std::string digits;
  AppendReal(digits, value);
  Bare(digits);
}

void MdlsWriter::Boolean(bool value) { Bare(value ? "1" : "0"); }

}  // namespace mdtorrent
