// The code page that a torrent declares for its text.
#pragma once

#include "core/bencode/bencoding.h"

namespace reader {

// The code page named by the entry "encoding": its number when that is not 0, else what its text
// names (CodePageOfName), else 0.
// Requires: `root` is a dictionary.
int ReadCodePage(const core::BencodedDict& root);

// The number behind "Windows-" or "CP", or the code page of one of the known encoding names, in any
// case; 0 for other names. Numbers are read as atoi reads them: white space and a sign may come
// first, no digits are 0, and the low 32 bits count of what saturates at 64.
int CodePageOfName(const char* name);

}  // namespace reader
