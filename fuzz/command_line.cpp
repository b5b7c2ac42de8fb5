// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Arguments, each ended by a line feed: they are understood or refused, and nothing is run.

#include "cli/command_line.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "base/types.h"
#include "fuzz/targets.h"

namespace larkspur::fuzz {

std::string RunCommandLine(std::span<const u8> input) {
  std::vector<std::string> arguments;
  std::string_view rest = AsText(input);
  while (!rest.empty()) {
    const size_t end = std::min(rest.find('\n'), rest.size());
    arguments.emplace_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  if (!cli::ParseCommandLine(std::move(arguments))) std::abort();
  return {};
}

}  // namespace larkspur::fuzz
