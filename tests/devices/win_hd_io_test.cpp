// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Disks by their number: opening, size, words, modes, reading, writing and copies. Disks and
// volumes by their path: the words of it, and where a volume ends.

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "base/path_text.h"
#include "devices/device_test.h"
#include "devices/named_win_hd_io.h"
#include "fakes/memory_disk.h"
#include "platform/pages.h"

namespace larkspur {
namespace {

using fakes::Wrapping;

// Tests of disks, opened by number and by name.
class WinHDIO : public DeviceTest {
 protected:
  // An ATA drive as \\.\PhysicalDrive1.
  fakes::SimulatedDrive* MakeDrive(u32 sectorBytes = 512, u64 sectors = 4000) {
    return AddDrive(u"\\\\.\\PhysicalDrive1", sectorBytes, sectors);
  }
  bool Open(cWinHDIO* io, bool readOnly = true) {
    const cNumberedDeviceResource resource(1);
    return io->Open(&resource, readOnly);
  }
  bool OpenNamed(cNamedWinHDIO* io, const std::u16string& path, bool readOnly = true) {
    const cNamedFileResource resource(path);
    return io->Open(&resource, readOnly);
  }
  u32 Read(cBaseIO* io, u64 sector, u32 count) {
    m_buffer.assign(u64{count} * kSectorBytes + 1, 0xA5);
    io->SetPosition(sector);
    const u32 got = io->Read(m_buffer.data(), count);
    EXPECT_EQ(m_buffer.back(), 0xA5) << "nothing is written past the buffer";
    return got;
  }
  bool IsPattern(u64 sector, u32 count) {
    const auto expected = fakes::Pattern(sector, count);
    return count == 0 || std::memcmp(expected.data(), m_buffer.data(), expected.size()) == 0;
  }
  static std::string Description(cBaseIO* io, i32 capacity = 200) {
    std::u16string text(200, u'x');
    return io->GetDescription(text.data(), capacity) ? Utf8FromWide(text.c_str()) : "(none)";
  }

