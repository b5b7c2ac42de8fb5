// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <string>

namespace larkspur::platform {

// What names the time since this machine last started; another one after it was switched off. May
// also change while it runs, and then says less than it could.
std::string BootId();

}  // namespace larkspur::platform
