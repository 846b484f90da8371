// Request parameters as dictionaries.
#include <gtest/gtest.h>
#include <time.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "core/bencode/bencoding.h"
#include "tests/support/benc_peek.h"
#include "tests/support/benc_tree.h"
#include "tests/support/emitted.h"
#include "tests/support/fatal.h"
#include "tests/support/text.h"

namespace {

using core::BencEntity;
using core::BencEntityMem;
using core::BencodedDict;
using core::BencodedList;

using namespace std::string_literals;

class Request : public BencTest {};
class AppendMultiple : public BencTest {};

// The result for a request, as bencoding.
std::string Parsed(std::string_view request, bool multi) {
  Narrow text(request);
  BencEntity* result = BencEntity::ParseRpcParams(text.data(), multi);
  std::string bytes = Bencoded(*result);
  EXPECT_EQ(core::BENC_DICT, result->GetType());
  result->FreeMembers();
  delete result;
  return bytes;
}

struct Case {
  const char* request;
  const char* single;
  const char* multi = nullptr;  // null: the same
};

const Case kCases[] = {
    {"/p/?a=list&h=AB%20C", "d3:/p/d1:a4:list1:h4:AB Cee"},
    {"/x?a=1&a=2", "d2:/xd1:a1:2ee", "d2:/xd1:al1:11:2eee"},
    {"/x?a=1&a=2&b=3&a=4", "d2:/xd1:a1:41:b1:3ee", "d2:/xd1:al1:11:21:4e1:b1:3ee"},
    {"/x?a=1&flag&b=2", "d2:/xd1:a1:1ee"},
    {"/x?flag", "d2:/xdee"},
    {"/x?flag&a=1", "d2:/xdee"},
    {"/x", "d2:/xdee"},
    {"/x?", "d2:/xdee"},
    {"", "d0:dee"},
    {"?", "d0:dee"},
    {"?a=1", "d0:d1:a1:1ee"},
    {"a=1", "d3:a=1dee"},
    {"a=1&b=2", "d7:a=1&b=2dee"},
    {"/a&b=c?d=e", "d6:/a&b=cd1:d1:eee"},
    {"/x?=v", "d2:/xd0:1:vee"},
    {"/x?=", "d2:/xd0:0:ee"},
    {"/x?=v&=w", "d2:/xd0:1:wee", "d2:/xd0:l1:v1:weee"},
    {"/x?k=", "d2:/xd1:k0:ee"},
    {"/x?k=&k=", "d2:/xd1:k0:ee", "d2:/xd1:kl0:0:eee"},
    {"/x?k=a=b", "d2:/xd1:k3:a=bee"},
    {"/x?k==", "d2:/xd1:k1:=ee"},
    {"/x?a%20b=1", "d2:/xd5:a%20b1:1ee"},
    {"/x?a+b=a+b", "d2:/xd3:a+b3:a bee"},
    {"/a%20b+c?k=v", "d8:/a%20b+cd1:k1:vee"},
    {"/x?a=1?b=2", "d2:/xd1:a5:1?b=2ee"},
    {"/x??a=1", "d2:/xd2:?a1:1ee"},
    {"/x?a=1&", "d2:/xd1:a1:1ee"},
    {"/x?&a=1", "d2:/xdee"},
    {"/x?a=1&&b=2", "d2:/xd1:a1:1ee"},
    {"/x?a=1#f", "d2:/xd1:a3:1#fee"},
    {"/x?a=1;b=2", "d2:/xd1:a5:1;b=2ee"},
    {"/x?b=2&a=1", "d2:/xd1:a1:11:b1:2ee"},
    {"/x?a=%26%3d%3D%3F", "d2:/xd1:a4:&==?ee"},
    {"/x?a=%4", "d2:/xd1:a2:%4ee"},
    {"/x?a=%", "d2:/xd1:a1:%ee"},
    {"/x?a=%4&b=1", "d2:/xd1:a2:%41:b1:1ee"},
    {"/x?a=b%00c", "d2:/xd1:a1:bee"},
    {"/x?a=%00", "d2:/xd1:a0:ee"},
    {"/x?a=%ff%E9",
     "d2:/xd1:a2:\xff\xe9"
     "ee"},
    {"/x?A=1&a=2", "d2:/xd1:A1:11:a1:2ee"},
};

TEST_F(Request, GivesThePathWithItsParameters) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.request);
    EXPECT_EQ(c.single, Parsed(c.request, false));
    EXPECT_EQ(c.multi ? c.multi : c.single, Parsed(c.request, true));
  }
}

TEST_F(Request, KeepsOneParameterAsAStringWithMulti) {
  Narrow text("/x?a=1");
  BencEntity* result = BencEntity::ParseRpcParams(text.data(), true);
  BencodedDict* params = static_cast<BencodedDict*>(result)->GetDict("/x");
  ASSERT_NE(nullptr, params);
  EXPECT_EQ(core::BENC_STR, params->Get("a")->GetType());
  EXPECT_STREQ("1", params->GetString("a", nullptr));
  result->FreeMembers();
  delete result;
}

