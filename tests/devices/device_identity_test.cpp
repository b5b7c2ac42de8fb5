// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Who a drive is: every kind of device with every kind of bridge, and exactly what is asked of it.

#include "devices/device_identity.h"

#include "base/path_text.h"
#include "devices/device_test.h"
#include "devices/identity_text.h"
#include "devices/usb_bridge.h"

namespace larkspur {
namespace {

using fakes::Wrapping;

struct KindCase {
  u32 bus;
  const char* vendor;
  bool removable, smart;
  u32 kind;
};

constexpr KindCase kKinds[] = {
    {0, "", false, false, 0},         {1, "", false, false, 2},
    {1, "ATA     ", false, false, 3}, {1, "ATA     ", false, true, 1},
    {1, "ATA", false, false, 2},      {1, "ATA     X", false, false, 3},
    {1, "ata     ", false, false, 2}, {2, "ATA     ", false, true, 0},
    {3, "", false, false, 1},         {3, "ATA     ", false, false, 3},
    {4, "", false, false, 0},         {5, "", false, false, 0},
    {6, "", false, false, 0},         {7, "", false, false, 4},
    {7, "ATA     ", false, false, 4}, {7, "", true, false, 5},
    {8, "", false, false, 2},         {8, "", false, true, 1},
    {8, "ATA     ", false, false, 3}, {9, "", false, false, 2},
    {9, "ATA     ", false, false, 3}, {9, "", false, true, 2},
    {10, "", false, false, 2},        {10, "ATA     ", false, false, 3},
    {11, "", false, false, 1},        {11, "ATA     ", false, false, 3},
    {12, "", false, false, 0},        {13, "", false, false, 0},
    {14, "", false, false, 0},        {15, "", false, false, 0},
    {17, "", false, false, 0},        {0xFFFFFFFF, "", false, false, 0},
};

class DeviceIdentityTest : public DeviceTest {
 protected:
  fakes::SimulatedDrive* MakeDrive(const std::u16string& path) {
    fakes::SimulatedDrive* drive = m_devices.Add(path);
    drive->identifyData = fakes::MakeIdentify("ATA model", "ATA serial", "FW1", 1000000);
    drive->inquiry = fakes::MakeInquiry("SCSI", "model", "REV1");
    drive->unitSerial = " SCSI serial ";
    drive->product = "descriptor model";
    drive->serial = "descriptor serial";
    return drive;
  }
  bool Probe(fakes::SimulatedDrive& drive) {
    const auto device = OpenDrive(drive);
    drive.TakeLog();
    const auto identity = ProbeIdentity(*device);
    m_identity = identity.value_or(DeviceIdentity());
    return identity.has_value();
  }
  std::string Text() {
    return Utf8FromWide(m_identity.model + u", " + m_identity.serial + u", " +
                        m_identity.firmware) +
           ", " + std::to_string(m_identity.sectorCount) + " x " +
           std::to_string(m_identity.logicalSectorBytes) + "/" +
           std::to_string(m_identity.physicalSectorBytes) + ", kind " +
           std::to_string(m_identity.kind) + ", bridge " + std::to_string(m_identity.bridge);
  }

