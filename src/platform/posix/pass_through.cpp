// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/posix/pass_through.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/endian.h"
#include "platform/ata_in_scsi.h"
#include "platform/device_requests.h"
#include "platform/system_error.h"

namespace larkspur::platform {
namespace {

constexpr u32 kMaxDataBytes = 1 << 20;
constexpr u32 kMaxTimeoutSeconds = 3600;
constexpr u32 kSenseBytes = 64;
constexpr u8 kDescriptorSense = 0x72;  // from here on sense data are by descriptors

bool Refuse(int error) {
  SetLastFailure(static_cast<u32>(error));
  return false;
}

bool Fits(u64 offset, u64 length, size_t room) {
  return offset <= room && length <= room - offset;
}

// What the host adapter and its driver say of a command (sg's host_status): the way to the drive,
// unless it says what the drive itself has said.
int HostError(u16 status) {
  switch (status) {
    case 0x00:  // went well
      return 0;
    case 0x01:  // could not connect
    case 0x04:  // bad target
      return ENODEV;
    case 0x03:  // time-out
      return ETIMEDOUT;
    case 0x10:  // the target failed
      return EREMOTEIO;
    case 0x11:  // reserved by another machine
      return EBADE;
    case 0x12:  // no room for the allocation
      return ENOSPC;
    case 0x13:  // the medium failed
      return ENODATA;
  }
  return ECOMM;  // busy, aborted, parity, bus error, reset, disrupted …
}

// The same of the low-level driver (driver_status), for kernels that still have one.
int DriverError(u16 status) {
  constexpr u16 kError = 0x0F, kTimeout = 6, kSense = 8;
  const u16 error = status & kError;
  return error == 0 || error == kSense ? 0 : error == kTimeout ? ETIMEDOUT : ECOMM;
}

// Sends and judges the way there and back; what the drive itself says is the caller's to read.
bool Send(sg_io_hdr_t* header, const SendScsi& send) {
  header->interface_id = 'S';
  if (const int error = send(header)) {
    // The kernel says so of a request that is longer than the adapter takes: none was sent.
    return Refuse(error == EIO ? EMSGSIZE : error);
  }
  constexpr u16 kFirstOfDrive = 0x10;  // host statuses from here on follow from what the drive said
  const bool hasSense = header->status != 0 && header->sb_len_wr > 0;
  if (hasSense && header->host_status >= kFirstOfDrive) return true;
  const int host = HostError(header->host_status);
  const int error = host ? host : DriverError(header->driver_status);
  return error == 0 || Refuse(error);
}

int DirectionOf(u8 direction) {
  return direction == kScsiDataIn    ? SG_DXFER_FROM_DEV
         : direction == kScsiDataOut ? SG_DXFER_TO_DEV
                                     : SG_DXFER_NONE;
}

unsigned Milliseconds(u32 seconds) {
  return std::min(seconds, kMaxTimeoutSeconds) * 1000;
}

u32 Moved(const sg_io_hdr_t& header) {
  const u32 residual = header.resid > 0 ? static_cast<u32>(header.resid) : 0;
  return header.dxfer_len - std::min(residual, header.dxfer_len);
}

// Where the data of a SCSI request lie; null when the request does not hold them.
u8* DataOf(bool isDirect, std::span<const u8> in, std::span<u8> out, u32 length) {
  const u64 place = LoadLe64(&in[kScsiDataOffset]);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the request has the address as a number.
  if (isDirect) return reinterpret_cast<u8*>(static_cast<std::uintptr_t>(place));
  const bool isOut = in[kScsiDirectionOffset] == kScsiDataOut;
  if (!Fits(place, length, isOut ? in.size() : out.size())) return nullptr;
  return isOut ? const_cast<u8*>(&in[place]) : &out[place];
}

bool ScsiRequest(bool isDirect, std::span<const u8> in, std::span<u8> out, u32* returned,
                 const SendScsi& send) {
  if (in.size() < kScsiHeadBytes || out.size() < kScsiHeadBytes) return Refuse(EINVAL);
  u8 head[kScsiHeadBytes];
  std::memcpy(head, in.data(), sizeof(head));
  const u32 length = LoadLe32(head + kScsiDataLengthOffset);
  const u32 sensePlace = LoadLe32(head + kScsiSensePlaceOffset);
  u8* data = DataOf(isDirect, in, out, length);
  if (head[kScsiCdbLengthOffset] > kScsiCdbBytes || length > kMaxDataBytes || (length && !data) ||
      !Fits(sensePlace, head[kScsiSenseLengthOffset], out.size())) {
    return Refuse(EINVAL);
  }
  u8 sense[kSenseBytes] = {};
  sg_io_hdr_t header{};
  header.dxfer_direction = length ? DirectionOf(head[kScsiDirectionOffset]) : SG_DXFER_NONE;
  header.cmd_len = head[kScsiCdbLengthOffset];
  header.cmdp = head + kScsiCdbOffset;
  header.mx_sb_len = static_cast<u8>(std::min<u32>(head[kScsiSenseLengthOffset], kSenseBytes));
  header.sbp = sense;
  header.dxfer_len = length;
  header.dxferp = data;
  header.timeout = Milliseconds(LoadLe32(head + kScsiTimeoutOffset));
  if (!Send(&header, send)) return false;
  head[kScsiStatusOffset] = header.status;
  StoreLe32(head + kScsiDataLengthOffset, Moved(header));
  std::memcpy(out.data(), head, sizeof(head));
  std::copy_n(sense, std::min(header.sb_len_wr, header.mx_sb_len), &out[sensePlace]);
  *returned = static_cast<u32>(isDirect ? out.size() : LoadLe64(head + kScsiDataOffset)) +
              (isDirect ? 0 : Moved(header));
  return true;
}

// ATA PASS-THROUGH(16) for the request's task files.
void FillCommand(const u8* request, u8* cdb) {
  const u16 flags = LoadLe16(request + kAtaFlagsOffset);
  const bool is48Bit = flags & kAtaFlag48Bit;
  const u8 none[kTaskFileBytes] = {};
  FillAta16({.hasData = (flags & (kAtaFlagDataIn | kAtaFlagDataOut)) != 0,
             .isOut = (flags & kAtaFlagDataOut) != 0,
             .is48Bit = is48Bit,
             .wantsRegisters = true},
            is48Bit ? request + kAtaPreviousOffset : none, request + kAtaCurrentOffset, cdb);
}

// The registers from the sense data. A command that gave none went well.
void TakeRegisters(std::span<const u8> sense, u8* request) {
  u8* current = request + kAtaCurrentOffset;
  current[kTaskFileStatus] = 0x50;
  if (sense.empty() || (sense[0] & 0x7F) < kDescriptorSense) return;
  if (const u8* found = FindAtaReturn(sense)) {
    TakeAtaReturn(found, request + kAtaPreviousOffset, current);
  }
}

bool AtaRequest(std::span<const u8> in, std::span<u8> out, u32* returned, const SendScsi& send) {
  if (in.size() < kAtaDataOffset || out.size() < in.size()) return Refuse(EINVAL);
  const u32 length = LoadLe32(&in[kAtaDataLengthOffset]);
  const u64 place = LoadLe64(&in[kAtaDataPlaceOffset]);
  if (!Fits(place, length, in.size())) return Refuse(EINVAL);
  if (out.data() != in.data()) std::copy(in.begin(), in.end(), out.begin());
  u8 cdb[kScsiCdbBytes] = {}, sense[kSenseBytes] = {};
  FillCommand(out.data(), cdb);
  const bool isOut = LoadLe16(&out[kAtaFlagsOffset]) & kAtaFlagDataOut;
  sg_io_hdr_t header{};
  header.dxfer_direction = length == 0 ? SG_DXFER_NONE
                           : isOut     ? SG_DXFER_TO_DEV
                                       : SG_DXFER_FROM_DEV;
  header.cmd_len = sizeof(cdb);
  header.cmdp = cdb;
  header.mx_sb_len = sizeof(sense);
  header.sbp = sense;
  header.dxfer_len = length;
  header.dxferp = length ? &out[place] : nullptr;
  header.timeout = Milliseconds(LoadLe32(&out[kAtaTimeoutOffset]));
  if (!Send(&header, send)) return false;
  if (header.status != 0 && (sense[0] & 0x7F) < kDescriptorSense) return Refuse(EIO);
  TakeRegisters(std::span(sense).first(std::min<size_t>(header.sb_len_wr, sizeof(sense))),
                out.data());
  *returned = static_cast<u32>(kAtaDataOffset + Moved(header));
  return true;
}

}  // namespace

bool PassThrough(u32 code, std::span<const u8> in, std::span<u8> out, u32* returned,
                 const SendScsi& send) {
  switch (code) {
    case kScsiPassThrough:
    case kScsiPassThroughDirect:
      return ScsiRequest(code == kScsiPassThroughDirect, in, out, returned, send);
    case kAtaPassThrough:
      return AtaRequest(in, out, returned, send);
  }
  return Refuse(ENOTTY);
}

}  // namespace larkspur::platform
