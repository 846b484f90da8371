// Lets exceptions pass through the code of an image.
#pragma once

#include "tests/macho/image.h"

namespace macho {

// Registers every function of the image with this process's unwinder: its frame, and what it catches and
// cleans up. For good: the image must stay loaded. Throws a Refusal when a function has a frame of a
// kind that clang does not make for this platform.
void RegisterUnwinding(const Image& image);

}  // namespace macho
