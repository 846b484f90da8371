#include "core/base/fatal.h"
#include "core/base/mem1.h"
#include "core/text/DecodeEncodedString.h"
#include "core/text/nustr.h"
#include "core/text/string.h"

namespace core {
namespace {

constexpr char kSource[] = "core/string";

// Storing a slot's own string back would free it first. Null is nobody's string.
template <class C>
bool IsOther(C* const* p, const C* s) {
  return s == nullptr || s != *p;
}

// Puts `s`, made before the old string goes, into the slot.
template <class C>
void Store(C** p, C* s) {
  C* old = *p;
  *p = s;
  MyFree(old);
}

bool IsEmpty(const wchar_t* s) { return s == nullptr || *s == 0; }

}  // namespace

void str_set(wchar_t** p, const wchar_t* s) {
  AssertAt(IsOther(p, s), kSource, 295);
  Store(p, wstrdup(s == nullptr ? L"" : s));
}

void str_set_ansi(char** p, const char* s) {
  AssertAt(s != nullptr, kSource, 305);   // shared number: any string that the slot cannot copy
  AssertAt(IsOther(p, s), kSource, 305);  // shared number: the same
  Store(p, nustrdup(s));
}

void str_setx_ansi(char** p, char* s) {
  AssertAt(IsOther(p, s), kSource, 314);
  Store(p, s);
}

wchar_t* utf8_to_tstr(wchar_t** p, const char* s) {
  AssertAt(p != nullptr, kSource, 323);
  Store(p, s == nullptr ? nullptr : DecodeEncodedString(kCodePageUtf8OrLocale, s, SIZE_MAX, nullptr));
  return *p;
}

void str_setxy(wchar_t** p, wchar_t* s) {
  AssertAt(IsOther(p, s), kSource, 336);
  Store(p, IsEmpty(s) ? nullptr : s);
}

void str_sety(wchar_t** p, const wchar_t* s) {
  AssertAt(IsOther(p, s), kSource, 344);
  Store(p, IsEmpty(s) ? nullptr : wstrdup(s));
}

void str_setx(wchar_t** p, wchar_t* s) {
  AssertAt(IsOther(p, s), kSource, 352);
  Store(p, s == nullptr ? wstrdup(L"") : s);
}

void str_free(wchar_t** p) { Store<wchar_t>(p, nullptr); }

void str_free_ansi(char** p) { Store<char>(p, nullptr); }

}  // namespace core
