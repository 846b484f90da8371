// General utilities, where only the whole shows a slip: generator sequences as values worked out apart,
// every probe of a search, and every string of the list of content types.
#include <gtest/gtest.h>
#include <limits.h>
#include <stdint.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/util/util_mime.h"
#include "core/util/util_random.h"
#include "core/util/util_sort.h"
#include "tests/support/content_tables.h"
#include "tests/support/text.h"

namespace {

using std::string;
using std::wstring;

// A digest of the next 2000 values: 64-bit FNV-1a over their bytes, low byte first.
uint64_t Digest() {
  uint64_t digest = 0xCBF29CE484222325u;
  for (int i = 0; i < 2000; ++i) {
    const uint32_t value = core::randomMT();
    for (int shift = 0; shift < 32; shift += 8) {
      digest = (digest ^ (value >> shift & 0xFF)) * 0x100000001B3u;
    }
  }
  return digest;
}

TEST(GeneratorRules, ASeedStartsItsSequence) {
  const struct {
    uint32_t seed;
    uint64_t digest;
  } kCases[] = {
      {1, 0x2F097BE66FC10703u},
      {0x7FFFFFFF, 0xE3086D38C28E6A27u},
      {0x80000000, 0x36ED3D4E04493D55u},
  };
  for (const auto& c : kCases) {
    core::seedMT(c.seed);
    EXPECT_EQ(c.digest, Digest()) << c.seed;
  }
}

std::unique_ptr<uint32_t[]> Key(int words) {
  std::unique_ptr<uint32_t[]> key(new uint32_t[static_cast<size_t>(words)]);
  for (int i = 0; i < words; ++i) {
    key[static_cast<size_t>(i)] = 0x9E3779B9u * static_cast<uint32_t>(i + 1) + 0xFFFFFFF0u;
  }
  return key;
}

TEST(GeneratorRules, AKeyOfAnyLengthStartsItsSequence) {
  const struct {
    int words;
    uint64_t digest;
  } kCases[] = {
      {1, 0xD070097A59E5E497u},   {2, 0xD141E4EDFBC67932u},    {3, 0x1F203BB80FCBA5CEu},    {4, 0xB3CA81778F8C6F3Du},
      {622, 0x183B17C8E2A816DDu}, {623, 0x102798C1F45B633Cu},  {624, 0x65214534804208CDu},  {625, 0x034889046E78A95Eu},
      {626, 0x6579B57FAD647A07u}, {1000, 0x05E21E9BDB4ABF20u}, {1248, 0x5B35F5A980EB2F46u},
  };
  for (const auto& c : kCases) {
    core::seedMT(Key(c.words).get(), c.words);
    EXPECT_EQ(c.digest, Digest()) << c.words;
  }
}

std::vector<uint32_t> g_probes;
const uint32_t* g_probed;

int ProbeNumber(const void* record, uint32_t key) {
  const uint32_t* number = static_cast<const uint32_t*>(record);
  g_probes.push_back(static_cast<uint32_t>(number - g_probed));
  return *number < key ? -1 : *number > key;
}

TEST(SearchRules, HalvesDownwardsAndComparesTheFoundRecordOnceMore) {
  for (uint32_t count = 0; count <= 33; ++count) {
    std::vector<uint32_t> numbers;
    for (uint32_t i = 0; i < count; ++i) {
      numbers.push_back(0x80000000u - 20 + i / 3 * 2);
    }
    for (uint32_t key = 0x80000000u - 22; key < 0x80000000u + 6; ++key) {
      std::vector<uint32_t> probes;
      uint32_t lo = 0;
      for (uint32_t hi = count; lo != hi;) {
        const uint32_t mid = (lo + hi - 1) / 2;
        probes.push_back(mid);
        (numbers[mid] < key ? lo : hi) = numbers[mid] < key ? mid + 1 : mid;
      }
      if (lo != count) {
        probes.push_back(lo);
      }
      const bool found = lo != count && numbers[lo] == key;
      g_probes.clear();
      g_probed = numbers.data();
      EXPECT_EQ(found ? static_cast<int32_t>(lo) : -static_cast<int32_t>(lo) - 1,
                core::qfind(numbers.data(), count, sizeof(uint32_t), key, ProbeNumber))
          << count << ' ' << key;
      EXPECT_EQ(probes, g_probes) << count << ' ' << key;
    }
  }
}

TEST(SearchRules, TheLastComparisonAloneDecidesWhatIsFound) {
  const uint32_t number = 1;
  EXPECT_EQ(-1, core::qfind(
                    &number, 1, 4, 5, +[](const void*, uint32_t) { return 1; }));
  EXPECT_EQ(0, core::qfind(
                   &number, 1, 4, 5, +[](const void*, uint32_t) { return 0; }));
  EXPECT_EQ(-2, core::qfind(
                    &number, 1, 4, 5, +[](const void*, uint32_t) { return INT_MIN; }));
}

TEST(ContentRules, UnitsThatOnlyShareTheirLowBitsWithALetterAreOthers) {
  EXPECT_TRUE(core::IsSafeFileExtension(Wide(Units({'e' + 0x100, 'x', 'e'})).get()));
  EXPECT_TRUE(core::IsSafeFileExtension(Wide(Units({'e', 'x', 'e' | 0x80000000u})).get()));
  EXPECT_FALSE(core::IsStreamableFileExtension(Wide(Units({'m' + 0x10000, 'k', 'v'})).get()));
  EXPECT_EQ(nullptr, core::GuessContentTypeFromFileName(Wide(Units({'x', '.', 'g', 'i', 'f' + 0x100})).get()));
  EXPECT_EQ(nullptr, core::GuessContentTypeFromFileName(Wide(Units({'x', '.' + 0x100, 'g', 'i', 'f'})).get()));
}

string Guess(const string& name) {
  const char* type = core::GuessContentTypeFromFileName(Wide(wstring(name.begin(), name.end())).get());
  return type != nullptr ? type : "(null)";
}

// On purpose: the list is searched string by string, whatever its column.
TEST(ContentRules, ATypeBehindADotGivesTheNextExtension) {
  const auto& rows = content_tables::Guesses();
  std::map<string, string> next;
  for (size_t i = 0; i + 1 < rows.size(); ++i) {
    next.emplace(rows[i].type, rows[i + 1].extension);
  }
  next.emplace("audio/basic", "(null)");
  for (const auto& [type, extension] : next) {
    if (type.find('.') == string::npos) {
      EXPECT_EQ(extension, Guess("a." + type)) << type;
    }
  }
  EXPECT_EQ("(null)", Guess("a.image/vnd.microsoft.icon"));
}

}  // namespace
