// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// ATA commands within SCSI commands, as the SCSI/ATA Translation standard has them; for our own
// transport and for systems whose driver takes no ATA commands. Task files are those of
// device_requests.h, without their last byte.

#include <algorithm>
#include <span>

#include "platform/device_requests.h"

namespace larkspur::platform {

struct AtaTransfer {
  bool hasData = false;
  bool isOut = false;  // of data
  bool is48Bit = false;
  bool wantsRegisters = false;
};

// Bytes 1 and 2 of both forms of ATA PASS-THROUGH:
//   1  protocol x 2 + EXTEND
//   2  CK_COND x 32 + T_DIR x 8 + BYTE_BLOCK x 4 + T_LENGTH
inline void FillAtaTransfer(const AtaTransfer& transfer, u8* cdb) {
  constexpr u32 kNonData = 3, kPioIn = 4, kPioOut = 5;
  constexpr u32 kCheckCondition = 32, kFromDevice = 8, kInBlocks = 4, kLengthIsCount = 2;
  const u32 protocol = !transfer.hasData ? kNonData : transfer.isOut ? kPioOut : kPioIn;
  cdb[1] = static_cast<u8>(protocol * 2 + transfer.is48Bit);
  cdb[2] = static_cast<u8>((transfer.wantsRegisters ? kCheckCondition : 0) |
                           (transfer.isOut ? 0 : kFromDevice) | kInBlocks |
                           (transfer.hasData ? kLengthIsCount : 0));
}

// ATA PASS-THROUGH(16), all of its 16 bytes.
inline void FillAta16(const AtaTransfer& transfer, const u8* previous, const u8* current, u8* cdb) {
  std::fill_n(cdb, kScsiCdbBytes, u8{0});
  cdb[0] = 0x85;
  FillAtaTransfer(transfer, cdb);
  for (u32 i = 0; i < kTaskFileDevice; ++i) {
    cdb[3 + 2 * i] = previous[i];
    cdb[4 + 2 * i] = current[i];
  }
  cdb[13] = current[kTaskFileDevice];
  cdb[14] = current[kTaskFileStatus];
}

// The ATA Status Return descriptor, which answers CK_COND in sense data by descriptors; null when
// they have none that is whole.
//   0 type, 9  1 length, 12  3 error  4, 5 count  6, 7 LBA low  8, 9 mid  10, 11 high  12 device
//   13 status (of a pair, the first is the 48-bit half)
inline const u8* FindAtaReturn(std::span<const u8> sense) {
  constexpr size_t kHead = 8;  // the last byte counts those after the head
  constexpr size_t kBytes = 14;
  constexpr u8 kType = 9;
  if (sense.size() < kHead) return nullptr;
  const size_t end = std::min<size_t>(kHead + sense[kHead - 1], sense.size());
  for (size_t at = kHead; at + 2 <= end; at += size_t{2} + sense[at + 1]) {
    if (sense[at] == kType) return at + kBytes <= end ? &sense[at] : nullptr;
  }
  return nullptr;
}

// The task files that it holds. Of the upper halves there are those of count and LBA; the others
// stay.
inline void TakeAtaReturn(const u8* descriptor, u8* previous, u8* current) {
  current[0] = descriptor[3];
  for (u32 i = kTaskFileCount; i < kTaskFileDevice; ++i) {
    previous[i] = descriptor[2 + 2 * i];
    current[i] = descriptor[3 + 2 * i];
  }
  current[kTaskFileDevice] = descriptor[12];
  current[kTaskFileStatus] = descriptor[13];
}

}  // namespace larkspur::platform