  std::vector<u8> m_buffer;
  cWinHDIO m_io;
};

TEST_F(WinHDIO, OpeningAsksEachThingOnce) {
  fakes::SimulatedDrive* drive = MakeDrive();
  ASSERT_TRUE(Open(&m_io));
  std::string log;
  for (const std::string& line : drive->log) log += line + "\n";
  EXPECT_EQ(log,
            "open r\nquery 2D 14 00\nquery 07 00 00\nquery 07 40 5C\n"
            "open rw\nquery 2D 14 00\nata 00 01 00 00 00 00 EC\n");
  EXPECT_EQ(m_io.GetSectorCount(), 4000u);
  EXPECT_EQ(m_io.GetFullSectorCount(), 4001u) << "what the drive says, and one";
  EXPECT_STREQ(Utf8FromWide(m_io.GetName()).c_str(), "SN1");
  EXPECT_EQ(m_io.GetTypeId(), 2u);
  EXPECT_EQ(m_io.GetResourceKind(), 3u);
  std::vector<u32> geometry(3);
  ASSERT_TRUE(m_io.GetGeometry(geometry.data()));
  EXPECT_EQ(geometry, (std::vector<u32>{512, 63, 255}));
}

TEST_F(WinHDIO, OpensWhatItCanOnly) {
  fakes::SimulatedDrive* drive = MakeDrive();
  const cNamedFileResource named(drive->path);
  EXPECT_FALSE(m_io.Open(&named, true));
  EXPECT_FALSE(m_io.Open(nullptr, true));
  const cNumberedDeviceResource other(2), number(1);
  EXPECT_FALSE(m_io.Open(&other, true)) << "no such drive";
  cNamedWinHDIO byName;
  EXPECT_FALSE(byName.Open(&number, true));
  EXPECT_FALSE(byName.Open(nullptr, true));
  EXPECT_EQ(byName.GetTypeId(), 23u);
  EXPECT_EQ(byName.GetResourceKind(), 2u);
  drive->hasGeometry = false;
  EXPECT_FALSE(Open(&m_io));
  EXPECT_EQ(Read(&m_io, 0, 1), 0u);
  drive->hasGeometry = true;
  drive->identifyData.clear();
  for (const u32 tooSmall : {0u, 1u, 256u, 511u}) {
    drive->geometrySectorBytes = tooSmall;
    EXPECT_FALSE(Open(&m_io)) << tooSmall;
    EXPECT_EQ(Read(&m_io, 0, 1), 0u);
  }
}

TEST_F(WinHDIO, TheSizeComesFromTheLengthElseFromTheGeometry) {
  const struct {
    std::optional<u64> length, cylinders;
    u32 tracks, sectorsPerTrack;
    u64 sectors;
  } cases[] = {{4000 * 512 + 511, {}, 255, 63, 4000},
               {{}, 10, 255, 63, 10u * 255 * 63},
               {{}, ~u64{0}, ~u32{0}, ~u32{0}, 0}};  // more than any drive has
  fakes::SimulatedDrive* drive = MakeDrive();
  for (const auto& c : cases) {
    drive->lengthBytes = c.length;
    drive->cylinders = c.cylinders;
    drive->tracks = c.tracks;
    drive->sectorsPerTrack = c.sectorsPerTrack;
    ASSERT_TRUE(Open(&m_io));
    EXPECT_EQ(m_io.GetSectorCount(), c.sectors);
  }
}

TEST_F(WinHDIO, Descriptions) {
  fakes::SimulatedDrive* drive = MakeDrive();
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(Description(&m_io, 8), "Drive1:");
  EXPECT_EQ(Description(&m_io, 0), "(none)");
  drive->isRemovable = true;
  drive->identifyData = fakes::MakeIdentify("", "", "", 1);
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(Description(&m_io), "Drive1: Removable [n/a] (ATA)");
  EXPECT_STREQ(Utf8FromWide(m_io.GetName()).c_str(), "[n/a]");
  drive->identifyData.clear();
  drive->vendor = "ACME";
  drive->product = "Disk";
  drive->serial = "57443032";
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(Description(&m_io), "Drive1: Removable ACME SATA Disk");
  EXPECT_STREQ(Utf8FromWide(m_io.GetName()).c_str(), "DW20");
  EXPECT_EQ(m_io.GetFullSectorCount(), 4000u);
  m_io.Close();
  EXPECT_EQ(Description(&m_io), "(none)");
}

TEST_F(WinHDIO, KindsInDescriptions) {
  const struct {
    u32 bus;
    const char* vendor;
    Wrapping wrapping;
    const char16_t* usbParent;
    const char* text;
  } cases[] = {
      {11, "", Wrapping::kNative, u"", "Drive1: Fixed Model (ATA)"},
      {11, "ATA     ", Wrapping::kSat16, u"", "Drive1: Fixed Model (SAT)"},
      {7, "", Wrapping::kSat16, u"", "Drive1: Fixed Model (USB)"},
      {10, "", Wrapping::kNone, u"", "Drive1: Fixed V P (SCSI)"},
      {7, "Card", Wrapping::kNative, u"USB\\VID_1234&PID_5678", "Drive1: Removable Card Reader"}};
  for (const auto& c : cases) {
    fakes::SimulatedDrive* drive = MakeDrive();
    drive->bus = c.bus;
    drive->vendor = c.vendor;
    drive->product = "Reader";
    drive->wrapping = c.wrapping;
    drive->usbParent = c.usbParent;
    drive->isRemovable = *c.usbParent != 0;
    drive->inquiry = fakes::MakeInquiry("V", "P", "R");
    ASSERT_TRUE(Open(&m_io));
    EXPECT_EQ(Description(&m_io), c.text);
  }
}

TEST_F(WinHDIO, WritesAsAsked) {
  fakes::SimulatedDrive* drive = MakeDrive();
  u8 buffer[512 * 3] = {};
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(m_io.Write(0, buffer, 1), 0u) << "read-only";
  ASSERT_TRUE(Open(&m_io, false));
  drive->TakeLog();
  EXPECT_EQ(m_io.Write(10, buffer, 3), 3u);
  EXPECT_EQ(m_io.Write(3999, buffer, 3), 1u);
  EXPECT_EQ(m_io.Write(4000, buffer, 1), 0u);
  EXPECT_EQ(drive->TakeLog(), "write 5120+1536\nwrite 2047488+512");
}

TEST_F(WinHDIO, TheModeChangesByOpeningAnew) {
  fakes::SimulatedDrive* drive = MakeDrive();
  EXPECT_FALSE(m_io.SetReadOnly(false)) << "nothing was opened yet";
  ASSERT_TRUE(Open(&m_io));
  drive->TakeLog();
  EXPECT_TRUE(m_io.SetReadOnly(true));
  EXPECT_EQ(drive->TakeLog(), "");
  EXPECT_TRUE(m_io.SetReadOnly(false));
  EXPECT_EQ(drive->TakeLog(), "open rw");
  drive->isPresent = false;
  EXPECT_FALSE(m_io.SetReadOnly(true));
  EXPECT_EQ(Read(&m_io, 0, 1), 0u);
}

TEST_F(WinHDIO, ClonesStandForThemselves) {
  fakes::SimulatedDrive* drive = MakeDrive();
  ASSERT_TRUE(Open(&m_io));
  const Owned<cBaseIO> clone(m_io.Clone());
  ASSERT_TRUE(clone);
  EXPECT_TRUE(clone->IsSameAs(&m_io));
  EXPECT_EQ(Read(clone.get(), 5, 2), 2u);
  EXPECT_TRUE(IsPattern(5, 2));
  drive->geometrySectorBytes = 4096;
  const Owned<cBaseIO> other(m_io.Clone());
  u32 geometry[3];
  ASSERT_TRUE(other->GetGeometry(geometry));
  EXPECT_EQ(geometry[0], 512u) << "a usual size is kept";
  drive->isPresent = false;
  EXPECT_EQ(m_io.Clone(), nullptr);
}

class WinHDIORead : public WinHDIO {
 protected:
  // A SCSI drive with odd sectors. They are read by commands, which ask for the right to write.
  fakes::SimulatedDrive* MakeOddDrive(u32 sectorBytes = 520, u64 sectors = 4000) {
    fakes::SimulatedDrive* drive = MakeDrive(sectorBytes, sectors);
    drive->bus = 1;
    drive->inquiry = fakes::MakeInquiry("V", "P", "R");
    drive->lengthBytes = sectors * 512;
    return drive;
  }
  // Reads what there is of [first, first+count) and nothing else.
  void ExpectRead(u64 first, u32 count, u64 end) {
    const u32 expected = static_cast<u32>(std::min<u64>(count, end - first));
    ASSERT_EQ(Read(&m_io, first, count), expected) << first << "+" << count;
    ASSERT_TRUE(IsPattern(first, expected)) << first << "+" << count;
  }
};

TEST_F(WinHDIORead, EveryPlaceAndLengthAroundPhysicalSectors) {
  for (const u32 sectorBytes : {512u, 1024u, 2048u, 4096u, 0x10000u}) {
    SCOPED_TRACE(sectorBytes);
    const u32 ratio = sectorBytes / 512, step = std::max(1u, ratio / 8);
    const u64 end = ratio * 5;
    MakeDrive(sectorBytes, 5);
    ASSERT_TRUE(Open(&m_io));
    for (u64 first = 0; first <= end; first += step) {
      for (u32 count = 1; count <= ratio * 3; count += step) {
        ASSERT_NO_FATAL_FAILURE(ExpectRead(first, count, end));
        u8 next[512];
        const bool more = first + count < end;
        ASSERT_EQ(m_io.Read(next, 1), more) << "the position advances";
        ASSERT_TRUE(!more || fakes::IsPattern(first + count, next));
      }
    }
  }
}

TEST_F(WinHDIORead, OddSectorsAtEveryPlaceAndLength) {
  for (const u32 sectorBytes : {520u, 524u, 528u, 1000u}) {
    SCOPED_TRACE(sectorBytes);
    MakeOddDrive(sectorBytes, 300);
    ASSERT_TRUE(Open(&m_io, false));
    for (u64 first = 0; first <= 300; first += 7) {
      for (u32 count : {1u, 2u, 63u, 64u, 125u, 126u, 127u, 128u, 130u, 260u, 400u}) {
        ASSERT_NO_FATAL_FAILURE(ExpectRead(first, count, 300));
      }
    }
  }
}

TEST_F(WinHDIORead, ReadsInPiecesOfWholeSectors) {
  const struct {
    u32 sectorBytes;
    u64 first;
    u32 count;
    const char* log;
  } cases[] = {
      {512, 10, 300, "read 5120+65536\nread 70656+65536\nread 136192+22528"},
      {4096, 3, 2, "read 0+4096"},
      {4096, 3, 5 + 160 + 2, "read 0+4096\nread 4096+65536\nread 69632+16384\nread 86016+4096"},
  };
  for (const auto& c : cases) {
    fakes::SimulatedDrive* drive = MakeDrive(c.sectorBytes);
    ASSERT_TRUE(Open(&m_io));
    drive->TakeLog();
    ASSERT_NO_FATAL_FAILURE(ExpectRead(c.first, c.count, 4000));
    EXPECT_EQ(drive->TakeLog(), c.log);
    // Pages are filled directly.
    const platform::OwnedPages pages(300 * 512);
    m_io.SetPosition(16);
    EXPECT_EQ(m_io.Read(pages.Data(), 300), 300u);
    const auto expected = fakes::Pattern(16, 300);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), pages.Data()));
  }
}

