// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Storage devices of the operating system: whole disks, volumes, optical drives.
//
// A device is asked about itself by the control codes and request layouts of
// platform/device_requests.h. On Windows they go to the driver as they are; Linux answers the same
// codes for block devices from the kernel's own knowledge. Every failure leaves the system's error
// in platform::LastFailure(). Paths are UTF-16: "\\.\PhysicalDrive0" there, "/dev/sda" here.

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/types.h"
#include "platform/system_error.h"

namespace larkspur::platform {

enum DeviceAccess : u32 {
  kAccessQuery = 0,       // to ask about the device only: neither it nor its medium is touched
  kAccessRead = 1,        // the medium may be read
  kAccessWrite = 2,       // and written; Linux opens for reading all the same and refuses to write
  kAccessUnbuffered = 4,  // past the system's cache (Linux does so always, where it can)
};

// An open device with a position. One thread at a time.
class Device {
 public:
  virtual ~Device() = default;  // closes it

  // Moves the position to byte `offset` and answers where it landed; kNowhere on failure.
  virtual u64 Seek(u64 offset) = 0;
  // One transfer at the position, which advances: the bytes moved, 0 at the end or on failure.
  // Offset and length are whole sectors of the device; the buffer is a page's start.
  virtual u32 Read(void* buffer, u32 length) = 0;
  virtual u32 Write(const void* buffer, u32 length) = 0;
  // Sends a request; `in` and `out` may be the same bytes. *returned is the number of bytes that
  // the system says it put into `out`, never more than its length.
  virtual bool Control(u32 code, std::span<const u8> in, std::span<u8> out, u32* returned) = 0;
  // Whether the device has power; none when the system does not know.
  virtual std::optional<bool> IsPowered() = 0;
  // A number that is another one once the medium has been changed; none where the system does not
  // count, or there is no medium. With `asksDrive` the drive is asked whether it has one, which a
  // system may not have noticed yet.
  virtual std::optional<u64> MediumNumber(bool asksDrive) = 0;
};

// A disk as the tree of devices knows it.
struct DiskInterface {
  std::u16string path;
  u32 instance = 0;  // names it to ParentDeviceId
};

// Finds and opens devices. May be used by several threads at a time.
class DeviceSystem {
 public:
  // Whether a path names a device, and no file.
  virtual bool IsDevice(const char16_t* path) = 0;
  // `access` is a sum of DeviceAccess. Null on failure.
  virtual std::unique_ptr<Device> Open(const char16_t* path, u32 access) = 0;
  // What has become of a device that failed to read: kNone when it is still there and, as far as
  // the system can tell, not smaller than `bytes`; kTransport while its connection is brought back;
  // kGone. A device that is built on others is gone when these are. Asks the system, never the
  // device.
  virtual FailureKind StateOf(const char16_t* path, u64 bytes) = 0;
  // Whether a drive, by its letter and colon, is an optical one.
  virtual bool IsOpticalDrive(const char16_t* drive) = 0;
  // The letter X by which "\\.\X:" opens the optical drive at `path`; 0 when it is none.
  virtual char16_t OpticalLetter(const char16_t* path) = 0;
  // The paths of the disks that are present, and of their partitions where these have paths of
  // their own; not of what is built on them.
  virtual std::vector<std::u16string> DiskPaths() = 0;
  // The disks that are present, in the order of the system's tree.
  virtual std::vector<DiskInterface> DiskInterfaces() = 0;
  // The identifier of what a disk hangs on, such as "USB\VID_152D&PID_2338\5&2"; empty on failure.
  virtual std::u16string ParentDeviceId(u32 instance) = 0;

 protected:
  ~DeviceSystem() = default;
};

// The devices of this machine.
DeviceSystem& SystemDevices();

struct ListedDevice {
  std::u16string path = {};
  u64 bytes = 0;  // 0: no medium, or not told
  bool isOptical = false;
  bool isReadOnly = false;
  bool isMounted = false;  // the device, a partition of it, or what is built on them
};

// What storage devices there are, in the order of their names. No device is touched.
std::vector<ListedDevice> ListDevices();

// Whether an error of a failed read or open says by itself that there is no device (any more).
bool IsDeviceGone(u32 code);
// Whether an error says that the user may not, or that somebody else holds the device.
bool IsNotPermitted(u32 code);
bool IsInUse(u32 code);

}  // namespace larkspur::platform
