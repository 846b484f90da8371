// How values reach an output format: one call after another, in the order they are printed, so that
// no format needs a whole record in memory.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <string_view>

namespace mdtorrent {

// The text of one record while it is made.
class TextBuffer {
 public:
  virtual ~TextBuffer() = default;

  std::string& text() { return text_; }

  // Called by writers between pieces of text: hands over what has gathered once it is worth it.
  void Settle() {
    if (text_.size() >= kWorthHandingOver) {
      HandOver();
    }
  }

 protected:
  static constexpr size_t kWorthHandingOver = size_t{64} << 10;

 private:
  // Takes text out of the buffer, or leaves it to gather.
  virtual void HandOver() {}

  std::string text_;
};

// Writes values in one format. All text is UTF-8; a string may come in several pieces, each of
// whole characters.
class ValueWriter {
 public:
  explicit ValueWriter(TextBuffer& out) : out_(out) {}
  virtual ~ValueWriter() = default;
  ValueWriter(const ValueWriter&) = delete;
  ValueWriter& operator=(const ValueWriter&) = delete;

  // `widest_key` is the length in bytes of the longest key that follows, for formats with columns.
  virtual void BeginDictionary(size_t widest_key) = 0;
  virtual void Key(std::string_view name) = 0;
  virtual void EndDictionary() = 0;

  virtual void BeginArray() = 0;
  virtual void EndArray() = 0;

  virtual void BeginString() = 0;
  virtual void StringPiece(std::string_view piece) = 0;
  virtual void EndString() = 0;

  virtual void Integer(int64_t value) = 0;
  virtual void Real(double value) = 0;
  virtual void Boolean(bool value) = 0;

  void String(std::string_view text) {
    BeginString();
    StringPiece(text);
    EndString();
  }

 protected:
  std::string& text() { return out_.text(); }
  void Settle() { out_.Settle(); }

 private:
  TextBuffer& out_;
};

}  // namespace mdtorrent
