// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>
#include <cstring>

#include "base/path_text.h"
#include "devices/device_test.h"
#include "devices/named_win_hd_io.h"
#include "fakes/memory_disk.h"
#include "io/bit_map.h"

namespace larkspur {
namespace {

using fakes::Wrapping;

class WinHDIO : public DeviceTest {
 protected:
  // An ATA drive as \\.\PhysicalDrive1.
  fakes::SimulatedDrive* MakeDrive(u32 sectorBytes = 512, u64 sectors = 4000) {
    fakes::SimulatedDrive* drive = m_devices.Add(u"\\\\.\\PhysicalDrive1");
    drive->sectorBytes = sectorBytes;
    drive->sectors = sectors;
    drive->lengthBytes = sectors * sectorBytes;
    drive->wrapping = Wrapping::kNative;
    drive->identifyData = fakes::MakeIdentify("Model", "SN1", "FW", sectors);
    return drive;
  }
  // A SCSI drive with odd sectors. They are read by commands, which ask for the right to write.
  fakes::SimulatedDrive* MakeOddDrive(u32 sectorBytes = 520, u64 sectors = 4000) {
    fakes::SimulatedDrive* drive = MakeDrive(sectorBytes, sectors);
    drive->bus = 1;
    drive->inquiry = fakes::MakeInquiry("V", "P", "R");
    drive->lengthBytes = sectors * 512;
    return drive;
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
  u32 geometry[3];
  ASSERT_TRUE(m_io.GetGeometry(geometry));
  EXPECT_EQ(geometry[0], 512u);
  EXPECT_EQ(geometry[1], 63u);
  EXPECT_EQ(geometry[2], 255u);
}

TEST_F(WinHDIO, OpensWhatItCanOnly) {
  fakes::SimulatedDrive* drive = MakeDrive();
  const cNamedFileResource named(drive->path);
  EXPECT_FALSE(m_io.Open(&named, true));
  EXPECT_FALSE(m_io.Open(nullptr, true));
  const cNumberedDeviceResource other(2);
  EXPECT_FALSE(m_io.Open(&other, true)) << "no such drive";
  drive->hasGeometry = false;
  EXPECT_FALSE(Open(&m_io));
  EXPECT_EQ(Read(&m_io, 0, 1), 0u);
  drive->hasGeometry = true;
  for (const u32 tooSmall : {0u, 1u, 256u, 511u}) {
    drive->geometrySectorBytes = tooSmall;
    drive->identifyData.clear();
    EXPECT_FALSE(Open(&m_io)) << tooSmall;
    EXPECT_EQ(Read(&m_io, 0, 1), 0u);
  }
}

TEST_F(WinHDIO, TheSizeComesFromTheLengthElseFromTheGeometry) {
  fakes::SimulatedDrive* drive = MakeDrive();
  drive->lengthBytes = 4000 * 512 + 511;
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(m_io.GetSectorCount(), 4000u);
  drive->lengthBytes.reset();
  drive->cylinders = 10;
  drive->tracks = 255;
  drive->sectorsPerTrack = 63;
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(m_io.GetSectorCount(), 10u * 255 * 63);
  drive->cylinders = ~u64{0};
  drive->tracks = ~u32{0};
  drive->sectorsPerTrack = ~u32{0};
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(m_io.GetSectorCount(), 0u) << "more than any drive has";
}

TEST_F(WinHDIO, Descriptions) {
  fakes::SimulatedDrive* drive = MakeDrive();
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(Description(&m_io), "Drive1: Fixed Model (ATA)");
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
    const char* text;
  } cases[] = {{11, "", Wrapping::kNative, "Drive1: Fixed Model (ATA)"},
               {11, "ATA     ", Wrapping::kSat16, "Drive1: Fixed Model (SAT)"},
               {7, "", Wrapping::kSat16, "Drive1: Fixed Model (USB)"},
               {10, "", Wrapping::kNone, "Drive1: Fixed V P (SCSI)"}};
  for (const auto& c : cases) {
    fakes::SimulatedDrive* drive = MakeDrive();
    drive->bus = c.bus;
    drive->vendor = c.vendor;
    drive->wrapping = c.wrapping;
    drive->inquiry = fakes::MakeInquiry("V", "P", "R");
    ASSERT_TRUE(Open(&m_io));
    EXPECT_EQ(Description(&m_io), c.text);
    drive->path.clear();
  }
  fakes::SimulatedDrive* reader = MakeDrive();
  reader->bus = 7;
  reader->isRemovable = true;
  reader->vendor = "Card";
  reader->product = "Reader";
  reader->usbParent = u"USB\\VID_1234&PID_5678";
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(Description(&m_io), "Drive1: Removable Card Reader");
}

// Reading.

TEST_F(WinHDIO, EveryPlaceAndLengthAroundPhysicalSectors) {
  for (const u32 sectorBytes : {512u, 1024u, 2048u, 4096u, 0x10000u}) {
    const u32 ratio = sectorBytes / 512;
    const u64 end = ratio * 5;
    fakes::SimulatedDrive* drive = MakeDrive(sectorBytes, 5);
    ASSERT_TRUE(Open(&m_io));
    const u64 step = std::max(1u, ratio / 8);
    for (u64 first = 0; first <= end; first += step) {
      for (u32 count = 1; count <= ratio * 3; count += static_cast<u32>(step)) {
        const u32 expected = static_cast<u32>(std::min<u64>(count, end - first));
        ASSERT_EQ(Read(&m_io, first, count), expected)
            << sectorBytes << ": " << first << "+" << count;
        ASSERT_TRUE(IsPattern(first, expected)) << sectorBytes << ": " << first << "+" << count;
        u8 next[512];
        const u32 more = first + expected < end;
        ASSERT_EQ(m_io.Read(next, 1), more) << "the position advances";
        if (more) {
          ASSERT_TRUE(fakes::IsPattern(first + expected, next));
        }
      }
    }
    EXPECT_EQ(m_devices.Faults(), "");
    drive->path.clear();
  }
}

TEST_F(WinHDIO, OddSectorsAtEveryPlaceAndLength) {
  for (const u32 sectorBytes : {520u, 524u, 528u, 1000u}) {
    fakes::SimulatedDrive* drive = MakeOddDrive(sectorBytes, 300);
    ASSERT_TRUE(Open(&m_io, false));
    for (u64 first = 0; first <= 300; first += 7) {
      for (u32 count : {1u, 2u, 63u, 64u, 125u, 126u, 127u, 128u, 130u, 260u, 400u}) {
        const u32 expected = static_cast<u32>(std::min<u64>(count, 300 - first));
        ASSERT_EQ(Read(&m_io, first, count), expected)
            << sectorBytes << ": " << first << "+" << count;
        ASSERT_TRUE(IsPattern(first, expected)) << sectorBytes << ": " << first << "+" << count;
      }
    }
    EXPECT_EQ(m_devices.Faults(), "");
    drive->path.clear();
  }
}

TEST_F(WinHDIO, PlainReadsGoInPiecesOf64KiB) {
  fakes::SimulatedDrive* drive = MakeDrive();
  ASSERT_TRUE(Open(&m_io));
  drive->TakeLog();
  EXPECT_EQ(Read(&m_io, 10, 300), 300u);
  EXPECT_EQ(drive->TakeLog(), "read 5120+65536\nread 70656+65536\nread 136192+22528");
}

TEST_F(WinHDIO, LargeSectorsAreReadWhole) {
  fakes::SimulatedDrive* drive = MakeDrive(4096, 1000);
  ASSERT_TRUE(Open(&m_io));
  drive->TakeLog();
  EXPECT_EQ(Read(&m_io, 3, 2), 2u);
  EXPECT_EQ(drive->TakeLog(), "read 0+4096");
  EXPECT_EQ(Read(&m_io, 3, 5 + 160 + 2), 167u);
  EXPECT_EQ(drive->TakeLog(), "read 0+4096\nread 4096+65536\nread 69632+16384\nread 86016+4096");
  EXPECT_TRUE(IsPattern(3, 167));
}

TEST_F(WinHDIO, PagesAreFilledDirectly) {
  for (const u32 sectorBytes : {512u, 4096u}) {
    fakes::SimulatedDrive* drive = MakeDrive(sectorBytes, 1000);
    ASSERT_TRUE(Open(&m_io));
    const platform::OwnedPages pages(300 * 512);
    m_io.SetPosition(16);
    EXPECT_EQ(m_io.Read(pages.Data(), 300), 300u);
    const auto expected = fakes::Pattern(16, 300);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), pages.Data()));
    drive->path.clear();
  }
}

