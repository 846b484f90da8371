#include "tests/macho/fixups.h"

#include <string.h>

namespace macho {
namespace {

constexpr uint64_t kWordBytes = 8;
constexpr int64_t kAnyLibrary = 0;
constexpr int64_t kFlatLookup = -2;  // left to the loader at the link

[[noreturn]] void RefuseOpcode(const char* what, unsigned opcode) {
  throw Refusal(std::string(what) + " holds the opcode " + std::to_string(opcode) + ", which is not supported");
}

}  // namespace

void Fixups::Apply() {
  if (file_.chained) {
    return ApplyChained(*file_.chained);
  }
  RunRebasing(Cursor(file_.info->rebase, "the rebasing table"));
  RunBinding(Cursor(file_.info->bind, "the binding table"), Table::kOrdinary);
  RunBinding(Cursor(file_.info->weak_bind, "the weak binding table"), Table::kWeak);
  RunBinding(Cursor(file_.info->lazy_bind, "the lazy binding table"), Table::kLazy);
}

uint8_t* Fixups::Word(const Place& place) const {
  if (place.segment >= file_.segments.size()) {
    throw Refusal("a fixup in a segment that does not exist");
  }
  const Segment& segment = file_.segments[place.segment];
  if ((segment.protection & Segment::kWritable) == 0) {
    throw Refusal("a fixup in segment " + segment.name + ", which is not writable");
  }
  if (segment.size < kWordBytes || place.offset > segment.size - kWordBytes) {
    throw Refusal("a fixup outside segment " + segment.name);
  }
  return base_ + segment.address + place.offset;
}

// Some tables go backwards by a step that wraps; a place that ends up outside is refused at its use.
void Fixups::Advance(Place& place, uint64_t by) { place.offset += by; }

// A step that did not lead forward could be repeated without an end.
void Fixups::Rebase(Place& place, uint64_t count, uint64_t skip) {
  if (skip > UINT32_MAX) {
    throw Refusal("the rebasing table repeats a step backwards");
  }
  for (; count > 0; count--) {
    uint8_t* word = Word(place);
    uint64_t value;
    memcpy(&value, word, sizeof value);
    if (value >= file_.Size()) {
      throw Refusal("a pointer into the image leads outside it");
    }
    value += reinterpret_cast<uint64_t>(base_);
    memcpy(word, &value, sizeof value);
    Advance(place, kWordBytes + skip);
  }
}

void Fixups::RunRebasing(Cursor opcodes) {
  Place place;
  while (!opcodes.AtEnd()) {
    const auto byte = opcodes.Value<uint8_t>();
    const unsigned immediate = byte & 0x0F;
    switch (byte & 0xF0) {
      case 0x00:
        return;
      case 0x10:  // the kind: pointers alone
        if (immediate != 1) {
          RefuseOpcode(opcodes.what(), byte);
        }
        break;
      case 0x20:
        place = {immediate, opcodes.Unsigned()};
        break;
      case 0x30:
        Advance(place, opcodes.Unsigned());
        break;
      case 0x40:
        Advance(place, immediate * kWordBytes);
        break;
      case 0x50:
        Rebase(place, immediate, 0);
        break;
      case 0x60:
        Rebase(place, opcodes.Unsigned(), 0);
        break;
      case 0x70:
        Rebase(place, 1, 0);
        Advance(place, opcodes.Unsigned());
        break;
      case 0x80: {
        const uint64_t count = opcodes.Unsigned();
        Rebase(place, count, opcodes.Unsigned());
        break;
      }
      default:
        RefuseOpcode(opcodes.what(), byte);
    }
  }
}

uint64_t Fixups::Resolve(int64_t library, const std::string& symbol, bool optional) {
  std::string name;
  if (library > 0) {
    if (static_cast<uint64_t>(library) > file_.libraries.size()) {
      throw Refusal("import " + symbol + " is from a library that does not exist");
    }
    name = file_.libraries[static_cast<size_t>(library) - 1];
  } else if (library != kAnyLibrary && library != kFlatLookup) {
    throw Refusal("import " + symbol + " is from no library");
  }
  imports_.push_back({name, symbol});
  void* address = resolve_(name, symbol);
  if (!address && !optional) {
    throw Refusal("import " + symbol + " is not in " + (name.empty() ? "any library" : name));
  }
  return reinterpret_cast<uint64_t>(address);
}

void Fixups::Bind(Binding& binding, Table table, uint64_t count, uint64_t skip) {
  if (skip > UINT32_MAX && count > 1) {
    throw Refusal("the binding table repeats a step backwards");
  }
  if (binding.symbol.empty()) {
    throw Refusal("the binding table binds no symbol");
  }
  for (; count > 0; count--) {
    uint8_t* word = Word(binding.place);
    const int64_t library = table == Table::kWeak ? kAnyLibrary : binding.library;
    const uint64_t value = Resolve(library, binding.symbol, binding.optional) + static_cast<uint64_t>(binding.addend);
    memcpy(word, &value, sizeof value);
    Advance(binding.place, kWordBytes + skip);
  }
}

void Fixups::RunBinding(Cursor opcodes, Table table) {
  Binding binding;
  while (!opcodes.AtEnd()) {
    const auto byte = opcodes.Value<uint8_t>();
    const unsigned immediate = byte & 0x0F;
    switch (byte & 0xF0) {
      case 0x00:
        if (table != Table::kLazy) {
          return;
        }
        break;  // there it ends one entry
      case 0x10:
        binding.library = immediate;
        break;
      case 0x20:
        binding.library = static_cast<int64_t>(opcodes.Unsigned());
        break;
      case 0x30:
        binding.library = immediate == 0 ? kAnyLibrary : static_cast<int64_t>(immediate) - 16;
        break;
      case 0x40:
        binding.optional = (immediate & 1) != 0;
        binding.symbol = opcodes.Text();
        break;
      case 0x50:
        if (immediate != 1) {
          RefuseOpcode(opcodes.what(), byte);
        }
        break;
      case 0x60:
        binding.addend = opcodes.Signed();
        break;
      case 0x70:
        binding.place = {immediate, opcodes.Unsigned()};
        break;
      case 0x80:
        Advance(binding.place, opcodes.Unsigned());
        break;
      case 0x90:
        Bind(binding, table, 1, 0);
        break;
      case 0xA0:
        Bind(binding, table, 1, opcodes.Unsigned());
        break;
      case 0xB0:
        Bind(binding, table, 1, immediate * kWordBytes);
        break;
      case 0xC0: {
        const uint64_t count = opcodes.Unsigned();
        Bind(binding, table, count, opcodes.Unsigned());
        break;
      }
      default:
        RefuseOpcode(opcodes.what(), byte);
    }
  }
}

}  // namespace macho
