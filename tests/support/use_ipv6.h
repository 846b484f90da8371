// The setting that decides the unspecified socket address, for one test.
#pragma once

#include "core/net/sockaddr.h"

class UseIPv6 {
 public:
  explicit UseIPv6(bool value) : before_(core::SockAddr::_use_ipv6) { Set(value); }
  ~UseIPv6() { Set(before_); }
  UseIPv6(const UseIPv6&) = delete;
  UseIPv6& operator=(const UseIPv6&) = delete;

  // Other threads may use socket addresses meanwhile.
  static void Set(bool value) { __atomic_store_n(&core::SockAddr::_use_ipv6, value, __ATOMIC_RELAXED); }

 private:
  bool before_;
};
