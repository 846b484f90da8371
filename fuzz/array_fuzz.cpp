// Property: an array holds what a std::deque holds after the same operations, plain or as a double-ended queue,
// with the capacities and the start that its growth rules give; a joined text is made as told.
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

#include "core/base/mem1.h"
#include "core/containers/templates.h"
#include "fuzz/models/array_model.h"
#include "fuzz/support/fuzz_check.h"
#include "fuzz/support/fuzz_input.h"
#include "fuzz/support/no_leak.h"
#include "tests/support/exact_bytes.h"

namespace {

constexpr size_t kMostElements = 120;

size_t element_size;  // for the comparison, which is a plain function
bool EqualElements(const void* key, const void* element) { return memcmp(key, element, element_size) == 0; }

class Arrays {
 public:
  Arrays(FuzzInput& in, size_t elemsize) : in_(in), elemsize_(elemsize) { element_size = elemsize; }
  ~Arrays() { array_.Resize(0, elemsize_); }

  void PlainStep() {
    switch (in_.Between(0, 15)) {
      case 0:
        return Append();
      case 1:
        return AppendBlock();
      case 2:
        return AppendOwn();
      case 3:
        return Expand();
      case 4:
        return Insert();
      case 5:
        return MoveUpLast();
      case 6:
        return Remove();
      case 7:
        return Pop();
      case 8:
        return Resize();
      case 9:
        return Guarantee();
      case 10:
        return LookUp();
      case 11:
        return Assign();
      case 12:
        return Steal();
      case 13:
        return SetArray();
      case 14:
        return Swap();
      default:
        return Truncate();
    }
  }

  void QueueStep() {
    switch (in_.Between(0, 7)) {
      case 0:
      case 1:
        return PushBack();
      case 2:
      case 3:
        return PushFront();
      case 4:
        return Pop();
      case 5:
        return PopFront();
      case 6:
        return Repartition();
      default:
        return Compact();
    }
  }

  void Check() {
    Require(array_.capacity == model_.capacity, "the capacity follows the rules of growth");
    Require(array_.count == static_cast<ptrdiff_t>(model_.count()), "the counts are equal");
    Require((array_.data != nullptr) == (model_.capacity != 0), "there is a block when there are slots");
    Require(start_ == model_.start, "the run starts where it should");
    for (size_t i = 0; i < model_.count(); ++i) {
      const char* element = Slot(start_ + static_cast<ptrdiff_t>(i));
      Require(memcmp(element, model_.elements[i].data(), elemsize_) == 0, "the elements are equal");
    }
  }

 private:
  char* Slot(ptrdiff_t slot) const {
    return reinterpret_cast<char*>(array_.data) + slot * static_cast<ptrdiff_t>(elemsize_);
  }
  std::string At(ptrdiff_t slot) const { return std::string(Slot(slot), elemsize_); }
  ptrdiff_t Index(size_t limit) { return in_.Between(0, static_cast<int64_t>(limit)); }
  std::string Element() { return std::string(elemsize_, static_cast<char>('a' + in_.Between(0, 25))); }
  // The slot of the first of the last `n` elements.
  ptrdiff_t First(ptrdiff_t n) const { return static_cast<ptrdiff_t>(model_.count()) - n; }
  bool Full() const { return model_.count() >= kMostElements; }

  // The address that a call returned is that of `slot`.
  void Expect(const void* returned, ptrdiff_t slot) const {
    Require(returned == Slot(slot), "the slot's address is returned");
  }

