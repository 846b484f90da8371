// Exceptions of either kind out of every call that an import makes of Foundation.
#include "tests/faults/faulty_import.h"
#include "tests/faults/live_objects.h"
#include "tests/faults/raising.h"

// A dictionary of attributes that takes only so many entries.
@interface FullDictionary : NSMutableDictionary {
  NSMutableDictionary* entries;
 @public
  int room;
}
@end

@implementation FullDictionary
- (id)initWithCapacity:(NSUInteger)capacity {
  self = [super init];
  if (self) {
    entries = [[NSMutableDictionary alloc] initWithCapacity:capacity];
  }
  return self;
}
- (id)init {
  return [self initWithCapacity:0];
}
- (void)dealloc {
  [entries release];
  [super dealloc];
}
- (NSUInteger)count {
  return [entries count];
}
- (id)objectForKey:(id)key {
  return [entries objectForKey:key];
}
- (NSEnumerator*)keyEnumerator {
  return [entries keyEnumerator];
}
- (void)setObject:(id)object forKey:(id)key {
  if (room-- == 0) {
    [NSException raise:NSMallocException format:@"no room"];
  }
  [entries setObject:object forKey:key];
}
- (void)removeObjectForKey:(id)key {
  [entries removeObjectForKey:key];
}
@end

namespace faults {
namespace {

struct Case {
  const char* name;
  std::string bytes;
};

void PrintTo(const Case& torrent, std::ostream* out) { *out << torrent.name; }

class Raising : public FaultyImport, public ::testing::WithParamInterface<std::tuple<Case, Raised>> {
 protected:
  Raising() : path_(temp_.Write("a.torrent", std::get<Case>(GetParam()).bytes)) {
    ControlFoundation();
    CountObjects(true);
  }
  ~Raising() override {
    RaiseAt(0, Raised::kNothing);
    CountObjects(false);
  }

  // Imports when the `call`-th call raises; the result and the attributes.
  std::pair<bool, Attributes> ImportRaising(long call) const {
    NSAutoreleasePool* pool = [NSAutoreleasePool new];
    NSURL* url = FileURL(path_);
    NSMutableDictionary* attributes =
        [NSMutableDictionary dictionaryWithObjectsAndKeys:@"old", @"kMDItemComment", @"other", @"kMDItemTitle", nil];
    [url path];  // which the URL may keep
    const std::map<std::string, int> objects = LiveObjects();
    RaiseAt(call, std::get<Raised>(GetParam()));
    const bool imported = ImportURL(url, attributes);
    calls_ = ControlledCalls();
    RaiseAt(0, Raised::kNothing);
    if (!imported && call > 1) {  // the first one makes the import's pool
      EXPECT_EQ(LiveObjects(), objects) << "left to the caller's pool";
    }
    Attributes after = Copied(attributes);
    [pool release];
    return {imported, after};
  }

  const std::string path_;
  mutable long calls_ = 0;
};

TEST_P(Raising, AnyCallThatRaisesIsARefusalWithoutATrace) {
  const Attributes untouched = {{"kMDItemComment", "old"}, {"kMDItemTitle", "other"}};
  const auto [imported, expected] = ImportRaising(0);
  ASSERT_TRUE(imported);
  const long calls = calls_;
  ASSERT_GT(calls, 20);
  ImportRaising(calls / 2);  // what the platform keeps of the first exception is made here
  for (long call = 1; call <= calls; call++) {
    SCOPED_TRACE(call);
    const long blocks = LiveBlocks();
    const int descriptor = NextDescriptor();
    const std::map<std::string, int> objects = LiveObjects();
    EXPECT_EQ(ImportRaising(call), std::pair(false, untouched));
    EXPECT_EQ(LiveBlocks(), blocks);
    EXPECT_EQ(NextDescriptor(), descriptor);
    EXPECT_EQ(LiveObjects(), objects);
  }
  EXPECT_EQ(ImportRaising(calls + 1), std::pair(true, expected));
}

std::string NameOf(const ::testing::TestParamInfo<Raising::ParamType>& test) {
  const char* names[] = {"Nothing", "PlatformException", "BadAlloc", "Number"};
  return std::string(std::get<Case>(test.param).name) + names[static_cast<int>(std::get<Raised>(test.param))];
}

INSTANTIATE_TEST_SUITE_P(
    Torrents, Raising,
    ::testing::Combine(::testing::Values(Case{"Single", SingleFile().Build()}, Case{"Several", ListsOfEverything()}),
                       ::testing::Values(Raised::kPlatformException, Raised::kBadAlloc, Raised::kNumber)),
    NameOf);

class WholeOrNothing : public FaultyImport {
 protected:
  // Imports into a dictionary that has `before` and takes `room` entries more.
  std::pair<bool, Attributes> ImportWithRoom(NSDictionary* before, int room) const {
    FullDictionary* attributes = [[FullDictionary new] autorelease];
    attributes->room = -1;
    [attributes addEntriesFromDictionary:before];
    attributes->room = room;
    const bool imported = ImportURL(FileURL(path_), attributes);
    return {imported, Copied(attributes)};
  }

  const std::string path_ = temp_.Write("a.torrent", SeveralFiles().Build());
};

TEST_F(WholeOrNothing, DictionaryThatFillsUpStaysAsItWas) {
  NSDictionary* before[] = {
      [NSDictionary dictionary],
      [NSDictionary dictionaryWithObjectsAndKeys:@"old creator", @"kMDItemCreator", @"old comment", @"kMDItemComment",
                                                 @"old", @"kMDItemDescription", @"other", @"kMDItemTitle", nil]};
  for (NSDictionary* entries : before) {
    for (int room = 0; room < 4; room++) {
      EXPECT_EQ(ImportWithRoom(entries, room), std::pair(false, Copied(entries))) << room;
    }
    EXPECT_TRUE(ImportWithRoom(entries, 4).first);
  }
}

}  // namespace
}  // namespace faults
