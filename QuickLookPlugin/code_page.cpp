#include "QuickLookPlugin/code_page.h"

#include <stdlib.h>
#include <string.h>

#include "core/text/string.h"

namespace reader {

namespace {

struct EncodingName {
  const char* name;
  int code_page;
};

constexpr EncodingName kEncodingNames[] = {
    {"utf-8", 1},     {"utf8", 1},     {"ansi", 0},  {"big5", 950},     {"korean", 949},    {"uhc", 949},
    {"chinese", 936}, {"gb2312", 936}, {"gbk", 936}, {"japanese", 932}, {"shift-jis", 932},
};

constexpr const char* kNumberPrefixes[] = {"windows-", "cp"};

// The process's locale has no say in it: in some of them `I` is no capital `i`.
bool BeginsIgnoringCase(const char* text, const char* lower_case_prefix) {
  for (; *lower_case_prefix != 0; ++text, ++lower_case_prefix) {
    if (core::FoldAscii(*text) != *lower_case_prefix) {
      return false;
    }
  }
  return true;
}

int NumberOf(const char* text) {
  return static_cast<int>(strtol(text, nullptr, 10));  // on purpose the low 32 bits
}

}  // namespace

int ReadCodePage(const core::BencodedDict& root) {
  const int number = root.GetInt("encoding", 0);
  if (number != 0) {
    return number;
  }
  size_t len = 0;
  const char* name = root.GetString("encoding", &len);
  return name ? CodePageOfName(name) : 0;
}

int CodePageOfName(const char* name) {
  for (const char* prefix : kNumberPrefixes) {
    if (BeginsIgnoringCase(name, prefix)) {
      return NumberOf(name + strlen(prefix));
    }
  }
  for (const EncodingName& row : kEncodingNames) {
    if (strlen(name) == strlen(row.name) && BeginsIgnoringCase(name, row.name)) {
      return row.code_page;
    }
  }
  return 0;
}

}  // namespace reader
