// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/scan.h"

#include <algorithm>
#include <cstring>
#include <set>

#include <gtest/gtest.h>

#include "base/endian.h"
#include "base/owned.h"
#include "fakes/disk_builder.h"
#include "fakes/images.h"
#include "fakes/recording_source.h"
#include "fakes/tree_text.h"
#include "io/base_io.h"
#include "io/failing_io.h"
#include "partitions/detection.h"
#include "partitions/format.h"
#include "partitions/formats.h"
#include "partitions/part_parser.h"
#include "partitions/part_records.h"
#include "partitions/place.h"

namespace larkspur {
namespace {

using fakes::DiskBuilder;
using fakes::SourceScript;

constexpr char kBasic[] = "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7";

TEST(Scan, AsksForEverySectorOnce) {
  auto script = std::make_shared<SourceScript>(1000);
  const auto source = fakes::SourceOn(script);
  Scan scan(source.get());
  std::vector<u8> buffer(64 * kSectorBytes);
  EXPECT_EQ(scan.Read(100, 10, buffer.data()), 10u);
  EXPECT_EQ(scan.Read(95, 20, buffer.data()), 20u);
  EXPECT_EQ(scan.Read(90, 40, buffer.data()), 40u);
  for (u32 i = 0; i < 40; ++i) EXPECT_TRUE(fakes::IsPattern(90 + i, &buffer[i * kSectorBytes]));
  EXPECT_EQ(script->AskedMoreThan(1), "");
  EXPECT_EQ(script->AskedInAll(), 40u);
  EXPECT_EQ(scan.Read(990, 20, buffer.data()), 10u);
  EXPECT_EQ(scan.Read(1000, 1, buffer.data()), 0u);
  EXPECT_EQ(script->requestsPastEnd, 0u);
}

TEST(Scan, AFailedSectorIsNotAskedAgain) {
  auto script = std::make_shared<SourceScript>(1000);
  script->failing = {105, 110};
  const auto source = fakes::SourceOn(script);
  ScanTrace trace;
  Scan scan(source.get(), {.trace = &trace});
  std::vector<u8> buffer(20 * kSectorBytes, 0xEE);
  EXPECT_EQ(scan.Read(100, 10, buffer.data()), 5u);
  EXPECT_EQ(scan.Read(100, 10, buffer.data()), 5u);
  EXPECT_EQ(trace.size(), 1u);
  EXPECT_EQ(scan.ReadAround(100, 20, buffer.data()), 18u);
  EXPECT_TRUE(fakes::IsPattern(119, &buffer[19 * kSectorBytes]));
  EXPECT_TRUE(fakes::IsZero(&buffer[5 * kSectorBytes], kSectorBytes));
  EXPECT_LE(script->Asked(105), 1u);
}

// The read ends amid a hole: of what lies past it nothing is kept, and nothing came.
TEST(Scan, ACutCacheEndsWhereItDoes) {
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, 8192);
  fakes::WritePattern(image.get(), 0, 2);
  store->bytes.resize(4096);
  std::vector<u8> buffer(256 * kSectorBytes);
  for (const bool isClone : {false, true}) {
    const auto reader = fakes::OpenImage(store, true);
    Scan scan(isClone ? reader.get() : image.get(), {.forPeople = true, .cache = image.get()});
    EXPECT_EQ(scan.Read(0, 256, buffer.data()), 2u);
    EXPECT_EQ(scan.Read(0, 2, buffer.data()), 2u);
    EXPECT_EQ(scan.Read(2, 200, buffer.data()), 0u);
  }
}

// A map that cannot be read once, whichever: its sectors count as not having come, and why.
TEST(Scan, WhatCannotBeReadOfTheCacheIsNotZero) {
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, 1000);
  fakes::WritePattern(image.get(), 0, 200);
  std::vector<u8> buffer(200 * kSectorBytes);
  u64 reads = 0;
  for (u64 failing = 1; reads + 1 >= failing; ++failing) {
    reads = 0;
    store->refusesRead = [&](u64, u64) { return ++reads == failing; };
    const auto reader = fakes::OpenImage(store, true);
    if (!reader) continue;
    Scan scan(reader.get(), {.forPeople = true, .cache = reader.get()});
    const u32 came = scan.ReadAround(0, 200, buffer.data());
    const auto unread = scan.MetObstacles().unread;
    for (u64 s = 0; s < 200; ++s) {
      const bool isUnread = std::any_of(unread.begin(), unread.end(), [s](const UnreadNote& note) {
        return s >= note.start && s - note.start < note.sectors;
      });
      ASSERT_TRUE(isUnread || fakes::IsPattern(s, &buffer[s * kSectorBytes]))
          << failing << " " << s;
    }
    EXPECT_TRUE(came == 200 || (!unread.empty() && unread[0].status == kUnknown)) << failing;
  }
  EXPECT_GT(reads, 3u);
}

