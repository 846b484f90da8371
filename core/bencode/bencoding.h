// The bencode value model: typed two-word values, their readers, and the decoder.
//
// A value owns its payload, lists and dictionaries own what they hold, and nothing is freed
// implicitly: whoever holds the root calls FreeMembers. A value belongs to one thread at a time.
// Asking for a missing key or another kind is an ordinary miss (null or the caller's default);
// calling a dictionary or list reader on a value of another kind is a fatal assertion.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "core/bencode/bencarray.h"
#include "core/bencode/bencparser.h"

namespace core {

class BencEntity;
struct BencListRecord;
template <class C>
class basic_string;

// A dictionary's entries.
using BencDictMap = Map<BencArray<char>, BencEntity>;

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
// null when it was not found. A list that a bad byte closed has no end to be counted: a dictionary with
// one inside has an end too far behind, or null.
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
    // A new array (made with `new`) holding the key; the map takes it over.
    virtual BencArray<char>* NewKey(char* text, int len) = 0;
    // A new array (made with `new`) holding the string; the value takes it over.
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
  void FreeMembers() {
    if (kind_ != BENC_NONE) {
      FreeTree();
    }
  }

  // Makes this BENC_NONE without freeing anything.
  void ZeroOut() {
    value_.integer = 0;
    kind_ = BENC_NONE;
  }

  // Frees this value, takes over the source's and leaves the source BENC_NONE. The source may be
  // an element of this value.
  // Requires: `src` is another object, and does not hold this one; this is of its kind, or BENC_NONE
  // or BENC_NULL.
  void MoveFrom(BencEntity& src);

  // Replaces this value by a deep copy of the source: owned bytes are copied and terminated, borrowed
  // ones are borrowed by the copy too. The source may be this value, part of it, or hold it: it is
  // copied as it was before. What this value held is freed, also for BENC_NULL and BENC_BOOL.
  // On purpose: a BENC_NONE source leaves this value as it is.
  // Requires: for a string or lazy integer, this is one of those or BENC_NONE; for a list, this is a
  // list, if only an empty one. The source holds neither virtual lists nor BENC_VOID.
  // Cost: linear, never recursive; memory is the only limit on depth.
  void CopyFrom(const BencEntity& src);

  // Frees this value and makes it the BENC_INT `v`. Returns `v`.
  int SetInt(int v);
  // Frees this value and makes it the BENC_INT64 `v`.
  void SetInt64(long long v);

  // Frees this value and makes it a virtual list of `count` elements: `callback` fills the record that
  // it is given, a BENC_NONE value of the list's, with the element at `index`. Returns this value.
  BencodedList* SetVList(void (*callback)(void* user_data, size_t index, BencEntity* out), size_t count,
                         void* user_data);

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
  // not. A key or a string of 2^31 bytes or more fails; the input and an integer's text may be longer.
  // Integers are read like strtoll reads them, and saturate.
  // Requires: buf <= end; the bytes are not part of `out`. Cost: linear for sorted keys, never
  // recursive; memory is the only limit on depth.
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
  // Cost: a token for each one read and each list closed by a bad one, which is quadratic in lists that
  // end in a long malformed length: bytes from strangers are read by a FixedInput<BencParser>.
  static bool DoParse(BencEntity& out, IBencParser* parser, AllocRegime* regime);

  // Decodes the file at `path` into this value with the host's LoadFile_Safe.
  bool LoadFromFile_Safe(const wchar_t* path);

  // Frees this value and makes it the BENC_INT64 that the zero-terminated `text` begins with, read
  // as strtoll reads it.
  void ParseNum(const unsigned char* text);

  // This value as text in a new block, freed with MyFree, its length in bytes in `*len` unless that is
  // null. BencodedEmitter tells the forms and the kinds that each takes; other kinds are fatal. Bencoding
  // has no terminator; the other forms end with a zero byte, which is counted.
  unsigned char* Serialize(size_t* len) const;
  char* SerializeAsAscii(size_t* len) const;
  char* SerializeAsXML(const char* tag, size_t* len) const;
  char* SerializeAsJson(size_t* len) const;

  // The form that a MIME type begins with, terminated: "text/xml" with the outer tag `xmlTag`,
  // "text/ascii", else JSON. Sets `contentType` to the type to answer with; for a null or an unknown
  // `mimeType` it stays as it is. A `callback` that is not null is wrapped around JSON like a function
  // call, the whole cut like any text of str_fmt.
  char* SerializeByMimeType(const char* mimeType, const char* xmlTag, const char*& contentType,
                            const char* callback) const;

