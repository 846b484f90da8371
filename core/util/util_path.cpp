#include "core/util/util_path.h"

#include <stddef.h>
#include <string.h>
#include <wchar.h>

#include "core/base/host.h"
#include "core/base/mem1.h"
#include "core/text/nustr.h"
#include "core/text/string.h"

namespace core {
namespace {

constexpr size_t kShortestStripped = 3;

// Compares the canonical forms of two paths.
template <class Compare>
bool CompareCanonical(const wchar_t* a, const wchar_t* b, Compare compare) {
  wchar_t* canonical_a = GetCanonicalPath(a);
  wchar_t* canonical_b = GetCanonicalPath(b);
  const bool result = compare(canonical_a, canonical_b);
  MyFree(canonical_a);
  MyFree(canonical_b);
  return result;
}

}  // namespace

const char* getfilename(const char* path) {
  const char* slash = ::strrchr(path, '/');
  return slash == nullptr ? path : slash + 1;
}

const wchar_t* getfilename(const wchar_t* path) {
  const wchar_t* slash = ::wcsrchr(path, L'/');
  return slash == nullptr ? path : slash + 1;
}

const wchar_t* getfileext(const wchar_t* path) {
  const wchar_t* dot = ::wcsrchr(getfilename(path), L'.');
  return dot == nullptr ? nullptr : dot + 1;
}

wchar_t* striplastsep(wchar_t* path) {
  size_t len = len_of_str(path);
  while (len > kShortestStripped && path[len - 1] == L'/') {
    path[--len] = 0;
  }
  return path;
}

wchar_t* stripfilename(wchar_t* path) {
  wchar_t* slash = ::wcsrchr(path, L'/');
  if (slash != nullptr) {
    slash[slash - path < 3 ? 1 : 0] = 0;
  }
  return path;
}

const wchar_t* DirHasPrefix(const wchar_t* path, const wchar_t* prefix) {
  const size_t len = len_of_str(prefix);
  if (len == 0 || core::wcsncasecmp(path, prefix, len) != 0) {
    return nullptr;
  }
  const wchar_t* rest = path + len;
  if (prefix[len - 1] != L'/' && *rest != 0 && *rest != L'/') {
    return nullptr;
  }
  while (*rest == L'/') {
    ++rest;
  }
  return rest;
}

bool PathContains(const wchar_t* outer, const wchar_t* inner) { return CompareCanonical(inner, outer, tstrbegins); }

bool IsSamePath(const wchar_t* a, const wchar_t* b) {
  return CompareCanonical(a, b, [](const wchar_t* x, const wchar_t* y) { return ::wcscmp(x, y) == 0; });
}

}  // namespace core
