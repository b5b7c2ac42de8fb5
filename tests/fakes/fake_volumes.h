// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Drives and network connections as a test sets them up.

#include <map>
#include <string>
#include <vector>

#include "platform/volumes.h"

namespace larkspur::fakes {

class FakeVolumes final : public platform::cVolumes {
 public:
  struct Drive {
    u32 type = platform::kDriveNoRoot;
    std::optional<u64> bytes = {};
    std::u16string label = {};
  };

  std::map<std::u16string, Drive> drives;            // by what is asked for
  std::map<std::u16string, std::u16string> mounted;  // volume by mount point
  std::vector<platform::NetworkConnection> connections;

  u32 TypeOf(const char16_t* root) override { return Find(root).type; }
  std::u16string MountedAt(const char16_t* mountPoint) override {
    asked = mountPoint;
    const auto found = mounted.find(mountPoint);
    return found == mounted.end() ? std::u16string() : found->second;
  }
  std::optional<u64> TotalBytes(const char16_t* root) override { return Find(root).bytes; }
  std::u16string LabelOf(const char16_t* root) override { return Find(root).label; }
  void VisitConnections(
      const std::function<void(const platform::NetworkConnection&)>& visit) override {
    for (const auto& connection : connections) visit(connection);
  }
  bool Reconnect(const platform::NetworkConnection&) override { return false; }

  std::u16string asked;  // the last mount point

 private:
  Drive Find(const char16_t* root) const {
    const auto found = drives.find(root);
    return found == drives.end() ? Drive{} : found->second;
  }
};

}  // namespace larkspur::fakes
