// The C and C++ part of the binary interface: widths, layouts and values.
#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <netinet/in.h>
#include <pthread.h>
#include <signal.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>
#include <wchar.h>
#include <wctype.h>

#include <new>
#include <type_traits>
#include <utility>

// The stopping form of assert is checked in every build.
#undef NDEBUG
#include <assert.h>

namespace {

using std::is_same_v;

// Scalars. Those with two spellings of one width matter for overloads and mangled names.
static_assert(is_same_v<__WCHAR_TYPE__, int> && sizeof(wchar_t) == 4 && static_cast<wchar_t>(-1) < 0);
static_assert(is_same_v<wint_t, int> && is_same_v<wint_t, __WINT_TYPE__>);
static_assert(static_cast<char>(-1) < 0);
static_assert(is_same_v<int64_t, long long> && is_same_v<uint64_t, unsigned long long>);
static_assert(is_same_v<size_t, unsigned long> && is_same_v<ptrdiff_t, long> && is_same_v<ssize_t, long>);
static_assert(is_same_v<uintptr_t, unsigned long>);
static_assert(is_same_v<time_t, long>);
static_assert(is_same_v<off_t, int64_t>);
static_assert(is_same_v<mode_t, uint16_t> && is_same_v<nlink_t, uint16_t>);
static_assert(is_same_v<socklen_t, uint32_t> && is_same_v<sa_family_t, uint8_t>);
static_assert(is_same_v<pthread_key_t, unsigned long>);
static_assert(is_same_v<rlim_t, uint64_t>);
#ifdef __x86_64__
static_assert(sizeof(long double) == 16 && __LDBL_MANT_DIG__ == 64);
#else
static_assert(sizeof(long double) == 8 && __LDBL_MANT_DIG__ == 53);
#endif

// Records.
static_assert(sizeof(mbstate_t) == 128 && alignof(mbstate_t) == 8);
static_assert(sizeof(struct stat) == 144 && offsetof(struct stat, st_size) == 96);
static_assert(offsetof(struct stat, st_mode) == 4 && offsetof(struct stat, st_nlink) == 6);
static_assert(offsetof(struct stat, st_ino) == 8 && offsetof(struct stat, st_rdev) == 24);
static_assert(sizeof(struct timespec) == 16 && offsetof(struct timespec, tv_nsec) == 8);
static_assert(sizeof(struct tm) == 56 && offsetof(struct tm, tm_year) == 20);
static_assert(offsetof(struct tm, tm_yday) == 28 && offsetof(struct tm, tm_gmtoff) == 40);
static_assert(sizeof(struct rlimit) == 16 && offsetof(struct rlimit, rlim_max) == 8);
static_assert(sizeof(pthread_once_t) == 16 && sizeof(pthread_mutex_t) == 64);
static_assert(offsetof(struct sockaddr, sa_len) == 0 && offsetof(struct sockaddr, sa_family) == 1);
static_assert(sizeof(struct sockaddr) == 16);
static_assert(sizeof(sockaddr_storage) == 128 && alignof(sockaddr_storage) == 8);
static_assert(offsetof(sockaddr_storage, ss_len) == 0 && offsetof(sockaddr_storage, ss_family) == 1);
static_assert(sizeof(sockaddr_in) == 16 && offsetof(sockaddr_in, sin_family) == 1);
static_assert(offsetof(sockaddr_in, sin_port) == 2 && offsetof(sockaddr_in, sin_addr) == 4);
static_assert(sizeof(sockaddr_in6) == 28 && offsetof(sockaddr_in6, sin6_family) == 1);
static_assert(offsetof(sockaddr_in6, sin6_port) == 2 && offsetof(sockaddr_in6, sin6_addr) == 8);
static_assert(sizeof(in6_addr) == 16 && alignof(in6_addr) == 4);

// Values.
static_assert(EINTR == 4 && ENOMEM == 12 && EINVAL == 22 && ERANGE == 34 && EAGAIN == 35 && EILSEQ == 92);
static_assert(RLIMIT_STACK == 3 && RLIM_INFINITY == INT64_MAX);
static_assert(AF_UNSPEC == 0 && AF_INET == 2 && AF_INET6 == 30);
static_assert(INET_ADDRSTRLEN == 16 && INET6_ADDRSTRLEN == 46);
static_assert(SIGINT == 2 && SIGABRT == 6);
static_assert(PATH_MAX == 1024 && MB_LEN_MAX == 6);
static_assert(O_RDONLY == 0 && O_NONBLOCK == 0x4 && O_NOCTTY == 0x20000 && O_CLOEXEC == 0x1000000);
static_assert(S_ISREG(0100644) && !S_ISREG(0040755) && !S_ISREG(0010644));
static_assert(CLOCK_REALTIME == 0 && sizeof(clockid_t) == 4);
constexpr pthread_once_t kOnce = PTHREAD_ONCE_INIT;
static_assert(kOnce.__sig == 0x30B1BCBA);
constexpr pthread_mutex_t kMutex = PTHREAD_MUTEX_INITIALIZER;
static_assert(kMutex.__sig == 0x32AAABA7);

// Functions behind macros, and one that arm64 calls in another way when it is not declared variadic.
[[maybe_unused]] int* (*const kError)() = __error;
[[maybe_unused]] void (*const kAssert)(const char*, const char*, int, const char*) = __assert_rtn;
static_assert(is_same_v<decltype((__stderrp)), FILE*&>);
[[maybe_unused]] int (*const kOpen)(const char*, int, ...) = open;

// The C++ library.
static_assert(sizeof(std::destroying_delete_t) == 1 && sizeof(std::align_val_t) == sizeof(size_t));

}  // namespace