  void Append() {
    if (Full()) {
      return;
    }
    const std::string element = Element();
    memcpy(array_.Append(elemsize_), element.data(), elemsize_);
    model_.GrowForOne();
    model_.elements.push_back(element);
  }
  void AppendBlock() {
    std::string block;
    const ptrdiff_t n = Full() ? 0 : Index(40);
    model_.GrowFor(static_cast<size_t>(n));
    for (ptrdiff_t i = 0; i < n; ++i) {
      model_.elements.push_back(Element());
      block += model_.elements.back();
    }
    const ExactBytes source(block);
    Expect(array_.Append(source.begin(), n, elemsize_), First(n));
  }
  // From the array itself, whose block may move.
  void AppendOwn() {
    const ptrdiff_t first = Index(model_.count());
    const ptrdiff_t n = Full() ? 0 : Index(model_.count() - static_cast<size_t>(first));
    model_.GrowFor(static_cast<size_t>(n));
    for (ptrdiff_t i = 0; i < n; ++i) {
      model_.elements.push_back(model_.elements[static_cast<size_t>(first + i)]);
    }
    const void* source = array_.data ? Slot(first) : nullptr;
    Expect(array_.Append(source, n, elemsize_), First(n));
  }
  void Expand() {
    const ptrdiff_t n = Full() ? 0 : Index(20);
    model_.GrowFor(static_cast<size_t>(n));
    const auto* slots = static_cast<char*>(array_.Expand(n, elemsize_));
    Expect(slots, array_.count - n);
    for (ptrdiff_t i = 0; i < n; ++i) {
      model_.elements.push_back(Element());
      memcpy(Slot(array_.count - n + i), model_.elements.back().data(), elemsize_);
    }
  }
  void Insert() {
    if (Full()) {
      return;
    }
    const ptrdiff_t index = Index(model_.count());
    const std::string element = Element();
    void* gap = array_.Insert(index, elemsize_);
    Expect(gap, index);
    Require(index == array_.count - 1 || At(index) == model_.elements[static_cast<size_t>(index)],
            "the gap keeps its bytes");
    memcpy(gap, element.data(), elemsize_);
    model_.GrowForOne();
    model_.elements.insert(model_.elements.begin() + index, element);
  }
  void MoveUpLast() {
    if (model_.elements.empty()) {
      return;
    }
    const size_t index = static_cast<size_t>(Index(model_.count() - 1));
    const bool moved = array_.MoveUpLast(static_cast<ptrdiff_t>(index), elemsize_);
    Require(moved == (index != model_.count() - 1), "the last one moves unless it is the one");
    model_.elements[index] = model_.elements.back();
    model_.elements.pop_back();
  }
  void Remove() {
    const ptrdiff_t index = Index(model_.count());
    const ptrdiff_t n = Index(model_.count() - static_cast<size_t>(index));
    array_.RemoveElements(index, n, elemsize_);
    model_.elements.erase(model_.elements.begin() + index, model_.elements.begin() + index + n);
  }
  void Pop() {
    if (!model_.elements.empty()) {
      array_.pop_back();
      model_.elements.pop_back();
    }
  }
  // Below the count it would leave elements without slots.
  void Resize() {
    const size_t n = in_.Flip() ? 0 : model_.count() + static_cast<size_t>(Index(40));
    array_.Resize(n, elemsize_);
    model_.Resize(n);
  }
  void Guarantee() {
    const size_t n = static_cast<size_t>(Index(200));
    array_.Guarantee(n, elemsize_);
    if (model_.capacity < n) {
      model_.Resize(n);
    }
  }
  void LookUp() {
    const std::string element = Element();
    const auto at = std::find(model_.elements.begin(), model_.elements.end(), element);
    const bool found = at != model_.elements.end();
    const ptrdiff_t index = at - model_.elements.begin();
    Require(array_.LookupElement(element.data(), elemsize_, EqualElements) == (found ? index : -1),
            "the lowest index is found");
    Require(!found || array_.LookupElementExist(element.data(), elemsize_, EqualElements) == index, "and found again");
  }
  void Assign() {
    core::LListRaw copy;
    copy.assign(array_, elemsize_);
    array_.assign(array_, elemsize_);
    Check();
    array_.Resize(0, elemsize_);
    array_.assign(copy, elemsize_);
    copy.Free();
    Require(copy.count == 0, "a freed array counts nothing");
    model_.capacity = model_.capacity == 0 ? 0 : std::max<size_t>(model_.capacity, 16);
  }
  void Steal() {
    if (in_.Between(0, 3) != 0) {
      return;
    }
    size_t count = 12345;
    core::MyFree(array_.StealArray(&count));
    Require(count == model_.count(), "the count goes with the block");
    model_ = {};
  }
  // The block goes and comes back with `bytes` of it live; what is left over is no element.
  void SetArray() {
    size_t count = 0;
    void* block = array_.StealArray(in_.Flip() ? &count : nullptr);
    const size_t bytes = model_.count() * elemsize_ + (model_.free_slots() != 0 ? elemsize_ - 1 : 0);
    array_.SetArray(block, bytes, elemsize_);
    model_.capacity = model_.count();
    if (model_.capacity == 0) {
      core::MyFree(array_.StealArray(nullptr));
    }
  }
  void Swap() {
    core::LListRaw other;
    other.Swap(array_);
    Require(array_.count == 0 && array_.capacity == 0 && !array_.data, "what was empty comes over");
    array_.Swap(other);
  }
  void Truncate() {
    const ptrdiff_t n = Index(model_.count());
    array_.SetCount(n);
    model_.elements.resize(static_cast<size_t>(n));
  }

