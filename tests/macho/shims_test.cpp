// The adapted functions of the C library, called as an image calls them.
#include "tests/macho/shims.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <locale.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>
#include <wchar.h>

#include <string>

#include "tests/macho/resolver.h"
#include "tests/support/scoped_locale.h"

namespace macho {
namespace {

template <class Function>
Function* System(const char* symbol) {
  void* address = ResolveDarwinLibraries("/usr/lib/libSystem.B.dylib", symbol);
  EXPECT_NE(address, nullptr) << symbol;
  return reinterpret_cast<Function*>(address);
}

TEST(MachOShims, ErrorNumbersThatDifferAreTranslated) {
  EXPECT_EQ(DarwinErrno(EILSEQ), 92);
  EXPECT_EQ(DarwinErrno(EAGAIN), 35);
  EXPECT_EQ(DarwinErrno(ENAMETOOLONG), 63);
  for (const int same : {EINTR, ENOENT, ENOMEM, EINVAL, ERANGE}) {
    EXPECT_EQ(DarwinErrno(same), same);
  }
}

TEST(MachOShims, NumberThatDoesNotFitSetsTheImagesErrorNumber) {
  for (const char* symbol : {"_strtol", "_strtoll", "_strtoul", "_strtoull"}) {
    auto* read_number = System<long long(const char*, char**, int)>(symbol);
    *ImageErrno() = 0;
    EXPECT_EQ(read_number("9223372036854775807", nullptr, 10), INT64_MAX) << symbol;
    EXPECT_EQ(*ImageErrno(), 0) << symbol;
    read_number("18446744073709551616", nullptr, 10);
    EXPECT_EQ(*ImageErrno(), ERANGE) << symbol;
  }
}

TEST(MachOShims, FileIsOpenedWithItsFlags) {
  auto* open_file = System<int(const char*, int, ...)>("_open");
  const int fd = open_file("/dev/null", 0x4 | 0x20000 | 0x1000000);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(fcntl(fd, F_GETFL) & O_NONBLOCK, O_NONBLOCK);
  EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
  EXPECT_EQ(System<int(int)>("_close")(fd), 0);
}

TEST(MachOShims, UnknownOpenFlagIsAnError) {
  *ImageErrno() = 0;
  EXPECT_EQ(System<int(const char*, int, ...)>("_open")("/dev/null", 0x200), -1);
  EXPECT_EQ(*ImageErrno(), EINVAL);
}

TEST(MachOShims, FileSizeAndKindLieWhereMacOSHasThem) {
  const int fd = open("/proc/self/exe", O_RDONLY);
  ASSERT_GE(fd, 0);
  unsigned char record[144 + 8];
  memset(record, 0xEE, sizeof record);
  EXPECT_EQ(System<int(int, void*)>("_fstat$INODE64")(fd, record), 0);
  int64_t size;
  memcpy(&size, record + 96, sizeof size);
  EXPECT_EQ(size, lseek(fd, 0, SEEK_END));
  EXPECT_EQ((record[4] | record[5] << 8) & 0170000, 0100000);
  EXPECT_EQ(record[144], 0xEE);
  close(fd);
}

TEST(MachOShims, StackLimitIsInMacOSTerms) {
  uint64_t limits[2] = {};
  auto* get = System<int(int, void*)>("_getrlimit");
  ASSERT_EQ(get(3, limits), 0);
  rlimit here;
  ASSERT_EQ(getrlimit(RLIMIT_STACK, &here), 0);
  EXPECT_EQ(limits[0], here.rlim_cur == RLIM_INFINITY ? uint64_t{INT64_MAX} : here.rlim_cur);
  EXPECT_EQ(get(1, limits), -1);
}

TEST(MachOShims, AddressFamiliesAreTranslated) {
  unsigned char address[16];
  EXPECT_EQ(System<int(int, const char*, void*)>("_inet_pton")(30, "::1", address), 1);
  EXPECT_EQ(address[15], 1);
  char text[46];
  EXPECT_STREQ(System<const char*(int, const void*, char*, unsigned)>("_inet_ntop")(30, address, text, sizeof text),
               "::1");
  EXPECT_EQ(System<int(int, const char*, void*)>("_inet_pton")(10, "::1", address), -1);
  EXPECT_EQ(*ImageErrno(), 47);
}

using Widen = size_t(wchar_t*, const char**, size_t, mbstate_t*);
using WidenSome = size_t(wchar_t*, const char**, size_t, size_t, mbstate_t*);
using Narrow = size_t(char*, const wchar_t**, size_t, mbstate_t*);

TEST(MachOShims, PlainLocaleTakesEveryByteForACharacter) {
  const ScopedLocale locale("C");
  const char* from = "a\xE9";
  wchar_t to[4] = {};
  mbstate_t state = {};
  EXPECT_EQ(System<Widen>("_mbsrtowcs")(to, &from, 4, &state), 2u);
  EXPECT_EQ(std::wstring(to), L"a\xE9");
  EXPECT_EQ(from, nullptr);

  const char* some = "abc";
  EXPECT_EQ(System<WidenSome>("_mbsnrtowcs")(to, &some, 2, 4, &state), 2u);
  EXPECT_STREQ(some, "c");

  const wchar_t* back = L"a\xE9";
  char bytes[4];
  EXPECT_EQ(System<Narrow>("_wcsrtombs")(bytes, &back, sizeof bytes, &state), 2u);
  EXPECT_STREQ(bytes, "a\xE9");
  const wchar_t* too_large = L"\x100";
  EXPECT_EQ(System<Narrow>("_wcsrtombs")(nullptr, &too_large, 0, &state), static_cast<size_t>(-1));
  EXPECT_EQ(*ImageErrno(), 92);
}

TEST(MachOShims, OtherLocalesConvertByTheirOwnRules) {
  const ScopedLocale locale("C.UTF-8");
  ASSERT_TRUE(locale.ok());
  const char* from = "\xE2\x82\xAC";
  wchar_t to[4] = {};
  mbstate_t state = {};
  EXPECT_EQ(System<Widen>("_mbsrtowcs")(to, &from, 4, &state), 1u);
  EXPECT_EQ(to[0], 0x20AC);
  const char* wrong = "\xFF";
  EXPECT_EQ(System<Widen>("_mbsrtowcs")(to, &wrong, 4, &state), static_cast<size_t>(-1));
  EXPECT_EQ(*ImageErrno(), 92);
}

TEST(MachOShims, ThreadDataIsKeptUnderItsKey) {
  unsigned long key = 0;
  int value = 0;
  ASSERT_EQ(System<int(unsigned long*, void (*)(void*))>("_pthread_key_create")(&key, nullptr), 0);
  EXPECT_EQ(System<void*(unsigned long)>("_pthread_getspecific")(key), nullptr);
  EXPECT_EQ(System<int(unsigned long, const void*)>("_pthread_setspecific")(key, &value), 0);
  EXPECT_EQ(System<void*(unsigned long)>("_pthread_getspecific")(key), &value);
}

TEST(MachOShimsDeathTest, LockThatWasNotSetUpStops) {
  long mutex[8] = {};
  EXPECT_DEATH(System<int(void*)>("_pthread_mutex_lock")(mutex), "uses a pthread_mutex_t that was not set up");
  mutex[0] = 0x32AAABA7;
  EXPECT_EQ(System<int(void*)>("_pthread_mutex_lock")(mutex), 0);
  EXPECT_EQ(System<int(void*)>("_pthread_mutex_unlock")(mutex), 0);
}

TEST(MachOShims, PatternIsRepeated) {
  char to[20] = {};
  System<void(void*, const void*, size_t)>("_memset_pattern16")(to, "0123456789abcdef", 19);
  EXPECT_STREQ(to, "0123456789abcdef012");
}

TEST(MachOShimsDeathTest, FailedAssertionPrintsAsOnMacOS) {
  EXPECT_DEATH(System<void(const char*, const char*, int, const char*)>("___assert_rtn")("f", "a/b", 7, "x"),
               "^Assertion failed: \\(x\\), function f, file a/b, line 7\\.\n$");
}

}  // namespace
}  // namespace macho
