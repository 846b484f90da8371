// Request targets, "path?key=value&key=value", as dictionaries.
#include "core/base/fatal.h"
#include "core/bencode/bencoding.h"
#include "core/text/string.h"
#include "core/util/util_url.h"

namespace core {

namespace {

constexpr char kSource[] = "core/bencoding";

}  // namespace

BencEntity* BencodedDict::AppendMultiple(char* key, bool multi) {
  AssertAt(key != nullptr, kSource, 1042);
  BencEntity* present = multi ? Get(key) : nullptr;
  if (!present) {
    return InsertString(key, nullptr, 0);
  }
  if (present->GetType() != BENC_LIST) {
    BencodedList list;
    list.Append(*present);
    present->MoveFrom(list);
  }
  return static_cast<BencodedList*>(present)->AppendString(nullptr, 0);
}

BencEntity* BencEntity::ParseRpcParams(char* request, bool multi) {
  BencodedDict* result = new BencodedDict;
  BencodedDict params;
  char* rest = my_strtok(request, '?');
  while (rest) {
    char* key = rest;
    rest = my_strtok(key, '&');
    char* value = my_strtok(key, '=');
    if (!value) {
      break;  // On purpose: this parameter and all later ones are dropped.
    }
    urldecode(value);
    static_cast<BencEntityMem*>(params.AppendMultiple(key, multi))->SetStr(value, -1);
  }
  result->Insert(request, params);
  return result;
}

}  // namespace core
