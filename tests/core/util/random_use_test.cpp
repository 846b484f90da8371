#include <gtest/gtest.h>
#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <functional>
#include <thread>
#include <unordered_set>
#include <vector>

#include "core/util/util_random.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/random_model.h"

namespace core {
namespace {

using random_model::Draw;
using random_model::Model;
using random_model::Values;

// --- bytes ---

// Every value in 8 bytes: itself, low byte first, and four zeroes.
std::vector<unsigned char> ExpectedBytes(Model& model, size_t len) {
  std::vector<unsigned char> bytes;
  while (bytes.size() < len) {
    const uint32_t value = model.Draw();
    for (const uint32_t divisor : {1u, 1u << 8, 1u << 16, 1u << 24}) {
      bytes.push_back(static_cast<unsigned char>(value / divisor % 256));
    }
    bytes.resize(bytes.size() + 4, 0);
  }
  bytes.resize(len);
  return bytes;
}

TEST(Urandom, WritesEveryByteOfEveryLengthAndNothingElse) {
  for (size_t len = 0; len <= 64; ++len) {
    SCOPED_TRACE(len);
    Model model(21);
    seedMT(21);
    GuardedBuffer<unsigned char> buffer(len);
    urandom(buffer.buf(), len);
    EXPECT_EQ(ExpectedBytes(model, len), std::vector<unsigned char>(buffer.buf(), buffer.buf() + len));
    EXPECT_TRUE(buffer.GuardsHold());
    EXPECT_EQ(model.Draw(), randomMT()) << "the number of values drawn";
  }
}

TEST(Urandom, TwelveBytesAreRandomOnlyAtTheFirstFourOfEachGroup) {
  seedMT(7);
  unsigned char bytes[12];
  urandom(bytes, sizeof bytes);
  // 4106647838 is F4C6791E, 1832236309 is 6D35B515.
  const unsigned char kExpected[12] = {0x1E, 0x79, 0xC6, 0xF4, 0, 0, 0, 0, 0x15, 0xB5, 0x35, 0x6D};
  EXPECT_TRUE(std::equal(bytes, bytes + 12, kExpected));
}

TEST(Urandom, WritesAtAnyAlignment) {
  for (size_t offset = 0; offset < 8; ++offset) {
    SCOPED_TRACE(offset);
    Model model(22);
    seedMT(22);
    std::vector<unsigned char> buffer(offset + 29, 0x5A);
    urandom(buffer.data() + offset, 29);
    std::vector<unsigned char> expected(offset, 0x5A);
    const std::vector<unsigned char> bytes = ExpectedBytes(model, 29);
    expected.insert(expected.end(), bytes.begin(), bytes.end());
    EXPECT_EQ(expected, buffer);
  }
}

TEST(Urandom, AnEmptyBufferMayBeNullAndDrawsNothing) {
  seedMT(23);
  urandom(nullptr, 0);
  EXPECT_EQ(Model(23).Draw(), randomMT());
}

TEST(AddEntropy, LeavesTheSequenceAlone) {
  seedMT(24);
  Model model(24);
  for (int i = 0; i < 1300; ++i) {
    add_entropy();
    ASSERT_EQ(model.Draw(), randomMT());
  }
}

// --- several threads ---

void OnThreads(int count, const std::function<void(int)>& work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) {
    threads.emplace_back(work, i);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST(RandomThreads, ValuesDrawnAtOnceAllBelongToTheSequence) {
  constexpr int kThreads = 4;
  constexpr size_t kDraws = 250'000;
  seedMT(31);
  std::vector<Values> drawn(kThreads);
  OnThreads(kThreads, [&drawn](int i) { drawn[static_cast<size_t>(i)] = Draw(kDraws); });
  // Threads in each other's way may skip values as well as repeat them.
  const Values sequence = Model(31).Draw(2 * kThreads * kDraws);
  const std::unordered_set<uint32_t> members(sequence.begin(), sequence.end());
  for (const Values& values : drawn) {
    const auto strangers =
        std::count_if(values.begin(), values.end(), [&members](uint32_t value) { return members.count(value) == 0; });
    EXPECT_EQ(0, strangers);
  }
}

TEST(RandomThreads, SeedsAndDrawsAtOnceLeaveTheGeneratorWhole) {
  OnThreads(4, [](int i) {
    unsigned char bytes[100];
    for (uint32_t turn = 0; turn < 200; ++turn) {
      if (i == 0) {
        seedMT(turn);
      } else if (i == 1) {
        seedMT(&turn, 1);
      }
      Draw(700);
      urandom(bytes, sizeof bytes);
      add_entropy();
    }
  });
  seedMT(32);
  EXPECT_EQ(Model(32).Draw(2000), Draw(2000));
}

}  // namespace
}  // namespace core
