// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/disk_use.h"

#include <algorithm>
#include <filesystem>

#include "base/path_text.h"
#include "platform/posix/disk_set.h"

namespace larkspur::platform {
namespace {

bool Meet(const DiskSet& one, const DiskSet& other) {
  return std::any_of(one.begin(), one.end(),
                     [&other](const std::string& disk) { return other.count(disk) > 0; });
}

// The file itself, through links, or the folder in which it would be made.
std::string WhereItLies(const std::string& file) {
  std::error_code ignored;
  if (std::filesystem::exists(file, ignored)) return file;
  const std::string folder = std::filesystem::path(file).parent_path();
  return folder.empty() ? "." : folder;
}

}  // namespace

bool IsDiskMounted(const char16_t* device) {
  const DiskSet disks = DisksOfDevice(Utf8FromWide(device));
  return !disks.empty() && Meet(disks, DisksInUse());
}

bool IsFileOnDisk(const char16_t* file, const char16_t* device) {
  const DiskSet disks = DisksOfDevice(Utf8FromWide(device));
  return !disks.empty() && Meet(disks, DisksOfFile(WhereItLies(Utf8FromWide(file))));
}

}  // namespace larkspur::platform
