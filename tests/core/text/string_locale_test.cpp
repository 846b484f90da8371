// Text in the locale's encoding, and the temporaries of the calling thread.
#include <errno.h>
#include <gtest/gtest.h>
#include <wchar.h>

#include <string>
#include <thread>

#include "core/base/host.h"
#include "core/format/strfmt.h"
#include "core/text/nustr.h"
#include "core/text/string.h"
#include "tests/support/fatal.h"
#include "tests/support/scoped_locale.h"
#include "tests/support/test_host.h"
#include "tests/support/text.h"

namespace {

using std::string;
using std::wstring;

// How the platform's wide-to-multibyte conversion behaves in this program.
enum class Conversion { kNormal, kFailsOnceWithAnotherError, kConvertsLessThanMeasured, kFindsAnotherLocale };
Conversion conversion = Conversion::kNormal;
int times = 0;  // that it still behaves so, when it converts

}  // namespace

// Takes the place of the platform's function.
extern "C" size_t wcsrtombs(char* dst, const wchar_t** src, size_t size, mbstate_t* state) {
  if (conversion == Conversion::kFailsOnceWithAnotherError) {
    conversion = Conversion::kNormal;
    errno = EINVAL;
    return static_cast<size_t>(-1);
  }
  const bool odd = dst != nullptr && times > 0;
  times -= odd ? 1 : 0;
  if (odd && conversion == Conversion::kFindsAnotherLocale) {
    setlocale(LC_CTYPE, "C");
  }
  const size_t len = wcsnrtombs(dst, src, wcslen(*src) + 1, size, state);
  return odd && conversion == Conversion::kConvertsLessThanMeasured ? len - 1 : len;
}

