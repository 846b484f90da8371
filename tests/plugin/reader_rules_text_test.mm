// The rules by which a torrent's texts are read: names, comments and their encoding.
#include "tests/plugin/reader_rules.h"

namespace {

TEST_F(ReaderRules, NameIsTheUtf8OneWhenThereIsOne) {
  const auto with = [](const std::string& utf8, const std::string& plain) {
    return Torrent({{"name.utf-8", utf8}, {"name", plain}});
  };
  ExpectEach({{"both", with(Str("u"), Str("p")), "1.5 kB in 1 file [u]"},
              {"the UTF-8 one alone", with(Str("u"), ""), "1.5 kB in 1 file [u]"},
              {"the UTF-8 one empty", with(Str(""), Str("p")), "1.5 kB in 1 file []"},
              {"the UTF-8 one undecodable", with(Str("\xE9"), Str("p")), "1.5 kB in 1 file []"},
              {"the UTF-8 one no text", with(Int(1), Str("p")), "1.5 kB in 1 file [p]"},
              {"the plain one no text", with(Str("u"), Int(1)), "1.5 kB in 1 file [u]"},
              {"the plain one empty", with("", Str("")), "1.5 kB in 1 file []"},
              {"neither text", with(Int(1), List({Str("p")})), kRefused},
              {"neither", with("", ""), kRefused}});
}

TEST_F(ReaderRules, NameOfASingleFileIsNotCleaned) {
  for (const char* name : {"a/b", "../../x", "..", ".", "/", "trailing  ", " ", "a\nb", "%@%d"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(Import(Torrent({{"name", Str(name)}})), std::string("1.5 kB in 1 file [") + name + "]");
  }
}

TEST_F(ReaderRules, TextsEndAtTheirFirstZeroByte) {
  const auto with = [](const std::string& text) {
    return Torrent({{"name", Str(text)}}, {{"comment", Str(text)}, {"created by", Str(text)}});
  };
  ExpectEach(
      {{"inside", with(Bytes("ab\0cd")), "1.5 kB in 1 file [ab] by <ab> says <ab>"},
       {"at the start", with(Bytes("\0cd")), "1.5 kB in 1 file [] by <>"},
       {"overlong, at the start", Torrent({}, {{"encoding", Str("utf8")}, {"comment", Str("\xC0\x80zz")}}), kRead}});
}

TEST_F(ReaderRules, TextsThatThePlatformRefusesAreEmpty) {
  const auto with = [](const std::string& text, const std::string& encoding) {
    return Torrent({{"name", Str(text)}},
                   {{"comment", Str(text)}, {"created by", Str(text)}, {"encoding", Str(encoding)}});
  };
  const std::string empty = "1.5 kB in 1 file [] by <>";
  ExpectEach({{"above U+FFFF", with(std::string("a") + kFace, ""), empty},
              {"above U+FFFF, declared UTF-8", with(std::string("a") + kFace, "UTF-8"), empty},
              {"stray byte, declared UTF-8", with("a\xFF", "UTF-8"), empty},
              {"cut character, declared UTF-8", with("a\xE2\x82", "UTF-8"), empty},
              {"stray byte, in a locale that refuses it too", with("a\xFF", ""), empty},
              {"half of a pair, declared UTF-8", with("a\xED\xA0\x80", "UTF-8"), empty},
              {"largest of three bytes", with("\xEF\xBF\xBD", "UTF-8"),
               "1.5 kB in 1 file [\xEF\xBF\xBD] by <\xEF\xBF\xBD> says <\xEF\xBF\xBD>"}});
}

TEST_F(ReaderRules, CommentAndCreatorAreTexts) {
  const auto with = [](const std::string& key, const std::string& value) { return Torrent({}, {{key, value}}); };
  ExpectEach({{"comment", with("comment", Str("c")), std::string(kRead) + " says <c>"},
              {"empty comment", with("comment", Str("")), kRead},
              {"comment of a space", with("comment", Str(" ")), std::string(kRead) + " says < >"},
              {"comment that is an integer", with("comment", Int(5)), kRead},
              {"comment that is a list", with("comment", List({Str("c")})), kRead},
              {"comment under another key", with("comment.utf-8", Str("c")), kRead},
              {"creator", with("created by", Str("c")), std::string(kRead) + " by <c>"},
              {"empty creator", with("created by", Str("")), std::string(kRead) + " by <>"},
              {"creator that is an integer", with("created by", Int(5)), kRead},
              {"creator that is a dictionary", with("created by", Dict({{"a", Str("c")}})), kRead},
              {"creator under another key", with("created by.utf-8", Str("c")), kRead},
              {"both in the info dictionary", Torrent({{"comment", Str("c")}, {"created by", Str("c")}}), kRead}});
}

// The code page that a torrent's "encoding" gives, told by what becomes of two texts in a Latin-1 locale.
std::string CodePageOf(const std::string& outcome) {
  const std::string begin = std::string(kRead) + " by <";
  const std::map<std::string, std::string> pages = {{begin + kAcuteE + "> says <" + kAcuteE + ">", "UTF-8 or locale"},
                                                    {begin + "> says <" + kAcuteE + ">", "UTF-8"},
                                                    {begin + kAcuteE + "> says <" + kAcuteEAsLatin1 + ">", "locale"}};
  const auto page = pages.find(outcome);
  return page == pages.end() ? outcome : page->second;
}

TEST_F(ReaderRules, EncodingGivesTheCodePage) {
  const Latin1Locale locale;
  if (!locale.ok()) {
    GTEST_SKIP() << "no Latin-1 locale, and none can be made";
  }
  const std::vector<std::pair<std::string, std::vector<std::string>>> encodings = {
      {"UTF-8",
       {Str("UTF-8"), Str("utf-8"), Str("utf8"), Str("UTF8"), Str("uTf8"), Str("cp1"), Str("CP01"), Str("windows-1"),
        Str("Windows-1x"), Str("cp 1"), Int(1), Int(4294967297), "i1xe"}},
      {"locale",
       {Str("big5"), Str("BIG5"), Str("Korean"), Str("uhc"), Str("chinese"), Str("GB2312"), Str("gbk"), Str("Japanese"),
        Str("shift-jis"), Str("Shift-JIS"), Str("Windows-1251"), Str("WINDOWS-1252x"), Str("windows-2"), Str("cp936"),
        Str("CP1252"), Int(932), Int(2), Int(-1), Int(4294967298)}},
      {"UTF-8 or locale",
       {"",
        Str(""),
        Str("ansi"),
        Str("ANSI"),
        Str("latin1"),
        Str("ISO-8859-1"),
        Str("shift_jis"),
        Str("sjis"),
        Str("utf-16"),
        Str("utf-8 "),
        Str(" utf-8"),
        Str("utf"),
        Str("windows-"),
        Str("windows"),
        Str("Windows-x1"),
        Str("windows1251"),
        Str("xWindows-1251"),
        Str("windows-0"),
        Str("cp"),
        Str("cpx"),
        Str("c"),
        Str("cp0"),
        Str("cputf-8"),
        Str("big5-hkscs"),
        Str("932"),
        Str("1"),
        Int(0),
        Int(4294967296),
        "ie",
        List({Str("utf-8")}),
        Dict({{"a", Int(1)}})}}};
  for (const auto& [page, forms] : encodings) {
    for (const std::string& encoding : forms) {
      SCOPED_TRACE(encoding);
      EXPECT_EQ(CodePageOf(Import(
                    Torrent({}, {{"encoding", encoding}, {"comment", Str(kAcuteE)}, {"created by", Str("\xE9")}}))),
                page);
    }
  }
}

TEST_F(ReaderRules, KeysNamedForUtf8IgnoreTheEncoding) {
  const Latin1Locale locale;
  if (!locale.ok()) {
    GTEST_SKIP() << "no Latin-1 locale, and none can be made";
  }
  const Fields encoding = {{"encoding", Str("Windows-1251")}};
  const auto file = [&](const char* key) {
    const std::string entry = Dict({{"length", Int(1536)}, {key, Path({kAcuteE, kAcuteE})}});
    return Torrent({{"length", ""}, {"files", List({entry})}}, encoding);
  };
  const std::string begin = "1.5 kB in 1 file [";
  ExpectEach({{"name", Torrent({{"name", Str(kAcuteE)}}, encoding), begin + kAcuteEAsLatin1 + "]"},
              {"name.utf-8", Torrent({{"name.utf-8", Str(kAcuteE)}}, encoding), begin + kAcuteE + "]"},
              {"name.utf-8 that is not", Torrent({{"name.utf-8", Str("\xE9")}}, encoding), begin + "]"},
              {"path", file("path"), begin + kAcuteEAsLatin1 + "/" + kAcuteEAsLatin1 + "]"},
              {"path.utf-8", file("path.utf-8"), begin + kAcuteE + "/" + kAcuteE + "]"}});
}

TEST_F(ReaderRules, TextThatIsNotUtf8IsTheLocalesAsAWhole) {
  const Latin1Locale locale;
  if (!locale.ok()) {
    GTEST_SKIP() << "no Latin-1 locale, and none can be made";
  }
  EXPECT_EQ(Import(Torrent({}, {{"comment", Str(std::string(kAcuteE) + "\xE9")}})),
            std::string(kRead) + " says <" + kAcuteEAsLatin1 + kAcuteE + ">");
}

TEST_F(ReaderRules, TextsDecodeTheSameAtEveryPlace) {
  const ScopedLocale locale("C.UTF-8");  // which reads what is declared to be GBK
  ASSERT_TRUE(locale.ok());
  for (size_t before = 0; before < 40; before++) {
    SCOPED_TRACE(before);
    const std::string a(before, 'a');
    for (const char* encoding : {"", "UTF-8", "GBK"}) {
      const auto with = [&](const std::string& comment) {
        return Torrent({}, {{"comment", Str(comment)}, {"encoding", Str(encoding)}});
      };
      EXPECT_EQ(Import(with(a + "\xE2\x82\xAC" + a)), std::string(kRead) + " says <" + a + "\xE2\x82\xAC" + a + ">");
      EXPECT_EQ(Import(with(a + "\xFF" + a)), kRead);
      EXPECT_EQ(Import(with(a + kFace + a)), kRead);
      EXPECT_EQ(Import(with("c" + a + Bytes("\0") + a)), std::string(kRead) + " says <c" + a + ">");
    }
  }
}

TEST_F(ReaderRules, LongTextsAreWhole) {
  const std::string text(1000000, 'x');
  EXPECT_EQ(Import(Torrent({{"name", Str(text)}}, {{"comment", Str(text)}, {"created by", Str(text)}})),
            "1.5 kB in 1 file [" + text + "] by <" + text + "> says <" + text + ">");
  EXPECT_EQ(Import(Files({File(Path({text, text}))})), "1.5 kB in 1 file [" + text + "/" + text + "]");
}

}  // namespace
