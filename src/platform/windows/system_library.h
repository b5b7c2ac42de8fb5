// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <windows.h>

namespace larkspur::platform {

// Loads a library of the system, by its name alone, from the system's folder and no other; null on
// failure. The activation context of the caller still decides on its version.
HMODULE LoadSystemLibrary(const wchar_t* name);

}  // namespace larkspur::platform
