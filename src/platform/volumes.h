// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the system says of drive letters, volumes and network connections.
//
// Each question may wait long for a drive without a medium or a server that does not answer, so a
// form asks from a thread of its own. None shows a message of the system.

#include <functional>
#include <optional>
#include <string>

#include "base/types.h"

namespace larkspur::platform {

// GetDriveType's numbers.
enum DriveType : u32 {
  kDriveUnknown = 0,
  kDriveNoRoot = 1,
  kDriveRemovable = 2,
  kDriveFixed = 3,
  kDriveRemote = 4,
  kDriveOptical = 5,
  kDriveRamDisk = 6,
};

struct NetworkConnection {
  std::u16string localName;   // "Z:"; empty for a connection without a letter
  std::u16string remoteName;  // "\\server\share"
  bool isConnected = false;   // false: only remembered by the system
};

// `root` is a letter, a colon and a backslash, or the path of a share with a backslash.
class cVolumes {
 public:
  virtual u32 TypeOf(const char16_t* root) = 0;
  // The name of the volume that is mounted at a path ending in a backslash, itself ending in one;
  // empty when none is.
  virtual std::u16string MountedAt(const char16_t* mountPoint) = 0;
  // The size of the file system; nothing when it cannot be asked.
  virtual std::optional<u64> TotalBytes(const char16_t* root) = 0;
  // Empty when there is none or it cannot be asked.
  virtual std::u16string LabelOf(const char16_t* root) = 0;
  // All connections, each once; none without the system's network library.
  virtual void VisitConnections(const std::function<void(const NetworkConnection&)>& visit) = 0;
  // Connects a remembered connection again, with what the system remembers of its user.
  virtual bool Reconnect(const NetworkConnection& connection) = 0;

 protected:
  ~cVolumes() = default;
};

// Those of this system. Systems without drive letters know none.
cVolumes& SystemVolumes();

}  // namespace larkspur::platform
