// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/path_text.h"

#include "base/types.h"

namespace larkspur {
namespace {

constexpr char32_t kFirstAstral = 0x10000;
constexpr char32_t kLastCodePoint = 0x10FFFF;
constexpr char16_t kEscapedByte = 0xDC00;  // plus the byte, which is 0x80 or more

bool IsHighSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(char32_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}
bool IsEscapedByte(char32_t unit) {
  return unit >= 0xDC80 && unit <= 0xDCFF;
}
bool IsContinuation(char byte) {
  return (static_cast<u8>(byte) & 0xC0) == 0x80;
}

// The length that a lead byte announces, 0 for bytes that begin nothing.
size_t SequenceLength(u8 lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, kFirstAstral};

// The code point at the start of `text` and its length; length 0 when there is no valid one.
struct Decoded {
  char32_t codePoint;
  size_t length;
};

Decoded DecodeOne(std::string_view text) {
  const u8 lead = static_cast<u8>(text[0]);
  const size_t length = SequenceLength(lead);
  if (length == 1) return {lead, 1};
  if (length == 0 || length > text.size()) return {0, 0};
  char32_t codePoint = lead & (0x7Fu >> length);
  for (size_t i = 1; i < length; ++i) {
    if (!IsContinuation(text[i])) return {0, 0};
    codePoint = codePoint << 6 | (static_cast<u8>(text[i]) & 0x3F);
  }
  const bool valid =
      codePoint >= kSmallest[length] && codePoint <= kLastCodePoint && !IsEscapedByte(codePoint);
  return valid ? Decoded{codePoint, length} : Decoded{0, 0};
}

void AppendUtf8(std::string& out, char32_t codePoint) {
  if (codePoint < 0x80) {
    out += static_cast<char>(codePoint);
    return;
  }
  const int more = codePoint < 0x800 ? 1 : codePoint < kFirstAstral ? 2 : 3;
  constexpr u8 kLeadMark[] = {0, 0xC0, 0xE0, 0xF0};
  out += static_cast<char>(kLeadMark[more] | codePoint >> (6 * more));
  for (int i = more - 1; i >= 0; --i) {
    out += static_cast<char>(0x80 | (codePoint >> (6 * i) & 0x3F));
  }
}

}  // namespace

std::u16string WideFromUtf8(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const Decoded one = DecodeOne(text);
    if (one.length == 0) {
      out += static_cast<char16_t>(kEscapedByte + static_cast<u8>(text[0]));
    } else if (one.codePoint >= kFirstAstral) {
      out += static_cast<char16_t>(0xD800 + ((one.codePoint - kFirstAstral) >> 10));
      out += static_cast<char16_t>(0xDC00 + (one.codePoint & 0x3FF));
    } else {
      out += static_cast<char16_t>(one.codePoint);
    }
    text.remove_prefix(one.length ? one.length : 1);
  }
  return out;
}

std::string Utf8FromWide(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t codePoint = text[i];
    if (IsEscapedByte(codePoint)) {
      out += static_cast<char>(codePoint - kEscapedByte);
      continue;
    }
    if (IsHighSurrogate(codePoint) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      codePoint = kFirstAstral + ((codePoint - 0xD800) << 10) + (text[++i] - 0xDC00u);
    }
    AppendUtf8(out, codePoint);
  }
  return out;
}

}  // namespace larkspur
