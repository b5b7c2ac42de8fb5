// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/path_text.h"

#include "base/text_utf8.h"

namespace larkspur {
namespace {

constexpr u32 kEscapedByte = 0xDC00;  // plus the byte, which is 0x80 or more
constexpr size_t kSurrogateBytes = 3;

bool IsEscapedByte(u32 unit) {
  return unit >= 0xDC80 && unit <= 0xDCFF;
}

// The lone surrogate that the bytes begin with in UTF-8's pattern; 0 when there is none, or when it
// would stand for a byte.
u32 TakeSurrogate(std::string_view bytes) {
  const auto byte = [&bytes](size_t i) { return static_cast<u8>(bytes[i]); };
  const bool isOne = bytes.size() >= kSurrogateBytes && byte(0) == 0xED && byte(1) >= 0xA0 &&
                     byte(1) <= 0xBF && (byte(2) & 0xC0) == 0x80;
  if (!isOne) return 0;
  const u32 unit = 0xD000u | (byte(1) & 0x3Fu) << 6 | (byte(2) & 0x3Fu);
  return IsEscapedByte(unit) ? 0 : unit;
}

}  // namespace

std::u16string WideFromUtf8(std::string_view bytes) {
  std::u16string wide;
  wide.reserve(bytes.size());
  const auto put = [&wide](char16_t unit) {
    wide += unit;
    return true;
  };
  while (!bytes.empty()) {
    const u8* const first = reinterpret_cast<const u8*>(bytes.data());
    const text::Utf8Character one = text::TakeUtf8(first, first + bytes.size());
    size_t length = one.length;
    if (one.isValid) {
      text::PutUtf16(one.codePoint, put);
    } else if (const u32 unit = TakeSurrogate(bytes)) {
      put(static_cast<char16_t>(unit));
      length = kSurrogateBytes;
    } else {
      put(static_cast<char16_t>(kEscapedByte + *first));
      length = 1;
    }
    bytes.remove_prefix(length);
  }
  return wide;
}

std::string Utf8FromWide(std::u16string_view wide) {
  std::string bytes;
  bytes.reserve(wide.size());
  const auto put = [&bytes](u8 byte) {
    bytes += static_cast<char>(byte);
    return true;
  };
  const char16_t* const end = wide.data() + wide.size();
  for (const char16_t* at = wide.data(); at != end; ++at) {
    if (IsEscapedByte(*at)) {
      put(static_cast<u8>(*at - kEscapedByte));
    } else if (text::CharacterUnits(at, end) == 2) {
      text::PutUtf8(text::FromPair(at[0], at[1]), put);
      ++at;
    } else {
      text::PutUtf8(*at, put);
    }
  }
  return bytes;
}

}  // namespace larkspur
