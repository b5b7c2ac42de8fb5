// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/piecewise_io.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace larkspur {
namespace {

// How much of `count` sectors from `sector` on lies in the first aligned piece.
u32 FirstPiece(u64 sector, u32 count) {
  const u32 within = static_cast<u32>(sector % cPiecewiseIO::kPieceSectors);
  return std::min(cPiecewiseIO::kPieceSectors - within, count);
}

u8* SectorAt(u8* buffer, u32 index) {
  return buffer + u64{index} * kSectorBytes;
}

}  // namespace

cPiecewiseIO::cPiecewiseIO(Owned<cBaseIO> source, std::shared_ptr<SourceTraffic> traffic)
    : m_source(std::move(source)), m_traffic(std::move(traffic)) {
  m_name.Assign(m_source->GetName());
  m_path = m_source->Path();
}

cBaseIO* cPiecewiseIO::Clone() {
  Owned<cBaseIO> source(m_source->Clone());
  return source ? new (std::nothrow) cPiecewiseIO(std::move(source), m_traffic) : nullptr;
}

bool cPiecewiseIO::IsSameAs(cBaseIO* other) {
  return other && other->GetTypeId() == GetTypeId() &&
         m_source->IsSameAs(static_cast<cPiecewiseIO*>(other)->m_source.get());
}

u64 cPiecewiseIO::SetPosition(u64 sector) {
  m_position = std::min(sector, GetSectorCount());
  return m_position;
}

// What the source delivers of [sector, sector+count), from the first on.
u32 cPiecewiseIO::Ask(u64 sector, u8* buffer, u32 count) {
  m_source->SetPosition(sector);
  const u32 got = m_source->Read(buffer, count, nullptr);
  const u64 failed = sector + got;
  if (got < count && failed < GetSectorCount() && GetByteSize() >> kSectorShift <= failed) {
    m_traffic->gone = true;  // the source was longer when it was opened
  }
  return got;
}

u32 cPiecewiseIO::SectorsInside(u32 count) {
  const u64 end = std::max(GetSectorCount(), m_position);
  return static_cast<u32>(std::min<u64>(count, end - m_position));
}

u32 cPiecewiseIO::Read(void* buffer, u32 count, cBitMap* /*presence*/) {
  u8* out = static_cast<u8*>(buffer);
  if (count == 1 && m_position - m_keptFirst < m_keptCount) {
    const bool delivered = AnswerKept(static_cast<u32>(m_position - m_keptFirst), out);
    m_position += delivered;
    return delivered;
  }
  m_keptFirst = m_position;
  m_keptCount = 0;
  m_traffic->refusedBySource = false;
  const u32 inside = SectorsInside(count);
  u32 asked = 0;
  u32 delivered = 0;
  u32 piece = 0;
  while (asked < inside && delivered == asked && MayAsk()) {
    piece = FirstPiece(m_position + asked, inside - asked);
    delivered += Ask(m_position + asked, SectorAt(out, asked), piece);
    asked += piece;
    m_traffic->asked += piece;
  }
  if (delivered < count && StartKeeping(out, delivered, count)) {
    const u32 start = asked - piece;
    if (delivered < asked) Note(start, piece, delivered - start);
    KeepRest(asked, inside);
    // Drives fail a request as a whole that reaches behind their end, so none does.
    std::fill_n(m_keptStates.get() + inside, count - inside, Kept::kRefused);
  }
  m_position += delivered;
  return delivered;
}

bool cPiecewiseIO::StartKeeping(const u8* buffer, u32 delivered, u32 count) {
  m_keptData.reset(new (std::nothrow) u8[u64{count} * kSectorBytes]);
  m_keptStates.reset(new (std::nothrow) Kept[count]);
  if (!m_keptData || !m_keptStates) return false;
  std::memcpy(m_keptData.get(), buffer, u64{delivered} * kSectorBytes);
  std::fill_n(m_keptStates.get(), delivered, Kept::kDelivered);
  std::fill_n(m_keptStates.get() + delivered, count - delivered, Kept::kNotAsked);
  m_keptCount = count;
  return true;
}

void cPiecewiseIO::Note(u32 at, u32 piece, u32 got) {
  Kept* states = m_keptStates.get() + at;
  std::fill_n(states, got, Kept::kDelivered);
  if (m_traffic->gone) return;  // what failed was not refused
  std::fill_n(states + got, piece - got, piece == 1 ? Kept::kRefused : Kept::kAskedWithNeighbours);
}

void cPiecewiseIO::KeepRest(u32 at, u32 count) {
  while (at < count && MayAsk()) {
    const u32 piece = FirstPiece(m_keptFirst + at, count - at);
    const u32 got = Ask(m_keptFirst + at, SectorAt(m_keptData.get(), at), piece);
    m_traffic->asked += piece;
    Note(at, piece, got);
    at += piece;
  }
}

bool cPiecewiseIO::AnswerKept(u32 index, u8* buffer) {
  Kept& state = m_keptStates[index];
  u8* kept = SectorAt(m_keptData.get(), index);
  if (state == Kept::kAskedWithNeighbours || state == Kept::kNotAsked) {
    m_traffic->refusedBySource = false;
    if (!MayAsk()) return false;
    ++(state == Kept::kNotAsked ? m_traffic->asked : m_traffic->askedAlone);
    const bool delivered = Ask(m_keptFirst + index, kept, 1) == 1;
    if (!delivered && m_traffic->gone) return false;
    state = delivered ? Kept::kDelivered : Kept::kRefused;
  }
  m_traffic->refusedBySource = state == Kept::kRefused;
  if (state == Kept::kDelivered) std::memcpy(buffer, kept, kSectorBytes);
  return state == Kept::kDelivered;
}

void* cPiecewiseIO::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

bool cPiecewiseIO::GetDescription(char16_t* buffer, i32 capacity) {
  return m_source->GetDescription(buffer, capacity);
}

}  // namespace larkspur
