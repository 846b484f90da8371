#include "fuzz/support/import_check.h"

#include <fcntl.h>
#include <locale.h>
#include <sys/mman.h>
#include <unistd.h>

#include <map>
#include <optional>
#include <vector>

#import "QuickLookPlugin/TorrentInfo.h"
#include "SpotlightImporter/MetadataImporterPlugin.h"
#include "core/base/host.h"
#include "fuzz/models/reader_model.h"
#include "fuzz/support/fuzz_check.h"
#include "tests/faults/live_objects.h"
#include "tests/support/platform_memory.h"

// There is one under the address sanitizer alone.
extern "C" __attribute__((weak)) size_t __sanitizer_get_current_allocated_bytes();

namespace {

using reader_model::Attributes;
using reader_model::Record;

// A file without a name that is written anew for each input.
class ImportedFile {
 public:
  ImportedFile() : fd_(memfd_create("torrent", MFD_CLOEXEC)) { Require(fd_ >= 0, "a file can be made"); }

  NSString* path() const { return [NSString stringWithFormat:@"/proc/self/fd/%d", fd_]; }

  void Write(std::string_view bytes) const {
    const auto size = static_cast<off_t>(bytes.size());
    Require(ftruncate(fd_, size) == 0 && pwrite(fd_, bytes.data(), bytes.size(), 0) == size, "the file can be written");
  }

 private:
  int fd_;
};

NSDictionary* OldAttributes() {
  return [NSDictionary dictionaryWithObjectsAndKeys:@"old 1", (NSString*)kMDItemCreator, @"old 2",
                                                    (NSString*)kMDItemComment, @"old 3", (NSString*)kMDItemDescription,
                                                    [NSArray arrayWithObject:@"old 4"], @"org_sorrel_torrent_filenames",
                                                    @"old 5", @"other", nil];
}

// By the characters: a byte at the start that looks like a mark of order is one of them.
std::string Utf8(NSString* string) { return string ? [string UTF8String] : "(nil)"; }

std::vector<std::string> Texts(NSArray* strings) {
  std::vector<std::string> texts;
  for (NSUInteger i = 0; i < [strings count]; ++i) {
    texts.push_back(Utf8([strings objectAtIndex:i]));
  }
  return texts;
}

std::optional<std::string> Optional(NSString* string) { return string ? std::optional(Utf8(string)) : std::nullopt; }

// Imports through the interface, into `attributes`.
bool Import(CFUUIDRef interface, NSString* path, NSMutableDictionary* attributes) {
  auto** object = static_cast<MDImporterInterfaceStruct**>(MetadataImporterPluginFactory(nullptr, kMDImporterTypeID));
  void* importer = nullptr;
  Require((*object)->QueryInterface(object, CFUUIDGetUUIDBytes(interface), &importer) == S_OK, "there is an importer");
  bool imported;
  if (interface == kMDImporterInterfaceID) {
    imported = (*object)->ImporterImportData(object, (CFMutableDictionaryRef)attributes, nullptr, (CFStringRef)path);
  } else {
    auto** by_url = static_cast<MDImporterURLInterfaceStruct**>(importer);
    NSURL* url = [NSURL fileURLWithPath:path];
    imported = (*by_url)->ImporterImportURLData(by_url, (CFMutableDictionaryRef)attributes, nullptr, (CFURLRef)url);
  }
  (*object)->Release(object);
  Require((*object)->Release(object) == 0, "the last reference goes");
  return imported;
}

// The attributes that stay as they were when the torrent has none.
std::optional<std::string> New(NSDictionary* attributes, CFStringRef key, const char* old) {
  const auto text = Optional([attributes objectForKey:(NSString*)key]);
  return text == old ? std::nullopt : text;
}

std::string AttributesFault(CFUUIDRef interface, NSString* path, const std::optional<Attributes>& expected) {
  NSDictionary* old = OldAttributes();
  NSMutableDictionary* attributes = [NSMutableDictionary dictionaryWithDictionary:old];
  if (Import(interface, path, attributes) != expected.has_value()) {
    return expected ? "a torrent is refused" : "what is no torrent is imported";
  }
  if (!expected) {
    return [attributes isEqual:old] ? "" : "a refusal changes the attributes";
  }
  if ([attributes count] != 5 || ![[attributes objectForKey:@"other"] isEqual:@"old 5"]) {
    return "other attributes are touched";
  }
  const Attributes found = {New(attributes, kMDItemCreator, "old 1"), New(attributes, kMDItemComment, "old 2"),
                            Utf8([attributes objectForKey:(NSString*)kMDItemDescription]),
                            Texts([attributes objectForKey:@"org_sorrel_torrent_filenames"])};
  if (found.description != expected->description) {
    return "the description is '" + found.description + "', not '" + expected->description + "'";
  }
  return found.creator != expected->creator   ? "the creator is another"
         : found.comment != expected->comment ? "the comment is another"
         : found.names != expected->names     ? "the names are others"
                                              : "";
}

std::string FilesFault(TorrentInfo* info, const Record& expected) {
  NSArray* paths = [info.files allKeys];
  if ([paths count] != expected.files.size()) {
    return "there are other files";
  }
  for (NSUInteger i = 0; i < [paths count]; ++i) {
    NSString* path = [paths objectAtIndex:i];
    const reader_model::File& file = expected.files[i];
    if (Utf8(path) != file.path || [[info.files objectForKey:path] longLongValue] != file.size) {
      return "a file has another path or size";
    }
  }
  return "";
}

std::string RecordFault(NSString* path, const std::optional<Record>& expected) {
  TorrentInfo* info = [[[TorrentInfo alloc] initWithFile:path] autorelease];
  if (!info || !expected) {
    return (info != nil) == expected.has_value() ? "" : "the record is another's";
  }
  const bool numbers = [info.createdOn timeIntervalSince1970] == expected->created_on &&
                       info.pieceSize == expected->piece_size && info.numPieces == expected->pieces &&
                       info.totalSize == expected->total_size && (info.privateTorrent != 0) == expected->is_private;
  return Texts(info.trackers) != expected->trackers    ? "the trackers are others"
         : Texts(info.webSeeds) != expected->web_seeds ? "the web seeds are others"
         : Utf8(info.name) != expected->name           ? "the name is another"
         : Optional(info.creator) != expected->creator ? "the record's creator is another"
         : Optional(info.comment) != expected->comment ? "the record's comment is another"
         : !numbers                                    ? "a number of the record is another"
                                                       : FilesFault(info, *expected);
}

std::string Compare(NSString* path, const std::optional<Record>& record) {
  const auto attributes = record ? std::optional(reader_model::AttributesOf(*record)) : std::nullopt;
  std::string fault = AttributesFault(kMDImporterURLInterfaceID, path, attributes);
  if (fault.empty()) {
    fault = AttributesFault(kMDImporterInterfaceID, path, attributes);
  }
  return fault.empty() ? RecordFault(path, record) : fault;
}

// What must be as many after an input as before it.
struct InUse {
  InUse() : blocks(test_host::LiveBlocks()), descriptor(dup(0)) {
    close(descriptor);
    if (__sanitizer_get_current_allocated_bytes) {
      heap_bytes = __sanitizer_get_current_allocated_bytes();
    }
    for (const auto& [name, count] : faults::LiveObjects()) {
      objects += count;
    }
  }

