// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/device_path.h"

#include <gtest/gtest.h>

#include "base/path_text.h"
#include "fakes/fake_volumes.h"

namespace larkspur {
namespace {

// "optical E", "named \\.\C:" or "refused".
std::string Told(const DevicePath& device) {
  switch (device.choice) {
    case DeviceChoice::kOptical:
      return "optical " + Utf8FromWide({&device.letter, 1});
    case DeviceChoice::kNamed:
      return "named " + Utf8FromWide(device.path);
    default:
      return "refused";
  }
}

fakes::FakeVolumes SomeDrives() {
  fakes::FakeVolumes volumes;
  volumes.drives = {{u"A:\\", {platform::kDriveRemovable}},
                    {u"C:\\", {platform::kDriveFixed}},
                    {u"E:\\", {platform::kDriveOptical}},
                    {u"//./E:", {platform::kDriveOptical}},
                    {u"//./C:", {platform::kDriveFixed}},
                    {u"N:\\", {platform::kDriveRemote}},
                    {u"R:\\", {platform::kDriveRamDisk}},
                    {u"U:\\", {platform::kDriveUnknown}},
                    {u"W:\\", {99}}};
  volumes.mounted = {{u"C:\\mnt\\disk\\", u"\\\\?\\Volume{1}\\"},
                     {u"\\\\?\\Volume{2}\\", u"\\\\?\\Volume{2}\\"},
                     {u"\\\\.\\mounted\\", u"\\\\?\\Volume{3}\\"}};
  return volumes;
}

TEST(DevicePath, IsDecidedFromWhatWasTyped) {
  const struct {
    const char16_t* typed;
    const char* told;
  } cases[] = {
      {u"C:", "named \\\\.\\C:"},
      {u"c:\\", "named \\\\.\\C:"},
      {u"C:/", "named \\\\.\\C:"},
      {u"C://", "named \\\\.\\C:"},
      {u"\"C:\\\"", "named \\\\.\\C:"},
      {u"c:  \"\" ", "named \\\\.\\C:"},
      {u"A:", "named \\\\.\\A:"},
      {u"R:", "named \\\\.\\R:"},
      {u"e:", "optical E"},
      {u"N:", "refused"},  // the disk of another machine
      {u"U:", "refused"},
      {u"Z:", "refused"},
      {u"W:", "refused"},
      {u"\\\\.\\E:", "optical E"},
      {u"\"\\\\.\\e:\" ", "optical E"},
      {u"//./e:", "optical E"},
      {u"\\\\.\\c:", "named //./C:"},
      {u"\\\\.\\c:more", "named //./C:more"},
      {u"\\\\.\\1:", "named //./1:"},
      {u"\\\\.\\PhysicalDrive0", "named \\\\.\\PhysicalDrive0"},
      {u"\\\\.\\mounted", "named \\\\?\\Volume{3}"},
      {u"\\\\.\\folder\\name", "refused"},
      {u"\\\\.\\", "refused"},
      {u"C:\\mnt\\disk", "named \\\\?\\Volume{1}"},
      {u"C:/mnt/disk/", "named \\\\?\\Volume{1}"},
      {u"C:\\mnt", "refused"},
      {u"C:\\mnt\\disk\\\\", "refused"},
      {u"\\\\?\\Volume{2}", "named \\\\?\\Volume{2}"},
      {u"1:", "refused"},
      {u"\u0416:", "refused"},
      {u"", "refused"},
      {u"\"", "refused"},
      {u" \" ", "refused"},
      {u" C:", "refused"},  // only trailing blanks are passed over
      {u":", "refused"},
  };
  fakes::FakeVolumes volumes = SomeDrives();
  for (const auto& c : cases) {
    EXPECT_EQ(Told(DecideDevicePath(c.typed, volumes)), c.told) << Utf8FromWide(c.typed);
  }
}

TEST(DevicePath, MountPointsAreAskedForWithBackslashes) {
  fakes::FakeVolumes volumes;
  DecideDevicePath(u"\"D:/some folder/mnt \"", volumes);
  EXPECT_EQ(volumes.asked, u"D:\\some folder\\mnt\\");
}

TEST(DevicePath, AnyLengthIsTaken) {
  fakes::FakeVolumes volumes;
  for (const size_t length : {1u, 2u, 3u, 4u, 5u, 6u, 16384u}) {
    for (const char16_t unit : {u'/', u'"', u' ', u':', u'A', u'\xD800'}) {
      DecideDevicePath(std::u16string(length, unit), volumes);
    }
    DecideDevicePath(std::u16string(u"//./").substr(0, length), volumes);
  }
}

}  // namespace
}  // namespace larkspur
