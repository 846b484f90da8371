// Building whole trees from tokens, without recursion.
#include <limits.h>
#include <string.h>

#include <new>
#include <utility>

#include "core/bencode/bencrecords.h"
#include "core/bencode/benctree.h"
#include "core/bencode/openlists.h"

namespace core {

namespace {

constexpr char kSource[] = "core/bencoding";

using ByteArray = BencArray<unsigned char>;

bool IsContainer(BencType kind) { return kind == BENC_LIST || kind == BENC_DICT; }

using Entry = BencDictMap::Entry;

// A dictionary that a decode is filling. Keys mostly arrive sorted: the largest is tried first.
struct OpenDict {
  BencDictMap& entries;
  Entry* largest;

  explicit OpenDict(BencDictMap& dict) : entries(dict), largest(dict.Largest()) {}

  // Adds the entry that `new_entry` makes for a key; null, and nothing is made, when it is there.
  template <class NewEntry>
  BencEntity* Add(const BencArray<char>& key, NewEntry new_entry) {
    BencDictMap::Place place;
    if (entries.Find(key, largest, &place)) {
      return nullptr;
    }
    Entry* entry = new_entry();
    entries.Attach(entry, place);
    if (!largest || (place.parent == largest && !place.left)) {
      largest = entry;
    }
    return &entry->pair.second;
  }
};

// How a decode stores keys and strings: copied, borrowed, or by the caller's rules. AddEntry answers
// null for a key that is there already.

struct CopyStore {
  static bool LazyInt() { return false; }
  static BencEntity* AddEntry(OpenDict& dict, RecordArena& arena, const char* text, size_t len) {
    return dict.Add(BencArray<char>(BorrowedBytes<char>{text, len}), [&] { return NewOwnedEntry(arena, text, len); });
  }
  static ByteArray* Bytes(RecordArena& arena, const unsigned char* text, size_t len) {
    return NewOwnedBytes(arena, text, len);
  }
};

struct BorrowStore {
  static bool LazyInt() { return false; }
  static BencEntity* AddEntry(OpenDict& dict, RecordArena& arena, const char* text, size_t len) {
    return dict.Add(BencArray<char>(BorrowedBytes<char>{text, len}),
                    [&] { return NewBorrowedEntry(arena, text, len); });
  }
  static ByteArray* Bytes(RecordArena& arena, const unsigned char* text, size_t len) {
    return NewBorrowedBytes(arena, text, len);
  }
};

struct RegimeStore {
  BencEntity::AllocRegime* regime;

  bool LazyInt() const { return regime->LazyInt(); }
  // The key is what the regime makes of the text; the map is searched for that.
  BencEntity* AddEntry(OpenDict& dict, RecordArena& arena, const char* text, size_t len) const {
    BencArray<char>* key = regime->NewKey(const_cast<char*>(text), static_cast<int>(len));
    BencEntity* value = dict.Add(*key, [&] { return arena.Make<Entry>(BencDictMap::value_type::KeyFrom(), key); });
    delete key;
    return value;
  }
  ByteArray* Bytes(RecordArena&, const unsigned char* text, size_t len) const {
    return regime->NewMem(const_cast<unsigned char*>(text), static_cast<int>(len));
  }
};

// Where tokens come from: one of the library's tokenizers called directly, or any other through its table.

template <class Parser>
struct DirectSource {
  explicit DirectSource(Parser& p) : parser(p) {}
  Parser& parser;
  IBencParser::PARSE_T Next(const unsigned char** text, size_t* len) { return parser.Next(text, len); }
};

struct VirtualSource {
  IBencParser* parser;
  IBencParser::PARSE_T Next(const unsigned char** text, size_t* len) { return parser->ParseNext(text, len); }
};

struct EntityStack : LList<BencEntity*> {
  ~EntityStack() { Free(); }
};

// Strings are handed to the regimes with an int for their length.
bool FitsInt(size_t len) { return len <= static_cast<size_t>(INT_MAX); }

// One decode: tokens from a Source, storage by a Store.
template <class Source, class Store>
class TreeBuilder {
 public:
  TreeBuilder(Source source, const Store& store) : source_(source), store_(store) {}

  bool Build(BencEntity& out);
  bool StoreToken(BencEntity& out, IBencParser::PARSE_T kind, const unsigned char* text, size_t len);
  bool ResumeList(BencEntity& self, BencEntity** child);
  bool ResumeDict(BencEntity& self, BencEntity** child);

