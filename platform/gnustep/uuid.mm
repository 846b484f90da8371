#include <CoreFoundation/CoreFoundation.h>

#include <Foundation/Foundation.h>
#include <array>
#include <cstring>
#include <map>
#include <mutex>

namespace {

using Bytes = std::array<uint8_t, 16>;
static_assert(sizeof(CFUUIDBytes) == sizeof(Bytes));

CFUUIDRef NewUUID(const Bytes& bytes) {
  gsuuid_t raw;
  memcpy(raw, bytes.data(), sizeof raw);
  return (CFUUIDRef)[[NSUUID alloc] initWithUUIDBytes:raw];
}

struct Constants {
  std::mutex lock;
  std::map<Bytes, CFUUIDRef> made;
};

// Never destroyed: the constants outlive every thread.
Constants& AllConstants() {
  static Constants* constants = new Constants;
  return *constants;
}

}  // namespace

CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef, CFStringRef text) {
  return text ? (CFUUIDRef)[[NSUUID alloc] initWithUUIDString:(NSString*)text] : nullptr;
}

CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef, CFUUIDBytes bytes) {
  Bytes copy;
  memcpy(copy.data(), &bytes, copy.size());
  return NewUUID(copy);
}

CFUUIDRef CFUUIDGetConstantUUIDWithBytes(CFAllocatorRef, UInt8 byte0, UInt8 byte1, UInt8 byte2, UInt8 byte3,
                                         UInt8 byte4, UInt8 byte5, UInt8 byte6, UInt8 byte7, UInt8 byte8, UInt8 byte9,
                                         UInt8 byte10, UInt8 byte11, UInt8 byte12, UInt8 byte13, UInt8 byte14,
                                         UInt8 byte15) {
  const Bytes bytes = {byte0, byte1, byte2,  byte3,  byte4,  byte5,  byte6,  byte7,
                       byte8, byte9, byte10, byte11, byte12, byte13, byte14, byte15};
  Constants& constants = AllConstants();
  const std::lock_guard<std::mutex> guard(constants.lock);
  CFUUIDRef& uuid = constants.made[bytes];
  if (!uuid) {
    uuid = NewUUID(bytes);
  }
  return uuid;
}

CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef uuid) {
  gsuuid_t raw = {};
  [(NSUUID*)uuid getUUIDBytes:raw];
  CFUUIDBytes bytes;
  memcpy(&bytes, raw, sizeof bytes);
  return bytes;
}
