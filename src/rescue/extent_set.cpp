// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/extent_set.h"

#include <algorithm>

namespace larkspur {

void ExtentSet::Clear() {
  m_chunks.clear();
  m_sectors = 0;
}

ExtentSet::Place ExtentSet::Find(u64 sector) const {
  const auto chunk = std::partition_point(m_chunks.begin(), m_chunks.end(),
                                          [&](const Chunk& c) { return c.back().End() <= sector; });
  if (chunk == m_chunks.end()) return {m_chunks.size(), 0};
  const auto at = std::partition_point(chunk->begin(), chunk->end(),
                                       [&](const SectorRange& e) { return e.End() <= sector; });
  return {static_cast<size_t>(chunk - m_chunks.begin()), static_cast<size_t>(at - chunk->begin())};
}

void ExtentSet::Step(Place* place) const {
  if (++place->at < m_chunks[place->chunk].size()) return;
  ++place->chunk;
  place->at = 0;
}

void ExtentSet::Insert(Place place, SectorRange range) {
  m_sectors += range.count;
  if (m_chunks.empty()) m_chunks.emplace_back();
  if (place.chunk == m_chunks.size()) place = {m_chunks.size() - 1, m_chunks.back().size()};
  Chunk& chunk = m_chunks[place.chunk];
  chunk.insert(chunk.begin() + static_cast<std::ptrdiff_t>(place.at), range);
  if (chunk.size() <= kChunkExtents) return;
  // Mostly the set grows at its end: a full chunk there is left full.
  const bool isLast = place.chunk + 1 == m_chunks.size() && place.at + 1 == chunk.size();
  const auto cut =
      chunk.begin() + static_cast<std::ptrdiff_t>(isLast ? chunk.size() - 1 : chunk.size() / 2);
  Chunk rest;
  rest.reserve(kChunkExtents + 1);
  rest.assign(cut, chunk.end());
  chunk.erase(cut, chunk.end());
  m_chunks.insert(m_chunks.begin() + static_cast<std::ptrdiff_t>(place.chunk) + 1, std::move(rest));
}

ExtentSet::Place ExtentSet::Erase(Place place) {
  Chunk& chunk = m_chunks[place.chunk];
  m_sectors -= chunk[place.at].count;
  chunk.erase(chunk.begin() + static_cast<std::ptrdiff_t>(place.at));
  if (place.at < chunk.size()) return place;
  if (chunk.empty()) {
    m_chunks.erase(m_chunks.begin() + static_cast<std::ptrdiff_t>(place.chunk));
    return {place.chunk, 0};
  }
  return {place.chunk + 1, 0};
}

void ExtentSet::Add(SectorRange range) {
  if (range.count == 0) return;
  u64 first = range.first, end = range.End();
  // From the extent that ends where this one begins, if there is one: they merge.
  Place place = Find(first > 0 ? first - 1 : 0);
  while (!IsEnd(place) && At(place).first <= end) {
    first = std::min(first, At(place).first);
    end = std::max(end, At(place).End());
    place = Erase(place);
  }
  Insert(place, {first, end - first});
}

void ExtentSet::Remove(SectorRange range) {
  if (range.count == 0) return;
  Place place = Find(range.first);
  while (!IsEnd(place) && At(place).first < range.End()) {
    const SectorRange extent = At(place);
    place = Erase(place);
    if (extent.End() > range.End()) {
      Insert(place, {range.End(), extent.End() - range.End()});
      place = Find(range.first);
    }
    if (extent.first < range.first) Insert(place, {extent.first, range.first - extent.first});
    if (extent.End() >= range.End()) return;
    place = Find(range.first);
  }
}

bool ExtentSet::Contains(u64 sector) const {
  const Place place = Find(sector);
  return !IsEnd(place) && At(place).first <= sector;
}

std::optional<SectorRange> ExtentSet::NextFrom(u64 sector) const {
  const Place place = Find(sector);
  if (IsEnd(place)) return std::nullopt;
  const u64 first = std::max(sector, At(place).first);
  return SectorRange{first, At(place).End() - first};
}

std::optional<SectorRange> ExtentSet::LastBefore(u64 sector) const {
  if (IsEmpty() || sector == 0) return std::nullopt;
  Place place = Find(sector - 1);  // holds sector - 1, or lies past it
  if (IsEnd(place) || At(place).first >= sector) {
    if (place.chunk == 0 && place.at == 0) return std::nullopt;
    if (place.at == 0) {
      --place.chunk;
      place.at = m_chunks[place.chunk].size();
    }
    --place.at;
  }
  const u64 first = At(place).first;
  return SectorRange{first, std::min(sector, At(place).End()) - first};
}

void ExtentSet::Visit(SectorRange range, const std::function<void(SectorRange)>& visit) const {
  for (Place place = Find(range.first); !IsEnd(place) && At(place).first < range.End();
       Step(&place)) {
    const u64 first = std::max(range.first, At(place).first);
    visit({first, std::min(range.End(), At(place).End()) - first});
  }
}

void ExtentSet::Add(const ExtentSet& other) {
  other.Visit([this](SectorRange extent) { Add(extent); });
}

void ExtentSet::Remove(const ExtentSet& other) {
  if (IsEmpty()) return;
  const u64 first = m_chunks.front().front().first;
  other.Visit({first, m_chunks.back().back().End() - first},
              [this](SectorRange extent) { Remove(extent); });
}

ExtentSet ExtentSet::Intersection(const ExtentSet& other) const {
  ExtentSet both;
  Visit(
      [&](SectorRange extent) { other.Visit(extent, [&](SectorRange part) { both.Add(part); }); });
  return both;
}

}  // namespace larkspur
