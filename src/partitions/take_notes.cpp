// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>

#include "base/endian.h"
#include "partitions/content.h"
#include "partitions/field_text.h"
#include "partitions/gpt_table.h"
#include "partitions/notes.h"
#include "partitions/part_parser.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr size_t kDiskGuid = 56;
constexpr size_t kPartitionGuid = 16;
constexpr size_t kFirstLba = 32;
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
  using Shown = GptTableNote::Shown;

 public:
  NoteTaker(Scan& scan, const cPartTreeItem& root, TreeNotes& notes)
      : m_scan(scan), m_root(root), m_notes(notes) {}

  void TakeAll() {
    for (const cPartTreeItem* node = &m_root; node; node = NextInOrder(node)) {
      if (ParserIdOf(*node) == kParserGPT) TellTable(*node);
    }
    if (!m_foundTable) LookForLostTable();
    for (const cPartTreeItem* node = &m_root; node; node = NextInOrder(node)) TellContent(*node);
    TellObstacles();
  }

 private:
  void TellTable(const cPartTreeItem& node);
  void TellPartitions(const cPartTreeItem& node, const GptTable& table);
  void LookForLostTable();
  void AddTableNote(const cPartTreeItem& node, const GptTable& table, GptTableNote note);
  void TellContent(const cPartTreeItem& node);
  void TellType(const cPartTreeItem& node, std::string_view found, bool isAllSeen);
  std::string TypeGuidOf(const cPartTreeItem& node) const;
  void TellObstacles();

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
    note.isReversed = LoadLe64(&entry[kLastLba]) < LoadLe64(&entry[kFirstLba]);
    m_notes.Add(*child, std::move(note));
    child = child->Next();
  }
}

// The table that the node was made from, and its other copy.
void NoteTaker::TellTable(const cPartTreeItem& node) {
  ScanAsker asker(m_scan, "notes");
  const bool isFromBackup = m_scan.Options().fromBackupGpt && &node == &m_root;
  std::optional<GptTable> table;
  if (isFromBackup) {
    table = FindBackupGpt(m_scan);
  } else {
    u8 front[kGptFrontSectors * kSectorBytes] = {};
    m_scan.ReadFront(node.m_start, kGptFrontSectors, front);
    const auto place = FindGptHeader(front);
    if (place) table = ReadGptTable(m_scan, node.m_start + place->sector, place->factor);
  }
  if (!table) return;
  if (isFromBackup || table->origin == table->factor) m_foundTable = true;
  TellPartitions(node, *table);
  const u64 other = table->SectorOf(table->otherLba);
  const u32 arraySectors = static_cast<u32>(table->array.size() / kSectorBytes);
  if (!isFromBackup && other > arraySectors) {
    m_scan.ReadAhead(other - arraySectors, arraySectors + 1);
  }
  const GptState others = JudgeGpt(m_scan, other, table->factor);
  if (isFromBackup) {
    AddTableNote(node, *table, {others, table->state, Shown::kBackup, false, false, {}});
    return;
  }
  // Only the copy of the storage's own table can be used.
  const bool isAllShown = table->state == GptState::kIntact || table->isFromCopy;
  const auto usable = isAllShown ? std::nullopt : FindBackupGpt(m_scan);
  const bool helps = usable && usable->origin == other;
  AddTableNote(node, *table, {table->state, others, Shown::kPrimary, helps, table->isFromCopy, {}});
}

// A table may be whole at the storage's end though its front is gone, or at the front though
// nothing leads to it any more.
void NoteTaker::LookForLostTable() {
  ScanAsker asker(m_scan, "notes");
  if (const auto backup = FindBackupGpt(m_scan)) {
    const GptState primary = JudgeGpt(m_scan, backup->SectorOf(backup->otherLba), backup->factor);
    AddTableNote(m_root, *backup, {primary, backup->state, Shown::kNothing, true, false, {}});
    return;
  }
  for (const u32 factor : {1u, 8u}) {
    const auto primary = ReadGptTable(m_scan, factor, factor);
    if (!primary || primary->state != GptState::kIntact) continue;
    const GptState backup = JudgeGpt(m_scan, primary->SectorOf(primary->otherLba), factor);
    AddTableNote(m_root, *primary, {primary->state, backup, Shown::kNothing, false, false, {}});
    return;
  }
}

void NoteTaker::AddTableNote(const cPartTreeItem& node, const GptTable& table, GptTableNote note) {
  note.diskGuid = FieldGuid(std::span(table.header).subspan(kDiskGuid, kGuidBytes));
  m_notes.Add(node, std::move(note));
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
  const u64 misses = m_scan.Misses();
  const auto content =
      FindContent(m_scan, node, mayHoldVmfs ? ContentReach::kFar : ContentReach::kUsual);
  if (content) m_notes.Add(node, *content);
  const u64 end = m_scan.SectorCount();
  const bool isInside = node.m_start < end && m_scan.TableLength(node) <= end - node.m_start;
  const bool isAllSeen =
      isInside && m_scan.Misses() == misses && !m_scan.Limits().IsReached(Budget::kSectors);
  TellType(node, content ? content->name : std::string_view(), isAllSeen);
}

// What was not all seen may still hold what was not found.
void NoteTaker::TellType(const cPartTreeItem& node, std::string_view found, bool isAllSeen) {
  if (node.Parent() && IsMember(*node.Parent())) return;  // no table gave the type
  const auto add = [&](bool isKept, std::string_view expected) {
    if (isKept || isAllSeen) m_notes.Add(node, TypeNote{isKept, expected});
  };
  const std::string guid = TypeGuidOf(node);
  if (!guid.empty()) {
    const GptPromise promise = PromiseOfGptType(guid);
    if (promise.first.empty()) return;
    const bool isKept = !found.empty() && (found == promise.first || found == promise.second);
    add(isKept, promise.first);
    return;
  }
  const u16 type = static_cast<const cScannedItem&>(node).m_tableType;
  if (const auto expected = ExpectedContent(type); !expected.empty()) {
    add(KeepsPromise(type, found), expected);
  }
}

// What is unread stands at the innermost node that has it, or at the storage when it is very much.
void NoteTaker::TellObstacles() {
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
  const Obstacles met = m_scan.MetObstacles();
  const bool isPlaced = met.unread.size() <= kMostPlaced;
  for (const UnreadNote& unread : met.unread) {
    m_notes.Add(isPlaced ? *nodeOf(unread.start) : m_root, unread);
  }
  for (const LimitNote& limit : met.limits) m_notes.Add(m_root, limit);
}

}  // namespace

void TakeNotes(Scan& scan, const cPartTreeItem& root, TreeNotes& notes) {
  NoteTaker(scan, root, notes).TakeAll();
}

}  // namespace larkspur
