#include "tests/support/benc_model_text.h"

#include <string_view>

namespace benc_model {
namespace {

void AppendText(std::string& out, std::string_view text) {
  out.append(std::to_string(text.size())).append(":").append(text);
}

void AppendEncoded(std::string& out, const Value& value, bool cut_keys) {
  switch (value.kind) {
    case Kind::kInt:
      out.append("i").append(std::to_string(value.number)).append("e");
      break;
    case Kind::kString:
      AppendText(out, value.text);
      break;
    case Kind::kList:
      out += 'l';
      for (const Value& element : value.list) {
        AppendEncoded(out, element, cut_keys);
      }
      out += 'e';
      break;
    case Kind::kDict:
      out += 'd';
      for (const auto& [key, element] : value.dict) {
        AppendText(out, cut_keys ? std::string_view(key.c_str()) : std::string_view(key));
        AppendEncoded(out, *element, cut_keys);
      }
      out += 'e';
      break;
    case Kind::kNone:
      break;
  }
}

void ListScalar(std::string& out, const Value& value) {
  if (value.kind == Kind::kInt) {
    out += std::to_string(value.number);
  }
  for (char c : value.text) {
    out += c == '\n' || c == '\r' || c == '\\' ? "\\" : "";
    out += c;
  }
}

void ListInside(std::string& out, const Value& value, const std::string& prefix);

void ListEntry(std::string& out, const Value& value, const std::string& path) {
  constexpr size_t kMostPath = 63;
  if (value.kind == Kind::kList || value.kind == Kind::kDict) {
    ListInside(out, value, (path + ".").substr(0, kMostPath));
    return;
  }
  out += (path + "=").substr(0, kMostPath);
  ListScalar(out, value);
  out += "\r\n";
}

void ListInside(std::string& out, const Value& value, const std::string& prefix) {
  for (size_t i = 0; i < value.list.size(); ++i) {
    ListEntry(out, value.list[i], prefix + std::to_string(i));
  }
  for (const auto& [key, element] : value.dict) {
    ListEntry(out, *element, prefix + key.c_str());
  }
}

std::string Encoded(const Value& value, bool cut_keys) {
  std::string out;
  AppendEncoded(out, value, cut_keys);
  return out;
}

}  // namespace

std::string Encode(const Value& value) { return Encoded(value, false); }

std::string EncodeWithCutKeys(const Value& value) { return Encoded(value, true); }

std::string Listing(const Value& value) {
  std::string out;
  ListInside(out, value, "");
  return out;
}

}  // namespace benc_model
