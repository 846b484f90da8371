// text_bench ROWS [OPTION...]: the formatter and text conversion against the C library's, on the same
// input. The rows only inform.
#include <benchmark/benchmark.h>
#include <locale.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/comparison.h"
#include "core/base/mem1.h"
#include "core/format/strfmt.h"
#include "core/text/DecodeEncodedString.h"
#include "core/text/nustr.h"

namespace {

constexpr char kFormat[] = "%s: %d pieces of %u bytes, %08x";
constexpr size_t kRoom = 128;

void OurFormat(char* buf) { core::nusnprintf(buf, kRoom, kFormat, "disk image.iso", -1234, 262144u, 0xBEEFu); }
void PeerFormat(char* buf) { snprintf(buf, kRoom, kFormat, "disk image.iso", -1234, 262144u, 0xBEEFu); }

void Format(benchmark::State& state, void (*format)(char*)) {
  char buf[kRoom];
  for (auto _ : state) {
    format(buf);
    benchmark::DoNotOptimize(buf);
  }
}

// A new text as either side makes it, with room for the longest result.
template <typename C>
struct Text {
  std::unique_ptr<C, void (*)(void*)> units;
  size_t count;

  std::basic_string_view<C> view() const { return {units.get(), count}; }
};

void FreeOurs(void* p) { core::MyFree(p); }

Text<wchar_t> OurWide(const std::string& text) {
  size_t count = 0;
  wchar_t* wide = core::DecodeEncodedString(core::kCodePageUtf8, text.data(), text.size(), &count);
  return {{wide, FreeOurs}, count};
}

Text<wchar_t> PeerWide(const std::string& text) {
  auto* wide = static_cast<wchar_t*>(malloc((text.size() + 1) * sizeof(wchar_t)));
  const char* source = text.data();
  mbstate_t state = {};
  return {{wide, free}, mbsnrtowcs(wide, &source, text.size(), text.size(), &state)};
}

Text<char> OurNarrow(const std::wstring& text) {
  size_t count = 0;
  char* narrow = core::wstr_to_utf8(text.c_str(), &count);
  return {{narrow, FreeOurs}, count};
}

Text<char> PeerNarrow(const std::wstring& text) {
  const size_t room = text.size() * 4;
  auto* narrow = static_cast<char*>(malloc(room + 1));
  const wchar_t* source = text.c_str();
  mbstate_t state = {};
  return {{narrow, free}, wcsnrtombs(narrow, &source, text.size(), room, &state)};
}

template <typename From, typename Convert>
void Repeat(benchmark::State& state, const From& text, Convert convert) {
  for (auto _ : state) {
    const auto converted = convert(text);
    benchmark::DoNotOptimize(converted.units.get());
  }
}

std::string Repeated(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) {
    all += text;
  }
  return all;
}

void Verify(bool holds, const char* what) {
  if (!holds) {
    throw std::runtime_error(std::string(what) + " differs from the C library's");
  }
}

class Suite {
 public:
  template <typename Ours, typename Peer>
  void Add(const std::string& what, Ours ours, Peer peer) {
    const std::string peer_name = what + ", C library";
    benchmark::RegisterBenchmark(what.c_str(), ours);
    benchmark::RegisterBenchmark(peer_name.c_str(), peer);
    claims_.push_back({what + " / C library", what, peer_name, bench::kNoLimit});
  }

  void AddText(const std::string& name, const std::string& text) {
    const std::wstring wide(PeerWide(text).view());
    Verify(OurWide(text).view() == wide, "UTF-8 to wide text");
    Verify(OurNarrow(wide).view() == PeerNarrow(wide).view(), "wide text to UTF-8");
    Add(
        "UTF-8 to wide, " + name, [text](benchmark::State& state) { Repeat(state, text, OurWide); },
        [text](benchmark::State& state) { Repeat(state, text, PeerWide); });
    Add(
        "wide to UTF-8, " + name, [wide](benchmark::State& state) { Repeat(state, wide, OurNarrow); },
        [wide](benchmark::State& state) { Repeat(state, wide, PeerNarrow); });
  }

  const std::vector<bench::Claim>& claims() const { return claims_; }

 private:
  std::vector<bench::Claim> claims_;
};

}  // namespace

int main(int argc, char** argv) try {
  if (argc < 2) {
    std::cerr << "Usage: text_bench ROWS [--benchmark_...]\n";
    return 2;
  }
  if (!setlocale(LC_ALL, "C.UTF-8")) {
    throw std::runtime_error("the locale C.UTF-8 is missing");
  }
  char ours[kRoom];
  char peer[kRoom];
  OurFormat(ours);
  PeerFormat(peer);
  Verify(strcmp(ours, peer) == 0, "formatted text");
  Suite suite;
  suite.Add(
      "format", [](benchmark::State& state) { Format(state, OurFormat); },
      [](benchmark::State& state) { Format(state, PeerFormat); });
  suite.AddText("file name", "000123 - river archive evening.flac");
  suite.AddText("64 kB ASCII", Repeated("Volume 01/0001 ", 4'000));
  suite.AddText("64 kB mixed", Repeated("Straße études 目录 ", 2'500));
  return bench::RunAndCompare(suite.claims(), argv[1], {argv + 2, argv + argc});
} catch (const std::exception& error) {
  std::cerr << "text_bench: " << error.what() << '\n';
  return 1;
}
