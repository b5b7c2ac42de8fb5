// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/asked_device.h"

#include <algorithm>
#include <cstring>

#include "base/path_text.h"
#include "devices/device_query.h"
#include "devices/open_drive.h"
#include "imaging/reconnect.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

using namespace platform;

constexpr u32 kMaxSectorBytes = 0x10000;

// A size of sectors that can be: a power of two from 512 bytes to 64 KiB, else `otherwise`.
u32 PlausibleSize(u32 bytes, u32 otherwise) {
  const bool fits = bytes >= kSectorBytes && bytes <= kMaxSectorBytes && (bytes & (bytes - 1)) == 0;
  return fits ? bytes : otherwise;
}

}  // namespace

SourceIdentity IdentityOfDrive(const std::u16string& path, cBaseIO* drive) {
  const DeviceIdentity told = IdentityOf(drive);
  u32 geometry[3] = {};
  drive->GetGeometry(geometry);
  SourceIdentity identity;
  identity.path = Utf8FromWide(path);
  identity.model = Utf8FromWide(told.model);
  identity.serial = Utf8FromWide(told.serial);
  identity.firmware = Utf8FromWide(told.firmware);
  identity.sectors = drive->GetSectorCount();
  // By what the system reads, which a bridge may have put between us and the drive.
  identity.logicalSectorBytes = PlausibleSize(geometry[0], kSectorBytes);
  identity.physicalSectorBytes =
      std::max(PlausibleSize(told.physicalSectorBytes, kSectorBytes), identity.logicalSectorBytes);
  return identity;
}

std::unique_ptr<cAskedDevice> cAskedDevice::Open(const std::u16string& path, cBaseIO* drive) {
  std::unique_ptr<cAskedDevice> device(new cAskedDevice);
  device->m_path = path;
  device->m_isOptical = drive->GetTypeId() == kTypeWinCD;
  device->m_identity = IdentityOfDrive(path, drive);
  return device->OpenByPath() ? std::move(device) : nullptr;
}

bool cAskedDevice::OpenByPath() {
  m_device = Devices().Open(m_path.c_str(),
                            m_isOptical ? kAccessRead | kAccessUnbuffered : u32{kAccessRead});
  return m_device != nullptr;
}

AskAnswer cAskedDevice::Ask(u64 sector, void* buffer, u32 count) {
  if (!m_device) return {0, FailureKind::kGone, 0};
  SetLastFailure(0);
  const u32 delivered = ReadThroughKernel(sector, static_cast<u8*>(buffer), count);
  if (delivered == count) return {count};
  const u32 code = LastFailure();
  return {delivered, Judge(code), code};
}

u32 cAskedDevice::ReadThroughKernel(u64 sector, u8* buffer, u32 count) {
  const u32 unit = m_identity.logicalSectorBytes;
  const u64 offset = sector << kSectorShift;
  const u32 length = count << kSectorShift;
  const u64 first = offset / unit * unit;
  const u32 before = static_cast<u32>(offset - first);
  const u32 around = (before + length + unit - 1) / unit * unit;
  const bool fits = around == length;
  if (!fits && !m_around.Data() && !m_around.Allocate(kMaxAskSectors * kSectorBytes + 2 * unit)) {
    return 0;
  }
  u8* into = fits ? buffer : m_around.Data();
  const u32 got = m_device->Seek(first) == first ? m_device->Read(into, around) : 0;
  const u32 delivered = std::min(got - std::min(got, before), length);
  if (!fits) std::memcpy(buffer, into + before, delivered);
  return delivered >> kSectorShift;
}

FailureKind cAskedDevice::Judge(u32 code) {
  const FailureKind kind = code == 0 ? FailureKind::kUnclear : KindOfFailure(code);
  if (kind == FailureKind::kMedium || kind == FailureKind::kGone) return kind;
  const FailureKind state = Devices().StateOf(m_path.c_str(), m_identity.sectors << kSectorShift);
  return state == FailureKind::kNone ? kind : state;
}

bool cAskedDevice::Reconnect(double seconds) {
  m_device.reset();
  return WaitFor(seconds, [this] {
    const Owned<cBaseIO> drive = OpenDrive(m_path);
    if (!drive) return false;
    const SourceIdentity now = IdentityOfDrive(m_path, drive.get());
    return now.model == m_identity.model && now.serial == m_identity.serial &&
           now.sectors == m_identity.sectors && OpenByPath();
  });
}

}  // namespace larkspur
