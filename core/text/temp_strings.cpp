#include "core/base/host.h"
#include "core/base/mem1.h"
#include "core/format/strfmt.h"
#include "core/text/string.h"

namespace core {
namespace {

// Hands `s` to a slot of the thread's block, which owns it from here on.
template <class C>
C* Keep(C*& slot, C* s) {
  if (slot != s) {
    MyFree(slot);
    slot = s;
  }
  return s;
}

}  // namespace

// The argument may be what the slot holds: the copy is made before the slot lets go of it.
wchar_t* to_unicode(const char* s) {
  wchar_t* text = to_unicode_alloc(s);
  return Keep(GetTLS()->last_unicode, text);
}

wchar_t* to_unicode(const wchar_t* s) {
  wchar_t* text = to_unicode_alloc(s);
  return Keep(GetTLS()->last_unicode, text);
}

char* to_ansi(const wchar_t* s) {
  char* text = to_ansi_alloc(s);
  return Keep(GetTLS()->last_ansi, text);
}

wchar_t* str_temp(wchar_t* s) { return Keep(GetTLS()->temp_wide, s); }

char* str_temp_ansi(char* s) { return Keep(GetTLS()->temp_narrow, s); }

}  // namespace core
