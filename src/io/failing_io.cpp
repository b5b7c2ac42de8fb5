// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/failing_io.h"

#include <algorithm>
#include <new>

namespace larkspur {

u32 ReadablePrefix(const std::vector<SectorRange>& readable, u64 sector, u32 count) {
  const auto after = std::upper_bound(
      readable.begin(), readable.end(), sector,
      [](u64 position, const SectorRange& range) { return position < range.first; });
  if (after == readable.begin()) return 0;
  u64 end = sector;
  for (auto range = after - 1; range != readable.end() && range->first <= end; ++range) {
    end = std::max(end, range->first + range->count);
    if (end - sector >= count) return count;
  }
  return static_cast<u32>(end - sector);
}

cFailingIO::cFailingIO(Owned<cBaseIO> inner,
                       std::shared_ptr<const std::vector<SectorRange>> readable)
    : m_inner(std::move(inner)), m_readable(std::move(readable)) {
  m_name.Assign(m_inner->GetName());
  m_path = m_inner->Path();
}

cBaseIO* cFailingIO::Clone() {
  Owned<cBaseIO> inner(m_inner->Clone());
  return inner ? new (std::nothrow) cFailingIO(std::move(inner), m_readable) : nullptr;
}

bool cFailingIO::IsSameAs(cBaseIO* other) {
  return other && other->GetTypeId() == GetTypeId() &&
         m_inner->IsSameAs(static_cast<cFailingIO*>(other)->m_inner.get());
}

u64 cFailingIO::SetPosition(u64 sector) {
  m_position = std::min(sector, GetSectorCount());
  return m_position;
}

u32 cFailingIO::Read(void* buffer, u32 count, cBitMap* presence) {
  const u32 readable = ReadablePrefix(*m_readable, m_position, count);
  if (readable == 0) return 0;
  m_inner->SetPosition(m_position);
  const u32 got = m_inner->Read(buffer, readable, presence);
  m_position += got;
  return got;
}

void* cFailingIO::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

bool cFailingIO::GetDescription(char16_t* buffer, i32 capacity) {
  return m_inner->GetDescription(buffer, capacity);
}

}  // namespace larkspur
