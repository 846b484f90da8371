// The setting that decides the unspecified socket address, for one test.
#pragma once

#include "core/net/sockaddr.h"

class UseIPv6 {
 public:
  explicit UseIPv6(bool value) : before_(core::SockAddr::_use_ipv6) { core::SockAddr::_use_ipv6 = value; }
  ~UseIPv6() { core::SockAddr::_use_ipv6 = before_; }
  UseIPv6(const UseIPv6&) = delete;
  UseIPv6& operator=(const UseIPv6&) = delete;

 private:
  bool before_;
};
