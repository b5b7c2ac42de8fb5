// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/device_identity.h"

#include <algorithm>
#include <new>

#include "base/byte_runs.h"
#include "base/endian.h"
#include "devices/ata_transport.h"
#include "devices/identity_text.h"
#include "devices/scsi_requests.h"
#include "devices/usb_bridge.h"

namespace larkspur {
namespace {

using namespace platform;

// The words of ATA identify data that we read.
constexpr u32 kIdentifyBytes = 512;
constexpr u32 kWordCylinders = 1;
constexpr u32 kWordHeads = 3;
constexpr u32 kWordSectors = 6;
constexpr u32 kWordSerial = 10;  // 20 bytes
constexpr u32 kSerialBytes = 20;
constexpr u32 kWordFirmware = 23;  // 8 bytes
constexpr u32 kFirmwareBytes = 8;
constexpr u32 kWordModel = 27;  // 40 bytes
constexpr u32 kModelBytes = 40;
constexpr u32 kWordCapabilities = 49;  // bit 9: addresses are LBA
constexpr u32 kWordCapacity28 = 60;    // 2 words
constexpr u32 kWordEnabled = 86;       // bit 10: 48-bit addresses
constexpr u32 kWordCapacity48 = 100;   // 4 words
constexpr u32 kWordSectorSizes = 106;  // bit 12: 117 counts; bit 13: bits 0 to 3 count
constexpr u32 kWordLogicalSize = 117;  // 2 words, in units of 2 bytes

class IdentifyData {
 public:
  u8* Bytes() { return m_bytes; }
  bool IsEmpty() const { return IsAllZero(m_bytes); }
  u16 Word(u32 index) const { return LoadLe16(m_bytes + 2 * index); }
  bool Bit(u32 word, u32 bit) const { return Word(word) >> bit & 1; }
  std::u16string Text(u32 word, u32 bytes) const {
    return IdentityField({m_bytes + 2 * word, bytes}, ByteOrder::kSwappedPairs);
  }
  u64 Capacity() const;
  void SectorSizes(DeviceIdentity* identity) const;

