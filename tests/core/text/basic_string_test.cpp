#include <gtest/gtest.h>
#include <limits.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include "core/text/nustr.h"
#include "core/text/string.h"
#include "tests/support/fatal.h"
#include "tests/support/huge_text.h"
#include "tests/support/test_host.h"
#include "tests/support/text.h"

namespace {

using String = core::basic_string<char>;
using WString = core::basic_string<wchar_t>;

// ASCII text in characters of type C, in a block of exactly its size.
template <class C>
ExactText<C> Text(std::string_view ascii) {
  return ExactText<C>(std::basic_string<C>(ascii.begin(), ascii.end()));
}

// What a string of the library's holds, as ASCII.
template <class C>
std::string Ascii(const core::basic_string<C>& s) {
  std::string ascii;
  for (const C* c = s.c_str(); *c != 0; c++) {
    ascii.push_back(static_cast<char>(*c));
  }
  return ascii;
}

// A null string and an empty text of its own read alike; only the address tells them apart.
template <class C>
bool IsNull(const core::basic_string<C>& s) {
  return s.c_str() == core::basic_string<C>().c_str();
}

// Every test runs in both character types and must free what it made.
template <class C>
class BasicString : public ::testing::Test {
 public:
  ~BasicString() override { EXPECT_EQ(blocks_, test_host::LiveBlocks()); }

