// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/content_details.h"

#include <algorithm>
#include <array>
#include <bit>

#include "base/byte_runs.h"
#include "base/endian.h"
#include "base/printable.h"
#include "partitions/field_text.h"
#include "platform/hash.h"

namespace larkspur {
namespace {

// Folders of FAT are searched so far; a label is among the first entries.
constexpr u32 kMaxEntries = 512;
constexpr u64 kEntryBytes = 32;

std::string Numbers(u32 major, u32 minor) {
  return std::to_string(major) + "." + std::to_string(minor);
}

// ext

constexpr u32 kHasJournal = 0x4;
constexpr u32 kJournalDevice = 0x8;
// What each generation knows; a set with more belongs to the next one.
constexpr u32 kExt2Incompatible = 0x2 | 0x10;
constexpr u32 kExt3Incompatible = kExt2Incompatible | 0x4;
constexpr u32 kExt3ReadOnly = 0x1 | 0x2 | 0x4;

std::string_view ExtName(u32 compatible, u32 incompatible, u32 readOnly) {
  if (incompatible & kJournalDevice) return "jbd";
  if (readOnly & ~kExt3ReadOnly) return "ext4";
  if (compatible & kHasJournal) return incompatible & ~kExt3Incompatible ? "ext4" : "ext3";
  return incompatible & ~kExt2Incompatible ? "ext4" : "ext2";
}

// FAT

struct FatLayout {
  u64 rootStart;  // bytes from the volume's start
  u32 rootEntries;
};

FatLayout LayoutOf(NodeBytes& boot) {
  const u64 sectorBytes = boot.Le16(11);
  const u32 entries = boot.Le16(17);
  const u64 fatSectors = boot.Le16(22) != 0 ? boot.Le16(22) : boot.Le32(36);
  const u64 data = boot.Le16(14) + boot.U8(16) * fatSectors;
  if (entries != 0) return {data * sectorBytes, std::min(entries, kMaxEntries)};
  // FAT32: the folder's first cluster will do, since tools put the label first.
  const u64 clusterBytes = sectorBytes * boot.U8(13);
  const u64 cluster = std::max<u64>(boot.Le32(44), 2);
  return {data * sectorBytes + (cluster - 2) * clusterBytes,
          static_cast<u32>(std::min<u64>(clusterBytes / kEntryBytes, kMaxEntries))};
}

// NTFS

constexpr u64 kVolumeRecord = 3;
constexpr u32 kVolumeName = 0x60;
constexpr u32 kEndOfAttributes = 0xFFFFFFFF;

// A size that is a number of clusters or, below 0, a power of two in bytes; 0 for nonsense.
u64 SizeOfRecord(i32 clusters, u64 clusterBytes) {
  if (clusters > 0) return static_cast<u64>(clusters) * clusterBytes;
  return clusters > -31 ? u64{1} << -clusters : 0;
}

u64 NtfsClusterBytes(NodeBytes& boot) {
  const u64 sectorBytes = boot.Le16(11);
  const u8 sectors = boot.U8(13);
  // Large clusters are written as the exponent, below 0.
  return sectors <= 128 ? sectorBytes * sectors : sectorBytes << std::min(256 - sectors, 31);
}

// HFS and HFS+

constexpr u32 kCatalogRoot = 2;
constexpr u64 kVolumeHeader = 1024;  // from the volume's start
constexpr size_t kFinderIdBytes = 8;

// What the system keeps for the volume is no UUID: it becomes one by name, within the name space
// that the system hashes these in.
std::string HfsUuid(std::span<const u8> finderId) {
  constexpr std::array<u8, 16> kNameSpace = {0xb3, 0xe2, 0x0f, 0x39, 0xf2, 0x92, 0x11, 0xd6,
                                             0x97, 0xa4, 0x00, 0x30, 0x65, 0x43, 0xec, 0xac};
  if (IsAllZero(finderId)) return {};
  std::vector<u8> name(kNameSpace.begin(), kNameSpace.end());
  name.insert(name.end(), finderId.begin(), finderId.end());
  auto uuid = platform::Md5(name);
  if (!uuid) return {};
  (*uuid)[6] = static_cast<u8>(((*uuid)[6] & 0x0F) | 0x30);  // version 3: by name
  (*uuid)[8] = static_cast<u8>(((*uuid)[8] & 0x3F) | 0x80);
  return FieldUuid(*uuid);
}

// Joliet names a volume by 16 characters of Unicode, ISO 9660 by 32 of ASCII.
constexpr size_t kDiscName = 40;
constexpr size_t kDiscNameBytes = 32;

// What both names have at a place: either may have '_' for what it cannot have, and ISO 9660 may
// have capitals. 0 when they differ.
u16 CharacterOfBoth(u16 joliet, u8 iso) {
  const auto upper = [](u16 c) {
    return c >= 'a' && c <= 'z' ? static_cast<u16>(c - 'a' + 'A') : c;
  };
  if (joliet == iso || iso == '_' || upper(joliet) == iso) return joliet;
  return joliet == '_' || upper(iso) == joliet ? iso : u16{0};
}

// Where the names agree as far as the short one goes, the label has the better characters of both
// and the end of the long one; else it is the short one.
std::string JolietLabel(std::span<const u8> joliet, std::span<const u8> iso) {
  std::vector<u8> both;
  for (size_t i = 0; i < iso.size(); ++i) {
    u16 unit = iso[i];
    if (2 * i + 1 < joliet.size()) {
      unit = CharacterOfBoth(LoadBe16(&joliet[2 * i]), iso[i]);
      if (unit == 0) return FieldUtf16(joliet, true);
    }
    both.push_back(static_cast<u8>(unit >> 8));
    both.push_back(static_cast<u8>(unit));
  }
  return FieldUtf16(both, true);
}

// Descriptors of UDF and their fields.
constexpr u16 kPrimaryDescriptor = 1;
constexpr u16 kAnchorDescriptor = 2;
constexpr u16 kLogicalDescriptor = 6;
constexpr u16 kLastDescriptor = 8;
constexpr u64 kAnchorBlock = 256;
constexpr u32 kMaxDescriptors = 32;

// Text whose first byte says how many bits a character has, and whose last byte how many are used.
std::string DString(std::span<const u8> field) {
  if (field.empty()) return {};
  const size_t used = std::min<size_t>(field.back(), field.size() - 1);
  if (used < 2) return {};
  const auto text = field.subspan(1, used - 1);
  if (field[0] == 16) return FieldUtf16(text, true);
  std::vector<u8> wide;
  for (const u8 byte : text) wide.insert(wide.end(), {0, byte});
  return FieldUtf16(wide, true);
}

// Whether the descriptor of that number stands at `at`, by its tag.
bool IsDescriptor(NodeBytes& bytes, u64 at, u16 tag, u64 location) {
  return bytes.Le16(at) == tag && bytes.Le32(at + 12) == location;
}

// The block size by which an anchor stands where it belongs; 0 without one.
u64 UdfBlockBytes(NodeBytes& bytes) {
  for (const u64 block : {u64{2048}, u64{512}, u64{4096}, u64{1024}}) {
    bytes.Reset();
    if (IsDescriptor(bytes, kAnchorBlock * block, kAnchorDescriptor, kAnchorBlock)) return block;
  }
  return 0;
}

// The first sixteen characters of a volume set's name are unique; digits as they are.
std::string UdfUuid(std::span<const u8> field) {
  const std::string name = DString(field);
  const auto isHex = [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
  };
  if (name.size() < 16 || !std::all_of(name.begin(), name.begin() + 16, isHex)) return {};
  std::string uuid = name.substr(0, 16);
  std::transform(uuid.begin(), uuid.end(), uuid.begin(), [](char c) {
    return c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return uuid;
}

// XDR: lengths are rounded up to four bytes.
u64 Padded(u64 length) {
  return (length + 3) & ~u64{3};
}

}  // namespace

void DescribeExt(NodeBytes& bytes, ContentNote* note) {
  note->name = ExtName(bytes.Le32(92), bytes.Le32(96), bytes.Le32(100));
  note->version = Numbers(bytes.Le32(76), bytes.Le16(62));
}

void DescribeOcfs2(NodeBytes& bytes, ContentNote* note) {
  note->version = Numbers(bytes.Le16(192), bytes.Le16(194));
}

void DescribeF2fs(NodeBytes& bytes, ContentNote* note) {
  note->version = Numbers(bytes.Le16(4), bytes.Le16(6));
}

void DescribeFat(NodeBytes& bytes, ContentNote* note) {
  const FatLayout layout = LayoutOf(bytes);
  for (u32 i = 0; i < layout.rootEntries; ++i) {
    const auto entry = bytes.Bytes(layout.rootStart + i * kEntryBytes, kEntryBytes);
    if (entry.empty() || entry[0] == 0) return;
    constexpr u8 kDeleted = 0xE5;
    const bool isLabel = entry[0] != kDeleted && (entry[11] & 0x3F) != 0x0F && (entry[11] & 0x08);
    if (!isLabel) continue;
    note->label = FieldUtf8(entry.first(11));
    return;
  }
}

void DescribeExfat(NodeBytes& bytes, ContentNote* note) {
  const u32 sectorShift = bytes.U8(108);
  const u32 clusterShift = sectorShift + bytes.U8(109);
  const u64 heap = u64{bytes.Le32(88)} << sectorShift;
  const u64 root = heap + ((u64{bytes.Le32(96)} - 2) << clusterShift);
  note->version = Numbers(bytes.U8(105), bytes.U8(104));
  const u64 entries = std::min<u64>((u64{1} << clusterShift) / kEntryBytes, kMaxEntries);
  for (u64 i = 0; i < entries; ++i) {
    const auto entry = bytes.Bytes(root + i * kEntryBytes, kEntryBytes);
    if (entry.empty() || entry[0] == 0) return;
    constexpr u8 kLabelEntry = 0x83;
    if (entry[0] != kLabelEntry) continue;
    note->label = FieldUtf16(entry.subspan(2, std::min<size_t>(entry[1], 11) * 2), false);
    return;
  }
}

void DescribeNtfs(NodeBytes& bytes, ContentNote* note) {
  const u64 clusterBytes = NtfsClusterBytes(bytes);
  const u64 recordBytes = SizeOfRecord(static_cast<signed char>(bytes.U8(64)), clusterBytes);
  const u64 table = bytes.Le64(48) * clusterBytes;
  if (recordBytes < 512 || recordBytes > 65536) return;
  const u64 record = table + kVolumeRecord * recordBytes;
  if (!StartsWith(bytes.Bytes(record, 4), "FILE")) return;
  u64 at = bytes.Le16(record + 20);
  while (at + 24 <= recordBytes) {
    const u32 type = bytes.Le32(record + at);
    const u32 length = bytes.Le32(record + at + 4);
    if (bytes.Failed() || type == kEndOfAttributes || length < 24) return;
    if (type == kVolumeName) {
      const u32 count = std::min<u32>(bytes.Le32(record + at + 16), 512);
      note->label =
          FieldUtf16(bytes.Bytes(record + at + bytes.Le16(record + at + 20), count), false);
      return;
    }
    at += length;
  }
}

// A name of up to 27 bytes after its length.
void DescribeHfs(NodeBytes& bytes, ContentNote* note) {
  const size_t length = std::min<size_t>(bytes.U8(36), 27);
  note->label = FieldUtf8(bytes.Bytes(37, length));
  note->uuid = HfsUuid(bytes.Bytes(116, kFinderIdBytes));
}

// The name is that of the thread record of the root folder, the first leaf's first key.
void DescribeHfsPlus(NodeBytes& bytes, ContentNote* note) {
  const u64 volume = bytes.Base() - kVolumeHeader;
  const u64 block = bytes.Be32(40);
  const u64 catalog = bytes.Be32(272 + 16) * block;  // its first extent
  note->uuid = HfsUuid(bytes.Bytes(104, kFinderIdBytes));
  bytes.Reset(volume + catalog);
  const u32 nodeBytes = bytes.Be16(14 + 18);
  const u64 leaf = u64{bytes.Be32(14 + 10)} * nodeBytes;
  if (!std::has_single_bit(nodeBytes) || nodeBytes < 512 || leaf == 0) return;
  if (bytes.U8(leaf + 8) != 0xFF) return;  // no leaf
  const u64 key = leaf + 14;
  if (bytes.Be32(key + 2) != 1 || bytes.Be16(key) < 6) return;  // the parent of the root folder
  const u32 length = std::min<u32>(bytes.Be16(key + 6), 255);
  const std::string name = FieldUtf16(bytes.Bytes(key + 8, size_t{length} * 2), true);
  const u64 record = key + 2 + bytes.Be16(key);
  if (bytes.Be16(record) == 1 && bytes.Be32(record + 8) == kCatalogRoot) note->label = name;
}

// The volume begins with the first of the wrapper's blocks that it was given.
void DescribeWrappedHfsPlus(NodeBytes& bytes, ContentNote* note) {
  const u64 firstBlock = u64{bytes.Be16(28)} * kSectorBytes;
  const u64 volume = firstBlock + u64{bytes.Be16(126)} * bytes.Be32(20);
  bytes.Reset(volume + kVolumeHeader);
  const auto magic = bytes.Bytes(0, 2);
  if (StartsWith(magic, "H+") || StartsWith(magic, "HX")) DescribeHfsPlus(bytes, note);
}

// The date of the last change, else that of its making, names the volume.
void DescribeIso9660(NodeBytes& bytes, ContentNote* note) {
  for (const u64 at : {u64{830}, u64{813}}) {
    const auto date = bytes.Bytes(at, 16);
    const bool isDate = !date.empty() && std::all_of(date.begin(), date.end(), [](u8 digit) {
      return digit >= '0' && digit <= '9';
    }) && std::any_of(date.begin(), date.end(), [](u8 digit) { return digit != '0'; });
    if (!isDate) continue;
    note->uuid.assign(date.begin(), date.end());
    for (const size_t dash : {14u, 12u, 10u, 8u, 6u, 4u}) note->uuid.insert(dash, 1, '-');
    break;
  }
  for (u64 at = 2048; at < u64{16} * 2048; at += 2048) {  // a second name in Unicode
    const u8 type = bytes.U8(at);
    if (bytes.Failed() || type == 0xFF) return;
    if (type != 2 || !StartsWith(bytes.Bytes(at + 88, 2), "%/")) continue;
    const auto iso = bytes.Bytes(kDiscName, kDiscNameBytes);
    const std::vector<u8> isoName(iso.begin(), iso.end());  // ends with the next bytes
    const std::string label = JolietLabel(bytes.Bytes(at + kDiscName, kDiscNameBytes), isoName);
    if (!label.empty()) note->label = label;
    note->version = "Joliet Extension";
    return;
  }
}

void DescribeUdf(NodeBytes& bytes, ContentNote* note) {
  const u64 block = UdfBlockBytes(bytes);
  if (block == 0) return;
  const u64 count = bytes.Le32(kAnchorBlock * block + 16) / block;
  const u64 first = bytes.Le32(kAnchorBlock * block + 20);
  for (u64 i = 0; i < std::min<u64>(count, kMaxDescriptors); ++i) {
    const u64 at = (first + i) * block;
    const u16 tag = bytes.Le16(at);
    if (bytes.Failed() || tag == kLastDescriptor) return;
    if (!IsDescriptor(bytes, at, tag, first + i)) continue;
    if (tag == kPrimaryDescriptor) note->uuid = UdfUuid(bytes.Bytes(at + 72, 128));
    if (tag == kLogicalDescriptor) {
      note->label = DString(bytes.Bytes(at + 84, 128));
      const u16 revision = bytes.Le16(at + 216 + 24);
      const std::string minor = HexText({{static_cast<u8>(revision)}});
      note->version = std::to_string(revision >> 8) + "." + minor;
    }
  }
}

// A list of pairs: size, decoded size, name, type, number of values, value.
void DescribeZfs(NodeBytes& bytes, ContentNote* note) {
  constexpr u32 kNumber = 8;
  constexpr u32 kText = 9;
  u64 at = 12;
  for (int pairs = 0; pairs < 64; ++pairs) {
    const u32 size = bytes.Be32(at);
    const u32 nameLength = bytes.Be32(at + 8);
    if (bytes.Failed() || size < 24 || size > 4096 || nameLength > 64) return;
    const std::string name = FieldUtf8(bytes.Bytes(at + 12, nameLength));
    const u64 value = at + 12 + Padded(nameLength);
    const u32 type = bytes.Be32(value);
    if (name == "name" && type == kText) {
      note->label = FieldUtf8(bytes.Bytes(value + 12, std::min<u32>(bytes.Be32(value + 8), 255)));
    } else if (name == "pool_guid" && type == kNumber) {
      note->uuid = std::to_string(bytes.Be64(value + 8));
    } else if (name == "version" && type == kNumber) {
      note->version = std::to_string(bytes.Be64(value + 8));
    }
    at += size;
  }
}

// 32 characters, which people see in groups.
void DescribeLvm2(NodeBytes& bytes, ContentNote* note) {
  note->uuid = FieldUtf8(bytes.Bytes(bytes.Le32(20), 32));
  if (note->uuid.size() != 32) return;
  for (const size_t dash : {26u, 22u, 18u, 14u, 10u, 6u}) note->uuid.insert(dash, 1, '-');
}

// The set's four words stand apart, in the byte order of their writer.
void DescribeMd0(NodeBytes& bytes, ContentNote* note) {
  const bool isBig = bytes.Be32(0) == 0xA92B4EFC;
  std::vector<u8> set;
  for (const u64 word : {5u, 13u, 14u, 15u}) {
    const u32 value = isBig ? bytes.Be32(word * 4) : bytes.Le32(word * 4);
    for (const int shift : {24, 16, 8, 0}) set.push_back(static_cast<u8>(value >> shift));
  }
  if (!bytes.Failed()) note->uuid = FieldUuid(set);
}

}  // namespace larkspur
