// The rules by which the paths of a torrent's files are put together.
#include "tests/plugin/reader_rules.h"

namespace {

TEST_F(ReaderRules, PathIsTheUtf8OneWhenItIsAList) {
  const auto with = [](const std::string& utf8, const std::string& plain) {
    Fields entries = {{"length", Int(1536)}};
    if (!utf8.empty()) {
      entries.emplace_back("path.utf-8", utf8);
    }
    if (!plain.empty()) {
      entries.emplace_back("path", plain);
    }
    return Files({Dict(entries)});
  };
  ExpectEach({{"both", with(Path({"u"}), Path({"p"})), "1.5 kB in 1 file [u]"},
              {"the UTF-8 one alone", with(Path({"u"}), ""), "1.5 kB in 1 file [u]"},
              {"the UTF-8 one text", with(Str("u"), Path({"p"})), "1.5 kB in 1 file [p]"},
              {"the UTF-8 one empty", with("le", Path({"p"})), kRefused},
              {"the UTF-8 one with an integer", with(List({Str("u"), Int(1)}), Path({"p"})), kRefused},
              {"the UTF-8 one undecodable", with(Path({"a", "\xFF"}), Path({"p"})), "1.5 kB in 1 file []"},
              {"the plain one bad and unused", with(Path({"u"}), List({Int(1)})), "1.5 kB in 1 file [u]"},
              {"text", with("", Str("p")), kRefused},
              {"dictionary", with("", Dict({{"a", Str("p")}})), kRefused},
              {"empty", with("", "le"), kRefused},
              {"holds a list", with("", List({Str("p"), List({Str("q")})})), kRefused},
              {"holds an integer", with("", List({Int(1), Str("p")})), kRefused},
              {"neither", with("", ""), kRefused}});
}

TEST_F(ReaderRules, PathComponentsAreCleaned) {
  struct Row {
    const char* name;
    std::vector<std::string> components;
    std::string path;
  };
  const Row rows[] = {{"all rules at once", {"a", ".", "..", "", "b/c "}, "a/b_c_"},
                      {"slash and two spaces", {"a/b  "}, "a_b__"},
                      {"leading space", {" a"}, " a"},
                      {"spaces alone", {"   "}, "___"},
                      {"one space", {" "}, "_"},
                      {"spaces inside", {"a b c "}, "a b c_"},
                      {"spaces of each component", {"a ", "b "}, "a_/b_"},
                      {"slash alone", {"/"}, "_"},
                      {"absolute", {"/etc/passwd"}, "_etc_passwd"},
                      {"slash then spaces", {"a/ "}, "a__"},
                      {"space then slash", {"a /"}, "a _"},
                      {"space, slash, space", {"a / "}, "a __"},
                      {"climbing in one component", {"../../x"}, ".._.._x"},
                      {"dots and a slash", {"../", "./"}, ".._/._"},
                      {"dots and a space", {".. ", ". "}, ".._/._"},
                      {"space and dots", {" ..", " ."}, " ../ ."},
                      {"three dots", {"...", "a"}, ".../a"},
                      {"hidden", {".a", "..b"}, ".a/..b"},
                      {"zero byte inside", {Bytes("a\0b")}, "a_b"},
                      {"zero byte alone", {Bytes("\0")}, "_"},
                      {"dots and a zero byte", {Bytes("..\0"), Bytes(".\0")}, ".._/._"},
                      {"space and a zero byte", {Bytes("a \0")}, "a _"},
                      {"zero byte and a space", {Bytes("a\0 ")}, "a__"},
                      {"tab at the end", {"a\t"}, "a\t"},
                      {"other space at the end", {"a\xC2\xA0"}, "a\xC2\xA0"},
                      {"backslash and colon", {"a\\b", "c:"}, "a\\b/c:"},
                      {"skipped first", {"..", "a"}, "a"},
                      {"skipped last", {"a", ".."}, "a"},
                      {"skipped between", {"a", "", "b"}, "a/b"},
                      {"only dots", {".", ".."}, ""},
                      {"only empty", {"", ""}, ""},
                      {"above U+FFFF", {"a", kFace}, ""},
                      {"not UTF-8", {"a", "\xFF", "b"}, "a/b"},
                      {"overlong slash", {"a", "\xC0\xAF", "b"}, "a/b"},
                      {"three bytes", {"\xE4\xB8\xAD ", "\xE2\x82\xAC"}, "\xE4\xB8\xAD_/\xE2\x82\xAC"},
                      {"as a format", {"%@", "%d"}, "%@/%d"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Import(Files({File(Path(row.components))})), "1.5 kB in 1 file [" + row.path + "]");
  }
}

// The platform takes a byte order mark in front for no part of the text, after the components have been
// cleaned.
TEST_F(ReaderRules, ByteOrderMarkInFrontOfAPathUncoversWhatFollowsIt) {
  const std::string mark = "\xEF\xBB\xBF";
  const auto with = [](const std::vector<std::string>& path) { return Files({File(Path(path))}); };
  const std::string begin = "1.5 kB in 1 file [";
  ExpectEach({{"two dots", with({mark + "..", "etc"}), begin + "../etc]"},
              {"one dot", with({mark + ".", "a"}), begin + "./a]"},
              {"nothing", with({mark, "etc"}), begin + "/etc]"},
              {"behind a component left out", with({"..", mark + "..", "etc"}), begin + "../etc]"},
              {"a second mark", with({mark + mark + "..", "a"}), begin + mark + "../a]"},
              {"behind a component", with({"a", mark + "..", mark, "b"}), begin + "a/" + mark + "../" + mark + "/b]"},
              {"a slash", with({mark + "/etc"}), begin + "_etc]"}});
}

TEST_F(ReaderRules, ComponentsAreCleanedAtEveryPlace) {
  // What replaces a character may depend on where it stands, when several are looked at in one step.
  for (size_t before = 0; before < 40; before++) {
    const std::string a(before, 'a');
    for (const size_t after : {0, 1, 8, 17}) {
      SCOPED_TRACE(std::to_string(before) + " before, " + std::to_string(after) + " after");
      const std::string b(after, 'b');
      const std::string spaces(after, ' ');
      const std::string cleaned(after, '_');
      std::vector<std::string> paths = {a + "_" + b + "/1", a + "_" + b + "/2", a + kAcuteE + b + "/3",
                                        a + "x" + cleaned + "/4", a + " y" + b + "/5"};
      std::sort(paths.begin(), paths.end());
      std::string names;
      for (const std::string& path : paths) {
        names += (names.empty() ? "" : "|") + path;
      }
      EXPECT_EQ(Import(Files({File(Path({a + "/" + b, "1"}), 1), File(Path({a + Bytes("\0") + b, "2"}), 1),
                              File(Path({a + kAcuteE + b, "3"}), 1), File(Path({a + "x" + spaces, "4"}), 1),
                              File(Path({a + " y" + b, "5"}), 1)})),
                "5 B in 5 files [" + names + "]");
    }
  }
}

TEST_F(ReaderRules, PathsMayHaveManyComponents) {
  std::string path = "a";
  for (int i = 1; i < 20000; i++) {
    path += "/a";
  }
  EXPECT_EQ(Import(Files({File(Path(std::vector<std::string>(20000, "a")))})), "1.5 kB in 1 file [" + path + "]");
}

TEST_F(ReaderRules, OverlongFormsInDeclaredUtf8AreTheirCharacters) {
  const auto with = [](const std::vector<std::string>& path) {
    return Torrent({{"length", ""}, {"files", List({File(Path(path))})}}, {{"encoding", Str("UTF-8")}});
  };
  ExpectEach({{"dots", with({"a", "\xC0\xAE\xC0\xAE", "\xC0\xAE", "b"}), "1.5 kB in 1 file [a/b]"},
              {"slash",
               with({"a\xC0\xAF"
                     "b"}),
               "1.5 kB in 1 file [a_b]"},
              {"slash in three bytes", with({"..\xE0\x80\xAF"}), "1.5 kB in 1 file [.._]"},
              {"space", with({"a\xC0\xA0"}), "1.5 kB in 1 file [a_]"},
              {"zero",
               with({"a\xC0\x80"
                     "b"}),
               "1.5 kB in 1 file [a_b]"}});
}

TEST_F(ReaderRules, FilesOfOnePathAreOneFile) {
  const auto two = [](const std::vector<std::string>& a, const std::vector<std::string>& b) {
    return Files({File(Path(a), 1024), File(Path(b), 512)});
  };
  const std::string one = "1.5 kB in 1 file [";
  ExpectEach({{"the same", two({"a", "b"}, {"a", "b"}), one + "a/b]"},
              {"after cleaning", two({"a/b"}, {"a_b"}), one + "a_b]"},
              {"after skipping", two({"a"}, {".", "a", ".."}), one + "a]"},
              {"nothing left of either", two({"."}, {""}), one + "]"},
              {"refused by the platform", two({kFace}, {"b", kFace}), one + "]"},
              {"other case", two({"a"}, {"A"}), "1.5 kB in 2 files [A|a]"},
              {"folder and name", two({"a", "b"}, {"a/b"}), "1.5 kB in 2 files [a/b|a_b]"},
              {"composed and decomposed", two({kAcuteE}, {"e\xCC\x81"}),
               std::string("1.5 kB in 2 files [e\xCC\x81|") + kAcuteE + "]"},
              {"twice and another", Files({File(Path({"a"}), 512), File(Path({"b"}), 512), File(Path({"a"}), 512)}),
               "1.5 kB in 2 files [a|b]"}});
}

}  // namespace
