#import "QuickLookPlugin/TorrentInfo.h"

#include <string.h>

#import "QuickLookPlugin/FileTable.h"
#import "QuickLookPlugin/StringBytes.h"
#include "QuickLookPlugin/code_page.h"
#include "QuickLookPlugin/file_bytes.h"
#include "QuickLookPlugin/limits.h"
#include "QuickLookPlugin/owned.h"
#include "QuickLookPlugin/path_helpers.h"
#include "QuickLookPlugin/tree_budget.h"
#include "QuickLookPlugin/web_seed_summary.h"
#include "core/base/mem1.h"
#include "core/bencode/bencoding.h"
#include "core/format/strfmt.h"
#include "core/text/DecodeEncodedString.h"
#include "core/text/nustr.h"

namespace {

using reader::Block;
using reader::Owned;

// The decoded torrent. Freed with it is the text that the last read left with the thread.
struct TorrentTree {
  core::BencodedDict root;

  TorrentTree() = default;
  TorrentTree(const TorrentTree&) = delete;
  TorrentTree& operator=(const TorrentTree&) = delete;
  ~TorrentTree() {
    root.FreeMembers();
    core::str_temp(nullptr);
  }

  // Decodes the file at `path`, whose bytes are gone again when this returns.
  bool Load(NSString* path);
};

bool TorrentTree::Load(NSString* path) {
  const reader::StringBytes name(path);
  reader::FileBytes file;
  if (name.size() == 0 || strlen(name.begin()) != name.size() || !file.Load(name.begin())) {
    return false;
  }
  return reader::TreeFitsBudget(file.begin(), file.end(), reader::TreeBudget(file.size())) &&
         core::BencEntity::Parse(file.begin(), root, file.end()) && root.GetType() == core::BENC_DICT;
}

// Puts an object that the caller owns into a field, in place of what the field holds.
template <class T, class U>
void Adopt(T*& field, U* object) {
  [field release];
  field = static_cast<T*>(object);
}

// The functions below whose names begin with New return an object that the caller owns.

// Nil when the platform refuses the bytes.
NSString* NewStringFromUtf8(const char* bytes) { return [[NSString alloc] initWithUTF8String:bytes]; }

// The text of a value, "" when it does not decode; nil when the value is null or no string.
NSString* NewText(const core::BencEntity* value, int code_page) {
  if (!value || value->GetType() != core::BENC_STR) {
    return nil;
  }
  const auto* string = static_cast<const core::BencEntityMem*>(value);
  size_t len = 0;
  string->GetString(&len);
  return len > reader::kMaxTextBytes ? @"" : [[NSString stringWithTStr:string->GetStringT(code_page, nullptr)] retain];
}

// Appends an object that the caller owns, and gives up the ownership. Nil is passed over.
void Append(NSMutableArray* array, NSString* text) {
  const Owned<NSString> owned(text);
  if (text) {
    [array addObject:text];
  }
}

void AppendTrackers(NSMutableArray* trackers, const core::BencodedList& tier) {
  const size_t count = tier.GetCount();
  for (size_t i = 0; i < count; ++i) {
    Append(trackers, NewText(tier.Get(i), core::kCodePageUtf8OrLocale));
  }
}

// On purpose: trackers are never decoded by the torrent's own code page, and the presence of a list,
// even an empty one, hides the single tracker.
NSMutableArray* NewTrackers(const core::BencodedDict& root) {
  Owned<NSMutableArray> trackers([NSMutableArray new]);
  const core::BencodedList* tiers = root.GetList("announce-list");
  if (!tiers) {
    Append(trackers.get(), NewText(root.Get("announce"), core::kCodePageUtf8OrLocale));
    return trackers.Take();
  }
  const size_t count = tiers->GetCount();
  for (size_t i = 0; i < count; ++i) {
    const core::BencodedList* tier = tiers->GetList(i);
    if (tier) {
      AppendTrackers(trackers.get(), *tier);
    }
  }
  return trackers.Take();
}

// A web seed that is not valid UTF-8 is passed over.
void AppendWebSeed(NSMutableArray* seeds, const char* bytes, size_t len) {
  if (len <= reader::kMaxTextBytes) {
    Append(seeds, NewStringFromUtf8(bytes));
  }
}

NSMutableArray* NewWebSeeds(const core::BencodedDict& root) {
  Owned<NSMutableArray> seeds([NSMutableArray new]);
  size_t len = 0;
  const core::BencodedList* list = root.GetList("url-list");
  if (!list) {
    const char* bytes = root.GetString("url-list", &len);
    if (bytes) {
      AppendWebSeed(seeds.get(), bytes, len);
    }
    return seeds.Take();
  }
  reader::WebSeedSummary summary;  // On purpose: composed and then dropped; no field keeps it.
  const size_t count = list->GetCount();
  for (size_t i = 0; i < count; ++i) {
    const char* bytes = list->GetString(i, &len);
    if (bytes) {
      AppendWebSeed(seeds.get(), bytes, len);
      summary.Add(i, bytes, len);
    }
  }
  return seeds.Take();
}

NSString* NewName(const core::BencodedDict& info, int code_page) {
  NSString* name = NewText(info.Get("name.utf-8"), core::kCodePageUtf8);
  return name ? name : NewText(info.Get("name"), code_page);
}

// The path of one file as a new wide string; null when it has none.
wchar_t* CombineFilePath(const core::BencodedDict& file, int code_page) {
  const core::BencodedList* path = file.GetList("path.utf-8");
  return path ? CombinePath(path, core::kCodePageUtf8) : CombinePath(file.GetList("path"), code_page);
}

// Stores one file of a list under its path. False when it has no usable path.
bool StoreFile(SorrelFileTable* table, const core::BencodedDict& file, long long length, int code_page) {
  const Block<wchar_t> path(CombineFilePath(file, code_page));
  if (!path.p) {
    return false;
  }
  size_t len = 0;
  const Block<char> utf8(core::wstr_to_utf8(path.p, &len));
  const Owned<NSString> key(NewStringFromUtf8(utf8.p));
  [table setSize:length forPath:key.get() ? key.get() : @"" utf8:utf8.p length:key.get() ? len : 0];
  return true;
}

}  // namespace

