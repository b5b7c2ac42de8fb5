// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// GUIDs written as text, as several volume managers keep them.

#include <array>
#include <optional>
#include <span>

#include "base/types.h"

namespace larkspur {

using GuidBytes = std::array<u8, 16>;

// The 16 bytes, in the order in which they are written, of text that begins with a GUID such as
// "06495aa3-fbfd-11e1-8cf9-52540061f5db".
std::optional<GuidBytes> ParseGuidText(std::span<const u8> text);

}  // namespace larkspur
