// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The requests that a device understands: control codes and byte layouts as Windows defines them
// for 64-bit programs. Integers are little-endian; what no line names is zero.

#include "base/types.h"

namespace larkspur::platform {

// Device number: no input, 12 bytes out.
//   0 u32  type of the device, 7 for a disk, 2 for an optical drive
//   4 u32  number of the device
//   8 u32  number of the partition, 0 for the whole device
constexpr u32 kGetDeviceNumber = 0x2D1080;
constexpr u32 kDeviceNumberBytes = 12;
constexpr u32 kDeviceTypeOffset = 0;
constexpr u32 kDeviceNumberOffset = 4;
constexpr u32 kPartitionNumberOffset = 8;
constexpr u32 kDeviceTypeOptical = 2;
constexpr u32 kDeviceTypeDisk = 7;

// Storage descriptor: 12 zero bytes in (the device's property, the standard query).
//   0 u32  version
//   4 u32  size
//  10 u8   the medium is removable
//  12 u32  offset of the vendor, zero-terminated text; 0 when there is none
//  16 u32  the same of the product
//  20 u32  of its revision
//  24 u32  of the serial number
//  28 u32  bus type
constexpr u32 kQueryProperty = 0x2D1400;
constexpr u32 kPropertyQueryBytes = 12;
constexpr u32 kDescriptorVersionOffset = 0;
constexpr u32 kDescriptorSizeOffset = 4;
constexpr u32 kDescriptorRemovableOffset = 10;
constexpr u32 kDescriptorVendorOffset = 12;
constexpr u32 kDescriptorProductOffset = 16;
constexpr u32 kDescriptorRevisionOffset = 20;
constexpr u32 kDescriptorSerialOffset = 24;
constexpr u32 kDescriptorBusOffset = 28;
constexpr u32 kDescriptorHeadBytes = 36;

// Sizes of sectors: 12 bytes in, of which the first u32 is 6 (the property of access alignment), 28
// bytes out.
//  16 u32  bytes of a logical sector
//  20 u32  bytes of a physical one
//  24 u32  how far into a physical sector the first logical one begins
constexpr u32 kAlignmentProperty = 6;
constexpr u32 kAlignmentBytes = 28;
constexpr u32 kAlignmentLogicalOffset = 16;
constexpr u32 kAlignmentPhysicalOffset = 20;
constexpr u32 kAlignmentFirstOffset = 24;

enum BusType : u32 {
  kBusUnknown = 0,
  kBusScsi = 1,
  kBusAtapi = 2,
  kBusAta = 3,
  kBusFireWire = 4,
  kBusSsa = 5,
  kBusFibre = 6,
  kBusUsb = 7,
  kBusRaid = 8,
  kBusIScsi = 9,
  kBusSas = 10,
  kBusSata = 11,
  kBusSd = 12,
  kBusMmc = 13,
  kBusVirtual = 14,
  kBusFileBackedVirtual = 15,
  kBusNvme = 17,
};

// Geometry: no input, 24 bytes out.
//   0 u64  cylinders
//   8 u32  medium type
//  12 u32  tracks per cylinder
//  16 u32  sectors per track
//  20 u32  bytes per sector
constexpr u32 kGetDriveGeometry = 0x70000;
constexpr u32 kGeometryBytes = 24;
constexpr u32 kGeometryCylindersOffset = 0;
constexpr u32 kGeometryMediumOffset = 8;
constexpr u32 kGeometryTracksOffset = 12;
constexpr u32 kGeometrySectorsOffset = 16;
constexpr u32 kGeometrySectorSizeOffset = 20;

// Length: no input, 8 bytes out: u64, the device's size in bytes.
constexpr u32 kGetLengthInfo = 0x7405C;
constexpr u32 kLengthInfoBytes = 8;

// Partition: no input, 144 bytes out.
//   8 u64  the first byte of the partition on its disk
//  16 u64  its length in bytes
//  24 u32  its number
constexpr u32 kGetPartitionInfo = 0x70048;
constexpr u32 kPartitionInfoBytes = 144;
constexpr u32 kPartitionStartOffset = 8;
constexpr u32 kPartitionLengthOffset = 16;
constexpr u32 kPartitionInfoNumberOffset = 24;

// Version of the SMART interface: no input, 24 bytes out.
constexpr u32 kSmartGetVersion = 0x74080;
constexpr u32 kSmartVersionBytes = 24;

// An ATA command for the driver, the same bytes in and out.
//   0 u16  48, the length of this head
//   2 u16  flags
//   8 u32  bytes of data
//  12 u32  time-out in seconds
//  24 u64  offset of the data, 52
//  32      previous task file, 8 bytes
//  40      current task file, 8 bytes
//  52      data
constexpr u32 kAtaPassThrough = 0x4D02C;
constexpr u32 kAtaHeadBytes = 48;
constexpr u32 kAtaFlagsOffset = 2;
constexpr u32 kAtaDataLengthOffset = 8;
constexpr u32 kAtaTimeoutOffset = 12;
constexpr u32 kAtaDataPlaceOffset = 24;
constexpr u32 kAtaPreviousOffset = 32;
constexpr u32 kAtaCurrentOffset = 40;
constexpr u32 kAtaDataOffset = 52;
constexpr u16 kAtaFlagDataIn = 2;
constexpr u16 kAtaFlagDataOut = 4;
constexpr u16 kAtaFlag48Bit = 8;

// A task file, here and below:
//   0 features (error)  1 sector count  2, 3, 4 LBA low, mid, high  5 device  6 command (status)
constexpr u32 kTaskFileBytes = 8;
constexpr u32 kTaskFileCount = 1;
constexpr u32 kTaskFileDevice = 5;
constexpr u32 kTaskFileStatus = 6;

// The older form of the same, the same bytes in and out.
//   0      current task file, 8 bytes
//   8 u32  bytes of data
//  12      data
constexpr u32 kIdePassThrough = 0x4D028;
constexpr u32 kIdeDataLengthOffset = 8;
constexpr u32 kIdeDataOffset = 12;

// A SCSI command for the driver, the same bytes in and out.
//   0 u16  56, the length of this head
//   2 u8   SCSI status
//   6 u8   length of the command
//   7 u8   room for sense data
//   8 u8   direction: 0 out, 1 in, 2 no data
//  12 u32  bytes of data
//  16 u32  time-out in seconds
//  24 u64  the data: its address (direct form), or its offset in this request (buffered form)
//  32 u32  offset of the sense data
//  36      the command, 16 bytes
constexpr u32 kScsiPassThrough = 0x4D004;
constexpr u32 kScsiPassThroughDirect = 0x4D014;
constexpr u32 kScsiHeadBytes = 56;
constexpr u32 kScsiStatusOffset = 2;
constexpr u32 kScsiCdbLengthOffset = 6;
constexpr u32 kScsiSenseLengthOffset = 7;
constexpr u32 kScsiDirectionOffset = 8;
constexpr u32 kScsiDataLengthOffset = 12;
constexpr u32 kScsiTimeoutOffset = 16;
constexpr u32 kScsiDataOffset = 24;
constexpr u32 kScsiSensePlaceOffset = 32;
constexpr u32 kScsiCdbOffset = 36;
constexpr u32 kScsiCdbBytes = 16;
constexpr u8 kScsiDataOut = 0;
constexpr u8 kScsiDataIn = 1;
constexpr u8 kScsiNoData = 2;

// Where our requests have their parts.
constexpr u32 kScsiSenseOffset = 60;
constexpr u32 kScsiDirectBytes = 128;
constexpr u32 kScsiDirectSenseBytes = 64;
constexpr u32 kScsiBufferedDataOffset = 92;
constexpr u32 kScsiBufferedSenseBytes = 32;
constexpr u32 kScsiBufferedBytes = 608;

}  // namespace larkspur::platform
