// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a device says of itself without a command to the drive: sizes, numbers, its descriptor.
// Nothing of it is trusted.

#include <optional>
#include <vector>

#include "platform/device.h"
#include "platform/device_requests.h"

namespace larkspur {

struct DriveGeometry {
  u64 sectors = 0;  // cylinders x tracks x sectors; 0 when that is no size at all
  u32 bytesPerSector = 0;
  u32 sectorsPerTrack = 0;
  u32 tracksPerCylinder = 0;
};
std::optional<DriveGeometry> QueryGeometry(platform::Device& device);

// The size in units of 512 bytes, whatever the device's sectors are.
std::optional<u64> QueryLength(platform::Device& device);

// The size by the length where the device tells it, else by the geometry given.
u64 SectorsByLengthOr(platform::Device& device, const DriveGeometry& geometry);

struct SectorSizes {
  u32 logicalBytes = 0;
  u32 physicalBytes = 0;
  u32 firstBytes = 0;  // how far into a physical sector the first logical one begins
};
std::optional<SectorSizes> QuerySectorSizes(platform::Device& device);

struct DeviceNumber {
  u32 type = 0;
  u32 number = 0;
  u32 partition = 0;
};
std::optional<DeviceNumber> QueryNumber(platform::Device& device);

// The sector of its disk where a volume starts.
std::optional<u64> QueryPartitionStart(platform::Device& device);

// The storage descriptor. Fields that point outside it are taken as absent.
class StorageDescriptor {
 public:
  static constexpr u32 kBytes = 10000;

  static std::optional<StorageDescriptor> Query(platform::Device& device);

  bool IsRemovable() const { return m_bytes[platform::kDescriptorRemovableOffset] != 0; }
  u32 Bus() const;
  // The text that the field at `offsetField` points to, up to its end or `limit` bytes; none when
  // the field points nowhere.
  std::optional<std::span<const u8>> Text(u32 offsetField, u32 limit = kBytes) const;

 private:
  StorageDescriptor() : m_bytes(kBytes) {}

  std::vector<u8> m_bytes;
};

bool IsRemovable(platform::Device* device);

}  // namespace larkspur
