// Conversions between the locale's bytes and wide text.
//
// The conversion state has 128 bytes on macOS and 8 here; all zero is the initial state on both. In its
// "C" locale every byte is the character of the same value, where this system refuses bytes above 127.
#include <locale.h>
#include <string.h>
#include <wchar.h>

#include "tests/macho/shims.h"

namespace macho {
namespace {

constexpr size_t kFailed = static_cast<size_t>(-1);

bool InPlainLocale() {
  const char* name = setlocale(LC_CTYPE, nullptr);
  return name && (strcmp(name, "C") == 0 || strcmp(name, "POSIX") == 0);
}

size_t WidenBytes(wchar_t* to, const char** from, size_t len, size_t units) {
  const char* bytes = *from;
  size_t done = 0;
  for (; done < len && (!to || done < units); done++) {
    const wchar_t unit = static_cast<unsigned char>(bytes[done]);
    if (to) {
      to[done] = unit;
    }
    if (unit == 0) {
      *from = to ? nullptr : bytes;
      return done;
    }
  }
  *from = to ? bytes + done : bytes;
  return done;
}

size_t Widen(wchar_t* to, const char** from, size_t len, size_t units, mbstate_t* state) {
  return InPlainLocale() ? WidenBytes(to, from, len, units)
                         : WithErrno([&] { return mbsnrtowcs(to, from, len, units, state); });
}

size_t WidenText(wchar_t* to, const char** from, size_t units, mbstate_t* state) {
  return InPlainLocale() ? WidenBytes(to, from, kFailed, units)
                         : WithErrno([&] { return mbsrtowcs(to, from, units, state); });
}

size_t NarrowUnits(char* to, const wchar_t** from, size_t room) {
  const wchar_t* units = *from;
  size_t done = 0;
  for (; !to || done < room; done++) {
    if (units[done] < 0 || units[done] > 255) {
      *ImageErrno() = DarwinErrno(EILSEQ);
      return kFailed;
    }
    if (to) {
      to[done] = static_cast<char>(units[done]);
    }
    if (units[done] == 0) {
      *from = to ? nullptr : units;
      return done;
    }
  }
  *from = units + done;
  return done;
}

size_t NarrowText(char* to, const wchar_t** from, size_t room, mbstate_t* state) {
  return InPlainLocale() ? NarrowUnits(to, from, room) : WithErrno([&] { return wcsrtombs(to, from, room, state); });
}

}  // namespace

std::span<const Shim> LocaleShims() {
  static const Shim shims[] = {
      {"_mbsnrtowcs", reinterpret_cast<void*>(Widen)},
      {"_mbsrtowcs", reinterpret_cast<void*>(WidenText)},
      {"_wcsrtombs", reinterpret_cast<void*>(NarrowText)},
  };
  return shims;
}

}  // namespace macho