namespace {

class ScopedConversion {
 public:
  explicit ScopedConversion(Conversion wanted, int how_often = 1) {
    conversion = wanted;
    times = how_often;
  }
  ~ScopedConversion() {
    conversion = Conversion::kNormal;
    times = 0;
  }
};

TEST(ToUnicodeAlloc, ConvertsFromTheLocale) {
  const ScopedLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  EXPECT_EQ(L"a\u00E9\u20AC", Take(core::to_unicode_alloc(Narrow("a\xC3\xA9\xE2\x82\xAC").get())));
  EXPECT_EQ(L"", Take(core::to_unicode_alloc("")));
}

TEST(ToUnicodeAlloc, ConvertsFromALegacyLocale) {
  const Latin1Locale latin1;
  if (!latin1.ok()) {
    GTEST_SKIP() << "no ISO-8859-1 locale, and localedef cannot make one";
  }
  EXPECT_EQ(L"caf\u00E9", Take(core::to_unicode_alloc(Narrow("caf\xE9").get())));
}

TEST(ToUnicodeAlloc, TextThatCannotBeConvertedIsEmpty) {
  const ScopedLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  EXPECT_EQ(L"", Take(core::to_unicode_alloc("abc\xFF")));
  EXPECT_EQ(L"", Take(core::to_unicode_alloc("\xC3")));
}

TEST(ToUnicodeAlloc, CopiesWideText) {
  const wstring units = Units({'a', 0xFFFFFFE9, 0x1F600});
  EXPECT_EQ(units, Take(core::to_unicode_alloc(units.c_str())));
}

TEST(ToUnicodeAlloc, NullGivesNull) {
  EXPECT_EQ(nullptr, core::to_unicode_alloc(static_cast<const char*>(nullptr)));
  EXPECT_EQ(nullptr, core::to_unicode_alloc(static_cast<const wchar_t*>(nullptr)));
}

TEST(ToAnsiAlloc, ConvertsToTheLocale) {
  const ScopedLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  EXPECT_EQ("a\xC3\xA9\xE2\x82\xAC", Take(core::to_ansi_alloc(Wide(L"a\u00E9\u20AC").get())));
  EXPECT_EQ("", Take(core::to_ansi_alloc(L"")));
}

TEST(ToAnsiAlloc, ConvertsToALegacyLocale) {
  const Latin1Locale latin1;
  if (!latin1.ok()) {
    GTEST_SKIP() << "no ISO-8859-1 locale, and localedef cannot make one";
  }
  EXPECT_EQ("caf\xE9 \xB5", Take(core::to_ansi_alloc(L"caf\u00E9 \u00B5")));
}

TEST(ToAnsiAlloc, OneIllegalUnitReplacesEveryUnitFrom127Up) {
  const Latin1Locale latin1;
  if (!latin1.ok()) {
    GTEST_SKIP() << "no ISO-8859-1 locale, and localedef cannot make one";
  }
  // The first two and DEL could be converted; the euro sign cannot.
  EXPECT_EQ("?u?~?", Take(core::to_ansi_alloc(L"\u00E9\u00B5\u007F~\u20AC")));
}

TEST(ToAnsiAlloc, PlainLocaleTakesTheReplacements) {
  const ScopedLocale plain("C");
  EXPECT_EQ("5 um ??", Take(core::to_ansi_alloc(L"5 \u00B5m \u6F22\u5B57")));
}

TEST(ToAnsiAlloc, NegativeUnitsAreNotReplacedAndMayFail) {
  const ScopedLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  const test_host::Scope host;
  const long live = test_host::LiveBlocks();
  EXPECT_EQ(nullptr, core::to_ansi_alloc(Wide(Units({'a', 0xFFFFFFE9})).get()));
  EXPECT_EQ(live, test_host::LiveBlocks());
  // Their low 8 bits count: 0x41 is a letter, 0 ends the text.
  EXPECT_EQ("A", Take(core::to_ansi_alloc(Wide(Units({0x80000041})).get())));
  EXPECT_EQ("a", Take(core::to_ansi_alloc(Wide(Units({'a', 0x80000000, 'b'})).get())));
}

TEST(ToAnsiAlloc, AnyOtherErrorGivesNull) {
  const ScopedConversion failing(Conversion::kFailsOnceWithAnotherError);
  EXPECT_EQ(nullptr, core::to_ansi_alloc(L"abc"));
}

TEST(ToAnsiAlloc, CopiesNarrowText) {
  const Narrow text("a\xFF");
  const Owned<char> copy(core::to_ansi_alloc(text.get()));
  EXPECT_NE(text.get(), copy.get());
  EXPECT_STREQ("a\xFF", copy.get());
}

TEST(ToAnsiAlloc, NullGivesNull) {
  EXPECT_EQ(nullptr, core::to_ansi_alloc(static_cast<const char*>(nullptr)));
  EXPECT_EQ(nullptr, core::to_ansi_alloc(static_cast<const wchar_t*>(nullptr)));
}

TEST(ToAnsiAllocDeathTest, ConvertedLengthOtherThanMeasuredIsFatal) {
  const ScopedConversion shorter(Conversion::kConvertsLessThanMeasured, 3);
  EXPECT_FATAL(core::to_ansi_alloc(L"abc"), "core/string", 477);
}

// Another thread may change the locale between measuring and converting.
TEST(ToAnsiAlloc, MeasuresAnewWhenTheLocaleHasChanged) {
  const ScopedLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  const test_host::Scope host;
  const long live = test_host::LiveBlocks();
  {
    const ScopedConversion changing(Conversion::kFindsAnotherLocale);
    EXPECT_EQ("caf?", Take(core::to_ansi_alloc(L"caf\u00E9")));
  }
  for (int how_often : {1, 2}) {
    const ScopedConversion shorter(Conversion::kConvertsLessThanMeasured, how_often);
    EXPECT_EQ("abc", Take(core::to_ansi_alloc(L"abc"))) << how_often;
  }
  EXPECT_EQ(live, test_host::LiveBlocks());
}

TEST(ToAnsi, NarrowTextIsReturnedAsItIs) {
  const char* text = "abc";
  EXPECT_EQ(text, core::to_ansi(text));
  EXPECT_EQ(nullptr, core::to_ansi(static_cast<const char*>(nullptr)));
}

TEST(ToAnsiChar, ReplacesFrom127Up) {
  const struct {
    unsigned unit;
    char character;
  } kCases[] = {
      {0, 0},          {'a', 'a'},           {126, '~'},           {127, '?'},           {128, '?'},
      {180, '?'},      {181, 'u'},           {182, '?'},           {0x20AC, '?'},        {0x7FFFFFFF, '?'},
      {0x1F600, '?'},  {0xFFFFFFFF, '\xFF'}, {0xFFFFFFE9, '\xE9'}, {0xFFFFFF80, '\x80'}, {0xFFFFFF7F, '\x7F'},
      {0x80000000, 0}, {0x80000041, 'A'},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(c.character, core::to_ansi_char(static_cast<wchar_t>(c.unit))) << c.unit;
  }
}

// Each test has a thread of its own, and with it a fresh thread block, which is gone at the end.
class TempString : public testing::Test {
 protected:
  template <class Body>
  void OnNewThread(Body body) {
    const long live = test_host::LiveBlocks();
    std::thread(body).join();
    EXPECT_EQ(live, test_host::LiveBlocks());
  }
};

TEST_F(TempString, SlotOwnsWhatItWasGiven) {
  OnNewThread([] {
    wchar_t* first = core::wstrdup(L"first");
    EXPECT_EQ(first, core::str_temp(first));
    EXPECT_EQ(first, core::GetTLS()->temp_wide);
    wchar_t* second = core::wstrdup(L"second");
    const long live = test_host::LiveBlocks();
    EXPECT_EQ(second, core::str_temp(second));
    EXPECT_EQ(live - 1, test_host::LiveBlocks());
    EXPECT_STREQ(L"second", core::GetTLS()->temp_wide);
  });
  OnNewThread([] {
    char* first = core::nustrdup("first");
    EXPECT_EQ(first, core::str_temp_ansi(first));
    char* second = core::nustrdup("second");
    const long live = test_host::LiveBlocks();
    EXPECT_EQ(second, core::str_temp_ansi(second));
    EXPECT_EQ(live - 1, test_host::LiveBlocks());
    EXPECT_STREQ("second", core::GetTLS()->temp_narrow);
  });
}

TEST_F(TempString, StoringTheSlotsOwnStringChangesNothing) {
  OnNewThread([] {
    wchar_t* wide = core::str_temp(core::wstrdup(L"wide"));
    char* narrow = core::str_temp_ansi(core::nustrdup("narrow"));
    const long live = test_host::LiveBlocks();
    EXPECT_EQ(wide, core::str_temp(wide));
    EXPECT_EQ(narrow, core::str_temp_ansi(narrow));
    EXPECT_EQ(live, test_host::LiveBlocks());
    EXPECT_STREQ(L"wide", wide);
    EXPECT_STREQ("narrow", narrow);
  });
}

TEST_F(TempString, NullEmptiesTheSlot) {
  OnNewThread([] {
    core::str_temp(core::wstrdup(L"wide"));
    core::str_temp_ansi(core::nustrdup("narrow"));
    EXPECT_EQ(nullptr, core::str_temp(nullptr));
    EXPECT_EQ(nullptr, core::str_temp_ansi(nullptr));
    EXPECT_EQ(nullptr, core::GetTLS()->temp_wide);
    EXPECT_EQ(nullptr, core::GetTLS()->temp_narrow);
  });
}

TEST_F(TempString, ConversionsHaveSlotsOfTheirOwn) {
  OnNewThread([] {
    wchar_t* temp_wide = core::str_temp(core::wstrdup(L"wide"));
    char* temp_narrow = core::str_temp_ansi(core::nustrdup("narrow"));
    wchar_t* unicode = core::to_unicode("unicode");
    char* ansi = core::to_ansi(L"ansi");
    EXPECT_STREQ(L"wide", temp_wide);
    EXPECT_STREQ("narrow", temp_narrow);
    EXPECT_STREQ(L"unicode", unicode);
    EXPECT_STREQ("ansi", ansi);
    EXPECT_EQ(unicode, core::GetTLS()->last_unicode);
    EXPECT_EQ(ansi, core::GetTLS()->last_ansi);
  });
}

TEST_F(TempString, BothWidthsOfToUnicodeShareASlot) {
  OnNewThread([] {
    core::to_unicode("narrow");
    const long live = test_host::LiveBlocks();
    EXPECT_STREQ(L"wide", core::to_unicode(L"wide"));
    EXPECT_EQ(live, test_host::LiveBlocks());
  });
}

TEST_F(TempString, ConversionMayReadWhatItsSlotHolds) {
  OnNewThread([] {
    const wchar_t* text = core::to_unicode("unicode");
    EXPECT_STREQ(L"code", core::to_unicode(text + 3));
  });
}

TEST_F(TempString, ConversionOfNullEmptiesItsSlot) {
  OnNewThread([] {
    core::to_unicode("a");
    core::to_ansi(L"a");
    EXPECT_EQ(nullptr, core::to_unicode(static_cast<const char*>(nullptr)));
    EXPECT_EQ(nullptr, core::to_unicode(static_cast<const wchar_t*>(nullptr)));
    EXPECT_EQ(nullptr, core::to_ansi(static_cast<const wchar_t*>(nullptr)));
    EXPECT_EQ(nullptr, core::GetTLS()->last_unicode);
    EXPECT_EQ(nullptr, core::GetTLS()->last_ansi);
  });
}

TEST_F(TempString, ThreadsHaveTheirOwn) {
  OnNewThread([] {
    const wchar_t* mine = core::str_temp(core::wstrdup(L"mine"));
    std::thread([] { core::str_temp(core::wstrdup(L"other")); }).join();
    EXPECT_STREQ(L"mine", mine);
  });
}

}  // namespace
