// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fakes/ldm_disk.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace larkspur::fakes {
namespace {

constexpr u32 kDisks = 4;
constexpr size_t kRecordBytes = 128;
constexpr size_t kRecordHeader = 16;
constexpr u64 kStripeSectors = 128;
constexpr char kGuidTail[] = "-fbfd-11e1-8cf9-52540061f5db";
constexpr char kMetadata[] = "5808C8AA-7E8F-42E0-85D2-E1E90434CFB3";
constexpr char kData[] = "AF9B60A0-1431-4F62-BC68-3311714A69AD";

void StoreBe(u8* to, u64 value, size_t bytes) {
  for (size_t i = bytes; i-- > 0; value >>= 8) to[i] = static_cast<u8>(value);
}

std::string DiskGuid(u32 disk) {
  return "0000000" + std::to_string(disk) + kGuidTail;
}

// The records of an object, numbered as one group.
std::vector<std::vector<u8>> Cut(u8 type, u8 flags, const std::vector<u8>& body, u32 group) {
  std::vector<u8> object(8);
  object[2] = flags;
  object[3] = type;
  StoreBe(&object[4], body.size(), 4);
  object.insert(object.end(), body.begin(), body.end());
  const size_t share = kRecordBytes - kRecordHeader;
  const size_t parts = (object.size() + share - 1) / share;
  object.resize(parts * share);
  std::vector<std::vector<u8>> records;
  for (size_t part = 0; part < parts; ++part) {
    std::vector<u8> record = {'V', 'B', 'L', 'K'};
    record.resize(kRecordBytes);
    StoreBe(&record[8], group, 4);
    StoreBe(&record[12], part, 2);
    StoreBe(&record[14], parts, 2);
    std::memcpy(&record[kRecordHeader], &object[part * share], share);
    records.push_back(std::move(record));
  }
  return records;
}

}  // namespace

LdmBody& LdmBody::Number(u64 value) {
  size_t count = 1;
  while (count < 8 && value >> 8 * count) ++count;
  return Fixed(count, 1).Fixed(value, count);
}

LdmBody& LdmBody::Text(std::string_view text) {
  Fixed(text.size(), 1);
  bytes.insert(bytes.end(), text.begin(), text.end());
  return *this;
}

LdmBody& LdmBody::Fixed(u64 value, size_t count) {
  bytes.resize(bytes.size() + count);
  StoreBe(bytes.data() + bytes.size() - count, value, count);
  return *this;
}

LdmBody& LdmBody::Zeros(size_t count) {
  bytes.resize(bytes.size() + count);
  return *this;
}

LdmDisk& LdmDisk::Simple(std::string_view name, std::string_view hint, LdmPiece piece) {
  AddComponent(AddVolume(name, hint, 3, 1), 2, {piece});
  return *this;
}

LdmDisk& LdmDisk::Spanned(std::string_view name, std::string_view hint, LdmPieces pieces) {
  AddComponent(AddVolume(name, hint, 3, 1), 2, pieces);
  return *this;
}

LdmDisk& LdmDisk::Striped(std::string_view name, std::string_view hint, LdmPieces pieces) {
  AddComponent(AddVolume(name, hint, 3, 1), 1, pieces);
  return *this;
}

LdmDisk& LdmDisk::Mirrored(std::string_view name, std::string_view hint, LdmPieces pieces) {
  const u32 volume = AddVolume(name, hint, 3, static_cast<u32>(pieces.size()));
  for (const LdmPiece& piece : pieces) AddComponent(volume, 2, {piece});
  return *this;
}

LdmDisk& LdmDisk::Raid5(std::string_view name, std::string_view hint, LdmPieces pieces) {
  AddComponent(AddVolume(name, hint, 4, 1), 3, pieces);
  return *this;
}

LdmDisk& LdmDisk::PartitionType(u8 type) {
  m_partitionType = type;
  return *this;
}

LdmDisk& LdmDisk::Object(u8 type, u8 flags, const LdmBody& body) {
  for (auto& record : Cut(type, flags, body.bytes, m_nextId++)) Record(std::move(record));
  return *this;
}

LdmDisk& LdmDisk::Record(std::vector<u8> record) {
  record.resize(kRecordBytes);
  m_records.push_back(std::move(record));
  return *this;
}

LdmDisk& LdmDisk::LongDiskNames() {
  m_longNames = true;
  return *this;
}

LdmDisk& LdmDisk::RawDiskIdentifiers() {
  m_rawIdentifiers = true;
  return *this;
}

LdmDisk& LdmDisk::OnGpt() {
  m_onGpt = true;
  return *this;
}

// The identifier of a volume is its number, in every byte.
u32 LdmDisk::AddVolume(std::string_view name, std::string_view hint, u8 type, u32 components) {
  const u32 id = m_nextId++;
  LdmBody body;
  body.Number(id).Text(name).Text(type == 4 ? "raid5" : "gen").Text("");
  body.Text("ACTIVE").Zeros(7);  // 14 bytes of state
  body.Fixed(type, 1).Fixed(1, 1).Fixed(1, 1).Zeros(3).Fixed(0x11, 1);
  body.Number(components).Zeros(16).Number(4096).Zeros(4).Fixed(m_partitionType, 1);
  for (int i = 0; i < 16; ++i) body.Fixed(id & 0xFF, 1);
  if (!hint.empty()) body.Text(hint);
  Object(81, hint.empty() ? 0 : 2, body);
  return id;
}

