// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/rescue_history.h"

#include <algorithm>

#include "platform/boot.h"
#include "platform/file.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

constexpr size_t kMaxLineBytes = 1 << 16;
constexpr size_t kReadBytes = 1 << 18;
// How many failures an end may take back; a run without a success ends long before.
constexpr size_t kMaxRecent = 1 << 16;
constexpr std::string_view kKindNames[] = {"none", "medium", "transport",
                                           "gone", "system", "unclear"};

FailureKind KindNamed(std::string_view name) {
  const auto found = std::find(std::begin(kKindNames), std::end(kKindNames), name);
  return found == std::end(kKindNames) ? FailureKind::kNone
                                       : static_cast<FailureKind>(found - std::begin(kKindNames));
}

bool IsRefusal(FailureKind kind) {
  return kind == FailureKind::kMedium || kind == FailureKind::kUnclear;
}

SourceIdentity SourceIn(const JsonLine& event) {
  SourceIdentity source;
  source.path = event.Text("source.path").value_or("");
  source.model = event.Text("source.model").value_or("");
  source.serial = event.Text("source.serial").value_or("");
  source.firmware = event.Text("source.firmware").value_or("");
  source.sectors = event.Number("source.sectors").value_or(0);
  const auto bytes = [&](std::string_view key) {
    return static_cast<u32>(std::min<u64>(event.Number(key).value_or(kSectorBytes), 1 << 20));
  };
  source.logicalSectorBytes = bytes("source.logicalSectorSize");
  source.physicalSectorBytes = bytes("source.physicalSectorSize");
  return source;
}

}  // namespace

std::string_view FailureKindName(FailureKind kind) {
  return kKindNames[static_cast<size_t>(kind)];
}

void HistoryReader::Feed(std::string_view bytes) {
  for (size_t end; (end = bytes.find('\n')) != bytes.npos; bytes.remove_prefix(end + 1)) {
    if (m_partial.empty() && !m_overlong) {
      Line(bytes.substr(0, end));
      continue;
    }
    m_overlong = m_overlong || m_partial.size() + end > kMaxLineBytes;
    if (!m_overlong) m_partial += bytes.substr(0, end);
    Line(m_overlong ? std::string_view() : std::string_view(m_partial));
    m_partial.clear();
    m_overlong = false;
  }
  m_overlong = m_overlong || m_partial.size() + bytes.size() > kMaxLineBytes;
  if (m_overlong) m_partial.clear();
  if (!m_overlong) m_partial += bytes;
}

void HistoryReader::Line(std::string_view line) {
  ++m_history.lines;
  if (line.size() <= kMaxLineBytes && m_event.Parse(line) && Take(m_event)) return;
  m_isInDoubt = true;
  ++m_history.wrongLines;
  if (m_history.firstWrongLine == 0) m_history.firstWrongLine = m_history.lines;
}

HistoryRun& HistoryReader::Run() {
  if (m_history.runs.empty()) m_history.runs.emplace_back();
  return m_history.runs.back();
}

// False when the line is no event, or lacks what its event must have. Events that we do not know
// are passed over: a later version may have written them.
bool HistoryReader::Take(const JsonLine& event) {
  const auto name = event.Text("event");
  if (!name) return false;
  const auto range = RangeOf(event);
  if (*name == "open") {
    TakeOpen(event);
  } else if (*name == "failed") {
    return TakeFailed(event);
  } else if (*name == "marked") {
    Settle(0);
  } else if (*name == "storing") {
    if (!range) return false;
    m_history.storing.Add(*range);
  } else if (*name == "synced") {
    m_history.storing.Clear();
    m_history.syncFailed = false;
    AddPoint(event);
  } else if (*name == "sync-failed") {
    m_history.syncFailed = true;
  } else if (*name == "unproved") {
    const Unproved unproved{event.Number("count").value_or(0), event.Bool("began").value_or(false)};
    if (event.Bool("untilEnd").value_or(false)) {
      m_untilEnd = unproved;
    } else {
      m_untilEnd.reset();
      m_history.cameBack = m_history.cameBack || unproved.count > 0;
      TakeBack(unproved);
    }
  } else if (*name == "end") {
    TakeEnd(event);
  }
  return true;
}

std::optional<SectorRange> HistoryReader::RangeOf(const JsonLine& event) const {
  const auto first = event.Number("start"), count = event.Number("sectors");
  if (!first || !count || *first >= m_limit || *count > m_limit - *first) return std::nullopt;
  return SectorRange{*first, *count};
}

void HistoryReader::TakeOpen(const JsonLine& event) {
  const std::string boot = event.Text("boot").value_or("");
  GiveUpUnproved(boot);
  Settle(0);
  SourceIdentity source = SourceIn(event);
  const u32 stamp = static_cast<u32>(event.Number("stamp").value_or(0));
  const bool isOther = m_history.source && m_history.source->IsOtherThan(source);
  // What another disk refused, or what another cache lacked, says nothing of this one.
  if (m_history.source && (isOther || m_history.stamp != stamp)) {
    m_history.triedTogether.Clear();
    m_history.triedAlone.Clear();
    m_history.beganSilence.Clear();
    m_history.wasSilent = m_history.cameBack = false;
  }
  if (m_history.stamp != stamp) m_history.storing.Clear();
  m_history.source = std::move(source);
  m_history.stamp = stamp;
  m_history.boot = boot;
  m_history.medium = event.Text("medium").value_or("");
  m_history.ended = false;
  if (m_history.runs.size() == RescueHistory::kMaxRuns) {
    m_history.runs.erase(m_history.runs.begin());
  }
  m_history.runs.emplace_back().start = event.Text("t").value_or("");
}