 private:
  u8 m_bytes[kIdentifyBytes] = {};
};

u64 IdentifyData::Capacity() const {
  if (!Bit(kWordCapabilities, 9)) {
    return u64{Word(kWordCylinders)} * Word(kWordHeads) * Word(kWordSectors);
  }
  if (Bit(kWordEnabled, 10)) return LoadLe64(m_bytes + 2 * kWordCapacity48);
  return LoadLe32(m_bytes + 2 * kWordCapacity28);
}

void IdentifyData::SectorSizes(DeviceIdentity* identity) const {
  if (Bit(kWordSectorSizes, 12)) {
    identity->logicalSectorBytes = LoadLe32(m_bytes + 2 * kWordLogicalSize) * 2;
    identity->physicalSectorBytes = identity->logicalSectorBytes;
  }
  if (Bit(kWordSectorSizes, 13)) {
    identity->physicalSectorBytes <<= Word(kWordSectorSizes) & 0x0F;
  }
}

bool Identify(Device& device, cATATransport& transport, u8 operation, IdentifyData* data) {
  AtaCommand command, result;
  command.registers[kCount] = 1;
  command.registers[kCommand] = operation;
  command.mask[kCount] = 1;
  command.mask[kCommand] = 1;
  command.direction = kDataIn;
  command.buffer = data->Bytes();
  command.length = kIdentifyBytes;
  std::fill_n(data->Bytes(), kIdentifyBytes, u8{0});
  return transport.Execute(device, command, result);
}

bool AtaIdentity(Device& device, cATATransport& transport, DeviceIdentity* identity) {
  constexpr u8 kIdentifyDevice = 0xEC, kIdentifyPacketDevice = 0xA1;
  IdentifyData data;
  if (!Identify(device, transport, kIdentifyDevice, &data) &&
      !Identify(device, transport, kIdentifyPacketDevice, &data)) {
    return false;
  }
  if (data.IsEmpty()) return false;
  identity->sectorCount = data.Capacity();
  data.SectorSizes(identity);
  identity->serial = data.Text(kWordSerial, kSerialBytes);
  identity->model = data.Text(kWordModel, kModelBytes);
  identity->firmware = data.Text(kWordFirmware, kFirmwareBytes);
  return true;
}

// Inquiry data: 8 vendor, 16 product, 32 firmware. The serial number's page: 3 length, 4 text.
constexpr u32 kInquiryBytes = 512;

void TakeInquiry(std::span<const u8> data, DeviceIdentity* identity) {
  const auto text = [&data](size_t offset, size_t bytes) {
    return IdentityField(data.subspan(offset, bytes), ByteOrder::kAsIs);
  };
  identity->model = ModelText(text(8, 8), text(16, 16));
  identity->firmware = text(32, 4);
}

bool ScsiIdentity(Device& device, DeviceIdentity* identity) {
  u8 data[kInquiryBytes] = {};
  if (!Inquiry(device, data)) return false;
  TakeInquiry(data, identity);
  auto capacity = ReadCapacity16(device);
  if (!capacity) capacity = ReadCapacity10(device);
  if (!capacity) return false;
  identity->sectorCount = capacity->lastLba;
  identity->logicalSectorBytes = capacity->blockBytes;
  identity->physicalSectorBytes = capacity->blockBytes;
  std::fill(std::begin(data), std::end(data), u8{0});
  if (InquirySerial(device, data)) {
    identity->serial = IdentityField({data + 4, data[3]}, ByteOrder::kAsIs);
  }
  return true;
}

bool DescriptorIdentity(Device& device, DeviceIdentity* identity) {
  const auto descriptor = StorageDescriptor::Query(device);
  if (!descriptor) return false;
  const auto field = [&descriptor](u32 offsetField, u32 limit) {
    const auto text = descriptor->Text(offsetField, limit);
    return text ? IdentityField(*text, ByteOrder::kAsIs) : std::u16string();
  };
  identity->model =
      ModelText(field(kDescriptorVendorOffset, 8), field(kDescriptorProductOffset, 16));
  if (const auto serial = descriptor->Text(kDescriptorSerialOffset)) {
    identity->serial = DescriptorSerial(*serial);
  }
  const auto geometry = QueryGeometry(device);
  identity->sectorCount = SectorsByLengthOr(device, geometry.value_or(DriveGeometry()));
  return true;
}

bool IdentityThrough(Device& device, Owned<cATATransport> transport, DeviceIdentity* identity) {
  if (!transport && identity->kind == kKindUsb) {
    transport.reset(new (std::nothrow) cSAT_ATATransport(SatForm::k16Bytes));
  }
  if (!transport) return false;
  if (AtaIdentity(device, *transport, identity)) return true;
  return transport->GetTransportType() == kTransportSat && ScsiIdentity(device, identity);
}

// By the kind and the bridge, which it finds.
bool AskFor(Device& device, DeviceIdentity* identity) {
  switch (identity->kind) {
    case kKindNone:
      return false;
    case kKindScsi:
      return ScsiIdentity(device, identity);
    case kKindUsbRemovable:
      identity->bridge = LookUpBridge(device);
      if (identity->bridge == kBridgeUnknown) return false;
      if (identity->bridge == kBridgeNoDisk || identity->bridge == kBridgeUnlisted) {
        return DescriptorIdentity(device, identity);
      }
      identity->kind = kKindUsb;
      break;
    case kKindUsb:
      identity->bridge = LookUpBridge(device);
  }
  return IdentityThrough(device, MakeTransport(identity->kind, identity->bridge), identity);
}

}  // namespace

std::optional<DeviceIdentity> ProbeIdentity(Device& device) {
  DeviceIdentity identity;
  identity.kind = ClassifyKind(device);
  if (!AskFor(device, &identity)) return std::nullopt;
  return identity;
}

}  // namespace larkspur
