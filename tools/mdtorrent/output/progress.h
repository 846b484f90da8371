// The line on standard error that tells how far a long run has come, and the one that sums it up.
#pragma once

#include <stddef.h>
#include <stdio.h>

#include <chrono>
#include <optional>
#include <string>

#include "tools/mdtorrent/failure.h"

namespace mdtorrent {

struct Counts {
  size_t imported = 0, unusable = 0, unreadable = 0;

  size_t files() const { return imported + unusable + unreadable; }
  void Add(Outcome outcome);
};

// "120 of 1000 files, 3 failed, 240/s, 4 s left"; without a total only what is known.
std::string ProgressLine(const Counts& counts, std::optional<size_t> total, double seconds);

// "1000 files: 997 imported, 2 not usable, 1 unreadable, in 4.2 s".
std::string SummaryLine(const Counts& counts, double seconds);

enum class ProgressMode { kAuto, kAlways, kNever };

// Shows the line: on a terminal in place, ten times a second; elsewhere as lines of their own, one a
// second. kAuto shows it on a terminal only and not in the first half second. The caller sees to it
// that only one thread at a time gets here.
class Progress {
 public:
  Progress(ProgressMode mode, FILE* err);

  // Whether Update can ever print something.
  bool may_show() const { return may_show_; }

  void set_total(std::optional<size_t> total) { total_ = total; }

  // Prints the line anew if it is time to, or if it was taken off the terminal.
  void Update(const Counts& counts);

  // Takes the line off the terminal until the next Update, so that other text can be printed there.
  void Erase();

  // Prints what is due at the end of the run and leaves the terminal clean.
  void Finish(const Counts& counts);

  // Seconds since this object was made.
  double Elapsed() const;

 private:
  void Show(const Counts& counts);

  ProgressMode mode_;
  FILE* err_;
  bool in_place_;
  bool may_show_;
  bool visible_ = false;
  bool erased_ = false;
  std::optional<size_t> total_;
  std::chrono::steady_clock::time_point start_;
  std::chrono::steady_clock::time_point due_;
};

}  // namespace mdtorrent
