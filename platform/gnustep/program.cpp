#include "platform/program.h"

#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>
#include <unistd.h>

// GNUstep copies all arguments and environment variables when it is loaded and makes string objects
// of them at its first use. It raises, and is of no use from then on, when the locale's encoding
// cannot hold one of them: a file name in other bytes is enough. So it is shown question marks in
// place of all bytes outside ASCII, from before it is loaded until main begins.
namespace {

struct HiddenText {
  HiddenText* next;
  char* place;
  char original[1];  // as long as the text, which ends in a zero byte
};

HiddenText* g_hidden = nullptr;

// This runs before any sanitizer is ready.
__attribute__((no_sanitize("address", "undefined", "thread"))) void Hide(char* text) {
  size_t len = 0;
  bool is_ascii = true;
  for (; text[len] != '\0'; ++len) {
    is_ascii = is_ascii && static_cast<signed char>(text[len]) >= 0;
  }
  auto* hidden = is_ascii ? nullptr : static_cast<HiddenText*>(malloc(sizeof(HiddenText) + len));
  if (!hidden) {
    return;
  }
  hidden->next = g_hidden;
  hidden->place = text;
  g_hidden = hidden;
  for (size_t i = 0; i <= len; ++i) {
    hidden->original[i] = text[i];
    if (static_cast<signed char>(text[i]) < 0) {
      text[i] = '?';
    }
  }
}

__attribute__((no_sanitize("address", "undefined", "thread"))) void HideAll(int, char** arguments, char** environment) {
  for (char** texts : {arguments, environment}) {
    for (; *texts; ++texts) {
      Hide(*texts);
    }
  }
}

// Functions in this section run before those of the libraries.
__attribute__((section(".preinit_array"), used)) void (*const g_hide)(int, char**, char**) = HideAll;

}  // namespace

namespace platform {

void RestoreArguments() {
  while (HiddenText* hidden = g_hidden) {
    memcpy(hidden->place, hidden->original, strlen(hidden->original));
    g_hidden = hidden->next;
    free(hidden);
  }
}

std::string ExecutablePath() {
  char path[PATH_MAX];
  const ssize_t len = readlink("/proc/self/exe", path, sizeof path);
  return len > 0 ? std::string(path, static_cast<size_t>(len)) : std::string();
}

}  // namespace platform
