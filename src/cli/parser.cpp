// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/parser.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <sstream>

#include <fmt/core.h>

#include "base/printable.h"

namespace larkspur::cli {
namespace {

constexpr size_t kHelpColumn = 28;
constexpr size_t kHelpWidth = 80;

// `text` in lines of at most `width` characters, where its words allow that.
std::string Wrapped(const std::string& text, size_t width) {
  std::istringstream words(text);
  std::string out, word;
  size_t column = 0;
  while (words >> word) {
    if (column > 0) {
      const bool fits = column + 1 + word.size() <= width;
      out += fits ? ' ' : '\n';
      column = fits ? column + 1 : 0;
    }
    out += word;
    column += word.size();
  }
  return out;
}

// The type's name without what checks add to it.
std::string ValueName(const CLI::Option* option) {
  const std::string name = option->get_type_name();
  return name.substr(0, name.find(':'));
}

class HelpFormat final : public CLI::Formatter {
 public:
  HelpFormat() {
    column_width(kHelpColumn);
    label("Positionals", "Arguments");
    label("SUBCOMMAND", "COMMAND");
  }

  // A positional argument goes by the name of its value where it has one of its own.
  std::string make_option_name(const CLI::Option* option, bool isPositional) const override {
    if (!isPositional) return option->get_name(false, true);
    const std::string name = ValueName(option);
    return name == "TEXT" ? option->get_name(true, false) : name;
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string name = ValueName(option);
    if (option->get_positional() || option->get_type_size() == 0 || name.empty()) return {};
    return option->get_expected_min() == 0 ? "[=" + name + "]" : " " + name;
  }

  std::string make_option_desc(const CLI::Option* option) const override {
    std::string text = option->get_description();
    if (!option->get_default_str().empty()) text += " (" + option->get_default_str() + ")";
    return Wrapped(text, kHelpWidth - kHelpColumn);
  }

  std::string make_option_usage(const CLI::Option* option) const override {
    return make_option_name(option, true);
  }

  std::string make_footer(const CLI::App* app) const override {
    std::string out;
    std::istringstream paragraphs(app->get_footer());
    for (std::string paragraph; std::getline(paragraphs, paragraph);) {
      out += Wrapped(paragraph, kHelpWidth) + "\n";
    }
    return out;
  }
};

[[noreturn]] void Refuse(const std::string& option, const std::string& wanted,
                         const std::string& text) {
  throw CLI::ValidationError(
      fmt::format("{} takes {}, not \"{}\"", option, wanted, Printable(text)),
      CLI::ExitCodes::ValidationError);
}

// The digits that `text` begins with; *rest is what follows them.
std::optional<u64> Digits(const std::string& text, std::string* rest) {
  u64 number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc()) return std::nullopt;
  const bool isPlain = text[0] != '0' || stop == text.data() + 1;
  rest->assign(stop, end);
  return isPlain ? std::optional(number) : std::nullopt;
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

void UseHelpFormat(CLI::App* app) {
  app->formatter(std::make_shared<HelpFormat>());
}

u64 ParseNumber(const std::string& option, const std::string& text, Bounds bounds) {
  std::string rest;
  const auto number = Digits(text, &rest);
  if (number && rest.empty() && *number >= bounds.least && *number <= bounds.most) return *number;
  const bool isOpen = bounds.most == ~u64{0};
  Refuse(option,
         isOpen ? fmt::format("a whole number, {} or more", bounds.least)
                : fmt::format("a whole number from {} to {}", bounds.least, bounds.most),
         text);
}

u64 ParseSize(const std::string& option, const std::string& text) {
  std::string unit;
  const auto number = Digits(text, &unit);
  const u64 each = number ? UnitBytes(unit) : 0;
  if (each == 0 || *number == 0 || *number > ~u64{0} / each) {
    Refuse(option, "a size such as 512, 64Ki or 10M", text);
  }
  return *number * each;
}

size_t ParseWord(const std::string& option, const std::string& text,
                 const std::vector<std::string>& words) {
  const auto found = std::find(words.begin(), words.end(), text);
  if (found == words.end()) Refuse(option, CLI::detail::join(words, " or "), text);
  return static_cast<size_t>(found - words.begin());
}

CLI::Option* AddSize(CLI::App* command, const std::string& name, u64* bytes,
                     const char* description) {
  return command
      ->add_option_function<std::string>(
          name, [=](const std::string& text) { *bytes = ParseSize(name, text); }, description)
      ->type_name("SIZE");
}

}  // namespace larkspur::cli
