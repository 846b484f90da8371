// The environment's time zone, set for one test and put back.
#pragma once

#include <stdlib.h>
#include <time.h>

#include <optional>
#include <string>

// Changes the environment alone: what converts times has to notice by itself.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* zone) {
    if (const char* old = getenv("TZ")) {
      saved_ = old;
    }
    setenv("TZ", zone, 1);
  }
  ~ScopedTimeZone() {
    if (saved_) {
      setenv("TZ", saved_->c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }
  ScopedTimeZone(const ScopedTimeZone&) = delete;
  ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

 private:
  std::optional<std::string> saved_;
};
