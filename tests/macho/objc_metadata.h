// How the compiler for macOS lays out what it says about classes, in 64-bit images.
#pragma once

#include <objc/objc.h>
#include <stdint.h>

namespace macho::apple {

struct MethodList {
  uint32_t entry_size_and_flags;
  uint32_t count;
};
struct Method {
  const char* name;
  const char* types;
  IMP code;
};
// Each field is relative to its own address; the name's leads to a word that holds the name.
struct RelativeMethod {
  int32_t name;
  int32_t types;
  int32_t code;
};
struct IvarList {
  uint32_t entry_size;
  uint32_t count;
};
struct Ivar {
  int32_t* offset;
  const char* name;
  const char* type;
  uint32_t alignment_log2;
  uint32_t size;
};
struct ClassData {
  uint32_t flags;
  uint32_t instance_start;
  uint32_t instance_size;
  uint32_t reserved;
  const uint8_t* strong_layout;
  const char* name;
  const MethodList* methods;
  const void* protocols;
  const IvarList* ivars;
  const uint8_t* weak_layout;
  const void* properties;
};
struct ClassRecord {
  ClassRecord* meta;
  ClassRecord* superclass;
  void* cache;
  void* vtable;
  ClassData* data;
};
struct Category {
  const char* name;
  ClassRecord* target;
  const MethodList* instance_methods;
  const MethodList* class_methods;
  const void* protocols;
  const void* properties;
};
struct ConstantString {
  static constexpr uint64_t kAscii = 0x7C8;
  static constexpr uint64_t kUtf16 = 0x7D0;

  const void* isa;
  uint64_t kind;
  const void* text;
  uint64_t units;
};
static_assert(sizeof(ConstantString) == 32);

}  // namespace macho::apple
