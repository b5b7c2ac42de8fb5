// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/base_io.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/owned.h"
#include "io/bit_map.h"

namespace larkspur {
namespace {

// Nothing but what cBaseIO itself does.
class cPlainIO final : public cBaseIO {
 public:
  cBaseIO* Clone() override { return nullptr; }
  bool IsSameAs(cBaseIO*) override { return false; }
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }
};

// Sectors in memory by Read and Write alone, with a trace of both: "R3+1 W4+2".
class cTracingIO final : public cBaseIO {
 public:
  explicit cTracingIO(u32 sectors) : bytes(u64{sectors} * kSectorBytes) {
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<u8>(i * 7 + i / 512);
  }
  cBaseIO* Clone() override { return nullptr; }
  bool IsSameAs(cBaseIO*) override { return false; }
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }
  u64 GetSectorCount() override { return bytes.size() / kSectorBytes; }
  u64 SetPosition(u64 sector) override { return m_position = std::min(sector, GetSectorCount()); }
  u32 Read(void* buffer, u32 count, cBitMap*) override {
    Trace('R', m_position, count);
    const u32 moved = Fitting(m_position, count);
    std::copy_n(&bytes[m_position * kSectorBytes], moved * kSectorBytes, static_cast<u8*>(buffer));
    m_position += moved;
    return moved;
  }
  u32 Write(u64 sector, const void* buffer, u32 count) override {
    Trace('W', sector, count);
    const u32 moved = Fitting(sector, count);
    const u8* in = static_cast<const u8*>(buffer);
    std::copy_n(in, moved * kSectorBytes, bytes.begin() + static_cast<i64>(sector) * kSectorBytes);
    return moved;
  }

  std::vector<u8> bytes;
  std::string trace;
  u64 broken = kNowhere;  // transfers stop before this sector

 private:
  u32 Fitting(u64 sector, u32 count) {
    const u64 end = std::min(GetSectorCount(), std::max(broken, sector));
    return sector >= end ? 0 : static_cast<u32>(std::min<u64>(count, end - sector));
  }
  void Trace(char kind, u64 sector, u32 count) {
    trace += (trace.empty() ? "" : " ") + std::string(1, kind) + std::to_string(sector) + "+" +
             std::to_string(count);
  }
  u64 m_position = 0;
};

TEST(BaseIO, AnswersForAStorageThatCanNothing) {
  cPlainIO io;
  u8 sector[kSectorBytes];
  EXPECT_FALSE(io.IsSparse());
  EXPECT_FALSE(io.QueryCapability());
  EXPECT_TRUE(io.SetReadOnly(true)) << "read-only from the start";
  EXPECT_FALSE(io.SetReadOnly(false));
  EXPECT_FALSE(io.Open(nullptr, true));
  EXPECT_EQ(io.Create(nullptr, 5, false), 0u);
  EXPECT_EQ(io.SetPosition(0), kNowhere);
  EXPECT_EQ(io.Read(sector, 1), 0u);
  EXPECT_EQ(io.Write(0, sector, 1), 0u);
  EXPECT_EQ(io.WriteMasked(0, sector, 1, nullptr), 0u);
  EXPECT_FALSE(io.ReadBytes(sector, 0, 1));
  EXPECT_FALSE(io.WriteBytes(sector, 0, 1));
  EXPECT_FALSE(io.SetSectorCount(1));
  EXPECT_EQ(io.GetSectorCount(), 0u);
  EXPECT_EQ(io.GetFullSectorCount(), 0u);
  EXPECT_EQ(io.GetByteSize(), 0u);
  ASSERT_TRUE(io.GetName());
  EXPECT_EQ(io.GetName()[0], u'\0');
  EXPECT_EQ(io.GetTypeId(), 0u);
  EXPECT_EQ(io.GetResourceKind(), 0u);
  u32 geometry[3];
  EXPECT_TRUE(io.GetGeometry(geometry));
  EXPECT_EQ(geometry[0], 512u);
  EXPECT_EQ(geometry[1], 63u);
  EXPECT_EQ(geometry[2], 255u);
}

TEST(BaseIO, CutsItsDescriptionAtTheCapacity) {
  const struct {
    i32 capacity;
    bool answer;
    std::u16string text;
  } cases[] = {{100, true, u"Basic IO"}, {9, true, u"Basic IO"}, {8, true, u"Basic I"},
               {1, true, u""},           {0, false, u"?"},       {-1, false, u"?"}};
  cPlainIO io;
  for (const auto& c : cases) {
    char16_t buffer[100] = u"?";
    EXPECT_EQ(io.GetDescription(buffer, c.capacity), c.answer) << c.capacity;
    EXPECT_EQ(std::u16string(buffer), c.text) << c.capacity;
  }
  EXPECT_FALSE(io.GetDescription(nullptr, 100));
}

struct ByteCase {
  u64 offset;
  u32 length;
  const char* reads;
  const char* writes;
};

