// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/text_utf8.h"

#include <cstring>

namespace larkspur::text {
namespace {

constexpr u32 kFirstAstral = 0x10000;
constexpr size_t kBlock = 16;  // bytes looked at together in a search for the end of ASCII text

// The length of the ASCII text at the start of a range, looked at in whole blocks only.
size_t AsciiBlocks(const u8* at, size_t count) {
  size_t length = 0;
  while (count - length >= kBlock) {
    u64 words[2];
    std::memcpy(words, at + length, kBlock);
    if ((words[0] | words[1]) & 0x8080808080808080) break;
    length += kBlock;
  }
  return length;
}

// What lead bytes from 0xC2 on allow: how many bytes follow and the range of the first of them,
// which shuts out overlong forms, surrogates and what lies beyond U+10FFFF.
struct Lead {
  u8 following;
  u8 first, last;
};

Lead LeadOf(u8 byte) {
  if (byte < 0xC2) return {0, 0, 0};
  if (byte < 0xE0) return {1, 0x80, 0xBF};
  if (byte < 0xF0) {
    return {2, static_cast<u8>(byte == 0xE0 ? 0xA0 : 0x80),
            static_cast<u8>(byte == 0xED ? 0x9F : 0xBF)};
  }
  if (byte > 0xF4) return {0, 0, 0};
  return {3, static_cast<u8>(byte == 0xF0 ? 0x90 : 0x80),
          static_cast<u8>(byte == 0xF4 ? 0x8F : 0xBF)};
}

struct Decoded {
  u32 codePoint;
  size_t length;  // bytes taken, at least 1
};

// The character at `at`, whose first byte is no ASCII.
Decoded DecodeOne(const u8* at, const u8* end) {
  const Lead lead = LeadOf(*at);
  if (lead.following == 0) return {kReplacement, 1};
  u32 codePoint = *at & (0x3Fu >> lead.following);
  u8 first = lead.first, last = lead.last;
  for (size_t i = 1; i <= lead.following; ++i) {
    if (at + i == end || at[i] < first || at[i] > last) return {kReplacement, i};
    codePoint = codePoint << 6 | (at[i] & 0x3F);
    first = 0x80;
    last = 0xBF;
  }
  return {codePoint, lead.following + size_t{1}};
}

template <typename Output>
bool PutCodePoint(Output& out, u32 codePoint) {
  if (codePoint < kFirstAstral) return out.Put(static_cast<char16_t>(codePoint));
  return out.Put(static_cast<char16_t>(0xD7C0 + (codePoint >> 10))) &&
         out.Put(static_cast<char16_t>(0xDC00 | (codePoint & 0x3FF)));
}

template <typename Output>
size_t Decode(const u8* at, size_t count, Output out) {
  const u8* const end = at + count;
  while (at != end) {
    if (*at < 0x80) {
      const size_t ascii = AsciiBlocks(at, static_cast<size_t>(end - at));
      if (ascii > out.Room()) return 0;
      out.PutAscii(at, ascii);
      at += ascii;
      for (; at != end && *at < 0x80; ++at) {
        if (!out.Put(*at)) return 0;
      }
      continue;
    }
    const Decoded one = DecodeOne(at, end);
    if (!PutCodePoint(out, one.codePoint)) return 0;
    at += one.length;
  }
  return out.Count();
}

bool PutSequence(ByteOutput& out, u32 codePoint, int following) {
  constexpr u8 kMark[] = {0, 0xC0, 0xE0, 0xF0};
  if (!out.Put(static_cast<u8>(kMark[following] | codePoint >> (6 * following)))) return false;
  while (following-- > 0) {
    if (!out.Put(static_cast<u8>(0x80 | (codePoint >> (6 * following) & 0x3F)))) return false;
  }
  return true;
}

}  // namespace

size_t DecodeUtf8(const u8* bytes, size_t count, WideOutput out) {
  return Decode(bytes, count, out);
}

size_t MeasureUtf8(const u8* bytes, size_t count) {
  return Decode(bytes, count, CountOutput());
}

size_t EncodeUtf8(const char16_t* text, size_t count, ByteOutput out) {
  const char16_t* const end = text + count;
  for (const char16_t* at = text; at != end; ++at) {
    u32 codePoint = *at;
    if (codePoint < 0x80) {
      if (!out.Put(static_cast<u8>(codePoint))) return 0;
      continue;
    }
    if (CharacterUnits(at, end) == 2) {
      codePoint = kFirstAstral + ((codePoint & 0x3FF) << 10 | (*++at & 0x3FF));
    } else if ((codePoint & 0xF800) == 0xD800) {
      codePoint = kReplacement;
    }
    const int following = codePoint < 0x800 ? 1 : codePoint < kFirstAstral ? 2 : 3;
    if (!PutSequence(out, codePoint, following)) return 0;
  }
  return out.Count();
}

}  // namespace larkspur::text
