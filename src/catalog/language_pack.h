// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Language packs in their stored form, which may come from anywhere and is never trusted.
//
// Pack, integers little-endian:
//   0     8  "CIOMLAFI"
//   8     8  class of the pack, not checked
//   16    3  language code
//   19    1  n, length of the language's own name
//   20    n  the name, UTF-8
//   20+n  4  size of the unpacked catalog, 1 to 4 MiB
//   24+n     zlib stream of the catalog
//
// Catalog: "CIOMLANG", then sections back to back. Section:
//   0     4  K, length of the key
//   4     K  key, padded with zero bytes to a multiple of 4
//   4+K   4  B, length of the body
//   8+K   B  body: u16 number of strings, at least 1; a u16 length for each (0xFFFF: the string is
//            absent); the strings' UTF-8 bytes back to back

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/types.h"
#include "base/wide_string.h"

namespace larkspur {

struct PackHeader {
  std::string_view code;         // in the pack's image
  std::u16string name;           // the language's own name
  std::span<const u8> contents;  // from the size of the unpacked catalog on
};

// Nothing when the image is without the magic or ends within the name.
std::optional<PackHeader> ReadPackHeader(std::span<const u8> image);

// The catalog of a pack's contents, its magic included. Empty when the size is out of range, when
// the stream is damaged, cut, or unpacks to another size, or when the magic is missing.
std::vector<u8> UnpackCatalog(std::span<const u8> contents);

// One section of an unpacked catalog at a time.
class SectionReader {
 public:
  // REQUIRES: `catalog` is from UnpackCatalog and outlives the reader.
  explicit SectionReader(std::span<const u8> catalog);

  struct Section {
    std::string_view key;  // up to its first zero byte
    std::span<const u8> body;
  };

  // The next section; nothing at the end, which is where no head of a section fits any more, and
  // nothing when a key or body would run past it (Failed() tells).
  std::optional<Section> Next();
  bool Failed() const { return m_failed; }

 private:
  std::span<const u8> m_rest;
  bool m_failed = false;
};

using MessageTexts = std::vector<cWideString>;

// Replaces `texts` by the strings of a body. False when the count is 0 or its lengths do not fit
// (`texts` is then untouched), or when a string runs past the body (those before it are there, it
// and the following are empty).
bool ReadTexts(std::span<const u8> body, MessageTexts& texts);

}  // namespace larkspur
