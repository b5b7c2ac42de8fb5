// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Source of the sense keys and codes: SPC-4 and SBC-3.

#include "devices/pass_through_reader.h"

#include <algorithm>
#include <cstring>

#include "devices/device_query.h"
#include "devices/device_system.h"
#include "devices/scsi_requests.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

using namespace platform;

constexpr u8 kBecomingReady = 0x04;      // with a qualifier for what is awaited
constexpr u8 kNeedsIntervention = 0x03;  // that qualifier: waiting does not help
constexpr u8 kOutOfRange = 0x21;
constexpr u8 kMediumMayHaveChanged = 0x28;
constexpr u8 kSelfConfiguring = 0x3E;

// A drive that is only getting ready is on its way back; any other has no medium or has died.
FailureKind KindOfNotReady(const SenseData& sense) {
  const bool isComing =
      (sense.asc == kBecomingReady && sense.ascq != 0 && sense.ascq != kNeedsIntervention) ||
      sense.asc == kSelfConfiguring;
  return isComing ? FailureKind::kTransport : FailureKind::kGone;
}

// A drive aborts a command for what went wrong on the cable, and for all that it has no other word
// for: many call a sector so that they cannot read.
FailureKind KindOfAborted(const SenseData& sense) {
  constexpr u8 kOnTheWay[] = {
      0x08,  // communication with the unit
      0x29,  // reset
      0x2F,  // commands cleared by another initiator
      0x47,  // parity or CRC
      0x48,  // detected by the initiator
      0x4A,  // command phase
      0x4B,  // data phase
      0x4E,  // overlapped commands
  };
  const bool isOnTheWay = std::count(std::begin(kOnTheWay), std::end(kOnTheWay), sense.asc) > 0;
  return isOnTheWay ? FailureKind::kTransport : FailureKind::kUnclear;
}

FailureKind KindOfKey(const SenseData& sense, bool isRemovable, bool* isTaken) {
  switch (sense.key) {
    case kSenseNotReady:
      return KindOfNotReady(sense);
    case kSenseMediumError:
    case kSenseBlankCheck:
      return FailureKind::kMedium;
    case kSenseIllegalRequest:
      // Linux says this where an ATA drive did not find the sector; ours always exist.
      *isTaken = sense.asc == kOutOfRange;
      return FailureKind::kUnclear;
    case kSenseUnitAttention:
      return sense.asc == kMediumMayHaveChanged && isRemovable ? FailureKind::kGone
                                                               : FailureKind::kTransport;
    case kSenseAbortedCommand:
      return KindOfAborted(sense);
    case kSenseHardwareError:
    case kSenseCopyAborted:
      return FailureKind::kTransport;
    case kSenseDataProtect:
      return FailureKind::kSystem;
  }
  return FailureKind::kUnclear;
}

FailureKind KindOfSense(const ScsiCommand& command, bool isRemovable, bool* isTaken) {
  if (command.status == 0) return FailureKind::kNone;
  // Busy, reserved, queue full, aborted: the drive was not asked.
  if (command.status != ScsiCommand::kCheckCondition) return FailureKind::kTransport;
  const u8 form = command.ResponseCode();
  if (form < 0x70) return FailureKind::kUnclear;  // it failed and does not say why
  const bool isDeferred = form == 0x71 || form == 0x73;
  if (isDeferred) return FailureKind::kTransport;  // of an earlier command; this one was not run
  const SenseData sense = DecodeSense(command);
  if (sense.key == kSenseNone || sense.key == kSenseRecovered) return FailureKind::kNone;
  return KindOfKey(sense, isRemovable, isTaken);
}

CommandOutcome NotTaken() {
  return {.isTaken = false};
}

// Whether drives on a bus of this type are sent SCSI commands by their drivers.
bool CarriesScsi(u32 bus) {
  return bus > kBusUnknown && bus <= kBusSata;
}

}  // namespace