TEST_F(WinHDIO, SectorsLargerThanTheBufferAreNotRead) {
  MakeDrive(0x20000, 10);
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(Read(&m_io, 0, 1), 0u);
}

TEST_F(WinHDIO, OddSectorsNeedScsi) {
  fakes::SimulatedDrive* drive = MakeDrive(520, 100);
  ASSERT_TRUE(Open(&m_io));
  drive->TakeLog();
  EXPECT_EQ(Read(&m_io, 0, 1), 0u);
  EXPECT_EQ(drive->TakeLog(), "");
}

TEST_F(WinHDIO, OddSectorsWithMoreThan512BytesOfPayloadAreNotRead) {
  MakeOddDrive(4160, 100);
  ASSERT_TRUE(Open(&m_io, false));
  EXPECT_EQ(Read(&m_io, 0, 20), 0u);
}

TEST_F(WinHDIO, OddSectorsOfAVeryLargeDriveAreAskedForTwice) {
  fakes::SimulatedDrive* drive = MakeOddDrive(520, u64{1} << 33);
  drive->lengthBytes = (u64{1} << 33) * 512;
  ASSERT_TRUE(Open(&m_io, false));
  drive->TakeLog();
  EXPECT_EQ(Read(&m_io, 0x1'0000'0005, 2), 2u);
  EXPECT_EQ(drive->TakeLog(),
            "scsi 88 00 00 00 00 01 00 00 00 05 00 00 00 02 00 00 in 1040\n"
            "scsi 28 00 00 00 00 05 00 00 02 00 in 1040");
  EXPECT_TRUE(IsPattern(5, 2)) << "what the second command gave";
}

