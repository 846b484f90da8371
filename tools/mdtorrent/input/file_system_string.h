// File names as Foundation's strings.
#pragma once

#include <Foundation/Foundation.h>

#include <string_view>

namespace mdtorrent {

// Returns a new string that the caller releases; nil when `path` is not UTF-8.
inline NSString* NewFileSystemString(std::string_view path) {
  return [[NSString alloc] initWithBytes:path.data() length:path.size() encoding:NSUTF8StringEncoding];
}

}  // namespace mdtorrent
