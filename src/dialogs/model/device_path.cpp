// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/device_path.h"

#include <algorithm>
#include <new>

#include "base/text.h"
#include "devices/named_win_hd_io.h"
#include "devices/win_cd_io.h"

namespace larkspur {
namespace {

constexpr std::u16string_view kDevicePrefix = u"//./";  // as it stands after Normalised()
constexpr size_t kLetterOffset = 4, kColonOffset = 5;   // in "//./E:"

bool IsDriveLetter(char16_t unit) {
  return unit >= u'A' && unit <= u'Z';
}

std::u16string Normalised(std::u16string_view typed) {
  if (typed.starts_with(u'"')) typed.remove_prefix(1);
  const size_t last = typed.find_last_not_of(u" \t\"");
  std::u16string text(typed.substr(0, last == std::u16string_view::npos ? 0 : last + 1));
  std::replace(text.begin(), text.end(), u'\\', u'/');
  return text;
}

DevicePath Optical(char16_t letter) {
  return {DeviceChoice::kOptical, letter, {}};
}

DevicePath Named(std::u16string path) {
  return {DeviceChoice::kNamed, 0, std::move(path)};
}

// "//./E:", perhaps with something after it.
DevicePath DecideDriveDevice(std::u16string text, platform::cVolumes& volumes) {
  char16_t& letter = text[kLetterOffset];
  letter = UpperCase(letter);
  const bool optical =
      IsDriveLetter(letter) && volumes.TypeOf(text.c_str()) == platform::kDriveOptical;
  return optical ? Optical(letter) : Named(std::move(text));
}

// A letter and a colon, alone.
DevicePath DecideDrive(char16_t letter, platform::cVolumes& volumes) {
  const std::u16string drive = {letter, u':'};
  switch (volumes.TypeOf((drive + u"\\").c_str())) {
    case platform::kDriveOptical:
      return Optical(letter);
    case platform::kDriveRemovable:
    case platform::kDriveFixed:
    case platform::kDriveRamDisk:
      return Named(u"\\\\.\\" + drive);
    default:  // no drive, or the disk of another machine
      return {};
  }
}

// A device that goes by a name of its own, such as "//./PhysicalDrive0".
bool IsDeviceName(std::u16string_view text) {
  return text.starts_with(kDevicePrefix) && text.size() > kDevicePrefix.size() &&
         text.find(u'/', kDevicePrefix.size()) == std::u16string_view::npos;
}

DevicePath DecideMountPoint(std::u16string text, platform::cVolumes& volumes) {
  const bool isDeviceName = IsDeviceName(text);
  std::replace(text.begin(), text.end(), u'/', u'\\');
  std::u16string mountPoint = text;
  if (!mountPoint.ends_with(u'\\')) mountPoint += u'\\';
  std::u16string volume = volumes.MountedAt(mountPoint.c_str());
  if (volume.empty()) return isDeviceName ? Named(std::move(text)) : DevicePath{};
  volume.pop_back();  // with its backslash it would name the root folder
  return Named(std::move(volume));
}

Owned<cBaseIO> Opened(Owned<cBaseIO> device, const cBaseIoResource& resource) {
  if (!device || !device->Open(&resource, true)) return nullptr;
  return device;
}

}  // namespace

DevicePath DecideDevicePath(std::u16string_view typed, platform::cVolumes& volumes) {
  std::u16string text = Normalised(typed);
  // Completed to a backslash, nothing at all would mean the current drive.
  if (text.empty()) return {};
  if (text.starts_with(kDevicePrefix) && text.size() > kColonOffset && text[kColonOffset] == u':') {
    return DecideDriveDevice(std::move(text), volumes);
  }
  const char16_t letter = UpperCase(text[0]);
  if (text.size() > 1 && text[1] == u':' && IsDriveLetter(letter) &&
      text.find_first_not_of(u'/', 2) == std::u16string::npos) {
    return DecideDrive(letter, volumes);
  }
  return DecideMountPoint(std::move(text), volumes);
}

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
