// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/field_text.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/byte_runs.h"
#include "base/endian.h"
#include "base/path_text.h"
#include "base/printable.h"
#include "base/text.h"
#include "base/text_output.h"

namespace larkspur {
namespace {

constexpr size_t kUuidBytes = 16;

bool IsControl(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

}  // namespace

std::u16string DiskText(std::span<const u8> field) {
  auto end = std::find(field.begin(), field.end(), u8{0});
  while (end != field.begin() && *(end - 1) == ' ') --end;
  const auto count = static_cast<size_t>(end - field.begin());
  std::u16string text = WideText(field.first(count));
  std::replace_if(text.begin(), text.end(), IsControl, text::kReplacement);
  return text;
}

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

bool StartsWith(std::span<const u8> bytes, std::string_view text) {
  return bytes.size() >= text.size() && std::memcmp(bytes.data(), text.data(), text.size()) == 0;
}

std::u16string WideAscii(std::string_view text) {
  return {text.begin(), text.end()};
}

}  // namespace larkspur
