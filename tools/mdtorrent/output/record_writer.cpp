#include "tools/mdtorrent/output/record_writer.h"

#include "tools/mdtorrent/output/escape.h"
#include "tools/mdtorrent/output/json_writer.h"
#include "tools/mdtorrent/output/mdls_writer.h"
#include "tools/mdtorrent/output/plist_writer.h"
#include "tools/mdtorrent/output/utf8.h"

namespace mdtorrent {
namespace {

struct NoAttributes : AttributeSource {
  void WriteTo(ValueWriter& writer) const override {
    writer.BeginDictionary(0);
    writer.EndDictionary();
  }
};

void WriteStart(ValueWriter& values, std::string_view path, bool imported) {
  std::string valid_path;
  AppendValidUtf8(valid_path, path);
  values.BeginDictionary(sizeof "attributes" - 1);
  values.Key("path");
  values.String(valid_path);
  values.Key("imported");
  values.Boolean(imported);
  values.Key("attributes");
}

// A record as a dictionary of its own, between `before` and `after`.
template <class Values>
class DictionaryRecordWriter : public RecordWriter {
 public:
  template <class... Args>
  DictionaryRecordWriter(TextBuffer& out, std::string_view before, std::string_view after, Args... args)
      : out_(out), before_(before), after_(after), values_(out, args...) {}

  void WriteImported(std::string_view path, const AttributeSource& attributes) override {
    out_.text().append(before_);
    WriteStart(values_, path, true);
    attributes.WriteTo(values_);
    values_.EndDictionary();
    out_.text().append(after_);
  }

  void WriteFailed(std::string_view path, std::string_view reason) override {
    out_.text().append(before_);
    WriteStart(values_, path, false);
    NoAttributes().WriteTo(values_);
    values_.Key("error");
    std::string valid_reason;  // it may be in the encoding of the locale
    AppendValidUtf8(valid_reason, reason);
    values_.String(valid_reason);
    values_.EndDictionary();
    out_.text().append(after_);
  }

 private:
  TextBuffer& out_;
  std::string_view before_, after_;
  Values values_;
};

// Only the attributes; failures are told elsewhere.
class MdlsRecordWriter : public RecordWriter {
 public:
  MdlsRecordWriter(bool show_paths, TextBuffer& out) : show_paths_(show_paths), out_(out), values_(out) {}

  void WriteImported(std::string_view path, const AttributeSource& attributes) override {
    if (show_paths_) {
      AppendPrintable(out_.text(), path);
      out_.text().append(":\n");
    }
    attributes.WriteTo(values_);
  }

  void WriteFailed(std::string_view, std::string_view) override {}

 private:
  bool show_paths_;
  TextBuffer& out_;
  MdlsWriter values_;
};

constexpr std::string_view kPlistBefore =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n"
    "<array>\n";

}  // namespace

std::unique_ptr<RecordWriter> MakeRecordWriter(Format format, bool show_paths, TextBuffer& out) {
  using Json = DictionaryRecordWriter<JsonWriter>;
  switch (format) {
    case Format::kJson:
      return std::make_unique<Json>(out, "\n  ", "", JsonWriter::Layout::kLines, size_t{1});
    case Format::kNdjson:
      return std::make_unique<Json>(out, "", "\n", JsonWriter::Layout::kOneLine);
    case Format::kPlist:
      return std::make_unique<DictionaryRecordWriter<PlistWriter>>(out, "", "", size_t{1});
    case Format::kMdls:
      break;
  }
  return std::make_unique<MdlsRecordWriter>(show_paths, out);
}

Framing FramingOf(Format format) {
  switch (format) {
    case Format::kJson:
      return {"[", ",", "\n]\n"};
    case Format::kPlist:
      return {kPlistBefore, "", "</array>\n</plist>\n"};
    case Format::kMdls:
      return {"", "\n", ""};
    case Format::kNdjson:
      break;
  }
  return {"", "", ""};
}

}  // namespace mdtorrent
