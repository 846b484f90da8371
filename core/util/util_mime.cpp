#include "core/util/util_mime.h"

#include <string.h>
#include <strings.h>
#include <wchar.h>

#include "core/format/strfmt.h"
#include "core/text/nustr.h"
#include "core/text/string.h"
#include "core/util/util_mime_tables.h"

namespace core {
namespace {

template <class Row, size_t kRows>
bool HoldsExtension(const Row (&table)[kRows], const wchar_t* extension) {
  if (extension == nullptr) {
    return false;
  }
  for (const wchar_t* row : table) {
    if (core::wcscasecmp(row, extension) == 0) {
      return true;
    }
  }
  return false;
}

bool EndsOrHasParameters(const char* rest) { return *rest == 0 || *rest == ';'; }

}  // namespace

bool IsSafeFileExtension(const wchar_t* extension) { return !HoldsExtension(kUnsafeExtensions, extension); }

bool IsStreamableFileExtension(const wchar_t* extension) { return HoldsExtension(kStreamableExtensions, extension); }

bool IsStreamableContentType(const char* type) {
  if (type == nullptr) {
    return false;
  }
  for (const char* row : kStreamableTypes) {
    if (::strcasecmp(row, type) == 0) {
      return true;
    }
  }
  return false;
}

bool IsAmbiguousContentType(const char* type) {
  if (type == nullptr) {
    return false;
  }
  for (const char* row : kAmbiguousTypes) {
    if (stribegins(type, row) && EndsOrHasParameters(type + strlen(row))) {
      return true;
    }
  }
  return false;
}

const char* GuessContentTypeFromFileName(const wchar_t* name) {
  const wchar_t* dot = name == nullptr ? nullptr : ::wcsrchr(name, L'.');
  if (dot == nullptr) {
    return nullptr;
  }
  const int pos = zstrings_get_str_pos(kExtensionTypes, to_ansi(dot + 1), false);
  return pos < 0 ? nullptr : zstrings_get_str_at(kExtensionTypes, pos + 1);
}

}  // namespace core
