// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include "devices/win_hd_io.h"
#include "io/resource.h"

namespace larkspur {

// cNamedWinHDIO: a disk, a volume or another block device by its path. Of a volume that says it is
// larger than its disk, only what lies on the disk counts.
class cNamedWinHDIO final : public cWinHDIO {
 public:
  cNamedWinHDIO() = default;
  ~cNamedWinHDIO() = default;

  cBaseIO* Clone() override;
  bool IsSameAs(cBaseIO* other) override;
  bool Open(const cBaseIoResource* resource, bool readOnly) override;
  u32 GetTypeId() override { return kTypeNamedWinHD; }
  u32 GetResourceKind() override { return kResourceNamedFile; }
  void* Destroy(u32 flags) override;
  // False while the device is closed.
  bool GetDescription(char16_t* buffer, i32 capacity) override;

 private:
  // Cuts the sector count at the end of the disk that holds the volume.
  void ClampToDisk();
  u64 SectorsOnDisk(platform::Device& disk, u64 diskSectors);

  cNamedFileResource m_resource;
};

}  // namespace larkspur
