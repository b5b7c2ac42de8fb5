// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// How Linux sends the pass-through requests of the device classes: the same classes, with a
// stand-in for SG_IO.

#include "platform/posix/pass_through.h"

#include <cerrno>
#include <cstring>

#include <gtest/gtest.h>

#include "base/endian.h"
#include "devices/ata_transport.h"
#include "devices/scsi_requests.h"
#include "fakes/simulated_drive.h"
#include "platform/device_requests.h"
#include "platform/system_error.h"

namespace larkspur::platform {
namespace {

using fakes::Bytes;
using fakes::Hex;

// A device whose requests all go through PassThrough, to `answer`.
class ScriptedDevice final : public Device {
 public:
  u64 Seek(u64) override { return kNowhere; }
  u32 Read(void*, u32) override { return 0; }
  u32 Write(const void*, u32) override { return 0; }
  std::optional<bool> IsPowered() override { return std::nullopt; }
  std::optional<u64> MediumNumber(bool) override { return std::nullopt; }
  bool Control(u32 code, std::span<const u8> in, std::span<u8> out, u32* returned) override {
    return PassThrough(code, in, out, returned, [this](sg_io_hdr_t* header) {
      cdb = Hex({header->cmdp, header->cmd_len});
      direction = header->dxfer_direction;
      length = header->dxfer_len;
      milliseconds = header->timeout;
      if (direction == SG_DXFER_TO_DEV) {
        const u8* first = static_cast<const u8*>(header->dxferp);
        sent.assign(first, first + header->dxfer_len);
      }
      return Answer(header);
    });
  }

  int error = 0;
  u16 hostStatus = 0, driverStatus = 0;
  u8 status = 0;
  std::vector<u8> sense, data;
  std::optional<int> residual;

  std::string cdb;
  int direction = 0;
  u32 length = 0, milliseconds = 0;
  std::vector<u8> sent;

