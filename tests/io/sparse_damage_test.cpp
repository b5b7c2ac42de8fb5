// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// What is left of sparse images that are cut or changed. That nothing breaks by it, whatever the
// bytes say, the sweep over the seeds shows.

#include <gtest/gtest.h>

#include "base/endian.h"
#include "fakes/images.h"

namespace larkspur {
namespace {

constexpr u64 kSectors = 14;
constexpr u32 kBlock = 4;

// Blocks 0, 1 and 3 have records; all three statuses occur.
std::vector<u8> SmallImage() {
  const auto store = fakes::StoreWithImage(kSectors, kBlock);
  const auto image = fakes::OpenImage(store);
  EXPECT_EQ(fakes::WritePattern(image.get(), 2, 4), 4u);
  EXPECT_EQ(fakes::WritePattern(image.get(), 12, 2), 2u);
  EXPECT_TRUE(image->MarkSectorBad(0));
  return store->bytes;
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
