// The texts that a value of the bencoding model stands for. Only as deep as the stack allows.
#pragma once

#include <string>

#include "tests/support/benc_model.h"

namespace benc_model {

// Bencoding, the keys in ascending order.
std::string Encode(const Value& value);

// The same with each key cut at its first zero byte; the entries keep their order.
std::string EncodeWithCutKeys(const Value& value);

// The listing: a line "path=value" for each integer and string.
std::string Listing(const Value& value);

}  // namespace benc_model
