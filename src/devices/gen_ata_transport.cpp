// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>
#include <cstring>
#include <vector>

#include "base/byte_runs.h"
#include "base/endian.h"
#include "devices/ata_transport.h"
#include "platform/device_requests.h"
#include "platform/pages.h"

namespace larkspur {
namespace {

using namespace platform;

constexpr u32 kTimeoutSeconds = 10;
constexpr u8 kStatusError = 0x01;
constexpr u8 kStatusDataRequest = 0x08;
// What the first byte of data holds before the transfer: a driver that transfers nothing and says
// that it did leaves it there.
constexpr u8 kUntouched = 0xCF;

struct TaskFiles {
  u8 previous[kTaskFileBytes] = {};
  u8 current[kTaskFileBytes] = {};
};

bool IsUntouched(const u8* data, size_t length) {
  return length > 0 && data[0] == kUntouched && IsAllZero({data + 1, length - 1});
}

u16 FlagsOf(const AtaCommand& command) {
  const u16 data = command.direction == kDataIn    ? kAtaFlagDataIn
                   : command.direction == kDataOut ? kAtaFlagDataOut
                                                   : u16{0};
  return static_cast<u16>(data | (command.Is48Bit() ? kAtaFlag48Bit : 0));
}

// The driver's request. Data that came in go to the command's buffer, task files to *files.
bool AtaPassThrough(Device& device, const AtaCommand& command, TaskFiles* files) {
  const u32 length = static_cast<u32>(command.length);
  std::vector<u8> request(kAtaDataOffset + length);
  StoreLe16(&request[0], kAtaHeadBytes);
  StoreLe16(&request[kAtaFlagsOffset], FlagsOf(command));
  StoreLe32(&request[kAtaDataLengthOffset], length);
  StoreLe32(&request[kAtaTimeoutOffset], kTimeoutSeconds);
  StoreLe64(&request[kAtaDataPlaceOffset], kAtaDataOffset);
  std::copy_n(files->previous, kTaskFileBytes, &request[kAtaPreviousOffset]);
  std::copy_n(files->current, kTaskFileBytes, &request[kAtaCurrentOffset]);
  u8* data = request.data() + kAtaDataOffset;
  if (command.direction == kDataOut) std::memcpy(data, command.buffer, length);
  if (command.direction == kDataIn && length > 0) data[0] = kUntouched;
  u32 returned = 0;
  if (!device.Control(kAtaPassThrough, request, request, &returned)) return false;
  const u8 status = request[kAtaCurrentOffset + kTaskFileStatus];
  if (status & (kStatusError | kStatusDataRequest)) return false;
  if (command.direction == kDataIn) {
    if (returned != request.size() || IsUntouched(data, length)) return false;
    std::memcpy(command.buffer, data, length);
  }
  std::copy_n(&request[kAtaPreviousOffset], kTaskFileBytes, files->previous);
  std::copy_n(&request[kAtaCurrentOffset], kTaskFileBytes, files->current);
  return true;
}

// The older request. True when it seems to have worked; what came back is given like above.
bool IdePassThrough(Device& device, const AtaCommand& command, TaskFiles* files) {
  const u32 length = static_cast<u32>(command.length);
  const OwnedPages pages(kIdeDataOffset + length);
  u8* request = pages.Data();
  if (!request) return false;
  std::copy_n(files->current, kTaskFileBytes, request);
  StoreLe32(request + kIdeDataLengthOffset, length);
  u8* data = request + kIdeDataOffset;
  if (length > 0) data[0] = kUntouched;
  const std::span<u8> whole{request, pages.Size()};
  u32 returned = 0;
  if (!device.Control(kIdePassThrough, whole, whole, &returned)) return false;
  if (request[kTaskFileStatus] & kStatusError) return false;
  if (command.direction == kDataIn) {
    if (returned != whole.size() || IsUntouched(data, length)) return false;
    std::memcpy(command.buffer, data, length);
  }
  std::copy_n(request, kTaskFileBytes, files->current);
  return true;
}

void TakeRegisters(const TaskFiles& files, const AtaCommand& command, AtaCommand* result) {
  std::copy_n(files.current, result->registers.size(), result->registers.begin());
  if (!command.Is48Bit()) return;
  std::copy(files.previous + kCount, files.previous + kDevice, result->previous.begin() + kCount);
}

}  // namespace

bool cGEN_ATATransport::Execute(Device& device, const AtaCommand& command, AtaCommand& result) {
  if (!Validate(command, kCapabilities)) return false;
  TaskFiles files;
  std::copy(command.registers.begin(), command.registers.end(), files.current);
  if (command.Is48Bit()) {
    std::copy(command.previous.begin(), command.previous.end(), files.previous);
  }
  // Wanted so: a drive without power is asked for no sectors.
  if (device.IsPowered() == false) files.current[kTaskFileCount] = 0;
  if (AtaPassThrough(device, command, &files)) {
    TakeRegisters(files, command, &result);
    return true;
  }
  if (command.direction == kDataOut) return false;
  // Wanted so: the older request gives what it got, and the command counts as failed all the same.
  if (IdePassThrough(device, command, &files)) TakeRegisters(files, command, &result);
  return false;
}

}  // namespace larkspur
