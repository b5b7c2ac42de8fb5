// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/links.h"

#include <filesystem>

#include "base/path_text.h"

namespace larkspur::platform {

std::u16string FollowLinks(const std::u16string& path) {
  constexpr int kMostLinks = 40;  // as many as Linux follows
  std::error_code error;
  std::filesystem::path at = Utf8FromWide(path);
  int followed = 0;
  for (; followed < kMostLinks && std::filesystem::is_symlink(at, error); ++followed) {
    const std::filesystem::path target = std::filesystem::read_symlink(at, error);
    if (error) return path;
    at = at.parent_path() / target;
  }
  return followed == 0 || followed == kMostLinks ? path : WideFromUtf8(at.string());
}

}  // namespace larkspur::platform
