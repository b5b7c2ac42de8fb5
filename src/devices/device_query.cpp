// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/device_query.h"

#include <algorithm>

#include "base/endian.h"

namespace larkspur {
namespace {

using namespace platform;

constexpr u64 kMaxSectors = kNowhere >> kSectorShift;  // whose bytes can still be counted

// a x b, or 0 when that is more than any device has.
u64 Product(u64 a, u64 b) {
  return b != 0 && a > kMaxSectors / b ? 0 : a * b;
}

template <size_t Size>
bool Ask(Device& device, u32 code, u8 (&out)[Size]) {
  u32 returned = 0;
  return device.Control(code, {}, out, &returned);
}

}  // namespace

std::optional<DriveGeometry> QueryGeometry(Device& device) {
  u8 out[kGeometryBytes] = {};
  if (!Ask(device, kGetDriveGeometry, out)) return std::nullopt;
  DriveGeometry geometry;
  geometry.bytesPerSector = LoadLe32(out + kGeometrySectorSizeOffset);
  geometry.sectorsPerTrack = LoadLe32(out + kGeometrySectorsOffset);
  geometry.tracksPerCylinder = LoadLe32(out + kGeometryTracksOffset);
  const u64 perCylinder = u64{geometry.tracksPerCylinder} * geometry.sectorsPerTrack;
  geometry.sectors = Product(LoadLe64(out + kGeometryCylindersOffset), perCylinder);
  return geometry;
}

std::optional<u64> QueryLength(Device& device) {
  u8 out[kLengthInfoBytes] = {};
  if (!Ask(device, kGetLengthInfo, out)) return std::nullopt;
  return LoadLe64(out) >> kSectorShift;
}

u64 SectorsByLengthOr(Device& device, const DriveGeometry& geometry) {
  return QueryLength(device).value_or(geometry.sectors);
}

std::optional<SectorSizes> QuerySectorSizes(Device& device) {
  u8 query[kPropertyQueryBytes] = {};
  u8 out[kAlignmentBytes] = {};
  u32 returned = 0;
  StoreLe32(query, kAlignmentProperty);
  if (!device.Control(kQueryProperty, query, out, &returned)) return std::nullopt;
  return SectorSizes{LoadLe32(out + kAlignmentLogicalOffset),
                     LoadLe32(out + kAlignmentPhysicalOffset),
                     LoadLe32(out + kAlignmentFirstOffset)};
}

std::optional<DeviceNumber> QueryNumber(Device& device) {
  u8 out[kDeviceNumberBytes] = {};
  if (!Ask(device, kGetDeviceNumber, out)) return std::nullopt;
  return DeviceNumber{LoadLe32(out + kDeviceTypeOffset), LoadLe32(out + kDeviceNumberOffset),
                      LoadLe32(out + kPartitionNumberOffset)};
}

std::optional<u64> QueryPartitionStart(Device& device) {
  u8 out[kPartitionInfoBytes] = {};
  if (!Ask(device, kGetPartitionInfo, out)) return std::nullopt;
  return LoadLe64(out + kPartitionStartOffset) >> kSectorShift;
}

std::optional<StorageDescriptor> StorageDescriptor::Query(Device& device) {
  StorageDescriptor descriptor;
  const u8 query[kPropertyQueryBytes] = {};
  u32 returned = 0;
  if (!device.Control(kQueryProperty, query, descriptor.m_bytes, &returned)) return std::nullopt;
  return descriptor;
}

u32 StorageDescriptor::Bus() const {
  return LoadLe32(&m_bytes[kDescriptorBusOffset]);
}

std::optional<std::span<const u8>> StorageDescriptor::Text(u32 offsetField, u32 limit) const {
  const u32 offset = LoadLe32(&m_bytes[offsetField]);
  if (offset == 0 || offset >= kBytes) return std::nullopt;
  const std::span<const u8> text =
      std::span(m_bytes).subspan(offset, std::min(limit, kBytes - offset));
  return text.first(static_cast<size_t>(std::find(text.begin(), text.end(), 0) - text.begin()));
}

bool IsRemovable(Device* device) {
  const auto descriptor = device ? StorageDescriptor::Query(*device) : std::nullopt;
  return descriptor && descriptor->IsRemovable();
}

}  // namespace larkspur