TEST_F(WinHDIORead, WhatCannotBeReadIsNotAsked) {
  const auto nothingIsRead = [this](const char* what, fakes::SimulatedDrive* drive) {
    ASSERT_TRUE(Open(&m_io, false)) << what;
    drive->TakeLog();
    EXPECT_EQ(Read(&m_io, 0, 20), 0u) << what;
    EXPECT_EQ(drive->TakeLog(), "") << what;
  };
  nothingIsRead("sectors larger than the buffer", MakeDrive(0x20000, 10));
  nothingIsRead("odd sectors of an ATA drive", MakeDrive(520, 100));
  nothingIsRead("odd sectors with more than 512 bytes of payload", MakeOddDrive(4160, 100));
}

TEST_F(WinHDIORead, OddSectorsOfAVeryLargeDriveAreAskedForTwice) {
  fakes::SimulatedDrive* drive = MakeOddDrive(520, u64{1} << 33);
  ASSERT_TRUE(Open(&m_io, false));
  drive->TakeLog();
  EXPECT_EQ(Read(&m_io, 0x1'0000'0005, 2), 2u);
  EXPECT_EQ(drive->TakeLog(),
            "scsi 88 00 00 00 00 01 00 00 00 05 00 00 00 02 00 00 in 1040\n"
            "scsi 28 00 00 00 00 05 00 00 02 00 in 1040");
  EXPECT_TRUE(IsPattern(5, 2)) << "what the second command gave";
}

