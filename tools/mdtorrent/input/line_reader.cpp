#include "tools/mdtorrent/input/line_reader.h"

#include <errno.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>

namespace mdtorrent {
namespace {

// Waits until `fd` has something to say; false when `stop_fd` speaks first.
bool WaitFor(int fd, int stop_fd) {
  pollfd both[] = {{fd, POLLIN, 0}, {stop_fd, POLLIN, 0}};
  while (poll(both, 2, -1) < 0 && errno == EINTR) {
  }
  return both[1].revents == 0;
}

}  // namespace

bool LineReader::Fill() {
  at_ = 0;
  block_.clear();
  ssize_t got = -1;
  do {
    if (!WaitFor(fd_, stop_fd_)) {
      return false;
    }
    block_.resize(kBlock);
    got = read(fd_, block_.data(), block_.size());
    block_.resize(got > 0 ? static_cast<size_t>(got) : 0);
  } while (got < 0 && (errno == EINTR || errno == EAGAIN));
  ended_ = got == 0;
  if (got < 0) {
    error_ = errno;
  }
  return got > 0;
}

void LineReader::TakeUpToSeparator(std::string& line, bool& complete) {
  const size_t end = block_.find(separator_, at_);
  complete = end != std::string::npos;
  const size_t stop = complete ? end : block_.size();
  const size_t room = kLongestKept - line.size();
  line.append(block_, at_, std::min(stop - at_, room));
  at_ = complete ? stop + 1 : stop;
}

bool LineReader::Next(std::string& line) {
  line.clear();
  while (at_ < block_.size() || Fill()) {
    bool complete = false;
    TakeUpToSeparator(line, complete);
    if (complete && !line.empty()) {
      return true;
    }
  }
  return ended_ && !line.empty();
}

}  // namespace mdtorrent
