// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Builds the partition tree of a hostile disk (fakes/listed_sectors.h), as a host gets it and with
// notes for people.

#include <cstdlib>
#include <string>

#include "fakes/listed_sectors.h"
#include "fakes/tree_text.h"
#include "imaging/tree_words.h"
#include "partitions/detection.h"
#include "partitions/place.h"

namespace larkspur {
namespace {

// What is noted is put into words, and every place is found again.
void BuildWithNotes(cBaseIO* disk) {
  PartitionTree tree;
  TreeNotes notes;
  BuildPartitionTree(tree.Head(), disk, {.notes = &notes});
  std::string place;
  for (const cPartTreeItem* node = tree.Root(); node; node = node->FirstChild()) {
    for (const Note& note : notes.Of(*node)) NoteText(note);
    if (FindNode(*tree.Root(), place) != node) std::abort();
    place = ChildPlace(place, 1);
  }
  PartitionTree fromBackup;
  BuildPartitionTree(fromBackup.Head(), disk, {.notes = &notes, .fromBackupGpt = true});
}

}  // namespace
}  // namespace larkspur

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < larkspur::fakes::cListedSectors::kHeaderBytes) return 0;
  larkspur::fakes::cListedSectors disk({data, size});
  larkspur::fakes::TreeText(&disk);
  larkspur::BuildWithNotes(&disk);
  return 0;
}
