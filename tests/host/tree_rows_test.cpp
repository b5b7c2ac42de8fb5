// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/tree_rows.h"

#include <gtest/gtest.h>

#include "fakes/disk_builder.h"
#include "fakes/memory_disk.h"
#include "partitions/detection.h"
#include "partitions/part_records.h"
#include "partitions/type_names.h"

namespace larkspur::host {
namespace {

cPartTreeItem* Node(u64 start, u64 length, u16 type) {
  auto* node = new cPartTreeItem;
  SetNode(*node, nullptr, start, length, type);
  return node;
}

TEST(TreeRowsTest, NoTreeHasNoRows) {
  EXPECT_TRUE(TreeRows(nullptr).empty());
}

TEST(TreeRowsTest, ATreeIsReadFromTheTopDown) {
  auto store = fakes::MakeStore();
  store->bytes = fakes::DiskBuilder(64)
                     .Mbr(0)
                     .MbrEntry(0, 0, 0x0C, 8, 16)
                     .MbrEntry(0, 1, 0x83, 24, 32)
                     .Bytes();
  const auto disk = fakes::DiskOn(store);
  PartitionTree tree;
  ASSERT_TRUE(BuildPartitionTree(tree.Head(), disk.get()));
  EXPECT_EQ(TreeText(TreeRows(*tree.Head())),
            "       start      sectors       size   type  what\n"
            "           0           64   32.0 KiB  32764  whole storage\n"
            "           8           16    8.0 KiB     12    FAT32 LBA\n"
            "          24           32   16.0 KiB    131    Linux native (unclassified)\n");
}

TEST(TreeRowsTest, RecordsAreToldInWords) {
  PartitionTree tree;
  cPartTreeItem* const node = Node(8, 16, kTypeLinuxRaid);
  AppendToTree(tree.Head(), node);
  auto* const raid = new cPartSoftRAIDInfo;
  const u8 set[] = {0x01, 0xAB};
  raid->SetIdentifier(set);
  raid->m_name.Assign(u"data");
  raid->m_layout = kLayoutMirror;
  raid->m_blockBytes = 65536;
  raid->m_columns = 2;
  raid->m_index = 1;
  AddExtension(*node, raid);
  AddExtension(*node, new cSBRLegacyOffset(63));
  const auto rows = TreeRows(*tree.Head());
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].facts,
            u"piece 1 of 2 of a mirror \"data\", blocks of 64.0 KiB, set 01ab; offset 63");
}

TEST(TreeRowsTest, NotesAreToldInWords) {
  auto store = fakes::MakeStore();
  store->bytes = fakes::DiskBuilder(64).Text(0, 3, "-FVE-FS-").Bytes();
  const auto disk = fakes::DiskOn(store);
  PartitionTree tree;
  TreeNotes notes;
  ASSERT_TRUE(BuildPartitionTree(tree.Head(), disk.get(), {.notes = &notes}));
  EXPECT_EQ(TreeRows(*tree.Head(), notes)[0].facts, u"BitLocker");
}

// What a careless module may hand over.
TEST(TreeRowsTest, ATreeThatLeadsBackIntoItselfEnds) {
  PartitionTree tree;
  cPartTreeItem* const node = Node(0, 8, kTypeWholeDevice);
  AppendToTree(tree.Head(), node);
  node->m_next = node;
  EXPECT_LE(TreeRows(*tree.Head()).size(), 65536u);
  node->m_next = nullptr;
  node->m_firstChild = node;
  EXPECT_LE(TreeRows(*tree.Head()).size(), 128u);
  node->m_firstChild = nullptr;
}

}  // namespace
}  // namespace larkspur::host