TEST(Scan, WhatTheCacheLacksDidNotCome) {
  const auto image = fakes::CreateImage(fakes::MakeStore(), 1000);
  for (u64 sector = 0; sector < 1000; sector += 2) fakes::WritePattern(image.get(), sector, 1);
  image->MarkSectorBad(3);
  std::vector<u8> buffer(100 * kSectorBytes);
  ScanTrace trace;
  Scan scan(image.get(), {.trace = &trace, .forPeople = true, .cache = image.get()});
  EXPECT_EQ(scan.Read(0, 10, buffer.data()), 1u);
  EXPECT_EQ(scan.ReadAround(0, 100, buffer.data()), 50u);  // what is known to fail costs nothing
  EXPECT_TRUE(fakes::IsPattern(98, &buffer[98 * kSectorBytes]));
  EXPECT_EQ(trace.size(), 2u);
  const auto unread = scan.MetObstacles().unread;
  ASSERT_EQ(unread.size(), 50u);
  EXPECT_EQ(unread[0].status, kMissing);
  EXPECT_EQ(unread[1].start, 3u);
  EXPECT_EQ(unread[1].status, kUnreadable);
  EXPECT_EQ(Scan(image.get()).Read(0, 10, buffer.data()), 10u);  // a host sees zeros
}

// What people wait for costs few requests, also where nothing lies and all has to be tried: each
// blank drive of a chain its record, its front, its end and where MD's old superblock would be.
TEST(Scan, LooksIntoAPartitionInFewRequests) {
  DiskBuilder four(1 << 16);
  for (size_t i = 0; i < 4; ++i) four.MbrEntry(0, i, 0x83, 2048 + i * 8192, 8192);
  DiskBuilder chain(1 << 16);
  chain.MbrEntry(0, 0, 0x05, 1000, 60000);
  for (u64 i = 0; i < 10; ++i) {
    chain.MbrEntry(1000 + i * 2048, 0, 0x83, 63, 1985);
    if (i < 9) chain.MbrEntry(1000 + i * 2048, 1, 0x05, (i + 1) * 2048, 2048);
  }
  DiskBuilder gpt(1 << 16);
  gpt.Gpt(1, 1, 128);
  for (u32 i = 0; i < 20; ++i) gpt.GptEntry(1, i, kBasic, 2048 + i * 1024, 3071 + i * 1024);
  const struct {
    const DiskBuilder& disk;
    size_t requests;
  } kCases[] = {{four, 3 + 4 * 7}, {chain, 5 + 10 * 4}, {gpt, 3 + 20 * 4}};
  for (const auto& test : kCases) {
    const auto io = test.disk.Disk();
    PartitionTree tree;
    ScanTrace trace;
    BuildPartitionTree(tree.Head(), io.get(), {.trace = &trace, .forPeople = true});
    EXPECT_LE(trace.size(), test.requests);
    std::set<u64> asked;
    for (const ScanRequest& request : trace) {
      for (u32 i = 0; i < request.count; ++i) EXPECT_TRUE(asked.insert(request.sector + i).second);
    }
  }
}

TEST(Scan, GivesUpOnATableFullOfHoles) {
  auto script = std::make_shared<SourceScript>(100000);
  for (u64 sector = 0; sector < 1000; sector += 2) script->failing.insert(sector);
  const auto source = fakes::SourceOn(script);
  Scan scan(source.get());
  std::vector<u8> buffer(1000 * kSectorBytes);
  EXPECT_EQ(scan.ReadAround(0, 1000, buffer.data()), 7u);
  EXPECT_EQ(scan.ReadAround(~u64{0}, 10, buffer.data()), 0u);
}

TEST(Scan, EndsAtItsLimits) {
  auto script = std::make_shared<SourceScript>(1000);
  const auto source = fakes::SourceOn(script);
  Scan scan(source.get());
  std::vector<u8> buffer(500 * kSectorBytes);
  u64 sectors = 0;
  while (scan.Read(0, 500, buffer.data()) == 500) sectors += 500;
  EXPECT_EQ(sectors, ScanLimits::kMaxSectorsRead / 500 * 500);

  PartitionTree tree;
  auto* root = new cPartTreeItem;
  AppendToTree(tree.Head(), root);
  u32 nodes = 0;
  while (scan.AddChild(*root, 1, 1, 0)) ++nodes;
  EXPECT_EQ(nodes, ScanLimits::kMaxNodes);
}

