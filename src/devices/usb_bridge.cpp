// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/usb_bridge.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <optional>
#include <string_view>

#include "devices/device_system.h"
#include "devices/gen_ata_transport.h"
#include "devices/jmicron_ata_transport.h"
#include "devices/sat_ata_transport.h"
#include "devices/sunplus_ata_transport.h"

namespace larkspur {
namespace {

using namespace platform;

struct BridgeRow {
  u32 key;  // vendor x 65536 + product
  u32 bridge;
};

// In order of the keys.
constexpr BridgeRow kBridges[] = {
    {0x03500038, 3}, {0x043E70F1, 4}, {0x0480A004, 7}, {0x04B46830, 8}, {0x04E81F05, 4},
    {0x04E81F06, 4}, {0x04E81F08, 4}, {0x04E81F0A, 4}, {0x04E82F03, 4}, {0x04E86032, 4},
    {0x04FC0C05, 7}, {0x04FC0C15, 7}, {0x04FC0C25, 7}, {0x059B0272, 8}, {0x059B0277, 4},
    {0x059B0370, 7}, {0x059B0475, 4}, {0x059B0575, 4}, {0x059F0951, 4}, {0x059F1019, 4},
    {0x059F101D, 6}, {0x059F1021, 4}, {0x059F102A, 6}, {0x05AB0060, 8}, {0x067B2507, 4},
    {0x067B2571, 9}, {0x067B2771, 9}, {0x067B2773, 9}, {0x067B2775, 9}, {0x067B3507, 5},
    {0x07ABFC88, 6}, {0x07ABFC8E, 7}, {0x07ABFCD6, 4}, {0x07ABFCDA, 4}, {0x09300B03, 7},
    {0x09300B09, 7}, {0x09300B11, 7}, {0x09390B15, 7}, {0x09390B16, 7}, {0x0BC20503, 8},
    {0x0BC23008, 3}, {0x0BC25031, 3}, {0x0BC250A1, 3}, {0x0C0BB001, 8}, {0x0C0BB159, 7},
    {0x0E210510, 8}, {0x10063002, 8}, {0x10580701, 8}, {0x125FA93A, 8}, {0x125FA94A, 8},
    {0x13FD1640, 3}, {0x152D0539, 4}, {0x152D0551, 6}, {0x152D2329, 4}, {0x152D2336, 6},
    {0x152D2337, 4}, {0x152D2338, 4}, {0x152D2339, 6}, {0x152D2352, 6}, {0x152D2509, 6},
    {0x152D2566, 6}, {0x18A50214, 7}, {0x18A50216, 7}, {0x18A50227, 4}, {0x18A5022A, 4},
    {0x18A5022B, 4}, {0x18A50237, 3}, {0x1BCF0C31, 7}, {0x49711011, 4}, {0x4971CE17, 6},
};
static_assert(std::size(kBridges) == 70);
static_assert(std::is_sorted(std::begin(kBridges), std::end(kBridges),
                             [](const BridgeRow& a, const BridgeRow& b) { return a.key < b.key; }));

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
  const u32 key = u32{vendor} << 16 | product;
  const auto row = std::lower_bound(std::begin(kBridges), std::end(kBridges), key,
                                    [](const BridgeRow& r, u32 wanted) { return r.key < wanted; });
  const bool isListed = row != std::end(kBridges) && row->key == key;
  return isListed ? static_cast<BridgeKind>(row->bridge) : kBridgeUnlisted;
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
  constexpr const char* kNames[] = {"",
                                    "",
                                    "",
                                    "SAT, 12 bytes",
                                    "JMicron",
                                    "JMicron, 14 bytes",
                                    "JMicron",
                                    "Sunplus",
                                    "unsupported",
                                    "Prolific, unsupported"};
  return kNames[bridge < std::size(kNames) ? bridge : 0];
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

Owned<cATATransport> MakeTransport(Device& device, u32 kind, u32* bridge) {
  if (kind == kKindNone) kind = ClassifyKind(device);
  switch (kind) {
    case kKindAta:
      return Owned<cATATransport>(new (std::nothrow) cGEN_ATATransport);
    case kKindSat:
      return Owned<cATATransport>(new (std::nothrow) cSAT_ATATransport(SatForm::k16Bytes));
    case kKindUsb:
      *bridge = LookUpBridge(device);
      return TransportForBridge(*bridge);
  }
  return nullptr;
}

}  // namespace larkspur
