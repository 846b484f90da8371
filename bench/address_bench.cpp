// address_bench ROWS [OPTION...]: reading and printing socket addresses against the platform's
// inet_pton and inet_ntop, on the same addresses. The rows for printing only inform.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <stdio.h>
#include <string.h>

#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/comparison.h"
#include "core/format/strfmt.h"
#include "core/net/sockaddr.h"

namespace {

constexpr size_t kRoom = 64;
constexpr double kReadLimit = 1.2;

// An endpoint's text, and that of its address alone, which is all that the platform reads.
struct Endpoint {
  std::string text;
  std::string address;
  int family;
};

void OurRead(benchmark::State& state, const Endpoint& endpoint) {
  const char* text = endpoint.text.c_str();
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    bool ok;
    const core::SockAddr addr = core::SockAddr::parse_addr(text, &ok);
    benchmark::DoNotOptimize(&addr);
    benchmark::DoNotOptimize(ok);
    benchmark::ClobberMemory();
  }
}

void PeerRead(benchmark::State& state, const Endpoint& endpoint) {
  const char* text = endpoint.address.c_str();
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    in6_addr address;
    const int ok = inet_pton(endpoint.family, text, &address);
    benchmark::DoNotOptimize(&address);
    benchmark::DoNotOptimize(ok);
    benchmark::ClobberMemory();
  }
}

void OurPrint(char* buf, const core::SockAddr& addr, bool with_port) {
  core::nusnprintf(buf, kRoom, with_port ? "%A" : "%a", &addr);
}

void PeerPrint(char* buf, const core::SockAddr& addr, bool with_port) {
  char text[INET6_ADDRSTRLEN];
  const bool v4 = addr.family == AF_INET;
  inet_ntop(addr.family, v4 ? addr.address.s6_addr + 12 : addr.address.s6_addr, text, sizeof text);
  if (!with_port) {
    snprintf(buf, kRoom, "%s", text);
  } else {
    snprintf(buf, kRoom, v4 ? "%s:%u" : "[%s]:%u", text, unsigned{addr.port});
  }
}

using Print = void (*)(char*, const core::SockAddr&, bool);

void Repeat(benchmark::State& state, Print print, const core::SockAddr& addr, bool with_port) {
  char buf[kRoom];
  for (auto _ : state) {
    print(buf, addr, with_port);
    benchmark::DoNotOptimize(buf);
    benchmark::ClobberMemory();
  }
}

void Verify(bool holds, const std::string& what) {
  if (!holds) {
    throw std::runtime_error(what + " differs from the platform's");
  }
}

// Reads the endpoint and compares the address with what the platform reads.
core::SockAddr Verified(const Endpoint& endpoint) {
  bool ok;
  const core::SockAddr addr = core::SockAddr::parse_addr(endpoint.text.c_str(), &ok);
  in6_addr peer;
  Verify(ok && addr.family == endpoint.family && inet_pton(endpoint.family, endpoint.address.c_str(), &peer) == 1,
         endpoint.text);
  const bool v4 = endpoint.family == AF_INET;
  Verify(memcmp(addr.address.s6_addr + (v4 ? 12 : 0), &peer, v4 ? 4 : 16) == 0, endpoint.text);
  return addr;
}

class Suite {
 public:
  template <typename Ours, typename Peer>
  void Add(const std::string& what, double limit, Ours ours, Peer peer) {
    const std::string peer_name = what + ", platform";
    benchmark::RegisterBenchmark(what.c_str(), ours);
    benchmark::RegisterBenchmark(peer_name.c_str(), peer);
    claims_.push_back({what + " / platform", what, peer_name, limit});
  }

  void AddRead(const Endpoint& endpoint, double limit) {
    Verified(endpoint);
    Add(
        "read " + endpoint.text, limit, [endpoint](benchmark::State& state) { OurRead(state, endpoint); },
        [endpoint](benchmark::State& state) { PeerRead(state, endpoint); });
  }

  void AddPrint(const Endpoint& endpoint, bool with_port) {
    const core::SockAddr addr = Verified(endpoint);
    char ours[kRoom];
    char peer[kRoom];
    OurPrint(ours, addr, with_port);
    PeerPrint(peer, addr, with_port);
    Verify(strcmp(ours, peer) == 0, endpoint.text);
    Add(
        std::string("print ") + ours, bench::kNoLimit,
        [addr, with_port](benchmark::State& state) { Repeat(state, OurPrint, addr, with_port); },
        [addr, with_port](benchmark::State& state) { Repeat(state, PeerPrint, addr, with_port); });
  }

  const std::vector<bench::Claim>& claims() const { return claims_; }

 private:
  std::vector<bench::Claim> claims_;
};

}  // namespace

int main(int argc, char** argv) try {
  if (argc < 2) {
    std::cerr << "Usage: address_bench ROWS [--benchmark_...]\n";
    return 2;
  }
  const Endpoint shortest = {"1.2.3.4:6881", "1.2.3.4", AF_INET};
  const Endpoint longest = {"203.113.200.251:51413", "203.113.200.251", AF_INET};
  const Endpoint without_port = {"203.113.200.251", "203.113.200.251", AF_INET};
  const Endpoint v6 = {"[2001:db8:85a3::8a2e:370:7334]:6881", "2001:db8:85a3::8a2e:370:7334", AF_INET6};
  Suite suite;
  suite.AddRead(shortest, kReadLimit);
  suite.AddRead(longest, kReadLimit);
  suite.AddRead(without_port, kReadLimit);
  suite.AddRead(v6, bench::kNoLimit);
  for (const bool with_port : {false, true}) {
    suite.AddPrint(shortest, with_port);
    suite.AddPrint(longest, with_port);
    suite.AddPrint(v6, with_port);
  }
  return bench::RunAndCompare(suite.claims(), argv[1], {argv + 2, argv + argc});
} catch (const std::exception& error) {
  std::cerr << "address_bench: " << error.what() << '\n';
  return 1;
}
