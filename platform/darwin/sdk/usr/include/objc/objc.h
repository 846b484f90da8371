#pragma once

#include <sys/types.h>

using Class = struct objc_class*;
using id = struct objc_object*;
using SEL = struct objc_selector*;

// A byte with a sign on Intel, a true boolean on Apple silicon.
#if __OBJC_BOOL_IS_BOOL
using BOOL = bool;
#else
using BOOL = signed char;
#endif

#define YES __objc_yes
#define NO __objc_no
#define nil nullptr
