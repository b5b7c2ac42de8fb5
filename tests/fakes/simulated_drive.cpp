// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fakes/simulated_drive.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "base/path_text.h"
#include "fakes/memory_disk.h"
#include "fakes/simulated_requests.h"
#include "platform/device_requests.h"
#include "platform/system_error.h"

namespace larkspur::fakes {
namespace {

using namespace platform;

constexpr u32 kNoSuchFile = 2;
constexpr size_t kDescriptorRoom = 10000;

class SimulatedDevice final : public Device {
 public:
  SimulatedDevice(std::shared_ptr<SimulatedDrive> drive, u32 access)
      : m_drive(std::move(drive)), m_access(access) {}

  u64 Seek(u64 offset) override { return m_position = m_drive->seeksLandAt.value_or(offset); }
  u32 Read(void* buffer, u32 length) override;
  u32 Write(const void* buffer, u32 length) override;
  bool Control(u32 code, std::span<const u8> in, std::span<u8> out, u32* returned) override;
  std::optional<bool> IsPowered() override { return m_drive->isPowered; }
  std::optional<u64> MediumNumber(bool asksDrive) override {
    if (asksDrive) m_drive->log.push_back("query medium");
    return m_drive->mediumNumber;
  }

 private:
  bool Query(u32 code, std::span<const u8> in, std::span<u8> out, u32* returned);
  // The bytes before the first sector that fails.
  u32 Readable(u64 first, u32 count);

