// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The pages that put a national character set behind escape sequences (50221, 50227) or into the
// upper half of the byte (51932, 51936). A character of the set is two bytes 0x21..0x7E, row and
// cell; its meaning is looked up in page 932 (JIS X 0208 with the vendor rows) or 936 (GB 2312
// with Microsoft's additions).
//
//   50221  ESC ( B  ASCII               50227  ESC $ ) A  SO means GB 2312
//          ESC ( J  ASCII (JIS Roman)          SO         GB 2312
//          ESC ( I  half-width kana            SI         ASCII
//          ESC $ @  JIS X 0208 (also $ B)
//          SO, SI   half-width kana and back
//   51932  two bytes from 0xA1 on, 0x8E and a half-width kana
//   51936  two bytes from 0xA1 on
//
// Text is written so that it ends in ASCII, and every control character stands in ASCII; ESC, SO
// and SI themselves cannot be written in the pages that they control. An escape sequence that the
// page does not have is read as characters.

#include "base/text_output.h"

namespace larkspur::text {

struct NationalPage;

// Null when the page is none of the four.
const NationalPage* FindNational(u32 codePage);

size_t DecodeNational(const NationalPage& page, const u8* bytes, size_t count, WideOutput out);
size_t MeasureNational(const NationalPage& page, const u8* bytes, size_t count);
size_t EncodeNational(const NationalPage& page, const char16_t* text, size_t count, ByteOutput out);

}  // namespace larkspur::text
