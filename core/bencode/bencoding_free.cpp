// Freeing whole trees without recursion.
#include "core/bencode/benctree.h"

namespace core {

namespace {

constexpr char kSource[] = "core/bencoding";

// Freeing walks down into the first child and along to the next one. The way back up is kept in a
// field of each open payload that is not needed any more: a list's capacity, a dictionary's count, a
// virtual list's count. So it needs neither stack nor memory at any depth.

void SetWayUp(BencEntity& container, BencEntity* up) {
  const size_t word = reinterpret_cast<size_t>(up);
  switch (container.GetType()) {
    case BENC_LIST:
      BencTree::List(container)->capacity = word;
      break;
    case BENC_DICT:
      BencTree::Dict(container)->count = word;
      break;
    default:
      BencTree::VList(container)->count = word;
      break;
  }
}

BencEntity* WayUp(BencEntity& container) {
  switch (container.GetType()) {
    case BENC_LIST:
      return reinterpret_cast<BencEntity*>(BencTree::List(container)->capacity);
    case BENC_DICT:
      return reinterpret_cast<BencEntity*>(BencTree::Dict(container)->count);
    default:
      return reinterpret_cast<BencEntity*>(BencTree::VList(container)->count);
  }
}

// The entry whose value is being freed stands in the head's own link upwards, which no tree uses.
BencEntity* OpenEntry(BencDictMap& dict, BencDictMap::Entry* entry) {
  dict.head.parent = entry;
  return entry ? &entry->pair.second : nullptr;
}

BencEntity* FirstValue(BencDictMap& dict) {
  return OpenEntry(dict, dict.empty() ? nullptr : static_cast<BencDictMap::Entry*>(dict.begin().current()));
}

BencEntity* NextValue(BencDictMap& dict, RecordReleaser& releaser) {
  return OpenEntry(dict, dict.DestroyAndAdvance(static_cast<BencDictMap::Entry*>(dict.head.parent), releaser));
}

// The first value inside `v`, null when it is a scalar or empty.
BencEntity* FirstChild(BencEntity& v) {
  switch (v.GetType()) {
    case BENC_LIST: {
      BencListRecord* list = BencTree::List(v);
      return list && list->count != 0 ? list->begin() : nullptr;
    }
    case BENC_DICT:
      return BencTree::Dict(v) ? FirstValue(*BencTree::Dict(v)) : nullptr;
    case BENC_VLIST:
      return BencTree::VList(v) ? &BencTree::VList(v)->cached : nullptr;
    default:
      return nullptr;
  }
}

// The value after `child` in `container`; `child` has been freed and its dictionary entry goes too.
BencEntity* NextChild(BencEntity& container, BencEntity* child, RecordReleaser& releaser) {
  if (container.GetType() == BENC_LIST) {
    return child + 1 != BencTree::List(container)->end() ? child + 1 : nullptr;
  }
  if (container.GetType() == BENC_DICT) {
    return NextValue(*BencTree::Dict(container), releaser);
  }
  return nullptr;
}

// Frees a value that holds no other value any more.
void FreeOne(BencEntity& v, RecordReleaser& releaser) {
  switch (v.GetType()) {
    case BENC_NONE:
    case BENC_INT:
    case BENC_INT64:
    case BENC_NULL:
    case BENC_BOOL:
    case BENC_VOID:
      break;
    case BENC_STR:
    case BENC_INT_LAZY:
      if (BencTree::Bytes(v)) {
        releaser.Destroy(BencTree::Bytes(v));
      }
      break;
    case BENC_LIST:
      if (BencTree::List(v)) {
        releaser.Destroy(BencTree::List(v));
      }
      break;
    case BENC_DICT:
      if (BencTree::Dict(v)) {
        releaser.Destroy(BencTree::Dict(v));
      }
      break;
    case BENC_VLIST:
      delete BencTree::VList(v);
      v.ZeroOut();
      break;
    default:
      FatalAssert(kSource, 1041);
  }
  BencTree::SetNone(v);
}

}  // namespace

void BencEntity::FreeTree() {
  RecordReleaser releaser;
  BencEntity* value = this;
  BencEntity* container = nullptr;  // what holds `value`; null at the root
  for (;;) {
    if (BencEntity* child = FirstChild(*value)) {
      SetWayUp(*value, container);
      container = value;
      value = child;
      continue;
    }
    FreeOne(*value, releaser);
    BencEntity* next = nullptr;
    while (container && !(next = NextChild(*container, value, releaser))) {
      value = container;
      container = WayUp(*value);
      FreeOne(*value, releaser);
    }
    if (!container) {
      return;
    }
    value = next;
  }
}

}  // namespace core
