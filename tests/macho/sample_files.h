// The small images that the tests of the loader load.
#pragma once

#include <string>
#include <vector>

#include "tests/macho/image.h"

namespace macho {

inline std::vector<uint8_t> Sample(const std::string& name) { return ReadFile(MACHO_SAMPLES "/" + name); }

// What `load` is refused for; "" when it is not.
template <class Load>
std::string RefusalOf(Load load) {
  try {
    load();
  } catch (const Refusal& refusal) {
    return refusal.what();
  }
  return "";
}

}  // namespace macho
