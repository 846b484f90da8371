// Runs a program and measures the whole process.
#pragma once

#include <string>
#include <vector>

namespace bench {

struct Usage {
  double milliseconds = 0;  // wall time
  long peak_bytes = 0;      // the highest resident size of any one process
  int status = 0;           // as a shell has it

  Usage& operator+=(const Usage& other);
};

// Runs `arguments`, the first of which is looked up in PATH, with what it prints, errors too, sent to
// the file `output`, and waits for it. Throws when no process can be had.
//
// The measuring process's own size is part of the peak, as a fork begins with it: keep it small.
Usage Run(const std::vector<std::string>& arguments, const std::string& output = "/dev/null");

}  // namespace bench