  DeviceIdentity m_identity;
};

TEST_F(DeviceIdentityTest, KindByBusAndVendor) {
  for (const KindCase& c : kKinds) {
    fakes::SimulatedDrive* drive = m_devices.Add(u"disk");
    drive->bus = c.bus;
    drive->vendor = c.vendor;
    drive->isRemovable = c.removable;
    drive->speaksSmart = c.smart;
    EXPECT_EQ(ClassifyKind(*OpenDrive(*drive)), c.kind) << c.bus << " '" << c.vendor << "'";
  }
}

constexpr const char* kAtaText = "ATA model, ATA serial, FW1, 1000000 x 512/512";
constexpr const char* kScsiText = "SCSI model, SCSI serial, REV1, 3999 x 512/512";
constexpr const char* kSystemText = "descriptor model, descriptor serial, , 9000 x 512/512";

// What a USB drive is sent, by the bridge that its identifiers tell of.
struct BridgeCase {
  const char* name;
  const char16_t* parent;  // empty: not in the tree
  bool isDisk;
  Wrapping wrapping;
  u32 bridge;
  const char* text;           // of a drive without removable medium
  const char* textRemovable;  // of one with; empty: the probe fails
  const char* log;
};

constexpr const char* kSat16 = "scsi 85 08 0E 00 00 00 01 00 00 00 00 00 00 00 EC 00 in 512";
constexpr const char* kSat12 = "scsi A1 08 0E 00 01 00 00 00 00 EC 00 00 in 512";
constexpr const char* kJMicron12 =
    "scsi DF 10 00 00 01 00 72 0F 00 00 00 FD in 1\n"
    "scsi DF 10 00 02 00 00 01 00 00 00 B0 EC in 512";
constexpr const char* kJMicron14 =
    "scsi DF 10 00 00 01 00 72 0F 00 00 00 FD 06 7B in 1\n"
    "scsi DF 10 00 02 00 00 01 00 00 00 B0 EC 06 7B in 512";
constexpr const char* kSunplus = "scsi F8 00 22 10 01 00 01 00 00 00 A0 EC in 512";

const BridgeCase kBridgeCases[] = {
    {"not found", u"", true, Wrapping::kSat16, 0, kAtaText, "", kSat16},
    {"no disk", u"USB\\VID_152D&PID_2338", false, Wrapping::kSat16, 1, kAtaText, kSystemText,
     kSat16},
    {"not in the table", u"USB\\VID_1234&PID_5678\\5&2", true, Wrapping::kSat16, 2, kAtaText,
     kSystemText, kSat16},
    {"12-byte SAT", u"USB\\VID_0350&PID_0038", true, Wrapping::kSat12, 3, kAtaText, kAtaText,
     kSat12},
    {"JMicron", u"USB\\VID_152D&PID_2338\\0000", true, Wrapping::kJMicron12, 4, kAtaText, kAtaText,
     kJMicron12},
    {"JMicron, 14 bytes", u"USB\\VID_067b&PID_3507", true, Wrapping::kJMicron14, 5, kAtaText,
     kAtaText, kJMicron14},
    {"another JMicron", u"USB\\VID_152D&PID_2336", true, Wrapping::kJMicron12, 6, kAtaText,
     kAtaText, kJMicron12},
    {"Sunplus", u"USB\\VID_04FC&PID_0C25", true, Wrapping::kSunplus, 7, kAtaText, kAtaText,
     kSunplus},
    {"kind 8", u"USB\\VID_1058&PID_0701", true, Wrapping::kSat16, 8, kAtaText, kAtaText, kSat16},
    {"kind 9", u"USB\\VID_067B&PID_2571", true, Wrapping::kSat16, 9, kAtaText, kAtaText, kSat16},
    {"a hub", u"PCI\\VEN_8086&DEV_1E26", true, Wrapping::kSat16, 0, kAtaText, "", kSat16},
    {"half an identifier", u"USB\\VID_152D&PID_", true, Wrapping::kSat16, 0, kAtaText, "", kSat16},
};

TEST_F(DeviceIdentityTest, UsbDrivesBehindEachBridge) {
  for (const BridgeCase& c : kBridgeCases) {
    for (const bool removable : {false, true}) {
      fakes::SimulatedDrive* drive = MakeDrive(u"disk");
      drive->bus = 7;
      drive->isRemovable = removable;
      drive->usbParent = c.parent;
      if (!c.isDisk) drive->deviceType = 2;
      drive->wrapping = c.wrapping;
      drive->lengthBytes = 9000 * 512;
      const std::string text = removable ? c.textRemovable : c.text;
      EXPECT_EQ(Probe(*drive), !text.empty()) << c.name;
      std::string log = drive->TakeLog();
      if (const size_t look = log.find("look\n"); look == 0) log.erase(0, 5);
      if (log == "look") log.clear();
      const bool bySystem = text == kSystemText;
      EXPECT_EQ(log, bySystem || text.empty() ? "" : c.log) << c.name;
      if (text.empty()) continue;
      EXPECT_EQ(Text(), text + (bySystem ? ", kind 5" : ", kind 4") + ", bridge " +
                            std::to_string(c.bridge))
          << c.name;
    }
  }
}

TEST_F(DeviceIdentityTest, OnlyTheWholeDiskWithOurNumberIsOurDrive) {
  const struct {
    const char16_t* path;
    u32 type, number, partition;
  } others[] = {{u"second", 7, 2, 0}, {u"optical", 2, 1, 0}, {u"partition", 7, 1, 1}};
  for (const auto& other : others) {
    fakes::SimulatedDrive* wrong = m_devices.Add(other.path);
    wrong->deviceType = other.type;
    wrong->number = other.number;
    wrong->partition = other.partition;
    wrong->usbParent = u"USB\\VID_04FC&PID_0C25";
  }
  fakes::SimulatedDrive* drive = MakeDrive(u"disk");
  drive->usbParent = u"USB\\VID_152D&PID_2338";
  EXPECT_EQ(LookUpBridge(*OpenDrive(*drive)), kBridgeJMicron12);
}

constexpr const char* kScsiLog =
    "scsi 12 00 00 02 00 00 in 512\n"
    "scsi 9E 10 00 00 00 00 00 00 00 00 00 00 00 20 00 00 in 32\n"
    "scsi 12 01 80 02 00 00 in 512";
constexpr const char* kSat16Packet = "scsi 85 08 0E 00 00 00 01 00 00 00 00 00 00 00 A1 00 in 512";

TEST_F(DeviceIdentityTest, WhatIsAskedAndSaid) {
  const std::string ata = "ata 00 01 00 00 00 00 ", ide = "ide 00 01 00 00 00 00 ";
  const std::string identify = ata + "EC\n" + ide + "EC\n";
  const std::string capacity10 =
      "scsi 12 00 00 02 00 00 in 512\n"
      "scsi 9E 10 00 00 00 00 00 00 00 00 00 00 00 20 00 00 in 32\n"
      "scsi 25 00 00 00 00 00 00 00 00 00 in 8";
  const struct {
    const char* name;
    std::function<void(fakes::SimulatedDrive&)> make;
    std::string text;  // empty: there is no identity
    std::string log;
  } cases[] = {
      {"an ATA drive", [](auto& d) { d.wrapping = Wrapping::kNative; },
       kAtaText + std::string(", kind 1, bridge 0"), ata + "EC"},
      {"a packet device", [](auto& d) { d.wrapping = Wrapping::kNative, d.isPacketDevice = true; },
       kAtaText + std::string(", kind 1, bridge 0"), identify + ata + "A1"},
      {"an ATA drive that says nothing has no other way", [](auto&) {}, "",
       identify + ata + "A1\n" + ide + "A1"},
      {"a SCSI drive", [](auto& d) { d.bus = 10; }, kScsiText + std::string(", kind 2, bridge 0"),
       kScsiLog},
      {"a SCSI drive of the old days",
       [](auto& d) {
         d.bus = 1, d.knowsCapacity16 = false, d.sectorBytes = 520;
         d.unitSerial.reset();
       },
       "SCSI model, , REV1, 3999 x 520/520, kind 2, bridge 0",
       capacity10 + "\nscsi 12 01 80 02 00 00 in 512"},
      {"without a capacity",
       [](auto& d) { d.bus = 1, d.knowsCapacity16 = d.knowsCapacity10 = false; }, "", capacity10},
      {"a translated drive", [](auto& d) { d.vendor = "ATA     ", d.wrapping = Wrapping::kSat16; },
       kAtaText + std::string(", kind 3, bridge 0"), kSat16},
      {"a translation that fails leaves SCSI", [](auto& d) { d.vendor = "ATA     "; },
       kScsiText + std::string(", kind 3, bridge 0"),
       std::string(kSat16) + "\n" + kSat16Packet + "\n" + kScsiLog},
      {"no descriptor: the drive itself is not asked", [](auto& d) { d.hasDescriptor = false; }, "",
       ""},
  };
  for (const auto& c : cases) {
    fakes::SimulatedDrive* drive = MakeDrive(u"disk");
    c.make(*drive);
    EXPECT_EQ(Probe(*drive) ? Text() : "", c.text) << c.name;
    EXPECT_EQ(drive->TakeLog(), c.log) << c.name;
  }
}

TEST_F(DeviceIdentityTest, OtherBridgesThatFailLeaveNothing) {
  for (const char16_t* parent : {u"USB\\VID_152D&PID_2338", u"USB\\VID_04FC&PID_0C25"}) {
    fakes::SimulatedDrive* drive = MakeDrive(u"disk");
    drive->bus = 7;
    drive->usbParent = parent;
    drive->onScsi = [](const auto&) { return fakes::ScsiReply{.error = 31}; };
    EXPECT_FALSE(Probe(*drive));
    drive->usbParent.clear();
  }
}

TEST_F(DeviceIdentityTest, ABridgeThatAnswersZeros) {
  fakes::SimulatedDrive* drive = MakeDrive(u"disk");
  drive->vendor = "ATA     ";
  drive->wrapping = Wrapping::kSat16;
  drive->inquiry.clear();
  drive->identifyData.assign(512, 0);
  EXPECT_FALSE(Probe(*drive));
}

TEST_F(DeviceIdentityTest, CapacityAndSectorSizes) {
  const struct {
    const char* name;
    u16 word49, word86, word106;
    u32 words117;
    u64 capacity;
    u32 logical, physical;
  } cases[] = {
      {"48-bit", 1 << 9, 1 << 10, 0, 0, 0x123456789A, 512, 512},
      {"28-bit", 1 << 9, 0, 0, 0, 0x0FFFFFFF, 512, 512},
      {"cylinders, heads, sectors", 0, 1 << 10, 0, 0, 16383 * 16 * 63, 512, 512},
      {"512e", 1 << 9, 1 << 10, 0x6003, 0, 0x123456789A, 512, 4096},
      {"4Kn", 1 << 9, 1 << 10, 0x5000, 2048, 0x123456789A, 4096, 4096},
      {"both", 1 << 9, 1 << 10, 0x7002, 512, 0x123456789A, 1024, 4096},
      {"nonsense", 1 << 9, 1 << 10, 0x700F, 0xFFFFFFFF, 0x123456789A, 0xFFFFFFFE, 0xFFFF0000},
  };
  for (const auto& c : cases) {
    fakes::SimulatedDrive* drive = MakeDrive(u"disk");
    drive->wrapping = Wrapping::kNative;
    auto& data = drive->identifyData = fakes::MakeIdentify("M", "S", "F", 0x123456789A);
    fakes::SetWord(&data, 1, 16383);
    fakes::SetWord(&data, 3, 16);
    fakes::SetWord(&data, 6, 63);
    fakes::SetWord(&data, 49, c.word49);
    fakes::SetWord(&data, 86, c.word86);
    fakes::SetWord(&data, 106, c.word106);
    fakes::SetWord(&data, 117, static_cast<u16>(c.words117));
    fakes::SetWord(&data, 118, static_cast<u16>(c.words117 >> 16));
    ASSERT_TRUE(Probe(*drive)) << c.name;
    EXPECT_EQ(m_identity.sectorCount, c.capacity) << c.name;
    EXPECT_EQ(m_identity.logicalSectorBytes, c.logical) << c.name;
    EXPECT_EQ(m_identity.physicalSectorBytes, c.physical) << c.name;
  }
}

// Texts.

std::string Field(const std::string& bytes, ByteOrder order = ByteOrder::kAsIs) {
  return Utf8FromWide(
      IdentityField({reinterpret_cast<const u8*>(bytes.data()), bytes.size()}, order));
}

TEST(IdentityText, Fields) {
  EXPECT_EQ(Field("  a model \t\r\n "), "a model");
  EXPECT_EQ(Field("     "), "");
  EXPECT_EQ(Field(""), "");
  EXPECT_EQ(Field("  BADCFEHG  ", ByteOrder::kSwappedPairs), "ABCDEFGH");
  EXPECT_EQ(Field("BADCX", ByteOrder::kSwappedPairs), "ABCDX");
  EXPECT_EQ(Field("d\xC3\xA9j\xC3\xA0"), "déjà");
  EXPECT_EQ(Field("\xE6\x97\xA5"), "日");
  EXPECT_EQ(Field("a\xFFz"), "a\xEF\xBF\xBDz");
  EXPECT_EQ(Field(std::string("ab\0cd", 5)), "ab") << "a text ends at its zero";
  for (int byte = 0; byte < 256; ++byte) {
    Field(std::string(20, static_cast<char>(byte)));
    Field(std::string(19, 'x') + static_cast<char>(byte), ByteOrder::kSwappedPairs);
  }
}

std::string Serial(const std::string& text) {
  return Utf8FromWide(DescriptorSerial({reinterpret_cast<const u8*>(text.data()), text.size()}));
}

TEST(IdentityText, SerialNumbersOfDescriptors) {
  EXPECT_EQ(Serial("57443032"), "DW20") << "hexadecimal digits of swapped bytes";
  EXPECT_EQ(Serial("  57443032  "), "DW20");
  EXPECT_EQ(Serial("2020574430322020"), "DW20") << "trimmed before the swap";
  EXPECT_EQ(Serial("5744303"), "5744303") << "an odd number of digits";
  EXPECT_EQ(Serial("574430G2"), "574430G2");
  EXPECT_EQ(Serial("5744301F"), "5744301F") << "no character of a text";
  EXPECT_EQ(Serial("57448032"), "57448032");
  EXPECT_EQ(Serial("4A7F"), "\x7FJ");
  EXPECT_EQ(Serial("6a6B"), "kj");
  EXPECT_EQ(Serial("20202020"), "20202020") << "blanks are no serial number";
  EXPECT_EQ(Serial("574430"), "DW0") << "the last one has no partner";
  EXPECT_EQ(Serial("   "), "");
  EXPECT_EQ(Serial(""), "");
}

DescriptorTexts SystemWords(const fakes::SimulatedDrive& drive, fakes::SimulatedDevices* devices) {
  const auto device = devices->Open(drive.path.c_str(), platform::kAccessRead);
  return TextsOfDescriptor(*device).value_or(DescriptorTexts());
}

TEST_F(DeviceIdentityTest, TheSystemsWords) {
  const char* names[] = {"Unknown ", "SCSI ", "ATAPI ",   "ATA ",     "FireWire ", "SSA ",
                         "Fibre ",   "USB ",  "RAID ",    "iSCSI ",   "SAS ",      "SATA ",
                         "SD ",      "MMC ",  "Virtual ", "Virtual ", "Unknown ",  "Unknown "};
  fakes::SimulatedDrive* drive = m_devices.Add(u"disk");
  drive->vendor = "ACME  \t";
  drive->product = "Disk 9000  ";
  drive->serial = "57443032";
  DescriptorTexts texts;
  for (u32 bus = 0; bus < std::size(names); ++bus) {
    drive->bus = bus;
    drive->isRemovable = bus % 2;
    texts = SystemWords(*drive, &m_devices);
    EXPECT_EQ(Utf8FromWide(texts.line),
              std::string(bus % 2 ? "Removable" : "Fixed") + " ACME " + names[bus] + "Disk 9000");
  }
  EXPECT_EQ(texts.vendor, u"ACME");
  EXPECT_EQ(texts.model, u"Disk 9000");
  EXPECT_EQ(texts.serial, u"DW20");
  drive->vendor = std::string(200, 'v');
  drive->product = std::string(200, 'p');
  drive->serial.clear();
  drive->bus = 0;
  drive->isRemovable = false;
  texts = SystemWords(*drive, &m_devices);
  EXPECT_EQ(Utf8FromWide(texts.line),
            "Fixed " + std::string(98, 'v') + " Unknown " + std::string(100, 'p'));
  EXPECT_EQ(texts.serial, u"");
  drive->vendor.clear();
  drive->product.clear();
  EXPECT_EQ(SystemWords(*drive, &m_devices).line, u"Fixed Unknown ");
  drive->hasDescriptor = false;
  EXPECT_EQ(SystemWords(*drive, &m_devices).line, u"");
}

TEST_F(DeviceIdentityTest, DescriptorsWhoseOffsetsPointAnywhere) {
  fakes::SimulatedDrive* drive = MakeDrive(u"disk");
  for (const u32 offset : {0u, 1u, 9990u, 9999u, 10000u, 10001u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
    drive->rawDescriptor.assign(10000, 'A');
    for (const size_t field : {12u, 16u, 24u}) {
      for (size_t i = 0; i < 4; ++i) {
        drive->rawDescriptor[field + i] = static_cast<u8>(offset >> (8 * i));
      }
    }
    const DescriptorTexts texts = SystemWords(*drive, &m_devices);
    EXPECT_EQ(texts.model.empty(), offset == 0 || offset >= 10000) << offset;
    EXPECT_LE(texts.model.size(), 100u);
    for (const u32 bus : {1u, 7u, 11u}) {
      drive->rawDescriptor[28] = static_cast<u8>(bus);
      drive->rawDescriptor[29] = drive->rawDescriptor[30] = drive->rawDescriptor[31] = 0;
      drive->usbParent = u"USB\\VID_1234&PID_5678";
      Probe(*drive);
    }
  }
}

}  // namespace
}  // namespace larkspur