TEST_F(Request, TheResultDoesNotDependOnTheRequest) {
  auto text = std::make_unique<Narrow>("/x?a=1&b=2");
  BencEntity* result = BencEntity::ParseRpcParams(text->data(), false);
  text.reset();
  EXPECT_EQ("d2:/xd1:a1:11:b1:2ee", Bencoded(*result));
  result->FreeMembers();
  delete result;
}

TEST_F(Request, CutsTheRequestInPlace) {
  Narrow text("/x?a=%41&b=c+d&flag&c=1");
  BencEntity* result = BencEntity::ParseRpcParams(text.data(), false);
  EXPECT_EQ("/x\0a\0A\0"s, text.view().substr(0, 7));
  EXPECT_EQ("\0b\0c d\0flag\0c=1"s, text.view().substr(8));
  result->FreeMembers();
  delete result;
}

TEST_F(Request, ANullRequestIsFatal) {
  EXPECT_FATAL_ANY_LINE(BencEntity::ParseRpcParams(nullptr, false), "core/bencoding");
}

TEST_F(Request, ManyParametersTakeLinearTime) {
  constexpr int kCount = 200'000;
  std::string request = "/x?k=0";
  std::string values = "1:0";
  for (int i = 1; i < kCount; ++i) {
    const std::string n = std::to_string(i);
    request += "&k=" + n;
    values += std::to_string(n.size()) + ":" + n;
  }
  const clock_t start = clock();
  EXPECT_TRUE("d2:/xd1:kl" + values + "eee" == Parsed(request, true));
  EXPECT_EQ("d2:/xd1:k6:199999ee", Parsed(request, false));
  EXPECT_LT(clock() - start, 4 * CLOCKS_PER_SEC);
}

// A second reading of the rules on standard strings.
class Model {
 public:
  Model(const std::string& request, bool multi) : multi_(multi) {
    const size_t mark = request.find('?');
    path_ = request.substr(0, mark);
    for (size_t at = mark; at != std::string::npos;) {
      const size_t next = request.find('&', at + 1);
      const std::string pair = request.substr(at + 1, next == std::string::npos ? next : next - at - 1);
      const size_t equals = pair.find('=');
      if (equals == std::string::npos) {
        break;
      }
      params_[pair.substr(0, equals)].push_back(Decoded(pair.substr(equals + 1)));
      at = next;
    }
  }

  std::string Bencoding() const {
    std::string out = "d" + Text(path_) + "d";
    for (const auto& [key, values] : params_) {
      out += Text(key);
      if (!multi_ || values.size() == 1) {
        out += Text(values.back());
        continue;
      }
      out += "l";
      for (const std::string& value : values) {
        out += Text(value);
      }
      out += "e";
    }
    return out + "ee";
  }

 private:
  static std::string Text(const std::string& s) { return std::to_string(s.size()) + ":" + s; }

  static std::string Decoded(const std::string& value) {
    std::string out;
    const auto digit = [&](size_t i) { return value[i] <= '9' ? value[i] - '0' : (value[i] & ~0x20) - 55; };
    for (size_t i = 0; i < value.size(); ++i) {
      if (value[i] == '%' && value.size() - i > 2) {
        out += static_cast<char>(16 * digit(i + 1) + digit(i + 2));
        i += 2;
      } else {
        out += value[i] == '+' ? ' ' : value[i];
      }
    }
    return out.c_str();
  }

  bool multi_;
  std::string path_;
  std::map<std::string, std::vector<std::string>> params_;
};

TEST_F(Request, AgreesWithAModelOnRandomRequests) {
  constexpr unsigned kSeed = 1789;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  static const std::string kLikely = "?&&&===%+aab04fF/\xe9";
  for (int round = 0; round < 50'000; ++round) {
    std::string request(random() % 30, '\0');
    for (char& c : request) {
      c = kLikely[random() % kLikely.size()];
    }
    request.insert(std::min<size_t>(request.size(), random() % 3), random() % 4 == 0 ? "" : "?");
    ASSERT_EQ(Model(request, false).Bencoding(), Parsed(request, false)) << request;
    ASSERT_EQ(Model(request, true).Bencoding(), Parsed(request, true)) << request;
  }
}

// A key that is writable, as the function asks.
struct Key : Narrow {
  explicit Key(std::string_view text = "k") : Narrow(text) {}
};

