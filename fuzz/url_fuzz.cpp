// Property: URL and path helpers, the look-ups of content types and the reading of request parameters do what
// plain models on standard strings and containers do.
#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/bencode/bencoding.h"
#include "core/util/util_mime.h"
#include "core/util/util_path.h"
#include "core/util/util_url.h"
#include "fuzz/models/url_model.h"
#include "fuzz/support/fuzz_check.h"
#include "fuzz/support/fuzz_input.h"
#include "fuzz/support/no_leak.h"
#include "tests/support/content_tables.h"
#include "tests/support/text.h"

namespace {

using url_model::Folded;

// The input's bytes as units; those above 0x7F are no ASCII in either form.
std::wstring Widened(const std::string& text) {
  std::wstring wide;
  for (const char c : text) {
    wide.push_back(static_cast<unsigned char>(c));
  }
  return wide;
}

template <class C>
std::optional<size_t> Offset(const C* result, const C* text) {
  return result ? std::optional<size_t>(static_cast<size_t>(result - text)) : std::nullopt;
}

void CheckUrl(const std::string& text) {
  const Narrow url(text);
  Require(core::IsOkUrl(url.get()) == (url_model::IsOkUrl(text) ? url.get() : nullptr),
          "three beginnings make a good URL");
  const std::wstring wide = Widened(text);
  Require(core::IsUdpUrl(Wide(wide).get()) == url_model::Begins<std::wstring>(Folded(wide), L"udp://"),
          "one makes a UDP URL");

  Narrow decoded(text);
  const size_t decoded_len = core::urldecode(decoded.data());
  const std::string expected = url_model::UrlDecode(text);
  Require(decoded_len == expected.size() && decoded.view().substr(0, decoded_len) == expected, "escapes are decoded");
  Require(decoded.get()[decoded_len] == '\0', "the decoded text is terminated");

  size_t encoded_len = 0;
  const std::string encoded = Take(core::urlencode_spaces(url.get(), &encoded_len));
  Require(encoded == url_model::EncodeSpaces(text) && encoded_len == encoded.size(), "only spaces are encoded");
}

void CheckSplit(const std::string& text) {
  const Narrow url(text);
  const char* at = url.get();
  for (size_t begin = 0; begin < text.size();) {
    const size_t slash = text.find('/', begin);
    const char* piece = core::url_split(&at);
    Require(piece && piece == text.substr(begin, slash - begin), "a piece ends before its slash");
    begin = slash == std::string::npos ? slash : std::min(text.find_first_not_of('/', slash), text.size());
    Require(Offset(at, url.get()) == (slash == std::string::npos ? std::nullopt : std::optional(begin)),
            "the rest begins behind the slashes");
  }
  Require(core::url_split(&at) == nullptr, "nothing has no pieces");
}

void CheckPath(const std::string& narrow, const std::string& narrow_prefix) {
  const std::wstring text = Widened(narrow);
  const std::wstring folder = Widened(narrow_prefix);
  const Narrow narrow_path(narrow);
  const Wide path(text);
  const Wide prefix(folder);
  Require(Offset(core::getfilename(narrow_path.get()), narrow_path.get()) == url_model::FileName(narrow),
          "the narrow file name");
  Require(Offset(core::getfilename(path.get()), path.get()) == url_model::FileName(text), "the file name");
  Require(Offset(core::getfileext(path.get()), path.get()) == url_model::FileExtension(text), "the extension");
  Require(Offset(core::DirHasPrefix(path.get(), prefix.get()), path.get()) == url_model::BehindFolder(text, folder),
          "what lies behind the folder");
  // Paths are their own canonical forms here.
  Require(core::PathContains(prefix.get(), path.get()) == url_model::Begins(text, folder),
          "containing is beginning with");
  Require(core::IsSamePath(prefix.get(), path.get()) == (text == folder), "the same text is the same path");

  Wide stripped(text);
  Require(
      core::striplastsep(stripped.data()) == stripped.get() && stripped.get() == url_model::StripLastSeparators(text),
      "slashes go from the end");
  Wide cut(text);
  Require(core::stripfilename(cut.data()) == cut.get() && cut.get() == url_model::StripFileName(text),
          "the file name goes");
}

bool Holds(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// The list of extensions and types is one: the string behind the first match counts.
const char* GuessedType(const std::string& extension) {
  for (const content_tables::Guess& guess : content_tables::Guesses()) {
    if (guess.extension == extension) {
      return guess.type.c_str();
    }
    if (guess.type == extension) {
      const auto next = &guess + 1;
      return next == &content_tables::Guesses().back() + 1 ? nullptr : next->extension.c_str();
    }
  }
  return nullptr;
}

// `name` is ASCII, so that every locale converts it.
void CheckContentType(const std::string& name) {
  using content_tables::kStreamableContentTypes;
  const std::string folded = Folded(name);
  const Wide wide(Widened(name));
  Require(core::IsSafeFileExtension(wide.get()) != Holds(content_tables::UnsafeExtensions(), folded),
          "unsafe extensions");
  Require(core::IsStreamableFileExtension(wide.get()) == Holds(content_tables::StreamableExtensions(), folded),
          "streamable extensions");
  const Narrow type(name);
  Require(core::IsStreamableContentType(type.get()) ==
              Holds({std::begin(kStreamableContentTypes), std::end(kStreamableContentTypes)}, folded),
          "streamable types");
  Require(core::IsAmbiguousContentType(type.get()) ==
              (folded == "text/plain" || url_model::Begins<std::string>(folded, "text/plain;")),
          "ambiguous types");
  const size_t dot = folded.rfind('.');
  const char* expected =
      dot == std::string::npos || dot + 1 == folded.size() ? nullptr : GuessedType(folded.substr(dot + 1));
  const char* guessed = core::GuessContentTypeFromFileName(wide.get());
  Require((guessed != nullptr) == (expected != nullptr) && (!guessed || std::string(guessed) == expected),
          "guessed types");
}

// Keys with their values in order of appearance.
using Parameters = std::map<std::string, std::vector<std::string>>;

Parameters ReadParameters(std::string text, bool multi) {
  Parameters parameters;
  for (bool more = true; more;) {
    const size_t end = text.find('&');
    const std::string pair = text.substr(0, end);
    more = end != std::string::npos;
    text = more ? text.substr(end + 1) : "";
    const size_t equals = pair.find('=');
    if (equals == std::string::npos) {
      break;
    }
    std::vector<std::string>& values = parameters[pair.substr(0, equals)];
    if (!multi) {
      values.clear();
    }
    values.push_back(url_model::UrlDecode(pair.substr(equals + 1)).c_str());
  }
  return parameters;
}

std::string StringOf(const core::BencEntity* value) {
  Require(value && value->GetType() == core::BENC_STR, "a value is a string");
  size_t len = 0;
  const char* bytes = static_cast<const core::BencEntityMem*>(value)->GetString(&len);
  return std::string(bytes, len);
}

void CheckRequest(const std::string& text, bool multi) {
  Narrow request(text);
  core::BencEntity* result = core::BencEntity::ParseRpcParams(request.data(), multi);
  const size_t mark = text.find('?');
  const Parameters expected = mark == std::string::npos ? Parameters{} : ReadParameters(text.substr(mark + 1), multi);
  Require(result->GetType() == core::BENC_DICT, "the result is a dictionary");
  const auto* paths = static_cast<const core::BencodedDict*>(result);
  Require(paths->size() == 1, "there is one path");
  const core::BencodedDict* parameters = paths->GetDict(text.substr(0, mark).c_str());
  Require(parameters && parameters->size() == expected.size(), "there are as many parameters");
  for (const auto& [key, values] : expected) {
    const core::BencodedList* list = parameters->GetList(key.c_str());
    Require((list != nullptr) == (values.size() > 1), "a key that comes again has a list");
    Require(!list || list->GetCount() == values.size(), "of all its values");
    for (size_t i = 0; i < values.size(); ++i) {
      Require(StringOf(list ? list->Get(i) : parameters->Get(key.c_str())) == values[i],
              "values are decoded, in order");
    }
  }
  result->FreeMembers();
  delete result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const NoLeak no_leak;
  FuzzInput in(data, size);
  const int64_t kind = in.Between(0, 4);
  const bool multi = in.Flip();
  const std::string prefix = kind == 2 ? std::string(in.Bytes(20).c_str()) : "";
  const std::string text = std::string(in.Rest().substr(0, 400)).c_str();
  switch (kind) {
    case 0:
      CheckUrl(text);
      break;
    case 1:
      CheckSplit(text);
      break;
    case 2:
      CheckPath(text, multi ? prefix : text.substr(0, prefix.size()));
      break;
    case 3:
      CheckRequest(text, multi);
      break;
    default:
      if (std::all_of(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) >= 0; })) {
        CheckContentType(text);
      }
  }
  return 0;
}
