// What a fuzz target says when the property it checks does not hold.
#pragma once

#include <stdio.h>
#include <stdlib.h>

// Ends the process with one line unless `holds`; the fuzzer keeps the input that led here.
inline void Require(bool holds, const char* property) {
  if (!holds) {
    fprintf(stderr, "\nproperty broken: %s\n", property);
    abort();
  }
}
