// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Reading a small whole file by its UTF-16 path.

#include <optional>
#include <string>

#include "base/types.h"

namespace larkspur {

// The file's bytes; none when it cannot be read or is longer than `limitBytes`. The system's error
// is in platform::LastFailure().
std::optional<std::string> ReadWholeFile(const std::u16string& path, u64 limitBytes);

}  // namespace larkspur
