// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// A device that answers anything: descriptor, geometry, identify and inquiry data, sense data of
// every shape. Opening, describing and reading it never goes wrong, sends only requests that are
// right, and writes nothing past a buffer.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fmt/core.h>

#include "base/byte_reader.h"
#include "devices/device_system.h"
#include "devices/named_win_hd_io.h"
#include "devices/win_cd_io.h"
#include "fakes/simulated_drive.h"
#include "fuzz/targets.h"

namespace larkspur::fuzz {
namespace {

constexpr u32 kReadSectors = 40;

// Takes the input from its front; past its end there are zeros.
class Input {
 public:
  explicit Input(std::span<const u8> input) : m_left(input) {}

  std::vector<u8> Take(size_t count) {
    std::vector<u8> bytes(count);
    const size_t there = std::min(count, m_left.size());
    std::copy_n(m_left.begin(), there, bytes.begin());
    m_left = m_left.subspan(there);
    return bytes;
  }
  u8 Byte() { return Take(1)[0]; }
  u32 Word() { return LoadLe32(Take(4).data()); }
  bool IsEmpty() const { return m_left.empty(); }

 private:
  std::span<const u8> m_left;
};

fakes::SimulatedDrive* MakeDrive(Input& input, fakes::SimulatedDevices* devices) {
  constexpr u32 kSizes[] = {512, 520, 2048, 4096};
  const u8 flags = input.Byte();
  fakes::SimulatedDrive* drive = devices->Add(u"\\\\.\\E:", kSizes[flags % 4], 300);
  if (flags & 4) drive->geometrySectorBytes = input.Word();
  if (flags & 8) drive->usbParent = u"USB\\VID_152D&PID_2338";
  drive->wrapping = static_cast<fakes::Wrapping>(input.Byte() % 7);
  drive->isOptical = flags & 16;
  drive->speaksSmart = flags & 32;
  drive->knowsCapacity16 = flags & 64;
  drive->rawDescriptor = input.Take(64);
  drive->identifyData = input.Take(input.Byte() * 2);
  drive->identifyData.resize(512);
  drive->inquiry = input.Take(64);
  drive->unitSerial = std::string(input.Byte(), 'S');
  return drive;
}

// Replies with what is left of the input, until nothing is left.
void ReplyFrom(Input* input, fakes::SimulatedDrive* drive) {
  drive->onScsi = [input](const fakes::ScsiAsked&) -> std::optional<fakes::ScsiReply> {
    if (input->IsEmpty() || input->Byte() % 2 == 0) return std::nullopt;
    fakes::ScsiReply reply;
    reply.status = input->Byte();
    reply.sense = input->Take(input->Byte() % 80);
    reply.data = input->Take(input->Byte());
    reply.lost = input->Word();
    return reply;
  };
}

// The rest of it is read by the system's code page.
std::string AsciiOf(std::u16string_view text) {
  std::string ascii;
  for (const char16_t unit : text) {
    if (unit < 0x80) ascii += static_cast<char>(unit);
  }
  return ascii;
}

// False when a device that lied about its sector size made the object ask in other units.
bool Use(cBaseIO* io, const fakes::SimulatedDrive& drive, std::string* told) {
  std::vector<u8> buffer(kReadSectors * kSectorBytes + 1, 0xA5);
  for (const u64 sector : {u64{0}, u64{3}, io->GetSectorCount() / 2, io->GetSectorCount() - 1}) {
    io->SetPosition(sector);
    const u32 got = io->Read(buffer.data(), kReadSectors);
    if (got > kReadSectors || buffer.back() != 0xA5) std::abort();
    *told += fmt::format("{} at {}\n", got, sector);
  }
  char16_t text[70] = {};
  text[69] = u'!';
  io->GetDescription(text, 69);
  if (text[69] != u'!') std::abort();
  *told += fmt::format("{}, {}, kind {}\n", AsciiOf(text), AsciiOf(io->GetName()), io->GetTypeId());
  const Owned<cBaseIO> clone(io->Clone());
  u32 geometry[3];
  return io->GetGeometry(geometry) && geometry[0] == drive.sectorBytes;
}

}  // namespace

std::string RunDevice(std::span<const u8> input) {
  Input given(input);
  fakes::SimulatedDevices devices;
  const cDevicesInstead instead(&devices);
  fakes::SimulatedDrive* drive = MakeDrive(given, &devices);
  ReplyFrom(&given, drive);
  bool knowsSectors = true;
  std::string told;
  if (drive->isOptical) {
    cWinCDIO io;
    const cNumberedDeviceResource letter(u'E');
    if (io.Open(&letter, true)) knowsSectors = Use(&io, *drive, &told);
  } else {
    cNamedWinHDIO io;
    const cNamedFileResource path(u"\\\\.\\E:");
    if (io.Open(&path, false)) knowsSectors = Use(&io, *drive, &told);
  }
  if (knowsSectors && !devices.Faults().empty()) {
    std::fprintf(stderr, "%s", devices.Faults().c_str());
    std::abort();
  }
  for (const std::string& line : drive->log) told += line + "\n";
  return told;
}

}  // namespace larkspur::fuzz