  void PushBack() {
    if (Full()) {
      return;
    }
    const std::string element = Element();
    model_.PushBack(element);
    void* slot = array_.LDpush_back(elemsize_, start_);
    Expect(slot, start_ + array_.count - 1);
    memcpy(slot, element.data(), elemsize_);
  }
  // An empty block of one slot takes no push at the front, by the rules.
  void PushFront() {
    if (Full() || (model_.capacity == 1 && model_.elements.empty())) {
      return;
    }
    const std::string element = Element();
    model_.PushFront(element);
    void* slot = array_.LDpush_front(elemsize_, start_);
    Expect(slot, start_);
    memcpy(slot, element.data(), elemsize_);
  }
  void PopFront() {
    if (!model_.elements.empty()) {
      array_.SetCount(array_.count - 1);
      model_.start = ++start_;
      model_.elements.pop_front();
    }
  }
  void Repartition() {
    const bool toward_front = in_.Flip();
    if (model_.CanRepartition(toward_front)) {
      array_.LDRepartition(elemsize_, start_, toward_front);
      model_.Repartition(toward_front);
    }
  }
  void Compact() {
    array_.LDCompact(elemsize_, start_);
    model_.Compact();
  }

  FuzzInput& in_;
  size_t elemsize_;
  core::LListRaw array_;
  ptrdiff_t start_ = 0;
  ArrayModel model_;
};

// What the joined elements are, and the room that each is given.
struct Joined {
  std::vector<std::string> texts;
  std::vector<int> rooms;
} joined;

int WriteText(char* dst, int room, const void* element) {
  const size_t i = *static_cast<const unsigned char*>(element);
  joined.rooms.push_back(room);
  const std::string& text = joined.texts[i];
  text.copy(dst, text.size());
  dst[text.size()] = '\0';
  return static_cast<int>(text.size());
}

std::string UrlEncoded(const std::string& text) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
                       memchr("-_.~", byte, 4) != nullptr;
    encoded += plain ? std::string(1, c) : std::string{'%', kDigits[byte / 16], kDigits[byte % 16]};
  }
  return encoded;
}

// Each text fills up to the whole room that is left for it.
void CheckJoin(FuzzInput& in) {
  const bool encode = in.Flip();
  std::string prefix(static_cast<size_t>(in.Between(0, 3) == 0 ? in.Between(0, 5000) : in.Between(0, 9)), 'p');
  joined = {};
  core::LList<unsigned char> array;
  std::vector<int> rooms;
  std::string all;
  int room = static_cast<int>(prefix.size()) + 1022;
  const int count = static_cast<int>(in.Between(0, 20));
  for (int i = 0; i < count; ++i) {
    const int wanted = static_cast<int>(in.Flip() ? room - in.Between(0, 12) : in.Between(0, 40));
    joined.texts.emplace_back(static_cast<size_t>(std::clamp(wanted, 0, room)),
                              static_cast<char>(' ' + in.Between(0, 200)));
    array.push_back(static_cast<unsigned char>(i));
    rooms.push_back(room);
    const int written = static_cast<int>(joined.texts.back().size());
    room += (written > room - 10 ? 1024 : 0) - written - (i + 1 < count ? 1 : 0);
    all += joined.texts.back() + (i + 1 < count ? "," : "");
  }
  char* text = array.AsStringNoCheck(prefix.c_str(), encode, 1, WriteText);
  Require(joined.rooms == rooms, "each element is given the room that is left");
  Require(text == prefix + (encode ? UrlEncoded(all) : all), "the texts are joined behind the prefix");
  core::MyFree(text);
  array.Free();
  joined = {};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const NoLeak no_leak;
  FuzzInput in(data, size);
  const int64_t kind = in.Between(0, 7);
  if (kind == 0) {
    CheckJoin(in);
    return 0;
  }
  Arrays arrays(in, static_cast<size_t>(in.Between(1, 24)));
  for (int step = 0; step < 150 && !in.Empty(); ++step) {
    kind < 5 ? arrays.PlainStep() : arrays.QueueStep();
    arrays.Check();
  }
  return 0;
}
