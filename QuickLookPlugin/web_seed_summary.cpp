#include "QuickLookPlugin/web_seed_summary.h"

#include <string.h>

namespace reader {

namespace {

constexpr char kSeparator[] = ", ";
constexpr size_t kSeparatorLen = sizeof(kSeparator) - 1;
constexpr char kMore[] = ", ...";

}  // namespace

void WebSeedSummary::Add(size_t index, const char* text, size_t len) {
  if (budget_ == 0) {
    return;
  }
  const bool fits = budget_ > kSeparatorLen && len < budget_ - kSeparatorLen;
  if (!fits) {
    memcpy(text_ + used_, kMore, sizeof(kMore));
    budget_ = 0;
    return;
  }
  if (index != 0) {
    Append(kSeparator, kSeparatorLen);
  }
  Append(text, len);
}

void WebSeedSummary::Append(const char* text, size_t len) {
  const size_t shown = strnlen(text, len);
  memcpy(text_ + used_, text, shown);
  memset(text_ + used_ + shown, 0, budget_ - shown);
  used_ += len;
  budget_ -= len;
}

}  // namespace reader
