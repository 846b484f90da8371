#include "bench/process.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <system_error>

namespace bench {
namespace {

constexpr int kNotStarted = 127;

[[noreturn]] void Become(char* const* argv, const char* output) {
  const int out = open(output, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (out >= 0 && dup2(out, STDOUT_FILENO) >= 0 && dup2(out, STDERR_FILENO) >= 0) {
    execvp(argv[0], argv);
  }
  _exit(kNotStarted);
}

}  // namespace

Usage& Usage::operator+=(const Usage& other) {
  milliseconds += other.milliseconds;
  peak_bytes = std::max(peak_bytes, other.peak_bytes);
  status = std::max(status, other.status);
  return *this;
}

Usage Run(const std::vector<std::string>& arguments, const std::string& output) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  const auto begin = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    Become(argv.data(), output.c_str());
  }
  int status = 0;
  struct rusage usage = {};
  if (child < 0 || wait4(child, &status, 0, &usage) != child) {
    throw std::system_error(errno, std::generic_category(), arguments[0]);
  }
  const auto end = std::chrono::steady_clock::now();
  return {std::chrono::duration<double, std::milli>(end - begin).count(), usage.ru_maxrss * 1024,
          WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status)};
}

}  // namespace bench
