#include "tools/mdtorrent/output/json_writer.h"

#include <cmath>

#include "tools/mdtorrent/output/escape.h"

namespace mdtorrent {

void JsonWriter::NewLine() {
  if (layout_ == Layout::kLines) {
    text().push_back('\n');
    text().append(2 * level_, ' ');
  }
}

void JsonWriter::BeginMember() {
  if (has_members_.empty()) {
    return;
  }
  if (has_members_.back()) {
    text().append(layout_ == Layout::kLines ? "," : ", ");
  }
  has_members_.back() = 1;
  NewLine();
}

void JsonWriter::BeginValue() {
  if (!after_key_) {
    BeginMember();
  }
  after_key_ = false;
}

void JsonWriter::Open(char bracket) {
  BeginValue();
  text().push_back(bracket);
  has_members_.push_back(0);
  ++level_;
}

void JsonWriter::Close(char bracket) {
  --level_;
  if (has_members_.back()) {
    NewLine();
  }
  has_members_.pop_back();
  text().push_back(bracket);
  Settle();
}

void JsonWriter::BeginDictionary(size_t) { Open('{'); }

void JsonWriter::Key(std::string_view name) {
  BeginMember();
  text().push_back('"');
  AppendJsonEscaped(text(), name);
  text().append("\": ");
  after_key_ = true;
}

void JsonWriter::EndDictionary() { Close('}'); }

void JsonWriter::BeginArray() { Open('['); }

void JsonWriter::EndArray() { Close(']'); }

void JsonWriter::BeginString() {
  BeginValue();
  text().push_back('"');
}

void JsonWriter::StringPiece(std::string_view piece) {
  AppendJsonEscaped(text(), piece);
  Settle();
}

void JsonWriter::EndString() { text().push_back('"'); }

void JsonWriter::Integer(int64_t value) {
  BeginValue();
  text().append(std::to_string(value));
}

void JsonWriter::Real(double value) {
  BeginValue();
  if (std::isfinite(value)) {
    AppendReal(text(), value);
  } else {
    text().append("null");
  }
}

void JsonWriter::Boolean(bool value) {
  BeginValue();
  text().append(value ? "true" : "false");
}

}  // namespace mdtorrent
