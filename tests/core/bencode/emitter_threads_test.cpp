// Emitting bencode trees on several threads.
#include <gtest/gtest.h>
#include <stdint.h>

#include <string>
#include <thread>

#include "tests/support/emitted.h"

namespace {

TEST(EmitterThreads, TwoMayEmitJsonAtOnce) {
  const auto emit = [](int64_t first) {
    for (int round = 0; round < 200; ++round) {
      OwnedList list;
      std::string want = "[ ";
      for (int64_t n = first; n < first + 50; ++n) {
        list.AppendInt64(n * 1'000'003);
        want += (n == first ? "" : ", ") + std::to_string(n * 1'000'003);
      }
      list.AppendString("\x01\xc3\xa9", 3);
      ASSERT_EQ(want + ", \"\\u0001\\u00e9\" ]", Json(list));
    }
  };
  std::thread other(emit, INT64_C(-4'000'000'000'000));
  emit(1);
  other.join();
}

}  // namespace
