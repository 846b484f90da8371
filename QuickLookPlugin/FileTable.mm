#import "QuickLookPlugin/FileTable.h"

#import "QuickLookPlugin/StringBytes.h"

namespace {

// A list of files may announce more than it holds; the table grows beyond this by itself.
constexpr NSUInteger kMaxReserved = 65536;

bool SameString(const void* key, const void* other) {
  NSString* string = static_cast<NSString*>(const_cast<void*>(key));
  return [string compare:static_cast<NSString*>(const_cast<void*>(other)) options:NSLiteralSearch] == NSOrderedSame;
}

// A platform may take a byte order mark for no part of the text, so that the string is not all of
// the bytes that it was made from.
bool BeginsLikeByteOrderMark(const char* bytes, size_t length) {
  return length != 0 && static_cast<unsigned char>(bytes[0]) == 0xEF;
}

// Makes the number object of an entry that has none. Two threads may come at the same time.
id NumberOf(reader::PathEntry* entry) {
  void* number = [[NSNumber numberWithLongLong:entry->number] retain];
  void* present = nullptr;
  if (__atomic_compare_exchange_n(&entry->value, &present, number, false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE)) {
    return static_cast<id>(number);
  }
  [static_cast<id>(number) release];
  return static_cast<id>(present);
}

id ObjectOf(reader::PathEntry* entry) {
  void* value = __atomic_load_n(&entry->value, __ATOMIC_ACQUIRE);
  return value ? static_cast<id>(value) : NumberOf(entry);
}

bool IsEntry(id object, id key) { return object && [key isKindOfClass:[NSString class]]; }

void RefuseEntry() {
  [NSException raise:NSInvalidArgumentException format:@"a file table takes an object under a string"];
}

}  // namespace

@implementation SorrelFileTable

- (id)init {
  return [self initWithCapacity:0];
}

- (id)initWithCapacity:(NSUInteger)capacity {
  self = [super init];
  if (self) {
    key = reader::NewHashKey();
    table.Reserve(capacity < kMaxReserved ? capacity : kMaxReserved);
  }
  return self;
}

// Every other way of making a dictionary may end here, and a platform's own implementation need not
// make anything of a class that it does not know.
- (id)initWithObjects:(const id[])objects forKeys:(const id<NSCopying>[])keys count:(NSUInteger)count {
  self = [self initWithCapacity:count];
  for (NSUInteger i = 0; i < count; ++i) {
    if (!IsEntry(objects[i], keys[i])) {
      [self release];
      RefuseEntry();
    }
    [self setObject:objects[i] forKey:keys[i]];
  }
  return self;
}

- (void)dealloc {
  for (size_t i = 0; i < table.used; ++i) {
    [static_cast<id>(table.entries[i].key) release];
    [static_cast<id>(table.entries[i].value) release];
  }
  table.Free();
  [super dealloc];
}

- (reader::PathEntry*)entryForKey:(id)string hash:(uint64_t)hash {
  return table.Find(hash, string, SameString);
}

- (uint64_t)hashOfKey:(NSString*)string {
  const reader::StringBytes bytes(string);
  return reader::KeyedHash(key, bytes.begin(), bytes.size());
}

- (reader::PathEntry*)entryForKey:(id)string {
  return [string isKindOfClass:[NSString class]] ? [self entryForKey:string hash:[self hashOfKey:string]] : nullptr;
}

- (NSUInteger)count {
  return table.live;
}

- (id)objectForKey:(id)string {
  reader::PathEntry* entry = [self entryForKey:string];
  return entry ? ObjectOf(entry) : nil;
}

- (NSArray*)allKeys {
  NSMutableArray* keys = [NSMutableArray arrayWithCapacity:table.live];
  for (size_t i = 0; i < table.used; ++i) {
    if (table.entries[i].key) {
      [keys addObject:static_cast<id>(table.entries[i].key)];
    }
  }
  return keys;
}

- (NSEnumerator*)keyEnumerator {
  return [[self allKeys] objectEnumerator];
}

- (NSArray*)allValues {
  NSMutableArray* values = [NSMutableArray arrayWithCapacity:table.live];
  for (size_t i = 0; i < table.used; ++i) {
    if (table.entries[i].key) {
      [values addObject:ObjectOf(&table.entries[i])];
    }
  }
  return values;
}

- (NSEnumerator*)objectEnumerator {
  return [[self allValues] objectEnumerator];
}

// The state holds the position of the next entry, so that no batch depends on an object that may be
// gone by the time of the next one.
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state objects:(id*)batch count:(NSUInteger)room {
  NSUInteger filled = 0;
  size_t next = state->state;
  for (; next < table.used && filled < room; ++next) {
    if (table.entries[next].key) {
      batch[filled++] = static_cast<id>(table.entries[next].key);
    }
  }
  state->state = next;
  state->itemsPtr = batch;
  state->mutationsPtr = &mutations;
  return filled;
}

- (void)setObject:(id)object forKey:(id)string {
  if (!IsEntry(object, string)) {
    RefuseEntry();
  }
  const uint64_t hash = [self hashOfKey:string];
  reader::PathEntry* entry = [self entryForKey:string hash:hash];
  if (!entry) {
    entry = table.Add(hash, [string copy]);
    ++mutations;
  }
  [object retain];
  [static_cast<id>(entry->value) release];
  entry->value = object;
}

- (void)removeObjectForKey:(id)string {
  reader::PathEntry* entry = [self entryForKey:string];
  if (entry) {
    const id removed_key = static_cast<id>(entry->key);
    const id removed_value = static_cast<id>(entry->value);
    table.Remove(entry);
    ++mutations;
    [removed_key release];
    [removed_value release];
  }
}

- (void)setSize:(long long)size forPath:(NSString*)path utf8:(const char*)bytes length:(size_t)length {
  const uint64_t hash =
      BeginsLikeByteOrderMark(bytes, length) ? [self hashOfKey:path] : reader::KeyedHash(key, bytes, length);
  reader::PathEntry* entry = [self entryForKey:path hash:hash];
  if (!entry) {
    entry = table.Add(hash, [path retain]);
    ++mutations;
  }
  [static_cast<id>(entry->value) release];
  entry->value = nullptr;
  entry->number = size;
}

@end
