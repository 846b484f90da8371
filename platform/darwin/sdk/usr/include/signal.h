#pragma once

#define SIGINT 2
#define SIGABRT 6

extern "C" int raise(int signal);
