// Version texts. Safe to call from any thread.
#pragma once

#include "core/text/string.h"

namespace core {

// Orders two texts by their first difference: the byte of `a` minus the byte of `b`, both signed, where
// the end of a text counts as 0; 0 when the texts are equal.
//
// On purpose: numbers in the texts are not looked at, so that 1.10 orders before 1.9, and bytes from
// 0x80 on order before all others. Null reads as the empty text.
int CompareNumericalVersionStrings(const basic_string<char>& a, const basic_string<char>& b);

}  // namespace core
