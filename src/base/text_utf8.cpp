// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/text_utf8.h"

#include <cstring>

namespace larkspur::text {
namespace {

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
    const Utf8Character one = TakeUtf8(at, end);
    if (!PutUtf16(one.codePoint, [&out](char16_t unit) { return out.Put(unit); })) return 0;
    at += one.length;
  }
  return out.Count();
}

}  // namespace

Utf8Character TakeUtf8(const u8* at, const u8* end) {
  if (*at < 0x80) return {*at, 1, true};
  const Lead lead = LeadOf(*at);
  if (lead.following == 0) return {};
  u32 codePoint = *at & (0x3Fu >> lead.following);
  u8 first = lead.first, last = lead.last;
  for (size_t i = 1; i <= lead.following; ++i) {
    if (at + i == end || at[i] < first || at[i] > last) return {kReplacement, i, false};
    codePoint = codePoint << 6 | (at[i] & 0x3F);
    first = 0x80;
    last = 0xBF;
  }
  return {codePoint, lead.following + size_t{1}, true};
}

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
      codePoint = FromPair(at[0], at[1]);
      ++at;
    } else if (IsSurrogate(*at)) {
      codePoint = kReplacement;
    }
    if (!PutUtf8(codePoint, [&out](u8 byte) { return out.Put(byte); })) return 0;
  }
  return out.Count();
}

}  // namespace larkspur::text