  bool operator==(const InUse&) const = default;

  long blocks;
  int descriptor;  // the lowest free one
  size_t heap_bytes = 0;
  long objects = 0;
};

std::string Checked(std::string_view torrent) {
  static const ImportedFile file;
  file.Write(torrent);
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  std::string fault = Compare(file.path(), reader_model::Read(torrent));
  [pool release];
  return fault;
}

// What the first import of a thread and a process leaves is made before anything is counted.
void SetUp() {
  faults::CountObjects(true);
  Checked("d4:infod6:lengthi1e4:name1:n12:piece lengthi16384e6:pieces20:aaaaaaaaaaaaaaaaaaaaee");
  Checked("");
  Require(setlocale(LC_CTYPE, "C.UTF-8") != nullptr, "the locale is there");
}

}  // namespace

// The platform makes some of its tables when they are first needed: what an input leaves behind counts when it
// does so each time.
std::string ImportFault(std::string_view torrent) {
  [[maybe_unused]] static const bool ready = (SetUp(), true);
  for (int attempt = 0; attempt < 3; ++attempt) {
    core::FreeTLS(core::GetTLS());
    core::GetTLS();  // a new one: an import leaves no text in it
    const InUse before;
    const std::string fault = Checked(torrent);
    if (!fault.empty() || InUse() == before) {
      return fault;
    }
  }
  return "something is not given back";
}