TEST_F(WinHDIO, AFailedCommandEndsAnOddRead) {
  fakes::SimulatedDrive* drive = MakeOddDrive(520, 400);
  ASSERT_TRUE(Open(&m_io, false));
  drive->failing = {200};
  EXPECT_EQ(Read(&m_io, 0, 400), 126u) << "the whole chunks before";
  EXPECT_TRUE(IsPattern(0, 126));
  drive->failing.clear();
  drive->onScsi = [&](const fakes::ScsiAsked& asked) -> std::optional<fakes::ScsiReply> {
    if (asked.cdb[0] != 0x28) return std::nullopt;
    return fakes::ScsiReply{.data = drive->Content(0, 3), .lost = 520 * 7 - 1};
  };
  EXPECT_EQ(Read(&m_io, 0, 10), 3u) << "sectors that came whole";
}

TEST_F(WinHDIO, SlowOddSectorsRunIntoTheTimeout) {
  fakes::SimulatedDrive* drive = MakeOddDrive(520, 400);
  ASSERT_TRUE(Open(&m_io, false));
  drive->slow = {{5, 19}, {300, 60}};
  EXPECT_EQ(Read(&m_io, 0, 10), 10u);
  EXPECT_EQ(drive->secondsWaited, 19u);
  EXPECT_EQ(Read(&m_io, 300, 1), 0u);
  EXPECT_EQ(drive->secondsWaited, 19u + 20u);
}

TEST_F(WinHDIO, AnEmptyReadClosesAndTheNextOneOpensAnew) {
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
    drive->path.clear();
  }
}

TEST_F(WinHDIO, AShortReadThatDeliveredKeepsTheDevice) {
  fakes::SimulatedDrive* drive = MakeDrive();
  ASSERT_TRUE(Open(&m_io));
  drive->deliversPrefix = true;
  drive->failing = {7};
  drive->TakeLog();
  EXPECT_EQ(Read(&m_io, 0, 20), 7u);
  EXPECT_EQ(drive->TakeLog(), "read 0+10240\nread 3584+6656");
  EXPECT_TRUE(IsPattern(0, 7));
  fakes::SimulatedDrive* large = drive;
  large->path.clear();
  large = MakeDrive(4096, 100);
  large->deliversPrefix = true;
  large->failing = {3};
  ASSERT_TRUE(Open(&m_io));
  large->TakeLog();
  EXPECT_EQ(Read(&m_io, 0, 80), 24u);
  EXPECT_TRUE(IsPattern(0, 24));
}

TEST_F(WinHDIO, FailuresOfHeadAndTail) {
  fakes::SimulatedDrive* drive = MakeDrive(4096, 100);
  ASSERT_TRUE(Open(&m_io));
  drive->failing = {0, 9};
  EXPECT_EQ(Read(&m_io, 3, 30), 0u) << "the head did not come";
  EXPECT_EQ(Read(&m_io, 8, 64 + 3), 64u) << "the tail did not come";
  EXPECT_TRUE(IsPattern(8, 64));
}

