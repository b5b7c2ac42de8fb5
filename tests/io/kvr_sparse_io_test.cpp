// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/kvr_sparse_io.h"

#include <algorithm>
#include <map>

#include <gtest/gtest.h>

#include "base/endian.h"
#include "fakes/disk_builder.h"
#include "fakes/images.h"
#include "fakes/recording_source.h"
#include "io/bit_map.h"

namespace larkspur {
namespace {

using fakes::CreateImage;
using fakes::MakeStore;
using fakes::OpenImage;
using fakes::Pattern;

// A file with its header and an index without entries, made with that stamp.
fakes::DiskBuilder FileOf(u64 sectors, u64 fileSectors, u64 indexSectors, u32 stamp) {
  fakes::DiskBuilder file(fileSectors);
  const auto header = SparseLayout{sectors, 128, 0x00020000, stamp}.Header();
  std::copy(header.begin(), header.end(), file.At(0, 0, header.size()));
  std::fill_n(file.At(1, 0, indexSectors * kSectorBytes), indexSectors * kSectorBytes, u8{0xFF});
  return file;
}

u32 StampIn(const fakes::MemoryStore& store) {
  return LoadLe32(&store.bytes[24]);
}

TEST(SparseImage, AFreshFileIsHeaderAndIndex) {
  const struct {
    u64 sectors;
    u64 fileSectors;
  } cases[] = {{1, 2},     {128, 2},       {129, 2},           {1000, 2},     {16384, 2},
               {16385, 3}, {128 * 256, 3}, {128 * 256 + 1, 4}, {1 << 20, 65}, {(1 << 20) + 1, 66}};
  for (const auto& c : cases) {
    const auto store = MakeStore(700);  // created again: what was there is gone
    const auto image = CreateImage(store, c.sectors);
    ASSERT_TRUE(image);
    const auto file = FileOf(c.sectors, c.fileSectors, c.fileSectors - 1, StampIn(*store));
    EXPECT_EQ(store->bytes, file.Bytes()) << c.sectors;
    EXPECT_EQ(image->GetByteSize(), c.sectors * kSectorBytes);
  }
}

TEST(SparseImage, WritesGiveBlocksTheirRecords) {
  const auto store = MakeStore();
  const auto image = CreateImage(store, 1000);
  EXPECT_EQ(fakes::WritePattern(image.get(), 300, 1), 1u);   // block 2, record 0
  EXPECT_EQ(fakes::WritePattern(image.get(), 127, 2), 2u);   // blocks 0 and 1, records 1 and 2
  EXPECT_EQ(fakes::WritePattern(image.get(), 998, 10), 2u);  // block 7, record 3, cut at the end
  EXPECT_TRUE(image->MarkSectorBad(1));                      // block 0 again
  EXPECT_TRUE(image->MarkSectorBad(513));                    // block 4, record 4
  const std::map<u64, u32> recordOf = {{2, 0}, {0, 1}, {1, 2}, {7, 3}, {4, 4}};
  fakes::DiskBuilder file = FileOf(1000, 2 + 5 * 129, 1, StampIn(*store));
  for (const auto& [block, record] : recordOf) file.Le(1, block * 4, 4, record);
  for (const u64 sector : {1u, 127u, 128u, 300u, 513u, 998u, 999u}) {
    const bool isBad = sector == 1 || sector == 513;
    const u64 map = 2 + recordOf.at(sector / 128) * 129, place = sector % 128;
    file.Le(map, place, 1, isBad ? 2 : 1);
    if (!isBad) fakes::FillPattern(sector, file.At(map + 1 + place, 0, kSectorBytes));
  }
  EXPECT_EQ(store->bytes, file.Bytes());
  EXPECT_EQ(fakes::Extents(image.get()),
            "0+1 missing, 1+1 unreadable, 2+125 missing, 127+2 present, 129+171 missing, "
            "300+1 present, 301+212 missing, 513+1 unreadable, 514+484 missing, 998+2 present");
}

TEST(SparseImage, AnswersItsSlots) {
  const auto store = MakeStore();
  const auto image = CreateImage(store, 1000);
  EXPECT_EQ(image->GetTypeId(), 15u);
  EXPECT_EQ(image->GetResourceKind(), 4u);
  EXPECT_TRUE(image->IsSparse());
  EXPECT_FALSE(image->QueryCapability());
  EXPECT_FALSE(image->SetSectorCount(5));
  EXPECT_EQ(image->SetPosition(2000), 1000u);
  EXPECT_EQ(image->Read(nullptr, 1), 0u) << "at the end";
  EXPECT_FALSE(image->MarkSectorBad(1024)) << "past the last block";
  u32 geometry[3];
  EXPECT_TRUE(image->GetGeometry(geometry));
  EXPECT_EQ(geometry[0], 512u);
  EXPECT_EQ(geometry[1], 1u);
  EXPECT_EQ(geometry[2], 1u);
  EXPECT_EQ(std::u16string(image->GetName()), u"memory disk");
  char16_t text[20];
  EXPECT_TRUE(image->GetDescription(text, 20));
  EXPECT_EQ(std::u16string(text), u"memory:disk");
}

TEST(SparseImage, IsSameAsComparesStampsAndParents) {
  const auto storeA = fakes::StoreWithImage(300, 128, 1),
             storeB = fakes::StoreWithImage(900, 77, 1),
             storeC = fakes::StoreWithImage(300, 128, 2);
  const auto a = OpenImage(storeA), b = OpenImage(storeB), c = OpenImage(storeC);
  EXPECT_TRUE(a->IsSameAs(b.get())) << "stamps alone count";
  EXPECT_FALSE(a->IsSameAs(c.get()));
  EXPECT_FALSE(a->IsSameAs(nullptr));
  const auto disk = fakes::DiskOn(MakeStore(300)), other = fakes::DiskOn(MakeStore(300));
  EXPECT_FALSE(a->IsSameAs(disk.get()));
  ASSERT_TRUE(a->AttachParent(disk.get(), true));
  EXPECT_FALSE(a->IsSameAs(b.get()));
  EXPECT_FALSE(b->IsSameAs(a.get()));
  ASSERT_TRUE(b->AttachParent(other.get(), true));
  EXPECT_FALSE(a->IsSameAs(b.get()));
  ASSERT_TRUE(b->AttachParent(disk.get(), true));
  EXPECT_TRUE(a->IsSameAs(b.get()));
  b->Close();
  EXPECT_FALSE(a->IsSameAs(b.get())) << "closed";
}

TEST(SparseImage, ReadsThroughToItsParent) {
  auto script = std::make_shared<fakes::SourceScript>(1000);
  const auto store = MakeStore();
  const auto image = CreateImage(store, 1000);
  ASSERT_TRUE(image->AttachParent(fakes::SourceOn(script).release(), false));
  const std::vector<u8> zeros(kSectorBytes);
  ASSERT_EQ(image->Write(200, zeros.data(), 1), 1u);  // block 1 has a record now
  const Owned<cKVRSparseIO> clone(static_cast<cKVRSparseIO*>(image->Clone()));
  for (cKVRSparseIO* io : {image.get(), clone.get()}) {
    std::vector<u8> buffer(400 * kSectorBytes, 0xEE);
    io->SetPosition(100);
    EXPECT_EQ(io->Read(buffer.data(), 400), 400u);
    for (u64 i = 0; i < 400; ++i) {
      const bool inRecord = i + 100 >= 128 && i + 100 < 256;
      const u8* sector = &buffer[i * kSectorBytes];
      EXPECT_TRUE(inRecord ? fakes::IsZero(sector, 512) : fakes::IsPattern(i + 100, sector)) << i;
    }
  }
  EXPECT_EQ(script->askedTogether[128] + script->askedTogether[255], 0u);
  EXPECT_TRUE(image->AttachParent(nullptr, true));
  std::vector<u8> sector(kSectorBytes, 0xEE);
  image->SetPosition(0);
  EXPECT_EQ(image->Read(sector.data(), 1), 1u);
  EXPECT_TRUE(fakes::IsZero(sector.data(), kSectorBytes)) << "the parent is gone";
}

TEST(SparseImage, PresenceComesFromTheParentWhereItAnswers) {
  const auto parentStore = MakeStore(), store = MakeStore();
  const auto parent = CreateImage(parentStore, 1000), image = CreateImage(store, 1000);
  ASSERT_EQ(fakes::WritePattern(parent.get(), 10, 2), 2u);
  ASSERT_EQ(fakes::WritePattern(parent.get(), 400, 2), 2u);
  ASSERT_EQ(fakes::WritePattern(image.get(), 130, 1), 1u);
  ASSERT_TRUE(image->AttachParent(parent.get(), true));
  EXPECT_EQ(fakes::Presence(image.get(), 9, 5), "01100");
  EXPECT_EQ(fakes::Presence(image.get(), 128, 4), "0010");
  EXPECT_EQ(fakes::Presence(image.get(), 398, 5), "00110");
}

TEST(SparseImage, AShortParentEndsTheRead) {
  auto script = std::make_shared<fakes::SourceScript>(1000);
  script->failing = {300};
  const auto store = MakeStore();
  const auto image = CreateImage(store, 1000);
  ASSERT_TRUE(image->AttachParent(fakes::SourceOn(script).get(), true));
  std::vector<u8> buffer(1000 * kSectorBytes);
  EXPECT_EQ(image->Read(buffer.data(), 1000), 300u);
  EXPECT_EQ(image->Read(buffer.data(), 1000), 0u) << "the position stands at the failing sector";
}

TEST(SparseImage, OpensOnlyWhatItCanUse) {
  cKVRSparseIO image;
  const cNestedIOResource empty;
  const auto blank = fakes::ResourceOn(MakeStore(10)), tiny = fakes::ResourceOn(MakeStore(0));
  const auto good = fakes::ResourceOn(fakes::StoreWithImage(300, 128));
  const auto locked = fakes::ResourceOn(fakes::StoreWithImage(300, 128), true);
  const cNamedFileResource path(u"disk");
  const struct {
    const char* name;
    const cBaseIoResource* resource;
    bool readOnly, answer;
  } cases[] = {
      {"nothing", nullptr, true, false},         {"a path", &path, true, false},
      {"an empty nest", &empty, true, false},    {"blank bytes", &blank, true, false},
      {"no bytes", &tiny, true, false},          {"an image", &good, true, true},
      {"to write to", &good, false, true},       {"a read-only disk", &locked, true, true},
      {"to write to it", &locked, false, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(image.Open(c.resource, c.readOnly), c.answer) << c.name;
    EXPECT_EQ(image.GetSectorCount(), c.answer ? 300u : 0u) << c.name;
    u8 sector[kSectorBytes];
    EXPECT_EQ(image.Read(sector, 1), c.answer ? 1u : 0u) << c.name;
  }
  EXPECT_EQ(image.Write(0, "", 1), 0u) << "closed by the last refusal";
  EXPECT_FALSE(image.MarkSectorBad(0));
  EXPECT_FALSE(Owned<cBaseIO>(image.Clone()));
}

TEST(SparseImage, CreateRefusesWhatCannotBe) {
  cKVRSparseIO image;
  const auto resource = fakes::ResourceOn(MakeStore());
  const cNestedIOResource empty;
  EXPECT_EQ(image.Create(nullptr, 5, true), 0u);
  EXPECT_EQ(image.Create(&empty, 5, true), 0u);
  EXPECT_EQ(image.Create(&resource, 0, true), 0u);
  EXPECT_EQ(image.Create(&resource, u64{1} << 41, true), 0u);
  const auto small = MakeStore(2);
  small->limitBytes = 0;
  const auto fixed = fakes::ResourceOn(small);
  EXPECT_EQ(image.Create(&fixed, 128 * 256, true), 0u) << "index larger than the disk";
  EXPECT_EQ(image.Create(&fixed, 1000, false), 1000u) << "it need not grow";
  EXPECT_EQ(image.GetSectorCount(), 0u) << "left closed";
  EXPECT_TRUE(OpenImage(small));
}

TEST(SparseImage, SetReadOnlyAsksItsDisk) {
  const auto store = fakes::StoreWithImage(300, 128);
  const auto image = OpenImage(store, true);
  EXPECT_EQ(fakes::WritePattern(image.get(), 0, 1), 0u);
  EXPECT_TRUE(image->SetReadOnly(true));
  EXPECT_TRUE(image->SetReadOnly(false));
  EXPECT_EQ(fakes::WritePattern(image.get(), 0, 1), 1u);
  image->Close();
  EXPECT_FALSE(image->SetReadOnly(true)) << "closed";
}

}  // namespace
}  // namespace larkspur