  // The target of a request, "path?key=value&key=value": a new dictionary that holds, under the path, a
  // dictionary of the parameters. The caller calls FreeMembers and deletes it. `request` is cut and
  // decoded in place. With `multi` a key that comes again has a list of its values, else the last one.
  // Only values are URL-decoded, and a zero byte ends them.
  // On purpose: a parameter without "=" drops itself and all later ones.
  static BencEntity* ParseRpcParams(char* request, bool multi);

  // Replaces this value by what one token says. False, with nothing changed, when the token is not a
  // value, or when a string, or an integer to be kept as text, has 2^31 bytes or more.
  // Requires: this is BENC_NONE, BENC_NULL or of the token's kind.
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

 private:
  void FreeTree();
};
static_assert(sizeof(BencEntity) == 16);

// A list whose elements are produced on demand; it keeps one of them.
struct BencVList : Record {
  void (*callback)(void* user_data, size_t index, BencEntity* out);
  void* user_data;
  size_t cached_index;  // all ones when none, which is no element's index
  BencEntity cached;
  size_t count;
};

// A list's elements. They may stand in the same block behind the record (embedded); they must be
// moved out before the array changes its block.
struct BencListRecord : LList<BencEntity>, Record {
  bool embedded = false;
  RecordOrigin from = kSingle;

  RecordOrigin& origin() { return from; }

  ~BencListRecord() {
    if (!embedded) {
      Free();
    }
  }

  // Moves embedded elements to a block of the allocator with `room` slots, at least one for each.
  void Detach(size_t room);
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

  // GetString that writes nothing: no zero byte need follow the bytes.
  const char* GetBytes(size_t* len) const;

  // The text as a wide string decoded by `code_page` (DecodeEncodedString) and, in `*len`, its
  // units; null when this is no string. Valid until the next temporary wide string on this thread.
  // Requires: fewer than 2^31 units result.
  const wchar_t* GetStringT(int code_page, size_t* len) const;

  // CopyFrom for a source that is a string or a lazy integer.
  void CopyFrom(const BencEntity& src);

  // The setters replace the bytes; their argument may lie in the bytes that they replace.
  // Requires, here and below: this is a string.

  // Copies the `len` bytes at `s`, or those up to the zero byte for -1, and terminates them. A null `s`
  // leaves an empty string.
  // Requires: 0 <= len < 2^31, also when counted, unless `s` is null.
  void SetStr(const char* s, int len);

  // Stores `ws` as UTF-8. Null leaves an empty string.
  // Requires: fewer than 2^31 bytes result.
  void SetStrT(const wchar_t* ws);

  // Copies the `len` bytes at `p`.
  // On purpose: raw bytes, no terminator is written.
  // Requires: `p` is not null.
  void SetMem(const void* p, size_t len);

  // Takes over the block `p` with `len` bytes from the library's allocator.
  // On purpose: raw bytes, no terminator is written.
  // Requires: `p` is not null unless `len` is 0.
  void SetMemOwn(void* p, size_t len);

 private:
  BencArray<unsigned char>& Bytes() const;
};

class BencodedList : public BencEntity {
 public:
  // An empty list.
  BencodedList();

  // The number of elements. Requires: a list or a virtual list.
  size_t GetCount() const;

  // The element at `i`, valid until the list changes. A virtual list makes it on demand and keeps
  // one: the next different index invalidates it. SIZE_MAX stands for none kept: as long as a virtual list
  // keeps none, it asks nobody for that index and gives a BENC_NONE value.
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

  // CopyFrom for a source that is a list. Requires: this is a list.
  void CopyFrom(const BencEntity& src);

  // Moves `v` to the end of the list and returns the new element; `v` is left BENC_NONE. It may be an
  // element of this list. Whatever adds or removes an element invalidates the elements' addresses.
  // Requires, here and below: this is a list, not a virtual one; `v` is not this list and does not hold
  // it.
  // Cost: amortised constant.
  BencEntity* Append(BencEntity& v);

  // Appends a new value and returns it.
  // On purpose: a `len` that is -1 as an int means up to the zero byte (see BencEntityMem::SetStr).
  BencEntityMem* AppendString(const char* s, size_t len);
  BencEntity* AppendInt(int v);
  BencEntity* AppendInt64(long long v);
  BencodedDict* AppendDict();
  BencodedList* AppendList();

  // Frees the element at `i` and moves the later ones down by one.
  // Requires: `i` < GetCount(). Cost: moves the later elements.
  void Delete(size_t i);

 private:
  BencListRecord& Elements() const;
};

class BencodedDict : public BencEntity {
 public:
  // An empty dictionary.
  BencodedDict();

