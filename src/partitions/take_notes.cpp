// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/take_notes.h"

#include <algorithm>

#include "base/endian.h"
#include "partitions/content.h"
#include "partitions/field_text.h"
#include "partitions/gpt_table.h"
#include "partitions/gpt_types.h"
#include "partitions/part_parser.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr size_t kDiskGuid = 56;
constexpr size_t kPartitionGuid = 16;
constexpr size_t kLastLba = 40;
constexpr size_t kAttributes = 48;
constexpr size_t kName = 56;
constexpr size_t kNameBytes = 72;
constexpr size_t kGuidBytes = 16;

u32 ParserIdOf(const cPartTreeItem& node) {
  auto* parser = static_cast<cPartParser*>(FindExtension(node, kKindParser));
  return parser ? parser->GetParserId() : 0;
}

// The node after `node` in the order of the tree; null past the last.
const cPartTreeItem* NextInOrder(const cPartTreeItem* node) {
  if (node->FirstChild()) return node->FirstChild();
  while (node && !node->m_next) node = node->Parent();
  return node ? node->Next() : nullptr;
}

// Whether its data lie in an area of its own, or in those of a set.
bool IsMember(const cPartTreeItem& node) {
  const u32 parser = ParserIdOf(node);
  return parser == kParserMDADM || parser == kParserLVM || parser == kParserLUKS;
}

class NoteTaker {
 public:
  NoteTaker(Scan& scan, const cPartTreeItem& root, TreeNotes& notes)
      : m_scan(scan), m_root(root), m_notes(notes) {}

  void TakeAll() {
    for (const cPartTreeItem* node = &m_root; node; node = NextInOrder(node)) {
      if (ParserIdOf(*node) == kParserGPT) TellTable(*node);
    }
    if (!m_foundTable) LookForLostTable();
    for (const cPartTreeItem* node = &m_root; node; node = NextInOrder(node)) TellContent(*node);
    TellUnread();
    TellLimits();
  }

 private:
  void TellTable(const cPartTreeItem& node);
  void TellPartitions(const cPartTreeItem& node, const GptTable& table);
  void LookForLostTable();
  void TellContent(const cPartTreeItem& node);
  void TellType(const cPartTreeItem& node, std::string_view found);
  std::string TypeGuidOf(const cPartTreeItem& node) const;
  void TellUnread();
  void TellLimits();

  Scan& m_scan;
  const cPartTreeItem& m_root;
  TreeNotes& m_notes;
  bool m_foundTable = false;
};

void NoteTaker::TellPartitions(const cPartTreeItem& node, const GptTable& table) {
  const cPartTreeItem* child = node.FirstChild();
  for (u32 i = 0; i < table.EntryCount() && child; ++i) {
    const auto entry = table.Entry(i);
    if (!IsUsedGptEntry(entry)) continue;
    GptNote note;
    note.name = FieldUtf16(entry.subspan(kName, kNameBytes), false);
    note.typeGuid = FieldGuid(entry.first(kGuidBytes));
    note.type = GptTypeWords(note.typeGuid);
    note.guid = FieldGuid(entry.subspan(kPartitionGuid, kGuidBytes));
    note.attributes = LoadLe64(&entry[kAttributes]);
    note.lastSector = table.SectorOf(LoadLe64(&entry[kLastLba])) + table.factor - 1;
    m_notes.Add(*child, std::move(note));
    child = child->Next();
  }
}

// The table that the node was made from, and its other copy.
void NoteTaker::TellTable(const cPartTreeItem& node) {
  ScanAsker asker(m_scan, "notes");
  m_foundTable = true;
  const bool isFromBackup = m_scan.Options().fromBackupGpt && &node == &m_root;
  std::optional<GptTable> table;
  if (isFromBackup) {
    table = FindBackupGpt(m_scan);
  } else {
    u8 front[kGptFrontSectors * kSectorBytes] = {};
    m_scan.Read(node.m_start, kGptFrontSectors, front);
    const auto place = FindGptHeader(front);
    if (place) table = ReadGptTable(m_scan, node.m_start + place->sector, place->factor);
  }
  if (!table) return;
  TellPartitions(node, *table);
  const u64 other = table->SectorOf(table->otherLba);
  const u32 arraySectors = static_cast<u32>(table->array.size() / kSectorBytes);
  if (!isFromBackup && other > arraySectors) {
    m_scan.ReadAhead(other - arraySectors, arraySectors + 1);
  }
  const GptState own = table->isIntact ? GptState::kIntact : GptState::kDamaged;
  const GptState others = JudgeGpt(m_scan, other, table->factor);
  m_notes.Add(node,
              GptTableNote{isFromBackup ? others : own, isFromBackup ? own : others, isFromBackup,
                           FieldGuid(std::span(table->header).subspan(kDiskGuid, kGuidBytes))});
}

