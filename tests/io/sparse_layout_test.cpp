// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/sparse_layout.h"

#include <cstring>

#include <gtest/gtest.h>

#include "fakes/images.h"
#include "fakes/temp_folder.h"
#include "io/shared_file.h"
#include "io/sparse_writer.h"
#include "platform/file.h"

namespace larkspur {
namespace {

constexpr u64 Power(u32 exponent) {
  return u64{1} << exponent;
}

TEST(SparseLayout, TheBlockSizeGrowsWithTheImage) {
  const struct {
    u64 sectors;
    u32 blockSize;  // 0: refused
  } cases[] = {
      {0, 0},           {1, 128},
      {127, 128},       {Power(39) - 1, 128},
      {Power(39), 256}, {Power(40) - 1, 256},
      {Power(40), 512}, {Power(41) - 1, 512},
      {Power(41), 0},   {~u64{0}, 0},
  };
  for (const auto& c : cases) {
    const auto layout = SparseLayout::ForNew(c.sectors, 1);
    EXPECT_EQ(layout ? layout->blockSize : 0, c.blockSize) << c.sectors;
  }
}

TEST(SparseLayout, PlacesIndexAndRecords) {
  const struct {
    u64 sectors;
    u32 blockSize;
    u64 blocks, indexSectors;
    u64 secondRecord;
  } cases[] = {
      {1, 128, 1, 1, 2 + 129},
      {128, 128, 1, 1, 2 + 129},
      {129, 128, 2, 1, 2 + 129},
      {128 * 128, 128, 128, 1, 2 + 129},
      {128 * 128 + 1, 128, 129, 2, 3 + 129},
      {5, 1, 5, 1, 2 + 2},
      {Power(41) - 1, 512, Power(32), Power(25), Power(25) + 1 + 513},
      {0, 128, 0, 0, 1 + 129},
  };
  for (const auto& c : cases) {
    const SparseLayout layout{c.sectors, c.blockSize, kSparseVersion, 0};
    EXPECT_EQ(layout.BlockCount(), c.blocks) << c.sectors;
    EXPECT_EQ(layout.IndexSectors(), c.indexSectors) << c.sectors;
    EXPECT_EQ(layout.DataStart(), c.indexSectors + 1) << c.sectors;
    EXPECT_EQ(layout.RecordSector(1), c.secondRecord) << c.sectors;
  }
  const SparseLayout layout{300, 128, kSparseVersion, 0};
  EXPECT_EQ(layout.SectorsInBlock(0), 128u);
  EXPECT_EQ(layout.SectorsInBlock(2), 44u);
  EXPECT_EQ(SparseLayout::IndexByte(0), 512u);
  EXPECT_EQ(SparseLayout::IndexByte(300), 1712u);
}

TEST(SparseLayout, WritesAndReadsItsHeader) {
  const SparseLayout layout{0x0000000203040506, 0x80, kSparseVersion, 0xAABBCCDD};
  const auto header = layout.Header();
  const std::array<u8, 28> expected = {'K', 'V', 'R', 'S', 'p',  'a',  'r',  'F', 6, 5,
                                       4,   3,   2,   0,   0,    0,    0x80, 0,   0, 0,
                                       0,   0,   2,   0,   0xDD, 0xCC, 0xBB, 0xAA};
  EXPECT_EQ(header, expected);
  const auto read = SparseLayout::Parse(header);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->Header(), header);
}

TEST(SparseLayout, RefusesImpossibleHeaders) {
  const struct {
    const char* name;
    u64 sectors;
    u32 blockSize;
    bool accepted;
  } cases[] = {
      {"smallest block", 100, 1, true},
      {"largest block", 100, 512, true},
      {"odd block", 100, 77, true},
      {"no block", 100, 0, false},
      {"block too large", 100, 513, false},
      {"all-ones block", 100, 0xFFFFFFFF, false},
      {"no sectors", 0, 128, true},
      {"as many blocks as can be numbered", Power(39), 128, true},
      {"one block more", Power(39) + 1, 128, false},
      {"all-ones sectors", ~u64{0}, 512, false},
  };
  for (const auto& c : cases) {
    const SparseLayout layout{c.sectors, c.blockSize, 77, 0};
    EXPECT_EQ(SparseLayout::Parse(layout.Header()).has_value(), c.accepted) << c.name;
  }
  auto header = SparseLayout{100, 128, kSparseVersion, 0}.Header();
  for (size_t i = 0; i < 8; ++i) {
    auto foreign = header;
    foreign[i] ^= 0x20;
    EXPECT_FALSE(SparseLayout::Parse(foreign)) << "magic byte " << i;
  }
}

TEST(PathLocks, AreMadeOnceForEachPath) {
  cCriticalSection* one = FindPathLock(u"one");
  EXPECT_TRUE(one);
  EXPECT_EQ(FindPathLock(u"one"), one);
  EXPECT_NE(FindPathLock(u"two"), one);
  EXPECT_EQ(FindPathLock(u""), FindPathLock(u""));
}

// Writes an image with records for `blocks`, each sector of which is a pattern and present.
std::vector<u8> Written(u64 sectors, const std::vector<u64>& blocks) {
  const fakes::TempFolder folder;
  const std::u16string path = folder.File(u"new.kvrsp");
  const auto layout = SparseLayout::ForNew(sectors, 7);
  const platform::OwnedFile file(platform::CreateEmptyFile(path.c_str()));
  SparseWriter writer(file.Handle(), *layout);
  for (const u64 block : blocks) {
    u8* record = writer.AddRecord(block);
    std::memset(record, 0, kSectorBytes);
    std::memset(record, kPresent, layout->SectorsInBlock(block));
    fakes::FillPattern(block * layout->blockSize, record + kSectorBytes, layout->blockSize);
  }
  EXPECT_TRUE(writer.Finish());
  return fakes::ReadWholeFile(path);
}

TEST(SparseWriter, MakesTheImageThatWritingSectorsMakes) {
  // The last block is short; the index of the large ones has several parts.
  const struct {
    u64 sectors;
    std::vector<u64> blocks;
  } cases[] = {
      {1000, {}},
      {1000, {0, 1, 2, 3, 4, 5, 6, 7}},
      {1000, {3, 7}},
      {u64{128} * 200000, {0, 65535, 65536, 199999}},
      {u64{128} * 200000, {140000}},
  };
  for (const auto& c : cases) {
    const std::vector<u8> bytes = Written(c.sectors, c.blocks);
    const auto store = fakes::MakeStore();
    const auto image = fakes::CreateImage(store, c.sectors);
    for (const u64 block : c.blocks) {
      const u32 count = image->Layout().SectorsInBlock(block);
      fakes::WritePattern(image.get(), block * 128, count);
    }
    ASSERT_EQ(bytes.size(), store->bytes.size());
    const auto opened = fakes::OpenImage(fakes::StoreOf(bytes), true);
    EXPECT_EQ(fakes::Extents(opened.get()), fakes::Extents(image.get()));
    // Alike but for the stamp, and for what lies past the end of the last block.
    const size_t header = kSparseHeaderBytes;
    const size_t index = (image->Layout().DataStart() << kSectorShift) - header;
    EXPECT_EQ(std::memcmp(bytes.data() + header, store->bytes.data() + header, index), 0);
    for (const u64 block : c.blocks) {
      std::vector<u8> sector(kSectorBytes);
      opened->SetPosition(block * 128 + 5);
      opened->Read(sector.data(), 1);
      EXPECT_TRUE(fakes::IsPattern(block * 128 + 5, sector.data())) << block;
    }
  }
}

TEST(SparseWriter, LeavesNoImageWhenItIsNotFinished) {
  const fakes::TempFolder folder;
  const std::u16string path = folder.File(u"new.kvrsp");
  const platform::OwnedFile file(platform::CreateEmptyFile(path.c_str()));
  SparseWriter writer(file.Handle(), *SparseLayout::ForNew(100000, 7));
  for (u64 block = 0; block < 40; ++block) std::memset(writer.AddRecord(block), 1, 129 * 512);
  const std::vector<u8> bytes = fakes::ReadWholeFile(path);
  ASSERT_GT(bytes.size(), kSparseHeaderBytes);
  EXPECT_TRUE(fakes::IsZero(bytes.data(), kSparseHeaderBytes));
}

}  // namespace
}  // namespace larkspur
