#include "tools/mdtorrent/import/plugin.h"

#include <CoreFoundation/CFPlugInCOM.h>
#include <CoreServices/CoreServices.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

#include "tools/mdtorrent/input/file_system_string.h"
#include "tools/mdtorrent/output/utf8.h"

namespace mdtorrent {
namespace {

NSString* const kContentType = @"org.bittorrent.torrent";

// A table whose head all interfaces share.
struct UnknownInterface {
  IUNKNOWN_C_GUTS;
};

// A second name, in ASCII, for a file whose own name no string can hold. Lives as long as this object.
class AsciiAlias {
 public:
  explicit AsciiAlias(const std::string& path) {
    struct stat info;
    if (stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode)) {
      fd_ = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    }
  }
  ~AsciiAlias() {
    if (fd_ >= 0) {
      close(fd_);
    }
  }
  AsciiAlias(const AsciiAlias&) = delete;
  AsciiAlias& operator=(const AsciiAlias&) = delete;

  bool usable() const { return fd_ >= 0; }
  std::string name() const { return "/dev/fd/" + std::to_string(fd_); }

 private:
  int fd_ = -1;
};

// Puts the working directory before a path that is taken from it: importers are given whole paths.
std::string AbsolutePath(const std::string& path) {
  if (path[0] == '/') {
    return path;
  }
  const std::unique_ptr<char, void (*)(void*)> folder(getcwd(nullptr, 0), free);
  return folder ? folder.get() + ("/" + path) : path;
}

CFURLRef NewFileURL(NSString* path) {
  return CFURLCreateWithFileSystemPath(kCFAllocatorDefault, (CFStringRef)path, kCFURLPOSIXPathStyle, false);
}

bool CallImport(MDImporterURLInterfaceStruct** object, NSString* path, NSMutableDictionary* attributes) {
  const CFURLRef url = NewFileURL(path);
  if (!url) {
    return false;
  }
  const bool imported =
      (*object)->ImporterImportURLData(object, (CFMutableDictionaryRef)attributes, (CFStringRef)kContentType, url) != 0;
  CFRelease(url);
  return imported;
}

bool CallImport(MDImporterInterfaceStruct** object, NSString* path, NSMutableDictionary* attributes) {
  return (*object)->ImporterImportData(object, (CFMutableDictionaryRef)attributes, (CFStringRef)kContentType,
                                       (CFStringRef)path) != 0;
}

template <class Table>
class ImporterOver : public Importer {
 public:
  explicit ImporterOver(Table** object) : object_(object) {}
  ~ImporterOver() override { (*object_)->Release(object_); }
  ImporterOver(const ImporterOver&) = delete;
  ImporterOver& operator=(const ImporterOver&) = delete;

  bool Import(const std::string& path, NSMutableDictionary* attributes) override {
    if (path.empty() || path.find('\0') != std::string::npos) {
      return false;
    }
    if (NSString* name = NewFileSystemString(AbsolutePath(path))) {
      return ImportNamed(name, attributes);
    }
    const AsciiAlias alias(path);
    return alias.usable() && ImportNamed(NewFileSystemString(alias.name()), attributes);
  }

 private:
  // Releases `name`.
  bool ImportNamed(NSString* name, NSMutableDictionary* attributes) {
    const bool imported = CallImport(object_, name, attributes);
    [name release];
    return imported;
  }

  Table** object_;
};

// Asks `unknown` for an interface and gives up `unknown` itself.
template <class Table>
std::unique_ptr<Importer> Query(UnknownInterface** unknown, CFUUIDRef interface) {
  void* object = nullptr;
  const HRESULT result = (*unknown)->QueryInterface(unknown, CFUUIDGetUUIDBytes(interface), &object);
  (*unknown)->Release(unknown);
  if (result != S_OK || !object) {
    return nullptr;
  }
  return std::make_unique<ImporterOver<Table>>(static_cast<Table**>(object));
}

CFUUIDRef CopyFirstFactory(CFPlugInRef plug_in) {
  NSArray* factories = (NSArray*)CFPlugInFindFactoriesForPlugInTypeInPlugIn(kMDImporterTypeID, plug_in);
  const CFUUIDRef first = [factories count] > 0 ? (CFUUIDRef)[[factories objectAtIndex:0] retain] : nullptr;
  [factories release];
  return first;
}

CFPlugInRef OpenPlugIn(const std::string& path) {
  NSString* name = NewFileSystemString(AbsolutePath(path));
  if (!name) {
    return nullptr;
  }
  const CFURLRef url =
      CFURLCreateWithFileSystemPath(kCFAllocatorDefault, (CFStringRef)name, kCFURLPOSIXPathStyle, true);
  [name release];
  if (!url) {
    return nullptr;
  }
  const CFPlugInRef plug_in = CFPlugInCreate(kCFAllocatorDefault, url);
  CFRelease(url);
  return plug_in;
}

}  // namespace

std::optional<ImporterBundle> ImporterBundle::Open(const std::string& path, std::string& error) {
  const CFPlugInRef plug_in = OpenPlugIn(path);
  if (!plug_in) {
    error = "not a plug-in bundle with a usable property list";
    return std::nullopt;
  }
  const CFUUIDRef factory = CopyFirstFactory(plug_in);
  if (!factory) {
    error = "its property list names no importer factory";
    return std::nullopt;
  }
  return ImporterBundle(factory);
}

std::unique_ptr<Importer> ImporterBundle::NewImporter(Interface interface, std::string& error) const {
  auto** unknown =
      static_cast<UnknownInterface**>(CFPlugInInstanceCreate(kCFAllocatorDefault, factory_, kMDImporterTypeID));
  if (!unknown) {
    error = "its factory makes no importer";
    return nullptr;
  }
  std::unique_ptr<Importer> importer = interface == Interface::kUrl
                                           ? Query<MDImporterURLInterfaceStruct>(unknown, kMDImporterURLInterfaceID)
                                           : Query<MDImporterInterfaceStruct>(unknown, kMDImporterInterfaceID);
  if (!importer) {
    error = "its importer lacks the interface";
  }
  return importer;
}

}  // namespace mdtorrent