void LdmDisk::AddComponent(u32 volume, u8 type, LdmPieces pieces) {
  const bool hasColumns = type != 2;
  const u32 id = m_nextId++;
  LdmBody body;
  body.Number(id).Text("Component").Text("ACTIVE").Fixed(type, 1).Zeros(4);
  body.Number(pieces.size()).Zeros(16).Number(volume).Zeros(1);
  if (hasColumns) body.Number(kStripeSectors).Number(pieces.size());
  Object(50, hasColumns ? 0x10 : 0, body);
  u64 offset = 0;
  u64 index = 0;
  for (const LdmPiece& piece : pieces) {
    LdmBody partition;
    partition.Number(m_nextId).Text("Partition").Zeros(12).Fixed(piece.start, 8);
    partition.Fixed(hasColumns ? 0 : offset, 8).Number(piece.size).Number(id).Number(piece.disk);
    if (hasColumns && index > 0) partition.Number(index);
    Object(51, hasColumns && index > 0 ? 0x08 : 0, partition);
    offset += piece.size;
    ++index;
  }
}

void LdmDisk::AddDisks(Records* firstParts, Records* otherParts) const {
  for (u32 disk = 1; disk <= kDisks; ++disk) {
    LdmBody body;
    body.Number(disk).Text("Disk" + std::to_string(disk));
    if (m_rawIdentifiers) {
      body.Fixed(disk, 4).Fixed(0xFBFD11E1, 4).Fixed(0x8CF9525400, 5).Fixed(0x61F5DB, 3).Zeros(29);
    } else {
      body.Text(DiskGuid(disk)).Text(m_longNames ? std::string(60, 'S') : "").Zeros(12);
    }
    auto parts = Cut(m_rawIdentifiers ? 68 : 52, 0, body.bytes, disk);
    firstParts->push_back(parts.front());
    otherParts->insert(otherParts->begin(), parts.begin() + 1, parts.end());
  }
}

// The later parts of the disks stand last and in another order.
LdmDisk::Records LdmDisk::AllRecords() const {
  Records records;
  Records others;
  AddDisks(&records, &others);
  records.insert(records.end(), m_records.begin(), m_records.end());
  records.insert(records.end(), others.begin(), others.end());
  return records;
}

void LdmDisk::PutHeader(DiskBuilder& disk) const {
  const u64 header = m_onGpt ? kGptMetadata + 2047 : 6;
  disk.Text(header, 0, "PRIVHEAD").Be(header, 12, 4, 0x0002000C).Text(header, 48, DiskGuid(1));
  const u64 start = m_onGpt ? kGptLogicalStart : kLogicalStart;
  const u64 end = m_onGpt ? kSectors - 33 : ConfigStart();
  disk.Be(header, 283, 8, start).Be(header, 291, 8, end - start);
  disk.Be(header, 299, 8, ConfigStart()).Be(header, 307, 8, kConfigSectors);
  const u64 toc = ConfigStart() + 2;
  disk.Text(toc, 0, "TOCBLOCK").Text(toc, 36, "config").Be(toc, 46, 8, 17).Be(toc, 54, 8, 1481);
  disk.Text(toc, 70, "log").Be(toc, 80, 8, 1498).Be(toc, 88, 8, 224);
}

// After the last record stands the log.
void LdmDisk::PutDatabase(DiskBuilder& disk) const {
  const Records records = AllRecords();
  const size_t inSector = kSectorBytes / kRecordBytes;
  const size_t slots = (records.size() + inSector - 1) / inSector * inSector;
  const u64 first = DatabaseStart();
  disk.Text(first, 0, "VMDB").Be(first, 4, 4, inSector + slots).Be(first, 8, 4, kRecordBytes);
  disk.Be(first, 12, 4, kSectorBytes);
  for (size_t slot = 0; slot < slots; ++slot) {
    disk.Text(first + 1, slot * kRecordBytes, "VBLK");
    if (slot >= records.size()) continue;
    std::copy(records[slot].begin(), records[slot].end(),
              disk.At(first + 1, slot * kRecordBytes, kRecordBytes));
  }
  disk.Text(first + 1, slots * kRecordBytes, "KLOG");
}

std::shared_ptr<MemoryStore> LdmDisk::Store() const {
  DiskBuilder disk(kSectors);
  if (m_onGpt) {
    disk.MbrEntry(0, 0, 0xEE, 1, kSectors - 1).Gpt(1, 1, 4);
    disk.GptEntry(1, 0, kMetadata, kGptMetadata, kGptLogicalStart - 1);
    disk.GptEntry(1, 1, kData, kGptLogicalStart, kSectors - 34);
  } else {
    disk.MbrEntry(0, 0, 0x42, kLogicalStart, ConfigStart() - kLogicalStart);
  }
  PutHeader(disk);
  PutDatabase(disk);
  return StoreOf(disk.Bytes());
}

}  // namespace larkspur::fakes
