#include "fuzz/support/torrent_builder.h"

#include <algorithm>
#include <utility>

namespace torrent_builder {
namespace {

constexpr uint64_t kPieceLengths[] = {16384, 16385, 65536, 1000000, 0x2000000};

Node Int(uint64_t value) { return {Node::kInt, std::to_string(static_cast<int64_t>(value)), {}}; }
Node Text(std::string text) { return {Node::kText, std::move(text), {}}; }

void Add(Node& dict, const char* key, Node value) {
  dict.items.push_back(Text(key));
  dict.items.push_back(std::move(value));
}

// Up to three parts, among them what cleaning and decoding treat in a way of their own.
std::string SomeText(FuzzInput& in) {
  static const std::string kParts[] = {"",
                                       "a",
                                       "name",
                                       ".",
                                       "..",
                                       "/",
                                       " ",
                                       "b ",
                                       "\xC3\xA9",
                                       "\xE2\x82\xAC",
                                       "\xFF",
                                       "\x80",
                                       "\xC0\xAE",
                                       "\xC0\xAF",
                                       "\xC0\x80",
                                       "\xE0\x80\x80",
                                       "\xED\xA0\x80",
                                       "\xF0\x9F\x98\x80",
                                       "\xF0\xA1\x81\x81",
                                       "\xC3",
                                       "\xE2\x82",
                                       "\xEF\xBB\xBF",
                                       "\xEF\xBF\xBF",
                                       "\x82\xA0",
                                       "http://h/",
                                       std::string(1, '\0'),
                                       "e\xCC\x81"};
  std::string text;
  for (int64_t parts = in.Between(1, 3); parts > 0; --parts) {
    text += in.Pick(kParts);
  }
  return in.Between(0, 7) == 0 ? text + in.Bytes(12) : text;
}

Node TextList(FuzzInput& in, int64_t least, int64_t most) {
  Node list{Node::kList, {}, {}};
  for (int64_t count = in.Between(least, most); count > 0; --count) {
    list.items.push_back(Text(SomeText(in)));
  }
  return list;
}

Node Encoding(FuzzInput& in) {
  static const char* const kNames[] = {"UTF-8",        "utf8",      "ANSI",         "big5",   "GBK",     "Shift-JIS",
                                       "Windows-1252", "windows-0", "CP1",          "cp 932", "Windows", "CP-1",
                                       "latin1",       "Japanese",  "CP4294967297", ""};
  static constexpr uint64_t kNumbers[] = {0, 1, 2, 932, 0xFFFFFFFF, 0x100000000, 0x100000001, UINT64_MAX};
  return in.Flip() ? Text(in.Pick(kNames)) : Int(in.Pick(kNumbers));
}

// Sizes whose piece count, cut to 32 bits, is from 1 to a few.
uint64_t SomeTotal(FuzzInput& in, uint64_t piece_length) {
  const auto small = static_cast<uint64_t>(in.Between(1, static_cast<int64_t>(piece_length * (in.Flip() ? 1 : 40))));
  const uint64_t wrap = piece_length << 32;
  const uint64_t most = (UINT64_MAX - piece_length - small) / wrap;
  return in.Between(0, 3) == 0 && most != 0 ? small + wrap * (in.Number<uint64_t>() % (most + 1)) : small;
}

// Files whose lengths come to `total`, modulo 2^64.
Node Files(FuzzInput& in, uint64_t total) {
  Node files{Node::kList, {}, {}};
  for (int64_t left = in.Between(1, 5); left > 0; --left) {
    const uint64_t length = left == 1 ? total : in.Flip() ? in.Number<uint16_t>() : in.Number<uint64_t>();
    total -= length;
    Node file{Node::kDict, {}, {}};
    Add(file, "length", Int(length));
    if (in.Between(0, 3) == 0) {
      Add(file, "path.utf-8", TextList(in, 1, 4));
    } else {
      Add(file, "path", TextList(in, 1, 4));
    }
    files.items.push_back(std::move(file));
  }
  return files;
}

Node Info(FuzzInput& in) {
  const uint64_t piece_length = in.Pick(kPieceLengths);
  const uint64_t total = SomeTotal(in, piece_length);
  const auto pieces = static_cast<uint32_t>((total + piece_length - 1) / piece_length);
  Node info{Node::kDict, {}, {}};
  in.Flip() ? Add(info, "files", Files(in, total)) : Add(info, "length", Int(total));
  const char* name = in.Between(0, 3) == 0 ? "name.utf-8" : "name";
  Add(info, name, Text(SomeText(in)));
  Add(info, "piece length", Int(piece_length));
  Add(info, "pieces", Text(std::string(pieces * size_t{20}, 'h')));
  if (in.Flip()) {
    Add(info, "private", Int(in.Number<uint8_t>()));
  }
  return info;
}

// The place of some node below `root`; null when there is none.
Node* SomeNode(FuzzInput& in, Node& root) {
  Node* node = &root;
  for (int64_t depth = in.Between(1, 6); depth > 0 && !node->items.empty(); --depth) {
    node = &node->items[static_cast<size_t>(in.Between(0, static_cast<int64_t>(node->items.size()) - 1))];
  }
  return node == &root ? nullptr : node;
}

// Some list or dictionary that is not empty.
Node* SomeContainer(FuzzInput& in, Node& root) {
  Node* found = root.items.empty() ? nullptr : &root;
  for (int64_t depth = in.Between(0, 4); found && depth > 0; --depth) {
    Node& below = found->items[static_cast<size_t>(in.Between(0, static_cast<int64_t>(found->items.size()) - 1))];
    found = below.items.empty() ? found : &below;
  }
  return found;
}

Node OfSomeKind(FuzzInput& in) {
  static const char* const kNumbers[] = {"0", "-1", "", "-", "16383", "33554433", "4294983680", "9223372036854775808",
                                         "x7"};
  switch (in.Between(0, 4)) {
    case 0:
      return {Node::kInt, in.Pick(kNumbers), {}};
    case 1:
      return Text(SomeText(in));
    case 2:
      return TextList(in, 0, 2);
    case 3:
      return {Node::kDict, {}, {}};
    default:
      return Int(in.Number<uint64_t>());
  }
}

std::string SomeLength(FuzzInput& in, size_t true_length) {
  static const char* const kLengths[] = {
      "00", "2147483648", "4294967296", "18446744073709551615", "18446744073709551617", "x"};
  return in.Flip() ? in.Pick(kLengths) : std::to_string(true_length + static_cast<size_t>(in.Between(-2, 2)));
}

void SpoilItems(FuzzInput& in, std::vector<Node>& items) {
  const auto at = static_cast<size_t>(in.Between(0, static_cast<int64_t>(items.size()) - 1));
  const auto other = static_cast<size_t>(in.Between(0, static_cast<int64_t>(items.size()) - 1));
  const auto begin = items.begin() + static_cast<ptrdiff_t>(at);
  switch (in.Between(0, 3)) {
    case 0:
      items.erase(begin);
      break;
    case 1:
      std::swap(items[at], items[other]);
      break;
    case 2:
      items.insert(begin, Node(items[other]));
      break;
    default: {  // a pair of key and value once more at the end
      const std::vector<Node> copy(begin, items.begin() + static_cast<ptrdiff_t>(std::min(at + 2, items.size())));
      items.insert(items.end(), copy.begin(), copy.end());
    }
  }
}

}  // namespace

Node Build(FuzzInput& in) {
  Node root{Node::kDict, {}, {}};
  const auto has = static_cast<unsigned>(in.Number<uint8_t>());
  if (has & 1) Add(root, "announce", Text(SomeText(in)));
  if (has & 2) Add(root, "announce-list", {Node::kList, {}, {TextList(in, 0, 2), TextList(in, 1, 2), Text("t")}});
  if (has & 4) Add(root, "comment", Text(SomeText(in)));
  if (has & 8) Add(root, "created by", Text(SomeText(in)));
  if (has & 16) Add(root, "creation date", Int(in.Number<uint64_t>()));
  if (has & 32) Add(root, "encoding", Encoding(in));
  Add(root, "info", Info(in));
  if (has & 64) Add(root, "url-list", in.Flip() ? TextList(in, 0, 3) : Text(SomeText(in)));
  return root;
}

void SpoilTree(FuzzInput& in, Node& root) {
  Node* node = SomeNode(in, root);
  Node* container = SomeContainer(in, root);
  if (!node || !container) {
    return;
  }
  switch (in.Between(0, 4)) {
    case 0:
      *node = OfSomeKind(in);
      break;
    case 1:
      node->length = SomeLength(in, node->text.size());
      break;
    case 2:
      node->text += SomeText(in);
      break;
    default:
      SpoilItems(in, container->items);
  }
}

std::string Encode(const Node& node) {
  switch (node.kind) {
    case Node::kInt:
      return "i" + node.text + "e";
    case Node::kText:
      return (node.length.empty() ? std::to_string(node.text.size()) : node.length) + ":" + node.text;
    default:
      break;
  }
  std::string bytes = node.kind == Node::kList ? "l" : "d";
  for (const Node& item : node.items) {
    bytes += Encode(item);
  }
  return bytes + "e";
}

void SpoilBytes(FuzzInput& in, std::string& bytes) {
  const auto at = static_cast<size_t>(in.Between(0, static_cast<int64_t>(bytes.size())));
  const auto count = static_cast<size_t>(in.Between(1, 24));
  switch (in.Between(0, 4)) {
    case 0:
      bytes.replace(at, 1, 1, static_cast<char>(in.Number<uint8_t>()));
      break;
    case 1:
      bytes.erase(at, count);
      break;
    case 2:
      bytes.insert(at, in.Bytes(8));
      break;
    case 3:
      bytes.insert(at, bytes.substr(at, count));
      break;
    default:
      bytes.resize(at);
  }
}

}  // namespace torrent_builder
