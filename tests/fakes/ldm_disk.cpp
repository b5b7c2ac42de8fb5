// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fakes/ldm_disk.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "base/endian.h"

namespace larkspur::fakes {
namespace {

constexpr u32 kDisks = 4;
constexpr size_t kRecordBytes = 128;
constexpr size_t kRecordHeader = 16;
constexpr u64 kStripeSectors = 128;
constexpr char kGuidTail[] = "-fbfd-11e1-8cf9-52540061f5db";
constexpr u64 kGptArray = 2;

void StoreBe(u8* to, u64 value, size_t bytes) {
  for (size_t i = bytes; i-- > 0; value >>= 8) to[i] = static_cast<u8>(value);
}

void StoreText(u8* to, std::string_view text) {
  std::copy(text.begin(), text.end(), to);
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
    std::vector<u8> record(kRecordBytes);
    StoreText(record.data(), "VBLK");
    StoreBe(&record[8], group, 4);
    StoreBe(&record[12], part, 2);
    StoreBe(&record[14], parts, 2);
    std::memcpy(&record[kRecordHeader], &object[part * share], share);
    records.push_back(std::move(record));
  }
  return records;
}

void PutGptEntry(u8* entry, std::string_view guid, u64 first, u64 last) {
  StoreText(entry, guid);
  StoreLe64(entry + 32, first);
  StoreLe64(entry + 40, last);
}

void PutGpt(MemoryStore& store) {
  u8* header = &store.bytes[kSectorBytes];
  StoreText(header, "EFI PART");
  StoreLe64(header + 24, 1);
  StoreLe64(header + 72, kGptArray);
  StoreLe32(header + 80, 4);
  StoreLe32(header + 84, 128);
  u8* entries = &store.bytes[kGptArray * kSectorBytes];
  PutGptEntry(entries, "\xAA\xC8\x08\x58\x8F\x7E\xE0\x42\x85\xD2\xE1\xE9\x04\x34\xCF\xB3",
              LdmDisk::kGptMetadata, LdmDisk::kGptLogicalStart - 1);
  PutGptEntry(entries + 128, "\xA0\x60\x9B\xAF\x31\x14\x62\x4F\xBC\x68\x33\x11\x71\x4A\x69\xAD",
              LdmDisk::kGptLogicalStart, LdmDisk::kSectors - 34);
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

void LdmDisk::PutHeader(MemoryStore& store) const {
  u8* header = &store.bytes[(m_onGpt ? kGptMetadata + 2047 : 6) * kSectorBytes];
  StoreText(header, "PRIVHEAD");
  StoreBe(header + 12, 0x0002000C, 4);
  StoreText(header + 48, DiskGuid(1));
  const u64 start = m_onGpt ? kGptLogicalStart : kLogicalStart;
  const u64 end = m_onGpt ? kSectors - 33 : ConfigStart();
  const u64 fields[] = {start, end - start, ConfigStart(), kConfigSectors};
  for (size_t i = 0; i < 4; ++i) StoreBe(header + 283 + i * 8, fields[i], 8);

  u8* toc = &store.bytes[(ConfigStart() + 2) * kSectorBytes];
  StoreText(toc, "TOCBLOCK");
  StoreText(toc + 36, "config");
  StoreBe(toc + 46, 17, 8);
  StoreBe(toc + 54, 1481, 8);
  StoreText(toc + 70, "log");
  StoreBe(toc + 80, 1498, 8);
  StoreBe(toc + 88, 224, 8);
}

// After the last record stands the log.
void LdmDisk::PutDatabase(MemoryStore& store) const {
  const Records records = AllRecords();
  const size_t inSector = kSectorBytes / kRecordBytes;
  const size_t slots = (records.size() + inSector - 1) / inSector * inSector;
  u8* at = &store.bytes[DatabaseStart() * kSectorBytes];
  StoreText(at, "VMDB");
  StoreBe(at + 4, inSector + slots, 4);
  StoreBe(at + 8, kRecordBytes, 4);
  StoreBe(at + 12, kSectorBytes, 4);
  at += kSectorBytes;
  for (size_t slot = 0; slot < slots; ++slot, at += kRecordBytes) {
    StoreText(at, "VBLK");
    if (slot < records.size()) std::memcpy(at, records[slot].data(), kRecordBytes);
  }
  StoreText(at, "KLOG");
}

std::shared_ptr<MemoryStore> LdmDisk::Store() const {
  auto store = MakeStore(kSectors);
  StoreLe16(&store->bytes[510], 0xAA55);
  if (m_onGpt) {
    PutGpt(*store);
    store->bytes[450] = 0xEE;
    StoreLe32(&store->bytes[454], 1);
    StoreLe32(&store->bytes[458], kSectors - 1);
  } else {
    store->bytes[450] = 0x42;
    StoreLe32(&store->bytes[454], kLogicalStart);
    StoreLe32(&store->bytes[458], static_cast<u32>(ConfigStart() - kLogicalStart));
  }
  PutHeader(*store);
  PutDatabase(*store);
  return store;
}

}  // namespace larkspur::fakes
