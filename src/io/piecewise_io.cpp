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

// What one physical sector of `source` holds.
u32 PhysicalSectors(cBaseIO& source) {
  u32 geometry[3] = {};
  if (!source.GetGeometry(geometry) || geometry[0] % kSectorBytes != 0) return 1;
  return std::clamp(geometry[0] / kSectorBytes, 1u, cPiecewiseIO::kPieceSectors);
}

u8* SectorAt(u8* buffer, u32 index) {
  return buffer + u64{index} * kSectorBytes;
}

}  // namespace

cPiecewiseIO::cPiecewiseIO(Owned<cBaseIO> source, std::shared_ptr<SourceTraffic> traffic)
    : m_source(std::move(source)),
      m_traffic(std::move(traffic)),
      m_physicalSectors(PhysicalSectors(*m_source)) {
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
  if (got < count && failed < GetSectorCount()) {
    const bool hasShrunk = GetByteSize() >> kSectorShift <= failed;
    if (hasShrunk || (m_traffic->hasGone && m_traffic->hasGone())) m_traffic->gone = true;
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
  const u32 inside = SectorsInside(count);
  u32 asked = 0;
  u32 delivered = 0;
  u32 piece = 0;
  while (asked < inside && delivered == asked && MayAsk()) {
    piece = FirstPiece(m_position + asked, inside - asked);
    delivered += Ask(m_position + asked, SectorAt(out, asked), piece);
    asked += piece;
  }
  if (delivered < count && StartKeeping(out, delivered, count)) {
    const u32 start = asked - piece;
    if (delivered < asked) Note(start, piece, delivered - start);
    KeepRest(asked, inside);
    // Drives fail a request as a whole that reaches past their end, so none does.
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
    Note(at, piece, got);
    at += piece;
  }
}

bool cPiecewiseIO::AnswerKept(u32 index, u8* buffer) {
  const Kept& state = m_keptStates[index];
  if (IsOpen(state) && (!MayAsk() || !AskAlone(index))) return false;
  if (state != Kept::kDelivered) return false;
  std::memcpy(buffer, SectorAt(m_keptData.get(), index), kSectorBytes);
  return true;
}

bool cPiecewiseIO::AskAlone(u32 index) {
  Kept* states = m_keptStates.get();
  const auto isWithIt = [&](u32 other) {
    return IsOpen(states[other]) &&
           (m_keptFirst + other) / m_physicalSectors == (m_keptFirst + index) / m_physicalSectors;
  };
  u32 first = index, end = index + 1;
  while (first > 0 && isWithIt(first - 1)) --first;
  while (end < m_keptCount && isWithIt(end)) ++end;
  const u32 got = Ask(m_keptFirst + first, SectorAt(m_keptData.get(), first), end - first);
  std::fill_n(states + first, got, Kept::kDelivered);
  if (first + got < end && m_traffic->gone) return first + got > index;
  std::fill(states + first + got, states + end, Kept::kRefused);
  return true;
}

void* cPiecewiseIO::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

bool cPiecewiseIO::GetDescription(char16_t* buffer, i32 capacity) {
  return m_source->GetDescription(buffer, capacity);
}

}  // namespace larkspur
