#include "foundation/bytes.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/tools.h"

namespace terrain {
namespace {

std::vector<std::byte> bytesOf(std::initializer_list<int> values) {
  std::vector<std::byte> bytes;
  for (const int value : values) bytes.push_back(static_cast<std::byte>(value));
  return bytes;
}

TEST(Bytes, EachReadSaysItsOrder) {
  const auto bytes =
      bytesOf({0x00, 0x00, 0x27, 0x0A, 0xE8, 0x03, 0x00, 0x00, 0x3F, 0xF8, 0, 0, 0, 0, 0, 0, 0xFE, 0xFF});
  ByteReader in(bytes);
  EXPECT_EQ(in.big<int32_t>(), 9994);
  EXPECT_EQ(in.little<int32_t>(), 1000);
  EXPECT_EQ(in.big<double>(), 1.5);
  EXPECT_EQ(in.little<int16_t>(), -2);
  EXPECT_TRUE(in.ok());
  EXPECT_EQ(in.remaining(), 0U);
}

TEST(Bytes, FailureSticksAndNothingIsReadBeyondTheEnd) {
  const auto bytes = bytesOf({1, 2, 3, 4, 5});
  for (std::size_t length = 0; length < 4; ++length) {
    ByteReader in{std::span<const std::byte>(bytes).first(length)};
    EXPECT_EQ(in.little<uint32_t>(), 0U);
    EXPECT_FALSE(in.ok());
    EXPECT_EQ(in.little<uint8_t>(), 0U) << "one byte would be there, but the reader has failed";
    EXPECT_FALSE(in.seek(0));
    EXPECT_FALSE(in.holds(0));
  }
  ByteReader in(bytes);
  std::array<uint16_t, 3> many{7, 7, 7};
  EXPECT_FALSE(in.little(std::span<uint16_t>(many)));
  EXPECT_EQ(many[0], 7) << "an array is read whole or not at all";

  ByteReader outer(bytes);
  ByteReader inner = outer.part(2);
  EXPECT_EQ(inner.little<uint16_t>(), 0x0201);
  EXPECT_EQ(inner.little<uint8_t>(), 0U) << "the part ends where its record ends";
  EXPECT_FALSE(inner.ok());
  EXPECT_TRUE(outer.ok());
  EXPECT_EQ(outer.little<uint8_t>(), 3);
  EXPECT_FALSE(outer.part(3).ok());
  EXPECT_FALSE(outer.ok());
}

TEST(Bytes, CountsAreComparedWithoutOverflow) {
  const auto bytes = bytesOf({0, 0, 0, 0, 0, 0, 0, 0});
  ByteReader in(bytes);
  EXPECT_TRUE(in.holds(2, 4));
  EXPECT_FALSE(in.holds(3, 4));
  EXPECT_FALSE(in.holds(std::numeric_limits<uint64_t>::max(), 16));
  EXPECT_FALSE(in.holds(uint64_t{1} << 61, 8)) << "the product is 0 in 64 bits";
  in.skip(8);
  EXPECT_TRUE(in.holds(0, 8));
  EXPECT_FALSE(in.holds(1));
  EXPECT_TRUE(in.take(0).empty());
  EXPECT_TRUE(in.ok());
  EXPECT_FALSE(in.skip(std::numeric_limits<uint64_t>::max()));
}

TEST(Bytes, FileAndVectorHoldTheSame) {
  // A buffer of a few bytes, so that numbers, texts and patches straddle its end in every way.
  const auto write = [](ByteWriter& out) {
    for (int i = 0; i < 20; ++i) {
      out.big(int32_t{i});
      out.little(static_cast<double>(i) / 3);
      out.text(std::string(static_cast<std::size_t>(i), 'x'));
      out.little(static_cast<uint8_t>(i));
    }
    out.fill(std::byte{0xAB}, 700);
    out.patchBig(0, int32_t{-5});
    out.patchLittle(out.position() - 2, uint16_t{0x1234});
    out.patchLittle(13, uint16_t{0x4321});
  };
  std::vector<std::byte> expected;
  ByteWriter memory(expected);
  write(memory);
  EXPECT_EQ(memory.finish(), kIoOk);
  EXPECT_EQ(memory.position(), expected.size());
  const test::ScratchDir dir;
  for (const std::size_t buffer : {1U, 2U, 7U, 8U, 64U, 1U << 20}) {
    platform::File file;
    ASSERT_EQ(file.open(dir.path("a"), platform::Open::replace), kIoOk);
    ByteWriter out(file, buffer);
    write(out);
    EXPECT_EQ(out.position(), expected.size());
    ASSERT_EQ(out.finish(), kIoOk);
    std::vector<std::byte> found;
    ASSERT_EQ(readWholeFile(dir.path("a"), found), kIoOk);
    EXPECT_EQ(found, expected) << buffer;
  }
}

TEST(Bytes, WriterKeepsItsFirstFault) {
  std::vector<std::byte> bytes;
  ByteWriter out(bytes);
  out.little(int32_t{1});
  out.patchBig(1, int32_t{2});
  EXPECT_EQ(out.fault(), kIoPastEnd);
  out.little(int32_t{3});
  EXPECT_EQ(bytes.size(), 4U);

  platform::File readOnly;
  ASSERT_EQ(readOnly.open(TERRAIN_PROGRAM, platform::Open::read), kIoOk);
  ByteWriter refused(readOnly, 16);
  refused.fill(std::byte{1}, 100);
  EXPECT_NE(refused.finish(), kIoOk);
  std::vector<std::byte> nothing(3);
  EXPECT_NE(readWholeFile("no/such/file", nothing), kIoOk);
  EXPECT_TRUE(nothing.empty());
}

}  // namespace
}  // namespace terrain