bool HistoryReader::TakeFailed(const JsonLine& event) {
  const auto range = RangeOf(event);
  const FailureKind kind = KindNamed(event.Text("kind").value_or(""));
  if (!range || range->count == 0 || kind == FailureKind::kNone) return false;
  ++m_history.failures[static_cast<size_t>(kind)];
  KeepSlow({*range, event.Decimal("ms").value_or(0) / 1000, kind});
  if (!IsRefusal(kind)) return true;
  if (m_untilEnd) ++m_untilEnd->count;
  if (m_recent.size() == 2 * kMaxRecent) Settle(kMaxRecent);
  m_recent.push_back({*range, event.Bool("alone").value_or(false), kind == FailureKind::kMedium});
  return true;
}

void HistoryReader::KeepSlow(const SlowArea& area) {
  auto& list = m_history.slowest;
  if (list.size() == RescueHistory::kMaxSlowAreas && list.back().seconds >= area.seconds) return;
  const auto place = std::find_if(list.begin(), list.end(), [&](const SlowArea& other) {
    return other.seconds < area.seconds;
  });
  list.insert(place, area);
  if (list.size() > RescueHistory::kMaxSlowAreas) list.pop_back();
}

void HistoryReader::TakeEnd(const JsonLine& event) {
  HistoryRun& run = Run();
  run.end = event.Text("t").value_or("");
  run.how = event.Text("how").value_or("");
  run.asked = event.Number("asked").value_or(0);
  run.present = event.Number("present").value_or(0);
  run.unreadable = event.Number("unreadable").value_or(0);
  run.missing = event.Number("missing").value_or(0);
  m_history.ended = true;
  AddPoint(event);
  m_untilEnd.reset();
  const u64 all = run.how == "not-answering" ? m_recent.size() : 0;
  TakeBack({event.Number("unproved").value_or(all), event.Bool("began").value_or(false)});
}

// The disk was dead when it refused those: they were not asked for.
void HistoryReader::TakeBack(const Unproved& unproved) {
  const size_t taken = static_cast<size_t>(std::min<u64>(unproved.count, m_recent.size()));
  Settle(taken);
  m_history.wasSilent = m_history.wasSilent || taken > 0;
  if (taken > 0 && unproved.began && m_recent.front().alone) {
    m_history.beganSilence.Add(m_recent.front().range);
  }
  m_recent.clear();
  m_isInDoubt = false;
}

// A machine that was switched off during a run may have been so because the disk hung. What that
// refused alone since it was last known to be alive is asked alone once more.
void HistoryReader::GiveUpUnproved(const std::string& bootAfter) {
  if (m_untilEnd) TakeBack(*m_untilEnd);
  m_untilEnd.reset();
  if (!m_history.ended && m_history.boot != bootAfter) m_isInDoubt = true;
}

void HistoryReader::Settle(size_t unproved) {
  const auto end = m_recent.end() - static_cast<std::ptrdiff_t>(unproved);
  for (auto failed = m_recent.begin(); failed != end; ++failed) {
    const bool alone = failed->alone && (failed->isByMedium || !m_isInDoubt);
    (alone ? m_history.triedAlone : m_history.triedTogether).Add(failed->range);
  }
  m_recent.erase(m_recent.begin(), end);
  if (m_recent.empty()) m_isInDoubt = false;
}

void HistoryReader::AddPoint(const JsonLine& event) {
  const auto time = event.Text("t");
  const auto present = event.Number("present");
  if (!time || !present || m_points++ % m_pointEvery != 0) return;
  auto& points = m_history.points;
  points.push_back({*time, *present, event.Number("unreadable").value_or(0)});
  if (points.size() < RescueHistory::kMaxPoints) return;
  // A rescue of weeks: every second point will do.
  for (size_t i = 0; i < points.size() / 2; ++i) points[i] = std::move(points[2 * i]);
  points.resize(points.size() / 2);
  m_pointEvery *= 2;
}

RescueHistory HistoryReader::Finish() {
  m_isInDoubt = m_isInDoubt || !m_partial.empty() || m_overlong;
  GiveUpUnproved(m_boot);
  Settle(0);
  return std::move(m_history);
}

RescueHistory ReadHistory(const std::u16string& path, u64 sectorLimit) {
  HistoryReader reader(sectorLimit, platform::BootId());
  if (platform::KindOfPath(path.c_str()) != platform::PathKind::kFile) return reader.Finish();
  platform::SetLastFailure(0);
  const platform::OwnedFile file(platform::OpenExistingFile(path.c_str(), platform::kOpenRead));
  std::string buffer(kReadBytes, '\0');
  u64 at = 0;
  while (file.IsOpen()) {
    const u32 got =
        platform::ReadFileAt(file.Handle(), buffer.data(), static_cast<u32>(buffer.size()), at);
    if (got == 0) break;
    reader.Feed(std::string_view(buffer).substr(0, got));
    at += got;
  }
  const u32 systemError = platform::LastFailure();
  RescueHistory history = reader.Finish();
  history.systemError = systemError;
  return history;
}

}  // namespace larkspur