  std::shared_ptr<SimulatedDrive> m_drive;
  u32 m_access;
  u64 m_position = 0;
};

u32 SimulatedDevice::Readable(u64 first, u32 count) {
  u32 good = 0;
  for (u64 sector = first; sector < first + count; ++sector) {
    ++m_drive->askedTimes[sector];
    if (const auto slow = m_drive->slow.find(sector); slow != m_drive->slow.end()) {
      m_drive->secondsWaited += slow->second;
    }
    if (sector >= m_drive->sectors || m_drive->failing.count(sector)) continue;
    if (sector == first + good) ++good;
  }
  return good == count || m_drive->deliversPrefix ? good : 0;
}

u32 SimulatedDevice::Read(void* buffer, u32 length) {
  SimulatedDrive& drive = *m_drive;
  drive.log.push_back("read " + std::to_string(m_position) + "+" + std::to_string(length));
  drive.Expect(m_access & kAccessRead, "a read needs the right to read");
  drive.Expect(length > 0 && length % drive.sectorBytes == 0 && m_position % drive.sectorBytes == 0,
               "a read of whole sectors: " + drive.log.back());
  drive.Expect(!!(m_access & kAccessUnbuffered) == drive.isOptical, "buffering");
  drive.Expect(reinterpret_cast<std::uintptr_t>(buffer) % 4096 == 0, "a buffer at a page's start");
  if (drive.vanishesAfterReads && drive.reads >= *drive.vanishesAfterReads) drive.isPresent = false;
  ++drive.reads;
  const u64 first = m_position / drive.sectorBytes;
  const u32 good =
      drive.isPresent && !drive.hangs ? Readable(first, length / drive.sectorBytes) : 0;
  if (good * drive.sectorBytes < length) {
    SetLastFailure(SimulatedDrive::CodeOf(drive.hangs ? FailureKind::kTransport : drive.failsAs));
  }
  const auto bytes = drive.Content(first, good);
  std::copy(bytes.begin(), bytes.end(), static_cast<u8*>(buffer));
  m_position += bytes.size();
  return static_cast<u32>(bytes.size());
}

u32 SimulatedDevice::Write(const void*, u32 length) {
  m_drive->log.push_back("write " + std::to_string(m_position) + "+" + std::to_string(length));
  m_drive->Expect(m_access & kAccessWrite, "a write needs the right to write");
  return length;
}

u32 PutText(const std::string& text, u32 place, u32 offsetField, std::span<u8> out) {
  if (text.empty()) return place;
  StoreLe32(&out[offsetField], place);
  std::copy(text.begin(), text.end(), &out[place]);
  return place + static_cast<u32>(text.size()) + 1;
}

void PutDescriptor(const SimulatedDrive& drive, std::span<u8> out) {
  if (!drive.rawDescriptor.empty()) {
    std::copy_n(drive.rawDescriptor.begin(), std::min(out.size(), drive.rawDescriptor.size()),
                out.begin());
    return;
  }
  out[kDescriptorRemovableOffset] = drive.isRemovable;
  StoreLe32(&out[kDescriptorBusOffset], drive.bus);
  u32 place = PutText(drive.vendor, 100, kDescriptorVendorOffset, out);
  place = PutText(drive.product, place, kDescriptorProductOffset, out);
  PutText(drive.serial, place, kDescriptorSerialOffset, out);
}

void PutGeometry(const SimulatedDrive& drive, std::span<u8> out) {
  const u64 perCylinder = u64{drive.tracks} * drive.sectorsPerTrack;
  StoreLe64(&out[0], drive.cylinders.value_or(drive.sectors / perCylinder));
  StoreLe32(&out[12], drive.tracks);
  StoreLe32(&out[16], drive.sectorsPerTrack);
  StoreLe32(&out[20], drive.geometrySectorBytes.value_or(drive.sectorBytes));
}

bool PutAlignment(const SimulatedDrive& drive, std::span<u8> out) {
  if (drive.physicalBytes == 0) return false;
  StoreLe32(&out[16], drive.sectorBytes);
  StoreLe32(&out[20], drive.physicalBytes);
  StoreLe32(&out[24], drive.firstPhysicalOffset);
  return true;
}

void PutNumber(const SimulatedDrive& drive, std::span<u8> out) {
  StoreLe32(&out[0], *drive.deviceType);
  StoreLe32(&out[4], drive.number);
  StoreLe32(&out[8], drive.partition);
}

bool SimulatedDevice::Query(u32 code, std::span<const u8> in, std::span<u8> out, u32* returned) {
  SimulatedDrive& drive = *m_drive;
  const auto answers = [&](bool has, size_t inBytes, size_t outBytes) {
    drive.Expect(in.size() == inBytes && out.size() == outBytes, "lengths of " + drive.log.back());
    drive.Expect(IsZero(in.data(), in.size()) && IsZero(out.data(), out.size()),
                 "zeros in " + drive.log.back());
    *returned = has ? static_cast<u32>(outBytes) : 0;
    return has && out.size() == outBytes;
  };
  if (code == 0x2D1400 && !in.empty() && in[0] == 6) {
    drive.Expect(in.size() == 12 && IsZero(&in[1], 11) && out.size() == 28, "sizes of sectors");
    *returned = 28;
    return PutAlignment(drive, out);
  }
  switch (code) {
    case 0x2D1400:
      if (!answers(drive.hasDescriptor, 12, kDescriptorRoom)) return false;
      PutDescriptor(drive, out);
      return true;
    case 0x70000:
      if (!answers(drive.hasGeometry, 0, 24)) return false;
      PutGeometry(drive, out);
      return true;
    case 0x7405C:
      if (!answers(drive.lengthBytes.has_value(), 0, 8)) return false;
      StoreLe64(out.data(), *drive.lengthBytes);
      return true;
    case 0x2D1080:
      if (!answers(drive.deviceType.has_value(), 0, 12)) return false;
      PutNumber(drive, out);
      return true;
    case 0x70048:
      if (!answers(drive.partitionStartBytes.has_value(), 0, 144)) return false;
      StoreLe64(&out[8], *drive.partitionStartBytes);
      return true;
    case 0x74080:
      return answers(drive.speaksSmart, 0, 24);
  }
  drive.Expect(false, "an unknown request: " + drive.log.back());
  return false;
}

bool SimulatedDevice::Control(u32 code, std::span<const u8> in, std::span<u8> out, u32* returned) {
  constexpr u32 kPassThroughs[] = {kScsiPassThrough, kScsiPassThroughDirect, kAtaPassThrough,
                                   kIdePassThrough};
  *returned = 0;
  SetLastFailure(SimulatedDrive::CodeOf(FailureKind::kUnclear));
  if (!m_drive->isPresent) return false;
  if (std::count(std::begin(kPassThroughs), std::end(kPassThroughs), code) > 0) {
    m_drive->Expect((m_access & (kAccessRead | kAccessWrite)) == (kAccessRead | kAccessWrite),
                    "a command to the drive needs the right to write");
    return AnswerPassThrough(*m_drive, code, in, out, returned);
  }
  const u8 digits[] = {static_cast<u8>(code >> 16), static_cast<u8>(code >> 8),
                       static_cast<u8>(code)};
  m_drive->log.push_back("query " + Hex(digits));
  return Query(code, in, out, returned);
}

}  // namespace

u32 SimulatedDrive::CodeOf(FailureKind kind) {
  u32 code = 1;
  while (KindOfFailure(code) != kind || IsFormRefused(code) || IsInterrupted(code)) ++code;
  return code;
}

u32 SimulatedDrive::RefusedForm() {
  u32 code = 1;
  while (!IsFormRefused(code)) ++code;
  return code;
}

std::string SimulatedDrive::TakeLog() {
  std::string text;
  for (const std::string& line : log) {
    if (line.rfind("query ", 0) == 0) continue;
    text += (text.empty() ? "" : "\n") + line;
  }
  log.clear();
  return text;
}

void SimulatedDrive::Expect(bool isRight, const std::string& what) {
  if (!isRight) faults.push_back(what);
}

std::vector<u8> SimulatedDrive::Content(u64 sector, u32 count) const {
  if (count == 0) return {};
  if (sectorBytes % kSectorBytes == 0) {
    const u32 ratio = sectorBytes / kSectorBytes;
    return Pattern(sector * ratio, count * ratio);
  }
  std::vector<u8> bytes(u64{count} * sectorBytes, 0xEE);
  for (u32 i = 0; i < count; ++i) FillPattern(sector + i, &bytes[u64{i} * sectorBytes]);
  return bytes;
}

SimulatedDrive* SimulatedDevices::Add(const std::u16string& path) {
  if (const auto before = Find(path)) {
    before->path.clear();
    before->usbParent.clear();
  }
  m_drives.push_back(std::make_shared<SimulatedDrive>());
  m_drives.back()->path = path;
  return m_drives.back().get();
}

SimulatedDrive* SimulatedDevices::Add(const std::u16string& path, u32 sectorBytes, u64 sectors) {
  SimulatedDrive* drive = Add(path);
  drive->sectorBytes = sectorBytes;
  drive->sectors = sectors;
  drive->lengthBytes = sectors * sectorBytes;
  return drive;
}

// In the tree of devices, drives go by another name.
std::shared_ptr<SimulatedDrive> SimulatedDevices::Find(std::u16string path) const {
  if (path.rfind(u"tree:", 0) == 0) path.erase(0, 5);
  for (const auto& drive : m_drives) {
    if (drive->path == path) return drive;
  }
  return nullptr;
}

std::unique_ptr<Device> SimulatedDevices::Open(const char16_t* path, u32 access) {
  const auto drive = Find(path);
  if (!drive || !drive->isPresent) {
    SetLastFailure(kNoSuchFile);
    return nullptr;
  }
  if (drive->openError) {
    SetLastFailure(*drive->openError);
    return nullptr;
  }
  const bool inTree = path[0] == u't';
  drive->Expect(!inTree || access == kAccessQuery, "in the tree, drives are asked only");
  drive->log.push_back(std::string(inTree ? "look" : "open") + (access & kAccessRead ? " r" : "") +
                       (access & kAccessWrite ? "w" : ""));
  return std::make_unique<SimulatedDevice>(drive, access);
}

FailureKind SimulatedDevices::StateOf(const char16_t* path, u64 bytes) {
  const auto drive = Find(path);
  const bool isThere = drive && drive->isPresent && drive->lengthBytes.value_or(bytes) >= bytes;
  return isThere ? drive->state : FailureKind::kGone;
}

bool SimulatedDevices::IsOpticalDrive(const char16_t* drive) {
  const auto found = Find(std::u16string(u"\\\\.\\") + drive);
  return found && found->isOptical;
}

char16_t SimulatedDevices::OpticalLetter(const char16_t* path) {
  const auto found = Find(path);
  return found && found->isOptical ? path[4] : u'\0';
}

std::vector<std::u16string> SimulatedDevices::DiskPaths() {
  std::vector<std::u16string> paths;
  for (const auto& drive : m_drives) paths.push_back(drive->path);
  return paths;
}

std::vector<DiskInterface> SimulatedDevices::DiskInterfaces() {
  std::vector<DiskInterface> disks;
  for (size_t i = 0; i < m_drives.size(); ++i) {
    if (m_drives[i]->usbParent.empty()) continue;
    disks.push_back({u"tree:" + m_drives[i]->path, static_cast<u32>(i)});
  }
  return disks;
}

std::u16string SimulatedDevices::ParentDeviceId(u32 instance) {
  return m_drives[instance]->usbParent;
}

std::string SimulatedDevices::Faults() const {
  std::string text;
  for (const auto& drive : m_drives) {
    for (const std::string& fault : drive->faults) {
      text += Utf8FromWide(drive->path) + ": " + fault + "\n";
    }
  }
  return text;
}

void SetWord(std::vector<u8>* identify, u32 index, u16 value) {
  StoreLe16(&(*identify)[2 * index], value);
}

std::vector<u8> MakeIdentify(const std::string& model, const std::string& serial,
                             const std::string& firmware, u64 capacity) {
  std::vector<u8> data(512);
  const auto put = [&data](u32 word, size_t bytes, std::string text) {
    text.resize(bytes, ' ');
    for (size_t i = 0; i < bytes; ++i) data[2 * word + (i ^ 1)] = static_cast<u8>(text[i]);
  };
  put(10, 20, serial);
  put(23, 8, firmware);
  put(27, 40, model);
  SetWord(&data, 49, 1 << 9);
  SetWord(&data, 86, 1 << 10);
  StoreLe32(&data[2 * 60], static_cast<u32>(std::min<u64>(capacity, 0x0FFFFFFF)));
  StoreLe64(&data[2 * 100], capacity);
  return data;
}

std::vector<u8> MakeInquiry(const std::string& vendor, const std::string& product,
                            const std::string& revision) {
  std::vector<u8> data(512);
  const auto put = [&data](size_t offset, size_t bytes, std::string text) {
    text.resize(bytes, ' ');
    std::copy(text.begin(), text.end(), data.begin() + static_cast<std::ptrdiff_t>(offset));
  };
  put(8, 8, vendor);
  put(16, 16, product);
  put(32, 4, revision);
  return data;
}

std::vector<u8> FixedSense(u8 key, u8 asc, u8 ascq) {
  return {0x70, 0, key, 0, 0, 0, 0, 10, 0, 0, 0, 0, asc, ascq, 0, 0, 0, 0};
}

std::vector<u8> FixedSenseAt(u32 block, u8 key, u8 asc, u8 ascq) {
  std::vector<u8> sense = FixedSense(key, asc, ascq);
  sense[0] |= 0x80;
  StoreBe32(&sense[3], block);
  return sense;
}

std::vector<u8> DescriptorSenseAt(u64 block, u8 key, u8 asc, u8 ascq) {
  // An unknown descriptor stands before the one with the block.
  std::vector<u8> sense{0x72, key, asc, ascq, 0, 0, 0, 16, 0x80, 2, 0, 0, 0, 10, 0x80, 0};
  sense.resize(24);
  StoreBe64(&sense[16], block);
  return sense;
}

std::string Hex(std::span<const u8> bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const u8 byte : bytes) {
    if (!text.empty()) text += ' ';
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

std::vector<u8> Bytes(const std::string& hex) {
  std::vector<u8> bytes;
  std::string digits;
  for (const char letter : hex) {
    if (letter == ' ') continue;
    digits += letter;
    if (digits.size() < 2) continue;
    bytes.push_back(static_cast<u8>(std::stoul(digits, nullptr, 16)));
    digits.clear();
  }
  return bytes;
}

}  // namespace larkspur::fakes
