// The ASCII listing and XML.
#include <limits.h>
#include <string.h>

#include "core/bencode/bencemitter.h"
#include "core/bencode/bencwalk.h"
#include "core/format/strfmt.h"
#include "core/text/nustr.h"

namespace core {

namespace {

constexpr char kSource[] = "core/bencoding";
constexpr size_t kPrefixSize = 64;
constexpr size_t kTagSize = 128;

int IntOf(size_t len) { return len < INT_MAX ? static_cast<int>(len) : INT_MAX; }

// A key's bytes before its first zero byte.
int KeyLen(const BencArray<char>& key) { return IntOf(static_cast<size_t>(nustrnlen(key.begin(), key.size()))); }

void EmitInteger(BencodedEmitter& out, const BencEntity& v) {
  out.EmitNumber(v.GetType() == BENC_INT ? v.GetInt(0) : v.GetInt64(0));
}

// A container that has no text in these forms stops the process.
void RefuseVirtualList(const BencEntity& v) { AssertAt(v.GetType() != BENC_VLIST, kSource, 1048); }

bool IsQuotedInListing(char c) { return c == '\n' || c == '\r' || c == '\\'; }

// The ASCII listing. The paths of all open containers share one buffer: each begins with the path of
// the one around it, whose length is that container's mark.
class AsciiVisitor {
 public:
  AsciiVisitor(BencodedEmitter& out, const char* prefix) : out_(out) {
    root_mark_ = static_cast<size_t>(nusnprintf(path_, sizeof path_, "%s", prefix));
  }

  void Scalar(const BencEntity& v, const BencPlace& place) {
    if (place.depth == 0) {
      EmitScalar(v);
      return;
    }
    out_.Emit(path_, Extend(place, '='));
    EmitScalar(v);
    out_.Put("\r\n");
  }
  size_t Open(const BencEntity& v, const BencPlace& place) {
    RefuseVirtualList(v);
    return place.depth == 0 ? root_mark_ : Extend(place, '.');
  }
  void Close(const BencEntity&, const BencPlace&) {}

 private:
  // Puts the name of an element behind the path of its container; returns the length of the whole.
  size_t Extend(const BencPlace& place, char end) {
    char* tail = path_ + place.mark;
    const size_t room = sizeof path_ - place.mark;
    const int len = place.key ? nusnprintf(tail, room, "%.*s%c", KeyLen(*place.key), place.key->begin(), end)
                              : nusnprintf(tail, room, "%u%c", static_cast<unsigned>(place.index), end);
    return place.mark + static_cast<size_t>(len);
  }

  void EmitScalar(const BencEntity& v) {
    switch (v.GetType()) {
      case BENC_INT:
      case BENC_INT64:
        EmitInteger(out_, v);
        break;
      case BENC_STR:
        EmitQuoted(*BencTree::Bytes(v));
        break;
      default:
        FatalAssert(kSource, 1049);
    }
  }

  // In pieces whose lengths are ints; each byte is quoted by itself.
  void EmitQuoted(const BencArray<unsigned char>& bytes) {
    for (size_t at = 0; at < bytes.size(); at += INT_MAX) {
      out_.EmitQuotedAscii(bytes.begin() + at, IntOf(bytes.size() - at));
    }
  }

  BencodedEmitter& out_;
  size_t root_mark_;
  char path_[kPrefixSize];
};

class XmlVisitor {
 public:
  XmlVisitor(BencodedEmitter& out, const char* tag, int indent) : out_(out), tag_(tag), indent_(indent) {}

  void Scalar(const BencEntity& v, const BencPlace& place) {
    out_.EmitIndent(LevelOf(place));
    EmitTag("<", place, ">");
    switch (v.GetType()) {
      case BENC_INT:
      case BENC_INT64:
        EmitInteger(out_, v);
        break;
      case BENC_STR:
        EmitUrlEncoded(*BencTree::Bytes(v));
        break;
      default:
        FatalAssert(kSource, 1050);
    }
    EmitTag("</", place, ">\r\n");
  }
  size_t Open(const BencEntity& v, const BencPlace& place) {
    RefuseVirtualList(v);
    out_.EmitIndent(LevelOf(place));
    EmitTag("<", place, ">");
    out_.Put("\r\n");
    return 0;
  }
  void Close(const BencEntity&, const BencPlace& place) {
    out_.EmitIndent(LevelOf(place));
    EmitTag("</", place, ">\r\n");
  }

 private:
  int LevelOf(const BencPlace& place) const {
    const int64_t level = static_cast<int64_t>(place.depth) + indent_;
    return level < INT_MAX ? static_cast<int>(level) : INT_MAX;
  }

  void EmitTag(const char* before, const BencPlace& place, const char* after) {
    char text[kTagSize];
    const int len =
        place.depth == 0 ? nusnprintf(text, sizeof text, "%s%U%s", before, tag_, after)
        : place.key ? nusnprintf(text, sizeof text, "%s%.*U%s", before, KeyLen(*place.key), place.key->begin(), after)
                    : nusnprintf(text, sizeof text, "%sitem%s", before, after);
    out_.Emit(text, static_cast<size_t>(len));
  }

  void EmitUrlEncoded(const BencArray<unsigned char>& bytes) {
    if (bytes.size() == 0) {
      return;
    }
    const size_t room = 4 * bytes.size();
    out_.Keep(static_cast<size_t>(nusnprintf(out_.Room(room), room, "%.*U", IntOf(bytes.size()), bytes.data)));
  }

  BencodedEmitter& out_;
  const char* tag_;
  int indent_;
};

}  // namespace

void BencodedEmitter::EmitAsAscii(const BencEntity* v, const char* prefix) {
  AsciiVisitor visitor(*this, prefix);
  BencWalk(visitor).Visit(*v);
}

void BencodedEmitter::EmitQuotedAscii(const void* p, int len) {
  const char* text = static_cast<const char*>(p);
  const char* const end = len > 0 ? text + len : text;
  while (text != end) {
    const char* plain = text;
    while (plain != end && !IsQuotedInListing(*plain)) {
      ++plain;
    }
    Emit(text, static_cast<size_t>(plain - text));
    text = plain;
    if (text != end) {
      EmitChar('\\');
      EmitChar(*text++);
    }
  }
}

void BencodedEmitter::EmitAsXML(const char* tag, const BencEntity* v, int indent) {
  XmlVisitor visitor(*this, tag, indent);
  BencWalk(visitor).Visit(*v);
}

void BencodedEmitter::EmitIndent(int level) {
  constexpr char kTabs[] = "\t\t\t\t\t\t";
  if (level > 0) {
    Emit(kTabs, level < 3 ? static_cast<size_t>(2 * level) : 6);
  }
}

}  // namespace core
