// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/command.h"

#include <windows.h>

#include <cstdlib>

#include <io.h>

#include "base/path_text.h"
#include "platform/windows/win32.h"

namespace larkspur::platform {

int RunCommand(const std::string& line,
               const std::vector<std::pair<std::string, std::string>>& environment) {
  for (const auto& [name, value] : environment) {
    SetEnvironmentVariableW(Wide(WideFromUtf8(name)), Wide(WideFromUtf8(value)));
  }
  // Its standard output is ours for as long as it runs, so that is led elsewhere meanwhile.
  constexpr int kOutput = 1, kError = 2;
  const int kept = _dup(kOutput);
  _dup2(kError, kOutput);
  const int status = _wsystem(Wide(WideFromUtf8(line)));
  if (kept >= 0) {
    _dup2(kept, kOutput);
    _close(kept);
  }
  return status;
}

}  // namespace larkspur::platform