// A table whose front is gone may be whole at the end.
void NoteTaker::LookForLostTable() {
  ScanAsker asker(m_scan, "notes");
  const auto backup = FindBackupGpt(m_scan);
  if (!backup) return;
  const GptState primary = JudgeGpt(m_scan, backup->SectorOf(backup->otherLba), backup->factor);
  m_notes.Add(m_root,
              GptTableNote{primary, GptState::kIntact, false,
                           FieldGuid(std::span(backup->header).subspan(kDiskGuid, kGuidBytes))});
}

std::string NoteTaker::TypeGuidOf(const cPartTreeItem& node) const {
  for (const Note& note : m_notes.Of(node)) {
    if (const auto* gpt = std::get_if<GptNote>(&note)) return gpt->typeGuid;
  }
  return {};
}

// Of a table that only gives room to others there is none.
bool IsRoomOnly(const cPartTreeItem& node) {
  return IsContainerType(node.m_type) || node.m_type == kTypeGptProtective;
}

// What begins where the node begins is told at its first child.
bool IsToldBelow(const cPartTreeItem& node) {
  const cPartTreeItem* first = node.FirstChild();
  return first && first->m_start == node.m_start && !IsMember(node);
}

// A file system may have a table in its first sector, an older one or of a bootable CD.
void NoteTaker::TellContent(const cPartTreeItem& node) {
  if (node.Parent() && (IsRoomOnly(node) || IsToldBelow(node))) return;
  if (m_scan.TableLength(node) == 0) return;
  ScanAsker asker(m_scan, "notes");
  const bool mayHoldVmfs =
      node.m_type == kTypeVmfs || GptTypeWords(TypeGuidOf(node)) == "VMware VMFS";
  const size_t unread = m_scan.Unread().size();
  const auto content =
      FindContent(m_scan, node, mayHoldVmfs ? ContentReach::kFar : ContentReach::kUsual);
  if (content) m_notes.Add(node, *content);
  const bool isKnown = content || m_scan.Unread().size() == unread;
  const bool reachesPastEnd = node.m_start >= m_scan.SectorCount();
  if (isKnown && !reachesPastEnd && !m_scan.IsReached(Budget::kSectors)) {
    TellType(node, content ? content->name : std::string_view());
  }
}

void NoteTaker::TellType(const cPartTreeItem& node, std::string_view found) {
  if (node.Parent() && IsMember(*node.Parent())) return;  // no table gave the type
  const std::string guid = TypeGuidOf(node);
  if (!guid.empty()) {
    const GptPromise promise = PromiseOfGptType(guid);
    if (promise.first.empty()) return;
    const bool isKept = !found.empty() && (found == promise.first || found == promise.second);
    m_notes.Add(node, TypeNote{isKept, promise.first});
    return;
  }
  const u16 type = static_cast<const cScannedItem&>(node).m_tableType;
  if (const auto expected = ExpectedContent(type); !expected.empty()) {
    m_notes.Add(node, TypeNote{KeepsPromise(type, found), expected});
  }
}

// Each at the innermost node that has the sector, or all at the storage when they are very many.
void NoteTaker::TellUnread() {
  const auto nodeOf = [&](u64 sector) {
    const cPartTreeItem* node = &m_root;
    for (const cPartTreeItem* child = node->FirstChild(); child;) {
      const bool isInside =
          sector >= child->m_start && sector - child->m_start < m_scan.TableLength(*child);
      if (isInside) node = child;
      child = isInside ? child->FirstChild() : child->Next();
    }
    return node;
  };
  constexpr size_t kMostPlaced = 4096;
  const auto& unread = m_scan.Unread();
  const bool isPlaced = unread.size() <= kMostPlaced;
  for (auto at = unread.begin(); at != unread.end();) {
    const u64 start = *at;
    u64 sectors = 0;
    for (; at != unread.end() && *at == start + sectors; ++at) ++sectors;
    m_notes.Add(isPlaced ? *nodeOf(start) : m_root, UnreadNote{start, sectors});
  }
}

void NoteTaker::TellLimits() {
  for (size_t i = 0; i < kBudgets; ++i) {
    const auto budget = static_cast<Budget>(i);
    if (m_scan.IsReached(budget)) m_notes.Add(m_root, LimitNote{budget, Scan::LimitOf(budget)});
  }
}

}  // namespace

void TakeNotes(Scan& scan, const cPartTreeItem& root, TreeNotes& notes) {
  NoteTaker(scan, root, notes).TakeAll();
}

}  // namespace larkspur
