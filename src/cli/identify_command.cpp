// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/path_text.h"
#include "base/size_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/storages.h"
#include "devices/device_kind.h"
#include "devices/open_drive.h"
#include "devices/usb_bridge.h"
#include "platform/file.h"
#include "platform/system_error.h"

namespace larkspur::cli {
namespace {

struct Found {
  std::string path;
  DeviceIdentity identity;
  std::string description;
  std::string name;
  u64 sectors = 0;
  u32 geometry[3] = {};
};

Json JsonOf(const Found& found) {
  const DeviceIdentity& identity = found.identity;
  return {{"path", found.path},
          {"description", found.description},
          {"name", found.name},
          {"kind", identity.kind},
          {"kindName", KindName(identity.kind)},
          {"bridge", identity.bridge},
          {"bridgeName", BridgeName(identity.bridge)},
          {"model", Utf8FromWide(identity.model)},
          {"serial", Utf8FromWide(identity.serial)},
          {"firmware", Utf8FromWide(identity.firmware)},
          {"logicalSectorSize", identity.logicalSectorBytes},
          {"physicalSectorSize", identity.physicalSectorBytes},
          {"sectors", found.sectors},
          {"geometry", Json::Array({found.geometry[0], found.geometry[1], found.geometry[2]})}};
}

void PrintText(const Found& found) {
  const DeviceIdentity& identity = found.identity;
  const auto line = [](const char* name, const std::string& text) {
    if (!text.empty()) Print(fmt::format("{:<12}{}\n", name, text));
  };
  line("device", found.path);
  line("drive", found.description);
  line("model", Utf8FromWide(identity.model));
  line("serial", Utf8FromWide(identity.serial));
  line("firmware", Utf8FromWide(identity.firmware));
  line("USB bridge", BridgeName(identity.bridge));
  line("size", fmt::format("{} of 512 bytes, {}", CountText(found.sectors, "sector"),
                           SizeText(found.sectors << kSectorShift)));
  line("sectors", fmt::format("{} bytes logical, {} bytes physical", identity.logicalSectorBytes,
                              identity.physicalSectorBytes));
  if (identity.kind == kKindNone) {
    Print("\nThe drive did not identify itself; this is what the system knows about it.\n");
  }
}

}  // namespace

ExitStatus RunIdentify(const std::string& device, bool json) {
  const std::u16string path = WideFromUtf8(device);
  const platform::PathKind kind = platform::KindOfPath(path.c_str());
  if (kind == platform::PathKind::kAbsent) return Fail(device + ": there is no such device");
  if (kind != platform::PathKind::kDevice && kind != platform::PathKind::kUnknown) {
    return Fail(device +
                ": this is not a device; 'larkspur devices' lists the devices of this machine");
  }
  platform::SetLastFailure(0);
  const Owned<cBaseIO> drive = OpenDrive(path);
  if (!drive) return Fail(Failure(device, CannotOpenWords(platform::LastFailure())));
  Found found{device, IdentityOf(drive.get()), Utf8FromWide(DescriptionOf(drive.get())),
              Utf8FromWide(drive->GetName()), drive->GetSectorCount()};
  drive->GetGeometry(found.geometry);
  json ? PrintJson(JsonOf(found)) : PrintText(found);
  return kExitDone;
}

}  // namespace larkspur::cli
