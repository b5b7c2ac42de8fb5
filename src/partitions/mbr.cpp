// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Master boot records with their chains of extended boot records, and the FAT and NTFS boot sectors
// that stand in their place.
//
// Boot sector, 512 bytes, little-endian:
//   3    8   OEM name, "NTFS    "
//   54   5   "FAT12", "FAT16"
//   82   6   "FAT32", "TFAT32"
//   446  64  four entries: 0 status, 4 type, 8 u32 start, 12 u32 count
//   510  2   signature
// An extended boot record has the same shape: entry 0 is the logical drive, relative to the record
// itself, entry 1 the link to the next record, relative to the extended partition.

#include <algorithm>
#include <cstring>
#include <optional>
#include <set>

#include "base/byte_runs.h"
#include "base/endian.h"
#include "partitions/content.h"
#include "partitions/detection.h"
#include "partitions/formats.h"
#include "partitions/gpt_table.h"
#include "partitions/part_records.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr size_t kTable = 446;
constexpr size_t kEntryBytes = 16;
constexpr size_t kEntries = 4;
constexpr size_t kSignature = 510;
constexpr u16 kSigned = 0xAA55;
constexpr u16 kSignedToo = 0xBB55;  // some tools sign the first sector so, never what a chain links
constexpr u8 kActive = 0x80;

// Systems name logical drives by letters or small numbers; the longest chains seen have some dozen.
constexpr size_t kMaxChain = 1024;

struct Entry {
  u8 type;
  u32 start;
  u32 count;
};

Entry EntryAt(const u8* sector, size_t index) {
  const u8* entry = sector + kTable + index * kEntryBytes;
  return {entry[4], LoadLe32(entry + 8), LoadLe32(entry + 12)};
}

bool IsValidEntry(const u8* entry) {
  if (entry[0] != 0 && entry[0] != kActive) return false;
  return LoadLe32(entry + 12) != 0 || IsAllZero({entry, kEntryBytes});
}

bool HoldsText(const SectorBytes& sector, size_t offset, const char* text) {
  return std::memcmp(&sector[offset], text, std::strlen(text)) == 0;
}

// The type of the file system whose boot sector this is.
std::optional<u16> BootSectorType(const SectorBytes& sector) {
  if (HoldsText(sector, 82, "TFAT32") || HoldsText(sector, 82, "FAT32")) return kTypeFat32;
  if (HoldsText(sector, 54, "FAT12")) return kTypeFat12;
  if (HoldsText(sector, 54, "FAT16")) return kTypeFat16;
  if (HoldsText(sector, 3, "NTFS    ")) return kTypeNtfs;
  return std::nullopt;
}

// One table and the chains that hang from its containers.
class TableReader {
 public:
  TableReader(Scan& scan, cPartTreeItem& node)
      : m_scan(scan),
        m_node(node),
        m_factor(scan.TableFactor()),
        m_linkFactor(scan.IsForPeople() ? m_factor : 1) {
    const auto* record = static_cast<cSBRLegacyOffset*>(FindExtension(node, kKindSBRLegacyOffset));
    if (record) m_legacy = record->m_offset;
  }

  bool ReadEntry(const Entry& entry);

 private:
  // Where an extended boot record may lie: positions count from the disk or from the table.
  struct Place {
    u64 position;
    u64 other;
  };

  bool WalkChain(cPartTreeItem& container, u32 first);
  bool ReadLink(Place* place, SectorBytes* sector);
  void AddLogicalDrive(cPartTreeItem& container, const SectorBytes& sector, u64 position);

  Scan& m_scan;
  cPartTreeItem& m_node;
  u64 m_factor;
  // What links count in. A host relies on their not getting the sector factor.
  u64 m_linkFactor;
  u64 m_legacy = 0;
};

bool TableReader::ReadEntry(const Entry& entry) {
  if (entry.type == 0) return true;
  cPartTreeItem* child = m_scan.AddChild(m_node, m_node.m_start + entry.start * m_factor,
                                         entry.count * m_factor, entry.type);
  if (!child) return true;
  if (IsContainerType(entry.type)) return WalkChain(*child, entry.start);
  m_scan.Detect(*child, m_node);
  return true;
}

