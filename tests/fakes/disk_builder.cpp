// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fakes/disk_builder.h"

#include <algorithm>

#include "fakes/tree_text.h"

namespace larkspur::fakes {
namespace {

u8 HexByte(std::string_view text) {
  return static_cast<u8>(std::stoul(std::string(text), nullptr, 16));
}

// The bytes of a GUID's text as they stand on disk: the first three groups are little-endian.
std::vector<u8> GuidBytes(std::string_view text) {
  constexpr size_t kDigits[] = {6, 4, 2, 0, 11, 9, 16, 14, 19, 21, 24, 26, 28, 30, 32, 34};
  std::vector<u8> bytes;
  for (const size_t at : kDigits) bytes.push_back(HexByte(text.substr(at, 2)));
  return bytes;
}

}  // namespace

u8* DiskBuilder::At(u64 sector, size_t offset, size_t length) {
  const size_t at = sector * kSectorBytes + offset;
  if (m_bytes.size() < at + length) m_bytes.resize(at + length);
  return &m_bytes[at];
}

DiskBuilder& DiskBuilder::Text(u64 sector, size_t offset, std::string_view text) {
  std::copy(text.begin(), text.end(), At(sector, offset, text.size()));
  return *this;
}

DiskBuilder& DiskBuilder::Le(u64 sector, size_t offset, size_t width, u64 value) {
  u8* to = At(sector, offset, width);
  for (size_t i = 0; i < width; ++i) to[i] = static_cast<u8>(value >> (8 * i));
  return *this;
}

DiskBuilder& DiskBuilder::Be(u64 sector, size_t offset, size_t width, u64 value) {
  u8* to = At(sector, offset, width);
  for (size_t i = 0; i < width; ++i) to[width - 1 - i] = static_cast<u8>(value >> (8 * i));
  return *this;
}

DiskBuilder& DiskBuilder::Mbr(u64 sector) {
  return Le(sector, 510, 2, 0xAA55);
}

DiskBuilder& DiskBuilder::MbrEntry(u64 sector, size_t index, u8 type, u64 start, u64 count) {
  const size_t at = 446 + index * 16;
  return Mbr(sector)
      .Le(sector, at + 4, 1, type)
      .Le(sector, at + 8, 4, start)
      .Le(sector, at + 12, 4, count);
}

DiskBuilder& DiskBuilder::Gpt(u64 header, u64 ownLba, u32 entries, u32 factor) {
  Text(header, 0, "EFI PART").Le(header, 24, 8, ownLba).Le(header, 72, 8, ownLba + 1);
  Le(header, 80, 4, entries).Le(header, 84, 4, 128);
  At(header + factor, 0, size_t{entries} * 128);
  return *this;
}

DiskBuilder& DiskBuilder::GptEntry(u64 header, u32 index, std::string_view typeGuid, u64 firstLba,
                                   u64 lastLba, u32 factor) {
  const u64 array = header + factor;
  const size_t at = size_t{index} * 128;
  const std::vector<u8> guid = GuidBytes(typeGuid);
  std::copy(guid.begin(), guid.end(), At(array, at, guid.size()));
  return Le(array, at + 32, 8, firstLba).Le(array, at + 40, 8, lastLba);
}

DiskBuilder& DiskBuilder::XorSum(u64 sector, size_t offset, size_t length) {
  Le(sector, offset, 2, 0);
  const u8* bytes = At(sector, 0, length);
  u8 sum[2] = {};
  for (size_t i = 0; i < length; ++i) sum[i % 2] = static_cast<u8>(sum[i % 2] ^ bytes[i]);
  return Le(sector, offset, 1, sum[0]).Le(sector, offset + 1, 1, sum[1]);
}

std::string DiskBuilder::Tree() const {
  return TreeText(m_bytes);
}

}  // namespace larkspur::fakes
