#pragma once

#include <wchar.h>

extern "C" wint_t towlower(wint_t c);