// Places count in the units of links.
bool TableReader::WalkChain(cPartTreeItem& container, u32 first) {
  const u64 base = m_node.m_start / m_linkFactor;
  Place place{first - m_legacy, base + first - m_legacy};
  std::set<u64> visited;
  while (visited.size() < kMaxChain) {
    SectorBytes sector;
    if (!ReadLink(&place, &sector)) return false;
    if (!visited.insert(place.position).second) return true;  // the chain bites its tail
    AddLogicalDrive(container, sector, place.position);
    const Entry next = EntryAt(sector.data(), 1);
    if (next.type == 0) return true;
    const u64 link = next.start - m_legacy;
    place = {link + first, base + link};
  }
  return true;
}

// Reads the record at the first of the two places that holds one, and leaves that as position.
bool TableReader::ReadLink(Place* place, SectorBytes* sector) {
  for (;;) {
    const bool isLink = m_scan.ReadSector(place->position * m_linkFactor, sector) &&
                        LoadLe16(&(*sector)[kSignature]) == kSigned;
    if (isLink) return true;
    if (place->position == place->other) return false;
    place->position = place->other;
  }
}

void TableReader::AddLogicalDrive(cPartTreeItem& container, const SectorBytes& sector,
                                  u64 position) {
  const Entry entry = EntryAt(sector.data(), 0);
  const u64 length = entry.count * m_factor;
  cPartTreeItem* drive =
      m_scan.AddEntry(container, (entry.start + position) * m_factor, length, length, entry.type);
  if (!drive) return;
  if (entry.start != 0) AddExtension(*drive, new cSBRLegacyOffset(entry.start));
  m_scan.Detect(*drive, m_node);
}

// What lies where a table's entries lead.
enum class Evidence : u8 {
  kNone,
  kBootMark,  // of a boot record: by chance, one sector of 65,536 has it
  kContent,   // a file system, a member, a chain or a GUID table
};

// Whether it is the first of a chain: entries as in a table's own sector, the drive's among them.
bool IsChainLink(const SectorBytes& sector) {
  for (size_t i = 0; i < kEntries; ++i) {
    if (!IsValidEntry(&sector[kTable + i * kEntryBytes])) return false;
  }
  return EntryAt(sector.data(), 0).type != 0;
}

// A GUID table tells by its place what it counts in, as seen from an entry that counts in 512
// bytes.
bool LeadsToGpt(Scan& scan, u64 start, u64 factor) {
  u8 front[kGptFrontSectors * kSectorBytes] = {};
  return factor == 1 && scan.ReadFront(start, kGptFrontSectors, front) > 0 && FindGptHeader(front);
}

Evidence EvidenceOf(Scan& scan, const cPartTreeItem& node, const Entry& entry, u64 factor) {
  const Owned<cScannedItem> target(new cScannedItem(entry.count * factor));
  SetNode(*target, node.m_io, node.m_start + entry.start * factor, entry.count * factor,
          entry.type);
  target->m_parent = const_cast<cPartTreeItem*>(&node);
  SectorBytes first;
  ReadNodeAhead(scan, *target, true);
  if (!scan.ReadSector(target->m_start, &first)) return Evidence::kNone;
  const bool isSigned = LoadLe16(&first[kSignature]) == kSigned;
  bool isContent = false;
  if (IsContainerType(entry.type)) {
    isContent = isSigned && IsChainLink(first);
  } else if (entry.type == kTypeGptProtective) {
    isContent = LeadsToGpt(scan, target->m_start, factor);
  } else {
    isContent = (isSigned && BootSectorType(first)) ||
                FindContent(scan, *target, ContentReach::kUsual).has_value();
  }
  return isContent ? Evidence::kContent : isSigned ? Evidence::kBootMark : Evidence::kNone;
}

Evidence EvidenceOf(Scan& scan, const cPartTreeItem& node, const SectorBytes& sector, u64 factor) {
  Evidence best = Evidence::kNone;
  for (size_t i = 0; i < kEntries && best != Evidence::kContent; ++i) {
    const Entry entry = EntryAt(sector.data(), i);
    if (entry.type != 0) best = std::max(best, EvidenceOf(scan, node, entry, factor));
  }
  return best;
}

