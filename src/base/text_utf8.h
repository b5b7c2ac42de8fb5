// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// UTF-8: one character for all who read or write it, and whole texts for text.h.

#include "base/text_output.h"

namespace larkspur::text {

constexpr u32 kFirstAstral = 0x10000;  // from here on UTF-16 takes two units

// The code point of a surrogate pair.
constexpr u32 FromPair(char16_t high, char16_t low) {
  return kFirstAstral + ((high & 0x3FFu) << 10 | (low & 0x3FFu));
}

struct Utf8Character {
  u32 codePoint = kReplacement;
  size_t length = 1;     // bytes; of no character: how many go wrong together
  bool isValid = false;  // no overlong form, no surrogate, nothing beyond U+10FFFF
};

// The character at the start of [at, end), which is not empty.
Utf8Character TakeUtf8(const u8* at, const u8* end);

// Gives the bytes of a code point, surrogates included, to put(byte) until it answers false.
template <typename Put>
bool PutUtf8(u32 codePoint, Put put) {
  constexpr u8 kMark[] = {0, 0xC0, 0xE0, 0xF0};
  int following = codePoint < 0x80 ? 0 : codePoint < 0x800 ? 1 : codePoint < kFirstAstral ? 2 : 3;
  if (!put(static_cast<u8>(kMark[following] | codePoint >> (6 * following)))) return false;
  while (following-- > 0) {
    if (!put(static_cast<u8>(0x80 | (codePoint >> (6 * following) & 0x3F)))) return false;
  }
  return true;
}

// Of a code point in UTF-16: its units go to put(unit) until it answers false.
template <typename Put>
bool PutUtf16(u32 codePoint, Put put) {
  if (codePoint < kFirstAstral) return put(static_cast<char16_t>(codePoint));
  return put(static_cast<char16_t>(0xD7C0 + (codePoint >> 10))) &&
         put(static_cast<char16_t>(0xDC00 | (codePoint & 0x3FF)));
}

// Each of these returns the units or bytes given, 0 when they do not fit.
size_t DecodeUtf8(const u8* bytes, size_t count, WideOutput out);
size_t MeasureUtf8(const u8* bytes, size_t count);
size_t EncodeUtf8(const char16_t* text, size_t count, ByteOutput out);

}  // namespace larkspur::text
