#include "fuzz/models/reader_model.h"

#include <stdio.h>

#include <algorithm>

#include "fuzz/models/reader_model_text.h"
#include "tests/support/benc_model.h"

namespace reader_model {
namespace {

using benc_model::Kind;
using benc_model::Value;

constexpr size_t kMostPathBytes = size_t{16} << 20;

const Value* Get(const Value& dict, const char* key, Kind kind) {
  const auto entry = dict.dict.find(key);
  return entry == dict.dict.end() || entry->second->kind != kind ? nullptr : entry->second.get();
}

int64_t Int64(const Value& dict, const char* key) {
  const Value* value = Get(dict, key, Kind::kInt);
  return value ? value->number : 0;
}

int32_t Int32(const Value& dict, const char* key) {
  return static_cast<int32_t>(static_cast<uint32_t>(Int64(dict, key)));
}

std::optional<std::string> Text(const Value& dict, const char* key, int32_t code_page) {
  const Value* value = Get(dict, key, Kind::kString);
  return value ? std::optional(PlatformText(Decode(value->text, code_page))) : std::nullopt;
}

std::vector<std::string> Trackers(const Value& root) {
  std::vector<std::string> trackers;
  if (const Value* tiers = Get(root, "announce-list", Kind::kList)) {
    for (const Value& tier : tiers->list) {
      for (const Value& tracker : tier.list) {
        if (tracker.kind == Kind::kString) {
          trackers.push_back(PlatformText(Decode(tracker.text, 0)));
        }
      }
    }
  } else if (const auto tracker = Text(root, "announce", 0)) {
    trackers.push_back(*tracker);
  }
  return trackers;
}

// One that is not UTF-8 is left out.
void AddWebSeed(const Value& seed, std::vector<std::string>& seeds) {
  const auto text = PlatformText(std::string_view(seed.text));
  if (seed.kind == Kind::kString && text) {
    seeds.push_back(*text);
  }
}

std::vector<std::string> WebSeeds(const Value& root) {
  std::vector<std::string> seeds;
  if (const Value* list = Get(root, "url-list", Kind::kList)) {
    for (const Value& seed : list->list) {
      AddWebSeed(seed, seeds);
    }
  } else if (const Value* seed = Get(root, "url-list", Kind::kString)) {
    AddWebSeed(*seed, seeds);
  }
  return seeds;
}

int32_t CodePage(const Value& root) {
  const int32_t number = Int32(root, "encoding");
  const Value* name = Get(root, "encoding", Kind::kString);
  return number == 0 && name ? CodePageOf(name->text) : number;
}

std::u32string Cleaned(std::u32string component) {
  std::replace(component.begin(), component.end(), U'/', U'_');
  std::replace(component.begin(), component.end(), U'\0', U'_');
  for (size_t i = component.size(); i > 0 && component[i - 1] == U' '; --i) {
    component[i - 1] = U'_';
  }
  return component;
}

std::optional<std::u32string> Path(const Value* list, int32_t code_page) {
  if (!list || list->list.empty()) {
    return std::nullopt;
  }
  std::u32string path;
  size_t path_bytes = 0;  // each component with its separator
  for (const Value& element : list->list) {
    if (element.kind != Kind::kString) {
      return std::nullopt;
    }
    path_bytes += element.text.size() + 1;
    const std::u32string component = Decode(element.text, code_page);
    if (!component.empty() && component != U"." && component != U"..") {
      if (!path.empty()) {
        path += U'/';
      }
      path += Cleaned(component);
    }
  }
  return path_bytes - 1 > kMostPathBytes ? std::u32string() : path;
}

void SetSize(std::vector<File>& files, const std::string& path, int64_t size) {
  const auto same = std::find_if(files.begin(), files.end(), [&](const File& file) { return file.path == path; });
  if (same == files.end()) {
    files.push_back({path, size});
  } else {
    same->size = size;
  }
}

bool ReadFiles(const Value& list, int32_t code_page, Record& record) {
  for (const Value& file : list.list) {
    if (file.kind != Kind::kDict) {
      return false;
    }
    const int64_t length = Int64(file, "length");
    record.total_size += static_cast<uint64_t>(length);
    const Value* utf8_path = Get(file, "path.utf-8", Kind::kList);
    const auto path = utf8_path ? Path(utf8_path, 1) : Path(Get(file, "path", Kind::kList), code_page);
    if (!path) {
      return false;
    }
    SetSize(record.files, PlatformText(*path), length);
  }
  return true;
}

bool ReadInfo(const Value& info, int32_t code_page, Record& record) {
  const int32_t piece_length = Int32(info, "piece length");
  const auto utf8_name = Text(info, "name.utf-8", 1);
  const auto name = utf8_name ? utf8_name : Text(info, "name", code_page);
  if (piece_length < 16384 || piece_length > 0x2000000 || !name) {
    return false;
  }
  record.piece_size = static_cast<uint64_t>(piece_length);
  record.is_private = Int32(info, "private") != 0;
  record.name = *name;
  if (const Value* files = Get(info, "files", Kind::kList)) {
    if (!ReadFiles(*files, code_page, record)) {
      return false;
    }
  } else {
    const int64_t length = Int64(info, "length");
    record.total_size = static_cast<uint64_t>(length);
    record.files = {{record.name, length}};
  }
  record.pieces = static_cast<uint32_t>((record.total_size + record.piece_size - 1) / record.piece_size);
  const Value* hashes = Get(info, "pieces", Kind::kString);
  return record.pieces >= 1 && record.pieces <= 0xFFFFF && hashes && hashes->text.size() == record.pieces * 20;
}

}  // namespace

std::optional<Record> Read(std::string_view torrent) {
  const benc_model::Result decoded = benc_model::Decode(torrent, "");
  const Value& root = decoded.root;
  if (!decoded.ok || root.kind != Kind::kDict) {
    return std::nullopt;
  }
  const int32_t code_page = CodePage(root);
  Record record;
  record.trackers = Trackers(root);
  record.web_seeds = WebSeeds(root);
  record.created_on = Int32(root, "creation date");
  record.comment = Text(root, "comment", code_page);
  record.creator = Text(root, "created by", code_page);
  const Value* info = Get(root, "info", Kind::kDict);
  return info && ReadInfo(*info, code_page, record) ? std::optional(record) : std::nullopt;
}

// In units of 1024, with one digit behind the point that is never rounded up. The hundredfold of the count is
// what is compared and shifted, modulo 2^64; a count of bytes keeps its low 32 bits.
std::string SizeText(uint64_t bytes) {
  struct Unit {
    const char* name;
    int shift;
    uint64_t above;  // the first hundredfold that is a case for the next unit
  };
  static constexpr Unit kUnits[] = {{"kB", 10, 104857600},         {"MB", 20, 107374182400},
                                    {"GB", 30, 109951162777600},   {"TB", 40, 112589990684262400},
                                    {"PB", 50, uint64_t{1} << 62}, {"EB", 60, UINT64_MAX}};
  char text[40];
  const uint64_t hundredfold = bytes * 100;
  if (hundredfold < 102400) {
    snprintf(text, sizeof text, "%d B", static_cast<int>(static_cast<uint32_t>(bytes)));
    return text;
  }
  const Unit* unit = kUnits;
  while (hundredfold >= unit->above && unit->above != UINT64_MAX) {
    ++unit;
  }
  const uint64_t tenths = (hundredfold >> unit->shift) / 10;
  snprintf(text, sizeof text, "%d.%d %s", static_cast<int>(tenths / 10), static_cast<int>(tenths % 10), unit->name);
  return text;
}

Attributes AttributesOf(const Record& record) {
  Attributes attributes;
  attributes.creator = record.creator;
  if (record.comment && !record.comment->empty()) {
    attributes.comment = record.comment;
  }
  const size_t count = record.files.size();
  attributes.description =
      SizeText(record.total_size) + (count == 1 ? " in 1 file" : " in " + std::to_string(count) + " files");
  for (const File& file : record.files) {
    attributes.names.push_back(file.path);
  }
  return attributes;
}

}  // namespace reader_model
