// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The devices by the names that Windows gives them: numbered drives, and letters.

#include <windows.h>

#include "base/endian.h"
#include "platform/device.h"
#include "platform/device_requests.h"
#include "platform/system_error.h"
#include "platform/windows/disk_number.h"

namespace larkspur::platform {
namespace {

constexpr u32 kDriveNumbers = 64;
constexpr u32 kIsWritable = 0x70024;  // asks whether the medium takes writes

// The size by the length where we may read, else by the geometry, which needs no rights.
u64 SizeOf(const char16_t* path, Device& device) {
  u8 out[kGeometryBytes] = {};
  u32 returned = 0;
  if (const auto readable = SystemDevices().Open(path, kAccessRead)) {
    if (readable->Control(kGetLengthInfo, {}, {out, kLengthInfoBytes}, &returned)) {
      return LoadLe64(out);
    }
  }
  if (!device.Control(kGetDriveGeometry, {}, out, &returned)) return 0;
  return LoadLe64(out) * LoadLe32(out + kGeometryTracksOffset) *
         LoadLe32(out + kGeometrySectorsOffset) * LoadLe32(out + kGeometrySectorSizeOffset);
}

void Describe(ListedDevice* listed, Device& device) {
  u32 returned = 0;
  listed->bytes = SizeOf(listed->path.c_str(), device);
  listed->isReadOnly =
      !device.Control(kIsWritable, {}, {}, &returned) && LastFailure() == ERROR_WRITE_PROTECT;
}

}  // namespace

std::vector<ListedDevice> ListDevices() {
  std::vector<ListedDevice> devices;
  const std::set<u32> mounted = MountedDisks();
  std::vector<ListedDevice> optical;
  const DWORD letters = GetLogicalDrives();
  for (char16_t letter = u'A'; letter <= u'Z'; ++letter) {
    if (!(letters >> (letter - u'A') & 1)) continue;
    const char16_t drive[] = {letter, u':', u'\0'};
    if (SystemDevices().IsOpticalDrive(drive)) {
      optical.push_back({.path = std::u16string(u"\\\\.\\") + drive, .isOptical = true});
    }
  }
  for (u32 number = 0; number < kDriveNumbers; ++number) {
    ListedDevice listed;
    const std::string digits = std::to_string(number);
    listed.path = u"\\\\.\\PhysicalDrive" + std::u16string(digits.begin(), digits.end());
    const auto device = SystemDevices().Open(listed.path.c_str(), kAccessQuery);
    if (!device) continue;
    Describe(&listed, *device);
    listed.isMounted = mounted.count(number) > 0;
    devices.push_back(std::move(listed));
  }
  for (ListedDevice& listed : optical) {
    const auto device = SystemDevices().Open(listed.path.c_str(), kAccessQuery);
    if (device) Describe(&listed, *device);
    listed.isReadOnly = true;
    listed.isMounted = listed.bytes > 0;  // Windows mounts every disc that it finds
    devices.push_back(std::move(listed));
  }
  return devices;
}

}  // namespace larkspur::platform
