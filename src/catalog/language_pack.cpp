// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "catalog/language_pack.h"

#include <algorithm>

#include <zlib.h>

#include "base/byte_reader.h"
#include "base/text.h"

namespace larkspur {
namespace {

constexpr std::string_view kPackMagic = "CIOMLAFI";
constexpr size_t kCodeOffset = 16, kCodeBytes = 3;
constexpr size_t kNameLengthOffset = 19, kNameOffset = 20;

constexpr u32 kLargestCatalog = 0x400000;
constexpr size_t kSizeBytes = 4;
constexpr std::string_view kCatalogMagic = "CIOMLANG";

constexpr size_t kLengthBytes = 4;      // of a key and of a body
constexpr size_t kSmallestSection = 8;  // an empty key and an empty body
constexpr u16 kAbsent = 0xFFFF;

std::string_view AsText(std::span<const u8> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Unpacks a stream that must fill `out` exactly.
bool Inflate(std::span<const u8> stream, std::span<u8> out) {
  z_stream z{};
  // zlib's interface lacks the const; it does not write to its input.
  z.next_in = const_cast<Bytef*>(stream.data());
  z.avail_in = static_cast<uInt>(std::min<size_t>(stream.size(), ~uInt{0}));
  z.next_out = out.data();
  z.avail_out = static_cast<uInt>(out.size());
  if (inflateInit_(&z, "1.2.5", sizeof z) != Z_OK) return false;
  const bool ended = inflate(&z, Z_FINISH) == Z_STREAM_END;
  inflateEnd(&z);
  return ended && z.avail_out == 0;
}

}  // namespace

std::optional<PackHeader> ReadPackHeader(std::span<const u8> image) {
  ByteReader in(image);
  if (AsText(in.Bytes(0, kPackMagic.size())) != kPackMagic) return std::nullopt;
  const size_t nameBytes = in.U8(kNameLengthOffset);
  const std::span<const u8> name = in.Bytes(kNameOffset, nameBytes);
  if (in.Failed()) return std::nullopt;
  return PackHeader{AsText(in.Bytes(kCodeOffset, kCodeBytes)), WideText(name),
                    image.subspan(kNameOffset + nameBytes)};
}

std::vector<u8> UnpackCatalog(std::span<const u8> contents) {
  const u32 size = ByteReader(contents).Le32(0);
  if (size < kCatalogMagic.size() || size > kLargestCatalog) return {};
  std::vector<u8> catalog(size);
  if (!Inflate(contents.subspan(kSizeBytes), catalog)) return {};
  if (!AsText(catalog).starts_with(kCatalogMagic)) return {};
  return catalog;
}

SectionReader::SectionReader(std::span<const u8> catalog)
    : m_rest(catalog.subspan(kCatalogMagic.size())) {}

std::optional<SectionReader::Section> SectionReader::Next() {
  if (m_failed || m_rest.size() < kSmallestSection) return std::nullopt;
  ByteReader in(m_rest);
  const size_t keyBytes = in.Le32(0);
  const std::string_view key = AsText(in.Bytes(kLengthBytes, keyBytes));
  const size_t bodyBytes = in.Le32(kLengthBytes + keyBytes);
  const size_t bodyOffset = kLengthBytes + keyBytes + kLengthBytes;
  const std::span<const u8> body = in.Bytes(bodyOffset, bodyBytes);
  m_failed = in.Failed();
  if (m_failed) return std::nullopt;
  m_rest = m_rest.subspan(bodyOffset + bodyBytes);
  return Section{key.substr(0, key.find('\0')), body};
}

bool ReadTexts(std::span<const u8> body, MessageTexts& texts) {
  ByteReader in(body);
  const size_t count = in.Le16(0);
  size_t at = 2 + 2 * count;
  if (count == 0 || at > body.size()) return false;
  texts = MessageTexts(count);
  for (size_t i = 0; i < count; ++i) {
    const u16 length = in.Le16(2 + 2 * i);
    if (length == kAbsent) continue;
    const std::span<const u8> utf8 = in.Bytes(at, length);
    if (in.Failed()) return false;
    texts[i].Assign(WideText(utf8));
    at += length;
  }
  return true;
}

}  // namespace larkspur