 private:
  Source source_;
  const Store& store_;
  RecordArena arena_;
  OpenLists lists_;
};

template <class Source, class Store>
bool TreeBuilder<Source, Store>::StoreToken(BencEntity& out, IBencParser::PARSE_T kind, const unsigned char* text,
                                            size_t len) {
  switch (kind) {
    case IBencParser::PARSE_INT:
      if (!store_.LazyInt()) {
        BencTree::SetInteger(out, ParseInteger(text, text + len));
        return true;
      }
      if (!FitsInt(len)) {
        return false;
      }
      BencTree::SetBytes(out, BENC_INT_LAZY, store_.Bytes(arena_, text, len));
      return true;
    case IBencParser::PARSE_STRING:
      if (!FitsInt(len)) {
        return false;
      }
      BencTree::SetBytes(out, BENC_STR, store_.Bytes(arena_, text, len));
      return true;
    case IBencParser::PARSE_LIST:
      BencTree::SetList(out, lists_.Open());
      return true;
    case IBencParser::PARSE_DICT:
      BencTree::SetDict(out, arena_.Make<BencDictMap>());
      return true;
    default:
      return false;
  }
}

template <class Source, class Store>
bool TreeBuilder<Source, Store>::ResumeList(BencEntity& self, BencEntity** child) {
  BencListRecord*& list = BencTree::List(self);
  for (;;) {
    const unsigned char* text = nullptr;
    size_t len = 0;
    const IBencParser::PARSE_T kind = source_.Next(&text, &len);
    if (kind == IBencParser::PARSE_EOF) {
      return false;
    }
    if (kind == IBencParser::PARSE_ERROR && *child) {
      return true;  // On purpose: a bad token after a scalar is skipped; the caller resumes this list.
    }
    // On purpose: a bad token anywhere else closes the list like an end.
    if (kind == IBencParser::PARSE_END || kind == IBencParser::PARSE_ERROR) {
      list = lists_.Close(list, arena_);
      *child = nullptr;
      return true;
    }
    BencEntity* element = OpenLists::Append(*list);
    if (!StoreToken(*element, kind, text, len)) {
      list->pop_back();
      return false;
    }
    *child = element;
    if (IsContainer(element->GetType())) {
      return true;
    }
  }
}

template <class Source, class Store>
bool TreeBuilder<Source, Store>::ResumeDict(BencEntity& self, BencEntity** child) {
  OpenDict dict(*BencTree::Dict(self));
  for (;;) {
    const unsigned char* key = nullptr;
    const unsigned char* text = nullptr;
    size_t key_len = 0;
    size_t len = 0;
    IBencParser::PARSE_T kind = source_.Next(&key, &key_len);
    if (kind != IBencParser::PARSE_STRING) {
      *child = nullptr;
      return kind == IBencParser::PARSE_END;
    }
    kind = source_.Next(&text, &len);
    if (kind == IBencParser::PARSE_ERROR || kind == IBencParser::PARSE_END || kind == IBencParser::PARSE_EOF) {
      return false;
    }
    if (!FitsInt(key_len)) {
      return false;
    }
    BencEntity* value = store_.AddEntry(dict, arena_, reinterpret_cast<const char*>(key), key_len);
    if (!value || !StoreToken(*value, kind, text, len)) {
      return false;
    }
    *child = value;
    if (IsContainer(value->GetType())) {
      return true;
    }
  }
}

template <class Source, class Store>
bool TreeBuilder<Source, Store>::Build(BencEntity& out) {
  out.FreeMembers();
  const unsigned char* text = nullptr;
  size_t len = 0;
  const IBencParser::PARSE_T kind = source_.Next(&text, &len);
  if (kind != IBencParser::PARSE_LIST && kind != IBencParser::PARSE_DICT) {
    return false;
  }
  StoreToken(out, kind, text, len);
  EntityStack open;
  open.push_back(&out);
  while (open.count != 0) {
    BencEntity* top = open.back();
    BencEntity* child = nullptr;
    const bool ok = top->GetType() == BENC_DICT ? ResumeDict(*top, &child) : ResumeList(*top, &child);
    if (!ok) {
      out.FreeMembers();
      return false;
    }
    if (!child) {
      open.pop_back();
    } else if (IsContainer(child->GetType())) {
      open.push_back(child);
    }
  }
  return true;
}

}  // namespace

bool BencEntity::DoParse(BencEntity& out, IBencParser* parser, AllocRegime* regime) {
  const RegimeStore store{regime};
  return TreeBuilder(VirtualSource{parser}, store).Build(out);
}

bool BencEntity::SetParsed(IBencParser::PARSE_T kind, const unsigned char* text, size_t len, AllocRegime* regime) {
  const RegimeStore store{regime};
  BencEntity value;
  if (!TreeBuilder(VirtualSource{nullptr}, store).StoreToken(value, kind, text, len)) {
    return false;
  }
  MoveFrom(value);
  return true;
}

bool BencodedList::ResumeList(IBencParser* parser, BencEntity** child, AllocRegime* regime) {
  AssertAt(kind_ == BENC_LIST && value_.list, kSource, 1011);
  *child = nullptr;
  const RegimeStore store{regime};
  return TreeBuilder(VirtualSource{parser}, store).ResumeList(*this, child);
}

bool BencodedDict::ResumeDict(IBencParser* parser, BencEntity** child, AllocRegime* regime) {
  AssertAt(kind_ == BENC_DICT && value_.dict, kSource, 1012);
  *child = nullptr;
  const RegimeStore store{regime};
  return TreeBuilder(VirtualSource{parser}, store).ResumeDict(*this, child);
}

const unsigned char* BencEntity::Parse(const unsigned char* buf, BencEntity& out, const unsigned char* end) {
  FixedInput<BencParser> parser(buf, end);
  const CopyStore store;
  return TreeBuilder(DirectSource(parser), store).Build(out) ? parser.position() : nullptr;
}

const unsigned char* BencEntity::ParseInPlace(unsigned char* buf, BencEntity& out, const unsigned char* end) {
  FixedInput<BencParser> parser(buf, end);
  const BorrowStore store;
  return TreeBuilder(DirectSource(parser), store).Build(out) ? parser.position() : nullptr;
}

const unsigned char* BencEntity::Parse(const unsigned char* buf, BencEntity& out, const unsigned char* end,
                                       const char* element_name, ReturnElementRgn* rgn) {
  AssertAt(rgn != nullptr, kSource, 1013);
  FixedInput<BencParserElement> parser(buf, end, element_name);
  const CopyStore store;
  if (!TreeBuilder(DirectSource(parser), store).Build(out)) {
    return nullptr;
  }
  parser.GetElement(&rgn->start, &rgn->end);
  return parser.position();
}

void BencEntity::ParseNum(const unsigned char* text) {
  const int64_t number = ParseInteger(text, text + strlen(reinterpret_cast<const char*>(text)));
  FreeMembers();  // not before: the text may be this value's own
  BencTree::SetInteger(*this, number);
}

}  // namespace core
