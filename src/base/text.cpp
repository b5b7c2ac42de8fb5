// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/text.h"

#include "base/text_double_byte.h"
#include "base/text_iso2022.h"
#include "base/text_single_byte.h"
#include "base/text_utf8.h"
#include "platform/clock.h"
#include "platform/locale.h"

namespace larkspur {
namespace {

constexpr CodePage kCodePages[] = {
    {65001, "UTF-8 Unicode"},
    {1250, "ANSI - Central European / CP-1250"},
    {1251, "ANSI - Cyrillic / CP-1251"},
    {1252, "ANSI - Latin I / CP-1252"},
    {1254, "ANSI - Turkish / CP-1254"},
    {1255, "ANSI - Hebrew / CP-1255"},
    {850, "OEM - Multilingual Latin I / cp850"},
    {858, "OEM - Multilingual Latin I / cp858"},
    {852, "OEM - Latin II / cp852"},
    {866, "OEM - Russian / cp866"},
    {855, "OEM - Cyrillic / cp855"},
    {437, "OEM - United States"},
    {862, "OEM - Hebrew / cp862"},
    {737, "OEM - Greek / 437G"},
    {857, "OEM - Turkish / cp857"},
    {20866, "Russian - KOI8-R"},
    {21866, "Ukrainian - KOI8-U"},
    {28591, "ISO 8859-1 Latin I"},
    {28592, "ISO 8859-2 Central Europe"},
    {28593, "ISO 8859-3 Latin 3"},
    {28595, "ISO 8859-5 Cyrillic"},
    {28596, "ISO 8859-6 Arabic"},
    {28597, "ISO 8859-7 Greek"},
    {28598, "ISO 8859-8 Hebrew"},
    {28599, "ISO 8859-9 Latin 5"},
    {28605, "ISO 8859-15 Latin 9"},
    {10007, "MAC - Cyrillic"},
    {10029, "MAC - Latin II"},
    {37, "IBM EBCDIC - U.S./Canada (037)"},
    {500, "IBM EBCDIC - International (500)"},
    {870, "Multilingual/ROECE (Latin-2) (870)"},
    {932, "ANSI/OEM - Japanese, Shift-JIS "},
    {936, "ANSI/OEM - Simplified Chinese (PRC, Singapore) "},
    {949, "ANSI/OEM - Korean (Unified Hangeul Code) "},
    {950, "ANSI/OEM - Traditional Chinese (Taiwan; Hong Kong SAR, PRC)  "},
    {50221, "ISO 2022 - Japanese"},
    {50227, "ISO 2022 - Chinese"},
    {51932, "EUC - Japanese"},
    {51936, "EUC - Chinese"},
};

u32 Resolve(u32 codePage) {
  return codePage == 0 ? platform::AnsiCodePage() : codePage;
}

}  // namespace

size_t BytesToWide(const void* bytes, size_t count, char16_t* out, size_t capacity, u32 codePage) {
  if (!bytes || count == 0 || !out) return 0;
  const u8* const from = static_cast<const u8*>(bytes);
  const text::WideOutput to(out, capacity);
  const u32 page = Resolve(codePage);
  if (page == kUtf8CodePage) return text::DecodeUtf8(from, count, to);
  if (const auto* table = text::FindSingleByte(page)) {
    return text::DecodeSingleByte(*table, from, count, to);
  }
  if (const auto* pairs = text::DoubleBytePage::Find(page)) {
    return text::DecodeDoubleByte(*pairs, from, count, to);
  }
  if (const auto* national = text::FindNational(page)) {
    return text::DecodeNational(*national, from, count, to);
  }
  return 0;
}

std::u16string WideText(std::span<const u8> bytes, u32 codePage) {
  std::u16string text(WideLength(bytes.data(), bytes.size(), codePage), u'\0');
  text.resize(BytesToWide(bytes.data(), bytes.size(), text.data(), text.size(), codePage));
  return text;
}

size_t WideToBytes(const char16_t* text, size_t count, void* out, size_t capacity, u32 codePage) {
  if (!text || count == 0 || !out) return 0;
  const text::ByteOutput to(static_cast<u8*>(out), capacity);
  const u32 page = Resolve(codePage);
  if (page == kUtf8CodePage) return text::EncodeUtf8(text, count, to);
  if (const auto* table = text::FindSingleByte(page)) {
    return text::EncodeSingleByte(*table, text, count, to);
  }
  if (const auto* pairs = text::DoubleBytePage::Find(page)) {
    return text::EncodeDoubleByte(*pairs, text, count, to);
  }
  if (const auto* national = text::FindNational(page)) {
    return text::EncodeNational(*national, text, count, to);
  }
  return 0;
}

size_t WideLength(const void* bytes, size_t count, u32 codePage) {
  if (!bytes || count == 0) return 0;
  const u8* const from = static_cast<const u8*>(bytes);
  const u32 page = Resolve(codePage);
  if (page == kUtf8CodePage) return text::MeasureUtf8(from, count);
  if (text::FindSingleByte(page)) return count;
  if (const auto* pairs = text::DoubleBytePage::Find(page)) {
    return text::MeasureDoubleByte(*pairs, from, count);
  }
  if (const auto* national = text::FindNational(page)) {
    return text::MeasureNational(*national, from, count);
  }
  return 0;
}

std::span<const CodePage> KnownCodePages() {
  return kCodePages;
}

const char* CodePageName(u32 codePage) {
  for (const CodePage& page : kCodePages) {
    if (page.number == codePage) return page.name;
  }
  return nullptr;
}

i64 LocalToUtc(i64 localSeconds) {
  return platform::LocalToUtcSeconds(localSeconds);
}

}  // namespace larkspur
