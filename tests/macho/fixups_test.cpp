// The opcodes that say what must be patched, on an image of one page made by hand.
#include "tests/macho/fixups.h"

#include <gtest/gtest.h>
#include <string.h>

#include "tests/macho/exports.h"
#include "tests/macho/sample_files.h"

namespace macho {
namespace {

using Raw = std::vector<uint8_t>;

constexpr uint64_t kSegmentBytes = 64;
constexpr uint8_t kPointers = 0x11;       // in the rebasing table
constexpr uint8_t kSecondSegment = 0x21;  // there; an offset follows
constexpr uint8_t kBindPointers = 0x51;   // in the binding tables
constexpr uint8_t kBindInSecond = 0x71;   // there; an offset follows

uint64_t Value(void* address) { return reinterpret_cast<uint64_t>(address); }

int first_import, second_import;

class MachOFixups : public ::testing::Test {
 protected:
  MachOFixups() {
    file_.segments = {{"__TEXT", 0, kSegmentBytes, {}, 5, false},
                      {"__DATA", kSegmentBytes, kSegmentBytes, {}, 3, false}};
    file_.libraries = {"/lib/a", "/lib/b"};
    file_.info.emplace();
  }

  std::string Apply() {
    return RefusalOf([this] {
      Fixups fixups(file_, memory_.data(), resolve_);
      fixups.Apply();
      imports_ = fixups.TakeImports();
    });
  }
  std::string Rebase(const Raw& opcodes) {
    file_.info->rebase = opcodes;
    return Apply();
  }
  std::string Bind(const Raw& opcodes) {
    file_.info->bind = opcodes;
    return Apply();
  }

  // The words of the second segment.
  uint64_t Word(size_t index) const { return ValueAt<uint64_t>(memory_, kSegmentBytes + 8 * index, "memory"); }
  void SetWord(size_t index, uint64_t value) { memcpy(&memory_[kSegmentBytes + 8 * index], &value, sizeof value); }
  uint64_t Rebased(uint64_t value) const { return reinterpret_cast<uint64_t>(memory_.data()) + value; }

