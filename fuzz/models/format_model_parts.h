// The model's directives: their options, and what each kind of argument becomes.
#pragma once

#include <stdint.h>

#include <vector>

#include "fuzz/models/format_model.h"

namespace format_model {

struct Directive {
  bool left = false, plus = false, space = false, alt = false, zero = false, fixed = false;
  bool upper = false, is_signed = false;
  int64_t width = -1;      // -1: none
  int64_t precision = -1;  // -1: none
};

void Number(Output& out, uint64_t value, unsigned base, const Directive& d);
void Double(Output& out, uint64_t bits, const Directive& d);
void Text(Output& out, std::vector<Cell> text, const Directive& d);
void UrlEncoded(Output& out, const std::vector<Cell>& bytes);
void Ip4(Output& out, uint32_t address, const Directive& d);
void Ip6(Output& out, const uint64_t (&halves)[2], const Directive& d);
void Address(Output& out, uint64_t pointer, bool with_port, const Directive& d);
void Hash(Output& out, uint64_t pointer, const Directive& d);
void Size(Output& out, uint64_t count, bool never_bytes, const Directive& d);

}  // namespace format_model
