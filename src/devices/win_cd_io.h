// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// cWinCDIO: an optical drive by its letter, read-only, in sectors of 512 bytes cut out of the
// drive's own. Where ordinary reading fails, the rest of a request is read with READ CD commands.

#include <memory>
#include <string>

#include "devices/device_system.h"
#include "io/base_io.h"
#include "io/resource.h"
#include "platform/pages.h"

namespace larkspur {

class cWinCDIO final : public cBaseIO {
 public:
  cWinCDIO() = default;
  ~cWinCDIO() { Close(); }

  // A host is given whatever the buffer held when even READ CD fails, and cannot know. With
  // `strict` such a sector ends the read instead, for those who keep what was read.
  void SetStrict(bool strict) { m_strict = strict; }

  cBaseIO* Clone() override;
  bool IsSameAs(cBaseIO* other) override;
  void InitState() override;
  void Close() override;
  bool Open(const cBaseIoResource* resource, bool readOnly) override;
  // Answers `sector` as it was given, even when that lies past the end.
  u64 SetPosition(u64 sector) override;
  u32 Read(void* buffer, u32 count, cBitMap* presence = nullptr) override;
  u64 GetSectorCount() override { return m_sectorCount; }
  u32 GetTypeId() override { return kTypeWinCD; }
  u32 GetResourceKind() override { return kResourceNumberedDevice; }
  void* Destroy(u32 flags) override;
  bool GetGeometry(u32* three) override;
  bool GetDescription(char16_t* buffer, i32 capacity) override;

  // What the system says of the drive. No slot answers these.
  const std::u16string& Serial() const { return m_serial; }
  const std::u16string& Vendor() const { return m_vendor; }
  const std::u16string& Model() const { return m_model; }

 private:
  static constexpr u32 kNothingCached = 0xFFFFFFFF;

  bool LoadGeometry();
  // Makes physical sector `sector` the cached one; false ends the pass.
  bool CacheCooked(u32 sector);
  bool CacheRaw(u32 sector);
  // Delivers sectors from the position on, up to `count`, as long as `cache` gets them.
  u32 Pass(bool (cWinCDIO::*cache)(u32), u64 first, u8* buffer, u32 count);

  cNumberedDeviceResource m_resource;
  std::unique_ptr<platform::Device> m_device;
  u64 m_sectorCount = 0;
  u64 m_position = 0;
  u32 m_cached = kNothingCached;
  platform::OwnedPages m_sector;  // one physical sector
  u32 m_sectorRatio = 0;
  u32 m_bytesPerSector = 0;
  u32 m_sectorsPerTrack = 0;
  u32 m_tracksPerCylinder = 0;
  bool m_strict = false;
  std::u16string m_serial;
  std::u16string m_vendor;
  std::u16string m_model;
};

}  // namespace larkspur
