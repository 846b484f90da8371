#include "tools/mdtorrent/failure.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <system_error>

#include "tools/mdtorrent/output/escape.h"
#include "tools/mdtorrent/program_name.h"

namespace mdtorrent {
namespace {

Failure Unreadable(std::string reason) { return {Outcome::kUnreadable, std::move(reason)}; }

// A list with the line ends of another system gives every path one character too many. That one may
// be part of a name, so it is not taken off.
std::string CarriageReturnHint(const std::string& path) {
  if (!path.ends_with('\r')) {
    return {};
  }
  struct stat info;
  const bool exists = stat(path.substr(0, path.size() - 1).c_str(), &info) == 0;
  return exists ? "; it exists without the carriage return at the end of its name: take that off, as tr -d '\\r' does"
                : "; its name ends in a carriage return";
}

// What is wrong with the file at `path` by its type and size alone.
std::optional<Failure> RefusedUnopened(const std::string& path) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) {
    Failure failure = CannotOpen(errno);
    failure.reason += CarriageReturnHint(path);
    return failure;
  }
  if (S_ISDIR(info.st_mode)) {
    return Unreadable("not a regular file: it is a folder");
  }
  if (!S_ISREG(info.st_mode)) {
    return Unreadable("not a regular file");
  }
  if (info.st_size > kLargestFile) {
    return Unreadable("larger than 256 MiB");
  }
  return std::nullopt;
}

}  // namespace

Failure CannotOpen(int error) {
  return Unreadable("cannot open: " + std::error_code(error, std::generic_category()).message());
}

Failure Diagnose(const std::string& path) {
  if (path.find('\0') != std::string::npos) {
    return CannotOpen(ENOENT);  // no file name holds a zero byte
  }
  if (std::optional<Failure> failure = RefusedUnopened(path)) {
    return *failure;
  }
  // The file may have been replaced since it was looked at: by a pipe, for one.
  const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  if (fd < 0) {
    return CannotOpen(errno);
  }
  char byte;
  const bool readable = pread(fd, &byte, 1, 0) >= 0;
  const int error = errno;
  close(fd);
  if (!readable) {
    return Unreadable("cannot read: " + std::error_code(error, std::generic_category()).message());
  }
  return {Outcome::kUnusable, "not a usable torrent"};
}

std::string ComplaintLine(std::string_view path, std::string_view reason) {
  std::string line = ProgramName() + ": ";
  AppendPrintable(line, path);
  line += ": ";
  AppendPrintable(line, reason);
  return line + '\n';
}

void TellOutputError(FILE* complaints, int error) {
  if (error != EPIPE) {
    const std::string message = std::error_code(error, std::generic_category()).message();
    fprintf(complaints, "%s: cannot write the output: %s\n", ProgramName().c_str(), message.c_str());
  }
}

}  // namespace mdtorrent
