// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/json_text.h"

#include <fmt/core.h>
#include <nlohmann/json.hpp>

#include "base/printable.h"
#include "base/text_utf8.h"
#include "base/types.h"

namespace larkspur {
namespace {

// The UTF-8 text with all that BeginsWithControl knows escaped, of which the serializer leaves most
// as it is.
std::string WithControlsEscaped(std::string_view json) {
  std::string out;
  out.reserve(json.size());
  while (!json.empty()) {
    const size_t plain = PlainLength(json);
    out += json.substr(0, plain);
    json.remove_prefix(plain);
    if (json.empty()) break;
    const u8* const first = reinterpret_cast<const u8*>(json.data());
    const text::Utf8Character character = text::TakeUtf8(first, first + json.size());
    if (BeginsWithControl(json)) {
      out += fmt::format("\\u{:04x}", static_cast<u32>(character.codePoint));
    } else {
      out += json.substr(0, character.length);
    }
    json.remove_prefix(character.length);
  }
  return out;
}

}  // namespace

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

std::string JsonNumber(double value) {
  return nlohmann::json(value).dump();
}

}  // namespace larkspur
