#include "tools/mdtorrent/output/plist_writer.h"

#include <cmath>

#include "tools/mdtorrent/output/escape.h"

namespace mdtorrent {

void PlistWriter::Indent() { text().append(level_, '\t'); }

void PlistWriter::Line(std::string_view element) {
  Indent();
  text().append(element);
  text().push_back('\n');
}

void PlistWriter::Open(std::string_view tag) {
  Line(tag);
  ++level_;
}

void PlistWriter::Close(std::string_view tag) {
  --level_;
  Line(tag);
  Settle();
}

void PlistWriter::BeginDictionary(size_t) { Open("<dict>"); }

void PlistWriter::Key(std::string_view name) {
  Indent();
  text().append("<key>");
  AppendXmlEscaped(text(), name);
  text().append("</key>\n");
}

void PlistWriter::EndDictionary() { Close("</dict>"); }

void PlistWriter::BeginArray() { Open("<array>"); }

void PlistWriter::EndArray() { Close("</array>"); }

void PlistWriter::BeginString() {
  Indent();
  text().append("<string>");
}

void PlistWriter::StringPiece(std::string_view piece) {
  AppendXmlEscaped(text(), piece);
  Settle();
}

void PlistWriter::EndString() { text().append("</string>\n"); }

void PlistWriter::Integer(int64_t value) { Line("<integer>" + std::to_string(value) + "</integer>"); }

void PlistWriter::Real(double value) {
  std::string element = "<real>";
  if (std::isnan(value)) {
    element += "nan";
  } else if (std::isinf(value)) {
    element += value > 0 ? "+infinity" : "-infinity";
  } else {
    AppendReal(element, value);
  }
  Line(element + "</real>");
}

void PlistWriter::Boolean(bool value) { Line(value ? "<true/>" : "<false/>"); }

}  // namespace mdtorrent
