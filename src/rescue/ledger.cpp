// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/ledger.h"

#include <algorithm>

namespace larkspur {
namespace {

bool Touches(const ExtentSet& set, SectorRange range) {
  const auto part = set.NextFrom(range.first);
  return part && part->first < range.End();
}

}  // namespace

void Ledger::Stored(SectorRange range) {
  for (ExtentSet* set : {&untried, &failed, &trimmed, &refused, &witnesses, &spent}) {
    if (!set->IsEmpty()) set->Remove(range);
  }
}

void Ledger::Refused(SectorRange range, bool alone) {
  const auto from = trimmed.Contains(range.first)     ? &Ledger::trimmed
                    : failed.Contains(range.first)    ? &Ledger::failed
                    : witnesses.Contains(range.first) ? &Ledger::witnesses
                    : untried.Contains(range.first)   ? &Ledger::untried
                                                      : nullptr;
  const auto to = alone ? &Ledger::refused : &Ledger::failed;
  m_recent.push_back({range, from, to});
  for (ExtentSet* set : {&untried, &failed, &trimmed, &witnesses}) set->Remove(range);
  (this->*to).Add(range);
}

void Ledger::Spend(SectorRange range) {
  m_recent.push_back({range, &Ledger::failed, &Ledger::spent});
  failed.Remove(range);
  spent.Add(range);
}

void Ledger::Slipped(SectorRange range) {
  untried.Remove(range);
  failed.Add(range);
}

std::optional<u64> Ledger::LeftAt(double share) const {
  u64 before = static_cast<u64>(share * static_cast<double>(Left()));
  std::optional<u64> found;
  for (const ExtentSet* set : {&untried, &failed, &trimmed, &witnesses}) {
    set->Visit([&](SectorRange part) {
      if (!found && before < part.count) found = part.first + before;
      before -= std::min(before, part.count);
    });
  }
  return found;
}

bool Ledger::IsOpen(SectorRange range) const {
  return Touches(failed, range) || Touches(trimmed, range) || Touches(witnesses, range);
}

bool Ledger::HasRefused(SectorRange range) const {
  return Touches(refused, range) || Touches(spent, range);
}

void Ledger::GiveUpWitnesses(SectorRange range) {
  ExtentSet there;
  witnesses.Visit(range, [&](SectorRange witness) { there.Add(witness); });
  witnesses.Remove(there);
  untried.Add(there);
}

// They are not so well placed.
void Ledger::GiveUpWitnessesBeside(SectorRange bad) {
  const auto before = witnesses.LastBefore(bad.first);
  if (before && before->End() == bad.first) GiveUpWitnesses(*before);
  const auto after = witnesses.NextFrom(bad.End());
  if (after && after->first == bad.End()) GiveUpWitnesses(*after);
}

Ledger::Marked Ledger::Prove() {
  for (const Refusal& refusal : m_recent) GiveUpWitnessesBeside(refusal.range);
  m_recent.clear();
  Marked marked;
  refused.Visit([&](SectorRange range) {
    marked.isAll = marked.isAll && m_store->MarkUnreadable(range);
    if (!marked.isAll) return;
    m_log->Write(LogEvent("marked").Add(range));
    marked.sectors += range.count;
  });
  if (marked.isAll) refused.Clear();
  return marked;
}

std::optional<SectorRange> Ledger::FirstRecentAlone() const {
  const bool isAlone = !m_recent.empty() && m_recent.front().to == &Ledger::refused;
  return isAlone ? std::optional(m_recent.front().range) : std::nullopt;
}

size_t Ledger::TakeBack(size_t kept) {
  const size_t count = m_recent.size() - std::min(kept, m_recent.size());
  // The last first: a sector may have been refused together with others and then alone.
  for (; m_recent.size() > kept; m_recent.pop_back()) {
    const Refusal& refusal = m_recent.back();
    // It may have been trimmed since.
    for (ExtentSet* set : {&failed, &trimmed, &refused, &spent}) set->Remove(refusal.range);
    if (refusal.from) (this->*refusal.from).Add(refusal.range);
  }
  return count;
}

}  // namespace larkspur
