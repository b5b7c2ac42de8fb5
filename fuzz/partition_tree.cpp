// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Builds the partition tree of a hostile disk (fakes/listed_sectors.h), as a host gets it and with
// notes for people.

#include <cstdlib>
#include <string>

#include "fakes/listed_sectors.h"
#include "fakes/tree_text.h"
#include "fuzz/targets.h"
#include "imaging/tree_words.h"
#include "partitions/detection.h"
#include "partitions/place.h"

namespace larkspur::fuzz {
namespace {

// What is noted of a node and all below it, in words; every place is found again.
void AppendNotes(const cPartTreeItem& root, const cPartTreeItem& node, const TreeNotes& notes,
                 const std::string& place, std::string* told) {
  if (FindNode(root, place) != &node) std::abort();
  for (const Note& note : notes.Of(node)) *told += place + ": " + NoteText(note) + "\n";
  size_t number = 0;
  for (const cPartTreeItem* child = node.FirstChild(); child; child = child->Next()) {
    AppendNotes(root, *child, notes, ChildPlace(place, ++number), told);
  }
}

std::string LookWithNotes(cBaseIO* disk, bool fromBackupGpt) {
  PartitionTree tree;
  TreeNotes notes;
  BuildPartitionTree(tree.Head(), disk, {.notes = &notes, .fromBackupGpt = fromBackupGpt});
  std::string told = fakes::TreeText(tree.Root());
  if (tree.Root()) AppendNotes(*tree.Root(), *tree.Root(), notes, "", &told);
  return told;
}

}  // namespace

std::string RunPartitionTree(std::span<const u8> input) {
  if (input.size() < fakes::cListedSectors::kHeaderBytes) return {};
  fakes::cListedSectors disk(input);
  return fakes::TreeText(&disk) + LookWithNotes(&disk, false) + LookWithNotes(&disk, true);
}

}  // namespace larkspur::fuzz
