// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Sparse images cut at every length and changed in every byte: whatever they say, using them ends
// soon, stays within the buffers, and takes no more room than the disk has.

#include <algorithm>

#include <gtest/gtest.h>

#include "base/endian.h"
#include "fakes/images.h"
#include "io/bit_map.h"

namespace larkspur {
namespace {

constexpr u64 kSectors = 14;
constexpr u32 kBlock = 4;
constexpr u32 kRequest = 20;
constexpr u64 kOperationLimit = 3000;

// Blocks 0, 1 and 3 have records; all three statuses occur.
std::vector<u8> SmallImage() {
  const auto store = fakes::StoreWithImage(kSectors, kBlock);
  const auto image = fakes::OpenImage(store);
  EXPECT_EQ(fakes::WritePattern(image.get(), 2, 4), 4u);
  EXPECT_EQ(fakes::WritePattern(image.get(), 12, 2), 2u);
  EXPECT_TRUE(image->MarkSectorBad(0));
  return store->bytes;
}

// Uses whatever the bytes are taken for; true when they were taken for an image.
bool UseEverything(std::vector<u8> bytes, bool readOnly) {
  const auto store = fakes::StoreOf(std::move(bytes));
  store->limitBytes = 1 << 20;
  const auto image = fakes::OpenImage(store, readOnly);
  if (!image) return false;
  std::vector<u8> buffer((kRequest + 1) * kSectorBytes, 0xEE);
  cBitMap presence(kRequest);
  u64 told = 0;
  image->VisitExtents(0, ~u64{0}, [&told](u64 start, u64 sectors, SectorStatus) {
    EXPECT_EQ(start, told);
    told += sectors;
    return true;
  });
  EXPECT_EQ(told, image->GetSectorCount());
  const u64 last = image->GetSectorCount() - std::min<u64>(image->GetSectorCount(), 3);
  for (const u64 first : {u64{0}, u64{3}, last}) {
    image->SetPosition(first);
    EXPECT_LE(image->Read(buffer.data(), kRequest, &presence), kRequest);
    EXPECT_LE(image->Write(first, buffer.data(), kRequest), kRequest);
    image->MarkSectorBad(first);
  }
  EXPECT_EQ(buffer.back(), 0xEE);
  EXPECT_LE(store->bytes.size(), store->limitBytes);
  EXPECT_LE(store->operations, kOperationLimit);
  return true;
}

TEST(DamagedImage, CutAtEveryLength) {
  const std::vector<u8> whole = SmallImage();
  ASSERT_EQ(whole.size(), (2 + 3 * (1 + kBlock)) * kSectorBytes);
  for (size_t length = 0; length <= whole.size(); ++length) {
    const std::vector<u8> cut(whole.begin(), whole.begin() + static_cast<i64>(length));
    const bool readable = length >= kSparseHeaderBytes;
    ASSERT_EQ(UseEverything(cut, true), readable) << length;
    ASSERT_EQ(UseEverything(cut, false), readable) << length;
    if (testing::Test::HasFailure()) FAIL() << "cut at " << length;
  }
}

// What a cut leaves is there, and a new record lies after the one that was cut, never in it.
TEST(DamagedImage, KeepsWhatACutLeavesAndGrowsAfterIt) {
  const std::vector<u8> whole = SmallImage();
  for (size_t length = 1024; length <= whole.size(); ++length) {
    const auto store = fakes::StoreOf({whole.begin(), whole.begin() + static_cast<i64>(length)});
    const auto image = fakes::OpenImage(store);
    const u64 before = store->Sectors();
    ASSERT_EQ(fakes::WritePattern(image.get(), 8, 4), 4u) << length;
    const u32 record = LoadLe32(&store->bytes[512 + 4 * 2]);
    ASSERT_GE(2 + u64{record} * (kBlock + 1), before) << length;
    // Sector 2 is sector 2 of record 0, sector 12 is sector 0 of record 2.
    const std::pair<u64, size_t> kept[] = {{2, (2 + 4) * 512}, {12, (2 + 10 + 2) * 512}, {11, 0}};
    for (const auto& [sector, end] : kept) {
      if (length < end) continue;
      u8 bytes[kSectorBytes];
      image->SetPosition(sector);
      ASSERT_EQ(image->Read(bytes, 1), 1u) << length;
      ASSERT_TRUE(fakes::IsPattern(sector, bytes)) << length;
    }
  }
}

TEST(DamagedImage, EveryByteOfHeaderAndIndexChanged) {
  const std::vector<u8> whole = SmallImage();
  for (size_t at = 0; at < 2 * kSectorBytes; ++at) {
    const bool matters = at < kSparseHeaderBytes || (at >= 512 && at < 512 + 4 * 4);
    for (int change = 1; change < 256; change += matters ? 1 : 51) {
      std::vector<u8> bytes = whole;
      bytes[at] = static_cast<u8>(bytes[at] ^ change);
      UseEverything(bytes, true);
      UseEverything(bytes, false);
      ASSERT_FALSE(testing::Test::HasFailure()) << "byte " << at << " changed by " << change;
    }
  }
}

TEST(DamagedImage, EveryByteOfAMapChanged) {
  const std::vector<u8> whole = SmallImage();
  for (size_t at = 1024; at < 1024 + kBlock; ++at) {
    for (int value = 0; value < 256; ++value) {
      const auto store = fakes::StoreOf(whole);
      store->bytes[at] = static_cast<u8>(value);
      const auto image = fakes::OpenImage(store);
      const char expected = value < 3 ? ".pu"[value] : 'x';
      ASSERT_EQ(fakes::Statuses(image.get(), at - 1024, 1), std::string(1, expected)) << value;
      ASSERT_EQ(fakes::Presence(image.get(), at - 1024, 1), value == 0 ? "0" : "1") << value;
      fakes::WritePattern(image.get(), at - 1024, 1);
      const char written = value == 0 ? 'p' : expected;
      ASSERT_EQ(fakes::Statuses(image.get(), at - 1024, 1), std::string(1, written)) << value;
      image->StoreOver(at - 1024, fakes::Pattern(at - 1024, 1).data(), 1);
      ASSERT_EQ(fakes::Statuses(image.get(), at - 1024, 1), "p") << value;
    }
  }
}

TEST(DamagedImage, PromisesOfEndlessBlocksCostNothing) {
  for (const u32 blockSize : {1u, 512u}) {
    const SparseLayout layout{(u64{1} << 32) * blockSize, blockSize, kSparseVersion, 1};
    std::vector<u8> bytes = SmallImage();
    const auto header = layout.Header();
    std::copy(header.begin(), header.end(), bytes.begin());
    EXPECT_TRUE(UseEverything(bytes, true));
    EXPECT_TRUE(UseEverything(bytes, false));
  }
}

TEST(DamagedImage, OfRecordsPastTheEndNothingIsKnown) {
  const auto store = fakes::StoreOf(SmallImage());
  StoreLe32(&store->bytes[512], 1000);
  const auto image = fakes::OpenImage(store);
  EXPECT_EQ(fakes::Presence(image.get(), 0, 8), "00001100");
  EXPECT_EQ(fakes::Statuses(image.get(), 0, 8), "????pp..");
  EXPECT_EQ(fakes::WritePattern(image.get(), 0, 1), 0u) << "refused, not stored elsewhere";
  EXPECT_FALSE(image->MarkSectorBad(0));
  EXPECT_EQ(LoadLe32(&store->bytes[512]), 1000u);
}

}  // namespace
}  // namespace larkspur
