// The image describes its frames in a compact table; the unwinder of this process reads DWARF records.
#include "tests/macho/unwind.h"

#include <algorithm>
#include <map>
#include <vector>

extern "C" void __register_frame(void*);

namespace macho {
namespace {

constexpr char kWhat[] = "the unwind table";
constexpr uint32_t kModeMask = 0x0F000000;
constexpr uint32_t kFramePointer = 0x01000000;
constexpr uint32_t kLongPage = 2;
constexpr uint32_t kShortPage = 3;

struct Function {
  uint32_t offset;
  uint32_t encoding;
};

class Table {
 public:
  explicit Table(Bytes bytes) : bytes_(bytes) {
    if (At32(0) != 1) {
      throw Refusal("the unwind table is of an unknown version");
    }
    ReadIndex();
  }

  // Every function in ascending order, and behind them the end of the last one.
  const std::vector<Function>& functions() const { return functions_; }

  // Where the image keeps the addresses of the routines that look for handlers.
  uint32_t Personality(uint32_t encoding) const {
    const uint32_t index = encoding >> 28 & 3;
    if (index > At32(16)) {
      throw Refusal("the unwind table names a routine that does not exist");
    }
    return index == 0 ? 0 : At32(At32(12) + uint64_t{4} * (index - 1));
  }

  // What a function catches and cleans up; 0 for nothing.
  uint32_t HandlersOf(uint32_t function) const {
    const auto found = handlers_.find(function);
    return found == handlers_.end() ? 0 : found->second;
  }

 private:
  uint32_t At32(uint64_t offset) const { return ValueAt<uint32_t>(bytes_, offset, kWhat); }
  uint16_t At16(uint64_t offset) const { return ValueAt<uint16_t>(bytes_, offset, kWhat); }

  void ReadIndex() {
    const uint64_t index = At32(20);
    const uint32_t count = At32(24);
    for (uint64_t i = 0; i + 1 < count; i++) {
      const uint64_t entry = index + 12 * i;
      if (const uint32_t page = At32(entry + 4)) {
        ReadPage(page, At32(entry));
      }
      ReadHandlers(At32(entry + 8), At32(entry + 20));
    }
    if (count > 0) {
      functions_.push_back({At32(index + uint64_t{12} * (count - 1)), 0});
    }
  }

  void ReadPage(uint64_t page, uint32_t first) {
    const uint32_t kind = At32(page);
    if (kind != kLongPage && kind != kShortPage) {
      throw Refusal("the unwind table has a page of an unknown kind");
    }
    const uint64_t entries = page + At16(page + 4);
    const uint16_t count = At16(page + 6);
    for (uint64_t i = 0; i < count; i++) {
      functions_.push_back(kind == kLongPage ? Function{At32(entries + 8 * i), At32(entries + 8 * i + 4)}
                                             : ShortEntry(page, first, At32(entries + 4 * i)));
    }
  }

  Function ShortEntry(uint64_t page, uint32_t first, uint32_t entry) const {
    const uint32_t common = At32(8);
    const uint32_t id = entry >> 24;
    const uint64_t place =
        id < common ? At32(4) + uint64_t{4} * id : page + At16(page + 8) + uint64_t{4} * (id - common);
    return {first + (entry & 0xFFFFFF), At32(place)};
  }

  void ReadHandlers(uint32_t begin, uint32_t end) {
    for (uint64_t at = begin; at + 8 <= end; at += 8) {
      handlers_[At32(at)] = At32(at + 4);
    }
  }

  Bytes bytes_;
  std::vector<Function> functions_;
  std::map<uint32_t, uint32_t> handlers_;
};

// DWARF call frame records: common ones, which others refer back to, and one for each function.
class Records {
 public:
  explicit Records(const Image& image) : image_(image) {}

