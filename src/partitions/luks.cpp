// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// LUKS headers (LUKS On-Disk Format 1.2.3, LUKS2 On-Disk Format 1.1).
//
// Version 1, big-endian:
//   0    6   "LUKS" BA BE
//   6    2   version
//   8    32  cipher, 40 32 mode, 72 32 hash
//   104  4   payload offset (sectors), 108 4 key length (bytes)
//   168  40  UUID
//   208      8 key slots of 48 bytes: 0 u32 state, 40 u32 first sector of the key material
// Version 2: 8 u64 length of the header with its JSON area, 168 40 UUID; 4096 the JSON text.
//
// What lies after a header is encrypted, so it gets no node of its own: the record says where it
// begins.

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "base/byte_reader.h"
#include "partitions/field_text.h"
#include "partitions/formats.h"
#include "partitions/part_records.h"

namespace larkspur {
namespace {

constexpr std::string_view kMagic = "LUKS\xBA\xBE";
constexpr size_t kVersion = 6;
constexpr size_t kCipher = 8;
constexpr size_t kMode = 40;
constexpr size_t kHash = 72;
constexpr size_t kTextBytes = 32;
constexpr size_t kPayload = 104;
constexpr size_t kKeyBytes = 108;
constexpr size_t kUuid = 168;
constexpr size_t kUuidBytes = 40;
constexpr size_t kSlots = 208;
constexpr size_t kSlotCount = 8;
constexpr size_t kSlotBytes = 48;
constexpr size_t kSlotMaterial = 40;
constexpr u32 kSlotActive = 0x00AC71F3;
constexpr u32 kSlotInactive = 0x0000DEAD;
constexpr u32 kMaxKeyBytes = 64;

constexpr size_t kHeaderBytes2 = 8;
constexpr u64 kJsonStart = 4096;
constexpr u64 kMinHeader2 = 16384;
constexpr u64 kMaxHeader2 = u64{4} << 20;

bool HasValidSlots(ByteReader& header, u32 payload) {
  for (size_t i = 0; i < kSlotCount; ++i) {
    const size_t at = kSlots + i * kSlotBytes;
    const u32 state = header.Be32(at);
    if (state == kSlotInactive) continue;
    if (state != kSlotActive || header.Be32(at + kSlotMaterial) >= payload) return false;
  }
  return true;
}

bool IsVersion1(ByteReader& header, u64 sectors) {
  const u32 payload = header.Be32(kPayload);
  return payload < sectors && header.Be32(kKeyBytes) <= kMaxKeyBytes &&
         HasValidSlots(header, payload);
}

// The fields of version 1 are random bytes and text there, so version 2 is known by its own.
bool IsVersion2(ByteReader& header) {
  const u64 length = header.Be64(kHeaderBytes2);
  return header.Be16(kVersion) == 2 && length >= kMinHeader2 && length <= kMaxHeader2 &&
         (length & (length - 1)) == 0;
}

cLUKSPartInfo* ReadVersion1(ByteReader& header) {
  auto* info = new cLUKSPartInfo;
  info->m_version = header.Be16(kVersion);
  info->m_cipherName.Assign(DiskText(header.Bytes(kCipher, kTextBytes)));
  info->m_cipherMode.Assign(DiskText(header.Bytes(kMode, kTextBytes)));
  info->m_hash.Assign(DiskText(header.Bytes(kHash, kTextBytes)));
  info->m_payloadOffset = header.Be32(kPayload);
  info->m_keyBytes = header.Be32(kKeyBytes);
  info->m_uuid.Assign(DiskText(header.Bytes(kUuid, kUuidBytes)));
  return info;
}

// What the text says of its segment "0": the cipher with its mode, and a decimal number of bytes.
struct Segment {
  std::string encryption;
  std::string offset;
};

// Takes the text's events and keeps nothing but the path that leads to the segment. Numbers are
// written as strings there. Once the segment ends, so does the text.
class SegmentEvents {
 public:
  explicit SegmentEvents(Segment* segment) : m_segment(segment) {}

  bool null() { return true; }
  bool boolean(bool /*value*/) { return true; }
  bool number_integer(i64 /*value*/) { return true; }
  bool number_unsigned(u64 /*value*/) { return true; }
  bool number_float(double /*value*/, const std::string& /*text*/) { return true; }
  bool binary(std::vector<u8>& /*value*/) { return true; }
  bool string(std::string& value) {
    if (!IsInSegment()) return true;
    if (m_key == "encryption") m_segment->encryption = value.substr(0, kTextBytes * 2);
    if (m_key == "offset") m_segment->offset = value.substr(0, kTextBytes);
    return true;
  }
  bool key(std::string& value) {
    m_key = value.substr(0, kTextBytes);
    return true;
  }
  bool start_object(size_t /*elements*/) { return Open(); }
  bool start_array(size_t /*elements*/) { return Open(); }
  bool end_object() {
    if (IsInSegment()) return false;
    return Close();
  }
  bool end_array() { return Close(); }
  bool parse_error(size_t /*position*/, const std::string& /*token*/,
                   const nlohmann::json::exception& /*fault*/) {
    return false;
  }