  File file_;
  Raw memory_ = Raw(2 * kSegmentBytes);
  std::vector<Import> imports_;
  const Resolver resolve_ = [](const std::string& library, const std::string& symbol) -> void* {
    return symbol == "_x" ? &first_import : library == "/lib/b" && symbol == "_y" ? &second_import : nullptr;
  };
};

TEST_F(MachOFixups, RebasesEveryWordThatIsCounted) {
  const Raw tables[] = {
      {kPointers, kSecondSegment, 8, 0x53},                    // three from the second word on
      {kPointers, kSecondSegment, 8, 0x60, 3},                 // the same with the count behind
      {kPointers, kSecondSegment, 0, 0x41, 0x53},              // a step of one word before
      {kPointers, kSecondSegment, 0, 0x30, 8, 0x53},           // a step of bytes before
      {kPointers, kSecondSegment, 8, 0x70, 0, 0x52},           // one, and two behind it
      {kPointers, kSecondSegment, 8, 0x80, 3, 0, 0x00, 0xFF},  // nothing behind the end is looked at
  };
  for (const Raw& table : tables) {
    std::fill(memory_.begin(), memory_.end(), uint8_t{0});
    ASSERT_EQ(Rebase(table), "");
    for (size_t i = 0; i < 8; i++) {
      EXPECT_EQ(Word(i), i >= 1 && i <= 3 ? Rebased(0) : 0) << i;
    }
  }
}

TEST_F(MachOFixups, RebasingSkipsBetweenWords) {
  ASSERT_EQ(Rebase({kPointers, kSecondSegment, 0, 0x80, 3, 8}), "");
  for (size_t i = 0; i < 8; i++) {
    EXPECT_EQ(Word(i) != 0, i == 0 || i == 2 || i == 4) << i;
  }
}

TEST_F(MachOFixups, RebasedPointerMustLeadIntoTheImage) {
  SetWord(0, 2 * kSegmentBytes - 1);
  EXPECT_EQ(Rebase({kPointers, kSecondSegment, 0, 0x51}), "");
  EXPECT_EQ(Word(0), Rebased(2 * kSegmentBytes - 1));
  SetWord(0, 2 * kSegmentBytes);
  EXPECT_EQ(Rebase({kPointers, kSecondSegment, 0, 0x51}), "a pointer into the image leads outside it");
}

TEST_F(MachOFixups, WordsOutsideTheSegmentAreRefused) {
  EXPECT_EQ(Rebase({kPointers, kSecondSegment, 56, 0x51}), "");
  for (const uint8_t offset : Raw{57, 64, 127}) {
    EXPECT_EQ(Rebase({kPointers, kSecondSegment, offset, 0x51}), "a fixup outside segment __DATA");
  }
  EXPECT_EQ(Rebase({kPointers, 0x20, 0, 0x51}), "a fixup in segment __TEXT, which is not writable");
  EXPECT_EQ(Rebase({kPointers, 0x22, 0, 0x51}), "a fixup in a segment that does not exist");
}

TEST_F(MachOFixups, EndlessRepetitionIsRefused) {
  const Raw minus_eight = {0xF8, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01};
  Raw rebase = {kPointers, kSecondSegment, 0, 0x80, 0x7F};
  rebase.insert(rebase.end(), minus_eight.begin(), minus_eight.end());
  EXPECT_EQ(Rebase(rebase), "the rebasing table repeats a step backwards");
  Raw bind = {kBindPointers, 0x11, 0x40, '_', 'x', 0, kBindInSecond, 0, 0xC0, 0x7F};
  bind.insert(bind.end(), minus_eight.begin(), minus_eight.end());
  file_.info->rebase = {};
  EXPECT_EQ(Bind(bind), "the binding table repeats a step backwards");
}

TEST_F(MachOFixups, UnknownOpcodesAreRefused) {
  EXPECT_EQ(Rebase({0x12}), "the rebasing table holds the opcode 18, which is not supported");
  EXPECT_EQ(Rebase({0x90}), "the rebasing table holds the opcode 144, which is not supported");
  file_.info->rebase = {};
  EXPECT_EQ(Bind({0x52}), "the binding table holds the opcode 82, which is not supported");
  EXPECT_EQ(Bind({0xD0}), "the binding table holds the opcode 208, which is not supported");
}

TEST_F(MachOFixups, BindsWordsToImports) {
  const Raw tables[] = {
      {kBindPointers, 0x12, 0x40, '_', 'y', 0, kBindInSecond, 8, 0x90},
      {kBindPointers, 0x20, 2, 0x40, '_', 'y', 0, kBindInSecond, 0, 0x80, 8, 0x90},
      {kBindPointers, 0x12, 0x40, '_', 'y', 0, kBindInSecond, 8, 0xA0, 0},
      {kBindPointers, 0x12, 0x40, '_', 'y', 0, kBindInSecond, 8, 0xB1},
      {kBindPointers, 0x12, 0x40, '_', 'y', 0, kBindInSecond, 8, 0xC0, 1, 8, 0x00, 0xFF},
  };
  for (const Raw& table : tables) {
    SetWord(1, 0);
    ASSERT_EQ(Bind(table), "");
    EXPECT_EQ(Word(1), Value(&second_import));
    ASSERT_EQ(imports_.size(), 1u);
    EXPECT_EQ(imports_[0].library + imports_[0].symbol, "/lib/b_y");
  }
}

TEST_F(MachOFixups, BindingAddsItsAddend) {
  ASSERT_EQ(Bind({kBindPointers, 0x11, 0x40, '_', 'x', 0, 0x60, 0x7C, kBindInSecond, 0, 0x90}), "");
  EXPECT_EQ(Word(0), Value(&first_import) - 4);
}

TEST_F(MachOFixups, MissingImportIsNamedUnlessItMayBeMissing) {
  EXPECT_EQ(Bind({kBindPointers, 0x11, 0x40, '_', 'y', 0, kBindInSecond, 0, 0x90}), "import _y is not in /lib/a");
  SetWord(0, 1);
  EXPECT_EQ(Bind({kBindPointers, 0x11, 0x41, '_', 'y', 0, kBindInSecond, 0, 0x90}), "");
  EXPECT_EQ(Word(0), 0u);
}

TEST_F(MachOFixups, ImportFromNoLibraryIsRefused) {
  EXPECT_EQ(Bind({kBindPointers, 0x13, 0x40, '_', 'x', 0, kBindInSecond, 0, 0x90}),
            "import _x is from a library that does not exist");
  EXPECT_EQ(Bind({kBindPointers, 0x3F, 0x40, '_', 'x', 0, kBindInSecond, 0, 0x90}), "import _x is from no library");
  EXPECT_EQ(Bind({kBindPointers, 0x11, kBindInSecond, 0, 0x90}), "the binding table binds no symbol");
  EXPECT_EQ(Bind({kBindPointers, 0x11, 0x40, '_', 'x'}), "the binding table ends within a name");
}

TEST_F(MachOFixups, ImportsThatTheLinkLeftOpenComeFromAnyLibrary) {
  ASSERT_EQ(Bind({kBindPointers, 0x3E, 0x40, '_', 'x', 0, kBindInSecond, 0, 0x90}), "");
  EXPECT_EQ(Word(0), Value(&first_import));
  ASSERT_EQ(imports_.size(), 1u);
  EXPECT_EQ(imports_[0].library, "");
}

TEST_F(MachOFixups, WeakImportsComeFromAnyLibrary) {
  const Raw table = {kBindPointers, 0x40, '_', 'x', 0, kBindInSecond, 0, 0x90};
  file_.info->weak_bind = table;
  ASSERT_EQ(Apply(), "");
  EXPECT_EQ(Word(0), Value(&first_import));
  EXPECT_EQ(imports_[0].library, "");
}

TEST_F(MachOFixups, LazyTableGoesOnBehindEachEnd) {
  const Raw table = {kBindInSecond, 0, 0x11, 0x40, '_', 'x', 0, 0x90, 0x00,
                     kBindInSecond, 8, 0x12, 0x40, '_', 'y', 0, 0x90, 0x00};
  file_.info->lazy_bind = table;
  ASSERT_EQ(Apply(), "");
  EXPECT_EQ(Word(0), Value(&first_import));
  EXPECT_EQ(Word(1), Value(&second_import));
}

// One chain in the second segment, beginning at its first word, on a page of 32 bytes; one import, "_x".
class MachOChains : public MachOFixups {
 protected:
  MachOChains() {
    for (const uint32_t word : {0u, 28u, 64u, 68u, 1u, 1u, 0u}) {  // where all that follows lies
      Put(word);
    }
    for (const uint32_t word : {2u, 0u, 12u}) {  // of two segments the second one
      Put(word);
    }
    Put<uint32_t>(24), Put<uint16_t>(32), Put<uint16_t>(6), Put<uint64_t>(kSegmentBytes), Put<uint32_t>(0);
    Put<uint16_t>(1), Put<uint16_t>(0);
    Put<uint32_t>(1);  // from the first library, its name first
    Put<uint32_t>('_' | 'x' << 8);
    file_.info.reset();
    file_.chained = table_;
  }

