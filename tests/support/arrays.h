// Arrays for the tests of the growable array.
#pragma once

#include <gtest/gtest.h>
#include <stddef.h>

#include <vector>

#include "core/containers/templates.h"

namespace core {

constexpr size_t kInt = sizeof(int);

// An array that gives its block back.
template <class T>
struct Owned : LList<T> {
  Owned() = default;
  explicit Owned(const std::vector<T>& values) { this->Append(values.data(), static_cast<ptrdiff_t>(values.size())); }
  ~Owned() { this->Free(); }
};
using Ints = Owned<int>;

inline std::vector<int> Iota(int n) {
  std::vector<int> values;
  for (int i = 0; i < n; ++i) {
    values.push_back(i);
  }
  return values;
}

template <class T>
std::vector<T> Contents(const LList<T>& array) {
  return std::vector<T>(array.begin(), array.end());
}

inline void ExpectFields(const LListRaw& array, bool has_block, size_t capacity, ptrdiff_t count) {
  EXPECT_EQ(has_block, array.data != nullptr);
  EXPECT_EQ(capacity, array.capacity);
  EXPECT_EQ(count, array.count);
}

}  // namespace core
