// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/command.h"

#include <windows.h>

#include <cstdlib>

#include "base/path_text.h"
#include "platform/windows/win32.h"

namespace larkspur::platform {

int RunCommand(const std::string& line,
               const std::vector<std::pair<std::string, std::string>>& environment) {
  for (const auto& [name, value] : environment) {
    SetEnvironmentVariableW(Wide(WideFromUtf8(name)), Wide(WideFromUtf8(value)));
  }
  return _wsystem(Wide(WideFromUtf8(line)));
}

}  // namespace larkspur::platform