TEST_F(WinHDIO, PositionsAreCutAtTheEnd) {
  MakeDrive(4096, 100);
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(m_io.SetPosition(803), 800u);
  EXPECT_EQ(m_io.SetPosition(kNowhere), 800u);
  EXPECT_EQ(m_io.SetPosition(13), 13u);
  EXPECT_EQ(Read(&m_io, 800, 1), 0u);
  EXPECT_EQ(Read(&m_io, 795, 100), 5u);
}

// Writing, modes, copies.

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

TEST_F(WinHDIO, SameTargets) {
  fakes::SimulatedDrive* drive = MakeDrive();
  fakes::SimulatedDrive* second = m_devices.Add(u"\\\\.\\PhysicalDrive2");
  second->lengthBytes = 512;
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

// By name.

TEST_F(WinHDIO, PrefixesByPath) {
  const struct {
    const char16_t* path;
    const char* prefix;
  } cases[] = {{u"\\\\.\\c:", "Drive C: "}, {u"//./c:", "Drive C: "},
               {u"\\\\.\\Z:", "Drive Z: "}, {u"\\\\.\\1:", "1:: "},
               {u"\\\\.\\c:x", "c:x: "},    {u"\\\\.\\HarddiskVolume3", "HarddiskVolume3: "},
               {u"/dev/sda", "/dev/sda: "}, {u"\\\\?\\Volume", "\\\\?\\Volume: "}};
  for (const auto& c : cases) {
    fakes::SimulatedDrive* drive = MakeDrive();
    drive->path = c.path;
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
    {"fits", 1000, 5000, 100, 5000, 1000},
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

TEST_F(WinHDIO, AVolumeIsCutAtTheEndOfItsDisk) {
  for (const ClampCase& c : kClamps) {
    fakes::SimulatedDrive* disk = MakeDrive();
    disk->lengthBytes = c.disk * 512;
    disk->identifyData = fakes::MakeIdentify("M", "S", "F", c.capacity);
    if (c.capacity == 0) disk->wrapping = Wrapping::kNone;
    fakes::SimulatedDrive* volume = MakeDrive();
    volume->path = u"\\\\.\\D:";
    volume->lengthBytes = c.volume * 512;
    volume->partition = 1;
    volume->partitionStartBytes = c.start * 512;
    cNamedWinHDIO io;
    ASSERT_TRUE(OpenNamed(&io, volume->path));
    EXPECT_EQ(io.GetSectorCount(), c.expected) << c.name;
    EXPECT_EQ(io.GetFullSectorCount(), c.volume) << c.name;
    const bool isClamped = c.disk < c.volume;
    const std::string log = disk->TakeLog();
    EXPECT_EQ(log.find("open rw"), 0u) << c.name;
    EXPECT_EQ(log.find("ata") != std::string::npos, isClamped) << "asked only when it matters";
    disk->path.clear();
    volume->path.clear();
  }
}

TEST_F(WinHDIO, WhatIsNoVolumeIsNotCut) {
  fakes::SimulatedDrive* disk = MakeDrive();
  disk->lengthBytes = 10 * 512;
  fakes::SimulatedDrive* volume = MakeDrive();
  volume->path = u"\\\\.\\D:";
  volume->partition = 1;
  cNamedWinHDIO io;
  ASSERT_TRUE(OpenNamed(&io, volume->path));
  EXPECT_EQ(io.GetSectorCount(), 10u) << "the start is taken as 0 when nothing says it";
  for (const u32 type : {2u, 8u}) {
    volume->deviceType = type;
    ASSERT_TRUE(OpenNamed(&io, volume->path));
    EXPECT_EQ(io.GetSectorCount(), 4000u);
  }
  volume->deviceType.reset();
  ASSERT_TRUE(OpenNamed(&io, volume->path));
  EXPECT_EQ(io.GetSectorCount(), 4000u);
  volume->deviceType = 7;
  disk->isPresent = false;
  ASSERT_TRUE(OpenNamed(&io, volume->path));
  EXPECT_EQ(io.GetSectorCount(), 4000u);
}

TEST_F(WinHDIO, ByNameTakesNamesOnly) {
  MakeDrive();
  cNamedWinHDIO io;
  const cNumberedDeviceResource number(1);
  EXPECT_FALSE(io.Open(&number, true));
  EXPECT_FALSE(io.Open(nullptr, true));
  EXPECT_EQ(io.GetTypeId(), 23u);
  EXPECT_EQ(io.GetResourceKind(), 2u);
}

}  // namespace
}  // namespace larkspur
