// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/ldm_database.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <tuple>

#include "base/byte_reader.h"
#include "base/text.h"

namespace larkspur {
namespace {

constexpr char kMagic[] = "VBLK";
constexpr size_t kGroup = 8;
constexpr size_t kPart = 12;
constexpr size_t kParts = 14;
constexpr size_t kHeaderBytes = 16;
constexpr size_t kFlags = 18;
constexpr size_t kType = 19;
constexpr size_t kBody = 24;

enum ObjectType : u8 {
  kComponent = 50,
  kPartition = 51,
  kDisk = 52,
  kDiskWithRawGuid = 68,
  kVolume = 81,
};

// What a flag says depends on the type of the object.
constexpr u8 kComponentHasColumns = 0x10;
constexpr u8 kPartitionHasIndex = 0x08;
constexpr u8 kVolumeHasFirstId = 0x08;
constexpr u8 kVolumeHasSecondId = 0x20;
constexpr u8 kVolumeHasSecondSize = 0x80;
constexpr u8 kVolumeHasHint = 0x02;

// The fields of a body, one after the other. After the first that is not all there the rest is
// zero and empty.
class BodyReader {
 public:
  explicit BodyReader(std::span<const u8> object) : m_reader(object) {}

  bool Failed() const { return m_reader.Failed(); }

  std::span<const u8> Bytes(size_t count) {
    const size_t at = m_at;
    m_at += count;
    return m_reader.Bytes(at, count);
  }
  void Skip(size_t count) { Bytes(count); }
  u8 Byte() { return m_reader.U8(m_at++); }
  u64 Fixed64() {
    m_at += 8;
    return m_reader.Be64(m_at - 8);
  }
  std::span<const u8> Text() { return Bytes(Byte()); }
  // A length of 0 or above 8 reads as 0.
  u64 Number() {
    const auto bytes = Text();
    if (bytes.size() > 8) return 0;
    u64 value = 0;
    for (const u8 byte : bytes) value = value << 8 | byte;
    return value;
  }

