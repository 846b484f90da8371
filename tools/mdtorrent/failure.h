// Why a file gave no attributes, as far as it can be told from outside: the importer itself only
// says no.
#pragma once

#include <stdio.h>

#include <string>
#include <string_view>

namespace mdtorrent {

enum class Outcome {
  kImported,
  kUnusable,    // a readable file, but not a torrent with which anything can be done
  kUnreadable,  // its content was not looked at
};

struct Failure {
  Outcome outcome;
  std::string reason;
};

// No importer is given a larger file to read into memory.
constexpr long long kLargestFile = 256LL << 20;

// A failure to open something, with the reason that the system gives for `error`.
Failure CannotOpen(int error);

// Finds out why the importer refused `path`. Never waits and never reads more than one byte.
Failure Diagnose(const std::string& path);

// The line for standard error about `path`.
std::string ComplaintLine(std::string_view path, std::string_view reason);

// Says that the output could not be written, unless its reader has gone away.
void TellOutputError(FILE* complaints, int error);

}  // namespace mdtorrent
