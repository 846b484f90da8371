// Setting scalars and strings, and changing lists and dictionaries.
#include <limits.h>
#include <stdint.h>
#include <string.h>

#include <new>

#include "core/base/fatal.h"
#include "core/base/mem1.h"
#include "core/bencode/bencoding.h"
#include "core/text/nustr.h"
#include "core/text/string.h"

namespace core {

namespace {

constexpr char kSource[] = "core/bencoding";

// A value made for insertion. It is moved on; what was not taken goes with it.
template <class V>
struct NewValue : V {
  NewValue() = default;
  NewValue(const NewValue&) = delete;
  ~NewValue() { this->FreeMembers(); }
};

}  // namespace

int BencEntity::SetInt(int v) {
  FreeMembers();
  value_.integer = v;
  kind_ = BENC_INT;
  return v;
}

void BencEntity::SetInt64(long long v) {
  FreeMembers();
  value_.integer = v;
  kind_ = BENC_INT64;
}

BencodedList* BencEntity::SetVList(void (*callback)(void* user_data, size_t index, BencEntity* out), size_t count,
                                   void* user_data) {
  FreeMembers();
  BencVList* list = new BencVList;
  list->callback = callback;
  list->user_data = user_data;
  list->cached_index = SIZE_MAX;
  list->count = count;
  value_.vlist = list;
  kind_ = BENC_VLIST;
  return static_cast<BencodedList*>(this);
}

BencArray<unsigned char>& BencEntityMem::Bytes() const {
  AssertAt(kind_ == BENC_STR, kSource, 1026);
  AssertAt(value_.bytes != nullptr, kSource, 1027);
  return *value_.bytes;
}

void BencEntityMem::SetStr(const char* s, int len) {
  BencArray<unsigned char>& bytes = Bytes();
  if (!s) {
    bytes.Clear();
    return;
  }
  const size_t n = len == -1 ? strlen(s) : static_cast<size_t>(len);
  AssertAt(n <= static_cast<size_t>(INT_MAX), kSource, 1028);
  BencArray<unsigned char> fresh;
  if (n != 0) {
    fresh.Assign(reinterpret_cast<const unsigned char*>(s), n);
  }
  bytes.Clear();
  bytes.Swap(fresh);
}

void BencEntityMem::SetStrT(const wchar_t* ws) {
  BencArray<unsigned char>& bytes = Bytes();
  if (!ws) {
    bytes.Clear();
    return;
  }
  size_t len = 0;
  char* text = EncodeUtf8(ws, &len);
  AssertAt(text != nullptr, kSource, 1029);
  AssertAt(len <= static_cast<size_t>(INT_MAX), kSource, 1030);
  bytes.Clear();
  bytes.Adopt(text, len + 1, len);
}

// The block has no byte behind the last one, so that no reader can take one for a terminator.
void BencEntityMem::SetMem(const void* p, size_t len) {
  BencArray<unsigned char>& bytes = Bytes();
  AssertAt(p != nullptr, kSource, 1031);
  void* block = MyMalloc(len);
  if (len != 0) {
    memcpy(block, p, len);
  }
  bytes.Clear();
  bytes.Adopt(block, len, len);
}

void BencEntityMem::SetMemOwn(void* p, size_t len) {
  BencArray<unsigned char>& bytes = Bytes();
  AssertAt(p != nullptr || len == 0, kSource, 1032);
  AssertAt(len <= static_cast<size_t>(PTRDIFF_MAX), kSource, 1033);
  if (p && p == bytes.data) {
    AssertAt(!bytes.embedded, kSource, 1034);  // no block of the allocator
    bytes.StealArray(nullptr);                 // its own block comes back
  }
  bytes.Clear();
  bytes.Adopt(p, len, len);
}

void BencListRecord::Detach(size_t room) {
  LList<BencEntity> block;
  block.Resize(room);
  memcpy(block.data, data, size() * sizeof(BencEntity));
  data = block.data;
  capacity = block.capacity;
  embedded = false;
}

BencListRecord& BencodedList::Elements() const {
  AssertAt(kind_ == BENC_LIST, kSource, 1035);
  AssertAt(value_.list != nullptr, kSource, 1036);
  return *value_.list;
}

BencEntity* BencodedList::Append(BencEntity& v) {
  BencListRecord& list = Elements();
  AssertAt(&v != this, kSource, 1037);
  BencEntity taken(v);  // it moves, before the array does
  if (list.embedded && list.size() == list.capacity) {
    list.Detach(list.capacity * 2);
  }
  return new (list.LList<BencEntity>::Append()) BencEntity(taken);
}

BencEntityMem* BencodedList::AppendString(const char* s, size_t len) {
  NewValue<BencEntityMem> value;
  value.SetStr(s, static_cast<int>(len));
  return static_cast<BencEntityMem*>(Append(value));
}

BencEntity* BencodedList::AppendInt(int v) {
  NewValue<BencEntity> value;
  value.SetInt(v);
  return Append(value);
}

BencEntity* BencodedList::AppendInt64(long long v) {
  NewValue<BencEntity> value;
  value.SetInt64(v);
  return Append(value);
}

BencodedDict* BencodedList::AppendDict() {
  NewValue<BencodedDict> value;
  return static_cast<BencodedDict*>(Append(value));
}

BencodedList* BencodedList::AppendList() {
  NewValue<BencodedList> value;
  return static_cast<BencodedList*>(Append(value));
}

void BencodedList::Delete(size_t i) {
  BencListRecord& list = Elements();
  AssertAt(i < list.size(), "core/templates", 198);  // shared number: what RemoveElements would say too late
  const ptrdiff_t index = static_cast<ptrdiff_t>(i);
  list[index].FreeMembers();
  list.RemoveElements(index, 1);
}

BencEntity* BencodedDict::Insert(const char* key, BencEntity& v) {
  BencDictMap& entries = Entries();
  AssertAt(key != nullptr, kSource, 1038);
  AssertAt(&v != this, kSource, 1039);
  const BorrowedBytes<char> text = {key, strlen(key)};
  BencDictMap::Place place;
  BencDictMap::Entry* entry = entries.Find(BencArray<char>(text), nullptr, &place);
  if (entry) {
    NewValue<BencEntity> unwanted;
    unwanted.MoveFrom(v);
    return &entry->pair.second;
  }
  BencArray<char> owned;
  owned.Assign(text.text, text.len);
  entry = ::new BencDictMap::Entry(BencDictMap::value_type::KeyFrom(), &owned);
  entry->pair.second.MoveFrom(v);
  entries.Attach(entry, place);
  return &entry->pair.second;
}

BencEntityMem* BencodedDict::InsertString(const char* key, const char* s, int len) {
  NewValue<BencEntityMem> value;
  value.SetStr(s, len);
  return static_cast<BencEntityMem*>(Insert(key, value));
}

BencEntityMem* BencodedDict::InsertString(const basic_string<char>& key, const basic_string<char>& s, int len) {
  return InsertString(key.c_str(), s.c_str(), len);
}

BencEntityMem* BencodedDict::InsertStringT(const char* key, const wchar_t* ws) {
  NewValue<BencEntityMem> value;
  value.SetStrT(ws);
  return static_cast<BencEntityMem*>(Insert(key, value));
}

BencEntity* BencodedDict::InsertInt(const char* key, int v) {
  NewValue<BencEntity> value;
  value.SetInt(v);
  return Insert(key, value);
}

BencEntity* BencodedDict::InsertInt64(const char* key, long long v) {
  NewValue<BencEntity> value;
  value.SetInt64(v);
  return Insert(key, value);
}

BencodedDict* BencodedDict::InsertDict(const char* key) {
  NewValue<BencodedDict> value;
  return static_cast<BencodedDict*>(Insert(key, value));
}

BencodedList* BencodedDict::InsertList(const char* key) {
  NewValue<BencodedList> value;
  return static_cast<BencodedList*>(Insert(key, value));
}

void BencodedDict::Delete(const char* key) {
  BencDictMap& entries = Entries();
  AssertAt(key != nullptr, kSource, 1040);
  entries.erase(BencArray<char>(BorrowedBytes<char>{key, strlen(key)}));
}

}  // namespace core
