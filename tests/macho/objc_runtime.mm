// The functions of the Objective-C runtime of macOS over this system's runtime.
#include <Foundation/Foundation.h>
#include <objc/message.h>
#include <objc/runtime.h>

#include "tests/macho/objc_bridge.h"

extern "C" {

// In objc_send.S.
void macho_objc_msgSend();
void macho_objc_msgSendSuper2();

struct SuperMessage {
  id receiver;
  Class current;  // the search begins above this one
};
IMP macho_super_lookup(SuperMessage* message, SEL selector);

IMP macho_super_lookup(SuperMessage* message, SEL selector) {
  objc_super above = {message->receiver, class_getSuperclass(message->current)};
  return objc_msg_lookup_super(&above, selector);
}

}  // extern "C"

namespace macho {
namespace {

// Words of these addresses are in the image's records, and nothing reads them once it is attached.
uint64_t placeholder[8];

id Alloc(Class target) { return [target alloc]; }
id AllocInit(Class target) { return [[target alloc] init]; }
id New(Class target) { return [target new]; }
id Retain(id object) { return [object retain]; }
void Release(id object) { [object release]; }
id Autorelease(id object) { return [object autorelease]; }
Class ClassOf(id object) { return [object class]; }
BOOL IsKind(id object, Class kind) { return [object isKindOfClass:kind]; }

struct Entry {
  const char* symbol;
  void* address;
};

const Entry kEntries[] = {
    {"___CFConstantStringClassReference", placeholder},
    {"__objc_empty_cache", placeholder},
    {"_objc_alloc", reinterpret_cast<void*>(Alloc)},
    {"_objc_alloc_init", reinterpret_cast<void*>(AllocInit)},
    {"_objc_autorelease", reinterpret_cast<void*>(Autorelease)},
    {"_objc_msgSend", reinterpret_cast<void*>(macho_objc_msgSend)},
    {"_objc_msgSendSuper2", reinterpret_cast<void*>(macho_objc_msgSendSuper2)},
    {"_objc_opt_class", reinterpret_cast<void*>(ClassOf)},
    {"_objc_opt_isKindOfClass", reinterpret_cast<void*>(IsKind)},
    {"_objc_opt_new", reinterpret_cast<void*>(New)},
    {"_objc_release", reinterpret_cast<void*>(Release)},
    {"_objc_retain", reinterpret_cast<void*>(Retain)},
};

constexpr std::string_view kClassPrefix = "_OBJC_CLASS_$_";
constexpr std::string_view kMetaclassPrefix = "_OBJC_METACLASS_$_";

}  // namespace

void* ResolveObjectiveC(const std::string& symbol) {
  for (const Entry& entry : kEntries) {
    if (symbol == entry.symbol) {
      return entry.address;
    }
  }
  if (symbol.starts_with(kClassPrefix)) {
    return objc_lookUpClass(symbol.c_str() + kClassPrefix.size());
  }
  if (symbol.starts_with(kMetaclassPrefix)) {
    const Class found = objc_lookUpClass(symbol.c_str() + kMetaclassPrefix.size());
    return found ? object_getClass((id)found) : nullptr;
  }
  return nullptr;
}

}  // namespace macho
