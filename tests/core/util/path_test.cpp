// Path helpers.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "core/util/util.h"
#include "tests/support/test_host.h"
#include "tests/support/text.h"

using namespace core;

namespace {

struct Case {
  const wchar_t* path;
  const wchar_t* result;
};

TEST(GetFilename, IsTheTextAfterTheLastSlash) {
  const Case kCases[] = {{L"/a/b.txt", L"b.txt"}, {L"b.txt", L"b.txt"}, {L"/a/", L""}, {L"", L""}, {L"/", L""}};
  for (const Case& c : kCases) {
    const Wide wide{std::wstring_view(c.path)};
    const std::wstring_view path = wide.view();
    const Narrow narrow(std::string(path.begin(), path.end()));
    EXPECT_STREQ(c.result, getfilename(wide.get()));
    const std::wstring_view result = c.result;
    EXPECT_EQ(std::string(result.begin(), result.end()), getfilename(narrow.get()));
  }
}

TEST(GetFileExt, IsTheTextAfterTheLastDotOfTheLastElement) {
  const Case kCases[] = {{L"/a/b.tar.gz", L"gz"}, {L".profile", L"profile"}, {L"/a.b/.c", L"c"}, {L"a.", L""},
                         {L"/a.b/c", nullptr},    {L"abc", nullptr},         {L"", nullptr},     {L"a.b/", nullptr}};
  for (const Case& c : kCases) {
    EXPECT_STREQ(c.result, getfileext(Wide(c.path).get()) == nullptr ? nullptr : getfileext(c.path));
  }
}

template <class Edit>
void ExpectInPlace(Edit edit, const Case& c) {
  Wide path{std::wstring_view(c.path)};
  EXPECT_EQ(path.get(), edit(path.data()));
  EXPECT_STREQ(c.result, path.get());
}

TEST(StripLastSep, RemovesSlashesDownToThreeCharacters) {
  const Case kCases[] = {{L"///", L"///"},     {L"/a///", L"/a/"}, {L"/abc/", L"/abc"}, {L"////", L"///"},
                         {L"ab/", L"ab/"},     {L"abc/", L"abc"},  {L"/abc", L"/abc"},  {L"/a/b", L"/a/b"},
                         {L"/a/b//", L"/a/b"}, {L"/", L"/"},       {L"", L""},          {L"ab//", L"ab/"}};
  for (const Case& c : kCases) {
    ExpectInPlace(striplastsep, c);
  }
}

TEST(StripFilename, KeepsASlashAmongTheFirstThreeCharacters) {
  const Case kCases[] = {{L"/file", L"/"},    {L"/dir/file", L"/dir"}, {L"a/x", L"a/"},  {L"ab/x", L"ab/"},
                         {L"abc/x", L"abc"},  {L"file", L"file"},      {L"", L""},       {L"/", L"/"},
                         {L"/a/b/", L"/a/b"}, {L"//x", L"//"},         {L"///", L"///"}, {L"/dir//x", L"/dir/"}};
  for (const Case& c : kCases) {
    ExpectInPlace(stripfilename, c);
  }
}

const wchar_t* Behind(const wchar_t* path, const wchar_t* prefix) {
  const Wide exact{std::wstring_view(path)};
  const Wide exact_prefix{std::wstring_view(prefix)};
  const wchar_t* rest = DirHasPrefix(exact.get(), exact_prefix.get());
  return rest == nullptr ? nullptr : path + (rest - exact.get());
}

TEST(DirHasPrefix, ReturnsWhatFollowsTheFolderAndItsSlashes) {
  EXPECT_STREQ(L"x", Behind(L"/Users/Me/x", L"/users/me"));
  EXPECT_STREQ(L"x", Behind(L"/Users/Me/x", L"/users/me/"));
  EXPECT_STREQ(L"x", Behind(L"/users/me///x", L"/USERS/ME"));
  EXPECT_STREQ(L"x", Behind(L"/users/me///x", L"/users/me/"));
  EXPECT_STREQ(L"", Behind(L"/users/me", L"/users/me"));
  EXPECT_STREQ(L"", Behind(L"/users/me/", L"/users/me/"));
  EXPECT_STREQ(L"a", Behind(L"/a", L"/"));
}

TEST(DirHasPrefix, RefusesWhatIsNotInTheFolder) {
  EXPECT_EQ(nullptr, Behind(L"/Users/Me/x", L"/users/m"));
  EXPECT_EQ(nullptr, Behind(L"/users/me", L"/users/me/"));
  EXPECT_EQ(nullptr, Behind(L"/users", L"/users/me"));
  EXPECT_EQ(nullptr, Behind(L"", L"/"));
  EXPECT_EQ(nullptr, Behind(L"/other/me/x", L"/users/me"));
}

TEST(DirHasPrefix, EmptyPrefixIsNoFolder) {
  EXPECT_EQ(nullptr, Behind(L"/a", L""));
  EXPECT_EQ(nullptr, Behind(L"", L""));
}

class CanonicalPaths : public testing::Test {
 protected:
  void Register() {
    test_host::RegisterCanonicalPath(L"link", L"/real/dir");
    test_host::RegisterCanonicalPath(L"link/x", L"/real/dir/x");
    test_host::RegisterCanonicalPath(L"other", L"/real/Dir");
    test_host::RegisterCanonicalPath(L"near", L"/real/director");
  }

 private:
  test_host::Scope scope_;
};

TEST_F(CanonicalPaths, ContainComparesCanonicalTextOnly) {
  Register();
  EXPECT_TRUE(PathContains(L"link", L"link/x"));
  EXPECT_TRUE(PathContains(L"link", L"/real/dir"));
  EXPECT_TRUE(PathContains(L"link", L"near"));
  EXPECT_FALSE(PathContains(L"link/x", L"link"));
  EXPECT_FALSE(PathContains(L"other", L"link/x"));
}

TEST_F(CanonicalPaths, AreTheSameWhenEqualInCase) {
  Register();
  EXPECT_TRUE(IsSamePath(L"link", L"/real/dir"));
  EXPECT_FALSE(IsSamePath(L"link", L"other"));
  EXPECT_FALSE(IsSamePath(L"link", L"near"));
  EXPECT_FALSE(IsSamePath(L"near", L"link"));
}

TEST_F(CanonicalPaths, AreFreed) {
  const long before = test_host::LiveBlocks();
  IsSamePath(L"/a", L"/b");
  PathContains(L"/a", L"/a/b");
  EXPECT_EQ(before, test_host::LiveBlocks());
}

}  // namespace