TEST(Detection, NeedsAStorageWithAFront) {
  PartitionTree tree;
  EXPECT_FALSE(BuildPartitionTree(tree.Head(), nullptr));
  EXPECT_EQ(fakes::TreeText(std::vector<u8>{}), "(false)\n");
  EXPECT_EQ(DiskBuilder(15).Tree(), "0+15 32764 \"[unknown]\"\n(false)\n");
  EXPECT_EQ(DiskBuilder(16).Tree(), "0+16 32764 \"[unknown]\"\n");
  EXPECT_FALSE(DetectPartitionContents(nullptr, true));
}

TEST(Detection, ReplacesTheTreeOfBefore) {
  DiskBuilder disk(4096);
  disk.MbrEntry(0, 0, 0x83, 100, 50);
  const auto io = disk.Disk();
  PartitionTree tree;
  EXPECT_TRUE(BuildPartitionTree(tree.Head(), io.get()));
  const std::string first = fakes::TreeText(tree.Root());
  EXPECT_TRUE(BuildPartitionTree(tree.Head(), io.get()));
  EXPECT_EQ(fakes::TreeText(tree.Root()), first);
  EXPECT_EQ(tree.Root()->m_next, nullptr);
}

TEST(Detection, WhatWasFoundBeforeAnUnreadableSectorStays) {
  DiskBuilder disk(4096);
  disk.Gpt(1, 1, 128);
  for (u32 i = 0; i < 8; ++i) disk.GptEntry(1, i, kBasic, 100 + i * 100, 150 + i * 100);
  const auto tree = [&](std::vector<SectorRange> readable) {
    cFailingIO io(disk.Disk(), std::make_shared<const std::vector<SectorRange>>(readable));
    return fakes::TreeText(&io);
  };
  const std::string all = tree({{0, 4096}});
  EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 9);
  const std::string entriesLost = tree({{0, 3}, {4, 4092}});  // 4 to 7
  EXPECT_EQ(std::count(entriesLost.begin(), entriesLost.end(), '\n'), 2) << entriesLost;
  EXPECT_EQ(tree({{0, 100}, {101, 249}, {351, 3649}, {4001, 95}}), all);
}

// Every child of a table that lists the whole disk and more begins the same table again.
TEST(Detection, ATableOfItselfStaysSmall) {
  DiskBuilder disk(65536);
  for (u64 sector = 0; sector < 65536; ++sector) {
    for (size_t i = 0; i < 4; ++i) disk.MbrEntry(sector, i, 0x83, 1 + i, 60000);
  }
  const auto io = disk.Disk();
  PartitionTree tree;
  EXPECT_TRUE(BuildPartitionTree(tree.Head(), io.get())) << "a limit is no failure";
  u32 nodes = 0;
  u32 deepest = 0;
  for (const cPartTreeItem* node = tree.Root(); node;) {
    ++nodes;
    u32 depth = 0;
    for (const cPartTreeItem* up = node->Parent(); up; up = up->Parent()) ++depth;
    deepest = std::max(deepest, depth);
    if (node->FirstChild()) {
      node = node->FirstChild();
      continue;
    }
    while (node && !node->m_next) node = node->Parent();
    if (node) node = node->Next();
  }
  EXPECT_LE(nodes, ScanLimits::kMaxNodes + 1);
  EXPECT_EQ(deepest, ScanLimits::kMaxDepth);
}

TEST(Place, NamesANodeAndWhatItsTableGivesIt) {
  DiskBuilder disk(8192);
  disk.MbrEntry(0, 0, 0xEE, 1, 4095).MbrEntry(0, 1, 0x05, 5000, 3000);
  disk.MbrEntry(5000, 0, 0x83, 63, 100).MbrEntry(5000, 1, 0x05, 500, 600);
  disk.MbrEntry(5500, 0, 0x83, 63, 200);
  disk.Gpt(1, 1, 128).GptEntry(1, 0, kBasic, 40, 139).GptEntry(1, 1, kBasic, 200, 200);
  disk.GptEntry(1, 2, kBasic, 300, 299).GptEntry(1, 3, kBasic, 300, 298);  // end before they start
  const auto io = disk.Disk();
  PartitionTree tree;
  BuildPartitionTree(tree.Head(), io.get());
  const struct {
    const char* place;
    const char* covers;
  } kCases[] = {
      {"", "0+8192"},       {"1", "1+4095"},    {"1.1", "40+100"},
      {"1.2", "200+1"},     {"2", "5000+3000"}, {"2.1", "5063+100"},
      {"2.2", "5563+200"},  {"1.3", "nothing"}, {"1.4", "nothing"},
      {"3", "nothing"},     {"0", "nothing"},   {"1.", "nothing"},
      {"1.1.1", "nothing"}, {".1", "nothing"},  {"01", "nothing"},
      {"1 ", "nothing"},    {"-1", "nothing"},  {"+1", "nothing"},
      {"1..1", "nothing"},  {"x", "nothing"},   {"99999999999999999999", "nothing"},
  };
  for (const auto& test : kCases) {
    const auto found = FindPlace(*tree.Root(), test.place);
    EXPECT_EQ(
        found ? std::to_string(found->start) + "+" + std::to_string(found->sectors) : "nothing",
        test.covers)
        << test.place;
  }
  EXPECT_EQ(ChildPlace("", 2), "2");
  EXPECT_EQ(ChildPlace("1.2", 10), "1.2.10");
}