@interface TorrentInfo ()
- (BOOL)readInfo:(const core::BencodedDict&)info codePage:(int)codePage;
- (BOOL)readFiles:(const core::BencodedDict&)info codePage:(int)codePage;
- (BOOL)readPieces:(const core::BencodedDict&)info;
@end

@implementation TorrentInfo

@synthesize trackers;
@synthesize webSeeds;
@synthesize files;
@synthesize createdOn;
@synthesize name;
@synthesize creator;
@synthesize comment;
@synthesize pieceSize;
@synthesize privateTorrent;
@synthesize numPieces;
@synthesize totalSize;

- (id)initWithFile:(NSString*)path {
  self = [super init];
  Owned<TorrentInfo> record(self);
  return [self parseTorrentFile:path] ? record.Take() : nil;
}

- (void)dealloc {
  [trackers release];
  [webSeeds release];
  [files release];
  [createdOn release];
  [name release];
  [creator release];
  [comment release];
  [super dealloc];
}

- (BOOL)parseTorrentFile:(NSString*)path {
  TorrentTree tree;
  if (!tree.Load(path)) {
    return NO;
  }
  const core::BencodedDict& root = tree.root;
  Adopt(trackers, NewTrackers(root));
  Adopt(webSeeds, NewWebSeeds(root));
  const int code_page = reader::ReadCodePage(root);
  Adopt(createdOn, [[NSDate dateWithTimeIntervalSince1970:root.GetInt("creation date", 0)] retain]);
  Adopt(comment, NewText(root.Get("comment"), code_page));
  Adopt(creator, NewText(root.Get("created by"), code_page));
  const core::BencodedDict* info = root.GetDict("info");
  return info && [self readInfo:*info codePage:code_page];
}

- (BOOL)readInfo:(const core::BencodedDict&)info codePage:(int)codePage {
  const int length = info.GetInt("piece length", 0);
  if (length < reader::kMinPieceLength || length > reader::kMaxPieceLength) {
    return NO;
  }
  pieceSize = static_cast<unsigned long long>(length);
  privateTorrent = info.GetInt("private", 0) != 0;
  Adopt(name, NewName(info, codePage));
  return name && [self readFiles:info codePage:codePage] && [self readPieces:info];
}

- (BOOL)readFiles:(const core::BencodedDict&)info codePage:(int)codePage {
  const core::BencodedList* list = info.GetList("files");
  const size_t count = list ? list->GetCount() : 1;
  SorrelFileTable* table = [[SorrelFileTable alloc] initWithCapacity:count];
  Adopt(files, table);
  totalSize = 0;
  if (!list) {
    const long long length = info.GetInt64("length", 0);
    totalSize = static_cast<unsigned long long>(length);
    [table setObject:[NSNumber numberWithLongLong:length] forKey:name];
    return YES;
  }
  for (size_t i = 0; i < count; ++i) {
    const core::BencodedDict* file = list->GetDict(i);
    if (!file) {
      return NO;
    }
    const long long length = file->GetInt64("length", 0);
    totalSize += static_cast<unsigned long long>(length);
    if (!StoreFile(table, *file, length, codePage)) {
      return NO;
    }
  }
  return YES;
}

// The sum may wrap and the count is cut to 32 bits, as is its product: what matters is that the
// hashes' bytes agree.
- (BOOL)readPieces:(const core::BencodedDict&)info {
  numPieces = static_cast<unsigned int>((totalSize + pieceSize - 1) / pieceSize);
  if (numPieces < 1 || numPieces > reader::kMaxPieces) {
    return NO;
  }
  const size_t hash_bytes = numPieces * reader::kPieceHashBytes;
  return info.GetString("pieces", hash_bytes) != nullptr;
}

@end

@implementation NSString (NSStringAdditions)

+ (NSString*)stringWithTStr:(const wchar_t*)s {
  if (!s) {
    return nil;
  }
  const Block<char> utf8(core::wstr_to_utf8(s));
  NSString* string = [NSString stringWithUTF8String:utf8.p];
  return string ? string : @"";
}

@end
