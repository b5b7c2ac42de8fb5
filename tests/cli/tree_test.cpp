// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <gtest/gtest.h>

#include "base/path_text.h"
#include "base/printable.h"
#include "cli/commands.h"
#include "cli/tree_text.h"
#include "fakes/disk_builder.h"
#include "fakes/temp_folder.h"
#include "imaging/asked_source_test.h"
#include "partitions/detection.h"
#include "partitions/part_records.h"
#include "partitions/type_names.h"

namespace larkspur::cli {
namespace {

using fakes::DiskBuilder;

cSoftRAIDMember* Member(u32 columns, u32 layout, std::u16string_view level,
                        std::u16string_view name, u32 blockBytes) {
  auto* member = new cSoftRAIDMember;
  member->m_columns = columns;
  member->m_index = columns - 1;
  member->m_layout = layout;
  member->m_level.Assign(level);
  member->m_name.Assign(name);
  member->m_blockBytes = blockBytes;
  const u8 set[] = {0x01, 0xAB};
  if (blockBytes > kSectorBytes) member->SetIdentifier(set);
  return member;
}

// A member of a set whose identifier has that many bytes.
cSoftRAIDMember* MemberOf(size_t bytes) {
  auto* member = Member(1, kLayoutMirror, u"", u"", 512);
  member->SetIdentifier(std::vector<u8>(bytes, 0xCD));
  return member;
}

cLUKSPartInfo* Luks() {
  auto* luks = new cLUKSPartInfo;
  luks->m_version = 2;
  luks->m_cipherName.Assign(u"aes");
  luks->m_cipherMode.Assign(u"xts");
  luks->m_uuid.Assign(u"1234");
  return luks;
}

cNWPartData* Segment() {
  auto* data = new cNWPartData;
  data->m_segmentCount = 2;
  return data;
}

cPartNameData* Name() {
  auto* name = new cPartNameData;
  name->m_name.Assign(u"home");
  return name;
}

TEST(TreeTable, TellsOfEveryRecord) {
  const struct {
    cPartExtension* record;
    std::string words;
  } kCases[] = {
      {Member(2, kLayoutMirror, u"raid1", u"data", 65536),
       "; piece 1 of 2 of raid1 \"data\", blocks of 64.0 KiB, set 01ab"},
      {Member(3, kLayoutNone, u"raid6", u"", 512), "; piece 2 of 3 of raid6"},
      {Member(3, kLayoutRaid5, u"", u"", 512), "; piece 2 of 3 of a RAID 5"},
      {Member(2, kLayoutStripe, u"", u"", 512), "; piece 1 of 2 of a stripe"},
      {Member(2, kLayoutNone, u"", u"x", 512), "; piece 1 of 2 of a set \"x\""},
      {Member(1, kLayoutSimple, u"linear", u"root", 512), "; linear \"root\""},
      {Member(1, kLayoutSimple, u"", std::u16string(600, u'n'), 512),
       "; a linear set \"" + std::string(512, 'n') + "\""},
      {MemberOf(64), "; a mirror, set " + HexText(std::vector<u8>(64, 0xCD))},
      {MemberOf(65), "; a mirror"},
      {Luks(), "; version 2, aes-xts, 1234"},
      {Segment(), "; segment 1 of 2"},
      {Name(), "; \"home\""},
      {new cSBRLegacyOffset(63), ""},
  };
  for (const auto& test : kCases) {
    PartitionTree tree;
    auto* const node = new cPartTreeItem;
    SetNode(*node, nullptr, 8, 16, kTypeLinuxRaid);
    AppendToTree(tree.Head(), node);
    AddExtension(*node, test.record);
    EXPECT_EQ(TreeTable(*node),
              "       start      sectors       size  what\n"
              "           8           16    8.0 KiB  Linux RAID (253)" +
                  test.words + "\n");
  }
}

TEST(TreeTable, TellsOfEveryNodeAndWhatIsNotedOfIt) {
  DiskBuilder disk(8192);
  disk.MbrEntry(0, 0, 0x82, 100, 2000)
      .MbrEntry(0, 1, 0x05, 3000, 5000)
      .MbrEntry(3000, 0, 0x83, 10, 500);
  disk.MbrEntry(3000, 1, 0x05, 1000, 600).MbrEntry(4000, 0, 0x83, 10, 400);
  disk.Le(3012, 56, 2, 0xEF53).Le(3012, 32, 4, 8);
  PartitionTree tree;
  TreeNotes notes;
  BuildPartitionTree(tree.Head(), disk.Disk().get(), {.notes = &notes});
  EXPECT_EQ(TreeTable(*tree.Root(), notes),
            R"(       start      sectors       size  what
           0         8192    4.0 MiB  whole storage: MBR partition table
         100         2000 1000.0 KiB    1  Linux swap (130)
                                        - doubtful: its type says swap, but none was found there
        3000         5000    2.4 MiB    2  Extended (5)
        3010          500  250.0 KiB      2.1  Linux native (unclassified) (131)
                                          - ext2 0.0
        4010          400  200.0 KiB      2.2  Linux native (unclassified) (131)
)");
}

using TreeCommand = AskedSourceTest;

// Whether the system gives the drive no size, or a wrong one.
TEST_F(TreeCommand, SectorsOfOddSizesAreReadThroughACacheOnly) {
  for (const u64 told : {u64{0}, u64{4000} * 520}) {
    const fakes::TempFolder folder;
    fakes::SimulatedDrive* drive = MakeScsiDrive(520);
    drive->lengthBytes = told;
    drive->geometrySectorBytes = 512;
    TreeOptions options;
    options.source = Utf8FromWide(drive->path);
    testing::internal::CaptureStderr();
    EXPECT_EQ(RunTree(options), kExitFailed);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "larkspur: " + options.source +
                  ": sectors of 520 bytes are only read into a cache; name one with --cache\n");
    options.cache = Utf8FromWide(folder.File(u"cache"));
    testing::internal::CaptureStdout();
    EXPECT_EQ(RunTree(options), kExitDone);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("4000"), std::string::npos);
  }
}

}  // namespace
}  // namespace larkspur::cli