TEST_F(WinHDIORead, AFailedCommandEndsAnOddRead) {
  fakes::SimulatedDrive* drive = MakeOddDrive(520, 400);
  ASSERT_TRUE(Open(&m_io, false));
  drive->failing = {200};
  EXPECT_EQ(Read(&m_io, 0, 400), 126u) << "the whole chunks before";
  EXPECT_TRUE(IsPattern(0, 126));
  drive->failing.clear();
  drive->slow = {{5, 19}, {300, 60}};
  EXPECT_EQ(Read(&m_io, 0, 10), 10u);
  EXPECT_EQ(drive->secondsWaited, 19u);
  EXPECT_EQ(Read(&m_io, 300, 1), 0u);
  EXPECT_EQ(drive->secondsWaited, 19u + 20u) << "our time";
  drive->onScsi = [&](const fakes::ScsiAsked& asked) -> std::optional<fakes::ScsiReply> {
    if (asked.cdb[0] != 0x28) return std::nullopt;
    return fakes::ScsiReply{.data = drive->Content(0, 3), .lost = 520 * 7 - 1};
  };
  EXPECT_EQ(Read(&m_io, 0, 10), 3u) << "sectors that came whole";
}

TEST_F(WinHDIORead, AnEmptyReadClosesAndTheNextOneOpensAnew) {
  for (const u32 sectorBytes : {512u, 4096u}) {
    const u32 ratio = sectorBytes / 512;
    fakes::SimulatedDrive* drive = MakeDrive(sectorBytes, 1000);
    ASSERT_TRUE(Open(&m_io));
    drive->failing = {2};
    drive->TakeLog();
    EXPECT_EQ(Read(&m_io, 2 * ratio, 1), 0u);
    EXPECT_EQ(Read(&m_io, 3 * ratio, 1), 1u);
    EXPECT_TRUE(IsPattern(3 * ratio, 1));
    const std::string size = "+" + std::to_string(sectorBytes);
    EXPECT_EQ(drive->TakeLog(), "read " + std::to_string(2 * sectorBytes) + size +
                                    "\nopen r\nread " + std::to_string(3 * sectorBytes) + size);
    EXPECT_EQ(m_io.GetSectorCount(), 1000u * ratio) << "open in every other respect";
    drive->isPresent = false;
    EXPECT_EQ(Read(&m_io, 0, 1), 0u);
    EXPECT_EQ(Read(&m_io, 0, 1), 0u) << "one attempt to open for each read";
    drive->isPresent = true;
    EXPECT_EQ(Read(&m_io, 0, 1), 1u) << "it came back";
  }
}

