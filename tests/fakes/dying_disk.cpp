// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fakes/dying_disk.h"

#include <algorithm>

#include "fakes/memory_disk.h"
#include "platform/system_error.h"

namespace larkspur::fakes {

DyingDisk::DyingDisk(u64 sectorCount, FakeClock* clock) : asked(sectorCount), m_clock(clock) {
  identity.path = "/dev/dying";
  identity.model = "Dying";
  identity.serial = "D1";
  identity.sectors = sectorCount;
}

AskOutcome DyingDisk::Ask(u64 sector, void* buffer, u32 count) {
  if (onAsk) onAsk(requests.size());
  AskOutcome outcome;
  if (misfortune) outcome.kind = misfortune(requests.size(), sector, count);
  const auto firstBad = bad.NextFrom(sector);
  const bool isBad = firstBad && firstBad->first < sector + count;
  const bool isMedium = outcome.kind == FailureKind::kNone;
  if (isMedium && isBad) {
    outcome.kind = badKind;
    if (namesBadSector) outcome.firstBad = firstBad->first;
    if (namesBadSector) outcome.sense = 0x031100;
  }
  requests.push_back({sector, count, outcome.kind != FailureKind::kNone});
  if (isMedium || outcome.kind == FailureKind::kUnclear) {
    for (u64 s = sector; s < sector + count; ++s) ++asked[s];
  }
  if (outcome.kind != FailureKind::kNone) {
    m_clock->now += failureSeconds;
    outcome.code = 5;
    return outcome;
  }
  const auto firstSlow = slow.NextFrom(sector);
  const bool isSlow = firstSlow && firstSlow->first < sector + count;
  m_clock->now += sectorSeconds * count * (isSlow ? slowFactor : 1);
  outcome.delivered = count;
  FillPattern(sector, static_cast<u8*>(buffer), count);
  return outcome;
}

std::string DyingDisk::Pattern() const {
  std::string text;
  for (size_t i = 0; i < requests.size();) {
    const Request& first = requests[i];
    u64 low = first.first, high = first.first + first.count;
    bool backwards = false;
    size_t end = i + 1;
    for (; end < requests.size() && requests[end].failed == first.failed && !first.failed; ++end) {
      const Request& next = requests[end];
      if (next.first == high && !backwards) {
        high += next.count;
      } else if (next.first + next.count == low && (backwards || end == i + 1)) {
        backwards = true;
        low = next.first;
      } else {
        break;
      }
    }
    text += (text.empty() ? "" : " ") + std::string(backwards ? "<" : "") + std::to_string(low);
    if (high - low > 1) text += "-" + std::to_string(high - 1);
    if (first.failed) text += "!";
    i = end;
  }
  return text;
}

std::string DyingDisk::AskedMoreThan(u8 times) const {
  std::string text;
  for (size_t s = 0; s < asked.size(); ++s) {
    if (asked[s] > times) text += std::to_string(s) + " ";
  }
  return text;
}

bool MemoryRescueStore::Visit(SectorRange range, const ExtentVisitor& visit) {
  const u64 end = std::min<u64>(range.End(), statuses.size());
  for (u64 s = range.first; s < end;) {
    u64 stop = s;
    while (stop < end && statuses[stop] == statuses[s]) ++stop;
    if (!visit(s, stop - s, statuses[s])) break;
    s = stop;
  }
  return true;
}

bool MemoryRescueStore::Store(u64 first, const u8* data, u32 count, bool evenUnreadable) {
  if (storesLeft == 0) {
    platform::SetLastFailure(0);  // else that of an earlier test may tell of a full disk
    return false;
  }
  --storesLeft;
  if (onStore) onStore(count);
  for (u32 i = 0; i < count; ++i) {
    wrongData += !IsPattern(first + i, data + u64{i} * kSectorBytes);
    SectorStatus& status = statuses[first + i];
    if (status == kMissing || evenUnreadable) status = kPresent;
  }
  return true;
}

bool MemoryRescueStore::MarkUnreadable(SectorRange range) {
  for (u64 s = range.first; s < range.End(); ++s) statuses[s] = kUnreadable;
  return true;
}

bool MemoryRescueStore::Load(u64 first, u8* data, u32 count) {
  for (u32 i = 0; i < count; ++i) {
    if (statuses[first + i] == kPresent) FillPattern(first + i, data + u64{i} * kSectorBytes);
  }
  return true;
}

bool MemoryRescueStore::Sync() {
  ++syncs;
  return !syncFails;
}

u64 MemoryRescueStore::Count(SectorStatus status) const {
  return static_cast<u64>(std::count(statuses.begin(), statuses.end(), status));
}

RescueHistory MemoryLog::History(u64 sectors) const {
  HistoryReader reader(sectors, boot);
  reader.Feed(text);
  return reader.Finish();
}

u64 MemoryLog::Events(const std::string& name) const {
  u64 count = 0;
  const std::string key = "\"event\":\"" + name + "\"";
  for (size_t at = 0; (at = text.find(key, at)) != text.npos; ++at) ++count;
  return count;
}

}  // namespace larkspur::fakes
