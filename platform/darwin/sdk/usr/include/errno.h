#pragma once

#define EINTR 4
#define ENOMEM 12
#define EINVAL 22
#define ERANGE 34
#define EAGAIN 35
#define EILSEQ 92

extern "C" int* __error();
#define errno (*__error())
