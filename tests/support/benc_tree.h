// Decoded trees for tests, and a fixture that notices what a test did not free.
#pragma once

#include <gtest/gtest.h>

#include <string_view>

#include "core/base/host.h"
#include "core/bencode/bencoding.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/test_host.h"

// A tree and the input that it was decoded from.
class BencTreeOf {
 public:
  enum Mode { kCopied, kInPlace };

  explicit BencTreeOf(std::string_view input, Mode mode = kCopied) : bytes(input) {
    end = mode == kInPlace ? core::BencEntity::ParseInPlace(bytes.data(), root, bytes.end())
                           : core::BencEntity::Parse(bytes.begin(), root, bytes.end());
  }
  ~BencTreeOf() { root.FreeMembers(); }
  BencTreeOf(const BencTreeOf&) = delete;
  BencTreeOf& operator=(const BencTreeOf&) = delete;

  core::BencodedDict& dict() { return static_cast<core::BencodedDict&>(root); }
  core::BencodedList& list() { return static_cast<core::BencodedList&>(root); }

  ExactBytes bytes;
  core::BencEntity root;
  const unsigned char* end;
};

// Fails a test that leaves blocks of the library behind.
class BencTest : public testing::Test {
 protected:
  void SetUp() override {
    core::FreeTLS(core::GetTLS());
    blocks_ = test_host::LiveBlocks();
  }
  void TearDown() override {
    core::FreeTLS(core::GetTLS());
    EXPECT_EQ(blocks_, test_host::LiveBlocks());
  }

 private:
  test_host::Scope host_;
  long blocks_ = 0;
};
