#include "tools/mdtorrent/import/plugin.h"

#include <CoreFoundation/CFPlugInCOM.h>
#include <CoreServices/CoreServices.h>
#include <errno.h>
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

// A second name for a file whose whole name no string can hold or no one can open. Lives as long as
// this object.
class FileAlias {
 public:
  explicit FileAlias(const std::string& path) {
    struct stat info;
    if (stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode)) {
      fd_ = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    }
  }
  ~FileAlias() {
    if (fd_ >= 0) {
      close(fd_);
    }
  }
  FileAlias(const FileAlias&) = delete;
  FileAlias& operator=(const FileAlias&) = delete;

  bool usable() const { return fd_ >= 0; }
  std::string name() const { return "/dev/fd/" + std::to_string(fd_); }

 private:
  int fd_ = -1;
};

// Puts the working directory before a path that is taken from it: importers are given whole paths.
// None when that directory has no path any more.
std::optional<std::string> AbsolutePath(const std::string& path) {
  if (path.starts_with('/')) {
    return path;
  }
  const std::unique_ptr<char, void (*)(void*)> folder(getcwd(nullptr, 0), free);
  return folder ? std::optional(folder.get() + ("/" + path)) : std::nullopt;
}

bool CanBeFound(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0;
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

  std::optional<Failure> Import(const std::string& path, NSMutableDictionary* attributes) override {
    if (path.find('\0') != std::string::npos) {
      return Diagnose(path);
    }
    const std::optional<std::string> whole = AbsolutePath(path);
    if (NSString* name = whole ? NewFileSystemString(*whole) : nil) {
      if (ImportNamed(name, attributes)) {
        return std::nullopt;
      }
      if (CanBeFound(*whole)) {
        return Diagnose(path);
      }
    }
    const FileAlias alias(path);
    if (!alias.usable()) {
      return Diagnose(path);
    }
    if (ImportNamed(NewFileSystemString(alias.name()), attributes)) {
      return std::nullopt;
    }
    return Diagnose(alias.name());  // which takes as many descriptors as the importer needed
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
  NSString* name = NewFileSystemString(path);
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

// Why the bundle at `path` gave no plug-in.
std::string WhyNoPlugIn(const std::string& path) {
  const int fd = open((path + "/Contents/Info.plist").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  const int error = fd < 0 ? errno : 0;
  if (fd >= 0) {
    close(fd);
  }
  const bool is_missing = error == ENOENT || error == ENOTDIR;
  return error == 0 || is_missing ? "not a plug-in bundle with a usable property list"
                                  : "its property list: " + CannotOpen(error).reason;
}

}  // namespace

std::optional<ImporterBundle> ImporterBundle::Open(const std::string& path, std::string& error) {
  const std::string whole = AbsolutePath(path).value_or(path);
  const CFPlugInRef plug_in = OpenPlugIn(whole);
  if (!plug_in) {
    error = WhyNoPlugIn(whole);
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
