// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/help_format.h"

#include <cctype>
#include <cstring>
#include <memory>
#include <sstream>

#include <CLI/CLI.hpp>

namespace larkspur {
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

// Small, if it is not that of a name such as "CACHE".
std::string WithSmallFirstLetter(std::string text) {
  const auto at = [&text](size_t i) { return static_cast<unsigned char>(text[i]); };
  const bool isName = text.size() < 2 || std::isupper(at(1));
  if (!isName) text[0] = static_cast<char>(std::tolower(at(0)));
  return text;
}

const CLI::Option* FindOption(const CLI::App& app, const std::string& name) {
  const CLI::Option* option = app.get_option_no_throw(name);
  for (const CLI::App* command : app.get_subcommands()) {
    if (!option) option = command->get_option_no_throw(name);
  }
  return option;
}

}  // namespace

void UseHelpFormat(CLI::App* app) {
  app->formatter(std::make_shared<HelpFormat>());
}

std::string ParserWords(const CLI::App& app, const CLI::ParseError& fault) {
  const std::string words = fault.what();
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&fault)) {
    const std::string name = words.substr(0, words.find(':'));
    if (const CLI::Option* option = FindOption(app, name))
      return name + " needs " + option->get_type_name();
  }
  for (const auto& [relation, plain] :
       {std::pair{" excludes ", " cannot be used with "}, {" requires ", " needs "}}) {
    const bool isRelation = dynamic_cast<const CLI::ExcludesError*>(&fault) ||
                            dynamic_cast<const CLI::RequiresError*>(&fault);
    const size_t at = isRelation ? words.find(relation) : std::string::npos;
    if (at != std::string::npos)
      return std::string(words).replace(at, std::strlen(relation), plain);
  }
  return WithSmallFirstLetter(words);
}

}  // namespace larkspur
