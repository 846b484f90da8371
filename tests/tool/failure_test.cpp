#include "tools/mdtorrent/failure.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/temp_folder.h"

namespace mdtorrent {
namespace {

void ExpectDiagnosis(const std::string& path, Outcome outcome, const char* reason) {
  const Failure failure = Diagnose(path);
  EXPECT_EQ(outcome, failure.outcome);
  EXPECT_EQ(reason, failure.reason);
}

TEST(Failure, AReadableFileIsNoUsableTorrent) {
  const TempFolder folder;
  ExpectDiagnosis(folder.Write("x", "text"), Outcome::kUnusable, "not a usable torrent");
  ExpectDiagnosis(folder.Write("empty", ""), Outcome::kUnusable, "not a usable torrent");
}

TEST(Failure, WhatCannotBeFoundCannotBeOpened) {
  const TempFolder folder;
  const std::string file = folder.Write("file", "");
  std::filesystem::create_symlink("loop", folder.path() / "loop");
  ExpectDiagnosis(folder.path() / "missing", Outcome::kUnreadable, "cannot open: No such file or directory");
  ExpectDiagnosis("", Outcome::kUnreadable, "cannot open: No such file or directory");
  ExpectDiagnosis(file + "/x", Outcome::kUnreadable, "cannot open: Not a directory");
  ExpectDiagnosis(folder.path() / "loop", Outcome::kUnreadable, "cannot open: Too many levels of symbolic links");
  ExpectDiagnosis(std::string(70000, 'x'), Outcome::kUnreadable, "cannot open: File name too long");
}

TEST(Failure, APathIsNotCutAtAZeroByte) {
  const TempFolder folder;
  const std::string file = folder.Write("file", "");
  ExpectDiagnosis(file + std::string("\0x", 2), Outcome::kUnreadable, "cannot open: No such file or directory");
}

TEST(Failure, ACarriageReturnAtTheEndOfANameIsTold) {
  const TempFolder folder;
  const std::string file = folder.Write("file", "");
  ExpectDiagnosis(file + "\r", Outcome::kUnreadable,
                  "cannot open: No such file or directory; it exists without the carriage return at the end of its "
                  "name: take that off, as tr -d '\\r' does");
  ExpectDiagnosis(file + "x\r", Outcome::kUnreadable,
                  "cannot open: No such file or directory; its name ends in a carriage return");
  ExpectDiagnosis(folder.Write("other\r", ""), Outcome::kUnusable, "not a usable torrent");
}

TEST(Failure, OnlyRegularFilesAreRead) {
  const TempFolder folder;
  const std::string pipe = folder.path() / "pipe";
  ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
  ExpectDiagnosis(pipe, Outcome::kUnreadable, "not a regular file");
  ExpectDiagnosis("/dev/zero", Outcome::kUnreadable, "not a regular file");
  ExpectDiagnosis(folder.path(), Outcome::kUnreadable, "not a regular file: it is a folder");
}

TEST(Failure, FilesAreRefusedAboveTheLargestSizeOnly) {
  const TempFolder folder;
  const std::string file = folder.Write("large", "");
  for (const long long size : {kLargestFile - 1, kLargestFile}) {
    std::filesystem::resize_file(file, static_cast<uintmax_t>(size));
    ExpectDiagnosis(file, Outcome::kUnusable, "not a usable torrent");
  }
  std::filesystem::resize_file(file, static_cast<uintmax_t>(kLargestFile + 1));
  ExpectDiagnosis(file, Outcome::kUnreadable, "larger than 256 MiB");
}

TEST(Failure, ComplaintsDisarmTheName) {
  EXPECT_EQ("mdtorrent: a\\U001b[2J\\n\\xff: why\n", ComplaintLine("a\x1b[2J\n\xFF", "why"));
}

TEST(Failure, ComplaintsDisarmTheReason) {
  EXPECT_EQ("mdtorrent: a: b\\U001b[2J\\n\\xff\n", ComplaintLine("a", "b\x1b[2J\n\xFF"));
}

}  // namespace
}  // namespace mdtorrent
