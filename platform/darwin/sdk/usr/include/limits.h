// The compiler's own header has the limits of the integers and includes this one.
#pragma once

#define PATH_MAX 1024
#undef MB_LEN_MAX
#define MB_LEN_MAX 6