  template <class T>
  void Put(T value) {
    const auto* raw = reinterpret_cast<const uint8_t*>(&value);
    table_.insert(table_.end(), raw, raw + sizeof value);
  }
  static uint64_t Next(uint64_t words) { return words * 2 << 51; }

  Raw table_;
};

TEST_F(MachOChains, WordsAreRebasedAndBoundAlongTheChain) {
  SetWord(0, 5 | Next(2));
  SetWord(2, uint64_t{1} << 63 | uint64_t{3} << 24);
  ASSERT_EQ(Apply(), "");
  EXPECT_EQ(Word(0), Rebased(5));
  EXPECT_EQ(Word(1), 0u);
  EXPECT_EQ(Word(2), Value(&first_import) + 3);
}

TEST_F(MachOChains, DamagedChainsAreRefused) {
  SetWord(0, 2 * kSegmentBytes);
  EXPECT_EQ(Apply(), "a pointer into the image leads outside it");
  SetWord(0, Next(4));
  EXPECT_EQ(Apply(), "a chain of fixups leaves its page");
  SetWord(0, uint64_t{1} << 63 | 1);
  EXPECT_EQ(Apply(), "a fixup is for an import that does not exist");
}

TEST(MachOExports, NamesAreJoinedAlongTheTree) {
  // The root has one branch "_a", which is a symbol itself and has the branches "b" and "c".
  const Raw tree = {0, 1, '_', 'a', 0, 6, 2, 0, 0x10, 2, 'b', 0, 16, 'c', 0, 20, 2, 0, 0x20, 0, 2, 4, 0x30, 0};
  const std::map<std::string, uint64_t> expected = {{"_a", 0x10}, {"_ab", 0x20}, {"_ac", 0x30}};
  EXPECT_EQ(ReadExports(tree, 0x31), expected);
  EXPECT_EQ(RefusalOf([&] { ReadExports(tree, 0x30); }), "export _ac lies outside the image");
}

TEST(MachOExports, DamagedTreesAreRefused) {
  EXPECT_TRUE(ReadExports(Raw(), 1).empty());
  EXPECT_EQ(RefusalOf([] { ReadExports(Raw{0, 1, 'a', 0, 0}, 1); }), "the exports go round in circles");
  EXPECT_EQ(RefusalOf([] { ReadExports(Raw{0, 1, 0, 0}, 1); }), "the exports hold an empty part of a name");
  EXPECT_EQ(RefusalOf([] { ReadExports(Raw{0, 1, 'a', 0, 9}, 1); }), "the exports reaches beyond the end");
  EXPECT_EQ(RefusalOf([] { ReadExports(Raw{3, 8, 1, 0, 0}, 1); }), "export  is of a kind that is not supported");
  EXPECT_EQ(RefusalOf([] { ReadExports(Raw{2, 1, 0, 0}, 1); }), "export  is of a kind that is not supported");
}

}  // namespace
}  // namespace macho
