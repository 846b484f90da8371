#include "fuzz/models/emit_model.h"

#include <expat.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

namespace emit_model {

using benc_model::Kind;
using benc_model::Value;

namespace {

// Every byte but the unreserved ones of a URL as an escape.
std::string Escaped(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c != '\0' && strchr("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~", c) != nullptr) {
      out += c;
    } else {
      char escape[4];
      snprintf(escape, sizeof escape, "%%%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
      out += escape;
    }
  }
  return out;
}

void AppendXml(std::string& out, const Value& value, const std::string& tag, size_t level) {
  const std::string name = Escaped(tag.c_str());
  const std::string tabs(std::min<size_t>(2 * level, 6), '\t');
  out += tabs + "<" + name + ">";
  if (value.kind == Kind::kInt) {
    out += std::to_string(value.number);
  } else if (value.kind == Kind::kString) {
    out += Escaped(value.text);
  } else {
    out += "\r\n";
    for (const Value& element : value.list) {
      AppendXml(out, element, "item", level + 1);
    }
    for (const auto& [key, element] : value.dict) {
      AppendXml(out, *element, key, level + 1);
    }
    out += tabs;
  }
  out += "</" + name + ">\r\n";
}

std::string Quoted(const std::string& text) {
  static constexpr std::string_view kSpecial = "\b\t\n\f\r\"/\\";
  static constexpr std::string_view kLetters = "btnfr\"/\\";
  std::string out = "\"";
  for (char c : text) {
    if (const size_t at = kSpecial.find(c); at != std::string_view::npos) {
      out.append("\\").append(1, kLetters[at]);
    } else if (c < 32) {
      char escape[7];
      snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      out += escape;
    } else {
      out += c;
    }
  }
  return out + "\"";
}

void AppendJson(std::string& out, const Value& value) {
  if (value.kind == Kind::kInt) {
    out += std::to_string(value.number);
    return;
  }
  if (value.kind == Kind::kString) {
    out += Quoted(value.text);
    return;
  }
  const char* separator = "";
  out += value.kind == Kind::kList ? "[ " : "{ ";
  for (const Value& element : value.list) {
    out += std::exchange(separator, ", ");
    AppendJson(out, element);
  }
  for (const auto& [key, element] : value.dict) {
    out.append(std::exchange(separator, ", ")).append(Quoted(key)).append(": ");
    AppendJson(out, *element);
  }
  out += value.kind == Kind::kList ? " ]" : " }";
}

nlohmann::json JsonOf(const Value& value) {
  if (value.kind == Kind::kInt) {
    return value.number;
  }
  if (value.kind == Kind::kString) {
    return value.text;
  }
  nlohmann::json json = value.kind == Kind::kList ? nlohmann::json::array() : nlohmann::json::object();
  for (const Value& element : value.list) {
    json.push_back(JsonOf(element));
  }
  for (const auto& [key, element] : value.dict) {
    json[key] = JsonOf(*element);
  }
  return json;
}

}  // namespace

bool AllTexts(const Value& value, bool texts, bool (*test)(const std::string&)) {
  return (!texts || value.kind != Kind::kString || test(value.text)) &&
         std::ranges::all_of(value.list, [&](const Value& element) { return AllTexts(element, texts, test); }) &&
         std::ranges::all_of(
             value.dict, [&](const auto& entry) { return test(entry.first) && AllTexts(*entry.second, texts, test); });
}

std::string Xml(const Value& value, const std::string& tag) {
  std::string out;
  AppendXml(out, value, tag, 0);
  return out;
}

std::string Json(const Value& value) {
  std::string out;
  AppendJson(out, value);
  return out;
}

bool IsXml(const std::string& document) {
  const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(XML_ParserCreate("UTF-8"), XML_ParserFree);
  return XML_Parse(parser.get(), document.data(), static_cast<int>(document.size()), 1) == XML_STATUS_OK;
}

bool IsJson(const std::string& document) { return nlohmann::json::accept(document); }

bool IsJsonOf(const std::string& document, const Value& value) {
  return nlohmann::json::parse(document, nullptr, false) == JsonOf(value);
}

}  // namespace emit_model
