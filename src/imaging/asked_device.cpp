// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/asked_device.h"

#include <algorithm>

#include "base/path_text.h"
#include "devices/device_kind.h"
#include "devices/device_query.h"
#include "devices/device_system.h"
#include "devices/identity_text.h"
#include "devices/open_drive.h"
#include "imaging/reconnect.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

using namespace platform;

constexpr u32 kMaxSectorBytes = 0x10000;
constexpr u32 kMaxOddBytes = 528;  // 512 bytes of data and something after them

bool IsPlausible(u32 bytes) {
  return bytes >= kSectorBytes && bytes <= kMaxSectorBytes && (bytes & (bytes - 1)) == 0;
}

// The larger of what the drive and the system say. Where the first sector lies inside of a physical
// one, as on some volumes, only what divides both is of use to a caller.
u32 PhysicalBytes(u32 told, u32 logical, Device& device) {
  u32 bytes = std::max(IsPlausible(told) ? told : 0, logical);
  u64 first = QueryPartitionStart(device).value_or(0) << kSectorShift;
  if (const auto sizes = QuerySectorSizes(device)) {
    if (IsPlausible(sizes->physicalBytes)) bytes = std::max(bytes, sizes->physicalBytes);
    first += sizes->firstBytes;
  }
  while (bytes > logical && first % bytes != 0) bytes /= 2;
  return bytes;
}

}  // namespace

std::unique_ptr<cAskedDevice> cAskedDevice::Open(const std::u16string& path, cBaseIO* drive,
                                                 const SourceOptions& options) {
  std::unique_ptr<cAskedDevice> device(new cAskedDevice(options));
  device->m_path = path;
  device->TakeIdentity(drive);
  if (!device->OpenByPath()) return nullptr;
  device->m_names = NamesOf(*device->m_device);
  SourceIdentity& identity = device->m_identity;
  identity.physicalSectorBytes =
      device->IsOdd() ? kSectorBytes
                      : PhysicalBytes(identity.physicalSectorBytes, identity.logicalSectorBytes,
                                      *device->m_device);
  return device;
}

void cAskedDevice::TakeIdentity(cBaseIO* drive) {
  const DeviceIdentity told = IdentityOf(drive);
  m_isOptical = drive->GetTypeId() == kTypeWinCD;
  m_identity.path = Utf8FromWide(m_path);
  m_identity.model = Utf8FromWide(told.model);
  m_identity.serial = Utf8FromWide(told.serial);
  m_identity.firmware = Utf8FromWide(told.firmware);
  m_identity.sectors = drive->GetSectorCount();
  m_identity.logicalSectorBytes = kSectorBytes;
  m_identity.physicalSectorBytes = told.physicalSectorBytes;
  if (told.kind == kKindScsi && told.logicalSectorBytes > kSectorBytes &&
      told.logicalSectorBytes <= kMaxOddBytes) {
    // A system that cannot read such sectors counts them wrongly, or not at all.
    m_identity.logicalSectorBytes = told.logicalSectorBytes;
    m_identity.sectors = told.sectorCount + 1;
  }
}

bool cAskedDevice::OpenByPath() {
  m_commands.reset();
  m_device = Devices().Open(m_path.c_str(),
                            m_isOptical ? kAccessRead | kAccessUnbuffered : u32{kAccessRead});
  if (!m_device) return false;
  m_isRemovable = m_isOptical || IsRemovable(m_device.get());
  m_medium = m_device->MediumNumber(false);
  // What the system reads, which a bridge may have put between us and the drive.
  const auto geometry = QueryGeometry(*m_device);
  if (!IsOdd() && geometry && IsPlausible(geometry->bytesPerSector)) {
    m_identity.logicalSectorBytes = geometry->bytesPerSector;
  }
  if (IsOdd() || m_options.passThrough == PassThrough::kOn) OpenForCommands();
  if (IsOdd()) return m_commands != nullptr;  // no system reads such sectors
  return m_reader.Allocate(kMaxAskSectors * kSectorBytes, m_identity.logicalSectorBytes);
}

void cAskedDevice::OpenForCommands() {
  if (!m_takesCommands || m_commands) return;
  m_commands = cPassThroughReader::Open({.path = m_path,
                                         .blockBytes = m_identity.logicalSectorBytes,
                                         .maxSectors = kMaxAskSectors,
                                         .timeoutSeconds = m_options.timeoutSeconds,
                                         .isOptical = m_isOptical,
                                         .isRemovable = m_isRemovable});
  m_takesCommands = m_commands != nullptr;
}

