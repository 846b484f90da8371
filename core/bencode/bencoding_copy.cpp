// Copying whole trees, without recursion.
#include <new>

#include "core/bencode/bencrecords.h"
#include "core/bencode/benctree.h"

namespace core {

namespace {

constexpr char kSource[] = "core/bencoding";

using ByteArray = BencArray<unsigned char>;
using Entry = BencDictMap::Entry;

ByteArray* NewBytes(RecordArena& arena, const ByteArray& from) {
  return from.borrowed ? NewBorrowedBytes(arena, from.begin(), from.size())
                       : NewOwnedBytes(arena, from.begin(), from.size());
}

Entry* NewEntry(RecordArena& arena, const BencArray<char>& key) {
  return key.borrowed ? NewBorrowedEntry(arena, key.begin(), key.size())
                      : NewOwnedEntry(arena, key.begin(), key.size());
}

// A container whose copy is not complete. Neither end moves before it is.
struct OpenCopy {
  const BencEntity* from;
  BencEntity* to;
  const MapPrivate::NodeBase* next;  // of a dictionary: the entry to be copied next
};

// Copies one tree. Containers are filled as far as the first container inside them, which goes first.
class TreeCopier {
 public:
  TreeCopier() = default;
  TreeCopier(const TreeCopier&) = delete;
  TreeCopier& operator=(const TreeCopier&) = delete;
  ~TreeCopier() { open_.Free(); }

  // Makes `to`, which is BENC_NONE, a copy of `from`.
  void Copy(const BencEntity& from, BencEntity& to) {
    Start(from, to);
    while (open_.count != 0) {
      if (open_.back().to->GetType() == BENC_LIST) {
        ResumeList(open_.back());
      } else {
        ResumeDict(open_.back());
      }
    }
  }

 private:
  bool Start(const BencEntity& from, BencEntity& to);
  bool StartList(const BencEntity& from, BencEntity& to);
  bool StartDict(const BencEntity& from, BencEntity& to);
  void ResumeList(OpenCopy top);
  void ResumeDict(OpenCopy top);

  RecordArena arena_;
  LList<OpenCopy> open_;
};

// Copies a scalar, or opens a container. True when there is something inside to be copied.
bool TreeCopier::Start(const BencEntity& from, BencEntity& to) {
  switch (from.GetType()) {
    case BENC_NONE:
      return false;
    case BENC_INT:
    case BENC_INT64:
    case BENC_NULL:
    case BENC_BOOL:
      BencTree::SetScalar(to, from);
      return false;
    case BENC_STR:
    case BENC_INT_LAZY:
      AssertAt(BencTree::Bytes(from) != nullptr, kSource, 1014);
      BencTree::SetBytes(to, from.GetType(), NewBytes(arena_, *BencTree::Bytes(from)));
      return false;
    case BENC_LIST:
      return StartList(from, to);
    case BENC_DICT:
      return StartDict(from, to);
    default:
      FatalAssert(kSource, 1015);
  }
}

bool TreeCopier::StartList(const BencEntity& from, BencEntity& to) {
  const BencListRecord* list = BencTree::List(from);
  AssertAt(list != nullptr, kSource, 1016);
  BencTree::SetList(to, NewList(arena_, list->size()));  // NOLINT(clang-analyzer-core.CallAndMessage)
  if (list->count == 0) {
    return false;
  }
  open_.push_back({&from, &to, nullptr});
  return true;
}

bool TreeCopier::StartDict(const BencEntity& from, BencEntity& to) {
  const BencDictMap* dict = BencTree::Dict(from);
  AssertAt(dict != nullptr, kSource, 1017);
  BencTree::SetDict(to, arena_.Make<BencDictMap>());
  if (dict->empty()) {  // NOLINT(clang-analyzer-core.CallAndMessage)
    return false;
  }
  open_.push_back({&from, &to, dict->begin().current()});
  return true;
}

void TreeCopier::ResumeList(OpenCopy top) {
  const BencListRecord& from = *BencTree::List(*top.from);
  BencListRecord& to = *BencTree::List(*top.to);
  while (to.count != from.count) {
    const BencEntity& element = from[to.count];
    if (Start(element, *new (to.LList<BencEntity>::Append()) BencEntity)) {
      return;
    }
  }
  open_.pop_back();
}

void TreeCopier::ResumeDict(OpenCopy top) {
  const BencDictMap& from = *BencTree::Dict(*top.from);
  BencDictMap& to = *BencTree::Dict(*top.to);
  Entry* largest = to.Largest();
  while (top.next != &from.head) {
    const Entry& entry = static_cast<const Entry&>(*top.next);
    top.next = top.next->Next();
    open_.back().next = top.next;
    BencDictMap::Place place;
    AssertAt(!to.Find(entry.pair.first, largest, &place), kSource, 1018);
    largest = NewEntry(arena_, entry.pair.first);
    to.Attach(largest, place);
    if (Start(entry.pair.second, largest->pair.second)) {
      return;
    }
  }
  open_.pop_back();
}

}  // namespace

// Each of these copies the source before it frees this value, which may be part of it or hold it.

void BencEntity::CopyFrom(const BencEntity& src) {
  switch (src.kind_) {
    case BENC_NONE:
      return;
    case BENC_INT:
    case BENC_INT64:
    case BENC_NULL:
    case BENC_BOOL: {
      BencEntity copy;
      BencTree::SetScalar(copy, src);
      FreeMembers();
      MoveFrom(copy);
      return;
    }
    case BENC_STR:
    case BENC_INT_LAZY:
      static_cast<BencEntityMem*>(this)->CopyFrom(src);
      return;
    case BENC_LIST:
    case BENC_VLIST:
      static_cast<BencodedList*>(this)->CopyFrom(src);
      return;
    case BENC_DICT:
      static_cast<BencodedDict*>(this)->CopyFrom(src);
      return;
    default:
      FatalAssert(kSource, 1019);
  }
}

void BencEntityMem::CopyFrom(const BencEntity& src) {
  AssertAt(kind_ == BENC_NONE || kind_ == BENC_STR || kind_ == BENC_INT_LAZY, kSource, 1020);
  const BencType kind = src.GetType();
  AssertAt(kind == BENC_STR || kind == BENC_INT_LAZY, kSource, 1021);
  const ByteArray* bytes = BencTree::Bytes(src);
  AssertAt(bytes != nullptr, kSource, 1022);
  ByteArray* copy = new ByteArray(*bytes);
  FreeMembers();
  BencTree::SetBytes(*this, kind, copy);
}

void BencodedList::CopyFrom(const BencEntity& src) {
  AssertAt(kind_ == BENC_LIST, kSource, 1023);
  AssertAt(src.GetType() == BENC_LIST, kSource, 1024);
  BencEntity copy;
  TreeCopier().Copy(src, copy);
  FreeMembers();
  MoveFrom(copy);
}

void BencodedDict::CopyFrom(const BencEntity& src) {
  AssertAt(src.GetType() == BENC_DICT, kSource, 1025);
  BencEntity copy;
  TreeCopier().Copy(src, copy);
  FreeMembers();
  MoveFrom(copy);
}

}  // namespace core
