// The bytes of a platform string.
#pragma once

#import <Foundation/Foundation.h>

namespace reader {

// Owns the UTF-8 form of a string's characters (see Utf16ToUtf8), followed by a zero byte that is not
// counted. Unlike the platform's own conversion it leaves nothing to an autorelease pool and knows no
// string that it cannot convert.
class StringBytes {
 public:
  explicit StringBytes(NSString* string);  // nil gives no bytes
  StringBytes(const StringBytes&) = delete;
  StringBytes& operator=(const StringBytes&) = delete;
  ~StringBytes();

  const char* begin() const { return bytes_; }
  size_t size() const { return len_; }

 private:
  StringBytes() = default;

  char* bytes_ = nullptr;
  size_t len_ = 0;
};

}  // namespace reader
