#include "tests/macho/resolver.h"

#include <string_view>

#include "tests/macho/shims.h"

namespace macho {
namespace {

using Shims = std::span<const Shim> (*)();

struct Offer {
  std::string_view library;
  Shims shims;
};

constexpr std::string_view kSystem = "/usr/lib/libSystem.B.dylib";
constexpr std::string_view kCxx = "/usr/lib/libc++.1.dylib";

constexpr Offer kOffers[] = {
    {kSystem, PlainShims},  {kSystem, FileShims},  {kSystem, LocaleShims}, {kSystem, MemoryShims},
    {kSystem, ThreadShims}, {kCxx, OperatorShims}, {kCxx, CxxShims},
};

}  // namespace

void* ResolveDarwinLibraries(const std::string& library, const std::string& symbol) {
  for (const Offer& offer : kOffers) {
    if (!library.empty() && library != offer.library) {
      continue;
    }
    for (const Shim& shim : offer.shims()) {
      if (symbol == shim.symbol) {
        return shim.address;
      }
    }
  }
  return nullptr;
}

}  // namespace macho
