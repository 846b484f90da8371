// What the emitter writes, as standard strings.
#pragma once

#include <gtest/gtest.h>
#include <stddef.h>
#include <stdint.h>

#include <string>
#include <string_view>

#include "core/base/mem1.h"
#include "core/bencode/bencemitter.h"
#include "core/bencode/bencoding.h"
#include "tests/support/benc_peek.h"

// Everything that `work` makes a new emitter write.
template <class Work>
std::string Emitted(Work work) {
  core::BencodedEmitter out;
  work(out);
  return std::string(reinterpret_cast<const char*>(out.data()), out.size());
}

inline std::string Bencoded(const core::BencEntity& v) {
  return Emitted([&](core::BencodedEmitter& out) { out.Emit(&v); });
}
inline std::string Listed(const core::BencEntity& v, const char* prefix = "") {
  return Emitted([&](core::BencodedEmitter& out) { out.EmitAsAscii(&v, prefix); });
}
inline std::string Xml(const core::BencEntity& v, const char* tag = "t", int indent = 0) {
  return Emitted([&](core::BencodedEmitter& out) { out.EmitAsXML(tag, &v, indent); });
}
inline std::string Json(const core::BencEntity& v) {
  return Emitted([&](core::BencodedEmitter& out) { out.EmitAsJson(&v, 0); });
}

// Frees a block that the library handed out and returns its `len` bytes.
inline std::string TakeBytes(void* block, size_t len) {
  std::string bytes(static_cast<const char*>(block), len);
  core::MyFree(block);
  return bytes;
}

// A value of its own, freed at the end of the scope.
struct OwnedValue : core::BencEntity {
  OwnedValue() = default;
  ~OwnedValue() { FreeMembers(); }
  OwnedValue(const OwnedValue&) = delete;
  OwnedValue& operator=(const OwnedValue&) = delete;
};
struct OwnedDict : core::BencodedDict {
  ~OwnedDict() { FreeMembers(); }
};
struct OwnedList : core::BencodedList {
  ~OwnedList() { FreeMembers(); }
};
struct OwnedString : core::BencEntityMem {
  explicit OwnedString(std::string_view bytes) {
    if (!bytes.empty()) {
      SetMem(bytes.data(), bytes.size());
    }
  }
  ~OwnedString() { FreeMembers(); }
};

// A string of that text, bencoded.
inline std::string BencodedText(std::string_view text) { return std::to_string(text.size()).append(":").append(text); }

inline std::string AllBytes() {
  std::string bytes;
  for (int i = 0; i < 256; ++i) {
    bytes += static_cast<char>(i);
  }
  return bytes;
}

// A list of one value of a kind that nothing frees.
struct Holding {
  explicit Holding(int kind, int64_t word = 0) {
    list.AppendInt(0);
    BencPeek::SetPlain(*list.Get(0), kind, word);
  }
  ~Holding() { BencPeek::SetPlain(*list.Get(0), core::BENC_NONE); }
  OwnedList list;
};

inline void MakeNothing(void*, size_t, core::BencEntity*) { FAIL() << "an element of a virtual list was asked for"; }
