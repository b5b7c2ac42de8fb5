// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Physical volumes of AIX's volume manager, volume groups of the original kind.
//
// Big-endian. Sector 0 begins with C9 C2 D4 C1. Sector 7:
//   0   4   "_LVM"
//   4   16  volume-group id
//   24  4   sectors of a descriptor area, 28 4 and 32 4 the sectors where its two copies begin
//   46  2   size of a physical partition, as the power of two of its bytes
//   60  2   version
// Descriptor area:
//   sector 0        30 u16 number of physical volumes
//   sectors 1..16   256 logical volumes of 32 bytes: 14 u16 number of logical partitions
//   sector 17       16 u16 number of physical partitions, 20 u32 sector of the first;
//                   from 32 on 32 bytes for each: 0 u16 logical volume (from 1), 6 u16 logical
//                   partition (from 1)
//   33 sectors before its end: 256 names of 64 bytes
// Source: Linux block/partitions/aix.c. The areas of big and scalable groups were never described,
// nor where a group of several volumes keeps the table of the others: only the first is read.

#include <algorithm>
#include <map>
#include <optional>
#include <vector>

#include "base/byte_reader.h"
#include "partitions/field_text.h"
#include "partitions/formats.h"
#include "partitions/part_records.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr u32 kBootMagic = 0xC9C2D4C1;
constexpr size_t kRecord = 3584;
constexpr size_t kGroupId = kRecord + 4;
constexpr size_t kGroupIdBytes = 16;
constexpr size_t kAreaSectors = kRecord + 24;
constexpr size_t kAreaCopies = kRecord + 28;
constexpr size_t kPartitionSize = kRecord + 46;
constexpr size_t kVersion = kRecord + 60;

constexpr u32 kVolumesSector = 1;
constexpr u32 kVolumes = 256;
constexpr size_t kVolumeBytes = 32;
constexpr size_t kVolumeLength = 14;
constexpr u32 kDiskSector = 17;
constexpr size_t kDiskPartitions = 16;
constexpr size_t kDiskFirst = 20;
constexpr size_t kDiskEntries = 32;
constexpr u32 kMaxPartitions = 1016;
constexpr u32 kDiskSectors = 64;  // what the entries of that many take
constexpr u32 kNameSectors = 33;  // from the area's end
constexpr size_t kNameBytes = 64;
constexpr u64 kReservedSectors = 128;
// A terabyte; what the check below 2^63 would allow is no size of anything.
constexpr u32 kMaxPartitionShift = 40;

struct Group {
  std::vector<u8> id;
  u64 area;  // sector
  u32 areaSectors;
  u64 partSectors;  // of a physical partition
};

// A logical volume's partitions that lie one after the other on this disk.
struct Run {
  u32 volume;         // from 0
  u32 firstLogical;   // from 1
  u32 firstPhysical;  // from 0
  u32 count;
};

std::optional<Group> ReadGroup(Scan& scan, const cPartTreeItem& node) {
  u8 bytes[8 * kSectorBytes];
  if (!scan.ReadUsable(node.m_start, 8, bytes)) return std::nullopt;
  ByteReader record(bytes);
  const u32 shift = record.Be16(kPartitionSize);
  if (record.Be16(kVersion) != 1 || shift < kSectorShift || shift > kMaxPartitionShift) {
    return std::nullopt;
  }
  Group group;
  const auto id = record.Bytes(kGroupId, kGroupIdBytes);
  group.id.assign(id.begin(), id.end());
  group.areaSectors = record.Be32(kAreaSectors);
  group.partSectors = u64{1} << (shift - kSectorShift);
  if (group.areaSectors < kDiskSector + kNameSectors + 1) return std::nullopt;
  for (const size_t copy : {kAreaCopies, kAreaCopies + 4}) {
    group.area = node.m_start + record.Be32(copy);
    SectorBytes sector;
    if (record.Be32(copy) != 0 && scan.ReadSector(group.area, &sector)) return group;
  }
  return std::nullopt;
}

std::vector<Run> ReadRuns(ByteReader& disk, u32 partitions) {
  std::vector<Run> runs;
  for (u32 i = 0; i < partitions; ++i) {
    const size_t at = kDiskEntries + size_t{i} * 32;
    const u32 volume = disk.Be16(at);
    const u32 logical = disk.Be16(at + 6);
    if (volume == 0 || volume > kVolumes || logical == 0) continue;
    Run* last = runs.empty() ? nullptr : &runs.back();
    const bool goesOn = last && last->volume == volume - 1 &&
                        last->firstPhysical + last->count == i &&
                        last->firstLogical + last->count == logical;
    if (goesOn) {
      ++last->count;
    } else {
      runs.push_back({volume - 1, logical, i, 1});
    }
  }
  return runs;
}

