// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the commands need beyond the parser's library: values that are checked with a message that a
// person understands.

#include <span>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "base/types.h"

namespace larkspur::cli {

struct Bounds {
  u64 least = 0;
  u64 most = ~u64{0};
};

// The number that `text` is, in decimal digits and nothing else: "010" may have been meant as
// octal. Throws a CLI::ValidationError that names `option` when it is none within the bounds.
u64 ParseNumber(const std::string& option, const std::string& text, Bounds bounds);

// The bytes that "512", "64Ki", "10M" or "1 GB" name (K: 1000, Ki: 1024), at least 1. Throws as
// above.
u64 ParseSize(const std::string& option, const std::string& text);

// The place of `text` in `words`. Throws as above.
size_t ParseWord(const std::string& option, const std::string& text,
                 const std::vector<std::string>& words);

template <typename Value>
CLI::Option* AddNumber(CLI::App* command, const std::string& name, Value* value, Bounds bounds,
                       const char* description) {
  return command->add_option_function<std::string>(
      name,
      [=](const std::string& text) {
        *value = static_cast<Value>(ParseNumber(name, text, bounds));
      },
      description);
}

// A file to write beside what goes to standard output, so not "-".
CLI::Option* AddFile(CLI::App* command, const std::string& name, std::string* path,
                     const char* description);

CLI::Option* AddSize(CLI::App* command, const std::string& name, u64* bytes,
                     const char* description);

// An option whose value is one of a few words. The choices live as long as the command.
template <typename Value>
CLI::Option* AddChoice(CLI::App* command, const std::string& name, Value* value,
                       std::span<const std::pair<const char*, Value>> choices,
                       const char* description) {
  std::vector<std::string> words;
  words.reserve(choices.size());
  for (const auto& [word, meaning] : choices) words.push_back(word);
  return command
      ->add_option_function<std::string>(
          name,
          [=](const std::string& text) { *value = choices[ParseWord(name, text, words)].second; },
          description)
      ->type_name(CLI::detail::join(words, "|"));
}

}  // namespace larkspur::cli
