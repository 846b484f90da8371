// Random operations on the growable array beside the standard containers.
#include <gtest/gtest.h>
#include <stddef.h>
#include <string.h>

#include <algorithm>
#include <deque>
#include <random>
#include <string>

#include "core/containers/templates.h"
#include "tests/support/exact_bytes.h"

namespace core {
namespace {

// What a growth of one slot and of a block lead to.
size_t GrownByOne(size_t capacity, size_t count) {
  return count < capacity ? capacity : std::max(2 * capacity, size_t{16});
}
size_t GrownBy(size_t capacity, size_t needed) {
  return needed <= capacity ? capacity : std::max({2 * capacity, needed, size_t{16}});
}

// The array of elements of `elemsize` bytes beside a vector of the same.
class RandomOperations : public ::testing::TestWithParam<size_t> {
 protected:
  using Element = std::string;

  size_t Below(size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(rng_); }

  Element NewElement() {
    Element bytes(elemsize_, '\0');
    for (char& byte : bytes) {
      byte = static_cast<char>(Below(256));
    }
    return bytes;
  }

  ExactBytes NewElements(size_t n) {
    std::string all;
    for (size_t i = 0; i < n; ++i) {
      all += NewElement();
    }
    return ExactBytes(all);
  }

  Element At(size_t slot) const {
    return Element(reinterpret_cast<const char*>(array_.data) + slot * elemsize_, elemsize_);
  }

  void Check(size_t start = 0) {
    ASSERT_EQ(capacity_, array_.capacity);
    ASSERT_EQ(static_cast<ptrdiff_t>(oracle_.size()), array_.count);
    ASSERT_LE(start + oracle_.size(), capacity_);
    for (size_t i = 0; i < oracle_.size(); ++i) {
      ASSERT_EQ(oracle_[i], At(start + i)) << i;
    }
  }

  auto OracleAt(size_t i) { return oracle_.begin() + static_cast<ptrdiff_t>(i); }

  void AppendBlock() {
    const size_t n = Below(40);
    const ExactBytes block = NewElements(n);
    array_.Append(block.begin(), static_cast<ptrdiff_t>(n), elemsize_);
    for (size_t i = 0; i < n; ++i) {
      oracle_.emplace_back(block.chars() + i * elemsize_, elemsize_);
    }
    capacity_ = GrownBy(capacity_, oracle_.size());
  }

  void Insert(size_t index) {
    capacity_ = GrownByOne(capacity_, oracle_.size());
    const Element element = NewElement();
    memcpy(array_.Insert(static_cast<ptrdiff_t>(index), elemsize_), element.data(), elemsize_);
    oracle_.insert(OracleAt(index), element);
  }

  void Remove() {
    const size_t index = Below(oracle_.size() + 1);
    const size_t n = Below(std::min<size_t>(oracle_.size() - index, 30) + 1);
    array_.RemoveElements(static_cast<ptrdiff_t>(index), static_cast<ptrdiff_t>(n), elemsize_);
    oracle_.erase(OracleAt(index), OracleAt(index + n));
  }

  void MoveUpLast() {
    if (oracle_.empty()) {
      return;
    }
    const size_t index = Below(oracle_.size());
    const bool moved = array_.MoveUpLast(static_cast<ptrdiff_t>(index), elemsize_);
    EXPECT_EQ(index + 1 != oracle_.size(), moved);
    oracle_[index] = oracle_.back();
    oracle_.pop_back();
  }

  void Step() {
    switch (Below(10)) {
      case 0:
      case 1:
        return AppendBlock();
      case 2: {
        capacity_ = GrownByOne(capacity_, oracle_.size());
        oracle_.push_back(NewElement());
        memcpy(array_.Append(elemsize_), oracle_.back().data(), elemsize_);
        return;
      }
      case 3:
        return Insert(Below(oracle_.size() + 1));
      case 4:
      case 5:
        return Remove();
      case 6:
        return MoveUpLast();
      case 7: {
        const size_t wanted = Below(200);
        array_.Guarantee(wanted, elemsize_);
        capacity_ = wanted > capacity_ ? std::max(wanted, size_t{16}) : capacity_;
        return;
      }
      case 8: {
        LListRaw copy;
        copy.assign(array_, elemsize_);
        array_.Swap(copy);
        copy.Free();
        return;
      }
      default:
        if (Below(20) == 0) {
          array_.Resize(0, elemsize_);
          oracle_.clear();
          capacity_ = 0;
        }
    }
  }

  const size_t elemsize_ = GetParam();
  std::mt19937 rng_{static_cast<unsigned>(20240 + elemsize_)};
  LListRaw array_;
  std::deque<Element> oracle_;
  size_t capacity_ = 0;
};

TEST_P(RandomOperations, AgreeWithTheOracle) {
  for (int step = 0; step < 3000; ++step) {
    ASSERT_NO_FATAL_FAILURE({
      Step();
      Check();
    }) << "step "
       << step << ", element size " << elemsize_;
  }
  array_.Free();
}

TEST_P(RandomOperations, OnQueuesAgreeWithTheOracle) {
  ptrdiff_t start = 0;
  for (int step = 0; step < 3000; ++step) {
    const Element element = NewElement();
    switch (Below(step / 500 % 2 == 0 ? 5 : 8)) {  // growing and shrinking phases
      case 0:
      case 1:
        capacity_ = GrownByOne(capacity_, oracle_.size());
        memcpy(array_.LDpush_back(elemsize_, start), element.data(), elemsize_);
        oracle_.push_back(element);
        break;
      case 2:
      case 3:
        capacity_ = GrownByOne(capacity_, oracle_.size());
        memcpy(array_.LDpush_front(elemsize_, start), element.data(), elemsize_);
        oracle_.push_front(element);
        break;
      case 4:
        if (Below(10) == 0) {
          array_.LDCompact(elemsize_, start);
          capacity_ = oracle_.size();
        }
        break;
      case 5:
      case 6:
        if (!oracle_.empty()) {
          array_.SetCount(array_.count - 1);
          ++start;
          oracle_.pop_front();
        }
        break;
      default:
        if (!oracle_.empty()) {
          array_.pop_back();
          oracle_.pop_back();
        }
    }
    if (array_.count != 0) {
      ASSERT_GE(start, 0);
      ASSERT_NO_FATAL_FAILURE(Check(static_cast<size_t>(start))) << "step " << step << ", element size " << elemsize_;
    }
  }
  array_.Free();
}

INSTANTIATE_TEST_SUITE_P(ElementSizes, RandomOperations, ::testing::Values(1, 3, 8, 24));

}  // namespace
}  // namespace core
