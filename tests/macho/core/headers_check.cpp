// The tests see of this system's headers what the library saw of the headers for macOS, in all that they
// hand to each other.
#include <inttypes.h>
#include <netinet/in.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <wchar.h>

#include <type_traits>

static_assert(std::is_same_v<int64_t, long long> && std::is_same_v<uint64_t, unsigned long long>);
static_assert(std::is_same_v<decltype(INT64_MAX), long long> && std::is_same_v<decltype(INT64_C(1)), long long>);
static_assert(std::is_same_v<decltype(UINT64_MAX), unsigned long long>);
static_assert(INT64_MIN < -INT64_MAX && UINT64_MAX == ~0ULL);
static_assert(std::is_same_v<size_t, unsigned long> && std::is_same_v<ptrdiff_t, long>);
static_assert(std::is_same_v<time_t, long> && std::is_same_v<uintptr_t, unsigned long>);
static_assert(sizeof(wchar_t) == 4 && std::is_signed_v<wchar_t> && std::is_signed_v<char>);
static_assert(sizeof(va_list) == 24 && sizeof(long double) == 16);

static_assert(AF_INET == 2 && AF_INET6 == 30);
static_assert(sizeof(sockaddr_storage) == 128 && offsetof(sockaddr_storage, ss_family) == 1);
static_assert(sizeof(sockaddr_in) == 16 && offsetof(sockaddr_in, sin_port) == 2 &&
              offsetof(sockaddr_in, sin_addr) == 4);
static_assert(sizeof(sockaddr_in6) == 28 && offsetof(sockaddr_in6, sin6_addr) == 8);
