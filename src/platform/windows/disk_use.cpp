// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/disk_use.h"

#include <windows.h>

#include "platform/device.h"
#include "platform/volumes.h"
#include "platform/windows/disk_number.h"
#include "platform/windows/native_path.h"

namespace larkspur::platform {
namespace {

// The volume that holds a file or would; empty when the system does not tell.
std::u16string VolumeOf(const char16_t* file) {
  const std::wstring full = AbsolutePath(NativePath(file));
  std::u16string mountPoint(full.size() + 2, u'\0');  // no longer than the path, and a backslash
  if (!GetVolumePathNameW(full.c_str(), reinterpret_cast<wchar_t*>(mountPoint.data()),
                          static_cast<DWORD>(mountPoint.size()))) {
    return {};
  }
  std::u16string volume = SystemVolumes().MountedAt(mountPoint.c_str());
  if (!volume.empty()) volume.pop_back();  // with its backslash it would be the root folder
  return volume;
}

std::optional<u32> DiskOfDevice(const char16_t* path) {
  return SystemDevices().IsDevice(path) ? DiskNumber(path) : std::nullopt;
}

}  // namespace

bool IsDiskMounted(const char16_t* device) {
  const auto disk = DiskOfDevice(device);
  return disk && MountedDisks().count(*disk) > 0;
}

bool IsFileOnDisk(const char16_t* file, const char16_t* device) {
  const auto disk = DiskOfDevice(device);
  const std::u16string volume = disk ? VolumeOf(file) : std::u16string();
  return !volume.empty() && DiskNumber(volume) == disk;
}

}  // namespace larkspur::platform
