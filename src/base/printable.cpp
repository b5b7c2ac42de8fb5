// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/printable.h"

#include <algorithm>

#include "base/text_utf8.h"

namespace larkspur {
namespace {

// U+061C; U+200E, U+200F; U+2028 to U+202E; U+2066 to U+2069.
constexpr std::string_view kTurning[] = {"\u061C", "\u200E", "\u200F", "\u2028", "\u2029",
                                         "\u202A", "\u202B", "\u202C", "\u202D", "\u202E",
                                         "\u2066", "\u2067", "\u2068", "\u2069"};

// The length of the well-formed character that the bytes begin with; 0 when there is none.
size_t CharacterLength(std::string_view bytes) {
  const u8* const first = reinterpret_cast<const u8*>(bytes.data());
  const text::Utf8Character character = text::TakeUtf8(first, first + bytes.size());
  return character.isValid ? character.length : 0;
}

}  // namespace

bool BeginsWithControl(std::string_view text) {
  const u8 lead = static_cast<u8>(text[0]);
  if (lead < 0x80) return lead < 0x20 || lead == 0x7F;
  if (lead == 0xC2) return static_cast<u8>(text[1]) < 0xA0;  // U+0080 to U+009F
  return std::any_of(std::begin(kTurning), std::end(kTurning),
                     [text](std::string_view turning) { return text.starts_with(turning); });
}

std::string Printable(std::string_view text, std::string_view kept) {
  std::string shown;
  shown.reserve(text.size());
  for (;;) {
    const size_t plain = PlainLength(text);
    shown += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) return shown;
    const size_t length = CharacterLength(text);
    const std::string_view character = text.substr(0, length > 0 ? length : 1);
    const auto isKept = [&] { return kept.find(character[0]) != std::string_view::npos; };
    if (length == 0 || (BeginsWithControl(character) && !isKept())) {
      shown += '?';
    } else {
      shown += character;
    }
    text.remove_prefix(character.size());
  }
}

size_t PlainLength(std::string_view text) {
  const auto isPlain = [](char byte) { return byte >= ' ' && byte < 0x7F; };
  return static_cast<size_t>(std::find_if_not(text.begin(), text.end(), isPlain) - text.begin());
}

bool IsUtf8(std::string_view text) {
  text.remove_prefix(PlainLength(text));
  while (!text.empty()) {
    const size_t length = CharacterLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string HexText(std::span<const u8> bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * bytes.size());
  for (const u8 byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

std::string HexText(std::string_view bytes) {
  return HexText({reinterpret_cast<const u8*>(bytes.data()), bytes.size()});
}

std::string Markup(std::string_view text) {
  std::string markup;
  for (const char letter : Printable(text)) {
    switch (letter) {
      case '<':
        markup += "&lt;";
        break;
      case '>':
        markup += "&gt;";
        break;
      case '&':
        markup += "&amp;";
        break;
      case '"':
        markup += "&quot;";
        break;
      default:
        markup += letter;
    }
  }
  return markup;
}

}  // namespace larkspur