 private:
  static constexpr std::string_view kPath[] = {"", "segments", "0"};
  static constexpr size_t kPathLength = std::size(kPath);

  bool IsInSegment() const { return m_depth == kPathLength && m_matched == kPathLength; }
  bool Open() {
    const bool isNext = m_matched == m_depth && m_depth < kPathLength && m_key == kPath[m_depth];
    m_matched += isNext;
    ++m_depth;
    return true;
  }
  bool Close() {
    --m_depth;
    m_matched = std::min(m_matched, m_depth);
    return true;
  }

  Segment* m_segment;
  std::string m_key;
  size_t m_depth = 0;    // of what is open
  size_t m_matched = 0;  // of these, how many are on the path
};

// The bytes of a header's text up to its first zero byte, read as they are wanted: most end with
// the first piece. Sectors that do not come count as that byte.
class JsonBytes {
 public:
  JsonBytes(Scan& scan, u64 sector, u64 bytes)
      : m_scan(scan), m_sector(sector), m_left(bytes / kSectorBytes) {}

  bool AtEnd() {
    if (m_at == m_piece.size()) Refill();
    return m_at == m_piece.size() || m_piece[m_at] == 0;
  }
  char Current() const { return static_cast<char>(m_piece[m_at]); }
  void Advance() { ++m_at; }

 private:
  void Refill() {
    constexpr u64 kPieceSectors = (u64{64} << 10) / kSectorBytes;
    const u32 count = static_cast<u32>(std::min(kPieceSectors, m_left));
    if (count == 0 || !m_scan.Limits().Spend(Budget::kTextBytes, u64{count} * kSectorBytes)) return;
    m_piece.resize(size_t{count} * kSectorBytes);
    m_at = 0;
    m_scan.ReadAround(m_sector, count, m_piece.data());
    m_sector += count;
    m_left -= count;
  }

  Scan& m_scan;
  u64 m_sector;
  u64 m_left;  // sectors
  std::vector<u8> m_piece;
  size_t m_at = 0;
};

// JsonBytes as the parser takes them; without any it is the end.
class JsonIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = char;

  explicit JsonIterator(JsonBytes* bytes = nullptr) : m_bytes(bytes) {}
  char operator*() const { return m_bytes->Current(); }
  JsonIterator& operator++() {
    m_bytes->Advance();
    return *this;
  }
  bool operator==(const JsonIterator& other) const { return AtEnd() == other.AtEnd(); }
  bool operator!=(const JsonIterator& other) const { return !(*this == other); }

 private:
  bool AtEnd() const { return !m_bytes || m_bytes->AtEnd(); }

  JsonBytes* m_bytes;
};

// "aes-xts-plain64" is a cipher and its mode.
void SetSegment(const Segment& segment, cLUKSPartInfo* info) {
  const std::string_view cipher = segment.encryption;
  const size_t dash = std::min(cipher.find('-'), cipher.size());
  const auto bytes = [](std::string_view text) {
    return std::span(reinterpret_cast<const u8*>(text.data()), text.size());
  };
  info->m_cipherName.Assign(DiskText(bytes(cipher.substr(0, dash))));
  info->m_cipherMode.Assign(DiskText(bytes(cipher.substr(std::min(dash + 1, cipher.size())))));
  u64 offsetBytes = 0;
  std::from_chars(segment.offset.data(), segment.offset.data() + segment.offset.size(),
                  offsetBytes);
  info->m_payloadOffset = offsetBytes / kSectorBytes;
}

cLUKSPartInfo* ReadVersion2(Scan& scan, const cPartTreeItem& node, ByteReader& header) {
  auto* info = new cLUKSPartInfo;
  info->m_version = 2;
  info->m_uuid.Assign(DiskText(header.Bytes(kUuid, kUuidBytes)));
  JsonBytes bytes(scan, node.m_start + kJsonStart / kSectorBytes,
                  header.Be64(kHeaderBytes2) - kJsonStart);
  Segment segment;
  SegmentEvents events(&segment);
  nlohmann::json::sax_parse(JsonIterator(&bytes), JsonIterator(), &events);
  SetSegment(segment, info);
  return info;
}

bool ProbeLuks(Scan& /*scan*/, const cPartTreeItem& node, NodeFront front) {
  ByteReader header(std::span<const u8>(front).first(kSlots + kSlotCount * kSlotBytes));
  if (!StartsWith(front, kMagic)) return false;
  return IsVersion2(header) || IsVersion1(header, node.m_length);
}

bool ParseLuks(Scan& scan, cPartTreeItem& node) {
  u8 front[2 * kSectorBytes];
  if (scan.Read(node.m_start, 2, front) != 2) return false;
  ByteReader header(front);
  AddExtension(node, IsVersion2(header) ? ReadVersion2(scan, node, header) : ReadVersion1(header));
  return true;
}

using cLUKSPartParser = FormatParser<kParserLUKS, ParseLuks>;

}  // namespace

constinit const Format kLuksFormat{
    "cLUKSPartParser",           "LUKS header", kParserLUKS, true, ProbeLuks,
    MakeParser<cLUKSPartParser>, ParseLuks};

}  // namespace larkspur
