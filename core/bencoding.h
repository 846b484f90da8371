// The bencode value model: typed two-word values, their readers, and the decoder.
//
// A value owns its payload, lists and dictionaries own what they hold, and nothing is freed
// implicitly: whoever holds the root calls FreeMembers. A value belongs to one thread at a time.
// Asking for a missing key or another kind is an ordinary miss (null or the caller's default);
// calling a dictionary or list reader on a value of another kind is a fatal assertion.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "core/bencarray.h"
#include "core/bencparser.h"

namespace core {

struct BencDictMap;
struct BencListRecord;

enum BencType : int32_t {
  BENC_NONE = 0,      // nothing
  BENC_INT = 1,       // an integer
  BENC_INT64 = 2,     // an integer; the kind of every decoded one
  BENC_STR = 3,       // bytes
  BENC_LIST = 4,      // values
  BENC_DICT = 5,      // keys and values
  BENC_VLIST = 6,     // a list whose elements are made on demand
  BENC_INT_LAZY = 8,  // an integer kept as text until it is read
  BENC_NULL = 253,    // a JSON null
  BENC_BOOL = 254,    // a truth value
  BENC_VOID = 255,    // reserved
};

// Where one named element stands in the encoded bytes: its first byte and one past its last. Both
// null when it was not found.
struct ReturnElementRgn {
  unsigned char* start;
  unsigned char* end;
};

class BencodedDict;
class BencodedList;

class BencEntity {
 public:
  // The allocation side of a decode: how keys and strings are stored. Lengths stay below 2^31.
  class AllocRegime {
   public:
    virtual ~AllocRegime() = default;
    // A new array (made with MakeRecord) holding the key; the map takes it over.
    virtual BencArray<char>* NewKey(char* text, int len) = 0;
    // A new array (made with MakeRecord) holding the string; the value takes it over.
    virtual BencArray<unsigned char>* NewMem(unsigned char* text, int len) = 0;
    // True to keep integers as text (BENC_INT_LAZY).
    virtual bool LazyInt() { return false; }
  };

  BencEntity() = default;
  // On purpose: copying moves. The source is left BENC_NONE although it is const.
  BencEntity(const BencEntity& src) { MoveFrom(const_cast<BencEntity&>(src)); }
  BencEntity& operator=(const BencEntity&) = delete;

  BencType GetType() const { return kind_; }

  // Frees what this value owns, at any depth, and leaves it BENC_NONE. Elements go in index order
  // and dictionary values in ascending key order.
  // Requires: a valid kind. Cost: linear; neither recursion nor allocation.
  void FreeMembers();

  // Makes this BENC_NONE without freeing anything.
  void ZeroOut() {
    value_.integer = 0;
    kind_ = BENC_NONE;
  }

  // Frees this value, takes over the source's and leaves the source BENC_NONE. The source may be
  // an element of this value.
  // Requires: `src` is another object; this is of its kind, or BENC_NONE or BENC_NULL.
  void MoveFrom(BencEntity& src);

  // The low 32 bits of an integer; `def` for every other kind, BENC_INT_LAZY included.
  int GetInt(int def) const;
  // An integer's value; `def` for every other kind, BENC_INT_LAZY included.
  long long GetInt64(long long def) const;

  // Decodes one list or dictionary from [buf, end) into `out`, which is freed first. Keys and
  // strings are copied.
  //
  // Returns the address just past the value, or null with `out` BENC_NONE. Bytes after the value
  // are not looked at. A bad byte inside a list is skipped after a scalar and closes the list
  // otherwise; when that closes the outermost list the result is the tokenizer's position, which
  // lies beyond `end` after a string that overran the input. Duplicate keys fail; unsorted ones do
  // not. Integers are read like strtoll reads them, and saturate.
  // Requires: buf <= end. Cost: linear for sorted keys, never recursive; memory is the only limit
  // on depth.
  static const unsigned char* Parse(const unsigned char* buf, BencEntity& out, const unsigned char* end);

  // The same, with keys and strings that point into `buf`: the buffer must outlive the tree and
  // stay writable (see BencEntityMem::GetString).
  static const unsigned char* ParseInPlace(unsigned char* buf, BencEntity& out, const unsigned char* end);

  // Parse, which also fills `rgn` with the range of the element called `element_name` (see
  // BencParserElement). On failure `rgn` is untouched.
  // Requires: `rgn` is not null.
  static const unsigned char* Parse(const unsigned char* buf, BencEntity& out, const unsigned char* end,
                                    const char* element_name, ReturnElementRgn* rgn);

  // Builds the tree from any token source and any way of storing. False on failure, `out` then
  // being BENC_NONE.
  static bool DoParse(BencEntity& out, IBencParser* parser, AllocRegime* regime);

  // Decodes the file at `path` into this value with the host's LoadFile_Safe.
  bool LoadFromFile_Safe(const wchar_t* path);

  // Frees this value and makes it the BENC_INT64 that the zero-terminated `text` begins with, read
  // as strtoll reads it.
  void ParseNum(const unsigned char* text);

  // Stores one token into this BENC_NONE value. False, with nothing stored, when the token is not a
  // value or its text has 2^31 bytes or more.
  bool SetParsed(IBencParser::PARSE_T kind, const unsigned char* text, size_t len, AllocRegime* regime);

