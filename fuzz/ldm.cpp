// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Dynamic disks. The input is a private header, a table of contents and a database, each where it
// belongs on a small disk, which is then read as a disk and as a partition known by its type.

#include <algorithm>
#include <memory>

#include "fakes/ldm_disk.h"
#include "fakes/tree_text.h"
#include "fuzz/targets.h"
#include "partitions/detection.h"
#include "partitions/ldm_database.h"
#include "partitions/type_names.h"

namespace larkspur::fuzz {
namespace {

// The first `count` bytes of the input, and zeros where it has less, at a sector.
void Put(std::span<const u8>* input, size_t count, u64 sector, fakes::MemoryStore* store) {
  u8* to = &store->bytes[sector * kSectorBytes];
  std::fill_n(to, count, u8{0});
  const auto part = input->first(std::min(count, input->size()));
  std::copy(part.begin(), part.end(), to);
  *input = input->subspan(part.size());
}

}  // namespace

std::string RunLdm(std::span<const u8> input) {
  constexpr size_t kMaxDatabase = size_t{16} << 10;
  const u64 config = fakes::LdmDisk().ConfigStart();
  static const auto store = fakes::MakeStore(fakes::LdmDisk::kSectors);  // zeroed once
  Put(&input, kSectorBytes, 6, store.get());
  Put(&input, kSectorBytes, config + 2, store.get());
  Put(&input, kMaxDatabase, config + 17, store.get());

  const auto disk = fakes::DiskOn(store);
  PartitionTree tree;
  BuildPartitionTree(tree.Head(), disk.get());
  PartitionTree byType;
  auto* node = new cPartTreeItem;
  AppendToTree(byType.Head(), node);
  SetNode(*node, disk.get(), 0, 1, kTypeLdmLink);
  DetectPartitionContents(node, false);
  return fakes::TreeText(tree.Root()) + fakes::TreeText(byType.Root());
}

}  // namespace larkspur::fuzz
