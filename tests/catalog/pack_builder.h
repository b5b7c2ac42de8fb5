// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Language packs for tests, right ones and wrong ones alike.

#include <optional>
#include <string>
#include <vector>

#include <zlib.h>

#include "base/types.h"

namespace larkspur::fakes {

inline std::string Le16(u32 value) {
  return {static_cast<char>(value), static_cast<char>(value >> 8)};
}
inline std::string Le32(u32 value) {
  return Le16(value) + Le16(value >> 16);
}

// A body; nothing stands for an absent text.
inline std::string Body(const std::vector<std::optional<std::string>>& texts) {
  std::string lengths, bytes;
  for (const auto& text : texts) {
    lengths += Le16(text ? static_cast<u32>(text->size()) : 0xFFFF);
    bytes += text.value_or("");
  }
  return Le16(static_cast<u32>(texts.size())) + lengths + bytes;
}

inline std::string Section(std::string key, const std::string& body) {
  key.resize((key.size() + 3) / 4 * 4);
  return Le32(static_cast<u32>(key.size())) + key + Le32(static_cast<u32>(body.size())) + body;
}

inline std::string Compressed(const std::string& data) {
  uLongf size = compressBound(static_cast<uLong>(data.size()));
  std::string out(size, '\0');
  compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(data.data()),
           static_cast<uLong>(data.size()));
  out.resize(size);
  return out;
}

inline std::string Head(const std::string& code = "TST", const std::string& name = "Test") {
  return "CIOMLAFICIOMBASE" + code + static_cast<char>(name.size()) + name;
}

// A pack of sections, as it should be.
inline std::string Pack(const std::string& sections, const std::string& code = "TST",
                        const std::string& name = "Test") {
  const std::string catalog = "CIOMLANG" + sections;
  return Head(code, name) + Le32(static_cast<u32>(catalog.size())) + Compressed(catalog);
}

}  // namespace larkspur::fakes
