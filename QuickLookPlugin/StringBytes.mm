#import "QuickLookPlugin/StringBytes.h"

#include "QuickLookPlugin/utf16.h"
#include "core/base/mem1.h"

namespace reader {

namespace {

constexpr NSUInteger kChunk = 256;

}  // namespace

// Units are fetched a piece at a time; a pair of surrogates stays in one piece. The other constructor
// has made the whole object, whose destructor frees the bytes when the string raises.
StringBytes::StringBytes(NSString* string) : StringBytes() {
  const NSUInteger count = [string length];
  bytes_ = static_cast<char*>(core::MyMalloc(count * kMaxBytesPerUnit + 1));
  unichar units[kChunk];
  for (NSUInteger done = 0; done < count;) {
    NSUInteger piece = count - done < kChunk ? count - done : kChunk;
    [string getCharacters:units range:NSMakeRange(done, piece)];
    const bool split = piece > 1 && done + piece < count && (units[piece - 1] & 0xFC00) == 0xD800;
    piece -= split ? 1 : 0;
    len_ += Utf16ToUtf8(units, piece, bytes_ + len_);
    done += piece;
  }
  bytes_[len_] = 0;
}

StringBytes::~StringBytes() { core::MyFree(bytes_); }

}  // namespace reader
