// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Drives that exist in memory only, behind the seam to the system's devices: ATA and SCSI drives,
// drives behind USB bridges, optical drives, with sectors of any size. They answer the same
// requests as real ones and look at every byte of each: what is not as it should be is kept in
// `faults`. Sectors fail, take their time, and whole drives vanish and come back.

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "platform/device.h"

namespace larkspur::fakes {

// How ATA commands reach a drive.
enum class Wrapping { kNone, kNative, kSat16, kSat12, kJMicron12, kJMicron14, kSunplus };

struct ScsiReply {
  u8 status = 0;
  std::vector<u8> sense = {};
  std::vector<u8> data = {};
  std::optional<u32> lost = {};   // bytes that the driver says were not transferred
  std::optional<u32> error = {};  // the driver fails the request; 0: without saying why
};

struct ScsiAsked {
  std::vector<u8> cdb;
  u32 direction;  // as the request has it: 0 out, 1 in, 2 none
  std::span<u8> data;
  u32 timeoutSeconds;
};

struct AtaReply {
  bool fails = false;
  std::vector<u8> data = {};
  u8 previous[8] = {};
  u8 current[8] = {0, 0, 0, 0, 0, 0, 0x50, 0};
  std::optional<u32> returned = {};  // instead of what fits the data
};

struct SimulatedDrive {
  // A number of this system's that means such a failure of a read, and nothing else.
  static u32 CodeOf(platform::FailureKind kind);
  // A number that means that a request of this form is not taken.
  static u32 RefusedForm();

  std::u16string path;

  // The medium. Of odd sizes, sector s holds Pattern(s) and 0xEE; else sectors are cut from one
  // pattern in order.
  u32 sectorBytes = 512;
  u64 sectors = 4000;  // of sectorBytes
  std::set<u64> failing;
  platform::FailureKind failsAs = platform::FailureKind::kUnclear;  // what the kernel says of them
  // What the drive says of a failing sector, in sense data.
  std::function<std::vector<u8>(u64 sector)> senseOf;
  bool hangs = false;            // each request takes all its time, and comes to nothing
  std::optional<u32> openError;  // the device is there and cannot be opened
  std::map<u64, u32> slow;       // seconds that a sector takes
  bool deliversPrefix = false;
  std::optional<u64> seeksLandAt;  // bytes: where it stands after any of them
  bool isPresent = true;
  std::optional<u64> vanishesAfterReads;

  // What the system says of it.
  bool hasDescriptor = true;
  std::vector<u8> rawDescriptor;  // instead of what follows
  u32 bus = 11;
  bool isRemovable = false;
  std::string vendor, product, serial;
  bool hasGeometry = true;
  u32 tracks = 255, sectorsPerTrack = 63;
  std::optional<u32> geometrySectorBytes;  // instead of sectorBytes
  std::optional<u64> cylinders;            // instead of what fits the size
  std::optional<u64> lengthBytes;          // none: the length is not told
  std::optional<u32> deviceType = 7;       // none: no device number
  u32 number = 1, partition = 0;
  std::optional<u64> partitionStartBytes;
  bool speaksSmart = false;
  std::optional<bool> isPowered;
  std::optional<u64> mediumNumber = 1;
  platform::FailureKind state = platform::FailureKind::kNone;  // of the connection
  u32 physicalBytes = 0;                                       // 0: not told
  u32 firstPhysicalOffset = 0;
  std::u16string usbParent;  // not empty: the disk is in the tree of devices
  bool isOptical = false;

  // What the drive itself says.
  Wrapping wrapping = Wrapping::kNone;
  bool isPacketDevice = false;   // IDENTIFY DEVICE fails, IDENTIFY PACKET DEVICE answers
  std::vector<u8> identifyData;  // 512 bytes; empty: both fail
  std::vector<u8> inquiry;       // empty: not a SCSI drive
  std::optional<std::string> unitSerial;
  bool knowsCapacity16 = true, knowsCapacity10 = true;
  u64 lastLba = 3999;
  u32 readSeconds = 20;  // that read commands must be given
  std::function<std::optional<ScsiReply>(const ScsiAsked&)> onScsi;  // none: as above
  std::function<std::optional<AtaReply>(std::span<const u8> request)> onAta;
  std::function<std::optional<AtaReply>(std::span<const u8> request)> onIde;

  // What was asked of it, a line each, and what was wrong with that.
  std::vector<std::string> log;
  std::vector<std::string> faults;
  std::vector<u8> lastRequest;  // a pass-through request; addresses in it are zeroed
  u64 reads = 0;
  u64 secondsWaited = 0;
  std::map<u64, u32> askedTimes;  // how often each sector was part of a read

  // The log without queries of sizes, numbers and descriptors, cleared.
  std::string TakeLog();
  void Expect(bool isRight, const std::string& what);
  // The bytes of [sector, sector+count) of sectorBytes.
  std::vector<u8> Content(u64 sector, u32 count) const;
};

class SimulatedDevices final : public platform::DeviceSystem {
 public:
  // A drive at that path, in the place of one that was there before.
  SimulatedDrive* Add(const std::u16string& path);
  SimulatedDrive* Add(const std::u16string& path, u32 sectorBytes, u64 sectors);

  bool IsDevice(const char16_t* path) override { return Find(path) != nullptr; }
  std::unique_ptr<platform::Device> Open(const char16_t* path, u32 access) override;
  platform::FailureKind StateOf(const char16_t* path, u64 bytes) override;
  bool IsOpticalDrive(const char16_t* drive) override;
  char16_t OpticalLetter(const char16_t* path) override;
  std::vector<std::u16string> DiskPaths() override;
  std::vector<platform::DiskInterface> DiskInterfaces() override;
  std::u16string ParentDeviceId(u32 instance) override;

  std::string Faults() const;  // of all drives; empty when all was right

 private:
  std::shared_ptr<SimulatedDrive> Find(std::u16string path) const;

  std::vector<std::shared_ptr<SimulatedDrive>> m_drives;
};

// 512 bytes of ATA identify data: 48-bit addresses, the texts padded with blanks and swapped.
std::vector<u8> MakeIdentify(const std::string& model, const std::string& serial,
                             const std::string& firmware, u64 capacity);
void SetWord(std::vector<u8>* identify, u32 index, u16 value);

// 512 bytes of inquiry data.
std::vector<u8> MakeInquiry(const std::string& vendor, const std::string& product,
                            const std::string& revision);

// Sense data in the fixed form, and in both with the block that they name.
std::vector<u8> FixedSense(u8 key, u8 asc, u8 ascq);
std::vector<u8> FixedSenseAt(u32 block, u8 key, u8 asc, u8 ascq);
std::vector<u8> DescriptorSenseAt(u64 block, u8 key, u8 asc, u8 ascq);

// "85 08 0E", and back.
std::string Hex(std::span<const u8> bytes);
std::vector<u8> Bytes(const std::string& hex);

}  // namespace larkspur::fakes
