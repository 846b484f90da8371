// The system's scalar types.
//
// These headers declare what the project's own sources use of 64-bit macOS, for C++ and Objective-C++
// only, and nothing else. The sizes and values are pinned in platform/darwin/abi_check.cpp.
#pragma once

#include <stddef.h>
#include <stdint.h>

#if !defined(__APPLE__) || !defined(__LP64__) || !defined(__cplusplus)
#error "these headers describe 64-bit macOS for C++"
#endif

using ssize_t = long;
using off_t = int64_t;
using dev_t = int32_t;
using ino_t = uint64_t;
using mode_t = uint16_t;
using nlink_t = uint16_t;
using uid_t = uint32_t;
using gid_t = uint32_t;
using blkcnt_t = int64_t;
using blksize_t = int32_t;
using time_t = long;