bool AllEndInside(const SectorBytes& sector, u64 factor, u64 sectors) {
  for (size_t i = 0; i < kEntries; ++i) {
    const Entry entry = EntryAt(sector.data(), i);
    // A protective entry is often as long as can be written.
    const u64 count = entry.type == kTypeGptProtective ? 1 : entry.count;
    if (entry.type != 0 && (entry.start + count) * factor > sectors) return false;
  }
  return true;
}

struct SectorFactor {
  u64 factor;
  bool isConfirmed;
};

// Disks with sectors of 4096 bytes are read directly, through caches that do not know, and behind
// bridges that pretend, so neither the storage's word nor the table tells for sure what the table
// counts in. The storage's word holds unless only the other reading leads to contents. A storage
// that says 512 may be an image of any disk; what says more is believed less easily than that.
SectorFactor FactorOf(Scan& scan, const cPartTreeItem& node, const SectorBytes& sector) {
  constexpr u64 kLargeFactor = 4096 / kSectorBytes;
  const u64 told = scan.TableFactor();
  const u64 other = told == 1 ? kLargeFactor : 1;
  const u64 misses = scan.Misses();
  const Evidence evidence = EvidenceOf(scan, node, sector, told);
  if (evidence == Evidence::kContent) return {told, true};
  // What did not come may speak for the storage's word.
  if (scan.Misses() > misses) return {told, false};
  const Evidence others = EvidenceOf(scan, node, sector, other);
  const bool isDoubtful = others > evidence || !AllEndInside(sector, told, scan.SectorCount());
  const bool isOther = others == Evidence::kContent || (told != 1 && isDoubtful);
  return {isOther ? other : told, isOther || evidence != Evidence::kNone};
}

void ChooseFactor(Scan& scan, const cPartTreeItem& node, const SectorBytes& sector) {
  if (node.Parent()) return;  // the disk's own table has decided
  const bool is512 = scan.TableFactor() == 1;
  const SectorFactor chosen = FactorOf(scan, node, sector);
  scan.SetTableFactor(chosen.factor);
  if (is512 && chosen.factor == 1) return;
  if (EntryAt(sector.data(), 0).type == kTypeGptProtective) return;  // what it protects decides
  scan.TakeNote(node,
                SectorSizeNote{static_cast<u32>(chosen.factor * kSectorBytes), chosen.isConfirmed});
}

bool ProbeMbr(Scan& /*scan*/, const cPartTreeItem& /*node*/, NodeFront front) {
  const u16 signature = LoadLe16(&front[kSignature]);
  if (signature != kSigned && signature != kSignedToo) return false;
  for (size_t i = 0; i < kEntries; ++i) {
    if (!IsValidEntry(&front[kTable + i * kEntryBytes])) return false;
  }
  return true;
}

bool ParseMbr(Scan& scan, cPartTreeItem& node) {
  SectorBytes sector;
  if (!scan.ReadSector(node.m_start, &sector)) return false;
  if (const auto type = BootSectorType(sector)) {
    SetNodeType(node, *type);
    return true;
  }
  if (IsDynamicDisk(scan, node)) return RunFormat(scan, node, kLdmFormat);
  if (scan.IsForPeople()) ChooseFactor(scan, node, sector);
  TableReader reader(scan, node);
  bool isWhole = true;
  // A host relies on the table's ending with an entry whose chain breaks.
  for (size_t i = 0; i < kEntries && (isWhole || scan.IsForPeople()); ++i) {
    isWhole = reader.ReadEntry(EntryAt(sector.data(), i)) && isWhole;
  }
  return isWhole;
}

using cMbrPartParser = FormatParser<kParserMbr, ParseMbr>;

}  // namespace

constinit const Format kMbrFormat{"cMbrPartParser", "MBR partition table",      kParserMbr, false,
                                  ProbeMbr,         MakeParser<cMbrPartParser>, ParseMbr};

}  // namespace larkspur