 private:
  test_host::Scope host_;
  long blocks_ = test_host::LiveBlocks();
};
struct CharacterName {
  template <class C>
  static std::string GetName(int) {
    return sizeof(C) == 1 ? "Narrow" : "Wide";
  }
};
using Characters = ::testing::Types<char, wchar_t>;
TYPED_TEST_SUITE(BasicString, Characters, CharacterName);

TYPED_TEST(BasicString, DefaultIsNullAndReadsAsEmpty) {
  const core::basic_string<TypeParam> s;
  const core::basic_string<TypeParam> other;
  EXPECT_EQ(0u, s.size());
  EXPECT_EQ(0, *s.c_str());
  EXPECT_EQ(other.c_str(), s.c_str());  // the shared empty text
  EXPECT_EQ(0, test_host::AllocationAttempts());
}

TYPED_TEST(BasicString, NullPointerGivesNull) {
  const core::basic_string<TypeParam> s(static_cast<const TypeParam*>(nullptr));
  EXPECT_TRUE(IsNull(s));
  EXPECT_EQ(0, test_host::AllocationAttempts());
}

TYPED_TEST(BasicString, PointerIsDuplicated) {
  const auto text = Text<TypeParam>("text");
  const core::basic_string<TypeParam> s(text.get());
  EXPECT_NE(text.get(), s.c_str());
  EXPECT_EQ("text", Ascii(s));
  EXPECT_EQ(4u, s.size());
}

TYPED_TEST(BasicString, EmptyPointerGivesAnEmptyTextOfItsOwn) {
  const core::basic_string<TypeParam> s(Text<TypeParam>("").get());
  EXPECT_FALSE(IsNull(s));
  EXPECT_EQ(0u, s.size());
}

TYPED_TEST(BasicString, PartIsDuplicatedWithoutReadingAnyFurther) {
  const auto text = std::make_unique<TypeParam[]>(5);
  for (int i = 0; i < 5; i++) {
    text[static_cast<size_t>(i)] = static_cast<TypeParam>('a' + i);
  }
  EXPECT_EQ("abcde", Ascii(core::basic_string<TypeParam>(text.get(), 0, 5)));
  EXPECT_EQ("cde", Ascii(core::basic_string<TypeParam>(text.get(), 2, 3)));
  EXPECT_EQ("e", Ascii(core::basic_string<TypeParam>(text.get(), 4, 1)));
  EXPECT_EQ("b", Ascii(core::basic_string<TypeParam>(text.get(), 1, 1)));
}

TYPED_TEST(BasicString, EmptyPartAndPartOfNullAreNull) {
  const auto text = Text<TypeParam>("abc");
  EXPECT_TRUE(IsNull(core::basic_string<TypeParam>(text.get(), 1, 0)));
  EXPECT_TRUE(IsNull(core::basic_string<TypeParam>(text.get(), 3, 0)));
  EXPECT_TRUE(IsNull(core::basic_string<TypeParam>(nullptr, 0, 0)));
  EXPECT_TRUE(IsNull(core::basic_string<TypeParam>(nullptr, 3, 4)));
}

TYPED_TEST(BasicString, CopyHasATextOfItsOwn) {
  const core::basic_string<TypeParam> s(Text<TypeParam>("text").get());
  const core::basic_string<TypeParam> copy(s);
  EXPECT_NE(s.c_str(), copy.c_str());
  EXPECT_EQ("text", Ascii(copy));
}

TYPED_TEST(BasicString, CopyOfNullIsAnEmptyTextOfItsOwn) {
  const core::basic_string<TypeParam> s;
  const core::basic_string<TypeParam> copy(s);
  EXPECT_TRUE(IsNull(s));
  EXPECT_FALSE(IsNull(copy));
  EXPECT_EQ(0u, copy.size());
  EXPECT_EQ(1, test_host::AllocationAttempts());
}

TYPED_TEST(BasicString, MoveHandsTheTextOver) {
  core::basic_string<TypeParam> s(Text<TypeParam>("text").get());
  const TypeParam* text = s.c_str();
  const core::basic_string<TypeParam> moved(std::move(s));
  EXPECT_EQ(text, moved.c_str());
  EXPECT_TRUE(IsNull(s));  // NOLINT(bugprone-use-after-move): left null, as promised
}

TYPED_TEST(BasicString, AdoptTakesTheBlockItself) {
  const auto text = Text<TypeParam>("text");
  auto* block = core::AllocString<TypeParam>(4);
  std::copy_n(text.get(), 5, block);
  EXPECT_EQ(block, core::basic_string<TypeParam>::Adopt(block).c_str());
  EXPECT_TRUE(IsNull(core::basic_string<TypeParam>::Adopt(nullptr)));
}

TYPED_TEST(BasicString, AssignmentDuplicates) {
  const auto text = Text<TypeParam>("new");
  core::basic_string<TypeParam> s(Text<TypeParam>("old text").get());
  EXPECT_EQ(&s, &(s = text.get()));
  EXPECT_NE(text.get(), s.c_str());
  EXPECT_EQ("new", Ascii(s));
  s = Text<TypeParam>("").get();
  EXPECT_FALSE(IsNull(s));
  EXPECT_EQ("", Ascii(s));
  s = text.get();
  EXPECT_EQ("new", Ascii(s));
}

TYPED_TEST(BasicString, AssigningNullGivesNull) {
  core::basic_string<TypeParam> s(Text<TypeParam>("old").get());
  s = static_cast<const TypeParam*>(nullptr);
  EXPECT_TRUE(IsNull(s));
  s = static_cast<const TypeParam*>(nullptr);
  EXPECT_TRUE(IsNull(s));
}

TYPED_TEST(BasicString, AssigningTheHeldPointerDoesNothing) {
  core::basic_string<TypeParam> s(Text<TypeParam>("text").get());
  const TypeParam* held = s.c_str();
  const long attempts = test_host::AllocationAttempts();
  s = held;
  EXPECT_EQ(&s, &s.assign(held, 2));  // the length does not matter either
  EXPECT_EQ(held, s.c_str());
  EXPECT_EQ("text", Ascii(s));
  EXPECT_EQ(attempts, test_host::AllocationAttempts());
}

TYPED_TEST(BasicString, AssigningTheReadTextOfNullGivesAnEmptyTextOfItsOwn) {
  core::basic_string<TypeParam> s;
  s = s.c_str();
  EXPECT_FALSE(IsNull(s));
  EXPECT_EQ("", Ascii(s));
}

TYPED_TEST(BasicString, AssigningAPartOfTheOwnTextIsSafe) {
  core::basic_string<TypeParam> s(Text<TypeParam>("abcdef").get());
  s = s.c_str() + 1;
  EXPECT_EQ("bcdef", Ascii(s));
  s.assign(s.c_str() + 1, 3);
  EXPECT_EQ("cde", Ascii(s));
  s = s.c_str() + 3;
  EXPECT_EQ("", Ascii(s));
}

TYPED_TEST(BasicString, AssignDuplicatesSoManyCharacters) {
  const std::unique_ptr<TypeParam[]> text(new TypeParam[3]{'a', 'b', 'c'});
  core::basic_string<TypeParam> s(Text<TypeParam>("old").get());
  EXPECT_EQ(&s, &s.assign(text.get(), 3));
  EXPECT_EQ("abc", Ascii(s));
  s.assign(text.get(), 2);
  EXPECT_EQ("ab", Ascii(s));
}

TYPED_TEST(BasicString, AssignOfNoCharactersGivesAnEmptyTextOfItsOwn) {
  core::basic_string<TypeParam> s(Text<TypeParam>("old").get());
  s.assign(Text<TypeParam>("new").get(), 0);
  EXPECT_FALSE(IsNull(s));
  EXPECT_EQ("", Ascii(s));
}

TYPED_TEST(BasicString, AssignOfNullGivesNullWhateverTheLength) {
  core::basic_string<TypeParam> s(Text<TypeParam>("old").get());
  s.assign(nullptr, 3);
  EXPECT_TRUE(IsNull(s));
  s.assign(nullptr, 3);
  EXPECT_TRUE(IsNull(s));
}

TYPED_TEST(BasicString, AssigningAStringCopiesItsText) {
  const core::basic_string<TypeParam> other(Text<TypeParam>("new").get());
  core::basic_string<TypeParam> s(Text<TypeParam>("old").get());
  s = other;
  EXPECT_EQ("new", Ascii(s));
  EXPECT_NE(other.c_str(), s.c_str());
  const core::basic_string<TypeParam>& self = s;
  s = self;
  EXPECT_EQ("new", Ascii(s));
  s = core::basic_string<TypeParam>();
  EXPECT_TRUE(IsNull(s));
}

TYPED_TEST(BasicString, EqualityComparesWholeTexts) {
  const core::basic_string<TypeParam> s(Text<TypeParam>("abc").get());
  EXPECT_TRUE(s == Text<TypeParam>("abc").get());
  EXPECT_TRUE(s == s.c_str());
  for (const char* other : {"", "ab", "abcd", "abd", "bbc", "ABC"}) {
    EXPECT_FALSE(s == Text<TypeParam>(other).get()) << other;
    EXPECT_TRUE(s != Text<TypeParam>(other).get()) << other;
  }
}

TYPED_TEST(BasicString, EqualityReadsNullAsEmpty) {
  const TypeParam* const null = nullptr;
  const core::basic_string<TypeParam> none;
  const core::basic_string<TypeParam> empty(Text<TypeParam>("").get());
  const core::basic_string<TypeParam> full(Text<TypeParam>("a").get());
  EXPECT_TRUE(none == null);
  EXPECT_TRUE(empty == null);
  EXPECT_TRUE(none == Text<TypeParam>("").get());
  EXPECT_FALSE(full == null);
  EXPECT_FALSE(none == Text<TypeParam>("a").get());
}

TYPED_TEST(BasicString, AppendingNullLeavesItAsItWas) {
  core::basic_string<TypeParam> s(Text<TypeParam>("text").get());
  const TypeParam* held = s.c_str();
  EXPECT_EQ(&s, &(s += nullptr));
  EXPECT_EQ(held, s.c_str());
  EXPECT_EQ("text", Ascii(s));
  core::basic_string<TypeParam> none;
  none += nullptr;
  EXPECT_TRUE(IsNull(none));
}

TYPED_TEST(BasicString, AppendingToNullGivesACopy) {
  const auto text = Text<TypeParam>("text");
  core::basic_string<TypeParam> s;
  s += text.get();
  EXPECT_NE(text.get(), s.c_str());
  EXPECT_EQ("text", Ascii(s));
  core::basic_string<TypeParam> empty;
  empty += Text<TypeParam>("").get();
  EXPECT_FALSE(IsNull(empty));
  EXPECT_EQ("", Ascii(empty));
}

TYPED_TEST(BasicString, AppendingJoins) {
  core::basic_string<TypeParam> s(Text<TypeParam>("ab").get());
  EXPECT_EQ(&s, &(s += Text<TypeParam>("cde").get()));
  EXPECT_EQ("abcde", Ascii(s));
  s += Text<TypeParam>("").get();
  EXPECT_EQ("abcde", Ascii(s));
  (s += Text<TypeParam>("f").get()) += Text<TypeParam>("g").get();
  EXPECT_EQ("abcdefg", Ascii(s));
}

TYPED_TEST(BasicString, AppendingTheOwnTextIsSafe) {
  core::basic_string<TypeParam> s(Text<TypeParam>("abc").get());
  s += s.c_str();
  EXPECT_EQ("abcabc", Ascii(s));
  s += s.c_str() + 4;
  EXPECT_EQ("abcabcbc", Ascii(s));
  s += s.c_str() + 8;
  EXPECT_EQ("abcabcbc", Ascii(s));
}

TYPED_TEST(BasicString, AppendingSurvivesAFailureThatPasses) {
  core::basic_string<TypeParam> s(Text<TypeParam>("ab").get());
  test_host::FailAllocations(2);
  s += Text<TypeParam>("c").get();
  EXPECT_EQ("abc", Ascii(s));
  EXPECT_EQ(2, test_host::WarnNoMemoryCalls());
  EXPECT_EQ(4 * sizeof(TypeParam), test_host::WarnNoMemorySize());
}

// The sum of the lengths with the terminator no longer fits 31 bits, then not 32 bits either.
TYPED_TEST(BasicString, AppendingMoreThanCanBeCountedLeavesItAsItWas) {
  for (size_t len : {size_t{INT_MAX} - 2, size_t{UINT_MAX} - 2, size_t{UINT_MAX} - 1}) {
    SCOPED_TRACE(len);
    const HugeText<TypeParam> text(len);
    if (!text.ok()) {
      GTEST_SKIP() << "no address space for a huge text";
    }
    core::basic_string<TypeParam> s(Text<TypeParam>("ab").get());
    const TypeParam* held = s.c_str();
    test_host::ResetPlatformMemory();
    test_host::FailAllocations(3);  // an attempt would stop the process, not fill the machine
    EXPECT_EQ(&s, &(s += text.get()));
    EXPECT_EQ(held, s.c_str());
    EXPECT_EQ("ab", Ascii(s));
    EXPECT_EQ(0, test_host::AllocationAttempts());
    test_host::ResetPlatformMemory();
  }
}

template <class C>
using BasicStringDeathTest = BasicString<C>;
TYPED_TEST_SUITE(BasicStringDeathTest, Characters, CharacterName);

TYPED_TEST(BasicStringDeathTest, AppendingAsMuchAsCanBeCountedAsksForTheMemory) {
  const HugeText<TypeParam> text(size_t{INT_MAX} - 3);
  if (!text.ok()) {
    GTEST_SKIP() << "no address space for a huge text";
  }
  core::basic_string<TypeParam> s(Text<TypeParam>("ab").get());
  test_host::FailAllocations(3);
  EXPECT_FATAL(s += text.get(), "core/mem1", 216);
  test_host::FailAllocations(0);
}

TYPED_TEST(BasicStringDeathTest, MemoryThatRunsOutStopsTheProcess) {
  core::basic_string<TypeParam> s(Text<TypeParam>("ab").get());
  const auto text = Text<TypeParam>("c");
  test_host::FailAllocations(3);
  EXPECT_FATAL(s += text.get(), "core/mem1", 216);
  EXPECT_FATAL(s = text.get(), "core/mem1", 216);
  EXPECT_FATAL(s.tokenize(text.get()), "core/mem1", 216);
  test_host::FailAllocations(0);
}

// Random changes, arguments in the own text included, against the standard library's string.
TYPED_TEST(BasicString, AgreesWithTheStandardString) {
  using Model = std::basic_string<TypeParam>;
  constexpr unsigned kSeed = 20240117;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  core::basic_string<TypeParam> s;
  Model model;
  for (int step = 0; step < 20000; step++) {
    const size_t from = random() % (model.size() + 1);
    const Model part = model.substr(from);
    const TypeParam* own = s.c_str() + from;
    const auto fresh = Text<TypeParam>(std::string(random() % 5, static_cast<char>('a' + random() % 26)));
    const size_t n = random() % (part.size() + 1);
    switch (random() % 6) {
      case 0:
        s += fresh.get();
        model += fresh.get();
        break;
      case 1:
        s += own;
        model += part;
        break;
      case 2:
        s = own;
        model = part;
        break;
      case 3:
        s.assign(own, n);
        model = from == 0 && !IsNull(s) && n < model.size() && s.c_str() == own ? model : part.substr(0, n);
        break;
      case 4:
        s = core::basic_string<TypeParam>(own, 0, n);
        model = part.substr(0, n);
        break;
      default:
        s = fresh.get();
        model = fresh.get();
        break;
    }
    if (model.size() > 100) {
      s = fresh.get();
      model = fresh.get();
    }
    ASSERT_EQ(model, s.c_str()) << step;
    ASSERT_EQ(model.size(), s.size()) << step;
    ASSERT_TRUE(s == model.c_str()) << step;
  }
}

TEST(BasicStringNarrow, OrdinaryLiteralsConvert) {
  String s = "a\xFF";
  EXPECT_STREQ("a\xFF", s.c_str());
  s = "b";
  s += "c";
  EXPECT_TRUE(s == "bc");
}

TEST(BasicStringWide, KeepsUnitsOf32Bits) {
  const std::wstring units = Units({0x1F600, 0xFFFFFFE9, 0x10000});
  WString s(units.c_str());
  EXPECT_EQ(units, s.c_str());
  s += s.c_str();
  EXPECT_EQ(units + units, s.c_str());
  EXPECT_FALSE(s == Units({0x600, 0xE9}).c_str());
}

}  // namespace
