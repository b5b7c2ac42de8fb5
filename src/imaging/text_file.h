// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Small whole files by their UTF-16 path: mapfiles in, mapfiles and pictures out.

#include <optional>
#include <string>
#include <string_view>

#include "base/types.h"

namespace larkspur {

// The file's bytes; none when it cannot be read or is longer than `limitBytes`. The system's error
// is in platform::LastFailure().
std::optional<std::string> ReadWholeFile(const std::u16string& path, u64 limitBytes);

// Makes or replaces the file; false when that fails.
bool WriteWholeFile(const std::u16string& path, std::string_view bytes);

}  // namespace larkspur
