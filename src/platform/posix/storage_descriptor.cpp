// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/posix/storage_descriptor.h"

#include <utility>

#include "base/endian.h"
#include "base/printable.h"
#include "platform/device_requests.h"

namespace larkspur::platform {
namespace {

constexpr size_t kVpdHeadBytes = 4;  // of the page with a SCSI unit's serial number

// Parts of a folder's path and the bus they tell of; the first one that is found counts.
struct BusSign {
  const char* part;
  u32 bus;
};
constexpr BusSign kBusSigns[] = {
    {"/usb", kBusUsb},
    {"/ata", kBusSata},
    {"/nvme", kBusNvme},
    {"/mmc_host", kBusMmc},
    {"/session", kBusIScsi},
    {"/end_device-", kBusSas},
    {"/rport-", kBusFibre},
    {"/fw", kBusFireWire},
    {"/virtual/block/loop", kBusFileBackedVirtual},
    {"/virtual/", kBusVirtual},
    {"/host", kBusScsi},  // also below virtio: that adapter carries SCSI
    {"/virtio", kBusVirtual},
};

std::string Trimmed(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t\n");
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\n") - first + 1);
}

// The folder above the disk that is a USB device; empty when there is none.
std::string UsbFolderOf(const SysBlock& block) {
  std::string folder = block.DiskFolder();
  while (folder.size() > 1) {
    folder.resize(folder.rfind('/'));
    if (ReadSmallFile(folder + "/idVendor")) return folder;
  }
  return {};
}

std::string SerialOf(const SysBlock& block) {
  const auto page = block.Disk("device/vpd_pg80");
  if (page && page->size() > kVpdHeadBytes) return Trimmed(page->substr(kVpdHeadBytes));
  for (const char* file : {"device/serial", "serial"}) {
    if (const auto serial = block.Disk(file)) return Trimmed(*serial);
  }
  const std::string usb = UsbFolderOf(block);
  return usb.empty() ? "" : Trimmed(ReadSmallFile(usb + "/serial").value_or(""));
}

bool LooksHexadecimal(const std::string& text) {
  return text.size() % 2 == 0 &&
         text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

std::string AsSwappedHex(std::string text) {
  for (size_t i = 0; i + 1 < text.size(); i += 2) std::swap(text[i], text[i + 1]);
  return HexText(text);
}

void Append(const std::string& text, size_t offsetField, std::string* bytes) {
  if (text.empty()) return;
  StoreLe32(reinterpret_cast<u8*>(bytes->data()) + offsetField, static_cast<u32>(bytes->size()));
  *bytes += text.c_str();  // not beyond a zero
  *bytes += '\0';
}

}  // namespace

u32 BusOfFolder(const std::string& diskFolder) {
  for (const BusSign& sign : kBusSigns) {
    if (diskFolder.find(sign.part) != std::string::npos) return sign.bus;
  }
  return kBusUnknown;
}

DescriptorFacts FactsOf(const SysBlock& block) {
  const auto first = [&block](std::initializer_list<const char*> files) {
    for (const char* file : files) {
      if (const auto text = block.Disk(file)) return *text;
    }
    return std::string();
  };
  DescriptorFacts facts;
  facts.bus = BusOfFolder(block.DiskFolder());
  if (facts.bus == kBusMmc && first({"device/type"}) == "SD") facts.bus = kBusSd;
  facts.isRemovable = first({"removable"}) == "1";
  facts.product = first({"device/model", "device/name"});
  // Without a model, what stands as vendor is a number of the bus.
  if (!facts.product.empty()) facts.vendor = first({"device/vendor"});
  if (facts.vendor.rfind("0x", 0) == 0) facts.vendor.clear();
  if (facts.bus == kBusFileBackedVirtual) facts.product = "loop device";
  facts.revision = first({"device/rev", "device/firmware_rev"});
  facts.serial = SerialOf(block);
  return facts;
}

std::string DescriptorBytes(const DescriptorFacts& facts) {
  std::string bytes(kDescriptorHeadBytes, '\0');
  bytes[kDescriptorRemovableOffset] = facts.isRemovable ? 1 : 0;
  StoreLe32(reinterpret_cast<u8*>(&bytes[kDescriptorBusOffset]), facts.bus);
  Append(facts.vendor, kDescriptorVendorOffset, &bytes);
  Append(facts.product, kDescriptorProductOffset, &bytes);
  Append(facts.revision, kDescriptorRevisionOffset, &bytes);
  Append(LooksHexadecimal(facts.serial) ? AsSwappedHex(facts.serial) : facts.serial,
         kDescriptorSerialOffset, &bytes);
  StoreLe32(reinterpret_cast<u8*>(&bytes[kDescriptorVersionOffset]), kDescriptorHeadBytes);
  StoreLe32(reinterpret_cast<u8*>(&bytes[kDescriptorSizeOffset]), static_cast<u32>(bytes.size()));
  return bytes;
}

std::string UsbIdOf(const SysBlock& block) {
  const std::string folder = UsbFolderOf(block);
  if (folder.empty()) return {};
  return "USB\\VID_" + ReadSmallFile(folder + "/idVendor").value_or("") + "&PID_" +
         ReadSmallFile(folder + "/idProduct").value_or("");
}

}  // namespace larkspur::platform