 protected:
  friend struct BencTree;  // builds and frees whole trees
  friend class BencodedDict;

  union Value {
    int64_t integer;
    BencArray<unsigned char>* bytes;
    BencListRecord* list;
    BencDictMap* dict;
    struct BencVList* vlist;
  };
  Value value_ = {0};
  BencType kind_ = BENC_NONE;
};
static_assert(sizeof(BencEntity) == 16);

// A list whose elements are produced on demand; it keeps one of them.
struct BencVList {
  void (*callback)(void* user_data, size_t index, BencEntity* out);
  void* user_data;
  size_t cached_index;  // all ones when none
  BencEntity cached;
  size_t count;
};

// A list's elements. They may stand in the same block behind the record (embedded); they must be
// moved out before the array changes its block.
struct BencListRecord : LList<BencEntity> {
  bool embedded = false;

  ~BencListRecord() {
    if (!embedded) {
      Free();
    }
  }
};
static_assert(sizeof(BencListRecord) == 32);

// True when the `len` bytes at `buf` are exactly one value, which `entity`, a BencEntity, then holds.
bool BencEntityIsValid(unsigned char* buf, size_t len, void* entity);

class BencEntityLazyInt : public BencEntity {
 public:
  // Converts the text into a number, once: the value is a BENC_INT from then on. `def` is unused.
  // Requires: BENC_INT_LAZY.
  long long GetInt64(long long def);
  int GetInt(int def);
};

class BencEntityMem : public BencEntity {
 public:
  // An empty owned string.
  BencEntityMem();

  // The bytes and, in `*len`, their number; null with `*len` untouched when this is no string. An
  // empty string gives a pointer to "". Valid until the value is freed or replaced. `len` may be
  // null.
  // On purpose: in a tree decoded in place the first read stores a zero byte just past the string,
  // inside the caller's buffer, although the method is const.
  const char* GetString(size_t* len) const;

  // The text as a wide string decoded by `code_page` (DecodeEncodedString) and, in `*len`, its
  // units; null when this is no string. Valid until the next temporary wide string on this thread.
  // Requires: fewer than 2^31 units result.
  const wchar_t* GetStringT(int code_page, size_t* len) const;
};

class BencodedList : public BencEntity {
 public:
  // An empty list.
  BencodedList();

  // The number of elements. Requires: a list or a virtual list.
  size_t GetCount() const;

  // The element at `i`, valid until the list changes. A virtual list makes it on demand and keeps
  // one: the next different index invalidates it.
  // Requires: a list or a virtual list; `i` < GetCount(), which is not checked.
  BencEntity* Get(size_t i) const;

  // The element at `i` when it has the kind asked for, else null (GetInt: `def`).
  BencodedDict* GetDict(size_t i) const;
  BencodedList* GetList(size_t i) const;
  const char* GetString(size_t i, size_t* len) const;
  const wchar_t* GetStringT(size_t i, int code_page, size_t* len) const;
  // On purpose: stricter than Get, these take no virtual list.
  int GetInt(size_t i, int def) const;
  long long GetInt64(size_t i, long long def) const;

  // Reads tokens until a nested container was opened, which `*child` then names, or the list was
  // closed (`*child` null). False when the decode has failed.
  bool ResumeList(IBencParser* parser, BencEntity** child, AllocRegime* regime);
};

class BencodedDict : public BencEntity {
 public:
  // An empty dictionary.
  BencodedDict();

  // The value under `key`, null when absent. Valid until it is freed or replaced.
  // Requires, here and below: this is a dictionary. Cost: logarithmic.
  BencEntity* Get(const char* key) const;

  // The value under `key` when it has the kind asked for, else null or `def`.
  BencodedDict* GetDict(const char* key) const;
  BencodedList* GetList(const char* key) const;
  // See BencEntityMem::GetString; `*len` is untouched on a miss.
  const char* GetString(const char* key, size_t* len) const;
  // The raw bytes when there are exactly `expected_len` of them; no terminator is written.
  const char* GetString(const char* key, size_t expected_len) const;
  // A new terminated copy, freed with MyFree; a zero byte inside the string cuts it short.
  // Requires: the byte after the string is zero.
  char* GetStringCopy(const char* key) const;
  const wchar_t* GetStringT(const char* key, int code_page, size_t* len) const;
  int GetInt(const char* key, int def) const;
  long long GetInt64(const char* key, long long def) const;

  // As BencodedList::ResumeList.
  bool ResumeDict(IBencParser* parser, BencEntity** child, AllocRegime* regime);
};

// Keys and strings are copied into owned, terminated storage.
class AllocateMemRegime : public virtual BencEntity::AllocRegime {
 public:
  BencArray<char>* NewKey(char* text, int len) override;
  BencArray<unsigned char>* NewMem(unsigned char* text, int len) override;
};

// Keys and strings point into the decoded buffer.
class InplaceMemRegime : public virtual BencEntity::AllocRegime {
 public:
  BencArray<char>* NewKey(char* text, int len) override;
  BencArray<unsigned char>* NewMem(unsigned char* text, int len) override;
  bool LazyInt() override { return false; }
};

}  // namespace core
