// Reads the paths that another program writes to our standard input.
#pragma once

#include <stddef.h>

#include <string>

namespace mdtorrent {

class LineReader {
 public:
  // Reads from `fd` up to each `separator`. Gives up when `stop_fd`, which may be -1, becomes
  // readable while it waits. Neither descriptor is closed.
  LineReader(int fd, char separator, int stop_fd) : fd_(fd), separator_(separator), stop_fd_(stop_fd) {}

  // Stores the next line that is not empty, without its separator; false at the end of the input.
  // The last line needs no separator, but what was read of a line when the wait was given up or an error
  // came is no line. Of a line longer than any path only the start is kept.
  bool Next(std::string& line);

  // The error that ended the input early; 0 when it ended as it should.
  int error() const { return error_; }

 private:
  static constexpr size_t kBlock = size_t{64} << 10;
  static constexpr size_t kLongestKept = size_t{64} << 10;

  bool Fill();
  void TakeUpToSeparator(std::string& line, bool& complete);

  int fd_;
  char separator_;
  int stop_fd_;
  int error_ = 0;
  bool ended_ = false;  // whether the input has come to its end
  std::string block_;
  size_t at_ = 0;
};

}  // namespace mdtorrent
