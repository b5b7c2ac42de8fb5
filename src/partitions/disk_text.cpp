// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/disk_text.h"

#include <algorithm>
#include <cstring>

#include "base/text.h"

namespace larkspur {

std::u16string DiskText(std::span<const u8> field) {
  auto end = std::find(field.begin(), field.end(), u8{0});
  while (end != field.begin() && *(end - 1) == ' ') --end;
  const auto count = static_cast<size_t>(end - field.begin());
  std::u16string text = WideText(field.first(count));
  const auto isControl = [](char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); };
  std::replace_if(text.begin(), text.end(), isControl, u'\uFFFD');
  return text;
}

bool StartsWith(std::span<const u8> bytes, std::string_view text) {
  return bytes.size() >= text.size() && std::memcmp(bytes.data(), text.data(), text.size()) == 0;
}

std::u16string WideAscii(std::string_view text) {
  return {text.begin(), text.end()};
}

}  // namespace larkspur
