// The process's encoding, which another thread may change at any moment.
#include <set>
#include <string>

#include "tests/faults/faulty_import.h"

namespace faults {
namespace {

class ChangingLocale : public FaultyImport {
 protected:
  // Any text by its length, as an encoding of one unit for each byte.
  static size_t Widen(wchar_t* dst, const char** src, size_t bytes, size_t room) {
    EXPECT_NE(dst, nullptr) << "measured, to be converted later";
    EXPECT_EQ(room, bytes);
    for (size_t i = 0; dst && i < bytes; i++) {
      dst[i] = L'x';
    }
    *src += bytes;
    return bytes;
  }

  const std::string path_ = temp_.Write("a.torrent", SeveralFiles().Build());
};

TEST_F(ChangingLocale, EveryTextIsConvertedOnceIntoRoomForAnyResult) {
  std::multiset<std::string> texts;
  Calls().mbsnrtowcs = [&](wchar_t* dst, const char** src, size_t bytes, size_t room) {
    texts.emplace(*src, bytes);
    return Widen(dst, src, bytes, room);
  };
  const std::optional<Attributes> attributes = Import(path_);
  ASSERT_TRUE(attributes);
  EXPECT_EQ(attributes->at("kMDItemComment"), "xxxxxxxxx");
  EXPECT_EQ(texts.size(), SeveralFiles().files.size() + 3);  // the name and the two texts
  EXPECT_EQ(texts.size(), std::set<std::string>(texts.begin(), texts.end()).size());
}

TEST_F(ChangingLocale, EachTextMayMeetAnotherLocale) {
  int calls = 0;
  Calls().mbsnrtowcs = [&](wchar_t* dst, const char** src, size_t bytes, size_t room) {
    switch (++calls % 3) {
      case 0:
        return static_cast<size_t>(-1);
      case 1:
        dst[0] = L'y';
        return size_t{1};
      default:
        return Widen(dst, src, bytes, room);
    }
  };
  const std::optional<Attributes> attributes = Import(path_);
  ASSERT_TRUE(attributes);
  EXPECT_EQ(attributes->at("kMDItemComment"), "y");
  EXPECT_EQ(attributes->at("kMDItemCreator"), "xxxxxxxxxxx");
}

}  // namespace
}  // namespace faults