  // The number of entries, and the entries in ascending key order, each a Pair of key and value.
  // Requires, here and below: this is a dictionary.
  size_t size() const;
  BencDictMap::iterator begin() const;
  BencDictMap::iterator end() const;

  // The value under `key`, null when absent. Valid until it is freed or replaced.
  // Cost: the height of the map (see Map).
  BencEntity* Get(const char* key) const;

  // The value under `key` when it has the kind asked for, else null or `def`.
  BencodedDict* GetDict(const char* key) const;
  BencodedList* GetList(const char* key) const;
  // See BencEntityMem::GetString; `*len` is untouched on a miss. A literal 0 or NULL fits this function
  // and the next alike and does not compile: say nullptr here and size_t{0} there.
  const char* GetString(const char* key, size_t* len) const;
  // The raw bytes when there are exactly `expected_len` of them; no terminator is written.
  const char* GetString(const char* key, size_t expected_len) const;
  // A new terminated copy, freed with MyFree; a zero byte inside the string cuts it short.
  // Requires: the byte after the string is zero, as it is unless the tree was decoded in place and the
  // string is empty or was not read by GetString yet. The raw bytes of SetMem and SetMemOwn have no byte
  // after them and need none.
  char* GetStringCopy(const char* key) const;
  const wchar_t* GetStringT(const char* key, int code_page, size_t* len) const;
  int GetInt(const char* key, int def) const;
  long long GetInt64(const char* key, long long def) const;

  // BencEntity::Serialize. Requires: this is a dictionary.
  unsigned char* Serialize(size_t* len) const;

  // As BencodedList::ResumeList.
  bool ResumeDict(IBencParser* parser, BencEntity** child, AllocRegime* regime);

  // CopyFrom for a source that is a dictionary; this may be of any kind.
  void CopyFrom(const BencEntity& src);

  // Moves `v` to the entry with a copy of `key` and returns the stored value; `v` is left BENC_NONE.
  // `key` may lie, and `v` may be, inside this dictionary.
  // On purpose: when the key is there its value stays and is returned, and `v` is freed.
  // Requires: `key` is not null; `v` is not this dictionary and does not hold it. Cost: logarithmic.
  BencEntity* Insert(const char* key, BencEntity& v);

  // Insert a new value. For a key that is there the result is the value under it, whatever its kind.
  // `len` as in BencEntityMem::SetStr.
  BencEntityMem* InsertString(const char* key, const char* s, int len);
  BencEntityMem* InsertString(const basic_string<char>& key, const basic_string<char>& s, int len);
  BencEntityMem* InsertStringT(const char* key, const wchar_t* ws);
  BencEntity* InsertInt(const char* key, int v);
  BencEntity* InsertInt64(const char* key, long long v);
  BencodedDict* InsertDict(const char* key);
  BencodedList* InsertList(const char* key);

  // The string to put the value of a parameter in: new, or the value that `key` has already. With
  // `multi` a key that comes again gets a list of all its values, and the string is a new one at the end.
  // Requires: `key` is not null.
  BencEntity* AppendMultiple(char* key, bool multi);

  // Removes the entry with `key` and frees its value; a missing key is ignored.
  // Requires: `key` is not null. Cost: logarithmic.
  void Delete(const char* key);

 private:
  BencDictMap& Entries() const;
};

// The two ways of storing. Their functions stand here, so that a class with type information may derive
// from them: the library itself is built without.

// Keys and strings are copied into owned, terminated storage.
class AllocateMemRegime : public virtual BencEntity::AllocRegime {
 public:
  BencArray<char>* NewKey(char* text, int len) override { return NewCopy(text, len); }
  BencArray<unsigned char>* NewMem(unsigned char* text, int len) override { return NewCopy(text, len); }

 private:
  template <class T>
  static BencArray<T>* NewCopy(T* text, int len) {
    BencArray<T>* array = new BencArray<T>;
    array->Assign(text, static_cast<size_t>(len));
    return array;
  }
};

// Keys and strings point into the decoded buffer.
class InplaceMemRegime : public virtual BencEntity::AllocRegime {
 public:
  BencArray<char>* NewKey(char* text, int len) override { return NewBorrowed(text, len); }
  BencArray<unsigned char>* NewMem(unsigned char* text, int len) override { return NewBorrowed(text, len); }
  bool LazyInt() override { return false; }

 private:
  template <class T>
  static BencArray<T>* NewBorrowed(T* text, int len) {
    return new BencArray<T>(BorrowedBytes<T>{text, static_cast<size_t>(len)});
  }
};

}  // namespace core

#include "core/bencode/bencemitter.h"  // trees as text
