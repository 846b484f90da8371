#include "core/bencode/bencoding.h"

#include <limits.h>
#include <string.h>

#include "core/base/host.h"
#include "core/format/strfmt.h"
#include "core/text/DecodeEncodedString.h"
#include "core/text/nustr.h"

namespace core {

namespace {

constexpr char kSource[] = "core/bencoding";

template <class T>
T* OfKind(BencEntity* value, BencType kind) {
  return value && value->GetType() == kind ? static_cast<T*>(value) : nullptr;
}

const char* StringOf(BencEntity* value, size_t* len) {
  const BencEntityMem* string = OfKind<BencEntityMem>(value, BENC_STR);
  return string ? string->GetString(len) : nullptr;
}

const wchar_t* WideStringOf(BencEntity* value, int code_page, size_t* len) {
  const BencEntityMem* string = OfKind<BencEntityMem>(value, BENC_STR);
  return string ? string->GetStringT(code_page, len) : nullptr;
}

}  // namespace

void BencEntity::MoveFrom(BencEntity& src) {
  AssertAt(this != &src, kSource, 1001);
  AssertAt(kind_ == src.kind_ || kind_ == BENC_NONE || kind_ == BENC_NULL, kSource, 1002);
  const Value value = src.value_;
  const BencType kind = src.kind_;
  src.ZeroOut();
  FreeMembers();
  value_ = value;
  kind_ = kind;
}

long long BencEntity::GetInt64(long long def) const {
  return kind_ == BENC_INT || kind_ == BENC_INT64 ? value_.integer : def;
}

int BencEntity::GetInt(int def) const { return static_cast<int>(static_cast<uint32_t>(GetInt64(def))); }

bool BencEntity::LoadFromFile_Safe(const wchar_t* path) { return LoadFile_Safe(path, BencEntityIsValid, this); }

bool BencEntityIsValid(unsigned char* buf, size_t len, void* entity) {
  const unsigned char* end = BencEntity::Parse(buf, *static_cast<BencEntity*>(entity), buf + len);
  return end != nullptr && end == buf + len;
}

long long BencEntityLazyInt::GetInt64(long long) {
  AssertAt(kind_ == BENC_INT_LAZY, kSource, 1003);
  const BencArray<unsigned char>* text = value_.bytes;
  const int64_t number = ParseInteger(text->begin(), text->end());
  FreeMembers();
  value_.integer = number;
  kind_ = BENC_INT;
  return number;
}

int BencEntityLazyInt::GetInt(int def) { return static_cast<int>(static_cast<uint32_t>(GetInt64(def))); }

BencEntityMem::BencEntityMem() {
  value_.bytes = new BencArray<unsigned char>;
  kind_ = BENC_STR;
}

const char* BencEntityMem::GetBytes(size_t* len) const {
  if (kind_ != BENC_STR) {
    return nullptr;
  }
  const BencArray<unsigned char>& bytes = *value_.bytes;
  if (len) {
    *len = bytes.size();
  }
  return bytes.count == 0 ? "" : reinterpret_cast<const char*>(bytes.data);
}

const char* BencEntityMem::GetString(size_t* len) const {
  const char* text = GetBytes(len);
  if (text && value_.bytes->borrowed && value_.bytes->count != 0) {
    // On purpose: terminates the string inside the decoded buffer.
    value_.bytes->data[value_.bytes->count] = 0;
  }
  return text;
}

const wchar_t* BencEntityMem::GetStringT(int code_page, size_t* len) const {
  if (kind_ != BENC_STR) {
    return nullptr;
  }
  const BencArray<unsigned char>& bytes = *value_.bytes;
  size_t units = 0;
  wchar_t* text =
      str_temp(DecodeEncodedString(code_page, reinterpret_cast<const char*>(bytes.data), bytes.size(), &units));
  AssertAt(units <= INT_MAX, kSource, 1004);
  if (len) {
    *len = units;
  }
  return text;
}

BencodedList::BencodedList() {
  value_.list = new BencListRecord;
  kind_ = BENC_LIST;
}

size_t BencodedList::GetCount() const {
  if (kind_ == BENC_VLIST) {
    return value_.vlist->count;
  }
  AssertAt(kind_ == BENC_LIST, kSource, 1005);
  return value_.list->size();
}

BencEntity* BencodedList::Get(size_t i) const {
  if (kind_ == BENC_LIST) {
    return value_.list->begin() + i;
  }
  AssertAt(kind_ == BENC_VLIST, kSource, 1006);
  BencVList& list = *value_.vlist;
  if (i != list.cached_index) {
    list.cached_index = i;
    list.cached.FreeMembers();
    list.callback(list.user_data, i, &list.cached);
  }
  return &list.cached;
}

BencodedDict* BencodedList::GetDict(size_t i) const { return OfKind<BencodedDict>(Get(i), BENC_DICT); }

BencodedList* BencodedList::GetList(size_t i) const { return OfKind<BencodedList>(Get(i), BENC_LIST); }

const char* BencodedList::GetString(size_t i, size_t* len) const { return StringOf(Get(i), len); }

const wchar_t* BencodedList::GetStringT(size_t i, int code_page, size_t* len) const {
  return WideStringOf(Get(i), code_page, len);
}

int BencodedList::GetInt(size_t i, int def) const {
  AssertAt(kind_ == BENC_LIST && value_.list, kSource, 1007);
  return Get(i)->GetInt(def);
}

long long BencodedList::GetInt64(size_t i, long long def) const {
  AssertAt(kind_ == BENC_LIST && value_.list, kSource, 1008);
  return Get(i)->GetInt64(def);
}

BencodedDict::BencodedDict() {
  value_.dict = new BencDictMap;
  kind_ = BENC_DICT;
}

size_t BencodedDict::size() const { return Entries().size(); }

BencDictMap::iterator BencodedDict::begin() const { return Entries().begin(); }

BencDictMap::iterator BencodedDict::end() const { return Entries().end(); }

BencEntity* BencodedDict::Get(const char* key) const {
  BencDictMap& entries = Entries();
  const BencDictMap::iterator found = entries.find(BencArray<char>(BorrowedBytes<char>{key, strlen(key)}));
  return found.AtEnd() ? nullptr : &found->second;
}

BencDictMap& BencodedDict::Entries() const {
  AssertAt(kind_ == BENC_DICT && value_.dict, kSource, 1009);
  return *value_.dict;
}

BencodedDict* BencodedDict::GetDict(const char* key) const { return OfKind<BencodedDict>(Get(key), BENC_DICT); }

BencodedList* BencodedDict::GetList(const char* key) const { return OfKind<BencodedList>(Get(key), BENC_LIST); }

const char* BencodedDict::GetString(const char* key, size_t* len) const { return StringOf(Get(key), len); }

const char* BencodedDict::GetString(const char* key, size_t expected_len) const {
  const BencEntity* value = Get(key);
  if (!value || value->kind_ != BENC_STR || value->value_.bytes->size() != expected_len) {
    return nullptr;
  }
  return reinterpret_cast<const char*>(value->value_.bytes->data);
}

char* BencodedDict::GetStringCopy(const char* key) const {
  const BencEntity* value = Get(key);
  if (!value || value->kind_ != BENC_STR) {
    return nullptr;
  }
  const BencArray<unsigned char>& bytes = *value->value_.bytes;
  const char* text = bytes.data ? reinterpret_cast<const char*>(bytes.data) : "";
  if (!bytes.borrowed && bytes.size() == bytes.capacity) {  // raw bytes: there are none behind them to look at
    return strduplen(text, strnlen(text, bytes.size()));
  }
  AssertAt(text[bytes.count] == 0, kSource, 1010);
  return nustrdup(text);
}

const wchar_t* BencodedDict::GetStringT(const char* key, int code_page, size_t* len) const {
  return WideStringOf(Get(key), code_page, len);
}

int BencodedDict::GetInt(const char* key, int def) const {
  const BencEntity* value = Get(key);
  return value ? value->GetInt(def) : def;
}

long long BencodedDict::GetInt64(const char* key, long long def) const {
  const BencEntity* value = Get(key);
  return value ? value->GetInt64(def) : def;
}

}  // namespace core
