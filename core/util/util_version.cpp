#include "core/util/util_version.h"

namespace core {

int CompareNumericalVersionStrings(const basic_string<char>& a, const basic_string<char>& b) {
  const char* p = a.c_str();
  const char* q = b.c_str();
  while (*p != 0 && *p == *q) {
    ++p;
    ++q;
  }
  // The platform decides the sign of a char.
  return static_cast<signed char>(*p) - static_cast<signed char>(*q);
}

}  // namespace core