TEST_F(AppendMultiple, GivesANewEmptyStringForANewKey) {
  for (bool multi : {false, true}) {
    OwnedDict dict;
    Key key;
    BencEntity* slot = dict.AppendMultiple(key.data(), multi);
    EXPECT_EQ(dict.Get("k"), slot);
    EXPECT_EQ("d1:k0:e", Bencoded(dict));
    static_cast<BencEntityMem*>(slot)->SetStr("v", -1);
    EXPECT_EQ("d1:k1:ve", Bencoded(dict));
    EXPECT_EQ("k", key.view());
  }
}

TEST_F(AppendMultiple, GivesTheStoredValueOfAnOldKeyWithoutMulti) {
  OwnedDict dict;
  BencEntity* stored = dict.InsertString("k", "old", -1);
  EXPECT_EQ(stored, dict.AppendMultiple(Key().data(), false));
  EXPECT_EQ("d1:k3:olde", Bencoded(dict));
}

TEST_F(AppendMultiple, GivesWhateverIsStoredWithoutMulti) {
  OwnedDict dict;
  BencEntity* stored = dict.InsertInt("k", 1);
  BencEntity* got = dict.AppendMultiple(Key().data(), false);
  EXPECT_EQ(stored, got);
  EXPECT_FATAL_ANY_LINE(static_cast<BencEntityMem*>(got)->SetStr("v", -1), "core/bencoding");
  dict.Delete("k");
  stored = dict.InsertList("k");
  EXPECT_EQ(stored, dict.AppendMultiple(Key().data(), false));
}

TEST_F(AppendMultiple, MakesAListOfAnOldValueWithMulti) {
  OwnedDict dict;
  dict.InsertString("k", "old", -1);
  BencEntity* slot = dict.AppendMultiple(Key().data(), true);
  ASSERT_NE(nullptr, dict.GetList("k"));
  EXPECT_EQ(dict.GetList("k")->Get(1), slot);
  EXPECT_EQ("d1:kl3:old0:ee", Bencoded(dict));
  dict.AppendMultiple(Key().data(), true);
  EXPECT_EQ("d1:kl3:old0:0:ee", Bencoded(dict));
}

TEST_F(AppendMultiple, MovesAnOldValueOfAnyKindIntoTheList) {
  OwnedDict dict;
  dict.InsertInt("i", 5);
  dict.InsertDict("d")->InsertInt("x", 1);
  BencEntity vlist;
  vlist.SetVList([](void*, size_t, BencEntity* out) { out->SetInt(9); }, 2, nullptr);
  dict.Insert("v", vlist);
  for (const char* key : {"i", "d", "v"}) {
    dict.AppendMultiple(Key(key).data(), true);
  }
  EXPECT_EQ("d1:dld1:xi1ee0:e1:ili5e0:e1:vlli9ei9ee0:ee", Bencoded(dict));
}

TEST_F(AppendMultiple, AppendsToAListThatIsThere) {
  OwnedDict dict;
  dict.InsertList("k");
  dict.AppendMultiple(Key().data(), true);
  EXPECT_EQ("d1:kl0:ee", Bencoded(dict));
  dict.AppendMultiple(Key().data(), true);
  EXPECT_EQ("d1:kl0:0:ee", Bencoded(dict));
}

TEST_F(AppendMultiple, ANullKeyIsFatal) {
  OwnedDict dict;
  EXPECT_FATAL_ANY_LINE(dict.AppendMultiple(nullptr, false), "core/bencoding");
  EXPECT_FATAL_ANY_LINE(dict.AppendMultiple(nullptr, true), "core/bencoding");
}

TEST_F(AppendMultiple, WorksOnADecodedDictionary) {
  for (auto mode : {BencTreeOf::kCopied, BencTreeOf::kInPlace}) {
    BencTreeOf tree("d1:k1:v1:ll1:xee", mode);
    tree.dict().AppendMultiple(Key("k").data(), true);
    tree.dict().AppendMultiple(Key("l").data(), true);
    tree.dict().AppendMultiple(Key("m").data(), true);
    EXPECT_EQ("d1:kl1:v0:e1:ll1:x0:e1:m0:e", Bencoded(tree.root));
  }
}

TEST_F(AppendMultiple, TakesAnEmptyKey) {
  OwnedDict dict;
  dict.AppendMultiple(Key("").data(), true);
  dict.AppendMultiple(Key("").data(), true);
  EXPECT_EQ("d0:l0:0:ee", Bencoded(dict));
}

TEST_F(AppendMultiple, AnythingButADictionaryIsFatal) {
  for (bool multi : {false, true}) {
    for (int kind : {core::BENC_NONE, core::BENC_INT, core::BENC_NULL}) {
      BencEntity v;
      BencPeek::SetPlain(v, kind);
      EXPECT_FATAL_ANY_LINE(static_cast<BencodedDict&>(v).AppendMultiple(Key().data(), multi), "core/bencoding");
    }
    BencTreeOf list("le");
    EXPECT_FATAL_ANY_LINE(list.dict().AppendMultiple(Key().data(), multi), "core/bencoding");
  }
}

}  // namespace
