// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Block devices of Linux. They are opened for reading only, whatever is requested, and past the
// page cache where the device takes that, so that nothing old is read of a device that failed.

#include "platform/device.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <linux/fs.h>
#include <linux/hdreg.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "base/endian.h"
#include "base/path_text.h"
#include "platform/device_requests.h"
#include "platform/file.h"
#include "platform/posix/block_state.h"
#include "platform/posix/pass_through.h"
#include "platform/posix/storage_descriptor.h"
#include "platform/posix/sysfs.h"
#include "platform/system_error.h"

namespace larkspur::platform {
namespace {

constexpr unsigned kOpticalMajor = 11;
constexpr u32 kLetters = 26;
constexpr u32 kUsualHeads = 255;
constexpr u32 kUsualSectors = 63;

bool Refuse(int error) {
  SetLastFailure(static_cast<u32>(error));
  return false;
}

// Our number of a device, as DeviceNumber and DiskInterface have it, and back.
u32 NumberOf(dev_t device) {
  return static_cast<u32>(major(device)) << 20 | static_cast<u32>(minor(device));
}
dev_t DeviceOf(u32 number) {
  return makedev(number >> 20, number & 0xFFFFF);
}

class LinuxDevice final : public Device {
 public:
  LinuxDevice(int file, dev_t device) : m_file(file), m_device(device) {}
  ~LinuxDevice() override { close(m_file); }

  u64 Seek(u64 offset) override {
    m_position = offset;
    return offset;
  }
  u32 Read(void* buffer, u32 length) override;
  u32 Write(const void*, u32) override {
    Refuse(EROFS);
    return 0;
  }
  bool Control(u32 code, std::span<const u8> in, std::span<u8> out, u32* returned) override;
  std::optional<bool> IsPowered() override { return std::nullopt; }
  std::optional<u64> MediumNumber(bool asksDrive) override;

 private:
  bool Number(u8* out) const;
  bool Descriptor(std::span<u8> out) const;
  bool Geometry(u8* out) const;
  bool Length(u8* out) const;
  bool Partition(u8* out) const;
  bool Alignment(std::span<u8> out) const;

