// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Sources as the engine asks them: what comes, and what a failure is called.

#include <cstring>

#include "base/path_text.h"
#include "devices/device_test.h"
#include "fakes/memory_disk.h"
#include "fakes/temp_folder.h"
#include "imaging/source.h"
#include "platform/pages.h"

namespace larkspur {
namespace {

class AskedSourceTest : public DeviceTest {
 protected:
  fakes::SimulatedDrive* MakeDrive(u32 sectorBytes = 512, u64 sectors = 4000) {
    fakes::SimulatedDrive* drive = m_devices.Add(u"\\\\.\\D:");
    drive->sectorBytes = sectorBytes;
    drive->sectors = sectors;
    drive->lengthBytes = sectors * sectorBytes;
    drive->wrapping = fakes::Wrapping::kNative;
    drive->identifyData = fakes::MakeIdentify("Model", "SN1", "FW", sectors);
    return drive;
  }
  Source Open(const fakes::SimulatedDrive& drive, const SourceOptions& options = {}) {
    Source source = OpenSource(drive.path, options);
    EXPECT_EQ(source.answer, SourceAnswer::kOpened);
    return source;
  }
  // "8 delivered", "3 delivered, medium 5, bad at 103": what an ask came to. What was delivered
  // must be the pattern.
  std::string Ask(const Source& source, u64 sector, u32 count) {
    std::memset(m_room.Data(), 0xA5, m_room.Size());
    const AskAnswer answer = source.asked->Ask(sector, m_room.Data(), count);
    const auto pattern = fakes::Pattern(sector, answer.delivered);
    EXPECT_TRUE(answer.delivered == 0 ||
                std::memcmp(pattern.data(), m_room.Data(), pattern.size()) == 0);
    EXPECT_EQ(m_room.Data()[u64{count} * kSectorBytes], 0xA5) << "nothing past the request";
    constexpr const char* kKinds[] = {"", "medium", "transport", "gone", "system", "unclear"};
    std::string text = std::to_string(answer.delivered);
    if (answer.kind == FailureKind::kNone) return text;
    text += std::string(" ") + kKinds[static_cast<size_t>(answer.kind)];
    if (answer.firstBad != kNowhere) text += " at " + std::to_string(answer.firstBad);
    return text;
  }

  fakes::TempFolder m_folder;
  platform::OwnedPages m_room{AskedSource::kMaxAskSectors * kSectorBytes + 4096};
};

TEST_F(AskedSourceTest, AFile) {
  const std::u16string path = m_folder.File(u"image");
  auto content = fakes::Pattern(0, 1000);
  content.resize(content.size() + 100);
  ASSERT_TRUE(fakes::WriteWholeFile(path, content));
  const Source source = OpenSource(path, {});
  ASSERT_EQ(source.answer, SourceAnswer::kOpened);
  EXPECT_EQ(source.looseBytes, 100u);
  const SourceIdentity& identity = source.asked->Identity();
  EXPECT_EQ(identity.path, Utf8FromWide(path));
  EXPECT_EQ(identity.sectors, 1000u);
  EXPECT_EQ(identity.logicalSectorBytes, 512u);
  EXPECT_EQ(Ask(source, 0, 128), "128");
  EXPECT_EQ(Ask(source, 999, 1), "1");
  ASSERT_TRUE(fakes::WriteWholeFile(path, fakes::Pattern(0, 500)));
  EXPECT_EQ(Ask(source, 490, 20), "10 gone") << "it has become shorter";
  EXPECT_EQ(Ask(source, 490, 10), "10") << "past the cache now";
  EXPECT_EQ(Ask(source, 3, 9), "9");
  EXPECT_EQ(Ask(source, 495, 20), "5 gone");
  EXPECT_EQ(Ask(source, 700, 1), "0 gone");
  EXPECT_FALSE(source.asked->Reconnect(0));
  ASSERT_TRUE(fakes::WriteWholeFile(path, fakes::Pattern(0, 1000)));
  EXPECT_TRUE(source.asked->Reconnect(0));
  EXPECT_EQ(Ask(source, 700, 3), "3");
}

TEST_F(AskedSourceTest, ADriveSaysOnceWhoItIs) {
  fakes::SimulatedDrive* drive = MakeDrive();
  const Source source = Open(*drive);
  EXPECT_EQ(drive->TakeLog(), "open r\nopen rw\nata 00 01 00 00 00 00 EC\nopen r");
  const SourceIdentity& identity = source.asked->Identity();
  EXPECT_EQ(identity.path, "\\\\.\\D:");
  EXPECT_EQ(identity.model, "Model");
  EXPECT_EQ(identity.serial, "SN1");
  EXPECT_EQ(identity.firmware, "FW");
  EXPECT_EQ(identity.sectors, 4000u);
  EXPECT_EQ(Ask(source, 3990, 10), "10");
  EXPECT_EQ(drive->TakeLog(), "read 2042880+5120") << "and nothing else is asked";
}

TEST_F(AskedSourceTest, OnlyWholeSectorsOfADriveAreRead) {
  fakes::SimulatedDrive* drive = MakeDrive(4096, 100);
  const Source source = Open(*drive);
  EXPECT_EQ(source.asked->Identity().logicalSectorBytes, 4096u);
  EXPECT_EQ(source.asked->Identity().physicalSectorBytes, 4096u);
  drive->TakeLog();
  EXPECT_EQ(Ask(source, 8, 16), "16");
  EXPECT_EQ(Ask(source, 7, 2), "2");
  EXPECT_EQ(Ask(source, 5, 128), "128");
  EXPECT_EQ(drive->TakeLog(), "read 4096+8192\nread 0+8192\nread 0+69632");
}

TEST_F(AskedSourceTest, TestModeFailsLikeAMedium) {
  fakes::SimulatedDrive* drive = MakeDrive();
  const std::u16string mapfile = m_folder.File(u"bad.map");
  const std::string text = "0x0 + 1\n0x0 0x1000 +\n0x1000 0x200 -\n0x1200 0x62000 +\n";
  ASSERT_TRUE(fakes::WriteWholeFile(mapfile, {text.begin(), text.end()}));
  const Source source = Open(*drive, {.testMapfile = mapfile});
  EXPECT_EQ(Ask(source, 0, 8), "8");
  EXPECT_EQ(Ask(source, 0, 128), "8 medium");
  EXPECT_EQ(Ask(source, 8, 1), "0 medium");
  EXPECT_EQ(Ask(source, 9, 100), "100");
  drive->isPresent = false;
  EXPECT_EQ(Ask(source, 0, 128), "0 gone");
}

TEST_F(AskedSourceTest, WhatHasGoneComesBackAsTheSame) {
  fakes::SimulatedDrive* drive = MakeDrive();
  const Source source = Open(*drive);
  drive->isPresent = false;
  EXPECT_EQ(Ask(source, 0, 8), "0 gone");
  EXPECT_FALSE(source.asked->Reconnect(0));
  EXPECT_EQ(Ask(source, 0, 8), "0 gone") << "what is not open is no refusal";
  drive->isPresent = true;
  drive->identifyData = fakes::MakeIdentify("Model", "SN2", "FW", 4000);
  EXPECT_FALSE(source.asked->Reconnect(0)) << "another drive";
  drive->identifyData = fakes::MakeIdentify("Model", "SN1", "FW", 4000);
  EXPECT_TRUE(source.asked->Reconnect(0));
  EXPECT_EQ(Ask(source, 0, 8), "8");
}

}  // namespace
}  // namespace larkspur
