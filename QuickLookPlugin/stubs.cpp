// The host services that the core library expects and the importer has no use for.
#include "core/base/host.h"

// The two unavailable services stop in every build. Where the C library's assert prints the whole
// signature or only the last part of the file name, make it print the plain ones.
#undef NDEBUG
#include <assert.h>
#undef __ASSERT_FUNCTION
#define __ASSERT_FUNCTION __func__
#undef __ASSERT_FILE_NAME
#define __ASSERT_FILE_NAME __FILE__

namespace core {

void Logf(const char*, ...) {}

void WarnNoMemory(size_t) {}

// The source name and line numbers are part of the messages, so they are stated instead of derived
// from where the checks happen to stand. These functions stay last in the file.
wchar_t* GetCanonicalPath(const wchar_t*) {
#line 15 "QuickLookPlugin/stubs"
  assert(0);
}

bool LoadFile_Safe(const wchar_t*, bool (*)(unsigned char*, size_t, void*), void*) {
#line 22 "QuickLookPlugin/stubs"
  assert(0);
}

}  // namespace core
