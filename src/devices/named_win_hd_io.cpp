// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/named_win_hd_io.h"

#include <new>

#include "base/path_text.h"
#include "base/text.h"
#include "devices/device_query.h"

namespace larkspur {
namespace {

using namespace platform;

constexpr u64 kSectorsIn32Bits = u64{1} << 32;

bool IsSeparator(char16_t unit) {
  return unit == u'\\' || unit == u'/';
}

bool HasDevicePrefix(std::u16string_view path) {
  return path.size() >= 4 && IsSeparator(path[0]) && IsSeparator(path[1]) && path[2] == u'.' &&
         IsSeparator(path[3]);
}

bool IsAsciiLetter(char16_t unit) {
  return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
}

// "Drive C: " for a volume by its letter, else the path without the device prefix.
std::u16string PrefixOf(std::u16string_view path) {
  if (!HasDevicePrefix(path)) return std::u16string(path) + u": ";
  path.remove_prefix(4);
  if (path.size() == 2 && path[1] == u':' && IsAsciiLetter(path[0])) {
    return u"Drive " + std::u16string(1, UpperCase(path[0])) + u": ";
  }
  return std::u16string(path) + u": ";
}

}  // namespace

cBaseIO* cNamedWinHDIO::Clone() {
  return FinishClone(Owned<cWinHDIO>(new (std::nothrow) cNamedWinHDIO), m_resource);
}

bool cNamedWinHDIO::IsSameAs(cBaseIO* other) {
  return other && other->GetTypeId() == GetTypeId() &&
         static_cast<cNamedWinHDIO*>(other)->m_resource.Equals(&m_resource);
}

bool cNamedWinHDIO::Open(const cBaseIoResource* resource, bool readOnly) {
  Close();
  if (!resource || resource->GetKind() != kResourceNamedFile) return false;
  m_resource.Assign(*resource);
  m_path = m_resource.Path();
  m_readOnly = readOnly;
  if (!OpenDevice()) return false;
  m_fullSectorCount = m_sectorCount;
  ClampToDisk();
  return true;
}

void cNamedWinHDIO::ClampToDisk() {
  const auto number = QueryNumber(*m_device);
  if (!number || number->type != kDeviceTypeDisk || number->partition == 0) return;
  const std::u16string path =
      u"\\\\.\\PhysicalDrive" + WideFromUtf8(std::to_string(static_cast<i32>(number->number)));
  const auto disk = Devices().Open(path.c_str(), kAccessRead | kAccessWrite);
  if (!disk) return;
  const u64 diskSectors = SectorsByLengthOr(*disk, QueryGeometry(*disk).value_or(DriveGeometry()));
  if (diskSectors < m_sectorCount) m_sectorCount = SectorsOnDisk(*disk, diskSectors);
}

u64 cNamedWinHDIO::SectorsOnDisk(Device& disk, u64 diskSectors) {
  const u64 start = QueryPartitionStart(*m_device).value_or(0);
  const auto identity = ProbeIdentity(disk);
  const u64 told = identity ? identity->sectorCount + 1 : diskSectors;
  // Some drivers cut the size of a large disk at 32 bits; the drive itself knows better.
  if (told >= kSectorsIn32Bits && diskSectors < kSectorsIn32Bits) {
    return start < kSectorsIn32Bits ? kSectorsIn32Bits - start : 0;
  }
  return start < diskSectors ? diskSectors - start : 0;
}

void* cNamedWinHDIO::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

bool cNamedWinHDIO::GetDescription(char16_t* buffer, i32 capacity) {
  return m_device && Describe(PrefixOf(m_path.View()), buffer, capacity);
}

}  // namespace larkspur
