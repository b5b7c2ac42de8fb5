// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// cWinHDIO: a whole physical disk by its number, in sectors of 512 bytes whatever its own are.
//
// Drives with sectors of a multiple of 512 bytes are read in whole sectors of theirs; of drives
// with odd sectors (520 bytes and the like) the first 512 bytes of each are delivered, which only
// SCSI drives can do. A read that gets nothing closes the device, and the next one reopens it:
// that is all the retrying there is.

#include <memory>
#include <optional>

#include "base/owned.h"
#include "devices/device_identity.h"
#include "devices/device_system.h"
#include "io/base_io.h"
#include "io/resource.h"
#include "platform/pages.h"

namespace larkspur {

class cWinHDIO : public cBaseIO {
 public:
  static constexpr u32 kTransferBytes = 0x10000;

  cWinHDIO() = default;
  ~cWinHDIO() { Close(); }

  cBaseIO* Clone() override;
  bool IsSameAs(cBaseIO* other) override;
  void InitState() override;
  void Close() override;
  // Opens the device again in the other mode; a failure leaves it closed until the next read.
  bool SetReadOnly(bool readOnly) override;
  bool Open(const cBaseIoResource* resource, bool readOnly) override;
  u64 SetPosition(u64 sector) override;
  u32 Read(void* buffer, u32 count, cBitMap* presence = nullptr) override;
  u32 Write(u64 sector, const void* buffer, u32 count) override;
  u64 GetSectorCount() override { return m_sectorCount; }
  // What the drive itself says, where it was asked.
  u64 GetFullSectorCount() override { return m_fullSectorCount; }
  // The serial number, or "[n/a]".
  const char16_t* GetName() override;
  u32 GetTypeId() override { return kTypeWinHD; }
  u32 GetResourceKind() override { return kResourceNumberedDevice; }
  void* Destroy(u32 flags) override;
  bool GetGeometry(u32* three) override;
  // Asks the drive again, and keeps what it says.
  bool GetDescription(char16_t* buffer, i32 capacity) override;
  // Opens the device named by the path; false leaves it closed.
  virtual bool OpenDevice();  // slot 25

  // What the drive said when it was last described; kind 0 where it said nothing and the texts are
  // the system's. No slot answers these.
  const DeviceIdentity& Identity() const { return m_identity; }
  // The description as it was when the device was opened.
  std::u16string_view OpeningDescription() const { return m_name.View(); }

 protected:
  // Opens `clone`, which is new, on a copy of this object's target.
  cBaseIO* FinishClone(Owned<cWinHDIO> clone, const cBaseIoResource& resource);
  bool Describe(const std::u16string& prefix, char16_t* buffer, i32 capacity);

  std::unique_ptr<platform::Device> m_device;
  u64 m_sectorCount = 0;
  u64 m_fullSectorCount = 0;

 private:
  bool OpenHandle();
  bool LoadGeometry();
  // The identity part of the description; none when there is none.
  std::optional<std::u16string> IdentityText();
  std::optional<std::u16string> ProbeDrive();
  std::optional<std::u16string> TextOfSystem();

  bool IsAligned() const { return m_sectorSize % kSectorBytes == 0; }
  // Reads into `into`, a page's start, and answers the bytes that came; nothing closes the device.
  u32 Fetch(u64 sector, u8* into, u32 lengthBytes);
  // Where to read to on the way into `buffer`: there, if a device may transfer to it directly.
  u8* Landing(u8* buffer) const;
  u32 ReadPlain(u8* buffer, u32 count);
  u32 ReadAligned(u8* buffer, u32 count);
  // The units of one physical sector at the position, `count` at most; 0 when it did not come.
  u32 ReadWithin(u8* buffer, u32 count);
  u32 ReadWhole(u8* buffer, u32 physicalSectors);
  u32 ReadOdd(u8* buffer, u32 count);
  u32 ReadOddChunk(u32 count);
  void Advance(u32 sectors);

  cNumberedDeviceResource m_resource;
  platform::OwnedPages m_transfer;
  u64 m_position = 0;
  u64 m_alignedPosition = 0;  // the position rounded down to a physical sector
  u32 m_payloadOffset = 0;    // what is delivered of each sector of an odd size
  u32 m_payloadSize = kSectorBytes;
  u32 m_sectorSize = 0;
  u32 m_sectorRatio = 0;
  u32 m_sectorsPerTrack = 0;
  u32 m_tracksPerCylinder = 0;
  bool m_removable = false;
  cWideString m_serial;
  DeviceIdentity m_identity;
};

}  // namespace larkspur
