// Long random sequences of changes, made to a decoded tree and to a model of it at the same time.
#include <gtest/gtest.h>

#include <random>
#include <string_view>

#include "tests/support/benc_edit.h"
#include "tests/support/benc_tree.h"

namespace {

using namespace std::string_view_literals;

// A tree with keys that no terminated name can express.
constexpr std::string_view kStart =
    "d0:de1:ai1e3:a\0bl1:xe2:b\0d1:al1:xe1:b3:abce1:cl20:01234567890123456789li1ei2eleeee"sv;

class RandomEditing : public BencTest {};

TEST_F(RandomEditing, LeavesTheTreeThatTheModelPredicts) {
  constexpr int kSteps = 100'000;
  constexpr unsigned kSeed = 20240301;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  int done = 0;
  for (int round = 0; done < kSteps; ++round) {
    SCOPED_TRACE(round);
    EditedTree tree(kStart, round % 2 == 1, [&](size_t limit) { return random() % limit; });
    ASSERT_TRUE(tree.Agrees());
    for (int step = 0; step < 1000; ++step) {
      done += tree.Step();
      if (step % 50 == 49) {
        ASSERT_TRUE(tree.Agrees()) << "by step " << step;
      }
    }
    ASSERT_TRUE(tree.CopyAgrees());
  }
}

}  // namespace
