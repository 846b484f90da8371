// Images that are cut short or changed: each is loaded, or refused with one line, and nothing else happens.
#include <gtest/gtest.h>
#include <string.h>

#include <memory>
#include <optional>

#include "tests/macho/resolver.h"
#include "tests/macho/sample_files.h"

namespace macho {
namespace {

constexpr size_t kHeaderBytes = 32;
constexpr const char* kKinds[] = {"small.classic", "small.chained", "small.universal"};

// Loads an exact copy of `bytes`, so that reading past them shows; nothing of the image is run.
std::optional<std::string> RefusalOfImage(Bytes bytes) {
  const std::unique_ptr<uint8_t[]> copy(new uint8_t[bytes.size()]);
  if (!bytes.empty()) {
    memcpy(copy.get(), bytes.data(), bytes.size());
  }
  try {
    Image(Bytes(copy.get(), bytes.size()), ResolveDarwinLibraries);
  } catch (const Refusal& refusal) {
    return refusal.what();
  }
  return std::nullopt;
}

bool IsOneLine(const std::string& text) { return !text.empty() && text.find('\n') == std::string::npos; }

size_t CommandsEnd(Bytes slice) { return kHeaderBytes + ValueAt<uint32_t>(slice, 20, "the header"); }

// The bits of a classic or chained image from `begin` to `end`, each one flipped once. The names of
// segments and libraries may be anything, so many flips are harmless; how many is not checked.
void FlipEveryBit(const char* kind, size_t begin, size_t end) {
  SCOPED_TRACE(kind);
  std::vector<uint8_t> bytes = Sample(kind);
  ASSERT_LE(end, bytes.size());
  size_t refused = 0;
  for (size_t bit = begin * 8; bit < end * 8; bit++) {
    const auto mask = static_cast<uint8_t>(1 << bit % 8);
    bytes[bit / 8] ^= mask;
    const std::optional<std::string> refusal = RefusalOfImage(bytes);
    bytes[bit / 8] ^= mask;
    refused += refusal.has_value();
    EXPECT_TRUE(!refusal || IsOneLine(*refusal)) << "bit " << bit;
  }
  EXPECT_GT(refused, 0u);
}

// Where the fixups, exports and symbols begin: the last segment, without the signature at its end.
size_t TablesBegin(const std::vector<uint8_t>& bytes) {
  return static_cast<size_t>(Parse(bytes).segments.back().contents.data() - bytes.data());
}

TEST(MachODamage, WholeImagesAreLoaded) {
  for (const char* kind : kKinds) {
    EXPECT_EQ(RefusalOfImage(Sample(kind)), std::nullopt) << kind;
  }
}

// How long an image is before what only fills it up behind the last segment or slice.
size_t Length(const std::vector<uint8_t>& bytes) {
  const Bytes last = Parse(SliceOf(bytes)).segments.back().contents;
  return static_cast<size_t>(last.data() + last.size() - bytes.data());
}

TEST(MachODamage, EveryCutIsRefused) {
  for (const char* kind : kKinds) {
    SCOPED_TRACE(kind);
    const std::vector<uint8_t> bytes = Sample(kind);
    const size_t end = Length(bytes);
    ASSERT_EQ(RefusalOfImage(Bytes(bytes).first(end)), std::nullopt);
    // Every length near both ends, where the headers and the tables are, and samples between them.
    for (size_t len = 0; len < end; len += len < 4096 || end - len < 4096 ? 1 : 7) {
      const std::optional<std::string> refusal = RefusalOfImage(Bytes(bytes).first(len));
      ASSERT_TRUE(refusal && IsOneLine(*refusal)) << len;
    }
  }
}

TEST(MachODamage, FlippedBitsInHeadersAreHarmless) {
  for (const char* kind : {"small.classic", "small.chained"}) {
    FlipEveryBit(kind, 0, CommandsEnd(Sample(kind)));
  }
}

TEST(MachODamage, FlippedBitsInTheListOfSlicesAreHarmless) { FlipEveryBit("small.universal", 0, 8 + 2 * 20); }

TEST(MachODamage, FlippedBitsInTablesAreHarmless) {
  for (const char* kind : {"small.classic", "small.chained"}) {
    const std::vector<uint8_t> bytes = Sample(kind);
    FlipEveryBit(kind, TablesBegin(bytes), std::min(bytes.size(), TablesBegin(bytes) + 2000));
  }
}

// Changes one value of the header or of a load command and tells what that is refused for.
template <class T>
std::string RefusalWith(std::vector<uint8_t> bytes, size_t offset, T value) {
  memcpy(bytes.data() + offset, &value, sizeof value);
  return RefusalOfImage(bytes).value_or("");
}

TEST(MachODamage, ForeignFilesAreNamed) {
  const std::vector<uint8_t> image = Sample("small.classic");
  EXPECT_EQ(RefusalWith(image, 0, 0x464C457Fu), "not a Mach-O file for x86-64");
  EXPECT_EQ(RefusalWith(image, 4, 0x0100000Cu), "not a Mach-O file for x86-64");
  EXPECT_EQ(RefusalOfImage(Sample("small.arm")), "not a Mach-O file for x86-64");
  EXPECT_EQ(RefusalWith(image, 12, 6u), "not a bundle");
  EXPECT_EQ(RefusalWith(image, 24, 0u), "imports do not name their libraries");
  EXPECT_EQ(RefusalOfImage(Bytes()), "the header reaches beyond the end");
}

TEST(MachODamage, UniversalFileWithoutTheSliceIsRefused) {
  const std::vector<uint8_t> image = Sample("small.universal");
  const size_t second_architecture = 8 + 20;
  size_t entry = 8;
  if (image[second_architecture + 3] == 0x07) {
    entry = second_architecture;
  }
  EXPECT_EQ(RefusalWith(image, entry + 3, uint8_t{0x12}), "a universal file without a slice for x86-64");
}

// The offset of the first load command of `kind`.
size_t CommandOffset(const std::vector<uint8_t>& bytes, uint32_t kind) {
  size_t at = kHeaderBytes;
  while (ValueAt<uint32_t>(bytes, at, "a load command") != kind) {
    at += ValueAt<uint32_t>(bytes, at + 4, "a load command");
  }
  return at;
}

constexpr uint32_t kSegmentCommand = 0x19;
constexpr uint32_t kUUIDCommand = 0x1B;

TEST(MachODamage, UnknownLoadCommandIsNamed) {
  const std::vector<uint8_t> image = Sample("small.classic");
  const size_t uuid = CommandOffset(image, kUUIDCommand);
  EXPECT_EQ(RefusalWith(image, uuid, 0x2Cu), "load command 0x2c is not supported");
  EXPECT_EQ(RefusalWith(image, uuid, 0x8000001Cu), "load command 0x8000001c is not supported");
  EXPECT_EQ(RefusalWith(image, uuid + 4, 0u), "a load command of 0 bytes");
}

TEST(MachODamage, UnsoundSegmentsAreRefused) {
  const std::vector<uint8_t> image = Sample("small.classic");
  const size_t text = CommandOffset(image, kSegmentCommand);
  EXPECT_EQ(RefusalWith(image, text + 24, uint64_t{4096}), "section __text lies outside its segment");
  EXPECT_EQ(RefusalWith(image, text + 72 + 40, uint64_t{1} << 30), "section __text lies outside its segment");
  EXPECT_EQ(RefusalWith(image, text + 72 + 40, UINT64_MAX), "section __text lies outside its segment");
  EXPECT_EQ(RefusalWith(image, text + 32, uint64_t{1} << 40), "segment __TEXT has no sound size");
  EXPECT_EQ(RefusalWith(image, text + 32, uint64_t{16}), "segment __TEXT has no sound size");
  EXPECT_EQ(RefusalWith(image, text + 48, UINT64_MAX), "a segment reaches beyond the end");
  EXPECT_EQ(RefusalWith(image, text + 60, 7u), "segment __TEXT is writable and executable");
}

}  // namespace
}  // namespace macho