  void Add(const Table& table, const Function& function, uint32_t end) {
    const uint32_t mode = function.encoding & kModeMask;
    if (mode == 0) {
      return;  // padding between functions, or code that is never unwound
    }
    if (mode != kFramePointer) {
      throw Refusal("a function without a frame pointer cannot be unwound");
    }
    const uint32_t personality = table.Personality(function.encoding);
    const size_t common = CommonFor(personality);
    const size_t begin = Open();
    Put<uint32_t>(static_cast<uint32_t>(bytes_.size() - common));
    Put(Address(function.offset));
    Put<uint64_t>(end - function.offset);
    Put<uint8_t>(8);
    const uint32_t handlers = table.HandlersOf(function.offset);
    Put(handlers == 0 ? uint64_t{0} : Address(handlers));
    PutFrame(function.encoding);
    Close(begin);
  }

  // Ends the records and hands them over.
  std::vector<uint8_t> Take() {
    Put<uint32_t>(0);
    return std::move(bytes_);
  }

 private:
  template <class T>
  void Put(T value) {
    const auto* raw = reinterpret_cast<const uint8_t*>(&value);
    bytes_.insert(bytes_.end(), raw, raw + sizeof value);
  }
  void PutAll(std::initializer_list<uint8_t> values) { bytes_.insert(bytes_.end(), values); }

  uint64_t Address(uint32_t offset) const {
    if (!image_.Contains(image_.base() + offset)) {
      throw Refusal("the unwind table leads outside the image");
    }
    return reinterpret_cast<uint64_t>(image_.base()) + offset;
  }

  size_t Open() {
    Put<uint32_t>(0);
    return bytes_.size();
  }
  void Close(size_t begin) {
    while (bytes_.size() % 8 != 0) {
      Put<uint8_t>(0);  // no operation
    }
    const auto len = static_cast<uint32_t>(bytes_.size() - begin);
    memcpy(bytes_.data() + begin - 4, &len, sizeof len);
  }

  // Where the common record of the functions with this routine begins. All addresses are absolute.
  size_t CommonFor(uint32_t personality) {
    const auto found = common_.find(personality);
    if (found != common_.end()) {
      return found->second;
    }
    const size_t begin = Open();
    Put<uint32_t>(0);
    if (personality == 0) {
      PutAll({1, 'z', 'L', 'R', 0, 1, 0x78, 16, 2, 0, 0});
    } else {
      PutAll({1, 'z', 'P', 'L', 'R', 0, 1, 0x78, 16, 11, 0});
      uint64_t routine;
      memcpy(&routine, reinterpret_cast<const void*>(Address(personality)), sizeof routine);
      Put(routine);
      PutAll({0, 0});
    }
    PutAll({0x0C, 7, 8, 0x90, 1});  // at entry: the frame is rsp + 8, the return address below it
    Close(begin);
    return common_[personality] = begin - 4;
  }

  // After "push rbp; mov rbp, rsp": the frame is rbp + 16, and further registers lie below it.
  void PutFrame(uint32_t encoding) {
    constexpr uint8_t kNumbers[] = {0, 3, 12, 13, 14, 15, 6, 0};  // rbx, r12 to r15
    PutAll({0x0C, 6, 16, 0x86, 2, 0x90, 1});
    uint32_t slot = encoding >> 16 & 0xFF;
    for (uint32_t saved = encoding & 0x7FFF; saved != 0; saved >>= 3, slot--) {
      if ((saved & 7) != 0) {
        PutAll({static_cast<uint8_t>(0x80 | kNumbers[saved & 7]), static_cast<uint8_t>(slot + 2)});
      }
    }
  }

  const Image& image_;
  std::vector<uint8_t> bytes_;
  std::map<uint32_t, size_t> common_;
};

}  // namespace

void RegisterUnwinding(const Image& image) {
  const Bytes section = image.SectionNamed("__unwind_info");
  if (section.empty()) {
    return;
  }
  const Table table(section);
  Records records(image);
  const std::vector<Function>& functions = table.functions();
  for (size_t i = 0; i + 1 < functions.size(); i++) {
    records.Add(table, functions[i], functions[i + 1].offset);
  }
  // Never freed: the unwinder looks into them from now on.
  static std::vector<std::vector<uint8_t>>* registered = new std::vector<std::vector<uint8_t>>;
  registered->push_back(records.Take());
  __register_frame(registered->back().data());
}

}  // namespace macho
