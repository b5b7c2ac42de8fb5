// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/sparse_writer.h"

#include <cstring>

#include <gtest/gtest.h>

#include "fakes/images.h"
#include "fakes/temp_folder.h"
#include "platform/owned_file.h"

namespace larkspur {
namespace {

using fakes::TempFolder;

// Writes an image with records for `blocks`, each sector of which is a pattern and present.
std::vector<u8> Written(u64 sectors, const std::vector<u64>& blocks) {
  const TempFolder folder;
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
  const TempFolder folder;
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
