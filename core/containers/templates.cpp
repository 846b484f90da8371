#include "core/containers/templates.h"

#include <pthread.h>
#include <string.h>
#include <sys/resource.h>

#include <utility>

#include "core/base/mem1.h"

namespace core {
namespace {

constexpr char kSource[] = "core/templates";
constexpr size_t kMinSlots = 16;

pthread_once_t stack_size_once = PTHREAD_ONCE_INIT;
size_t max_stack_size = 500000;

// "Unlimited" is RLIM_INFINITY, which some platforms spell as the largest signed value; that value is
// no budget anywhere.
void ReadStackLimit() {
  struct rlimit limit;
  if (getrlimit(RLIMIT_STACK, &limit) != 0 || limit.rlim_cur == 0 || limit.rlim_cur == RLIM_INFINITY ||
      limit.rlim_cur == static_cast<rlim_t>(INT64_MAX)) {
    return;
  }
  max_stack_size = static_cast<size_t>(limit.rlim_cur);
}

size_t Larger(size_t a, size_t b) { return a > b ? a : b; }

// The bytes of `n` elements. A product that does not fit becomes a size that the allocator stops at,
// never a short block.
size_t BytesOf(size_t n, size_t elemsize) {
  size_t bytes;
  return __builtin_mul_overflow(n, elemsize, &bytes) ? SIZE_MAX : bytes;
}

size_t Doubled(size_t capacity) { return BytesOf(capacity, 2); }

// Copies `bytes` bytes, overlapping or not; none may come with null pointers.
void MoveBytes(void* dst, const void* src, size_t bytes) {
  if (bytes != 0) {
    memmove(dst, src, bytes);
  }
}

}  // namespace

size_t GetMaxStackSize() {
  pthread_once(&stack_size_once, ReadStackLimit);
  return max_stack_size;
}

void LListRaw::Resize(size_t n, size_t elemsize) {
  if (n == 0) {
    MyFree(data);
    data = nullptr;
    capacity = 0;
    count = 0;
    return;
  }
  capacity = Larger(n, kMinSlots);
  data = static_cast<unsigned char*>(MyRealloc(data, BytesOf(capacity, elemsize)));
}

void LListRaw::Guarantee(size_t n, size_t elemsize) {
  if (capacity < n) {
    Resize(n, elemsize);
  }
}

void LListRaw::GrowForOne(size_t elemsize) {
  AssertAt(count >= 0, kSource, 1001);
  const size_t needed = static_cast<size_t>(count) + 1;
  Resize(Larger(Larger(Doubled(capacity), kMinSlots), needed), elemsize);
}

// Asked before anything is touched: the sum must neither shrink the array nor wrap.
bool LListRaw::CanAdd(ptrdiff_t n) const { return n >= 0 && count >= 0 && n <= PTRDIFF_MAX - count; }

void* LListRaw::AddSlots(ptrdiff_t n, size_t elemsize) {
  const size_t needed = static_cast<size_t>(count + n);
  if (needed > capacity) {
    Resize(Larger(Doubled(capacity), needed), elemsize);
  }
  unsigned char* first = SlotAt(count, elemsize);
  count += n;
  return first;
}

void* LListRaw::Append(const void* source, ptrdiff_t n, size_t elemsize) {
  AssertAt(CanAdd(n), kSource, 88);
  // A source inside the own block moves with it.
  const size_t offset = reinterpret_cast<uintptr_t>(source) - reinterpret_cast<uintptr_t>(data);
  const bool own = data != nullptr && offset < BytesOf(capacity, elemsize);
  void* first = AddSlots(n, elemsize);
  MoveBytes(first, own ? data + offset : source, static_cast<size_t>(n) * elemsize);
  return first;
}

void* LListRaw::Expand(ptrdiff_t n, size_t elemsize) {
  AssertAt(CanAdd(n), kSource, 101);
  return AddSlots(n, elemsize);
}

void* LListRaw::Insert(ptrdiff_t index, size_t elemsize) {
  AssertAt(index >= 0, kSource, 106);
  AssertAt(index <= count, kSource, 107);
  AssertAt(count < PTRDIFF_MAX, kSource, 111);  // one more would be negative
  if (static_cast<size_t>(count) >= capacity) {
    GrowForOne(elemsize);
  }
  unsigned char* slot = SlotAt(index, elemsize);
  MoveBytes(slot + elemsize, slot, static_cast<size_t>(count - index) * elemsize);
  ++count;
  return slot;
}

bool LListRaw::MoveUpLast(ptrdiff_t index, size_t elemsize) {
  AssertAt(index < count, kSource, 117);  // shared number: an index is out of range at either end
  AssertAt(count > 0, kSource, 119);      // a negative index comes this far
  AssertAt(index >= 0, kSource, 117);     // shared number: the other end
  --count;
  if (index == count) {
    return false;
  }
  MoveBytes(SlotAt(index, elemsize), SlotAt(count, elemsize), elemsize);
  return true;
}

void LListRaw::RemoveElements(ptrdiff_t index, ptrdiff_t n, size_t elemsize) {
  AssertAt(index >= 0, kSource, 196);
  AssertAt(n >= 0, kSource, 197);
  AssertAt(index <= count && n <= count - index, kSource, 198);  // shared number: a list's Delete says it earlier
  if (n == 0) {
    return;
  }
  AssertAt(count - n >= 0, kSource, 201);
  const ptrdiff_t tail = count - index - n;
  MoveBytes(SlotAt(index, elemsize), SlotAt(index + n, elemsize), static_cast<size_t>(tail) * elemsize);
  count -= n;
}

void LListRaw::pop_back() {
  AssertAt(count != 0, kSource, 190);
  --count;
}

ptrdiff_t LListRaw::LookupElement(const void* key, size_t elemsize,
                                  bool (*equal)(const void* key, const void* element)) const {
  const unsigned char* element = data;
  for (ptrdiff_t i = 0; i < count; ++i, element += elemsize) {
    if (equal(key, element)) {
      return i;
    }
  }
  return -1;
}

ptrdiff_t LListRaw::LookupElementExist(const void* key, size_t elemsize,
                                       bool (*equal)(const void* key, const void* element)) const {
  const ptrdiff_t index = LookupElement(key, elemsize, equal);
  AssertAt(index >= 0, kSource, 136);
  return index;
}

void LListRaw::assign(const LListRaw& other, size_t elemsize) {
  if (this == &other) {
    return;
  }
  AssertAt(other.count >= 0 && static_cast<size_t>(other.count) <= other.capacity, kSource, 53);
  Resize(other.capacity, elemsize);
  count = other.count;
  MoveBytes(data, other.data, static_cast<size_t>(count) * elemsize);
}

void LListRaw::Swap(LListRaw& other) {
  AssertAt(count >= 0 && other.count >= 0, kSource, 46);
  std::swap(data, other.data);
  std::swap(capacity, other.capacity);
  std::swap(count, other.count);
}

void LListRaw::SetArray(void* block, size_t bytes, size_t elemsize) {
  AssertAt(elemsize != 0 && bytes / elemsize <= PTRDIFF_MAX, kSource, 64);
  data = static_cast<unsigned char*>(block);
  capacity = bytes / elemsize;
  count = static_cast<ptrdiff_t>(capacity);
}

void* LListRaw::StealArray(size_t* count_out) {
  void* block = data;
  if (count_out != nullptr) {
    *count_out = static_cast<size_t>(count);
  }
  data = nullptr;
  capacity = 0;
  count = 0;
  return block;
}

void LListRaw::Free() {
  MyFree(data);
  count = 0;
}

void* LListRaw::LDpush_back(size_t elemsize, ptrdiff_t& start) {
  ReserveForPush(elemsize, start);
  if (static_cast<size_t>(start) + static_cast<size_t>(count) == capacity) {
    LDRepartition(elemsize, start, true);
  }
  AssertAt(RunFits(start) && static_cast<size_t>(start + count) != capacity, kSource, 259);
  ++count;
  return SlotAt(start + count - 1, elemsize);
}

void* LListRaw::LDpush_front(size_t elemsize, ptrdiff_t& start) {
  ReserveForPush(elemsize, start);
  if (start == 0) {
    LDRepartition(elemsize, start, false);
  }
  AssertAt(RunFits(start) && start != 0, kSource, 269);
  ++count;
  --start;
  return SlotAt(start, elemsize);
}

void LListRaw::LDRepartition(size_t elemsize, ptrdiff_t& start, bool toward_front) {
  const size_t live = static_cast<size_t>(count);
  const size_t shift = (capacity + 1 - live) / 2;
  AssertAt(shift != 0, kSource, 228);
  AssertAt(shift + live <= capacity, kSource, 229);
  const size_t from = static_cast<size_t>(start);
  const ptrdiff_t to = static_cast<ptrdiff_t>(toward_front ? from - shift : from + shift);
  // On purpose: these two look at the new start as 32 bits with sign.
  const int32_t narrow = static_cast<int32_t>(to);
  AssertAt(narrow >= 0, kSource, 234);
  AssertAt(static_cast<size_t>(narrow) < capacity, kSource, 235);
  // They do not cover the run's other end, nor a start that was wrong from the beginning.
  AssertAt(RunFits(start) && RunFits(to), kSource, 1002);
  MoveBytes(SlotAt(to, elemsize), SlotAt(start, elemsize), live * elemsize);
  start = to;
}

void LListRaw::LDCompact(size_t elemsize, ptrdiff_t& start) {
  if (count == 0) {
    Resize(0, elemsize);
    return;
  }
  AssertAt(RunFits(start), kSource, 1003);
  if (start != 0) {
    MoveBytes(data, SlotAt(start, elemsize), static_cast<size_t>(count) * elemsize);
    start = 0;
  }
  capacity = static_cast<size_t>(count);
  data = static_cast<unsigned char*>(MyRealloc(data, BytesOf(capacity, elemsize)));
}

// Whether the live run, begun at `start`, lies inside the block.
bool LListRaw::RunFits(ptrdiff_t start) const {
  const size_t live = static_cast<size_t>(count);
  const size_t first = static_cast<size_t>(start);
  return live <= capacity && first <= capacity - live;
}

void LListRaw::ReserveForPush(size_t elemsize, ptrdiff_t& start) {
  if (static_cast<size_t>(count) >= capacity) {
    GrowForOne(elemsize);
  }
  // A compacted empty run keeps its old start, which the next block need not reach.
  if (count == 0 && !RunFits(start)) {
    start = 0;
  }
}

}  // namespace core
