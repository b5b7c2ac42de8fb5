// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/json_text.h"

#include <fmt/core.h>
#include <nlohmann/json.hpp>

#include "base/printable.h"
#include "base/types.h"

namespace larkspur {

std::string JsonText(std::string_view text) {
  using nlohmann::json;
  const bool isAsItIs =
      PlainLength(text) == text.size() && text.find_first_of("\"\\") == std::string_view::npos;
  if (isAsItIs) return '"' + std::string(text) + '"';
  return WithControlsEscaped(json(text).dump(-1, ' ', false, json::error_handler_t::replace));
}

std::optional<std::string> TextOfJson(std::string_view json) {
  const auto value = nlohmann::json::parse(json, nullptr, false);
  return value.is_string() ? std::optional(value.get<std::string>()) : std::nullopt;
}

std::string WithControlsEscaped(std::string_view json) {
  std::string out;
  out.reserve(json.size());
  for (size_t i = 0; i < json.size(); ++i) {
    const u8 byte = static_cast<u8>(json[i]);
    const u8 next = i + 1 < json.size() ? static_cast<u8>(json[i + 1]) : 0xFF;
    const bool isLead = byte == 0xC2 && next < 0xA0;  // U+0080 to U+009F
    if (byte == 0x7F || isLead) {
      out += fmt::format("\\u{:04x}", isLead ? next : byte);
      i += isLead;
    } else {
      out += json[i];
    }
  }
  return out;
}

}  // namespace larkspur
