// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A set of sectors, kept as extents: in order, disjoint, neighbours merged. A worn disk leaves
// millions of them, so one costs 16 bytes, and changing the set anywhere moves few others: they lie
// in chunks of bounded length. One thread at a time.

#include <functional>
#include <optional>
#include <vector>

#include "io/sector_range.h"

namespace larkspur {

class ExtentSet {
 public:
  ExtentSet() = default;
  explicit ExtentSet(SectorRange range) { Add(range); }

  bool IsEmpty() const { return m_chunks.empty(); }
  u64 Sectors() const { return m_sectors; }

  void Add(SectorRange range);
  void Remove(SectorRange range);
  void Clear();

  bool Contains(u64 sector) const;
  // The part from `sector` on of the first extent that ends past it.
  std::optional<SectorRange> NextFrom(u64 sector) const;
  // The part before `sector` of the last extent that begins before it.
  std::optional<SectorRange> LastBefore(u64 sector) const;

  // Calls visit(extent) for the parts of extents inside `range`, in order. The set stays as it is
  // meanwhile.
  void Visit(SectorRange range, const std::function<void(SectorRange)>& visit) const;
  void Visit(const std::function<void(SectorRange)>& visit) const { Visit({0, kNowhere}, visit); }

  void Add(const ExtentSet& other);
  void Remove(const ExtentSet& other);
  ExtentSet Intersection(const ExtentSet& other) const;

 private:
  static constexpr size_t kChunkExtents = 1024;
  using Chunk = std::vector<SectorRange>;

  struct Place {
    size_t chunk = 0;
    size_t at = 0;
  };
  // The first extent that ends past `sector`; the end of the chunks when there is none.
  Place Find(u64 sector) const;
  bool IsEnd(Place place) const { return place.chunk == m_chunks.size(); }
  const SectorRange& At(Place place) const { return m_chunks[place.chunk][place.at]; }
  void Step(Place* place) const;
  void Insert(Place place, SectorRange range);
  // Takes the extent out; the answer is the place of the one after it.
  Place Erase(Place place);

  std::vector<Chunk> m_chunks;  // none is empty
  u64 m_sectors = 0;
};

}  // namespace larkspur
