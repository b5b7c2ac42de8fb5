// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/device_kind.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace larkspur {
namespace {

using namespace platform;

constexpr std::string_view kAtaVendor = "ATA     ";

// A SCSI layer over ATA drives calls itself by that vendor.
bool IsAtaVendor(const StorageDescriptor& descriptor) {
  const auto vendor = descriptor.Text(kDescriptorVendorOffset, kAtaVendor.size());
  return vendor && std::equal(vendor->begin(), vendor->end(), kAtaVendor.begin(), kAtaVendor.end());
}

bool SpeaksSmart(Device& device) {
  u8 out[kSmartVersionBytes] = {};
  u32 returned = 0;
  return device.Control(kSmartGetVersion, {}, out, &returned) && returned == kSmartVersionBytes;
}

}  // namespace

DeviceKind ClassifyKind(Device& device) {
  const auto descriptor = StorageDescriptor::Query(device);
  if (!descriptor) return kKindNone;
  switch (descriptor->Bus()) {
    case kBusScsi:
    case kBusRaid:
      if (SpeaksSmart(device)) return kKindAta;
      return IsAtaVendor(*descriptor) ? kKindSat : kKindScsi;
    case kBusAta:
    case kBusSata:
      return IsAtaVendor(*descriptor) ? kKindSat : kKindAta;
    case kBusUsb:
      return descriptor->IsRemovable() ? kKindUsbRemovable : kKindUsb;
    case kBusIScsi:
    case kBusSas:
      return IsAtaVendor(*descriptor) ? kKindSat : kKindScsi;
  }
  return kKindNone;
}

const char* KindName(u32 kind) {
  constexpr const char* kNames[] = {"other", "ATA", "SCSI", "SAT", "USB", "USB removable"};
  return kNames[kind < std::size(kNames) ? kind : 0];
}

std::string AttachmentName(u32 kind, u32 bus) {
  if (kind != kKindNone) return KindName(kind);
  if (bus == kBusNvme) return "NVMe";
  return bus == kBusUnknown ? KindName(kind) : BusName(bus);
}

const char* BusName(u32 bus) {
  constexpr const char* kNames[] = {"Unknown", "SCSI", "ATAPI",   "ATA",    "FireWire", "SSA",
                                    "Fibre",   "USB",  "RAID",    "iSCSI",  "SAS",      "SATA",
                                    "SD",      "MMC",  "Virtual", "Virtual"};
  return kNames[bus < std::size(kNames) ? bus : 0];
}

}  // namespace larkspur
