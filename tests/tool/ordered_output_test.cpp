#include "tools/mdtorrent/output/ordered_output.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace mdtorrent {
namespace {

std::string ContentOf(FILE* file) {
  fflush(file);
  rewind(file);
  std::string content;
  char block[65536];
  while (const size_t got = fread(block, 1, sizeof block, file)) {
    content.append(block, got);
  }
  return content;
}

class OrderedOutputTest : public testing::Test {
 protected:
  OrderedOutputTest() : out_(tmpfile()), err_(tmpfile()), progress_(ProgressMode::kNever, err_) {}
  ~OrderedOutputTest() override {
    fclose(out_);
    fclose(err_);
  }
  OrderedOutput Make(bool flush_each = false) {
    return OrderedOutput({out_, err_, flush_each, false}, {"<", ",", ">"}, progress_);
  }
  static void Finish(OrderedOutput& output, size_t number, std::string text, Outcome outcome = Outcome::kImported,
                     const char* complaint = "") {
    output.Finish(number, outcome, text, complaint);
    EXPECT_EQ("", text);
  }

  FILE* out_;
  FILE* err_;
  Progress progress_;
};

TEST_F(OrderedOutputTest, RecordsComeInTheOrderOfTheirNumbers) {
  OrderedOutput output = Make();
  output.Begin();
  Finish(output, 2, "c");
  Finish(output, 1, "b");
  Finish(output, 0, "a");
  Finish(output, 3, "d");
  output.End();
  EXPECT_EQ("<a,b,c,d>", ContentOf(out_));
}

TEST_F(OrderedOutputTest, ARecordWithoutTextLeavesNoGap) {
  OrderedOutput output = Make();
  output.Begin();
  Finish(output, 0, "", Outcome::kUnusable, "zero\n");
  Finish(output, 1, "b");
  Finish(output, 2, "", Outcome::kUnreadable, "two\n");
  Finish(output, 3, "d");
  output.End();
  EXPECT_EQ("<b,d>", ContentOf(out_));
  EXPECT_EQ("zero\ntwo\n", ContentOf(err_));
  EXPECT_EQ(2u, output.counts().imported);
  EXPECT_EQ(1u, output.counts().unusable);
  EXPECT_EQ(1u, output.counts().unreadable);
}

TEST_F(OrderedOutputTest, NoRecordsLeaveTheFrame) {
  OrderedOutput output = Make();
  output.Begin();
  output.End();
  EXPECT_EQ("<>", ContentOf(out_));
}

TEST_F(OrderedOutputTest, PartsOfTheNextRecordAreTakenAtOnce) {
  OrderedOutput output = Make();
  std::string text = "first ";
  output.TakePart(0, text);
  EXPECT_EQ("", text);
  Finish(output, 0, "second");
  Finish(output, 1, "b");
  EXPECT_EQ("first second,b", ContentOf(out_));
}

TEST_F(OrderedOutputTest, PartsOfALaterRecordStayWithIt) {
  OrderedOutput output = Make();
  std::string text = "part";
  output.TakePart(1, text);
  EXPECT_EQ("part", text);
}

TEST_F(OrderedOutputTest, EachRecordIsFlushedWhenAReaderWaits) {
  OrderedOutput output = Make(true);
  Finish(output, 0, "a");
  char byte = 0;
  EXPECT_EQ(1, pread(fileno(out_), &byte, 1, 0));
  EXPECT_EQ('a', byte);
}

TEST_F(OrderedOutputTest, AFailingOutputIsNotedOnce) {
  FILE* full = fopen("/dev/full", "w");
  if (!full) {
    GTEST_SKIP() << "this system has no /dev/full";
  }
  OrderedOutput output({full, err_, true, false}, {}, progress_);
  Finish(output, 0, "a");
  EXPECT_EQ(ENOSPC, output.error());
  Finish(output, 1, "b");
  EXPECT_EQ(2u, output.counts().files());
  fclose(full);
}

// Runs `work` on a thread of its own, and record 0 after a while; says whether the thread waited.
template <class Work>
bool WaitsForTheFirstRecord(OrderedOutput& output, Work work) {
  std::atomic<bool> first_done{false}, waited{false};
  std::thread thread([&] {
    work();
    waited = first_done.load();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  first_done = true;
  std::string first = "a";
  output.Finish(0, Outcome::kImported, first, "");
  thread.join();
  return waited;
}

TEST_F(OrderedOutputTest, MuchTextOfALaterRecordWaitsForItsTurn) {
  OrderedOutput output = Make();
  std::string text(2 << 20, 'b');
  EXPECT_TRUE(WaitsForTheFirstRecord(output, [&] { output.TakePart(1, text); }));
  EXPECT_EQ("", text);
  EXPECT_EQ("a," + std::string(2 << 20, 'b'), ContentOf(out_));
}

TEST_F(OrderedOutputTest, OnlySoMuchIsKeptForLater) {
  OrderedOutput output = Make();
  Finish(output, 1, std::string(15 << 20, 'b'));
  std::string text(2 << 20, 'c');
  EXPECT_TRUE(WaitsForTheFirstRecord(output, [&] { output.Finish(2, Outcome::kImported, text, ""); }));
  EXPECT_EQ("a," + std::string(15 << 20, 'b') + "," + std::string(2 << 20, 'c'), ContentOf(out_));
}

// Larger than what may gather or be kept, so that threads have to wait for their turn.
TEST_F(OrderedOutputTest, ManyThreadsWithLargeRecordsKeepTheOrder) {
  constexpr size_t kRecords = 24, kThreads = 4;
  const auto size_of = [](size_t number) { return number % 3 == 0 ? size_t{3} << 20 : number * 1000; };
  OrderedOutput output = Make();
  std::atomic<size_t> next{0};
  std::vector<std::thread> threads;
  for (size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      RecordBuffer buffer(output);
      for (size_t number; (number = next++) < kRecords;) {
        buffer.Start(number);
        for (size_t done = 0; done < size_of(number); done += 1000) {
          buffer.text().append(1000, static_cast<char>('A' + number));
          buffer.Settle();
        }
        buffer.Finish(Outcome::kImported, "");
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  const std::string content = ContentOf(out_);
  size_t at = 0;
  for (size_t number = 0; number < kRecords; ++number) {
    const size_t size = (size_of(number) + 999) / 1000 * 1000;
    if (at > 0 && size > 0) {
      ASSERT_EQ(',', content[at++]);
    }
    ASSERT_EQ(std::string(size, static_cast<char>('A' + number)), content.substr(at, size)) << number;
    at += size;
  }
  EXPECT_EQ(at, content.size());
}

}  // namespace
}  // namespace mdtorrent
