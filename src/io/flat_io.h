// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// cFlatIO: an ordinary file as a storage. Sector s is bytes [512 s, 512 s + 512) of the file; a
// last partial sector does not count. Opens from a cNamedFileResource.
//
// Transfers are those of the file: `Read` is not clamped to the sector count, and one transfer
// moves less than 4 GiB.

#include "io/base_io.h"
#include "io/file_io.h"
#include "io/resource.h"

namespace larkspur {

class cFlatIO final : public cBaseIO {
 public:
  cFlatIO() = default;
  ~cFlatIO() = default;

  // Opens the file at `path`; the same as Open with a cNamedFileResource.
  bool OpenPath(std::u16string_view path, bool readOnly);

  // Has the file system set room aside for [sector, sector+count), which lies inside the file.
  bool ReserveRoom(u64 sector, u64 count) {
    return m_file.ReserveRoom(sector << kSectorShift, count << kSectorShift);
  }
  std::optional<platform::FileIdentity> Identity() const { return m_file.Identity(); }

  cBaseIO* Clone() override;
  bool IsSameAs(cBaseIO* other) override;
  void InitState() override;
  void Close() override;
  // Reopens the file in the other mode; a failure leaves it closed.
  bool SetReadOnly(bool readOnly) override;
  bool Open(const cBaseIoResource* resource, bool readOnly) override;
  // Makes the file again: an existing one is emptied first.
  u64 Create(const cBaseIoResource* resource, u64 sectorCount, bool openAfter) override;
  u64 SetPosition(u64 sector) override;
  u32 Read(void* buffer, u32 count, cBitMap* presence = nullptr) override;
  u32 Write(u64 sector, const void* buffer, u32 count) override;
  bool ReadBytes(void* buffer, u64 offset, u32 lengthBytes) override;
  // Never grows the file: cut at its end, and refused beyond it.
  bool WriteBytes(const void* buffer, u64 offset, u32 lengthBytes) override;
  bool SetSectorCount(u64 count) override;
  u64 GetSectorCount() override;
  // The file's size as it is, a last partial sector included.
  u64 GetByteSize() override;
  u32 GetTypeId() override { return kTypeFlat; }
  u32 GetResourceKind() override { return kResourceNamedFile; }
  void* Destroy(u32 flags) override;
  bool GetDescription(char16_t* buffer, i32 capacity) override;

 private:
  cFileIO m_file;
  u64 m_cachedCount = 0;
  cNamedFileResource m_resource;
};

}  // namespace larkspur
