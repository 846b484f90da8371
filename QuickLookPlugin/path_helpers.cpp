#include "QuickLookPlugin/path_helpers.h"

#include <string.h>

#include "QuickLookPlugin/limits.h"
#include "core/base/mem1.h"
#include "core/text/DecodeEncodedString.h"

namespace {

// The bytes of one component, null when it is not a string. The tree's input is left as it is.
const char* ComponentAt(const core::BencodedList& list, size_t i, size_t* len) {
  return static_cast<const core::BencEntityMem*>(list.Get(i))->GetBytes(len);
}

// Adds up the bytes of all components with one more for each, a separator or the terminator. False
// when one is not a string.
bool MeasureComponents(const core::BencodedList& list, size_t* room) {
  *room = 0;
  const size_t count = list.GetCount();
  for (size_t i = 0; i < count; ++i) {
    size_t len = 0;
    if (!ComponentAt(list, i, &len)) {
      return false;
    }
    *room += len + 1;
  }
  return true;
}

// The lengths count: a dot followed by a zero unit is a name like any other.
bool IsLeftOut(const wchar_t* units, size_t count) {
  return count == 0 || (count == 1 && units[0] == L'.') || (count == 2 && units[0] == L'.' && units[1] == L'.');
}

// Decodes one component into `dst`, which has room for `len` units, and returns their number: no byte
// becomes more than one. Valid UTF-8, which both UTF-8 code pages decode alike, needs no block of its own.
size_t DecodeComponent(int code_page, const char* bytes, size_t len, wchar_t* dst) {
  if (code_page == core::kCodePageUtf8 || code_page == core::kCodePageUtf8OrLocale) {
    bool invalid = false;
    const int count = core::DecodeUtf8(bytes, len, dst, len, &invalid, nullptr);
    if (!invalid) {
      return static_cast<size_t>(count);
    }
  }
  size_t count = 0;
  wchar_t* units = core::DecodeEncodedString(code_page, bytes, len, &count);
  memcpy(dst, units, count * sizeof(wchar_t));
  core::MyFree(units);
  return count;
}

// Writes one component at `out`, behind a separator unless the path is empty so far, and returns the
// new end of the path. `out` has room for len + 1 units.
wchar_t* AppendComponent(wchar_t* out, bool first, const char* bytes, size_t len, int code_page) {
  wchar_t* units = first ? out : out + 1;
  const size_t count = DecodeComponent(code_page, bytes, len, units);
  if (IsLeftOut(units, count)) {
    return out;
  }
  if (!first) {
    *out = L'/';
  }
  SanitizeCopy(units, units, static_cast<int>(count));
  return units + count;
}

}  // namespace

wchar_t* CombinePath(const core::BencodedList* list, int code_page) {
  size_t room = 0;
  if (!list || list->GetCount() == 0 || !MeasureComponents(*list, &room)) {
    return nullptr;
  }
  if (room - 1 > reader::kMaxTextBytes) {
    return static_cast<wchar_t*>(core::MyCalloc(1, sizeof(wchar_t)));
  }
  // No encoding makes more units than there were bytes, so one block holds the whole path.
  wchar_t* path = static_cast<wchar_t*>(core::MyMalloc(room * sizeof(wchar_t)));
  wchar_t* end = path;
  const size_t count = list->GetCount();
  for (size_t i = 0; i < count; ++i) {
    size_t len = 0;
    const char* bytes = ComponentAt(*list, i, &len);
    end = AppendComponent(end, end == path, bytes, len, code_page);
  }
  *end = 0;
  return path;
}

void SanitizeCopy(wchar_t* dst, const wchar_t* src, int count) {
  int end = count;
  while (end > 0 && src[end - 1] == L' ') {
    dst[--end] = L'_';
  }
  for (int i = 0; i < end; ++i) {
    const wchar_t unit = src[i];
    dst[i] = unit == L'/' || unit == 0 ? L'_' : unit;
  }
}
