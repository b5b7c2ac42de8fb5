// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <string>

namespace larkspur::platform {

// The path in the form that the file API takes: one too long for the classic limit of 260
// characters is made absolute and given the "\\\\?\\" prefix; others, and those with a device or
// long-path prefix already, stay as they are.
std::wstring NativePath(const char16_t* path);

// The path from the root of its drive or share, as the system completes it; the path as it is when
// that fails.
std::wstring AbsolutePath(const std::wstring& path);

}  // namespace larkspur::platform
