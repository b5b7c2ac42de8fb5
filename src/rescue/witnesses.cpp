// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/witnesses.h"

#include <algorithm>

#include "rescue/asked_source.h"

namespace larkspur {
namespace {

// Each costs a request of its own at the end.
constexpr u64 kFewestApart = 16;  // sectors
constexpr u64 kFewWitnesses = 32;
constexpr u64 kSectorsPerFirstWitness = u64{1} << 20 >> kSectorShift;
constexpr u64 kFirstWitnesses = 128;
constexpr u64 kSectorsPerWitness = u64{1} << 30 >> kSectorShift;
constexpr u64 kMostWitnesses = 1024;
constexpr u32 kMostFailuresForEach = 4;
constexpr size_t kReadKept = 64;

u64 WitnessCount(u64 sectors) {
  const u64 few = std::min(sectors / kFewestApart, kFewWitnesses);
  return std::min({std::max(few, sectors / kSectorsPerFirstWitness),
                   kFirstWitnesses + sectors / kSectorsPerWitness, kMostWitnesses});
}

// Where witness `i` lies, when they are so far apart. Bad spots may come at even distances, and at
// the same place in each piece, which witnesses therefore do not.
u64 PlaceOf(u64 i, u64 apart) {
  constexpr u64 kPiece = AskedSource::kMaxAskSectors;
  constexpr u64 kPrime = 7919;
  if (apart < kPiece) return apart * i + apart / 2;
  const u64 pieces = apart / kPiece;
  const u64 within = pieces < 4 ? pieces / 2 : 1 + (pieces / 2 + i * kPrime) % (pieces - 2);
  const u64 piece = apart * i / kPiece + within;
  return piece * kPiece + i * kPrime % kPiece;
}

}  // namespace

void Witnesses::SetAside(bool isBlank) {
  m_isBlank = isBlank;
  const u64 count = WitnessCount(m_units.sectors);
  for (u64 i = 0; i < count; ++i) {
    const SectorRange unit = m_units.Around(PlaceOf(i, m_units.sectors / count));
    const auto wanted = m_ledger->untried.NextFrom(unit.first);
    if (!wanted || wanted->first != unit.first || wanted->count < unit.count) continue;
    if (unit.first == 0) continue;  // nothing lies before it
    m_ledger->untried.Remove(unit);
    m_ledger->witnesses.Add(unit);
  }
  m_aside = m_ledger->witnesses.Sectors();
}

// Only where what follows is not wanted, too.
void Witnesses::NoteRead(SectorRange range) {
  m_isBlank = false;
  if (IsAllExcluded() || m_excluded.Contains(range.End())) return;
  for (SectorRange& run : m_read) {
    if (run.End() != range.first) continue;
    run.count += range.count;
    return;
  }
  if (m_read.size() < kReadKept) {
    m_read.push_back(range);
  } else {
    m_read[m_oldestRead++ % kReadKept] = range;
  }
}

u32 Witnesses::FailuresForEach() const {
  if (!IsAllExcluded()) return 1;
  const u64 left = m_ledger->witnesses.Sectors();
  if (left == 0) return kMostFailuresForEach;
  u32 failures = 1;
  while (left * failures < m_aside / 2 && failures < kMostFailuresForEach) failures *= 2;
  return failures;
}

// Only where the disk reads well around them, else their failure would say nothing; where it has
// given nothing yet, any.
std::vector<SectorRange> Witnesses::Usable(const ExtentSet& except) const {
  std::vector<SectorRange> usable;
  m_ledger->witnesses.Visit([&](SectorRange witness) {
    if (except.Contains(witness.first)) return;
    const auto before = m_store->Count({witness.first - 1, 1});
    if (m_isBlank || (before && before->present > 0))
      usable.push_back(m_units.Around(witness.first));
  });
  return usable;
}

// The physical sectors right after what was read well, some of each run.
std::vector<SectorRange> Witnesses::Beside(const ExtentSet& except) const {
  std::vector<SectorRange> beside;
  for (const SectorRange& run : m_read) {
    u64 sector = run.End();
    for (size_t left = kReadKept / m_read.size(); left > 0 && sector < m_units.sectors; --left) {
      const auto next = except.NextFrom(sector);
      if (next && next->first == sector) sector = next->End();
      const SectorRange unit = m_units.Around(sector);
      if (unit.first < sector || unit.count == 0 || m_excluded.Contains(sector)) break;
      const auto counts = m_store->Count(unit);
      if (!counts || counts->missing < unit.count) break;
      beside.push_back(unit);
      sector = unit.End();
    }
  }
  return beside;
}

std::optional<SectorRange> Witnesses::Pick(u64 farFrom) const {
  const auto distance = [&](SectorRange witness) {
    return witness.first > farFrom ? witness.first - farFrom : farFrom - witness.first;
  };
  for (const ExtentSet* except : {&m_inVain, &m_inVainTwice}) {
    std::vector<SectorRange> usable = Usable(*except);
    if (usable.empty()) usable = Beside(*except);
    const auto best = std::max_element(usable.begin(), usable.end(),
                                       [&](auto& a, auto& b) { return distance(a) < distance(b); });
    if (best != usable.end()) return *best;
  }
  return std::nullopt;
}

void Witnesses::AskedInVain(SectorRange witness) {
  (m_inVain.Contains(witness.first) ? m_inVainTwice : m_inVain).Add(witness);
}

std::optional<SectorRange> Witnesses::PickKnownGood() {
  const auto picked = PickUnit(kPresent, {&m_knownGood});
  if (picked) m_knownGood.Add(*picked);
  ++m_knownGoodPicked;
  return picked;
}

std::optional<SectorRange> Witnesses::PickUntried(bool last) const {
  const auto area = last ? m_ledger->untried.LastBefore(kNowhere) : m_ledger->untried.NextFrom(0);
  if (!area) return std::nullopt;
  const SectorRange unit = m_units.Around(area->first + area->count / 2);
  const u64 first = std::max(unit.first, area->first);
  return SectorRange{first, std::min(unit.End(), area->End()) - first};
}

std::optional<SectorRange> Witnesses::PickMissing() {
  if (IsAllExcluded()) return std::nullopt;
  return PickUnit(kMissing, {&m_excluded, &m_inVain});
}

// A physical sector all of which has that status and none of which is in `except`, from one of a
// few places all over the storage, and there from amid its like.
std::optional<SectorRange> Witnesses::PickUnit(SectorStatus wanted, const Sets& except) {
  constexpr u64 kPlaces = 16;
  constexpr u64 kLookedAt = u64{1} << 24;  // sectors, at each place
  std::optional<SectorRange> found;
  for (u64 i = 0; i < kPlaces && !found; ++i) {
    const u64 from = m_units.sectors / kPlaces * (m_picks++ * 7 % kPlaces);
    m_store->Visit({from, std::min(kLookedAt, m_units.sectors - from)},
                   [&](u64 start, u64 sectors, SectorStatus status) {
                     if (status != wanted) return true;
                     ExtentSet free(SectorRange{start, sectors});
                     for (const ExtentSet* set : except) {
                       set->Visit({start, sectors}, [&](SectorRange part) { free.Remove(part); });
                     }
                     free.Visit([&](SectorRange part) {
                       SectorRange unit = m_units.Around(part.first + part.count / 2);
                       if (unit.first < part.first) {
                         unit = m_units.Around(part.first + m_units.unit - 1);
                       }
                       if (!found && unit.End() <= part.End()) found = unit;
                     });
                     return !found;
                   });
  }
  return found;
}

}  // namespace larkspur
