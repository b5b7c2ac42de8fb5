// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Notes: what a scan tells beside the tree to those who ask for it. They are kept apart from the
// nodes, so that the tree itself is the same with and without them. Text is UTF-8; words for people
// are made by the faces.

#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

#include "base/types.h"
#include "io/sparse_layout.h"

namespace larkspur {

class cPartTreeItem;
class cTreeItem;
class Scan;
enum class Budget : u8;

// A file system, volume or member that was found in a node. Empty fields are not known.
struct ContentNote {
  std::string_view name;  // blkid's word for it, where it has one
  std::string label;
  std::string uuid;
  std::string version;
};

// What a GUID table says of a partition.
struct GptNote {
  std::string name;
  std::string_view type;  // in words; empty for a type that is not known
  std::string typeGuid;
  std::string guid;
  u64 attributes;
  u64 lastSector;   // the last that belongs to it; the node ends before
  bool isReversed;  // the last lies before the first
};

// A GUID table and its copy at the other end of the disk.
enum class GptState : u8 { kIntact, kDamaged, kMissing, kUnreadable, kNotInCache };
struct GptTableNote {
  // What the tree has of it.
  enum class Shown : u8 { kPrimary, kBackup, kNothing };

  GptState primary;
  GptState backup;
  Shown shown;
  bool backupHelps;  // a tree from the backup would show what this one does not, or not for certain
  bool isCompleted;  // entries that did not come stand in the tree as the backup has them
  std::string diskGuid;
};

// A limit was reached: what lies past it was not looked at.
struct LimitNote {
  Budget budget;
  u64 limit;
};

// Sectors [start, start+sectors) were needed and did not come.
struct UnreadNote {
  u64 start;
  u64 sectors;
  // In the cache that the storage is read from, kPresent excluded; kUnreadable without one.
  SectorStatus status;
};

// Whether what the node's type promises was found in it.
struct TypeNote {
  bool isConfirmed;
  std::string_view expected;  // blkid's word
};

// The table counts in sectors of that many bytes, which are not 512 or not those of the storage.
struct SectorSizeNote {
  u32 bytes;
  bool isConfirmed;  // by what lies where the entries lead
};

using Note = std::variant<ContentNote, GptNote, GptTableNote, LimitNote, UnreadNote, TypeNote,
                          SectorSizeNote>;

// The notes of a tree, by node. They end before or with the tree.
class TreeNotes {
 public:
  void Add(const cTreeItem& node, Note note) { m_notes[&node].push_back(std::move(note)); }
  // In the order in which they were made.
  const std::vector<Note>& Of(const cTreeItem& node) const {
    static const std::vector<Note> kNone;
    const auto found = m_notes.find(&node);
    return found == m_notes.end() ? kNone : found->second;
  }
  void Clear() { m_notes.clear(); }

 private:
  std::unordered_map<const cTreeItem*, std::vector<Note>> m_notes;
};

// What a scan that built a tree can tell beside it, taken when the tree is complete.
void TakeNotes(Scan& scan, const cPartTreeItem& root, TreeNotes& notes);

}  // namespace larkspur