 private:
  ByteReader m_reader;
  size_t m_at = kBody;
};

void SkipText(BodyReader& body) {
  body.Text();
}

LdmComponent ReadComponent(BodyReader& body, u8 flags) {
  LdmComponent component{};
  SkipText(body);  // state
  component.type = body.Byte();
  body.Skip(4);
  component.partitions = body.Number();
  body.Skip(16);
  component.volume = body.Number();
  body.Skip(1);
  if (flags & kComponentHasColumns) {
    component.stripeSectors = body.Number();
    component.columns = body.Number();
  }
  return component;
}

LdmPartition ReadPartition(BodyReader& body, u8 flags) {
  LdmPartition partition{};
  body.Skip(12);
  partition.start = body.Fixed64();
  partition.volumeOffset = body.Fixed64();
  partition.size = body.Number();
  partition.component = body.Number();
  partition.disk = body.Number();
  if (flags & kPartitionHasIndex) partition.index = body.Number();
  return partition;
}

LdmVolume ReadVolume(BodyReader& body) {
  LdmVolume volume{};
  SkipText(body);  // kind
  SkipText(body);
  body.Skip(14 + 7);  // state, and numbers
  volume.components = body.Number();
  body.Skip(16);
  body.Number();  // size
  body.Skip(4);
  volume.partitionType = body.Byte();
  const auto guid = body.Bytes(volume.guid.size());
  std::copy(guid.begin(), guid.end(), volume.guid.begin());
  return volume;
}

std::string ReadHint(BodyReader& body, u8 flags) {
  if (flags & kVolumeHasFirstId) SkipText(body);
  if (flags & kVolumeHasSecondId) SkipText(body);
  if (flags & kVolumeHasSecondSize) body.Number();
  if (!(flags & kVolumeHasHint)) return {};
  const auto hint = body.Text();
  return {hint.begin(), hint.end()};
}

std::optional<GuidBytes> ReadRawGuid(BodyReader& body) {
  const auto bytes = body.Bytes(sizeof(GuidBytes));
  if (body.Failed()) return std::nullopt;
  GuidBytes guid;
  std::copy(bytes.begin(), bytes.end(), guid.begin());
  return guid;
}

template <typename Value>
const Value* Find(const std::map<u64, Value>& map, u64 id) {
  const auto found = map.find(id);
  return found == map.end() ? nullptr : &found->second;
}

const char* LayoutWord(u32 layout) {
  if (layout == kLayoutStripe) return "Stripe";
  if (layout == kLayoutMirror) return "Mirror";
  if (layout == kLayoutRaid5) return "RAID5";
  return "Simple/Span";
}

}  // namespace

bool LdmDatabase::Add(std::span<const u8> record) {
  if (record.size() <= kBody || std::memcmp(record.data(), kMagic, 4) != 0) return false;
  const u32 part = LoadBe16(&record[kPart]);
  const u32 parts = LoadBe16(&record[kParts]);
  if (parts == 1 && part == 0) {
    AddObject(record);
  } else if (parts > 1 && parts <= kMaxParts && part < parts) {
    AddPart(record, part, parts);
  }
  return true;
}

// Parts stand in any slots and any order, and only the first carries a type.
void LdmDatabase::AddPart(std::span<const u8> record, u32 part, u32 parts) {
  const size_t share = record.size() - kHeaderBytes;
  Fragments& fragments = m_fragments[LoadBe32(&record[kGroup])];
  if (fragments.object.empty()) {
    fragments.parts = parts;
    fragments.object.resize(kHeaderBytes + share * parts);
  }
  const u32 bit = u32{1} << part;
  if (fragments.parts != parts || fragments.present & bit) return;
  fragments.present |= bit;
  std::memcpy(&fragments.object[kHeaderBytes + share * part], &record[kHeaderBytes], share);
  if (fragments.present + 1 == u32{1} << parts) AddObject(fragments.object);
}

void LdmDatabase::AddObject(std::span<const u8> object) {
  const u8 flags = object[kFlags];
  const u8 type = object[kType];
  BodyReader body(object);
  const u64 id = body.Number();
  SkipText(body);  // name
  if (type == kComponent) {
    const LdmComponent component = ReadComponent(body, flags);
    if (!body.Failed()) m_components.emplace(id, component);
  } else if (type == kPartition) {
    const LdmPartition partition = ReadPartition(body, flags);
    if (!body.Failed()) m_partitions.emplace(id, partition);
  } else if (type == kDisk) {
    if (const auto guid = ParseGuidText(body.Text())) m_disks.emplace(id, *guid);
  } else if (type == kDiskWithRawGuid) {
    if (const auto guid = ReadRawGuid(body)) m_disks.emplace(id, *guid);
  } else if (type == kVolume) {
    LdmVolume volume = ReadVolume(body);
    if (body.Failed()) return;
    volume.hint = ReadHint(body, flags);
    m_volumes.emplace(id, std::move(volume));
  }
}

const LdmComponent* LdmDatabase::FindComponent(u64 id) const {
  return Find(m_components, id);
}

const LdmVolume* LdmDatabase::FindVolume(u64 id) const {
  return Find(m_volumes, id);
}

const GuidBytes* LdmDatabase::FindDisk(u64 id) const {
  return Find(m_disks, id);
}

std::map<u64, u32> LdmDatabase::OrdersInComponents() const {
  std::vector<std::tuple<u64, u64, u64>> sorted;  // component, offset, partition
  for (const auto& [id, partition] : m_partitions) {
    sorted.emplace_back(partition.component, partition.volumeOffset, id);
  }
  std::sort(sorted.begin(), sorted.end());
  std::map<u64, u32> orders;
  std::map<u64, u32> counts;
  for (const auto& [component, offset, id] : sorted) orders[id] = counts[component]++;
  return orders;
}

void FormatVolumeName(const LdmVolume& volume, cPartSoftRAIDInfo& record) {
  if (volume.hint.empty()) return;
  std::array<char, 40> text;
  const int length = std::snprintf(text.data(), text.size(), "Dynamic volume %.*s (%s)", 4,
                                   volume.hint.c_str(), LayoutWord(record.m_layout));
  const auto* const bytes = reinterpret_cast<const u8*>(text.data());
  record.m_name.Assign(WideText({bytes, static_cast<size_t>(length)}));
}

}  // namespace larkspur
