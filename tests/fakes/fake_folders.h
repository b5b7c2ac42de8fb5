// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A file system that knows no more than what stands at each path.

#include <map>
#include <string>

#include "platform/folders.h"

namespace larkspur::fakes {

class FakeFolders final : public platform::cFolders {
 public:
  std::map<std::u16string, platform::PathKind> kinds;
  bool makes = true;
  std::u16string made;  // the folder made last

  platform::PathKind KindOf(const std::u16string& path) override {
    const auto found = kinds.find(path);
    return found == kinds.end() ? platform::PathKind::kAbsent : found->second;
  }
  bool Visit(const std::u16string&,
             const std::function<bool(const platform::FolderEntry&)>&) override {
    return false;
  }
  bool Make(const std::u16string& folder) override {
    if (makes) made = folder;
    return makes;
  }
};

}  // namespace larkspur::fakes
