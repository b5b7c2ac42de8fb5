// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "base/path_text.h"
#include "devices/device_test.h"
#include "devices/named_win_hd_io.h"
#include "fakes/memory_disk.h"

namespace larkspur {

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

}  // namespace larkspur
