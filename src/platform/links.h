// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <string>

namespace larkspur::platform {

// Where the symbolic link at `path` leads in the end, whether or not anything is there; the path as
// it is when there is no link, or it cannot be followed.
std::u16string FollowLinks(const std::u16string& path);

}  // namespace larkspur::platform
