// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/open_drive.h"

#include <optional>

#include "devices/identity_text.h"
#include "devices/named_win_hd_io.h"
#include "devices/win_cd_io.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

constexpr std::u16string_view kNumberedDrive = u"\\\\.\\PhysicalDrive";
constexpr size_t kMaxDigits = 4;

std::optional<i32> DriveNumberOf(std::u16string_view path) {
  if (!path.starts_with(kNumberedDrive)) return std::nullopt;
  path.remove_prefix(kNumberedDrive.size());
  if (path.empty() || path.size() > kMaxDigits) return std::nullopt;
  i32 number = 0;
  for (const char16_t digit : path) {
    if (digit < u'0' || digit > u'9') return std::nullopt;
    number = number * 10 + (digit - u'0');
  }
  return number;
}

template <typename Drive, typename Resource>
Owned<cBaseIO> Opened(Owned<Drive> drive, const Resource& resource) {
  return Owned<cBaseIO>(drive->Open(&resource, true) ? drive.release() : nullptr);
}

}  // namespace

Owned<cBaseIO> OpenDrive(const std::u16string& path) {
  if (const char16_t letter = Devices().OpticalLetter(path.c_str())) {
    Owned<cWinCDIO> drive(new cWinCDIO);
    drive->SetStrict(true);
    return Opened(std::move(drive), cNumberedDeviceResource(letter));
  }
  if (const auto number = DriveNumberOf(path)) {
    return Opened(Owned<cWinHDIO>(new cWinHDIO), cNumberedDeviceResource(*number));
  }
  return Opened(Owned<cNamedWinHDIO>(new cNamedWinHDIO), cNamedFileResource(path));
}

DeviceIdentity IdentityOf(cBaseIO* drive) {
  u32 geometry[3];
  drive->GetGeometry(geometry);
  DeviceIdentity identity;
  if (drive->GetTypeId() == kTypeWinCD) {
    const auto* optical = static_cast<cWinCDIO*>(drive);
    identity.model = ModelText(optical->Vendor(), optical->Model());
    identity.serial = optical->Serial();
  } else {
    identity = static_cast<cWinHDIO*>(drive)->Identity();
    if (identity.kind != 0) return identity;
  }
  identity.logicalSectorBytes = geometry[0];
  identity.physicalSectorBytes = geometry[0];
  return identity;
}

std::u16string DescriptionOf(cBaseIO* drive) {
  if (drive->GetTypeId() == kTypeWinCD) return drive->GetName();
  return std::u16string(static_cast<cWinHDIO*>(drive)->OpeningDescription());
}

bool HasDriveGone(const std::u16string& path, u64 bytes) {
  return platform::IsDeviceGone(platform::LastFailure()) ||
         Devices().StateOf(path.c_str(), bytes) == platform::FailureKind::kGone;
}

}  // namespace larkspur
