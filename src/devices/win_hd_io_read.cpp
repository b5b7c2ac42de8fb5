// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The three ways of reading a disk; the size of its sectors picks one.

#include <algorithm>
#include <cstring>

#include "devices/device_kind.h"
#include "devices/scsi_requests.h"
#include "devices/win_hd_io.h"
#include "io/bit_map.h"

namespace larkspur {
namespace {

constexpr u32 kPageBytes = 4096;

}  // namespace

u64 cWinHDIO::SetPosition(u64 sector) {
  const u64 target = std::min(sector, m_sectorCount);
  const u64 aligned = m_sectorRatio > 1 ? target / m_sectorRatio * m_sectorRatio : target;
  // A closed device is opened by the next read, which then stands where it should.
  if (!IsAligned() || !m_device) {
    m_position = target;
    m_alignedPosition = aligned;
    return m_position;
  }
  const u64 landed = m_device->Seek(aligned * kSectorBytes);
  const bool isThere = landed == aligned * kSectorBytes;
  m_position = isThere ? target : landed / kSectorBytes;
  m_alignedPosition = isThere ? aligned : m_position;
  return m_position;
}

u32 cWinHDIO::Read(void* buffer, u32 count, cBitMap* presence) {
  if (!m_device && !OpenHandle()) return 0;
  // Neither is there after an OpenDevice that failed.
  if (m_sectorRatio == 0 || !m_transfer.Data()) return 0;
  if (m_position >= m_sectorCount) return 0;
  count = static_cast<u32>(std::min<u64>(count, m_sectorCount - m_position));
  if (presence) presence->Fill(true);
  u8* out = static_cast<u8*>(buffer);
  if (!IsAligned()) return ReadOdd(out, count);
  return m_sectorSize > kSectorBytes ? ReadAligned(out, count) : ReadPlain(out, count);
}

u8* cWinHDIO::Landing(u8* buffer) const {
  return reinterpret_cast<std::uintptr_t>(buffer) % kPageBytes == 0 ? buffer : m_transfer.Data();
}

u32 cWinHDIO::Fetch(u64 sector, u8* into, u32 lengthBytes) {
  const u64 offset = sector * kSectorBytes;
  const u32 got = m_device->Seek(offset) == offset ? m_device->Read(into, lengthBytes) : 0;
  if (got == 0) m_device.reset();
  return std::min(got, lengthBytes);
}

void cWinHDIO::Advance(u32 sectors) {
  m_position += sectors;
  m_alignedPosition = m_position / m_sectorRatio * m_sectorRatio;
}

u32 cWinHDIO::ReadPlain(u8* buffer, u32 count) {
  u32 total = 0;
  while (total < count) {
    const u32 wanted = std::min(count - total, kTransferBytes / kSectorBytes);
    u8* out = buffer + u64{total} * kSectorBytes;
    u8* into = Landing(out);
    const u32 got = Fetch(m_position, into, wanted * kSectorBytes) / kSectorBytes;
    if (got == 0) break;
    if (into != out) std::memcpy(out, into, u64{got} * kSectorBytes);
    Advance(got);
    total += got;
  }
  return total;
}

u32 cWinHDIO::ReadAligned(u8* buffer, u32 count) {
  if (m_sectorSize > kTransferBytes) return 0;
  u32 total = 0;
  if (m_position != m_alignedPosition) {
    total = ReadWithin(buffer, count);
    if (total == 0) return 0;
  }
  while (count - total >= m_sectorRatio) {
    const u32 got = ReadWhole(buffer + u64{total} * kSectorBytes, (count - total) / m_sectorRatio);
    if (got == 0) return total;
    total += got;
  }
  if (total < count) total += ReadWithin(buffer + u64{total} * kSectorBytes, count - total);
  return total;
}

u32 cWinHDIO::ReadWithin(u8* buffer, u32 count) {
  if (Fetch(m_alignedPosition, m_transfer.Data(), m_sectorSize) < m_sectorSize) return 0;
  const u32 within = static_cast<u32>(m_position - m_alignedPosition);
  const u32 units = std::min(m_sectorRatio - within, count);
  std::memcpy(buffer, m_transfer.Data() + within * kSectorBytes, units * kSectorBytes);
  Advance(units);
  return units;
}

u32 cWinHDIO::ReadWhole(u8* buffer, u32 physicalSectors) {
  const u32 wanted = std::min(physicalSectors, kTransferBytes / m_sectorSize);
  u8* into = Landing(buffer);
  const u32 sectors = Fetch(m_alignedPosition, into, wanted * m_sectorSize) / m_sectorSize;
  if (into != buffer) std::memcpy(buffer, into, u64{sectors} * m_sectorSize);
  Advance(sectors * m_sectorRatio);
  return sectors * m_sectorRatio;
}

u32 cWinHDIO::ReadOdd(u8* buffer, u32 count) {
  // A position counts these sectors one for one, which fits only where each gives 512 bytes.
  if (m_identity.kind != kKindScsi || m_payloadSize != kSectorBytes) return 0;
  if (m_sectorSize > kTransferBytes) return 0;
  u32 total = 0;
  while (total < count) {
    const u32 chunk = std::min(count - total, kTransferBytes / m_sectorSize);
    const u32 got = ReadOddChunk(chunk);
    for (u32 i = 0; i < got; ++i, ++total) {
      std::memcpy(buffer + u64{total} * kSectorBytes,
                  m_transfer.Data() + i * m_sectorSize + m_payloadOffset, kSectorBytes);
    }
    m_position += got;
    if (got < chunk) break;
  }
  return total;
}

u32 cWinHDIO::ReadOddChunk(u32 count) {
  u8* data = m_transfer.Data();
  // Wanted so: large drives are sent both commands, and the second one counts.
  if (m_sectorCount > 0xFFFFFFFF) ScsiRead16(*m_device, m_position, count, m_sectorSize, data);
  const u32 low = static_cast<u32>(m_position);
  return ScsiRead10(*m_device, low, count, m_sectorSize, data) / m_sectorSize;
}

}  // namespace larkspur
