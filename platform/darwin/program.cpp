#include "platform/program.h"

#include <limits.h>
#include <mach-o/dyld.h>
#include <stdint.h>
#include <stdlib.h>

#include <vector>

namespace platform {

// Foundation leaves them alone here.
void RestoreArguments() {}

std::string ExecutablePath() {
  uint32_t size = 0;
  _NSGetExecutablePath(nullptr, &size);
  std::vector<char> path(size);
  char resolved[PATH_MAX];
  if (_NSGetExecutablePath(path.data(), &size) != 0 || !realpath(path.data(), resolved)) {
    return {};
  }
  return resolved;
}

}  // namespace platform
