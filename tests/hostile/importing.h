// The import function and the reader, linked into the program: what they make of a file, in plain C++.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace hostile {

// What an import wrote.
struct Attributes {
  std::optional<std::string> creator;
  std::optional<std::string> comment;
  std::string description;
  std::vector<std::string> names;  // in the order of the platform's array
};

// Runs `work` to its end on a thread with a stack of `stack` bytes that Foundation knows, in a pool.
void OnFoundationThread(size_t stack, const std::function<void()>& work);

// Imports the file into a new dictionary, which is freed again. Returns whether attributes were
// produced; a failed import that touched the dictionary counts as a failure of the test.
bool Import(const std::string& path);

// The same, and returns what was written; nothing when the importer refused the file.
std::optional<Attributes> Read(const std::string& path);

// What the reader holds that the import function does not write.
struct Record {
  std::vector<std::string> trackers;
  std::vector<std::string> web_seeds;
  std::vector<long long> sizes;  // in the order of the file
  unsigned long long total_size = 0;
  unsigned pieces = 0;
};
std::optional<Record> ReadRecord(const std::string& path);

// Counts what the files' dictionary asks of the platform's strings, and makes their hashes as easy to
// foresee as the hash of a platform that looks at 96 characters of each string at most.
class WatchedStrings {
 public:
  WatchedStrings();
  ~WatchedStrings();
  WatchedStrings(const WatchedStrings&) = delete;
  WatchedStrings& operator=(const WatchedStrings&) = delete;

  static size_t Hashes();
  static size_t Comparisons();
};

}  // namespace hostile