std::unique_ptr<cPassThroughReader> cPassThroughReader::Open(const Target& target) {
  std::unique_ptr<cPassThroughReader> reader(new cPassThroughReader(target));
  reader->m_device = Devices().Open(target.path.c_str(), kAccessRead | kAccessWrite);
  if (!reader->m_device) return nullptr;
  const auto descriptor = StorageDescriptor::Query(*reader->m_device);
  if (!descriptor || !CarriesScsi(descriptor->Bus()) || !reader->FindStart()) return nullptr;
  // Requests may begin and end inside of blocks.
  const u32 around = (target.maxSectors / reader->Ratio() + 2) * target.blockBytes;
  const u32 bytes = std::max(around, kRawSectorBytes);
  return reader->m_blocks.Allocate(bytes) ? std::move(reader) : nullptr;
}

bool cPassThroughReader::FindStart() {
  const auto number = QueryNumber(*m_device);
  if (!number) return m_target.isOptical;
  if (number->partition == 0) return true;
  const auto start = QueryPartitionStart(*m_device);
  m_firstSector = start.value_or(0);
  return start && m_firstSector % Ratio() == 0 && !IsOdd();
}

CommandOutcome cPassThroughReader::Read(u64 sector, u32 count, u8* buffer) {
  const u64 first = (m_firstSector + sector) / Ratio();
  const u64 end = (m_firstSector + sector + count + Ratio() - 1) / Ratio();
  const u32 blocks = static_cast<u32>(end - first);
  const bool fits = blocks * m_target.blockBytes == count * kSectorBytes;
  u8* into = fits ? buffer : m_blocks.Data();
  CommandOutcome outcome = NotTaken();
  if (m_target.isOptical && m_readsRaw && blocks == 1) {
    into = m_blocks.Data();
    outcome = ReadRawBlock(first, into);
    m_readsRaw = outcome.isTaken;
  }
  if (!outcome.isTaken) outcome = ReadBlocks(first, blocks, into);
  if (outcome.kind == FailureKind::kNone && into != buffer) TakeOut(sector, count, buffer);
  if (outcome.firstBad != kNowhere) {
    outcome.firstBad = std::max(outcome.firstBad * Ratio(), m_firstSector + sector) - m_firstSector;
  }
  return outcome;
}

void cPassThroughReader::TakeOut(u64 sector, u32 count, u8* buffer) const {
  if (!IsOdd()) {
    const u64 within = (m_firstSector + sector) % Ratio();
    std::memcpy(buffer, m_blocks.Data() + within * kSectorBytes, u64{count} * kSectorBytes);
    return;
  }
  for (u32 i = 0; i < count; ++i) {
    std::memcpy(buffer + u64{i} * kSectorBytes, m_blocks.Data() + u64{i} * m_target.blockBytes,
                kSectorBytes);
  }
}

// Judges everything but whether enough data came.
CommandOutcome cPassThroughReader::Send(ScsiCommand* command) {
  command->timeoutSeconds = m_target.timeoutSeconds;
  if (!ExecuteScsi(*m_device, *command)) {
    const u32 code = LastFailure();
    if (IsFormRefused(code)) return NotTaken();
    return {.kind = KindOfFailure(code), .code = code};
  }
  CommandOutcome outcome;
  outcome.kind = KindOfSense(*command, m_target.isRemovable, &outcome.isTaken);
  const SenseData sense = DecodeSense(*command);
  outcome.sense = u32{sense.key} << 16 | u32{sense.asc} << 8 | sense.ascq;
  return outcome;
}

CommandOutcome cPassThroughReader::ReadBlocks(u64 block, u32 count, u8* data) {
  ScsiCommand command = ReadCommand(block, count, m_target.blockBytes, data);
  CommandOutcome outcome = Send(&command);
  const bool isShort = outcome.kind == FailureKind::kNone && command.residual > 0;
  if (!outcome.isTaken || isShort) return NotTaken();
  if (outcome.kind == FailureKind::kMedium) {
    const auto named = SenseInformation(command);
    if (named && *named - block < count) outcome.firstBad = *named;
  }
  return outcome;
}

CommandOutcome cPassThroughReader::ReadRawBlock(u64 block, u8* data) {
  ScsiCommand command = ReadCdCommand(static_cast<u32>(block), data);
  const CommandOutcome outcome = Send(&command);
  const bool isShort = command.length - command.residual < m_target.blockBytes;
  return outcome.kind == FailureKind::kNone && isShort ? NotTaken() : outcome;
}

}  // namespace larkspur
