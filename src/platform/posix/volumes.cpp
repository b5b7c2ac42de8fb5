// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/volumes.h"

namespace larkspur::platform {
namespace {

// There are no drive letters here.
class cNoVolumes final : public cVolumes {
 public:
  u32 TypeOf(const char16_t*) override { return kDriveNoRoot; }
  std::u16string MountedAt(const char16_t*) override { return {}; }
  std::optional<u64> TotalBytes(const char16_t*) override { return std::nullopt; }
  std::u16string LabelOf(const char16_t*) override { return {}; }
  void VisitConnections(const std::function<void(const NetworkConnection&)>&) override {}
  bool Reconnect(const NetworkConnection&) override { return false; }
};

}  // namespace

cVolumes& SystemVolumes() {
  static cNoVolumes volumes;
  return volumes;
}

}  // namespace larkspur::platform
