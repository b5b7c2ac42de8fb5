// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/luks.h"

#include <algorithm>
#include <charconv>
#include <vector>

#include <nlohmann/json.hpp>

#include "base/byte_reader.h"
#include "partitions/disk_text.h"
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

std::string StringAt(const nlohmann::json& object, const char* key) {
  const auto value = object.find(key);
  return value != object.end() && value->is_string() ? value->get<std::string>() : std::string();
}

// "aes-xts-plain64" is a cipher and its mode; the offset is a decimal string in bytes.
void ReadSegment(const nlohmann::json& segment, cLUKSPartInfo* info) {
  if (!segment.is_object()) return;
  const std::string cipher = StringAt(segment, "encryption");
  const size_t dash = std::min(cipher.find('-'), cipher.size());
  const std::string_view name = std::string_view(cipher).substr(0, dash);
  const std::string_view mode = std::string_view(cipher).substr(std::min(dash + 1, cipher.size()));
  const auto bytes = [](std::string_view text) {
    return std::span(reinterpret_cast<const u8*>(text.data()), text.size());
  };
  info->m_cipherName.Assign(DiskText(bytes(name)));
  info->m_cipherMode.Assign(DiskText(bytes(mode)));
  const std::string offset = StringAt(segment, "offset");
  u64 offsetBytes = 0;
  std::from_chars(offset.data(), offset.data() + offset.size(), offsetBytes);
  info->m_payloadOffset = offsetBytes / kSectorBytes;
}

void ReadJson(std::span<const u8> area, cLUKSPartInfo* info) {
  const auto end = std::find(area.begin(), area.end(), u8{0});
  const auto root = nlohmann::json::parse(area.begin(), end, nullptr, false);
  if (!root.is_object()) return;
  const auto segments = root.find("segments");
  if (segments == root.end() || !segments->is_object()) return;
  const auto first = segments->find("0");
  if (first != segments->end()) ReadSegment(*first, info);
}

cLUKSPartInfo* ReadVersion2(Scan& scan, const cPartTreeItem& node, ByteReader& header) {
  auto* info = new cLUKSPartInfo;
  info->m_version = 2;
  info->m_uuid.Assign(DiskText(header.Bytes(kUuid, kUuidBytes)));
  const u64 jsonBytes = header.Be64(kHeaderBytes2) - kJsonStart;
  std::vector<u8> json(jsonBytes);
  const u64 first = node.m_start + kJsonStart / kSectorBytes;
  if (scan.ReadAround(first, static_cast<u32>(jsonBytes / kSectorBytes), json.data()) > 0) {
    ReadJson(json, info);
  }
  return info;
}

}  // namespace

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

}  // namespace larkspur
