// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <string>

namespace larkspur::platform {

// The path in the form that the file API takes: one too long for the classic limit of 260
// characters is made absolute and given the "\\\\?\\" prefix; others, and those with a device or
// long-path prefix already, stay as they are.
std::wstring NativePath(const char16_t* path);

}  // namespace larkspur::platform
