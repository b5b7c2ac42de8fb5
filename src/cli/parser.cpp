// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/parser.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include <CLI/Error.hpp>
#include <fmt/core.h>

#include "base/printable.h"
#include "partitions/place.h"

namespace larkspur::cli {
namespace {

[[noreturn]] void Refuse(const std::string& option, const std::string& wanted,
                         const std::string& text) {
  throw CLI::ValidationError(
      fmt::format("{} takes {}, not \"{}\"", option, wanted, Printable(text)),
      CLI::ExitCodes::ValidationError);
}

// "auto, on or off".
std::string OneOf(const std::vector<std::string>& words) {
  std::string text;
  for (size_t i = 0; i < words.size(); ++i) {
    text += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
  }
  return text;
}

// The digits that a text begins with, and what follows them.
struct Digits {
  u64 number;
  std::string rest;
};

std::optional<Digits> DigitsOf(const std::string& text) {
  u64 number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc()) return std::nullopt;
  const bool isPlain = text[0] != '0' || stop == text.data() + 1;
  return isPlain ? std::optional(Digits{number, {stop, end}}) : std::nullopt;
}

// How many bytes the unit has; 0: there is no such unit.
u64 UnitBytes(std::string unit) {
  unit.erase(0, unit.find_first_not_of(' '));
  std::transform(unit.begin(), unit.end(), unit.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (unit.empty() || unit == "b") return 1;
  const size_t power = std::string("kmgtpe").find(unit[0]);
  const std::string rest = unit.substr(1);
  const bool isBinary = rest == "i" || rest == "ib";
  if (power == std::string::npos || !(isBinary || rest.empty() || rest == "b")) return 0;
  u64 bytes = 1;
  for (size_t i = 0; i <= power; ++i) bytes *= isBinary ? 1024 : 1000;
  return bytes;
}

}  // namespace

u64 ParseNumber(const std::string& option, const std::string& text, Bounds bounds) {
  const auto digits = DigitsOf(text);
  const bool isWhole = digits && digits->rest.empty();
  if (isWhole && digits->number >= bounds.least && digits->number <= bounds.most) {
    return digits->number;
  }
  const bool isOpen = bounds.most == ~u64{0};
  Refuse(option,
         isOpen ? fmt::format("a whole number, {} or more", bounds.least)
                : fmt::format("a whole number from {} to {}", bounds.least, bounds.most),
         text);
}

u64 ParseSize(const std::string& option, const std::string& text) {
  const auto digits = DigitsOf(text);
  const u64 each = digits ? UnitBytes(digits->rest) : 0;
  if (each == 0 || digits->number == 0 || digits->number > ~u64{0} / each) {
    Refuse(option, "a size such as 512, 64Ki or 10M", text);
  }
  return digits->number * each;
}

size_t ParseWord(const std::string& option, const std::string& text,
                 const std::vector<std::string>& words) {
  const auto found = std::find(words.begin(), words.end(), text);
  if (found == words.end()) Refuse(option, OneOf(words), text);
  return static_cast<size_t>(found - words.begin());
}

std::string ParsePlace(const std::string& option, const std::string& text) {
  if (!IsPlace(text)) Refuse(option, "a place as tree shows it, such as 1 or 1.2", text);
  return text;
}

std::string ParseFile(const std::string& option, const std::string& text) {
  if (text == "-") Refuse(option, "the name of a file", text);
  return text;
}

}  // namespace larkspur::cli
