// Death tests for fatal assertions.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>

#include <string>

// A shell that starts the tests in the background may have them ignore SIGINT; the processes that are to
// die of it must not.
inline const bool kSigintStops = ::signal(SIGINT, SIG_DFL) != SIG_ERR;

// Passes when `statement` stops the process by SIGINT after writing exactly the assertion line for
// `source` and `line` to standard error, and nothing else.
#define EXPECT_FATAL(statement, source, line) \
  EXPECT_EXIT(statement, ::testing::KilledBySignal(SIGINT), ::testing::Eq(FatalLine(source, line)))

// Passes when `statement` stops the process by SIGINT after writing a fatal assertion line whose
// number no caller relies on.
#define EXPECT_FATAL_ANY_LINE(statement, source)            \
  EXPECT_EXIT(statement, ::testing::KilledBySignal(SIGINT), \
              ::testing::ContainsRegex("^\nassert failed " source ":[0-9]+ \\(40000\\)\n$"))

inline std::string FatalLine(const char* source, int line) {
  return std::string("\nassert failed ") + source + ":" + std::to_string(line) + " (40000)\n";
}
