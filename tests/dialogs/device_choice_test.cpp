// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// From what the user typed or chose to the device that is opened, and back.

#include <gtest/gtest.h>

#include "base/path_text.h"
#include "devices/device_kind.h"
#include "devices/device_system.h"
#include "dialogs/model/define_storage.h"
#include "dialogs/model/device_path.h"
#include "dialogs/model/drive_rows.h"
#include "dialogs/model/source_rows.h"
#include "fakes/fake_volumes.h"
#include "fakes/simulated_drive.h"

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
  // A text of any length is taken.
  for (const size_t length : {1u, 2u, 3u, 4u, 5u, 6u, 16384u}) {
    for (const char16_t unit : {u'/', u'"', u' ', u':', u'A', u'\xD800'}) {
      DecideDevicePath(std::u16string(length, unit), volumes);
    }
    DecideDevicePath(std::u16string(u"//./").substr(0, length), volumes);
  }
}

struct OpenDeviceTest : testing::Test {
  fakes::SimulatedDevices devices;
  cDevicesInstead instead{&devices};
};

TEST_F(OpenDeviceTest, OpensNamedDevicesForReading) {
  fakes::SimulatedDrive* const drive = devices.Add(u"\\\\.\\PhysicalDrive3", 512, 777);
  drive->cylinders = 0;
  const Owned<cBaseIO> opened = OpenDevice({DeviceChoice::kNamed, 0, u"\\\\.\\PhysicalDrive3"});
  ASSERT_TRUE(opened);
  EXPECT_EQ(opened->GetTypeId(), kTypeNamedWinHD);
  EXPECT_EQ(opened->GetSectorCount(), 777u);
  EXPECT_TRUE(opened->IsReadOnly());
}

TEST_F(OpenDeviceTest, OpensOpticalDrivesByTheirLetterAndNothingThatIsNotThere) {
  devices.Add(u"\\\\.\\E:", 2048, 100)->isOptical = true;
  const Owned<cBaseIO> opened = OpenDevice({DeviceChoice::kOptical, u'E', {}});
  ASSERT_TRUE(opened);
  EXPECT_EQ(opened->GetTypeId(), kTypeWinCD);
  EXPECT_FALSE(OpenDevice({}));
  EXPECT_FALSE(OpenDevice({DeviceChoice::kNamed, 0, u"\\\\.\\PhysicalDrive9"}));
  EXPECT_FALSE(OpenDevice({DeviceChoice::kOptical, u'F', {}}));
}

TEST(CachePlace, ADescriptionTellsItsDevice) {
  const struct {
    const char16_t* description;
    const char16_t* device;
  } cases[] = {
      {u"Drive1: Fixed ACME Barracuda 2000GB (SAT)", u"\\\\.\\PhysicalDrive1"},
      {u"PhysicalDrive12: Fixed ACME", u"\\\\.\\PhysicalDrive12"},
      {u"Drive C: ACME: a disk", u"\\\\.\\C:"},
      {u"\\\\?\\Volume{0a}: ACME", u"\\\\?\\Volume{0a}"},
      {u"C:\\images\\disk.img", u""},
      {u"Drives: many", u""},
      {u"Drive: none", u""},
      {u": nothing", u""},
      {u"a plain name", u""},
      {u"", u""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(DeviceOfDescription(c.description), c.device) << Utf8FromWide(c.description);
  }
}

// A storage of a host: it may have no description and no name, and ends no text that is too long.
class cHostStorage final : public cBaseIO {
 public:
  cBaseIO* Clone() override { return nullptr; }
  bool IsSameAs(cBaseIO* other) override { return other == this; }
  u64 GetSectorCount() override { return 30000; }
  u64 GetByteSize() override { return u64{30000} * kSectorBytes; }
  const char16_t* GetName() override { return name; }
  u32 GetTypeId() override { return typeId; }
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }
  bool GetDescription(char16_t* buffer, i32 capacity) override {
    if (!description) return false;
    std::u16string_view text(description, std::char_traits<char16_t>::length(description) + 1);
    text.copy(buffer, static_cast<size_t>(capacity));
    return true;
  }

  const char16_t* description = u"Foreign";
  const char16_t* name = u"";
  u32 typeId = 0x5555;
};

TEST(SourceRows, SayTheDescriptionAndTheNameWhereItAdds) {
  static const std::u16string kLong(1000, u'x');
  const struct {
    const char16_t* description;  // null: there is none
    const char16_t* name;
    std::u16string expected;
  } cases[] = {
      {u"Drive0: Fixed ACME", u"S123", u"Drive0: Fixed ACME [S123]"},
      {u"Drive0: Fixed ACME", u"[n/a]", u"Drive0: Fixed ACME"},
      {u"Drive0: Fixed ACME", u"ACME", u"Drive0: Fixed ACME"},
      {u"Drive0", u"", u"Drive0"},
      {u"Drive0", nullptr, u"Drive0"},
      {u"", u"S123", u"S123"},
      {nullptr, u"S123", u"S123"},
      {nullptr, nullptr, u"#7 (0.01GB)"},
      {u" two\r\nlines\t", u"a\nname ", u"two lines [a name]"},
      {kLong.c_str(), nullptr, std::u16string(255, u'x')},
      {nullptr, kLong.c_str(), std::u16string(256, u'x')},
  };
  for (const auto& c : cases) {
    cHostStorage storage;
    storage.description = c.description;
    storage.name = c.name;
    EXPECT_EQ(StorageText(&storage, 7), c.expected) << Utf8FromWide(c.expected);
  }
}

TEST(SourceRows, LeaveOutNullAndReadOnceStorages) {
  cHostStorage first, readOnce, second;
  first.name = u"first";
  second.name = u"second";
  readOnce.typeId = kTypeReadOnce;
  cBaseIO* const storages[] = {nullptr, &first, &readOnce, nullptr, &second};
  const std::vector<SourceRow> rows = SourceRows(storages);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0].storage, &first);
  EXPECT_EQ(rows[0].text, u"Foreign [first]");
  EXPECT_EQ(rows[1].storage, &second);
  EXPECT_TRUE(SourceRows({}).empty());
}

TEST(DriveRows, SayWhatADriveIsAndWhatIsSpecialAboutIt) {
  const DriveWords words{u"removable", u"optical", u"read-only", u"system", u"mounted"};
  std::vector<DeviceFacts> drives(4);
  drives[0].path = u"C";
  drives[0].kind = kKindAta;
  drives[0].bytes = u64{1} << 40;
  drives[0].isMounted = true;
  drives[1].path = u"U";
  drives[1].kind = kKindUsbRemovable;
  drives[1].model = u"Stick";
  drives[1].serial = u"S1";
  drives[1].bytes = 1536;
  drives[1].isRemovable = drives[1].isMounted = true;
  drives[2].path = u"D";
  drives[2].isOptical = drives[2].isReadOnly = true;
  std::string text;
  auto rows = DriveRows(drives, words, [](const auto& path) { return path == u"C"; });
  for (const DriveRow& row : rows)
    for (const auto& cell : {row.path, row.model, row.serial, row.size, row.notes + u"\n"})
      text += "|" + Utf8FromWide(cell);
  EXPECT_EQ(text,
            "|C|||1.0 TiB|ATA, system\n"
            "|U|Stick|S1|1.5 KiB|USB, removable, mounted\n"
            "|D|||-|optical, read-only\n"
            "||||-|\n");
  EXPECT_EQ(RowToOffer(rows), 1u);
  rows.resize(1);
  EXPECT_EQ(RowToOffer(rows), 0u);
}

}  // namespace
}  // namespace larkspur
