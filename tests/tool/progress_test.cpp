#include "tools/mdtorrent/output/progress.h"

#include <gtest/gtest.h>

namespace mdtorrent {
namespace {

TEST(Progress, LineTellsCountsRateAndTimeLeft) {
  EXPECT_EQ("120 of 1000 files, 3 failed, 240/s, 4 s left", ProgressLine({117, 2, 1}, 1000, 0.5));
}

TEST(Progress, LineTellsLongTimesInLargerUnits) {
  EXPECT_EQ("1 of 120 files, 1/s, 119 s left", ProgressLine({1, 0, 0}, 120, 1));
  EXPECT_EQ("1 of 121 files, 1/s, 2 min left", ProgressLine({1, 0, 0}, 121, 1));
  EXPECT_EQ("1 of 7201 files, 1/s, 2 h left", ProgressLine({1, 0, 0}, 7201, 1));
}

TEST(Progress, LineWithoutTotalTellsNoTimeLeft) { EXPECT_EQ("10 files, 5/s", ProgressLine({10, 0, 0}, {}, 2)); }

TEST(Progress, LineAtTheEndTellsNoTimeLeft) { EXPECT_EQ("2 of 2 files, 1/s", ProgressLine({2, 0, 0}, 2, 2)); }

TEST(Progress, LineBeforeTheFirstFileTellsNoRate) {
  EXPECT_EQ("0 of 1 file", ProgressLine({}, 1, 0));
  EXPECT_EQ("0 files", ProgressLine({}, {}, 3));
}

TEST(Progress, SummaryNamesOnlyWhatOccurred) {
  EXPECT_EQ("1 file: 1 imported, in 0.25 s", SummaryLine({1, 0, 0}, 0.25));
  EXPECT_EQ("6 files: 3 imported, 2 not usable, 1 unreadable, in 12.5 s", SummaryLine({3, 2, 1}, 12.5));
  EXPECT_EQ("0 files: 0 imported, in 0.00 s", SummaryLine({}, 0));
}

std::string Printed(ProgressMode mode) {
  FILE* err = tmpfile();
  Progress progress(mode, err);
  progress.set_total(2);
  progress.Update({1, 0, 0});
  progress.Finish({2, 0, 0});
  rewind(err);
  char text[512];
  const size_t len = fread(text, 1, sizeof text, err);
  fclose(err);
  return std::string(text, len);
}

TEST(Progress, OutsideATerminalOnlyAlwaysPrints) {
  EXPECT_EQ("", Printed(ProgressMode::kNever));
  EXPECT_EQ("", Printed(ProgressMode::kAuto));
  const std::string always = Printed(ProgressMode::kAlways);
  EXPECT_EQ(0u, always.find("1 of 2 files"));
  EXPECT_NE(std::string::npos, always.find("\n2 of 2 files"));
  EXPECT_EQ(std::string::npos, always.find('\x1b'));
}

}  // namespace
}  // namespace mdtorrent