TEST_F(WinHDIORead, AFailureEndsTheReadWhereItIs) {
  const struct {
    const char* name;
    u32 sectorBytes;
    std::set<u64> failing;
    bool deliversPrefix;
    u64 first;
    u32 count, delivered;
    const char* log;
  } cases[] = {
      {"the device is kept", 512, {7}, true, 0, 20, 7, "read 0+10240\nread 3584+6656"},
      {"of large sectors", 4096, {3}, true, 0, 80, 24, "read 0+40960\nread 12288+28672"},
      {"the head did not come", 4096, {0, 9}, false, 3, 30, 0, "read 0+4096"},
      {"the tail did not come",
       4096,
       {0, 9},
       false,
       8,
       64 + 3,
       64,
       "read 4096+32768\nread 36864+4096"},
  };
  for (const auto& c : cases) {
    fakes::SimulatedDrive* drive = MakeDrive(c.sectorBytes, 100);
    ASSERT_TRUE(Open(&m_io));
    drive->deliversPrefix = c.deliversPrefix;
    drive->failing = c.failing;
    drive->TakeLog();
    EXPECT_EQ(Read(&m_io, c.first, c.count), c.delivered) << c.name;
    EXPECT_EQ(drive->TakeLog(), c.log) << c.name;
    EXPECT_TRUE(IsPattern(c.first, c.delivered)) << c.name;
  }
}

TEST_F(WinHDIORead, PositionsAreCutAtTheEnd) {
  fakes::SimulatedDrive* drive = MakeDrive(4096, 100);
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(m_io.SetPosition(803), 800u);
  EXPECT_EQ(m_io.SetPosition(kNowhere), 800u);
  EXPECT_EQ(m_io.SetPosition(13), 13u);
  EXPECT_EQ(Read(&m_io, 800, 1), 0u);
  EXPECT_EQ(Read(&m_io, 795, 100), 5u);
  drive->seeksLandAt = 24 * 512;
  EXPECT_EQ(m_io.SetPosition(13), 24u) << "where the drive stands";
  drive->TakeLog();
  EXPECT_EQ(m_io.Read(m_buffer.data(), 8), 8u);
  EXPECT_EQ(drive->TakeLog(), "read 12288+4096");
}

using NamedWinHDIO = WinHDIO;

TEST_F(NamedWinHDIO, SameTargets) {
  fakes::SimulatedDrive* drive = MakeDrive();
  fakes::SimulatedDrive* second = m_devices.Add(u"\\\\.\\PhysicalDrive2", 512, 1);
  cWinHDIO other;
  const cNumberedDeviceResource two(2);
  ASSERT_TRUE(Open(&m_io) && other.Open(&two, true));
  EXPECT_FALSE(m_io.IsSameAs(&other));
  EXPECT_FALSE(m_io.IsSameAs(nullptr));
  cNamedWinHDIO a, b;
  ASSERT_TRUE(OpenNamed(&a, drive->path) && OpenNamed(&b, second->path));
  EXPECT_FALSE(a.IsSameAs(&b));
  EXPECT_FALSE(a.IsSameAs(&m_io));
  const Owned<cBaseIO> clone(a.Clone());
  EXPECT_TRUE(a.IsSameAs(clone.get()));
  EXPECT_EQ(clone->GetTypeId(), 23u);
}

TEST_F(NamedWinHDIO, PrefixesByPath) {
  const struct {
    const char16_t* path;
    const char* prefix;
  } cases[] = {{u"\\\\.\\c:", "Drive C: "}, {u"//./c:", "Drive C: "},
               {u"\\\\.\\Z:", "Drive Z: "}, {u"\\\\.\\1:", "1:: "},
               {u"\\\\.\\c:x", "c:x: "},    {u"\\\\.\\HarddiskVolume3", "HarddiskVolume3: "},
               {u"/dev/sda", "/dev/sda: "}, {u"\\\\?\\Volume", "\\\\?\\Volume: "}};
  for (const auto& c : cases) {
    MakeDrive()->path = c.path;
    cNamedWinHDIO io;
    ASSERT_TRUE(OpenNamed(&io, c.path));
    EXPECT_EQ(Description(&io), c.prefix + std::string("Fixed Model (ATA)"));
    EXPECT_EQ(io.GetFullSectorCount(), 4001u) << "asked again by the description";
    io.Close();
    EXPECT_EQ(Description(&io), "(none)");
  }
}

