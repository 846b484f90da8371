// A second reading of the rules by which a torrent becomes a record and the attributes of a search, on standard
// containers, for comparing the plug-in with. Plain and slow. Text is what the platform's strings hold, as UTF-8.
//
// Left out, because only inputs of megabytes meet them: the bound on the decoded tree.
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace reader_model {

struct File {
  std::string path;
  int64_t size;
};

struct Record {
  std::vector<std::string> trackers;
  std::vector<std::string> web_seeds;
  std::vector<File> files;  // one for each path, in the order in which the paths came; the last size
  int32_t created_on = 0;
  std::string name;
  std::optional<std::string> creator;
  std::optional<std::string> comment;
  uint64_t piece_size = 0;
  uint32_t pieces = 0;
  uint64_t total_size = 0;
  bool is_private = false;
};

// The record of the torrent, in the locale of the process; nothing when it is refused.
std::optional<Record> Read(std::string_view torrent);

struct Attributes {
  std::optional<std::string> creator;
  std::optional<std::string> comment;
  std::string description;
  std::vector<std::string> names;

  bool operator==(const Attributes&) const = default;
};

Attributes AttributesOf(const Record& record);

// A count of bytes, in its unit.
std::string SizeText(uint64_t bytes);

}  // namespace reader_model
