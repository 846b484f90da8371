// Property: sorting makes the sorted permutation by the comparisons that a model makes, also with a comparison
// that lies; a search finds what a scan finds; the random generator gives what an endless sequence gives.
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <bit>
#include <string>
#include <vector>

#include "core/util/util_random.h"
#include "core/util/util_sort.h"
#include "fuzz/support/fuzz_check.h"
#include "fuzz/support/fuzz_input.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/random_model.h"
#include "tests/support/sort_model.h"

namespace {

int KeyAt(const void* record) { return *static_cast<const unsigned char*>(record); }

int CompareKeys(const void* a, const void* b) { return KeyAt(a) - KeyAt(b); }

// Records of a key and `width` - 1 bytes that belong to it.
std::string Records(const std::vector<int>& keys, size_t width) {
  std::string records;
  for (const int key : keys) {
    for (size_t i = 0; i < width; ++i) {
      records.push_back(static_cast<char>(i == 0 ? key : key * 3 + static_cast<int>(i)));
    }
  }
  return records;
}

void CheckSort(const std::vector<int>& keys, size_t width, bool lies) {
  const auto order = [lies](int a, int b) { return lies ? (a * 7 + b * 3) % 3 - 1 : sort_model::Honest(a, b); };
  std::vector<int> sorted = keys;
  const sort_model::Trace trace = sort_model::Sort(sorted, order);

  ExactBytes records(Records(keys, width));
  sort_model::Checked compare(records.data(), keys.size(), width,
                              [&order](const void* a, const void* b) { return order(KeyAt(a), KeyAt(b)); });
  compare.KeepTrace();
  core::QuickSort(records.data(), static_cast<uint32_t>(keys.size()), static_cast<uint32_t>(width), compare);
  Require(compare.strays() == 0, "only records of the array are compared");
  Require(records.view() == Records(sorted, width), "the records are the model's, whole");
  Require(compare.trace() == trace, "the comparisons are the model's");
  if (lies) {
    std::vector<int> before = keys;
    std::sort(before.begin(), before.end());
    std::sort(sorted.begin(), sorted.end());
    Require(sorted == before, "no record is lost");
    return;
  }
  Require(std::is_sorted(sorted.begin(), sorted.end()), "the order is ascending");

  ExactBytes plain(Records(keys, width));
  core::QuickSort(plain.data(), static_cast<uint32_t>(keys.size()), static_cast<uint32_t>(width), CompareKeys);
  Require(plain.view() == records.view(), "a plain comparison sorts alike");
}

int compared;  // by CompareToKey, a plain function
int CompareToKey(const void* record, uint32_t key) {
  ++compared;
  return KeyAt(record) < static_cast<int>(key) ? -5 : KeyAt(record) > static_cast<int>(key);
}

void CheckSearch(std::vector<int> keys, size_t width, int key) {
  std::sort(keys.begin(), keys.end());
  const ExactBytes records(Records(keys, width));
  int32_t place = 0;
  while (place < static_cast<int32_t>(keys.size()) && keys[static_cast<size_t>(place)] < key) {
    ++place;
  }
  const bool found = std::find(keys.begin(), keys.end(), key) != keys.end();
  compared = 0;
  const int32_t index = core::qfind(records.begin(), static_cast<uint32_t>(keys.size()), static_cast<uint32_t>(width),
                                    static_cast<uint32_t>(key), CompareToKey);
  Require(index == (found ? place : -place - 1), "the search finds what a scan finds");
  Require(compared <= static_cast<int>(std::bit_width(keys.size())) + 1, "each comparison halves what is left");
}

void CheckRandom(FuzzInput& in) {
  std::vector<uint32_t> key(static_cast<size_t>(in.Between(1, 20)));
  for (uint32_t& word : key) {
    word = in.Number<uint32_t>();
  }
  const bool whole_key = in.Flip();
  random_model::Model model = whole_key ? random_model::Model(key) : random_model::Model(key[0]);
  whole_key ? core::seedMT(key.data(), static_cast<int>(key.size())) : core::seedMT(key[0]);
  const size_t count = static_cast<size_t>(in.Between(0, 1300));
  Require(random_model::Draw(count) == model.Draw(count), "the generator gives the sequence");

  const size_t len = static_cast<size_t>(in.Between(0, 90));
  std::string bytes;
  while (bytes.size() < len) {
    const uint32_t value = model.Draw();
    for (int shift = 0; shift < 64 && bytes.size() < len; shift += 8) {
      bytes.push_back(static_cast<char>(shift < 32 ? value >> shift : 0));
    }
  }
  ExactBytes filled(std::string(len, '\xA5'));
  core::add_entropy();
  core::urandom(filled.data(), len);
  Require(filled.view() == bytes, "a buffer is filled with values and zeros in turn");
  Require(core::randomMT() == model.Draw(), "as many values are drawn as are needed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  if (in.Between(0, 3) == 0) {
    CheckRandom(in);
    return 0;
  }
  const size_t width = static_cast<size_t>(in.Between(1, 20));
  const int key = in.Number<uint8_t>();
  const bool lies = in.Between(0, 7) == 0;
  const int keys_apart = static_cast<int>(in.Between(1, 255));
  std::vector<int> keys;
  for (const char byte : in.Bytes(160)) {
    keys.push_back(static_cast<unsigned char>(byte) % keys_apart);
  }
  CheckSort(keys, width, lies);
  CheckSearch(keys, width, key);
  return 0;
}
