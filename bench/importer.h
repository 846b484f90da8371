// The importer as the metadata service uses it: the bundle loaded, its factory asked for an instance,
// the instance for its URL interface.
#pragma once

#include <optional>
#include <string>
#include <vector>

struct MDImporterURLInterfaceStruct;

namespace bench {

// What one import wrote, copied out of the platform's objects.
struct Attributes {
  std::optional<std::string> creator;
  std::optional<std::string> comment;
  std::string description;
  std::vector<std::string> paths;  // sorted
};

// A file in the form in which the service hands it over: an absolute URL. Made before anything is
// measured.
class Location {
 public:
  explicit Location(const std::string& path);
  Location(const Location& other);
  Location& operator=(const Location&) = delete;
  ~Location();

  void* url() const { return url_; }

 private:
  void* url_;
};

// Belongs to one thread. Throws when the bundle cannot be used.
class Importer {
 public:
  explicit Importer(const std::string& bundle_path);
  ~Importer();
  Importer(const Importer&) = delete;
  Importer& operator=(const Importer&) = delete;

  // Imports the file into a new dictionary, which is freed again. Returns whether attributes were
  // produced.
  bool Import(const Location& file) const;

  // Imports the file and returns what was written; nothing when the importer refused it.
  std::optional<Attributes> Read(const Location& file) const;

 private:
  MDImporterURLInterfaceStruct** instance_;
};

}  // namespace bench