TEST(Tree, ANodeKeepsOneRecordOfEachKind) {
  cPartTreeItem* node = new cPartTreeItem;
  EXPECT_TRUE(SetNode(*node, nullptr, 1, 2, 7));
  AddExtension(*node, nullptr);
  AddExtension(*node, kMbrFormat.makeParser());
  AddExtension(*node, new cSBRLegacyOffset(5));
  AddExtension(*node, kGptFormat.makeParser());
  EXPECT_EQ(fakes::TreeText(node), "1+2 7 \"NTFS\" {offset 5} gpt\n");
  EXPECT_EQ(FindExtension(*node, kKindLUKS), nullptr);
  EXPECT_FALSE(SetNode(*node, nullptr, 1, 0, 5));
  EXPECT_EQ(fakes::TreeText(node), "1+0 5 \"Extended\"\n");
  node->Destroy(kFreeMemory);
}

TEST(Tree, RecordsAreCopiedWhereTheyCanBe) {
  cSoftRAIDMember raid;
  raid.m_name.Assign(u"set");
  raid.m_level.Assign(u"raid5");
  const u8 id[] = {1, 2, 3};
  raid.SetIdentifier(id);
  raid.m_columns = 7;
  auto* copy = static_cast<cSoftRAIDMember*>(raid.Clone());
  EXPECT_EQ(copy->m_columns, 7u);
  EXPECT_EQ(copy->m_level.View(), u"raid5");
  EXPECT_NE(copy->m_set, raid.m_set);
  EXPECT_EQ(std::vector<u8>(copy->Identifier().begin(), copy->Identifier().end()),
            std::vector<u8>(id, id + 3));
  copy->Destroy(kFreeMemory);
  cPartNameData name;
  name.m_name.Assign(u"name");
  name.Reset();
  EXPECT_TRUE(name.m_name.IsEmpty());
  Owned<cPartParser> parser(kSolarisFormat.makeParser());
  EXPECT_EQ(parser->Clone(), nullptr);
  EXPECT_EQ(parser->GetParserId(), 10u);
}

// A storage that throws stands for a system without memory.
TEST(Tree, NothingIsThrownThroughWhatAHostCalls) {
  class cThrowing final : public cBaseIO {
   public:
    cBaseIO* Clone() override { return nullptr; }
    bool IsSameAs(cBaseIO* /*other*/) override { return false; }
    u64 SetPosition(u64 sector) override { return sector; }
    u32 Read(void* /*buffer*/, u32 /*count*/, cBitMap* /*presence*/) override {
      throw std::bad_alloc();
    }
    u64 GetSectorCount() override { return 4096; }
    void* Destroy(u32 flags) override { return DestroyAs(this, flags); }
  };
  cThrowing io;
  cPartTreeItem* node = new cPartTreeItem;
  SetNode(*node, &io, 0, 4096, 7);
  for (u32 id = kParserMbr; id <= kParserAIXLVM; ++id) {
    Owned<cPartParser> parser(FormatOf(id)->makeParser());
    EXPECT_FALSE(parser->Parse(*node)) << id;
  }
  node->Destroy(kFreeMemory);
  struct ThrowingRecord {
    ThrowingRecord() = default;
    ThrowingRecord(const ThrowingRecord&) { throw std::bad_alloc(); }
  };
  EXPECT_EQ(CopyOf(ThrowingRecord()), nullptr);
}

// What a host written in another language reads, beside what host/model/tree_rows.cpp asserts.
TEST(Tree, ARecordLiesInMemoryAsAHostReadsIt) {
  cSoftRAIDMember raid;
  raid.m_layout = 0x11;
  raid.m_columns = 0x22;
  raid.m_index = 0x33;
  const auto* fields = reinterpret_cast<const u8*>(&raid);
  EXPECT_EQ(fields[32], 0x11);
  EXPECT_EQ(LoadLe32(fields + 36), 512u);
  EXPECT_EQ(fields[40], 1);
  EXPECT_EQ(fields[44], 0x22);
  EXPECT_EQ(fields[48], 0x33);
  EXPECT_EQ(fields[52], 1);
  EXPECT_EQ(fields[56], 1);
  EXPECT_EQ(fields[60], 2);
}

}  // namespace
}  // namespace larkspur
