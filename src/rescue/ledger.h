// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What is known of each wanted sector that is not settled yet, and what is still to be proved.
//
// A refusal becomes final, a mark in the cache, only when the disk has proved to be alive at or
// after it: a disk that hangs answers like one that is bad. Until then it stands here and in the
// log.

#include <optional>
#include <vector>

#include "rescue/extent_set.h"
#include "rescue/rescue_log.h"
#include "rescue/rescue_store.h"

namespace larkspur {

class Ledger {
 public:
  Ledger(RescueStore* store, RescueLog* log) : m_store(store), m_log(log) {}

  // Disjoint sets of sectors that the cache lacks:
  ExtentSet untried;    // never asked for
  ExtentSet failed;     // refused together with others
  ExtentSet trimmed;    // the same, and what stands at both ends of them was refused alone
  ExtentSet refused;    // refused alone, not proved
  ExtentSet witnesses;  // never asked for, left out on purpose
  // Refused twice together with others, since a drive named the wrong sector: not asked again.
  ExtentSet spent;

  // Whether any of the range is still to be asked for alone.
  bool IsOpen(SectorRange range) const;
  // Whether any of the range was refused for good, as far as is known.
  bool HasRefused(SectorRange range) const;
  // Witnesses in the range become wanted as any other sector is.
  void GiveUpWitnesses(SectorRange range);

  // Sectors that are still to be asked for.
  u64 Left() const {
    return untried.Sectors() + failed.Sectors() + trimmed.Sectors() + witnesses.Sectors();
  }

  // The sector before which that share (0 to 1) of the sectors that are still to be asked for lie,
  // those of each set by themselves; nothing when there are none.
  std::optional<u64> LeftAt(double share) const;

  // The range was read and stored.
  void Stored(SectorRange range);
  // The range was refused. `alone`: it lies in one physical sector.
  void Refused(SectorRange range, bool alone);
  // A piece that had failed was asked again as a whole, and refused again.
  void Spend(SectorRange range);
  // The range came to nothing without being refused, and is asked for alone all the same.
  void Slipped(SectorRange range);

  // How many refusals there were since the last sign of life.
  size_t Recent() const { return m_recent.size(); }
  bool HasUnproved() const { return !m_recent.empty() || !refused.IsEmpty(); }
  // The disk is alive: marks what was refused, until the cache does not take it.
  struct Marked {
    u64 sectors = 0;
    bool isAll = true;
  };
  Marked Prove();
  // The first refusal since the last sign of life, when it was of what was asked alone.
  std::optional<SectorRange> FirstRecentAlone() const;
  // Whether the last refusal since the last sign of life was of a witness.
  bool LastWasWitness() const {
    return !m_recent.empty() && m_recent.back().from == &Ledger::witnesses;
  }
  // The disk was dead: what it refused since it was last known to be alive was not refused, but for
  // the first `kept` of them. Answers how many refusals that were.
  size_t TakeBack(size_t kept);

 private:
  struct Refusal {
    SectorRange range;
    ExtentSet Ledger::*from;  // the set that it stood in; null: it was not wanted
    ExtentSet Ledger::*to;
  };

  void GiveUpWitnessesBeside(SectorRange bad);

  RescueStore* m_store;
  RescueLog* m_log;
  std::vector<Refusal> m_recent;  // since the last sign of life
};

}  // namespace larkspur
