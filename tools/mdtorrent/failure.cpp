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

// What is wrong with the file at `path` by its type and size alone.
std::optional<Failure> RefusedUnopened(const std::string& path) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) {
    return CannotOpen(errno);
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
  line.append(": ").append(reason).push_back('\n');
  return line;
}

void TellOutputError(FILE* complaints, int error) {
  if (error != EPIPE) {
    const std::string message = std::error_code(error, std::generic_category()).message();
    fprintf(complaints, "%s: cannot write the output: %s\n", ProgramName().c_str(), message.c_str());
  }
}

}  // namespace mdtorrent
