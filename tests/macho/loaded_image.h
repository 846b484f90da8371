// An image that is ready to be called.
#pragma once

#include <string>

#include "tests/macho/image.h"
#include "tests/macho/resolver.h"

namespace macho {

// Loads the file at `path` for good, with its Objective-C contents if it has any, and runs its
// initialisers. Imports are asked of `resolve`. Throws a Refusal, which begins with the path, when that cannot be done.
Image& LoadForGood(const std::string& path, const Resolver& resolve = ResolveDarwin);

}  // namespace macho
