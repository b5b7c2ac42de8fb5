// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/win_cd_io.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/endian.h"
#include "base/owned.h"
#include "base/path_text.h"
#include "devices/device_query.h"
#include "devices/identity_text.h"
#include "io/bit_map.h"

namespace larkspur {
namespace {

using namespace platform;

constexpr i32 kDescriptionCharacters = 1024;
constexpr size_t kPrefixCharacters = 4;  // of "\\.\E:"
constexpr u64 kSectorsPerHundredthGiB = 20972;

// READ CD of one sector's user data, buffered. The answer has room for a whole raw sector.
constexpr u32 kRawBytes = 2352;
constexpr u32 kRawSenseBytes = 24;
constexpr u32 kRawTimeoutSeconds = 2;
constexpr u32 kRawAnswerBytes = kScsiBufferedDataOffset + kRawBytes;
constexpr u32 kMaxSectorBytes = 0x10000;

void FillReadCd(u32 sector, u8* request) {
  StoreLe16(request, kScsiHeadBytes);
  request[kScsiCdbLengthOffset] = 12;
  request[kScsiSenseLengthOffset] = kRawSenseBytes;
  request[kScsiDirectionOffset] = kScsiDataIn;
  StoreLe32(request + kScsiDataLengthOffset, kRawBytes);
  StoreLe32(request + kScsiTimeoutOffset, kRawTimeoutSeconds);
  StoreLe64(request + kScsiDataOffset, kScsiBufferedDataOffset);
  StoreLe32(request + kScsiSensePlaceOffset, kScsiSenseOffset);
  u8* cdb = request + kScsiCdbOffset;
  cdb[0] = 0xBE;
  StoreBe32(cdb + 2, sector);
  cdb[8] = 1;     // sectors
  cdb[9] = 0x10;  // user data
}

// " (4.37GB)"
std::u16string SizeSuffix(u64 sectors) {
  const u64 hundredths = sectors / kSectorsPerHundredthGiB;
  const std::string digits = std::to_string(hundredths % 100 + 100).substr(1);
  return WideFromUtf8(" (" + std::to_string(hundredths / 100) + "." + digits + "GB)");
}

}  // namespace

cBaseIO* cWinCDIO::Clone() {
  Owned<cWinCDIO> clone(new (std::nothrow) cWinCDIO);
  if (!clone || !clone->Open(&m_resource, m_readOnly)) return nullptr;
  clone->SetStrict(m_strict);
  return clone.release();
}

bool cWinCDIO::IsSameAs(cBaseIO* other) {
  return other && other->GetTypeId() == GetTypeId() &&
         static_cast<cWinCDIO*>(other)->m_resource.Equals(&m_resource);
}

void cWinCDIO::InitState() {
  m_sectorCount = 0;
  m_position = 0;
  m_readOnly = true;
  m_cached = kNothingCached;
}

void cWinCDIO::Close() {
  m_device.reset();
  InitState();
}

bool cWinCDIO::Open(const cBaseIoResource* resource, bool readOnly) {
  Close();
  if (!resource || resource->GetKind() != kResourceNumberedDevice || !readOnly) return false;
  m_resource.Assign(*resource);
  const char16_t letter = static_cast<char16_t>(m_resource.Number());
  const char16_t path[] = {u'\\', u'\\', u'.', u'\\', letter, u':', u'\0'};
  if (!Devices().IsOpticalDrive(path + kPrefixCharacters)) return false;
  m_path.Assign(path);
  m_device = Devices().Open(path, kAccessRead | kAccessWrite | kAccessUnbuffered);
  if (!m_device) return false;
  if (!LoadGeometry()) {
    m_device.reset();
    return false;
  }
  char16_t text[kDescriptionCharacters];
  if (GetDescription(text, kDescriptionCharacters)) m_name.Assign(text);
  return true;
}

bool cWinCDIO::LoadGeometry() {
  const auto geometry = QueryGeometry(*m_device);
  if (!geometry || geometry->bytesPerSector < kSectorBytes ||
      geometry->bytesPerSector > kMaxSectorBytes || !m_sector.Allocate(geometry->bytesPerSector)) {
    return false;
  }
  m_bytesPerSector = geometry->bytesPerSector;
  m_sectorsPerTrack = geometry->sectorsPerTrack;
  m_tracksPerCylinder = geometry->tracksPerCylinder;
  m_sectorRatio = m_bytesPerSector / kSectorBytes;
  m_sectorCount = QueryLength(*m_device).value_or(geometry->sectors * m_sectorRatio);
  return true;
}

u64 cWinCDIO::SetPosition(u64 sector) {
  m_position = std::min(sector, m_sectorCount);
  return sector;
}

bool cWinCDIO::CacheCooked(u32 sector) {
  const u64 offset = u64{sector} * m_bytesPerSector;
  m_cached = kNothingCached;  // a read that fails may leave anything in the buffer
  if (m_device->Seek(offset) != offset ||
      m_device->Read(m_sector.Data(), m_bytesPerSector) != m_bytesPerSector) {
    return false;
  }
  m_cached = sector;
  return true;
}

bool cWinCDIO::CacheRaw(u32 sector) {
  u8 request[kRawAnswerBytes] = {};
  FillReadCd(sector, request);
  u32 returned = 0;
  const bool sent =
      m_device->Control(kScsiPassThrough, {request, kScsiHeadBytes}, request, &returned);
  const bool isWhole = sent && request[kScsiStatusOffset] == 0 &&
                       returned >= kScsiBufferedDataOffset + m_bytesPerSector;
  if (m_strict && !isWhole) return false;
  m_cached = sector;
  // Wanted so: what the buffer held before stands for a sector that could not be read.
  if (!sent) return true;
  std::memcpy(m_sector.Data(), request + kScsiBufferedDataOffset,
              std::min({returned, m_bytesPerSector, kRawBytes}));
  return returned >= m_bytesPerSector;
}

u32 cWinCDIO::Pass(bool (cWinCDIO::*cache)(u32), u64 first, u8* buffer, u32 count) {
  u32 delivered = 0;
  for (; delivered < count && first + delivered < m_sectorCount; ++delivered) {
    const u64 sector = first + delivered;
    const u64 physical = sector / m_sectorRatio;
    if (physical >= kNothingCached) break;
    if (physical != m_cached && !(this->*cache)(static_cast<u32>(physical))) break;
    std::memcpy(buffer + u64{delivered} * kSectorBytes,
                m_sector.Data() + sector % m_sectorRatio * kSectorBytes, kSectorBytes);
  }
  return delivered;
}

u32 cWinCDIO::Read(void* buffer, u32 count, cBitMap* presence) {
  if (count == 0 || !m_device) return 0;
  if (presence) presence->Fill(true);
  u8* out = static_cast<u8*>(buffer);
  u32 total = Pass(&cWinCDIO::CacheCooked, m_position, out, count);
  if (total < count) {
    total += Pass(&cWinCDIO::CacheRaw, m_position + total, out + u64{total} * kSectorBytes,
                  count - total);
  }
  m_position += total;
  return total;
}

void* cWinCDIO::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

bool cWinCDIO::GetGeometry(u32* three) {
  three[0] = m_bytesPerSector;
  three[1] = m_sectorsPerTrack;
  three[2] = m_tracksPerCylinder;
  return true;
}

bool cWinCDIO::GetDescription(char16_t* buffer, i32 capacity) {
  if (!m_device) return false;
  const DescriptorTexts texts = TextsOfDescriptor(*m_device).value_or(DescriptorTexts());
  std::u16string text = u"Drive ";
  text += m_path.View().substr(kPrefixCharacters);
  text += u" (CD/DVD) " + texts.line + SizeSuffix(m_sectorCount);
  m_serial = texts.serial;
  m_vendor = texts.vendor;
  m_model = texts.model;
  return CopyText(text, buffer, capacity);
}

}  // namespace larkspur
