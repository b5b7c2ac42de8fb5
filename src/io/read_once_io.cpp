// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/read_once_io.h"

#include <algorithm>
#include <new>

#include "io/bit_map.h"
#include "io/path_locks.h"

namespace larkspur {
namespace {

constexpr i32 kDescriptionCharacters = 256;
constexpr i32 kBracesAndTerminator = 3;

}  // namespace

bool cReadOnceIO::Attach(cKVRSparseIO* image, cBaseIO* source) {
  Close();
  if (!image || !source) return false;
  m_image.reset(static_cast<cKVRSparseIO*>(image->Clone()));
  if (!m_image) return false;
  m_source.reset(source->Clone());
  if (!m_source) {
    m_image.reset();
    return false;
  }
  m_sectorCount = m_source->GetSectorCount();
  char16_t description[kDescriptionCharacters];
  if (GetDescription(description, kDescriptionCharacters)) m_name.Assign(description);
  m_path = m_image->Path();
  return true;
}

cBaseIO* cReadOnceIO::Clone() {
  Owned<cReadOnceIO> clone(new (std::nothrow) cReadOnceIO);
  if (!clone || !clone->Attach(m_image.get(), m_source.get())) return nullptr;
  clone->SetGuard(m_guard);
  clone->KeepLock(m_lock);
  return clone.release();
}

bool cReadOnceIO::IsSameAs(cBaseIO* other) {
  if (!other || other->GetTypeId() != GetTypeId()) return false;
  cReadOnceIO* view = static_cast<cReadOnceIO*>(other);
  return m_image && m_source && view->m_image && view->m_source &&
         m_image->IsSameAs(view->m_image.get()) && m_source->IsSameAs(view->m_source.get());
}

void cReadOnceIO::InitState() {
  m_position = 0;
  m_sectorCount = 0;
}

void cReadOnceIO::Close() {
  m_image.reset();
  m_source.reset();
  if (m_lock) m_lock->SyncNoted();
  m_lock.reset();
  InitState();
}

u64 cReadOnceIO::SetPosition(u64 sector) {
  m_position = std::min(sector, m_sectorCount);
  return m_position;
}

u32 cReadOnceIO::Read(void* buffer, u32 count, cBitMap* /*presence*/) {
  if (!m_image || !m_source) return 0;
  FindPathLock(m_image->Path().View());
  cBitMap held(count);
  m_image->SetPosition(m_position);
  const u32 answer = m_image->ReadStored(buffer, count, &held);
  // An image that cannot be read to its end says nothing of what lies past its answer.
  const bool isCut = answer < count && m_position + answer < m_image->GetSectorCount();
  const u32 known = isCut ? answer : count;
  u8* out = static_cast<u8*>(buffer);
  for (u32 i = 0; i < answer;) {
    const u32 present = static_cast<u32>(held.CountSetRun(i));
    i += present;
    m_position += present;
    if (i >= answer) break;
    // Measured to the end of the request, also where the image ends before it.
    const u32 missing = static_cast<u32>(std::min<u64>(held.CountClearRun(i), known - i));
    if (missing == 0) return i;  // no memory for the map: nothing can be told, so fetch nothing
    const u64 first = m_position;
    if (!Fetch(out + u64{i} * kSectorBytes, missing)) {
      return std::min(answer, i + static_cast<u32>(m_position - first));
    }
    i += missing;
  }
  return answer;
}

bool cReadOnceIO::Fetch(u8* buffer, u32 count) {
  m_source->SetPosition(m_position);
  if (m_source->Read(buffer, count, nullptr) != count) return FetchSingly(buffer, count);
  if (!Store(buffer, count)) return false;
  m_position += count;
  return true;
}

bool cReadOnceIO::FetchSingly(u8* buffer, u32 count) {
  u64 settledEnd = kNowhere;
  const auto endAt = [this](u64 sector) {
    m_position = sector;
    return false;
  };
  for (u32 i = 0; i < count; ++i, ++m_position, buffer += kSectorBytes) {
    m_source->SetPosition(m_position);
    if (m_source->Read(buffer, 1, nullptr) != 0) {
      if (!Store(buffer, 1)) return endAt(std::min(settledEnd, m_position));
      continue;
    }
    const bool ended = settledEnd != kNowhere;
    if (ended || (m_guard && !m_guard->ConfirmUnreadable(m_position))) {
      settledEnd = std::min(settledEnd, m_position);
      continue;
    }
    const bool isMarked = m_image->MarkUnreadable(m_position, 1);
    FillRefused(buffer);
    if (isMarked) NoteStored();
    if (!isMarked && !GoOnUnstored(InsideImage(1))) return endAt(m_position);
  }
  return settledEnd == kNowhere || endAt(settledEnd);
}

void cReadOnceIO::FillRefused(u8* buffer) {
  std::fill_n(buffer, kSectorBytes, u8{0});
  // A clone may have been luckier meanwhile, and then the sector was not marked.
  cBitMap held(1);
  m_image->SetPosition(m_position);
  m_image->ReadStored(buffer, 1, &held);
}

bool cReadOnceIO::Store(const u8* buffer, u32 count) {
  const u32 inside = InsideImage(count);
  if (m_image->Write(m_position, buffer, count) != inside) return GoOnUnstored(inside);
  NoteStored();
  return true;
}

void cReadOnceIO::NoteStored() {
  if (m_lock) m_lock->NoteStored();
}

u32 cReadOnceIO::InsideImage(u32 count) {
  const u64 end = std::max(m_image->GetSectorCount(), m_position);
  return static_cast<u32>(std::min<u64>(count, end - m_position));
}

bool cReadOnceIO::GoOnUnstored(u32 count) {
  // What lies after the image's end is kept nowhere, and nothing needs it.
  return count == 0 || !m_guard || m_guard->GoOnUnstored(m_position, count);
}

void* cReadOnceIO::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

bool cReadOnceIO::GetDescription(char16_t* buffer, i32 capacity) {
  if (!buffer || capacity < kBracesAndTerminator || !m_source) return false;
  char16_t* text = buffer + 1;
  if (!m_source->GetDescription(text, capacity - kBracesAndTerminator)) return false;
  // The source may have been given no room at all and so have ended nothing.
  const size_t limit = static_cast<size_t>(capacity - kBracesAndTerminator);
  const size_t length = static_cast<size_t>(std::find(text, text + limit, u'\0') - text);
  buffer[0] = u'{';
  text[length] = u'}';
  text[length + 1] = u'\0';
  return true;
}

}  // namespace larkspur
