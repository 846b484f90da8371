#include "tools/mdtorrent/import/attributes.h"

#include <string.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "tools/mdtorrent/output/utf8.h"

namespace mdtorrent {
namespace {

// Walks a property list. A long list of strings costs no allocations.
class Walker {
 public:
  explicit Walker(ValueWriter& writer) : writer_(writer) {}

  void Value(id object);
  void Dictionary(NSDictionary* dictionary);

 private:
  static constexpr NSUInteger kPieceUnits = 2048;
  static constexpr NSUInteger kBatch = 64;

  void String(NSString* string);
  void Array(NSArray* array);
  void Number(NSNumber* number);
  template <class Receiver>
  void ForEachPiece(NSString* string, Receiver receive);
  std::string Utf8(NSString* string);

  ValueWriter& writer_;
};

// Gives `receive` the UTF-8 of `string` in pieces of whole characters.
template <class Receiver>
void Walker::ForEachPiece(NSString* string, Receiver receive) {
  const NSUInteger length = [string length];
  unichar units[kPieceUnits];
  char bytes[kMostUtf8PerUnit * kPieceUnits];
  for (NSUInteger at = 0; at < length;) {
    NSUInteger count = std::min(length - at, kPieceUnits);
    [string getCharacters:units range:NSMakeRange(at, count)];
    if (at + count < length && IsHighSurrogate(units[count - 1])) {
      --count;  // its partner comes with the next piece
    }
    const char* end = PutUtf8(bytes, std::u16string_view(reinterpret_cast<const char16_t*>(units), count));
    receive(std::string_view(bytes, end - bytes));
    at += count;
  }
}

std::string Walker::Utf8(NSString* string) {
  std::string whole;
  ForEachPiece(string, [&whole](std::string_view piece) { whole += piece; });
  return whole;
}

void Walker::String(NSString* string) {
  writer_.BeginString();
  ForEachPiece(string, [this](std::string_view piece) { writer_.StringPiece(piece); });
  writer_.EndString();
}

void Walker::Array(NSArray* array) {
  writer_.BeginArray();
  const NSUInteger count = [array count];
  id batch[kBatch];
  for (NSUInteger at = 0; at < count; at += kBatch) {
    const NSUInteger in_batch = std::min(count - at, kBatch);
    [array getObjects:batch range:NSMakeRange(at, in_batch)];
    for (NSUInteger i = 0; i < in_batch; ++i) {
      Value(batch[i]);
    }
  }
  writer_.EndArray();
}

void Walker::Dictionary(NSDictionary* dictionary) {
  std::vector<std::pair<std::string, id>> entries;
  size_t widest = 0;
  NSEnumerator* keys = [dictionary keyEnumerator];
  while (id key = [keys nextObject]) {
    entries.emplace_back(Utf8([key description]), [dictionary objectForKey:key]);
    widest = std::max(widest, entries.back().first.size());
  }
  std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  writer_.BeginDictionary(widest);
  for (const auto& [key, value] : entries) {
    writer_.Key(key);
    Value(value);
  }
  writer_.EndDictionary();
}

// Foundation's two truth values are the same two objects everywhere.
bool IsTruthValue(NSNumber* number) {
  return number == [NSNumber numberWithBool:YES] || number == [NSNumber numberWithBool:NO];
}

void Walker::Number(NSNumber* number) {
  if (IsTruthValue(number)) {
    writer_.Boolean([number boolValue]);
  } else if (strchr("fd", *[number objCType])) {
    writer_.Real([number doubleValue]);
  } else {
    writer_.Integer([number longLongValue]);
  }
}

void Walker::Value(id object) {
  if ([object isKindOfClass:[NSString class]]) {
    String(object);
  } else if ([object isKindOfClass:[NSArray class]]) {
    Array(object);
  } else if ([object isKindOfClass:[NSDictionary class]]) {
    Dictionary(object);
  } else if ([object isKindOfClass:[NSNumber class]]) {
    Number(object);
  } else {
    String([object description]);
  }
}

}  // namespace

void DictionaryAttributes::WriteTo(ValueWriter& writer) const { Walker(writer).Dictionary(attributes_); }

}  // namespace mdtorrent
