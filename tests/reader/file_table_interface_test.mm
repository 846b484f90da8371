// The record's dictionary beside one of the platform's with the same content: both answer every method of
// a mutable dictionary alike, and a list of the platform's methods shows that none is left out.
#import <GNUstepBase/GSXML.h>
#include <objc/runtime.h>
#include <stdlib.h>
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#import "QuickLookPlugin/FileTable.h"
#import "tests/reader/shown.h"
#include "tests/support/scoped_locale.h"
#include "tests/support/temp_folder.h"

namespace {

id Number(long long value) { return [NSNumber numberWithLongLong:value]; }

id Claim(bool claim) { return claim ? @"yes" : @"no"; }

// In an order of their own: a dictionary has none.
id Ordered(NSArray* objects) { return [objects sortedArrayUsingSelector:@selector(compare:)]; }

id Ordered(NSEnumerator* objects) { return Ordered([objects allObjects]); }

id Nothing() { return nil; }

// The numbers are of several widths; two are the same.
NSMutableDictionary* Content() {
  return [NSMutableDictionary dictionaryWithObjectsAndKeys:Number(1), @"a", Number(2), @"folder/b", Number(-3),
                                                           @"c \"d\"", Number(2), @"twin", Number(123456789012345),
                                                           @"large", Number(0), @"", nil];
}

NSDictionary* Other() { return [NSDictionary dictionaryWithObjectsAndKeys:Number(9), @"a", Number(10), @"new", nil]; }

NSArray* SomeKeys() { return [NSArray arrayWithObjects:@"a", @"missing", @"folder/b", nil]; }

// Blocks as a compiler without blocks makes them: the platform asks for `invoke` alone.
template <class Block>
Block BlockThat(decltype(Block::invoke) invoke) {
  Block block = {};
  block.invoke = invoke;
  return block;
}

struct CollectingBlock {
  std::remove_pointer_t<GSKeysAndObjectsEnumeratorBlock> block;
  NSMutableArray* pairs;
};

CollectingBlock CollectPairs() {
  CollectingBlock block = {{}, [NSMutableArray array]};
  block.block.invoke = [](void* self, id key, id object, BOOL*) {
    [static_cast<CollectingBlock*>(self)->pairs addObject:[NSString stringWithFormat:@"%@=%@", key, object]];
  };
  return block;
}

auto KeepOdd() {
  return BlockThat<std::remove_pointer_t<GSKeysAndObjectsPredicateBlock>>(
      [](void*, id, id object, BOOL*) -> BOOL { return [object longLongValue] % 2 != 0; });
}

auto LargestFirst() {
  return BlockThat<std::remove_pointer_t<NSComparator>>(
      [](void*, id one, id other) { return [static_cast<NSNumber*>(other) compare:one]; });
}

// What is at `path` after a dictionary has been written there.
id Written(NSString* path, BOOL written) {
  return [NSArray arrayWithObjects:Claim(written), [NSDictionary dictionaryWithContentsOfFile:path], nil];
}

NSString* PathIn(const TempFolder& folder) { return [NSString stringWithUTF8String:(folder.path() / "list").c_str()]; }

id WrittenToFile(NSMutableDictionary* files) {
  const TempFolder folder;
  NSString* path = PathIn(folder);
  return Written(path, [files writeToFile:path atomically:YES]);
}

id WrittenToURL(NSMutableDictionary* files) {
  const TempFolder folder;
  NSString* path = PathIn(folder);
  return Written(path, [files writeToURL:[NSURL fileURLWithPath:path] atomically:NO]);
}

// Fast enumeration, as compilers that have it write it.
template <class Step>
void ForEachKey(NSDictionary* files, Step step) {
  NSFastEnumerationState state = {};
  id batch[2];
  unsigned long mutations = 0;
  bool first = true;
  while (const NSUInteger count = [files countByEnumeratingWithState:&state objects:batch count:2]) {
    mutations = std::exchange(first, false) ? *state.mutationsPtr : mutations;
    for (NSUInteger i = 0; i < count; ++i) {
      if (mutations != *state.mutationsPtr) {
        objc_enumerationMutation(files);
      }
      step(state.itemsPtr[i]);
    }
  }
}

id KeysOneByOne(NSMutableDictionary* files) {
  NSMutableArray* keys = [NSMutableArray array];
  ForEachKey(files, [&](id key) { [keys addObject:key]; });
  return Ordered(keys);
}

id KeysWhileOneIsAdded(NSMutableDictionary* files) {
  ForEachKey(files, [&](id key) { [files setObject:key forKey:@"new"]; });
  return nil;
}

id ObjectsAndKeys(NSMutableDictionary* files) {
  const NSUInteger count = [files count];
  std::vector<id> objects(count);
  std::vector<id> keys(count);
  [files getObjects:objects.data() andKeys:keys.data()];
  return [NSDictionary dictionaryWithObjects:objects.data() forKeys:keys.data() count:count];
}

id Archived(NSMutableDictionary* files) {
  return [NSUnarchiver unarchiveObjectWithData:[NSArchiver archivedDataWithRootObject:files]];
}

id ArchivedByKeys(NSMutableDictionary* files) {
  return [NSKeyedUnarchiver unarchiveObjectWithData:[NSKeyedArchiver archivedDataWithRootObject:files]];
}

id PropertyListOf(NSMutableDictionary* files, NSPropertyListFormat format) {
  NSData* data = [NSPropertyListSerialization dataFromPropertyList:files format:format errorDescription:nullptr];
  return [NSPropertyListSerialization propertyListFromData:data
                                          mutabilityOption:NSPropertyListImmutable
                                                    format:nullptr
                                          errorDescription:nullptr];
}

id JsonOf(NSMutableDictionary* files) {
  NSData* data = [NSJSONSerialization dataWithJSONObject:files options:0 error:nullptr];
  return [NSJSONSerialization JSONObjectWithData:data options:0 error:nullptr];
}

id RemoteCallOf(NSMutableDictionary* files) {
  GSXMLRPC* server = [GSXMLRPC alloc];
  server = [[server initWithURL:@"http://server.example/"] autorelease];
  return [server buildMethodCall:@"method" params:[NSArray arrayWithObject:files]];
}

// With one entry, a text.
NSMutableDictionary* WithText(NSMutableDictionary* files) {
  [files setDictionary:[NSDictionary dictionaryWithObject:@"\"text\"" forKey:@"a <key>"]];
  return files;
}

// A copy, what kind it is, and that it stays as it is when the original changes.
id KindOf(NSDictionary* copy, NSMutableDictionary* files) {
  [files removeObjectForKey:@"a"];
  return [NSArray arrayWithObjects:Claim([copy isKindOfClass:[NSMutableDictionary class]]), copy, nil];
}

NSMutableDictionary* WithoutTwins(NSMutableDictionary* files) {
  [files removeObjectForKey:@"twin"];
  return files;
}

// The content, archived by keys and then read into a dictionary of class `made`.
id Unarchived(Class made) {
  NSData* archive = [NSKeyedArchiver archivedDataWithRootObject:Content()];
  NSKeyedUnarchiver* reader = [[[NSKeyedUnarchiver alloc] initForReadingWithData:archive] autorelease];
  [reader setClass:made forClassName:@"NSMutableDictionary"];
  return [reader decodeObjectForKey:@"root"];
}

// A dictionary of a file's properties, as -[NSFileManager fileAttributesAtPath:traverseLink:] gives them.
NSMutableDictionary* Described(NSMutableDictionary* files) {
  [files removeAllObjects];
  for (NSString* key : {NSFileCreationDate, NSFileModificationDate}) {
    [files setObject:[NSDate dateWithTimeIntervalSince1970:1000] forKey:key];
  }
  for (NSString* key : {NSFileOwnerAccountName, NSFileGroupOwnerAccountName, NSFileType}) {
    [files setObject:[key lowercaseString] forKey:key];
  }
  long long number = 0;
  for (NSString* key : {NSFileExtensionHidden, NSFileGroupOwnerAccountID, NSFileHFSCreatorCode, NSFileHFSTypeCode,
                        NSFileAppendOnly, NSFileImmutable, NSFileOwnerAccountID, NSFilePosixPermissions, NSFileSize,
                        NSFileSystemFileNumber, NSFileSystemNumber}) {
    [files setObject:Number(++number) forKey:key];
  }
  return files;
}

enum Outcome { kReturns, kRaises };

using Files = NSMutableDictionary*;

// A use of a method by a dictionary of Content(): what it returns, and what the dictionary holds then.
struct Use {
  const char* method;
  Outcome outcome;
  id (*run)(Files files);
};

const Use kUses[] = {
    {"-allKeys", kReturns, [](Files d) -> id { return Ordered([d allKeys]); }},
    {"-allKeysForObject:", kReturns, [](Files d) -> id { return Ordered([d allKeysForObject:Number(2)]); }},
    {"-allKeysForObject:", kReturns, [](Files d) -> id { return [d allKeysForObject:Number(99)]; }},
    {"-allValues", kReturns, [](Files d) -> id { return Ordered([d allValues]); }},
    {"-appendToXMLRPC:indent:for:", kReturns, [](Files d) -> id { return RemoteCallOf(WithText(d)); }},
    {"-classForCoder", kReturns, [](Files d) -> id { return [d classForCoder]; }},
    {"-copyWithZone:", kReturns, [](Files d) -> id { return KindOf([[d copy] autorelease], d); }},
    {"-count", kReturns, [](Files d) -> id { return Number([d count]); }},
    {"-countByEnumeratingWithState:objects:count:", kReturns, [](Files d) -> id { return KeysOneByOne(d); }},
    {"-countByEnumeratingWithState:objects:count:", kRaises, [](Files d) -> id { return KeysWhileOneIsAdded(d); }},
    {"-description", kReturns, [](Files d) -> id { return [d description]; }},
    {"-descriptionInStringsFileFormat", kReturns,
     [](Files d) -> id { return [WithText(d) descriptionInStringsFileFormat]; }},
    {"-descriptionWithLocale:", kReturns, [](Files d) -> id { return [d descriptionWithLocale:nil]; }},
    {"-descriptionWithLocale:indent:", kReturns, [](Files d) -> id { return [d descriptionWithLocale:nil indent:2]; }},
    {"-encodeWithCoder:", kReturns, [](Files d) -> id { return Archived(d); }},
    {"-encodeWithCoder:", kReturns, [](Files d) -> id { return ArchivedByKeys(d); }},
    {"-enumerateKeysAndObjectsUsingBlock:", kReturns,
     [](Files d) -> id {
       CollectingBlock block = CollectPairs();
       [d enumerateKeysAndObjectsUsingBlock:&block.block];
       return Ordered(block.pairs);
     }},
    {"-enumerateKeysAndObjectsWithOptions:usingBlock:", kReturns,
     [](Files d) -> id {
       CollectingBlock block = CollectPairs();
       [d enumerateKeysAndObjectsWithOptions:0 usingBlock:&block.block];
       return Ordered(block.pairs);
     }},
    {"-fileCreationDate", kReturns, [](Files d) -> id { return [Described(d) fileCreationDate]; }},
    {"-fileExtensionHidden", kReturns, [](Files d) -> id { return Claim([Described(d) fileExtensionHidden]); }},
    {"-fileGroupOwnerAccountID", kReturns, [](Files d) -> id { return [Described(d) fileGroupOwnerAccountID]; }},
    {"-fileGroupOwnerAccountName", kReturns, [](Files d) -> id { return [Described(d) fileGroupOwnerAccountName]; }},
    {"-fileHFSCreatorCode", kReturns, [](Files d) -> id { return Number([Described(d) fileHFSCreatorCode]); }},
    {"-fileHFSTypeCode", kReturns, [](Files d) -> id { return Number([Described(d) fileHFSTypeCode]); }},
    {"-fileIsAppendOnly", kReturns, [](Files d) -> id { return Claim([Described(d) fileIsAppendOnly]); }},
    {"-fileIsImmutable", kReturns, [](Files d) -> id { return Claim([Described(d) fileIsImmutable]); }},
    {"-fileModificationDate", kReturns, [](Files d) -> id { return [Described(d) fileModificationDate]; }},
    {"-fileOwnerAccountID", kReturns, [](Files d) -> id { return [Described(d) fileOwnerAccountID]; }},
    {"-fileOwnerAccountName", kReturns, [](Files d) -> id { return [Described(d) fileOwnerAccountName]; }},
    {"-filePosixPermissions", kReturns, [](Files d) -> id { return Number([Described(d) filePosixPermissions]); }},
    {"-fileSize", kReturns, [](Files d) -> id { return Number([Described(d) fileSize]); }},
    {"-fileSystemFileNumber", kReturns, [](Files d) -> id { return Number([Described(d) fileSystemFileNumber]); }},
    {"-fileSystemNumber", kReturns, [](Files d) -> id { return Number([Described(d) fileSystemNumber]); }},
    {"-fileType", kReturns, [](Files d) -> id { return [Described(d) fileType]; }},
    {"-getObjects:andKeys:", kReturns, [](Files d) -> id { return ObjectsAndKeys(d); }},
    {"-hash", kReturns, [](Files d) -> id { return Number([d hash]); }},
    {"-isEqual:", kReturns, [](Files d) -> id { return Claim([d isEqual:Content()]); }},
    {"-isEqual:", kReturns, [](Files d) -> id { return Claim([Content() isEqual:d]); }},
    {"-isEqual:", kReturns,
     [](Files d) -> id {
       return Claim([d isEqual:Other()] || [Other() isEqual:d] || [d isEqual:@"a"] || [d isEqual:nil]);
     }},
    {"-isEqualToDictionary:", kReturns,
     [](Files d) -> id { return Claim([d isEqualToDictionary:Content()] && [Content() isEqualToDictionary:d]); }},
    {"-isEqualToDictionary:", kReturns,
     [](Files d) -> id { return Claim([d isEqualToDictionary:Other()] || [Other() isEqualToDictionary:d]); }},
    {"-keyEnumerator", kReturns, [](Files d) -> id { return Ordered([d keyEnumerator]); }},
    {"-keysOfEntriesPassingTest:", kReturns,
     [](Files d) -> id {
       auto odd = KeepOdd();
       return [d keysOfEntriesPassingTest:&odd];
     }},
    {"-keysOfEntriesWithOptions:passingTest:", kReturns,
     [](Files d) -> id {
       auto odd = KeepOdd();
       return [d keysOfEntriesWithOptions:0 passingTest:&odd];
     }},
    {"-keysSortedByValueUsingComparator:", kReturns,
     [](Files d) -> id {
       auto order = LargestFirst();
       return [WithoutTwins(d) keysSortedByValueUsingComparator:&order];
     }},
    {"-keysSortedByValueUsingSelector:", kReturns,
     [](Files d) -> id { return [WithoutTwins(d) keysSortedByValueUsingSelector:@selector(compare:)]; }},
    {"-keysSortedByValueWithOptions:usingComparator:", kReturns,
     [](Files d) -> id {
       auto order = LargestFirst();
       return [WithoutTwins(d) keysSortedByValueWithOptions:0 usingComparator:&order];
     }},
    {"-mutableCopyWithZone:", kReturns, [](Files d) -> id { return KindOf([[d mutableCopy] autorelease], d); }},
    {"-objectEnumerator", kReturns, [](Files d) -> id { return Ordered([d objectEnumerator]); }},
    {"-objectForKey:", kReturns, [](Files d) -> id { return [d objectForKey:@"folder/b"]; }},
    {"-objectForKey:", kReturns, [](Files d) -> id { return [d objectForKey:@"missing"]; }},
    {"-objectForKeyedSubscript:", kReturns, [](Files d) -> id { return [d objectForKeyedSubscript:@"folder/b"]; }},
    {"-objectsForKeys:notFoundMarker:", kReturns,
     [](Files d) -> id { return [d objectsForKeys:SomeKeys() notFoundMarker:@"none"]; }},
    {"-valueForKey:", kReturns, [](Files d) -> id { return [d valueForKey:@"folder/b"]; }},
    {"-valueForKey:", kReturns, [](Files d) -> id { return [d valueForKey:@"@count"]; }},
    {"-writeToFile:atomically:", kReturns, [](Files d) -> id { return WrittenToFile(d); }},
    {"-writeToURL:atomically:", kReturns, [](Files d) -> id { return WrittenToURL(d); }},
    {"-addEntriesFromDictionary:", kReturns,
     [](Files d) -> id {
       [d addEntriesFromDictionary:Other()];
       return nil;
     }},
    {"-addEntriesFromDictionary:", kReturns,
     [](Files d) -> id {
       [d addEntriesFromDictionary:d];
       return nil;
     }},
    {"-removeAllObjects", kReturns,
     [](Files d) -> id {
       [d removeAllObjects];
       return nil;
     }},
    {"-removeObjectForKey:", kReturns,
     [](Files d) -> id {
       [d removeObjectForKey:@"a"];
       return nil;
     }},
    {"-removeObjectForKey:", kReturns,
     [](Files d) -> id {
       [d removeObjectForKey:@"missing"];
       return nil;
     }},
    {"-removeObjectsForKeys:", kReturns,
     [](Files d) -> id {
       [d removeObjectsForKeys:SomeKeys()];
       return nil;
     }},
    {"-removeObjectsForKeys:", kReturns,
     [](Files d) -> id {
       [d removeObjectsForKeys:[d allKeys]];
       return nil;
     }},
    {"-setDictionary:", kReturns,
     [](Files d) -> id {
       [d setDictionary:Other()];
       return nil;
     }},
    {"-setDictionary:", kReturns,
     [](Files d) -> id {
       [d setDictionary:d];
       return nil;
     }},
    {"-setObject:forKey:", kReturns,
     [](Files d) -> id {
       [d setObject:@"text" forKey:@"a"];
       return nil;
     }},
    {"-setObject:forKey:", kReturns,
     [](Files d) -> id {
       [d setObject:@"text" forKey:@"new"];
       return nil;
     }},
    {"-setObject:forKey:", kRaises,
     [](Files d) -> id {
       [d setObject:Nothing() forKey:@"new"];
       return nil;
     }},
    {"-setObject:forKey:", kRaises,
     [](Files d) -> id {
       [d setObject:@"text" forKey:Nothing()];
       return nil;
     }},
    {"-setObject:forKeyedSubscript:", kReturns,
     [](Files d) -> id {
       [d setObject:@"text" forKeyedSubscript:@"new"];
       return nil;
     }},
    {"-setValue:forKey:", kReturns,
     [](Files d) -> id {
       [d setValue:@"text" forKey:@"a"];
       return nil;
     }},
    {"-setValue:forKey:", kReturns,
     [](Files d) -> id {
       [d setValue:nil forKey:@"a"];
       return nil;
     }},
    {"-takeStoredValue:forKey:", kReturns,
     [](Files d) -> id {
       [d takeStoredValue:@"text" forKey:@"a"];
       return nil;
     }},
    {"-takeValue:forKey:", kReturns,
     [](Files d) -> id {
       [d takeValue:@"text" forKey:@"new"];
       return nil;
     }},
    {"-dictionaryWithValuesForKeys:", kReturns,
     [](Files d) -> id { return [d dictionaryWithValuesForKeys:SomeKeys()]; }},
    {"-setValuesForKeysWithDictionary:", kReturns,
     [](Files d) -> id {
       [d setValuesForKeysWithDictionary:Other()];
       return nil;
     }},
    {"-valueForKeyPath:", kReturns,
     [](Files d) -> id {
       [d setObject:Content() forKey:@"inner"];
       return [d valueForKeyPath:@"inner.a"];
     }},
    {"-setValue:forKeyPath:", kReturns,
     [](Files d) -> id {
       [d setObject:Content() forKey:@"inner"];
       [d setValue:@"text" forKeyPath:@"inner.a"];
       return nil;
     }},
    {"-replacementObjectForCoder:", kReturns,
     [](Files d) -> id { return Claim([d replacementObjectForCoder:nil] == d); }},
    {"-isKindOfClass:", kReturns, [](Files d) -> id { return Claim([d isKindOfClass:[NSMutableDictionary class]]); }},
};

const Use kSerialisations[] = {
    {"property list, XML", kReturns, [](Files d) -> id { return PropertyListOf(d, NSPropertyListXMLFormat_v1_0); }},
    {"property list, binary", kReturns,
     [](Files d) -> id { return PropertyListOf(d, NSPropertyListBinaryFormat_v1_0); }},
    {"property list, text", kReturns, [](Files d) -> id { return PropertyListOf(d, NSPropertyListOpenStepFormat); }},
    {"JSON", kReturns, [](Files d) -> id { return JsonOf(d); }},
};

// A method that makes a dictionary of a class.
struct Making {
  const char* method;
  id (*run)(Class made);
};

const Making kMakings[] = {
    {"-init", [](Class c) -> id { return [[[c alloc] init] autorelease]; }},
    {"-initWithCapacity:", [](Class c) -> id { return [[[c alloc] initWithCapacity:7] autorelease]; }},
    {"-initWithCoder:", [](Class c) -> id { return Unarchived(c); }},
    {"-initWithContentsOfFile:",
     [](Class c) -> id {
       const TempFolder folder;
       [Content() writeToFile:PathIn(folder) atomically:YES];
       return [[[c alloc] initWithContentsOfFile:PathIn(folder)] autorelease];
     }},
    {"-initWithContentsOfFile:",
     [](Class c) -> id { return [[[c alloc] initWithContentsOfFile:@"/missing/list"] autorelease]; }},
    {"-initWithContentsOfURL:",
     [](Class c) -> id {
       const TempFolder folder;
       [Content() writeToFile:PathIn(folder) atomically:YES];
       return [[[c alloc] initWithContentsOfURL:[NSURL fileURLWithPath:PathIn(folder)]] autorelease];
     }},
    {"-initWithDictionary:", [](Class c) -> id { return [[[c alloc] initWithDictionary:Other()] autorelease]; }},
    {"-initWithDictionary:copyItems:",
     [](Class c) -> id { return [[[c alloc] initWithDictionary:Other() copyItems:YES] autorelease]; }},
    {"-initWithObjects:forKeys:",
     [](Class c) -> id { return [[[c alloc] initWithObjects:SomeKeys() forKeys:SomeKeys()] autorelease]; }},
    {"-initWithObjects:forKeys:count:",
     [](Class c) -> id {
       id texts[] = {@"one", @"two"};
       return [[[c alloc] initWithObjects:texts forKeys:texts count:2] autorelease];
     }},
    {"-initWithObjects:forKeys:count:",
     [](Class c) -> id {
       id texts[] = {@"one", @"one"};
       return [[[c alloc] initWithObjects:texts forKeys:texts count:2] autorelease];
     }},
    {"-initWithObjectsAndKeys:",
     [](Class c) -> id { return [[[c alloc] initWithObjectsAndKeys:@"one", @"a", @"two", @"b", nil] autorelease]; }},
    {"+allocWithZone:", [](Class c) -> id { return [[[c allocWithZone:NSDefaultMallocZone()] init] autorelease]; }},
    {"+dictionary", [](Class c) -> id { return [c dictionary]; }},
    {"+dictionaryWithCapacity:", [](Class c) -> id { return [c dictionaryWithCapacity:7]; }},
    {"+dictionaryWithContentsOfFile:",
     [](Class c) -> id {
       const TempFolder folder;
       [Content() writeToFile:PathIn(folder) atomically:YES];
       return [c dictionaryWithContentsOfFile:PathIn(folder)];
     }},
    {"+dictionaryWithContentsOfURL:",
     [](Class c) -> id {
       const TempFolder folder;
       [Content() writeToFile:PathIn(folder) atomically:YES];
       return [c dictionaryWithContentsOfURL:[NSURL fileURLWithPath:PathIn(folder)]];
     }},
    {"+dictionaryWithDictionary:", [](Class c) -> id { return [c dictionaryWithDictionary:Other()]; }},
    {"+dictionaryWithObject:forKey:", [](Class c) -> id { return [c dictionaryWithObject:@"one" forKey:@"a"]; }},
    {"+dictionaryWithObjects:forKeys:",
     [](Class c) -> id { return [c dictionaryWithObjects:SomeKeys() forKeys:SomeKeys()]; }},
    {"+dictionaryWithObjects:forKeys:count:",
     [](Class c) -> id {
       id texts[] = {@"one", @"two"};
       return [c dictionaryWithObjects:texts forKeys:texts count:2];
     }},
    {"+dictionaryWithObjectsAndKeys:",
     [](Class c) -> id { return [c dictionaryWithObjectsAndKeys:@"one", @"a", @"two", @"b", nil]; }},
};

std::string OutcomeOf(const Use& use, Files files) {
  try {
    const std::string result = Shown(use.run(files));
    return result + " of " + Shown(files);
  } catch (...) {
    return "raises";
  }
}

class FileTableInterfaceTest : public PoolTest {
 protected:
  // The platform keeps what it makes when it first writes a binary list, and the leak checker cannot tell.
  static void SetUpTestSuite() {
#ifdef __SANITIZE_ADDRESS__
    const __lsan::ScopedDisabler platform_keeps;
#endif
    const ScopedLocale locale("C");
    NSAutoreleasePool* pool = [NSAutoreleasePool new];
    PropertyListOf(Content(), NSPropertyListBinaryFormat_v1_0);
    [pool release];
  }