struct ClampCase {
  const char* name;
  u64 volume;    // sectors that the volume says
  u64 disk;      // and its disk
  u64 start;     // of the volume on the disk
  u64 capacity;  // that the drive says; 0: it says nothing
  u64 expected;
};

constexpr u64 kTwo32 = u64{1} << 32;
constexpr ClampCase kClamps[] = {
    {"fits exactly", 5000, 5000, 100, 5000, 5000},
    {"one too many", 5001, 5000, 100, 5000, 4900},
    {"starts at the end", 5001, 5000, 5000, 5000, 0},
    {"starts past the end", 5001, 5000, 6000, 5000, 0},
    {"the drive says nothing", 5001, 5000, 100, 0, 4900},
    {"both large", kTwo32 + 10, kTwo32 + 5, 100, kTwo32 + 5, kTwo32 - 95},
    {"the disk's size is cut", kTwo32 + 10, 5000, 100, kTwo32, kTwo32 - 100},
    {"T at the limit", kTwo32 + 10, 5000, 100, kTwo32 - 2, 4900},
    {"T beyond the limit", kTwo32 + 10, 5000, 100, kTwo32 - 1, kTwo32 - 100},
    {"D at the limit", kTwo32 + 10, kTwo32 - 1, 100, kTwo32, kTwo32 - 100},
    {"D beyond the limit", kTwo32 + 10, kTwo32, 100, kTwo32, kTwo32 - 100},
    {"cut, S at the limit", kTwo32 + 10, 5000, kTwo32 - 1, kTwo32, 1},
    {"cut, S beyond the limit", kTwo32 + 10, 5000, kTwo32, kTwo32, 0},
};

TEST_F(NamedWinHDIO, AVolumeIsCutAtTheEndOfItsDisk) {
  for (const ClampCase& c : kClamps) {
    fakes::SimulatedDrive* volume = m_devices.Add(u"\\\\.\\D:");
    volume->lengthBytes = c.volume * 512;
    volume->partition = 1;
    volume->partitionStartBytes = c.start * 512;
    fakes::SimulatedDrive* disk = MakeDrive();
    disk->lengthBytes = c.disk * 512;
    disk->identifyData = fakes::MakeIdentify("M", "S", "F", c.capacity);
    if (c.capacity == 0) disk->wrapping = Wrapping::kNone;
    cNamedWinHDIO io;
    ASSERT_TRUE(OpenNamed(&io, volume->path));
    EXPECT_EQ(io.GetSectorCount(), c.expected) << c.name;
    EXPECT_EQ(io.GetFullSectorCount(), c.volume) << c.name;
    const std::string log = disk->TakeLog();
    EXPECT_EQ(log.find("open rw"), 0u) << c.name;
    EXPECT_EQ(log.find("ata") != log.npos, c.disk < c.volume) << "asked only when it matters";
  }
}

TEST_F(NamedWinHDIO, WhatIsNoVolumeIsNotCut) {
  fakes::SimulatedDrive* disk = MakeDrive(512, 10);
  fakes::SimulatedDrive* volume = m_devices.Add(u"\\\\.\\D:", 512, 4000);
  volume->partition = 1;
  const auto sectorsOf = [&](std::optional<u32> type) {
    volume->deviceType = type;
    cNamedWinHDIO io;
    EXPECT_TRUE(OpenNamed(&io, volume->path));
    return io.GetSectorCount();
  };
  EXPECT_EQ(sectorsOf(7), 10u) << "the start is taken as 0 when nothing says it";
  EXPECT_EQ(sectorsOf(2), 4000u);
  EXPECT_EQ(sectorsOf(8), 4000u);
  EXPECT_EQ(sectorsOf(std::nullopt), 4000u);
  disk->isPresent = false;
  EXPECT_EQ(sectorsOf(7), 4000u);
}

}  // namespace
}  // namespace larkspur