  int m_file;
  dev_t m_device;
  u64 m_position = 0;
};

u32 LinuxDevice::Read(void* buffer, u32 length) {
  ssize_t got = 0;
  do {
    got = pread(m_file, buffer, length, static_cast<off_t>(m_position));
  } while (got < 0 && errno == EINTR);  // nothing was asked
  if (got < 0) {
    Refuse(errno);
    return 0;
  }
  m_position += static_cast<u64>(got);
  return static_cast<u32>(got);
}

bool LinuxDevice::Number(u8* out) const {
  const SysBlock block(m_device);
  if (!block.Exists()) return Refuse(ENODEV);
  const u32 whole = [&] {
    const auto text = block.Disk("dev").value_or("");
    unsigned first = 0, second = 0;
    std::sscanf(text.c_str(), "%u:%u", &first, &second);
    return NumberOf(makedev(first, second));
  }();
  const bool isOptical = major(m_device) == kOpticalMajor;
  StoreLe32(out + kDeviceTypeOffset, isOptical ? kDeviceTypeOptical : kDeviceTypeDisk);
  StoreLe32(out + kDeviceNumberOffset, whole);
  StoreLe32(out + kPartitionNumberOffset,
            block.IsPartition() ? static_cast<u32>(block.OwnNumber("partition")) : 0);
  return true;
}

bool LinuxDevice::Descriptor(std::span<u8> out) const {
  const SysBlock block(m_device);
  if (!block.Exists()) return Refuse(ENODEV);
  const std::string bytes = DescriptorBytes(FactsOf(block));
  if (bytes.size() > out.size()) return Refuse(EMSGSIZE);
  std::copy(bytes.begin(), bytes.end(), out.begin());
  return true;
}

// Few devices have a geometry of their own; the others get the usual one.
bool LinuxDevice::Geometry(u8* out) const {
  int sectorBytes = 0;
  u64 bytes = 0;
  if (ioctl(m_file, BLKSSZGET, &sectorBytes) != 0 || sectorBytes <= 0) return Refuse(errno);
  if (ioctl(m_file, BLKGETSIZE64, &bytes) != 0) return Refuse(errno);
  hd_geometry own{};
  const bool hasOwn = ioctl(m_file, HDIO_GETGEO, &own) == 0 && own.heads > 0 && own.sectors > 0;
  const u32 heads = hasOwn ? own.heads : kUsualHeads;
  const u32 sectors = hasOwn ? own.sectors : kUsualSectors;
  StoreLe64(out + kGeometryCylindersOffset,
            bytes / static_cast<u32>(sectorBytes) / (u64{heads} * sectors));
  StoreLe32(out + kGeometryMediumOffset, 0);
  StoreLe32(out + kGeometryTracksOffset, heads);
  StoreLe32(out + kGeometrySectorsOffset, sectors);
  StoreLe32(out + kGeometrySectorSizeOffset, static_cast<u32>(sectorBytes));
  return true;
}

bool LinuxDevice::Length(u8* out) const {
  u64 bytes = 0;
  if (ioctl(m_file, BLKGETSIZE64, &bytes) != 0) return Refuse(errno);
  StoreLe64(out, bytes);
  return true;
}

bool LinuxDevice::Partition(u8* out) const {
  const SysBlock block(m_device);
  if (!block.Exists()) return Refuse(ENODEV);
  std::memset(out, 0, kPartitionInfoBytes);
  if (!block.IsPartition()) return true;
  StoreLe64(out + kPartitionStartOffset, block.OwnNumber("start") << kSectorShift);
  StoreLe64(out + kPartitionLengthOffset, block.OwnNumber("size") << kSectorShift);
  StoreLe32(out + kPartitionInfoNumberOffset, static_cast<u32>(block.OwnNumber("partition")));
  return true;
}

bool LinuxDevice::Alignment(std::span<u8> out) const {
  int logical = 0;
  unsigned physical = 0;
  if (ioctl(m_file, BLKSSZGET, &logical) != 0 || ioctl(m_file, BLKPBSZGET, &physical) != 0) {
    return Refuse(errno);
  }
  if (out.size() < kAlignmentBytes || physical == 0) return Refuse(EMSGSIZE);
  // What Linux tells is the way from the disk's start to its first whole physical sector.
  const u64 missing = SysBlock(m_device).DiskNumber("alignment_offset") % physical;
  StoreLe32(&out[kAlignmentLogicalOffset], static_cast<u32>(logical));
  StoreLe32(&out[kAlignmentPhysicalOffset], physical);
  StoreLe32(&out[kAlignmentFirstOffset], static_cast<u32>((physical - missing) % physical));
  return true;
}

// The kernel numbers a disk again when its medium changes. It looks for that when a device is
// opened, at times of its own else.
std::optional<u64> LinuxDevice::MediumNumber(bool asksDrive) {
  if (asksDrive) {
    const std::string link = "/proc/self/fd/" + std::to_string(m_file);
    const int again = open(link.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (again >= 0) close(again);
  }
  u64 number = 0;
  return ioctl(m_file, BLKGETDISKSEQ, &number) == 0 ? std::optional<u64>(number) : std::nullopt;
}

bool LinuxDevice::Control(u32 code, std::span<const u8> in, std::span<u8> out, u32* returned) {
  // The requests that Linux answers from what it knows, with the length of each answer.
  struct Known {
    u32 code;
    u32 bytes;
    bool (LinuxDevice::*answer)(u8*) const;
  };
  constexpr Known kKnown[] = {
      {kGetDeviceNumber, kDeviceNumberBytes, &LinuxDevice::Number},
      {kGetDriveGeometry, kGeometryBytes, &LinuxDevice::Geometry},
      {kGetLengthInfo, kLengthInfoBytes, &LinuxDevice::Length},
      {kGetPartitionInfo, kPartitionInfoBytes, &LinuxDevice::Partition},
  };
  *returned = 0;
  if (code == kQueryProperty) {
    *returned = static_cast<u32>(out.size());
    const bool isAlignment = in.size() >= 4 && LoadLe32(in.data()) == kAlignmentProperty;
    return isAlignment ? Alignment(out) : Descriptor(out);
  }
  for (const Known& known : kKnown) {
    if (known.code != code) continue;
    if (out.size() < known.bytes) return Refuse(EMSGSIZE);
    *returned = known.bytes;
    return (this->*known.answer)(out.data());
  }
  return PassThrough(code, in, out, returned, [this](sg_io_hdr_t* header) {
    return ioctl(m_file, SG_IO, header) == 0 ? 0 : errno;
  });
}

// "\\.\A:" names the first optical drive here, "\\.\B:" the second.
std::string NodeOf(std::u16string_view path) {
  if (path.size() == 6 && path.starts_with(u"\\\\.\\") && path[5] == u':') {
    return "/dev/sr" + std::to_string(path[4] - u'A');
  }
  return Utf8FromWide(path);
}

int OpenNode(const std::string& node, u32 access) {
  if (!(access & (kAccessRead | kAccessWrite))) return open(node.c_str(), O_PATH | O_CLOEXEC);
  const int direct = open(node.c_str(), O_RDONLY | O_DIRECT | O_CLOEXEC);
  const bool refusesDirect = direct < 0 && errno == EINVAL;
  return refusesDirect ? open(node.c_str(), O_RDONLY | O_CLOEXEC) : direct;
}

class LinuxDevices final : public DeviceSystem {
 public:
  bool IsDevice(const char16_t* path) override { return KindOfPath(path) == PathKind::kDevice; }
  std::unique_ptr<Device> Open(const char16_t* path, u32 access) override;
  FailureKind StateOf(const char16_t* path, u64 bytes) override;
  bool IsOpticalDrive(const char16_t* drive) override;
  char16_t OpticalLetter(const char16_t* path) override;
  std::vector<std::u16string> DiskPaths() override;
  std::vector<DiskInterface> DiskInterfaces() override;
  std::u16string ParentDeviceId(u32 instance) override;
};

std::unique_ptr<Device> NotOpened(int error) {
  SetLastFailure(static_cast<u32>(error));
  return nullptr;
}

std::unique_ptr<Device> LinuxDevices::Open(const char16_t* path, u32 access) {
  const std::string node = NodeOf(path);
  struct stat status;
  // Looked at before it is opened: to open a pipe would wait, and a tape would move.
  if (stat(node.c_str(), &status) != 0) return NotOpened(errno);
  if (!S_ISBLK(status.st_mode)) return NotOpened(ENOTBLK);
  const int file = OpenNode(node, access);
  if (file < 0) return NotOpened(errno);
  return std::make_unique<LinuxDevice>(file, status.st_rdev);
}

FailureKind LinuxDevices::StateOf(const char16_t* path, u64 bytes) {
  struct stat status;
  const bool isThere = stat(NodeOf(path).c_str(), &status) == 0 && S_ISBLK(status.st_mode);
  return isThere ? StateOfBlock(SysBlock(status.st_rdev), bytes) : FailureKind::kGone;
}

bool LinuxDevices::IsOpticalDrive(const char16_t* drive) {
  const u32 number = static_cast<u32>(drive[0] - u'A');
  return number < kLetters && SysBlock("sr" + std::to_string(number)).Exists();
}

char16_t LinuxDevices::OpticalLetter(const char16_t* path) {
  struct stat status;
  if (stat(NodeOf(path).c_str(), &status) != 0 || !S_ISBLK(status.st_mode) ||
      major(status.st_rdev) != kOpticalMajor || minor(status.st_rdev) >= kLetters) {
    return u'\0';
  }
  return static_cast<char16_t>(u'A' + minor(status.st_rdev));
}

std::vector<std::u16string> LinuxDevices::DiskPaths() {
  std::vector<std::u16string> paths;
  for (const std::string& name : NamesIn("/sys/class/block")) {
    const SysBlock block(name);
    const bool isBuilt = block.DiskFolder().rfind("/sys/devices/virtual/", 0) == 0;
    if (block.Exists() && !isBuilt) paths.push_back(WideFromUtf8("/dev/" + block.Name()));
  }
  return paths;
}

std::vector<DiskInterface> LinuxDevices::DiskInterfaces() {
  std::vector<DiskInterface> disks;
  for (const std::string& name : NamesIn("/sys/block")) {
    const SysBlock block(name);
    struct stat status;
    const std::string node = "/dev/" + block.Name();
    if (BusOfFolder(block.DiskFolder()) != kBusUsb || stat(node.c_str(), &status) != 0) continue;
    disks.push_back({WideFromUtf8(node), NumberOf(status.st_rdev)});
  }
  return disks;
}

std::u16string LinuxDevices::ParentDeviceId(u32 instance) {
  return WideFromUtf8(UsbIdOf(SysBlock(DeviceOf(instance))));
}

}  // namespace

DeviceSystem& SystemDevices() {
  static LinuxDevices devices;
  return devices;
}

bool IsDeviceGone(u32 code) {
  return code == ENODEV || code == ENXIO || code == ENOMEDIUM;
}

bool IsNotPermitted(u32 code) {
  return code == EACCES || code == EPERM;
}

bool IsInUse(u32 code) {
  return code == EBUSY;
}

}  // namespace larkspur::platform
