// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Disks of every format, changed in every byte and cut at every sector: the fuzzer's seeds. Nothing
// may be read past the end, whatever is missing there, and the tree stays small.

#include <gtest/gtest.h>

#include "fakes/listed_sectors.h"
#include "fakes/temp_folder.h"
#include "fakes/tree_text.h"
#include "imaging/tree_words.h"
#include "partitions/detection.h"

namespace larkspur {
namespace {

// How long the disk's tree is as text, with the notes for people.
size_t LengthOfTree(const std::vector<u8>& bytes) {
  fakes::cListedSectors disk(bytes);
  PartitionTree tree;
  TreeNotes notes;
  BuildPartitionTree(tree.Head(), &disk, {.notes = &notes});
  size_t length = fakes::TreeText(tree.Root()).size();
  if (tree.Root()) {
    for (const Note& note : notes.Of(*tree.Root())) length += NoteText(note).size();
  }
  return length;
}

void SetSectorCount(std::vector<u8>* bytes, u64 count) {
  for (size_t i = 1; i < 4; ++i, count >>= 8) (*bytes)[i] = static_cast<u8>(count);
}

TEST(HostileDisks, MayBeWrongInEveryByteAndEndAnywhere) {
  constexpr size_t kItem = 2 + kSectorBytes, kHeader = fakes::cListedSectors::kHeaderBytes;
  constexpr size_t kUsual = 3000, kLargest = 100000;
  size_t disks = 0;
  for (const auto& seed : std::filesystem::directory_iterator(LARKSPUR_SEEDS "/partition_tree")) {
    const std::vector<u8> whole = fakes::ReadWholeFile(seed.path().u16string());
    ASSERT_GE(whole.size(), kHeader);
    if (LengthOfTree(whole) > kUsual) continue;
    SCOPED_TRACE(seed.path().filename().string());
    ++disks;
    std::vector<u8> bytes = whole;
    for (size_t at = kHeader; at < bytes.size(); ++at) {
      if (bytes[at] == 0 && at % 16 != 0) continue;
      for (const u8 mask : std::initializer_list<u8>{0x01, 0x80, 0xFF}) {
        bytes[at] = static_cast<u8>(bytes[at] ^ mask);
        EXPECT_LT(LengthOfTree(bytes), kLargest) << at;
        bytes[at] = whole[at];
      }
    }
    for (size_t at = kHeader; at + kItem <= bytes.size(); at += kItem) {
      for (const u64 more : {0u, 1u}) {
        SetSectorCount(&bytes, LoadLe16(&bytes[at]) + more);
        EXPECT_LT(LengthOfTree(bytes), kLargest) << at;
      }
    }
  }
  EXPECT_GT(disks, 50u);
}

}  // namespace
}  // namespace larkspur