 private:
  int Answer(sg_io_hdr_t* header) const {
    if (error) return error;
    header->status = status;
    header->host_status = hostStatus;
    header->driver_status = driverStatus;
    const size_t moved = std::min<size_t>(data.size(), header->dxfer_len);
    if (moved > 0) std::memcpy(header->dxferp, data.data(), moved);
    header->resid = residual.value_or(0);
    header->sb_len_wr = static_cast<u8>(std::min<size_t>(sense.size(), header->mx_sb_len));
    if (header->sb_len_wr) std::memcpy(header->sbp, sense.data(), header->sb_len_wr);
    return 0;
  }
};

// An inquiry, but for what a case changes.
ScsiCommand CommandFor(std::span<u8> data) {
  ScsiCommand command;
  command.cdb[0] = 0x12;
  command.cdbLength = 6;
  command.direction = kDataIn;
  command.buffer = data.data();
  command.length = static_cast<u32>(data.size());
  return command;
}

TEST(PassThrough, AScsiCommandGoesDirectly) {
  ScriptedDevice device;
  u8 data[512] = {};
  device.data = {1, 2, 3};
  EXPECT_TRUE(Inquiry(device, data));
  EXPECT_EQ(device.cdb, "12 00 00 02 00 00");
  EXPECT_EQ(device.direction, SG_DXFER_FROM_DEV);
  EXPECT_EQ(device.length, 512u);
  EXPECT_EQ(device.milliseconds, 20000u);
  EXPECT_EQ(data[2], 3);
}

TEST(PassThrough, StatusSenseAndResidualComeBack) {
  ScriptedDevice device;
  u8 data[100];
  ScsiCommand command = CommandFor(data);
  device.status = 2;
  device.sense = fakes::FixedSense(5, 0x24, 0);
  device.residual = 90;
  ASSERT_TRUE(ExecuteScsi(device, command));
  EXPECT_EQ(command.status, 2);
  EXPECT_EQ(command.senseLength, 18);
  EXPECT_EQ(command.residual, 90u);
  EXPECT_EQ(Classify(DecodeSense(command)), ScsiOutcome::kInvalidField);
  device.residual = 1000;  // more than was asked for
  ASSERT_TRUE(ExecuteScsi(device, command));
  EXPECT_EQ(command.residual, 100u);
  device.residual = -5;
  ASSERT_TRUE(ExecuteScsi(device, command));
  EXPECT_EQ(command.residual, 0u);
}

TEST(PassThrough, ASingleByteGoesByTheBuffer) {
  ScriptedDevice device;
  u8 byte = 0;
  ScsiCommand command = CommandFor({&byte, 1});
  command.cdb[0] = 0xDF;
  command.cdbLength = 14;
  device.data = {0x42};
  ASSERT_TRUE(ExecuteScsi(device, command));
  EXPECT_EQ(byte, 0x42);
  EXPECT_EQ(device.milliseconds, 10000u);
}

TEST(PassThrough, DirectionsOfData) {
  ScriptedDevice device;
  cSAT_ATATransport transport(SatForm::k16Bytes);
  AtaCommand command, result;
  command.registers[kCommand] = 0xE7;
  EXPECT_TRUE(transport.Execute(device, command, result));
  EXPECT_EQ(device.direction, SG_DXFER_NONE);
  u8 data[512] = {9, 8, 7};
  command.registers = {0, 1, 0, 0, 0, 0, 0x30};
  command.direction = kDataOut;
  command.buffer = data;
  command.length = 512;
  EXPECT_TRUE(transport.Execute(device, command, result));
  EXPECT_EQ(device.direction, SG_DXFER_TO_DEV);
  EXPECT_EQ(Hex(device.sent).substr(0, 8), "09 08 07");
}

TEST(PassThrough, WhatFailsOnTheWay) {
  const struct {
    int error;
    u16 host, driver;
    int kept;
    FailureKind kind;
  } cases[] = {{ENOTTY, 0, 0, ENOTTY, FailureKind::kUnclear},
               {EIO, 0, 0, EMSGSIZE, FailureKind::kUnclear},  // too long for the adapter
               {ENOMEM, 0, 0, ENOMEM, FailureKind::kSystem},
               {ENODEV, 0, 0, ENODEV, FailureKind::kGone},
               {0, 0x01, 0, ENODEV, FailureKind::kGone},
               {0, 0x02, 0, ECOMM, FailureKind::kTransport},
               {0, 0x03, 0, ETIMEDOUT, FailureKind::kTransport},
               {0, 0x04, 0, ENODEV, FailureKind::kGone},
               {0, 0x07, 0, ECOMM, FailureKind::kTransport},
               {0, 0x08, 0, ECOMM, FailureKind::kTransport},
               {0, 0x0E, 0, ECOMM, FailureKind::kTransport},
               {0, 0x0F, 0, ECOMM, FailureKind::kTransport},
               {0, 0x10, 0, EREMOTEIO, FailureKind::kTransport},
               {0, 0x11, 0, EBADE, FailureKind::kTransport},
               {0, 0x13, 0, ENODATA, FailureKind::kMedium},
               {0, 0xFF, 0, ECOMM, FailureKind::kTransport},
               {0, 0, 6, ETIMEDOUT, FailureKind::kTransport},
               {0, 0, 0x17, ECOMM, FailureKind::kTransport}};
  for (const auto& c : cases) {
    ScriptedDevice device;
    device.error = c.error;
    device.hostStatus = c.host;
    device.driverStatus = c.driver;
    u8 data[512];
    EXPECT_FALSE(Inquiry(device, data));
    EXPECT_EQ(LastFailure(), static_cast<u32>(c.kept)) << c.host << " " << c.driver;
    EXPECT_EQ(KindOfFailure(LastFailure()), c.kind) << c.kept;
    EXPECT_EQ(IsFormRefused(LastFailure()), c.kept == ENOTTY || c.kept == EMSGSIZE);
  }
}

// What the adapter makes of a drive's words does not stand before these.
TEST(PassThrough, SenseDataComeBeforeTheAdaptersWords) {
  ScriptedDevice device;
  ScsiCommand command;
  command.cdbLength = 6;
  device.status = 2;
  device.driverStatus = 8;
  device.sense = fakes::FixedSenseAt(1234, 3, 0x11, 0);
  for (const u16 host : {u16{0x00}, u16{0x10}, u16{0x13}}) {
    device.hostStatus = host;
    ASSERT_TRUE(ExecuteScsi(device, command));
    EXPECT_EQ(DecodeSense(command).key, 3);
    EXPECT_EQ(SenseInformation(command), 1234u);
  }
  device.hostStatus = 3;
  EXPECT_FALSE(ExecuteScsi(device, command)) << "sense data of another time";
  device.hostStatus = 0x10;
  device.sense.clear();
  EXPECT_FALSE(ExecuteScsi(device, command));
}

TEST(PassThrough, AtaCommandsAreTranslated) {
  ScriptedDevice device;
  cGEN_ATATransport transport;
  AtaCommand command, result;
  u8 data[512] = {};
  command.registers = {0, 1, 0, 0, 0, 0, 0xEC};
  command.direction = kDataIn;
  command.buffer = data;
  command.length = 512;
  device.data = std::vector<u8>(512, 5);
  EXPECT_TRUE(transport.Execute(device, command, result));
  EXPECT_EQ(device.cdb, "85 08 2E 00 00 00 01 00 00 00 00 00 00 00 EC 00");
  EXPECT_EQ(device.milliseconds, 10000u);
  EXPECT_EQ(data[511], 5);
  device.residual = 1;
  EXPECT_FALSE(transport.Execute(device, command, result)) << "a byte is missing";
}

TEST(PassThrough, AtaRegistersComeBack) {
  ScriptedDevice device;
  cGEN_ATATransport transport;
  AtaCommand command, result;
  command.registers = {1, 2, 3, 4, 5, 6, 7};
  command.previous = {0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17};
  command.previousMask.fill(1);
  command.wanted.fill(1);
  device.status = 2;
  device.sense = Bytes("72 01 00 1D 00 00 00 0E 09 0C 01 A1 B2 A2 B3 A3 B4 A4 B5 A5 A6 50");
  EXPECT_TRUE(transport.Execute(device, command, result));
  EXPECT_EQ(device.cdb, "85 07 2C 11 01 12 02 13 03 14 04 15 05 06 07 00");
  EXPECT_EQ(Hex(result.registers), "A1 A2 A3 A4 A5 A6 50");
  EXPECT_EQ(Hex(result.previous), "00 B2 B3 B4 B5 00 00");
  device.sense[21] = 0x51;
  EXPECT_FALSE(transport.Execute(device, command, result)) << "the drive reports an error";
  device.sense = fakes::FixedSense(5, 0x20, 0);
  EXPECT_FALSE(transport.Execute(device, command, result)) << "nothing translates";
}

TEST(PassThrough, RequestsWhosePartsLieOutside) {
  const SendScsi never = [](sg_io_hdr_t*) {
    ADD_FAILURE() << "sent";
    return 0;
  };
  const auto refuses = [&](u32 code, size_t size, u32 field, u64 value, u32 bytes) {
    std::vector<u8> request(size);
    if (size >= 56 && code != kAtaPassThrough) {
      request[kScsiCdbLengthOffset] = 6;
      request[kScsiDirectionOffset] = kScsiDataIn;
      StoreLe32(&request[kScsiDataLengthOffset], 1);
      StoreLe64(&request[kScsiDataOffset], 92);
      request[kScsiSenseLengthOffset] = 32;
      StoreLe32(&request[kScsiSensePlaceOffset], 60);
    }
    for (u32 i = 0; i < bytes; ++i) request[field + i] = static_cast<u8>(value >> (8 * i));
    u32 returned = 0;
    return !PassThrough(code, request, request, &returned, never);
  };
  EXPECT_TRUE(refuses(kScsiPassThrough, 55, 0, 0, 0));
  EXPECT_TRUE(refuses(kScsiPassThrough, 608, kScsiCdbLengthOffset, 17, 1));
  EXPECT_TRUE(refuses(kScsiPassThrough, 608, kScsiDataOffset, 608, 8));
  EXPECT_TRUE(refuses(kScsiPassThrough, 608, kScsiDataOffset, ~u64{0}, 8));
  EXPECT_TRUE(refuses(kScsiPassThrough, 608, kScsiDataLengthOffset, 0xFFFFFFFF, 4));
  EXPECT_TRUE(refuses(kScsiPassThrough, 608, kScsiSensePlaceOffset, 577, 4));
  EXPECT_TRUE(refuses(kScsiPassThrough, 608, kScsiSensePlaceOffset, 0xFFFFFFFF, 4));
  EXPECT_TRUE(refuses(kScsiPassThroughDirect, 128, kScsiDataOffset, 0, 8));
  EXPECT_TRUE(refuses(kAtaPassThrough, 51, 0, 0, 0));
  EXPECT_TRUE(refuses(kAtaPassThrough, 100, kAtaDataLengthOffset, 101, 4));
  EXPECT_TRUE(refuses(kIdePassThrough, 524, 0, 0, 0));
}

}  // namespace
}  // namespace larkspur::platform
