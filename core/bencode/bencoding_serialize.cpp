// Trees as text in blocks of their own.
#include "core/bencode/bencemitter.h"
#include "core/format/strfmt.h"
#include "core/text/string.h"

namespace core {

namespace {

constexpr char kSource[] = "core/bencoding";

char* TakeText(BencodedEmitter& out, size_t* len) {
  out.EmitChar(0);
  return reinterpret_cast<char*>(out.Take(len));
}

}  // namespace

unsigned char* BencEntity::Serialize(size_t* len) const {
  BencodedEmitter out;
  out.Emit(this);
  return out.Take(len);
}

char* BencEntity::SerializeAsAscii(size_t* len) const {
  BencodedEmitter out;
  out.EmitAsAscii(this, "");
  return TakeText(out, len);
}

char* BencEntity::SerializeAsXML(const char* tag, size_t* len) const {
  BencodedEmitter out;
  out.EmitAsXML(tag, this, 0);
  return TakeText(out, len);
}

char* BencEntity::SerializeAsJson(size_t* len) const {
  BencodedEmitter out;
  out.EmitAsJson(this, 0);
  return TakeText(out, len);
}

char* BencEntity::SerializeByMimeType(const char* mimeType, const char* xmlTag, const char*& contentType,
                                      const char* callback) const {
  if (mimeType && strbegins(mimeType, "text/xml")) {
    contentType = "text/xml; charset=UTF-8";
    return SerializeAsXML(xmlTag, nullptr);
  }
  if (mimeType && strbegins(mimeType, "text/ascii")) {
    contentType = "text/ascii; charset=UTF-8";
    return SerializeAsAscii(nullptr);
  }
  if (mimeType && strbegins(mimeType, "application/jsonrequest")) {
    contentType = "application/jsonrequest";
  }
  char* json = SerializeAsJson(nullptr);
  if (!callback) {
    return json;
  }
  char* wrapped = str_fmt("%s(%s);", callback, json);
  MyFree(json);
  return wrapped;
}

unsigned char* BencodedDict::Serialize(size_t* len) const {
  AssertAt(GetType() == BENC_DICT, kSource, 1043);
  return BencEntity::Serialize(len);
}

}  // namespace core
