#include <gtest/gtest.h>

#include <cmath>

#include "tools/mdtorrent/output/json_writer.h"
#include "tools/mdtorrent/output/mdls_writer.h"
#include "tools/mdtorrent/output/plist_writer.h"
#include "tools/mdtorrent/output/record_writer.h"

namespace mdtorrent {
namespace {

// One value of each kind and containers in containers.
struct Everything : AttributeSource {
  void WriteTo(ValueWriter& w) const override {
    w.BeginDictionary(9);
    w.Key("array");
    w.BeginArray();
    w.String("one");
    w.BeginArray();
    w.EndArray();
    w.Integer(-2);
    w.EndArray();
    w.Key("inner");
    w.BeginDictionary(1);
    w.Key("k");
    w.Boolean(true);
    w.EndDictionary();
    w.Key("real");
    w.Real(1.5);
    w.Key("string_xy");
    w.BeginString();
    w.StringPiece("two ");
    w.StringPiece("\"pieces\"");
    w.EndString();
    w.EndDictionary();
  }
};

TEST(JsonWriter, OneLineHasNoLineBreak) {
  TextBuffer out;
  JsonWriter writer(out, JsonWriter::Layout::kOneLine);
  Everything().WriteTo(writer);
  EXPECT_EQ(
      "{\"array\": [\"one\", [], -2], \"inner\": {\"k\": true}, \"real\": 1.5, \"string_xy\": \"two \\\"pieces\\\"\"}",
      out.text());
}

TEST(JsonWriter, LinesAreIndentedByLevel) {
  TextBuffer out;
  JsonWriter writer(out, JsonWriter::Layout::kLines, 1);
  Everything().WriteTo(writer);
  EXPECT_EQ(R"({
    "array": [
      "one",
      [],
      -2
    ],
    "inner": {
      "k": true
    },
    "real": 1.5,
    "string_xy": "two \"pieces\""
  })",
            out.text());
}

TEST(JsonWriter, NumbersThatJsonLacksAreNull) {
  TextBuffer out;
  JsonWriter writer(out, JsonWriter::Layout::kOneLine);
  writer.BeginArray();
  writer.Real(std::nan(""));
  writer.Real(HUGE_VAL);
  writer.EndArray();
  EXPECT_EQ("[null, null]", out.text());
}

TEST(PlistWriter, ElementsAreIndentedByTabs) {
  TextBuffer out;
  PlistWriter writer(out, 1);
  Everything().WriteTo(writer);
  EXPECT_EQ(
      "\t<dict>\n"
      "\t\t<key>array</key>\n"
      "\t\t<array>\n"
      "\t\t\t<string>one</string>\n"
      "\t\t\t<array>\n"
      "\t\t\t</array>\n"
      "\t\t\t<integer>-2</integer>\n"
      "\t\t</array>\n"
      "\t\t<key>inner</key>\n"
      "\t\t<dict>\n"
      "\t\t\t<key>k</key>\n"
      "\t\t\t<true/>\n"
      "\t\t</dict>\n"
      "\t\t<key>real</key>\n"
      "\t\t<real>1.5</real>\n"
      "\t\t<key>string_xy</key>\n"
      "\t\t<string>two \"pieces\"</string>\n"
      "\t</dict>\n",
      out.text());
}

TEST(MdlsWriter, KeysStandInAColumn) {
  TextBuffer out;
  MdlsWriter writer(out);
  Everything().WriteTo(writer);
  EXPECT_EQ(R"(array     = (
    "one",
    (
    ),
    -2
)
inner     = {
    k = 1;
}
real      = 1.5
string_xy = "two \"pieces\""
)",
            out.text());
}

std::string RecordOf(Format format, bool show_paths, bool imported) {
  TextBuffer out;
  const auto writer = MakeRecordWriter(format, show_paths, out);
  if (imported) {
    writer->WriteImported("a\xFF\n.torrent", Everything());
  } else {
    writer->WriteFailed("a\xFF.torrent", "no \"reason\"");
  }
  return out.text();
}

TEST(RecordWriter, AReasonInTheEncodingOfALocaleBreaksNoDocument) {
  for (const Format format : {Format::kJson, Format::kNdjson, Format::kPlist}) {
    TextBuffer out;
    MakeRecordWriter(format, false, out)->WriteFailed("a", "no \xE9t\xE9");
    EXPECT_NE(std::string::npos, out.text().find("no \xEF\xBF\xBDt\xEF\xBF\xBD"));
  }
}

TEST(RecordWriter, MdlsShowsThePathOnlyWhenAsked) {
  EXPECT_EQ(0u, RecordOf(Format::kMdls, true, true).find("a\\xff\\n.torrent:\narray "));
  EXPECT_EQ(0u, RecordOf(Format::kMdls, false, true).find("array "));
}

TEST(RecordWriter, MdlsHasNoRecordOfAFailure) { EXPECT_EQ("", RecordOf(Format::kMdls, true, false)); }

TEST(RecordWriter, NdjsonTellsOfAFailure) {
  EXPECT_EQ(
      "{\"path\": \"a\xEF\xBF\xBD.torrent\", \"imported\": false, \"attributes\": {}, \"error\": \"no "
      "\\\"reason\\\"\"}\n",
      RecordOf(Format::kNdjson, false, false));
}

TEST(RecordWriter, NdjsonIsOneLine) {
  const std::string record = RecordOf(Format::kNdjson, false, true);
  EXPECT_EQ(record.size() - 1, record.find('\n'));
  EXPECT_EQ(std::string::npos, record.find("error"));
}

// A buffer that gives its text away whenever it may.
class CountingBuffer : public TextBuffer {
 public:
  size_t handed_over = 0, most = 0;

 private:
  void HandOver() override {
    most = std::max(most, text().size());
    handed_over += text().size();
    text().clear();
  }
};

TEST(RecordWriter, TextIsHandedOverWhileItIsMade) {
  for (const Format format : {Format::kMdls, Format::kJson, Format::kNdjson, Format::kPlist}) {
    struct Long : AttributeSource {
      void WriteTo(ValueWriter& w) const override {
        w.BeginDictionary(1);
        w.Key("k");
        w.BeginArray();
        for (int i = 0; i < 10000; ++i) {
          w.String(std::string(100, 'x'));
        }
        w.EndArray();
        w.EndDictionary();
      }
    };
    CountingBuffer out;
    MakeRecordWriter(format, false, out)->WriteImported("p", Long());
    EXPECT_GT(out.handed_over, 900000u);
    EXPECT_LT(out.most, 70000u);
  }
}

}  // namespace
}  // namespace mdtorrent
