// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/complete_blocks.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "fakes/images.h"

namespace larkspur {
namespace {

void WritePattern(cKVRSparseIO* image, u64 first, u32 count) {
  ASSERT_EQ(fakes::WritePattern(image, first, count), count);
}

std::string OperationsOfRead(fakes::MemoryStore* store, cKVRSparseIO* image, u64 first, u32 count) {
  std::vector<u8> buffer(u64{count} * kSectorBytes);
  store->log.clear();
  store->keepLog = true;
  image->SetPosition(first);
  EXPECT_EQ(image->Read(buffer.data(), count), count);
  store->keepLog = false;
  for (u32 i = 0; i < count; ++i) {
    const u8* sector = &buffer[u64{i} * kSectorBytes];
    EXPECT_TRUE(fakes::IsPattern(first + i, sector) || fakes::IsZero(sector, kSectorBytes));
  }
  return fakes::Describe(store->log);
}

TEST(CompleteBlocks, AreReadWithoutIndexAndMap) {
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, 300);
  WritePattern(image.get(), 0, 128);
  WritePattern(image.get(), 256, 43);  // the last block has 44 sectors
  const char* const kAll = "R:512+4 R:1024+128 R:2048+512";
  EXPECT_EQ(OperationsOfRead(store.get(), image.get(), 1, 1), kAll);
  EXPECT_EQ(OperationsOfRead(store.get(), image.get(), 1, 1), "R:2048+512");
  const char* const kLast = "R:520+4 R:67072+128 R:67584+512";
  EXPECT_EQ(OperationsOfRead(store.get(), image.get(), 256, 1), kLast);
  EXPECT_EQ(OperationsOfRead(store.get(), image.get(), 256, 1), kLast) << "a sector is missing";
  ASSERT_TRUE(image->MarkSectorBad(299));
  EXPECT_EQ(OperationsOfRead(store.get(), image.get(), 256, 1), kLast);
  EXPECT_EQ(OperationsOfRead(store.get(), image.get(), 256, 1), "R:67584+512")
      << "unreadable sectors are not missing";
}

TEST(CompleteBlocks, AreSeenAsOthersMakeThem) {
  const auto store = fakes::MakeStore();
  const auto reader = fakes::CreateImage(store, 300), writer = fakes::OpenImage(store);
  EXPECT_EQ(fakes::Presence(reader.get(), 126, 4), "0000");
  WritePattern(writer.get(), 0, 127);
  EXPECT_EQ(fakes::Presence(reader.get(), 126, 4), "1000");
  WritePattern(writer.get(), 127, 2);
  EXPECT_EQ(fakes::Presence(reader.get(), 126, 4), "1110");
  EXPECT_EQ(fakes::Presence(reader.get(), 126, 4), "1110");
  // A complete block keeps changing: its data, and from present to unreadable.
  const std::vector<u8> other = fakes::Pattern(5000, 1);
  ASSERT_EQ(writer->Write(3, other.data(), 1), 1u);
  ASSERT_TRUE(writer->MarkSectorBad(4));
  std::vector<u8> buffer(kSectorBytes);
  reader->SetPosition(3);
  ASSERT_EQ(reader->Read(buffer.data(), 1), 1u);
  EXPECT_EQ(buffer, other);
  EXPECT_EQ(fakes::Statuses(reader.get(), 2, 4), "ppup");
  EXPECT_EQ(fakes::Presence(reader.get(), 2, 4), "1111");
}

TEST(CompleteBlocks, AreForgottenWithTheFile) {
  const auto full = fakes::MakeStore(), empty = fakes::StoreWithImage(128, 128);
  const auto image = fakes::CreateImage(full, 128);
  WritePattern(image.get(), 0, 128);
  EXPECT_EQ(fakes::Presence(image.get(), 0, 3), "111");
  const cNestedIOResource resource = fakes::ResourceOn(empty);
  ASSERT_TRUE(image->Open(&resource, false));
  EXPECT_EQ(fakes::Presence(image.get(), 0, 3), "000");
}

// More blocks than slots, so that blocks replace each other.
TEST(CompleteBlocks, AreReadRightlyWhenTheyShareSlots) {
  constexpr u64 kSectors = 70000;
  const auto store = fakes::StoreWithImage(kSectors, 1);
  const auto image = fakes::OpenImage(store);
  const u64 sectors[] = {1, 1 + (1 << 15), 1 + (1 << 16), 2};
  for (const u64 sector : sectors) WritePattern(image.get(), sector, 1);
  for (int round = 0; round < 3; ++round) {
    for (const u64 sector : sectors) {
      std::vector<u8> buffer(2 * kSectorBytes);
      image->SetPosition(sector);
      ASSERT_EQ(image->Read(buffer.data(), 2), 2u);
      EXPECT_TRUE(fakes::IsPattern(sector, buffer.data())) << sector;
    }
  }
  EXPECT_EQ(fakes::Presence(image.get(), 32768, 3), "010");
}

}  // namespace
}  // namespace larkspur
