// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/base_io.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "io/bit_map.h"

namespace larkspur {
namespace {

constexpr u32 kUsualGeometry[3] = {kSectorBytes, 63, 255};

u32 ByteInSector(u64 offset) {
  return static_cast<u32>(offset % kSectorBytes);
}

}  // namespace

cBaseIO::~cBaseIO() {
  delete[] m_scratch;
}

u8* cBaseIO::Scratch() {
  if (!m_scratch) m_scratch = new (std::nothrow) u8[kSectorBytes];
  return m_scratch;
}

bool cBaseIO::ReadScratch(u64 sector) {
  u8* scratch = Scratch();
  if (!scratch) return false;
  SetPosition(sector);
  return Read(scratch, 1, nullptr) != 0;
}

bool cBaseIO::ReadBytes(void* buffer, u64 offset, u32 lengthBytes) {
  if (lengthBytes == 0) return true;
  if (!buffer) return false;
  u8* out = static_cast<u8*>(buffer);
  u64 sector = offset >> kSectorShift;
  if (const u32 first = ByteInSector(offset)) {
    if (!ReadScratch(sector++)) return false;
    const u32 head = std::min(kSectorBytes - first, lengthBytes);
    std::memcpy(out, m_scratch + first, head);
    out += head;
    lengthBytes -= head;
  }
  if (const u32 whole = lengthBytes >> kSectorShift) {
    SetPosition(sector);
    if (Read(out, whole, nullptr) != whole) return false;
    sector += whole;
    out += whole * kSectorBytes;
    lengthBytes -= whole * kSectorBytes;
  }
  if (lengthBytes == 0) return true;
  if (!ReadScratch(sector)) return false;
  std::memcpy(out, m_scratch, lengthBytes);
  return true;
}

bool cBaseIO::PatchSector(u64 sector, u32 firstByte, const u8* bytes, u32 lengthBytes) {
  if (!ReadScratch(sector)) return false;
  std::memcpy(m_scratch + firstByte, bytes, lengthBytes);
  return Write(sector, m_scratch, 1) != 0;
}

bool cBaseIO::WriteBytes(const void* buffer, u64 offset, u32 lengthBytes) {
  if (lengthBytes == 0) return true;
  if (!buffer) return false;
  const u8* in = static_cast<const u8*>(buffer);
  u64 sector = offset >> kSectorShift;
  if (const u32 first = ByteInSector(offset)) {
    const u32 head = std::min(kSectorBytes - first, lengthBytes);
    if (!PatchSector(sector++, first, in, head)) return false;
    in += head;
    lengthBytes -= head;
  }
  if (const u32 whole = lengthBytes >> kSectorShift) {
    if (Write(sector, in, whole) != whole) return false;
    sector += whole;
    in += whole * kSectorBytes;
    lengthBytes -= whole * kSectorBytes;
  }
  return lengthBytes == 0 || PatchSector(sector, 0, in, lengthBytes);
}

u32 cBaseIO::WriteMasked(u64 sector, const void* buffer, u32 count, cBitMap* mask) {
  if (!mask) return Write(sector, buffer, count);
  const u8* in = static_cast<const u8*>(buffer);
  for (u32 i = 0; i < count;) {
    const u32 run = static_cast<u32>(std::min<u64>(mask->CountSetRun(i), count - i));
    if (run > 0 && Write(sector + i, in + u64{i} * kSectorBytes, run) != run) return i;
    i += run;
    if (i < count) {
      const u64 clear = mask->CountClearRun(i);
      // Bits past the map's end are clear, and no run is counted there.
      i = clear == 0 ? count : static_cast<u32>(std::min<u64>(u64{i} + clear, count));
    }
  }
  return count;
}

bool cBaseIO::GetGeometry(u32* three) {
  std::copy(std::begin(kUsualGeometry), std::end(kUsualGeometry), three);
  return true;
}

bool cBaseIO::GetDescription(char16_t* buffer, i32 capacity) {
  return CopyText(u"Basic IO", buffer, capacity);
}

bool cBaseIO::CopyText(std::u16string_view text, char16_t* buffer, i32 capacity) {
  if (!buffer || capacity < 1) return false;
  const size_t length = std::min(text.size(), static_cast<size_t>(capacity) - 1);
  std::copy_n(text.begin(), length, buffer);
  buffer[length] = u'\0';
  return true;
}

}  // namespace larkspur
