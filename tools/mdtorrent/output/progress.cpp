#include "tools/mdtorrent/output/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cmath>

namespace mdtorrent {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kFirstOnTerminal{500};
constexpr milliseconds kBetweenOnTerminal{100};
constexpr milliseconds kBetweenLines{1000};
constexpr size_t kUsualWidth = 80;

size_t TerminalWidth(FILE* file) {
  winsize size = {};
  return ioctl(fileno(file), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsualWidth;
}

std::string Whole(double value) { return std::to_string(std::llround(value)); }

// A duration in the unit in which it is best read.
std::string Duration(double seconds) {
  if (seconds < 120) {
    return Whole(seconds) + " s";
  }
  return seconds < 7200 ? Whole(seconds / 60) + " min" : Whole(seconds / 3600) + " h";
}

// With two decimals below ten seconds; a point in every locale.
std::string FineSeconds(double seconds) {
  char digits[32];
  const int decimals = seconds < 10 ? 2 : 1;
  const auto result = std::to_chars(digits, digits + sizeof digits, seconds, std::chars_format::fixed, decimals);
  return std::string(digits, result.ptr) + " s";
}

std::string FileCount(size_t count) { return std::to_string(count) + (count == 1 ? " file" : " files"); }

}  // namespace

void Counts::Add(Outcome outcome) {
  switch (outcome) {
    case Outcome::kImported:
      ++imported;
      break;
    case Outcome::kUnusable:
      ++unusable;
      break;
    case Outcome::kUnreadable:
      ++unreadable;
      break;
  }
}

std::string ProgressLine(const Counts& counts, std::optional<size_t> total, double seconds) {
  std::string line = total ? std::to_string(counts.files()) + " of " + FileCount(*total) : FileCount(counts.files());
  const size_t failed = counts.unusable + counts.unreadable;
  if (failed > 0) {
    line += ", " + std::to_string(failed) + " failed";
  }
  const double rate = seconds > 0 ? static_cast<double>(counts.files()) / seconds : 0;
  if (rate > 0) {
    line += ", " + Whole(rate) + "/s";
    if (total && *total > counts.files()) {
      line += ", " + Duration(static_cast<double>(*total - counts.files()) / rate) + " left";
    }
  }
  return line;
}

std::string SummaryLine(const Counts& counts, double seconds) {
  std::string line = FileCount(counts.files()) + ": " + std::to_string(counts.imported) + " imported";
  if (counts.unusable > 0) {
    line += ", " + std::to_string(counts.unusable) + " not usable";
  }
  if (counts.unreadable > 0) {
    line += ", " + std::to_string(counts.unreadable) + " unreadable";
  }
  return line + ", in " + FineSeconds(seconds);
}

Progress::Progress(ProgressMode mode, FILE* err)
    : mode_(mode),
      err_(err),
      in_place_(isatty(fileno(err)) != 0),
      may_show_(mode == ProgressMode::kAlways || (mode == ProgressMode::kAuto && in_place_)),
      start_(std::chrono::steady_clock::now()),
      due_(mode == ProgressMode::kAuto ? start_ + kFirstOnTerminal : start_) {}

double Progress::Elapsed() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void Progress::Show(const Counts& counts) {
  std::string line = ProgressLine(counts, total_, Elapsed());
  if (in_place_) {
    line.resize(std::min(line.size(), TerminalWidth(err_) - 1));
    line = "\r" + line + "\x1b[K";
  } else {
    line += '\n';
  }
  fputs(line.c_str(), err_);
  fflush(err_);
  visible_ = in_place_;
  erased_ = false;
}

void Progress::Update(const Counts& counts) {
  if (!may_show_) {
    return;
  }
  const auto now = std::chrono::steady_clock::now();
  if (erased_ || now >= due_) {
    Show(counts);
    due_ = now + (in_place_ ? kBetweenOnTerminal : kBetweenLines);
  }
}

void Progress::Erase() {
  if (visible_) {
    fputs("\r\x1b[K", err_);
    fflush(err_);
    visible_ = false;
    erased_ = true;
  }
}

void Progress::Finish(const Counts& counts) {
  if (mode_ == ProgressMode::kAlways) {
    Show(counts);
    if (in_place_) {
      fputc('\n', err_);
      visible_ = false;
    }
  }
  Erase();
}

}  // namespace mdtorrent
