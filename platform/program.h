// What a program that uses Foundation asks of each system in its own way.
#pragma once

#include <string>

namespace platform {

// Gives the arguments and the environment the bytes that the caller of the program meant. Call at
// the start of main, before either is looked at.
void RestoreArguments();

// The path of the running program's file, free of links; empty when the system does not tell.
std::string ExecutablePath();

}  // namespace platform
