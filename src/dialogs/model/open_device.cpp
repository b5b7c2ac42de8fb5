// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/open_device.h"

#include <new>

#include "devices/named_win_hd_io.h"
#include "devices/win_cd_io.h"

namespace larkspur {
namespace {

Owned<cBaseIO> Opened(Owned<cBaseIO> device, const cBaseIoResource& resource) {
  if (!device || !device->Open(&resource, true)) return nullptr;
  return device;
}

}  // namespace

Owned<cBaseIO> OpenDevice(const DevicePath& device) {
  switch (device.choice) {
    case DeviceChoice::kOptical: {
      Owned<cWinCDIO> drive(new (std::nothrow) cWinCDIO);
      if (drive) drive->SetStrict(true);
      return Opened(Owned<cBaseIO>(drive.release()), cNumberedDeviceResource(device.letter));
    }
    case DeviceChoice::kNamed:
      return Opened(Owned<cBaseIO>(new (std::nothrow) cNamedWinHDIO),
                    cNamedFileResource(device.path));
    default:
      return nullptr;
  }
}

}  // namespace larkspur
