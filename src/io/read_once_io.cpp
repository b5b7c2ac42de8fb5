// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/read_once_io.h"

#include <algorithm>
#include <new>

#include "io/bit_map.h"
#include "io/shared_file.h"

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
    Fetch(out + u64{i} * kSectorBytes, missing);
    i += missing;
  }
  return answer;
}

void cReadOnceIO::Fetch(u8* buffer, u32 count) {
  m_source->SetPosition(m_position);
  if (m_source->Read(buffer, count, nullptr) != count) return FetchSingly(buffer, count);
  Store(buffer, count);
  m_position += count;
}

void cReadOnceIO::FetchSingly(u8* buffer, u32 count) {
  for (u32 i = 0; i < count; ++i, ++m_position, buffer += kSectorBytes) {
    m_source->SetPosition(m_position);
    if (m_source->Read(buffer, 1, nullptr) != 0) {
      Store(buffer, 1);
      continue;
    }
    if (m_image->MarkUnreadable(m_position, 1)) NoteStored();
    FillRefused(buffer);
  }
}

void cReadOnceIO::FillRefused(u8* buffer) {
  std::fill_n(buffer, kSectorBytes, u8{0});
  // A clone may have been luckier meanwhile, and then the sector was not marked.
  cBitMap held(1);
  m_image->SetPosition(m_position);
  m_image->ReadStored(buffer, 1, &held);
}

void cReadOnceIO::Store(const u8* buffer, u32 count) {
  if (m_image->Write(m_position, buffer, count) != 0) NoteStored();
}

void cReadOnceIO::NoteStored() {
  if (m_lock) m_lock->NoteStored();
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
