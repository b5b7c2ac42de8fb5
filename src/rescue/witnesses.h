// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What can be asked for to prove that a disk is alive. Best are the witnesses, sectors in good
// areas that were left out for that purpose; where not all is wanted, what lies beside that and
// next to what was read well; then sectors that the cache has, and which are therefore good; then
// those that nothing is known of.

#include <optional>
#include <vector>

#include "rescue/ledger.h"
#include "rescue/sector_units.h"

namespace larkspur {

class Witnesses {
 public:
  // Neither is owned; both outlive this.
  Witnesses(RescueStore* store, Ledger* ledger, SectorUnits units)
      : m_store(store), m_ledger(ledger), m_units(units) {}

  // Leaves out some of what is wanted, spread evenly, more on a larger disk. `isBlank`: the cache
  // has nothing yet.
  void SetAside(bool isBlank);
  // The range was read well.
  void NoteRead(SectorRange range);
  // Those are wanted, or were asked for by an earlier run: nothing there is asked for as proof
  // that was not left out.
  void Exclude(const ExtentSet& extents) { m_excluded.Add(extents); }
  // For how many failures in a row one can be spent: 1 while most are left, then 2 and 4.
  u32 FailuresForEach() const;

  // A witness as far away as there is; one that was asked in vain only when there is no other, and
  // none that was twice: it may well be bad.
  std::optional<SectorRange> Pick(u64 farFrom) const;
  // How many there are that were not asked in vain.
  size_t Fresh() const { return Usable(m_inVain).size() + Beside(m_inVain).size(); }
  void AskedInVain(SectorRange witness);

  // A physical sector that the cache has. Never the same one twice.
  std::optional<SectorRange> PickKnownGood();
  // How many were picked, also in vain.
  u64 KnownGoodPicked() const { return m_knownGoodPicked; }
  // One that is wanted and was never asked for: in the middle of what lies last, or first.
  std::optional<SectorRange> PickUntried(bool last) const;
  // One that the cache lacks and that is not excluded.
  std::optional<SectorRange> PickMissing();

 private:
  bool IsAllExcluded() const { return m_excluded.Sectors() == m_units.sectors; }
  std::vector<SectorRange> Usable(const ExtentSet& except) const;
  std::vector<SectorRange> Beside(const ExtentSet& except) const;
  using Sets = std::initializer_list<const ExtentSet*>;
  std::optional<SectorRange> PickUnit(SectorStatus wanted, const Sets& except);

  RescueStore* m_store;
  Ledger* m_ledger;
  SectorUnits m_units;
  u64 m_aside = 0;  // sectors set aside when reading began
  bool m_isBlank = false;
  ExtentSet m_excluded;
  std::vector<SectorRange> m_read;  // the last runs of sectors that were read well
  size_t m_oldestRead = 0;
  ExtentSet m_inVain;
  ExtentSet m_inVainTwice;
  ExtentSet m_knownGood;  // that were picked
  u64 m_knownGoodPicked = 0;
  u64 m_picks = 0;
};

}  // namespace larkspur
