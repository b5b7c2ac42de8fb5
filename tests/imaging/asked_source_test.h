// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <cstring>
#include <string>
#include <utility>

#include <fmt/core.h>

#include "devices/device_test.h"
#include "fakes/memory_disk.h"
#include "imaging/source.h"
#include "platform/pages.h"

namespace larkspur {

// Tests of sources as the engine asks them: what comes, and what a failure is called.
class AskedSourceTest : public DeviceTest {
 protected:
  fakes::SimulatedDrive* MakeDrive(u32 sectorBytes = 512, u64 sectors = 4000) {
    return AddDrive(u"\\\\.\\D:", sectorBytes, sectors);
  }
  // One that takes commands.
  fakes::SimulatedDrive* MakeScsiDrive(u32 sectorBytes = 512, u64 sectors = 4000) {
    fakes::SimulatedDrive* drive = MakeDrive(sectorBytes, sectors);
    drive->wrapping = fakes::Wrapping::kNone;
    drive->identifyData.clear();
    drive->bus = 1;
    drive->inquiry = fakes::MakeInquiry("ACME", "Disk", "1.0");
    drive->unitSerial = "SN1";
    drive->lastLba = sectors - 1;
    drive->readSeconds = 10;
    return drive;
  }
  Source Open(const fakes::SimulatedDrive& drive, const SourceOptions& options = {}) {
    auto source = OpenSource(drive.path, options);
    EXPECT_TRUE(source);
    return std::move(*source);
  }
  // "8", "3 medium 031100 at 103": what an ask came to. What was delivered must be the pattern.
  std::string Ask(const Source& source, u64 sector, u32 count) {
    std::memset(m_room.Data(), 0xA5, m_room.Size());
    const AskOutcome outcome = source.asked->Ask(sector, m_room.Data(), count);
    const auto pattern = fakes::Pattern(sector, outcome.delivered);
    EXPECT_TRUE(outcome.delivered == 0 ||
                std::memcmp(pattern.data(), m_room.Data(), pattern.size()) == 0);
    EXPECT_EQ(m_room.Data()[u64{count} * kSectorBytes], 0xA5) << "nothing past the request";
    constexpr const char* kKinds[] = {"", "medium", "transport", "gone", "system", "unclear"};
    std::string text = std::to_string(outcome.delivered);
    if (outcome.kind == FailureKind::kNone) return text;
    text += std::string(" ") + kKinds[static_cast<size_t>(outcome.kind)];
    if (outcome.sense != 0) text += fmt::format(" {:06x}", outcome.sense);
    if (outcome.firstBad != kNowhere) text += " at " + std::to_string(outcome.firstBad);
    return text;
  }

  platform::OwnedPages m_room{AskedSource::kMaxAskSectors * kSectorBytes + 4096};
};

}  // namespace larkspur