constexpr ByteCase kByteCases[] = {
    {0, 0, "", ""},
    {0, 1, "R0+1", "R0+1 W0+1"},
    {511, 1, "R0+1", "R0+1 W0+1"},
    {511, 2, "R0+1 R1+1", "R0+1 W0+1 R1+1 W1+1"},
    {0, 512, "R0+1", "W0+1"},
    {1, 512, "R0+1 R1+1", "R0+1 W0+1 R1+1 W1+1"},
    {1, 511, "R0+1", "R0+1 W0+1"},
    {512, 1024, "R1+2", "W1+2"},
    {100, 1536, "R0+1 R1+2 R3+1", "R0+1 W0+1 W1+2 R3+1 W3+1"},
    {100, 1436, "R0+1 R1+2", "R0+1 W0+1 W1+2"},
    {512, 513, "R1+1 R2+1", "W1+1 R2+1 W2+1"},
};

TEST(BaseIO, MovesBytesThroughSectors) {
  for (const ByteCase& c : kByteCases) {
    cTracingIO io(5);
    std::vector<u8> out(c.length + 1, 0xEE);
    const auto place = io.bytes.begin() + static_cast<i64>(c.offset);
    EXPECT_TRUE(io.ReadBytes(out.data(), c.offset, c.length));
    EXPECT_EQ(io.trace, c.reads) << c.offset << "+" << c.length;
    EXPECT_TRUE(std::equal(out.begin(), out.end() - 1, place));
    EXPECT_EQ(out.back(), 0xEE) << "wrote past the buffer";
    io.trace.clear();
    const std::vector<u8> in(c.length + 1, 0xA5);
    std::vector<u8> expected = io.bytes;
    std::fill_n(expected.begin() + static_cast<i64>(c.offset), c.length, u8{0xA5});
    EXPECT_TRUE(io.WriteBytes(in.data(), c.offset, c.length));
    EXPECT_EQ(io.trace, c.writes) << c.offset << "+" << c.length;
    EXPECT_EQ(io.bytes, expected) << c.offset << "+" << c.length;
  }
}

TEST(BaseIO, ByteTransfersFailAsAWhole) {
  cTracingIO io(5);
  u8 buffer[3000] = {};
  EXPECT_TRUE(io.ReadBytes(nullptr, 7, 0));
  EXPECT_TRUE(io.WriteBytes(nullptr, 7, 0));
  EXPECT_FALSE(io.ReadBytes(nullptr, 7, 1));
  EXPECT_FALSE(io.WriteBytes(nullptr, 7, 1));
  EXPECT_FALSE(io.ReadBytes(buffer, 4 * 512, 513)) << "past the end";
  EXPECT_FALSE(io.WriteBytes(buffer, 4 * 512, 513)) << "past the end";
  for (u64 broken = 0; broken < 4; ++broken) {
    io.broken = broken;
    EXPECT_FALSE(io.ReadBytes(buffer, 100, 1536)) << broken;
    EXPECT_FALSE(io.WriteBytes(buffer, 100, 1536)) << broken;
  }
}

TEST(BaseIO, WritesWhatTheMaskSelects) {
  const struct {
    const char* mask;
    u32 count;
    const char* trace;
  } cases[] = {
      {"1101", 4, "W10+2 W13+1"}, {"0000", 4, ""},    {"1111", 4, "W10+4"},
      {"0110", 4, "W11+2"},       {"1111", 0, ""},    {"11111111", 3, "W10+3"},
      {"1010", 4, "W10+1 W12+1"}, {"01", 5, "W11+1"},
  };
  for (const auto& c : cases) {
    cTracingIO io(20);
    const std::string bits = c.mask;
    cBitMap mask(bits.size());
    for (u64 i = 0; i < bits.size(); ++i) mask.Set(i, bits[i] == '1');
    const std::vector<u8> data(5 * kSectorBytes, 0x5A);
    EXPECT_EQ(io.WriteMasked(10, data.data(), c.count, &mask), c.count) << c.mask;
    EXPECT_EQ(io.trace, c.trace) << c.mask;
  }
}

TEST(BaseIO, AMaskedWriteEndsAtTheRunThatFails) {
  cTracingIO io(20);
  io.broken = 15;
  cBitMap mask(8);
  mask.SetRange(0, 2, true);
  mask.SetRange(4, 3, true);
  const std::vector<u8> data(8 * kSectorBytes, 0x5A);
  EXPECT_EQ(io.WriteMasked(10, data.data(), 8, &mask), 4u);
  EXPECT_EQ(io.trace, "W10+2 W14+3");
  io.trace.clear();
  EXPECT_EQ(io.WriteMasked(10, data.data(), 8, nullptr), 5u) << "without a mask a plain write";
  EXPECT_EQ(io.trace, "W10+8");
}

}  // namespace
}  // namespace larkspur