  static SorrelFileTable* Table() {
    SorrelFileTable* table = [[SorrelFileTable new] autorelease];
    NSDictionary* content = Content();
    ForEachKey(content, [&](NSString* path) {
      const std::string utf8 = Text(path);
      [table setSize:[[content objectForKey:path] longLongValue] forPath:path utf8:utf8.data() length:utf8.size()];
    });
    return table;
  }

  // What a way of making gives; it must be of the class, and take more.
  static std::string MadeBy(const Making& making, Class made) {
    Files files = making.run(made);
    EXPECT_TRUE(!files || [files isKindOfClass:made]);
    [files setObject:@"more" forKey:@"more"];
    return Shown(files);
  }

  static void ExpectSame(const Use& use) {
    SCOPED_TRACE(use.method);
    const std::string expected = OutcomeOf(use, Content());
    EXPECT_EQ(use.outcome == kRaises, expected == "raises");
    EXPECT_EQ(expected, OutcomeOf(use, Table()));
  }

 private:
  const ScopedLocale locale_{"C"};  // put back afterwards: the platform sets the user's when it writes
};

TEST_F(FileTableInterfaceTest, AnswersEachMethodAsADictionaryDoes) {
  for (const Use& use : kUses) {
    ExpectSame(use);
  }
}

TEST_F(FileTableInterfaceTest, IsWrittenInEachFormatAsADictionaryIs) {
  for (const Use& use : kSerialisations) {
    ExpectSame(use);
  }
}

TEST_F(FileTableInterfaceTest, IsMadeInEachWayInWhichADictionaryIs) {
  for (const Making& making : kMakings) {
    SCOPED_TRACE(making.method);
    EXPECT_EQ(MadeBy(making, [NSMutableDictionary class]), MadeBy(making, [SorrelFileTable class]));
  }
}

// The selectors of a class's own methods, each after `mark`.
std::set<std::string> MethodsOf(Class of, char mark) {
  std::set<std::string> names;
  unsigned count = 0;
  Method* methods = class_copyMethodList(of, &count);
  for (unsigned i = 0; i < count; ++i) {
    names.insert(mark + std::string(sel_getName(method_getName(methods[i]))));
  }
  free(methods);
  return names;
}

TEST_F(FileTableInterfaceTest, NoMethodOfADictionaryIsLeftOut) {
  std::set<std::string> left;
  for (Class of : {[NSDictionary class], [NSMutableDictionary class]}) {
    left.merge(MethodsOf(of, '-'));
    left.merge(MethodsOf(object_getClass(of), '+'));
  }
  ASSERT_GE(left.size(), 80u);
  left.erase("+initialize");  // sent by the runtime alone, once for each class
  for (const Use& use : kUses) {
    left.erase(use.method);
  }
  for (const Making& making : kMakings) {
    left.erase(making.method);
  }
  EXPECT_EQ(std::set<std::string>(), left);
}

// What a dictionary's other methods rest on.
TEST_F(FileTableInterfaceTest, HasEveryPrimitiveOfADictionary) {
  const std::set<std::string> own = MethodsOf([SorrelFileTable class], '-');
  for (const char* primitive : {"-initWithObjects:forKeys:count:", "-initWithCapacity:", "-count", "-objectForKey:",
                                "-keyEnumerator", "-objectEnumerator", "-setObject:forKey:", "-removeObjectForKey:"}) {
    EXPECT_TRUE(own.contains(primitive)) << primitive;
  }
}

}  // namespace
