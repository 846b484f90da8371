// The Objective-C contents of an image, brought to life in this system's runtime.
#pragma once

#include <string>

#include "tests/macho/image.h"

namespace macho {

// Makes the image's classes and categories known to the runtime, and its selectors, class references and
// constant strings usable. Before Image::Protect, once per image: a class name exists once per process.
// Throws a Refusal at anything that is not supported, at a class that exists already, and where this
// runtime would lay an object out in another way than the image was compiled for.
void AttachObjectiveC(Image& image);

// The address of a class, or of a function or variable of the Objective-C runtime; null when there is none.
void* ResolveObjectiveC(const std::string& symbol);

}  // namespace macho
