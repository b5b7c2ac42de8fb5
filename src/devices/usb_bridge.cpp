// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/usb_bridge.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <optional>
#include <string_view>

#include "devices/ata_transport.h"
#include "devices/device_system.h"

namespace larkspur {
namespace {

using namespace platform;

struct BridgeRow {
  u16 vendor, product;
  BridgeKind kind;
};

constexpr u32 KeyOf(const BridgeRow& row) {
  return u32{row.vendor} << 16 | row.product;
}

constexpr bool IsBefore(const BridgeRow& a, const BridgeRow& b) {
  return KeyOf(a) < KeyOf(b);
}

// In order of vendor and product.
constexpr BridgeRow kBridges[] = {
    {0x0350, 0x0038, kBridgeSat12},
    {0x043E, 0x70F1, kBridgeJMicron12},
    {0x0480, 0xA004, kBridgeSunplus},
    {0x04B4, 0x6830, kBridgeUnsupported},
    {0x04E8, 0x1F05, kBridgeJMicron12},
    {0x04E8, 0x1F06, kBridgeJMicron12},
    {0x04E8, 0x1F08, kBridgeJMicron12},
    {0x04E8, 0x1F0A, kBridgeJMicron12},
    {0x04E8, 0x2F03, kBridgeJMicron12},
    {0x04E8, 0x6032, kBridgeJMicron12},
    {0x04FC, 0x0C05, kBridgeSunplus},
    {0x04FC, 0x0C15, kBridgeSunplus},
    {0x04FC, 0x0C25, kBridgeSunplus},
    {0x059B, 0x0272, kBridgeUnsupported},
    {0x059B, 0x0277, kBridgeJMicron12},
    {0x059B, 0x0370, kBridgeSunplus},
    {0x059B, 0x0475, kBridgeJMicron12},
    {0x059B, 0x0575, kBridgeJMicron12},
    {0x059F, 0x0951, kBridgeJMicron12},
    {0x059F, 0x1019, kBridgeJMicron12},
    {0x059F, 0x101D, kBridgeJMicron12Other},
    {0x059F, 0x1021, kBridgeJMicron12},
    {0x059F, 0x102A, kBridgeJMicron12Other},
    {0x05AB, 0x0060, kBridgeUnsupported},
    {0x067B, 0x2507, kBridgeJMicron12},
    {0x067B, 0x2571, kBridgeUnsupportedProlific},
    {0x067B, 0x2771, kBridgeUnsupportedProlific},
    {0x067B, 0x2773, kBridgeUnsupportedProlific},
    {0x067B, 0x2775, kBridgeUnsupportedProlific},
    {0x067B, 0x3507, kBridgeJMicron14},
    {0x07AB, 0xFC88, kBridgeJMicron12Other},
    {0x07AB, 0xFC8E, kBridgeSunplus},
    {0x07AB, 0xFCD6, kBridgeJMicron12},
    {0x07AB, 0xFCDA, kBridgeJMicron12},
    {0x0930, 0x0B03, kBridgeSunplus},
    {0x0930, 0x0B09, kBridgeSunplus},
    {0x0930, 0x0B11, kBridgeSunplus},
    {0x0939, 0x0B15, kBridgeSunplus},
    {0x0939, 0x0B16, kBridgeSunplus},
    {0x0BC2, 0x0503, kBridgeUnsupported},
    {0x0BC2, 0x3008, kBridgeSat12},
    {0x0BC2, 0x5031, kBridgeSat12},
    {0x0BC2, 0x50A1, kBridgeSat12},
    {0x0C0B, 0xB001, kBridgeUnsupported},
    {0x0C0B, 0xB159, kBridgeSunplus},
    {0x0E21, 0x0510, kBridgeUnsupported},
    {0x1006, 0x3002, kBridgeUnsupported},
    {0x1058, 0x0701, kBridgeUnsupported},
    {0x125F, 0xA93A, kBridgeUnsupported},
    {0x125F, 0xA94A, kBridgeUnsupported},
    {0x13FD, 0x1640, kBridgeSat12},
    {0x152D, 0x0539, kBridgeJMicron12},
    {0x152D, 0x0551, kBridgeJMicron12Other},
    {0x152D, 0x2329, kBridgeJMicron12},
    {0x152D, 0x2336, kBridgeJMicron12Other},
    {0x152D, 0x2337, kBridgeJMicron12},
    {0x152D, 0x2338, kBridgeJMicron12},
    {0x152D, 0x2339, kBridgeJMicron12Other},
    {0x152D, 0x2352, kBridgeJMicron12Other},
    {0x152D, 0x2509, kBridgeJMicron12Other},
    {0x152D, 0x2566, kBridgeJMicron12Other},
    {0x18A5, 0x0214, kBridgeSunplus},
    {0x18A5, 0x0216, kBridgeSunplus},
    {0x18A5, 0x0227, kBridgeJMicron12},
    {0x18A5, 0x022A, kBridgeJMicron12},
    {0x18A5, 0x022B, kBridgeJMicron12},
    {0x18A5, 0x0237, kBridgeSat12},
    {0x1BCF, 0x0C31, kBridgeSunplus},
    {0x4971, 0x1011, kBridgeJMicron12},
    {0x4971, 0xCE17, kBridgeJMicron12Other},
};
static_assert(std::size(kBridges) == 70);
static_assert(std::is_sorted(std::begin(kBridges), std::end(kBridges), IsBefore));

std::optional<u32> TakeHex(std::u16string_view* text) {
  u32 value = 0;
  size_t digits = 0;
  for (; digits < 4 && digits < text->size(); ++digits) {
    const char16_t unit = (*text)[digits];
    const u32 lower = unit | 0x20u;
    const bool isLetter = lower >= u'a' && lower <= u'f';
    if (!isLetter && (unit < u'0' || unit > u'9')) break;
    value = value * 16 + (isLetter ? lower - u'a' + 10 : unit - u'0');
  }
  text->remove_prefix(digits);
  return digits > 0 ? std::optional(value) : std::nullopt;
}

bool TakeWord(std::u16string_view* text, std::u16string_view word) {
  if (!text->starts_with(word)) return false;
  text->remove_prefix(word.size());
  return true;
}

// "USB\VID_152D&PID_2338…"
BridgeKind BridgeOfParent(std::u16string_view id) {
  if (!TakeWord(&id, u"USB\\VID_")) return kBridgeUnknown;
  const auto vendor = TakeHex(&id);
  if (!vendor || !TakeWord(&id, u"&PID_")) return kBridgeUnknown;
  const auto product = TakeHex(&id);
  if (!product) return kBridgeUnknown;
  return BridgeOf(static_cast<u16>(*vendor), static_cast<u16>(*product));
}

bool IsThatDisk(const DiskInterface& disk, u32 number) {
  const auto device = Devices().Open(disk.path.c_str(), kAccessQuery);
  const auto found = device ? QueryNumber(*device) : std::nullopt;
  return found && found->type == kDeviceTypeDisk && found->partition == 0 &&
         found->number == number;
}

}  // namespace

BridgeKind BridgeOf(u16 vendor, u16 product) {
  const BridgeRow wanted = {vendor, product, kBridgeUnlisted};
  const auto row = std::lower_bound(std::begin(kBridges), std::end(kBridges), wanted, IsBefore);
  const bool isListed = row != std::end(kBridges) && KeyOf(*row) == KeyOf(wanted);
  return isListed ? row->kind : kBridgeUnlisted;
}

BridgeKind LookUpBridge(Device& device) {
  const auto number = QueryNumber(device);
  if (!number || number->type != kDeviceTypeDisk) return kBridgeNoDisk;
  for (const DiskInterface& disk : Devices().DiskInterfaces()) {
    if (!IsThatDisk(disk, number->number)) continue;
    return BridgeOfParent(Devices().ParentDeviceId(disk.instance));
  }
  return kBridgeUnknown;
}

const char* BridgeName(u32 bridge) {
  switch (bridge) {
    case kBridgeSat12:
      return "SAT, 12 bytes";
    case kBridgeJMicron12:
    case kBridgeJMicron12Other:
      return "JMicron";
    case kBridgeJMicron14:
      return "JMicron, 14 bytes";
    case kBridgeSunplus:
      return "Sunplus";
    case kBridgeUnsupported:
      return "unsupported";
    case kBridgeUnsupportedProlific:
      return "Prolific, unsupported";
  }
  return "";
}

Owned<cATATransport> TransportForBridge(u32 bridge) {
  cATATransport* transport = nullptr;
  switch (bridge) {
    case kBridgeUnlisted:
      transport = new (std::nothrow) cSAT_ATATransport(SatForm::k16Bytes);
      break;
    case kBridgeSat12:
      transport = new (std::nothrow) cSAT_ATATransport(SatForm::k12Bytes);
      break;
    case kBridgeJMicron12:
    case kBridgeJMicron12Other:
      transport = new (std::nothrow) cJMicron_ATATransport(JMicronForm::k12Bytes);
      break;
    case kBridgeJMicron14:
      transport = new (std::nothrow) cJMicron_ATATransport(JMicronForm::k14Bytes);
      break;
    case kBridgeSunplus:
      transport = new (std::nothrow) cSUNPlus_ATATransport;
      break;
  }
  return Owned<cATATransport>(transport);
}

Owned<cATATransport> MakeTransport(u32 kind, u32 bridge) {
  switch (kind) {
    case kKindAta:
      return Owned<cATATransport>(new (std::nothrow) cGEN_ATATransport);
    case kKindSat:
      return Owned<cATATransport>(new (std::nothrow) cSAT_ATATransport(SatForm::k16Bytes));
    case kKindUsb:
      return TransportForBridge(bridge);
  }
  return nullptr;
}

}  // namespace larkspur