AskOutcome cAskedDevice::Ask(u64 sector, void* buffer, u32 count) {
  u8* into = static_cast<u8*>(buffer);
  // What is not open was not asked.
  if (!m_device || HasOtherMedium(false)) return {0, FailureKind::kGone};
  // Nothing but commands reads such sectors, and the drive has refused one.
  if (IsOdd() && !m_commands) return {0, FailureKind::kSystem};
  AskOutcome outcome =
      m_commands ? AskByCommand(sector, into, count) : AskThroughKernel(sector, into, count);
  if (m_commands && !m_takesCommands) {
    m_commands.reset();
    if (!IsOdd()) outcome = AskThroughKernel(sector, into, count);
  }
  if (outcome.kind == FailureKind::kNone) return outcome;
  outcome.kind = Refined(outcome);
  const bool isAsked = outcome.kind != FailureKind::kGone && outcome.kind != FailureKind::kSystem;
  if (isAsked && m_options.passThrough == PassThrough::kAuto) OpenForCommands();
  return outcome;
}

AskOutcome cAskedDevice::AskByCommand(u64 sector, u8* buffer, u32 count) {
  const CommandOutcome outcome = m_commands->Read(sector, count, buffer);
  m_takesCommands = outcome.isTaken;
  if (!outcome.isTaken) return {0, FailureKind::kSystem, outcome.code};
  const u32 delivered = outcome.kind == FailureKind::kNone ? count : 0;
  return {delivered, outcome.kind, outcome.code, outcome.firstBad, outcome.sense};
}

AskOutcome cAskedDevice::AskThroughKernel(u64 sector, u8* buffer, u32 count) {
  const auto transfer = [this](u8* into, u32 length, u64 offset) {
    return m_device->Seek(offset) == offset ? m_device->Read(into, length) : 0;
  };
  const u32 delivered = m_reader.Read(sector << kSectorShift, buffer, count << kSectorShift,
                                      m_identity.logicalSectorBytes, transfer) >>
                        kSectorShift;
  if (delivered == count) return {count};
  const u32 code = LastFailure();
  return {delivered, code == 0 ? FailureKind::kUnclear : KindOfFailure(code), code};
}

FailureKind cAskedDevice::Refined(const AskOutcome& outcome) {
  if (outcome.kind == FailureKind::kGone && outcome.sense != 0) return outcome.kind;
  // A changed medium may well have bad sectors, too.
  if (m_isRemovable && HasOtherMedium(true)) return FailureKind::kGone;
  if (outcome.kind == FailureKind::kMedium) return outcome.kind;
  const u64 bytes = IsOdd() ? 0 : m_identity.sectors << kSectorShift;
  const FailureKind state = Devices().StateOf(m_path.c_str(), bytes);
  if (state != FailureKind::kNone) return state;
  // One request may be refused as if there were no such device, while it is there.
  return outcome.kind == FailureKind::kGone ? FailureKind::kTransport : outcome.kind;
}

// Once it is another medium, nothing is read of it until somebody has looked who it is.
bool cAskedDevice::HasOtherMedium(bool asksDrive) {
  if (!m_isRemovable || !m_medium) return false;
  if (m_device->MediumNumber(asksDrive) == m_medium) return false;
  m_device.reset();
  m_commands.reset();
  return true;
}

bool cAskedDevice::Reconnect(double seconds) {
  m_device.reset();
  m_commands.reset();
  m_takesCommands = true;
  return WaitFor(seconds, [this] { return ReconnectAt(m_path) || ReconnectAnywhere(); });
}

bool cAskedDevice::ReconnectAt(const std::u16string& path) {
  const auto present = Devices().Open(path.c_str(), kAccessQuery);
  if (!present || NamesOf(*present) != m_names) return false;
  const Owned<cBaseIO> drive = OpenDrive(path);
  if (!drive) return false;
  const SourceIdentity before = m_identity;
  const std::u16string pathBefore = m_path;
  m_path = path;
  TakeIdentity(drive.get());
  const bool isSame = m_identity.model == before.model && m_identity.serial == before.serial &&
                      m_identity.sectors == before.sectors;
  m_identity.physicalSectorBytes = before.physicalSectorBytes;
  if (isSame && OpenByPath() && m_identity.logicalSectorBytes == before.logicalSectorBytes) {
    return true;
  }
  m_device.reset();
  m_commands.reset();
  m_identity = before;
  m_path = pathBefore;
  return false;
}

bool cAskedDevice::ReconnectAnywhere() {
  if (m_names.serial.empty()) return false;
  const auto paths = Devices().DiskPaths();
  return std::any_of(paths.begin(), paths.end(), [this](const std::u16string& path) {
    return path != m_path && ReconnectAt(path);
  });
}

cAskedDevice::SystemNames cAskedDevice::NamesOf(Device& device) {
  const DescriptorTexts texts = TextsOfDescriptor(device).value_or(DescriptorTexts());
  const auto number = QueryNumber(device);
  return {texts.vendor, texts.model, texts.serial, number ? number->partition : 0};
}

}  // namespace larkspur
