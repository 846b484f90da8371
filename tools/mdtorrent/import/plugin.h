// The importer bundle as the metadata service sees it: a property list that names a factory, the
// factory's object, and the object's interface table.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <Foundation/Foundation.h>

#include <memory>
#include <optional>
#include <string>

#include "tools/mdtorrent/failure.h"
#include "tools/mdtorrent/options.h"

namespace mdtorrent {

// One importer object and the interface that was asked for. Used by one thread at a time.
class Importer {
 public:
  virtual ~Importer() = default;

  // Imports the file at `path` into `attributes`; returns why there are none.
  virtual std::optional<Failure> Import(const std::string& path, NSMutableDictionary* attributes) = 0;
};

class ImporterBundle {
 public:
  // Reads the bundle at `path`. On failure `error` says why.
  static std::optional<ImporterBundle> Open(const std::string& path, std::string& error);

  // Makes an object of the bundle's first importer factory. Null on failure; `error` says why.
  std::unique_ptr<Importer> NewImporter(Interface interface, std::string& error) const;

 private:
  explicit ImporterBundle(CFUUIDRef factory) : factory_(factory) {}

  CFUUIDRef factory_;  // kept for the life of the process, as the bundle's code is
};

}  // namespace mdtorrent
