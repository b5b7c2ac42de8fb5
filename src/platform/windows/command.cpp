// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/command.h"

#include <windows.h>

#include <cstdlib>

#include "base/path_text.h"

namespace larkspur::platform {
namespace {

std::wstring Wide(const std::string& text) {
  const std::u16string wide = WideFromUtf8(text);
  return std::wstring(wide.begin(), wide.end());
}

}  // namespace

int RunCommand(const std::string& line,
               const std::vector<std::pair<std::string, std::string>>& environment) {
  for (const auto& [name, value] : environment) {
    SetEnvironmentVariableW(Wide(name).c_str(), Wide(value).c_str());
  }
  return _wsystem(Wide(line).c_str());
}

}  // namespace larkspur::platform