// The numbers of a volume's runs in the order of the volume.
std::vector<u32> OrderInVolume(const std::vector<Run>& runs) {
  std::map<u32, std::vector<u32>> byVolume;
  for (u32 i = 0; i < runs.size(); ++i) byVolume[runs[i].volume].push_back(i);
  std::vector<u32> order(runs.size());
  for (auto& [volume, numbers] : byVolume) {
    std::stable_sort(numbers.begin(), numbers.end(),
                     [&](u32 a, u32 b) { return runs[a].firstLogical < runs[b].firstLogical; });
    for (u32 i = 0; i < numbers.size(); ++i) order[numbers[i]] = i;
  }
  return order;
}

class VolumeTable {
 public:
  VolumeTable(Scan& scan, const Group& group)
      : m_lengths(kVolumes * kVolumeBytes), m_names(kVolumes * kNameBytes) {
    ReadTable(scan, group.area + kVolumesSector, &m_lengths);
    ReadTable(scan, group.area + group.areaSectors - kNameSectors, &m_names);
  }

  u32 Length(u32 volume) const {
    return ByteReader(m_lengths).Be16(volume * kVolumeBytes + kVolumeLength);
  }
  std::u16string Name(u32 volume) const {
    return DiskText(ByteReader(m_names).Bytes(volume * kNameBytes, kNameBytes));
  }

 private:
  static void ReadTable(Scan& scan, u64 sector, std::vector<u8>* bytes) {
    scan.ReadAround(sector, static_cast<u32>(bytes->size() / kSectorBytes), bytes->data());
  }

  std::vector<u8> m_lengths;
  std::vector<u8> m_names;
};

// Each logical partition that is on this disk more than once is a copy of a mirrored volume.
bool IsMirrored(const std::vector<Run>& runs, const VolumeTable& volumes, u32 volume) {
  u32 found = 0;
  for (const Run& run : runs) found += run.volume == volume ? run.count : 0;
  return found > volumes.Length(volume);
}

cSoftRAIDMember* MakeRecord(const Group& group, const std::u16string& name, bool mirrored, u32 runs,
                            u32 index) {
  auto* record = new cSoftRAIDMember;
  record->m_name.Assign(name);
  record->SetIdentifier(group.id);
  record->m_layout = mirrored ? kLayoutMirror : kLayoutSimple;
  record->m_level.Assign(mirrored ? u"mirrored" : u"linear");
  record->m_columns = runs;
  record->m_index = index;
  return record;
}

bool ProbeAixLvm(Scan& /*scan*/, const cPartTreeItem& /*node*/, NodeFront front) {
  ByteReader record{std::span<const u8>(front)};
  const u32 shift = record.Be16(kPartitionSize);
  return record.Be32(0) == kBootMagic &&
         StartsWith(std::span<const u8>(front).subspan(kRecord), "_LVM") && shift >= 9 &&
         shift - 9 < 55;
}

bool ParseAixLvm(Scan& scan, cPartTreeItem& node) {
  const auto group = ReadGroup(scan, node);
  if (!group) return true;  // of a version that is described nowhere
  std::vector<u8> bytes(kDiskSectors * kSectorBytes);
  if (scan.ReadAround(group->area + kDiskSector, kDiskSectors, bytes.data()) == 0) return false;
  ByteReader disk(bytes);
  const u32 partitions = std::min<u32>(disk.Be16(kDiskPartitions), kMaxPartitions);
  const u64 first = disk.Be32(kDiskFirst);
  const bool isThisDisk = first >= kReservedSectors && first < node.m_length &&
                          partitions * group->partSectors <= node.m_length - first;
  if (!isThisDisk) return true;
  const std::vector<Run> runs = ReadRuns(disk, partitions);
  const std::vector<u32> order = OrderInVolume(runs);
  const VolumeTable volumes(scan, *group);
  for (size_t i = 0; i < runs.size(); ++i) {
    const Run& run = runs[i];
    cPartTreeItem* child =
        scan.AddChild(node, node.m_start + first + run.firstPhysical * group->partSectors,
                      run.count * group->partSectors, kTypeUnknown);
    if (!child) continue;
    scan.Detect(*child, node);
    const auto ofVolume = std::count_if(
        runs.begin(), runs.end(), [&](const Run& other) { return other.volume == run.volume; });
    AddExtension(*child,
                 MakeRecord(*group, volumes.Name(run.volume), IsMirrored(runs, volumes, run.volume),
                            static_cast<u32>(ofVolume), order[i]));
  }
  return true;
}

using cAIXLVMPartParser = FormatParser<kParserAIXLVM, ParseAixLvm>;

}  // namespace

constinit const Format kAixLvmFormat{
    "cAIXLVMPartParser", "AIX LVM physical volume",     kParserAIXLVM, false,
    ProbeAixLvm,         MakeParser<cAIXLVMPartParser>, ParseAixLvm};

}  // namespace larkspur
