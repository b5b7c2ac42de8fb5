// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/field_text.h"

#include <array>

#include "base/endian.h"
#include "base/path_text.h"
#include "base/printable.h"
#include "base/text_output.h"
#include "base/zeros.h"
#include "partitions/disk_text.h"

namespace larkspur {
namespace {

constexpr size_t kUuidBytes = 16;

bool IsControl(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

}  // namespace

std::string FieldUtf8(std::span<const u8> field) {
  return Utf8FromWide(DiskText(field));
}

std::string FieldUtf16(std::span<const u8> field, bool bigEndian) {
  std::u16string units;
  for (size_t at = 0; at + 1 < field.size(); at += 2) {
    const char16_t unit = bigEndian ? LoadBe16(&field[at]) : LoadLe16(&field[at]);
    if (unit == 0) break;
    units += IsControl(unit) ? text::kReplacement : unit;
  }
  for (auto at = units.begin(); at != units.end(); ++at) {
    if (text::CharacterUnits(&*at, units.data() + units.size()) == 2) {
      ++at;
    } else if (text::IsSurrogate(*at)) {  // half of a pair
      *at = text::kReplacement;
    }
  }
  while (!units.empty() && units.back() == u' ') units.pop_back();
  return Utf8FromWide(units);
}

std::string FieldUuid(std::span<const u8> field) {
  if (field.size() != kUuidBytes || IsAllZero(field)) return {};
  std::string text = HexText(field);
  for (const size_t at : {20u, 16u, 12u, 8u}) text.insert(at, 1, '-');
  return text;
}

std::string FieldGuid(std::span<const u8> field) {
  if (field.size() != kUuidBytes) return {};
  constexpr std::array<size_t, kUuidBytes> kOrder = {3, 2, 1,  0,  5,  4,  7,  6,
                                                     8, 9, 10, 11, 12, 13, 14, 15};
  std::array<u8, kUuidBytes> bytes;
  for (size_t i = 0; i < kUuidBytes; ++i) bytes[i] = field[kOrder[i]];
  return FieldUuid(bytes);
}

}  // namespace larkspur
