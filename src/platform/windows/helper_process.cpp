// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/helper_process.h"

#include <windows.h>

#include "platform/system_error.h"

namespace larkspur::platform {

// Windows cannot split a process in two.
bool HasHelpers() {
  return false;
}

std::unique_ptr<HelperProcess> HelperProcess::Start(const std::function<void(HelperLine&)>&,
                                                    const HelperLimits&) {
  SetLastFailure(ERROR_NOT_SUPPORTED);
  return nullptr;
}

}  // namespace larkspur::platform
